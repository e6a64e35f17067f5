#include "tool/Session.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "qorvane/siblings/QVSettings.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/UnfinishedChange.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"

namespace optionsmgr {

using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::Options;
using qorvane::QVSettings;
using qorvane::ScopedFileManager;
using qorvane::ScopedProductSource;
using qorvane::Text;
using qorvane::Value;

namespace {

// Looks at the disk and makes nothing.
class LookingFileManager : public qorvane::FileManager {
 public:
  bool fileExistsAtPath(const Text& path, bool* isDirectory) override {
    // The file system's own manager, for as long as the question takes.
    const ScopedFileManager real(nullptr);
    return defaultManager().fileExistsAtPath(path, isDirectory);
  }
  bool createDirectoryAtPath(const Text&, bool) override { return false; }
};

qorvane::FileManager& lookingFileManager() {
  static LookingFileManager manager;
  return manager;
}

Settings withYear(Settings settings) {
  if (settings.year == 0) settings.year = Session::seasonYear();
  return settings;
}

}  // namespace

Session::Session(Settings settings)
    : settings_(withYear(std::move(settings))),
      files_(settings_.folder.empty() ? FileUserDefaults::defaultFolder() : settings_.folder),
      looking_(&lookingFileManager()),
      running_(product()),
      standard_(&snapshot_) {
  files_.setLockWait(static_cast<int>(settings_.lockWait * 1000));
}

int Session::seasonYear() {
  const ScopedProductSource season(nullptr);
  return QVSettings::YOR();
}

qorvane::Product Session::product(bool corporate, int year) const {
  return {.corporate = corporate,
          .professional = !settings_.singleFiler,
          .taxYear = year == 0 ? settings_.year : year,
          .release = Text(settings_.release)};
}

bool Session::colorTerminal() const {
  const char* refused = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return !settings_.noColor && !(refused && *refused) && terminal && std::string_view(terminal) != "dumb" &&
         isatty(STDOUT_FILENO);
}

std::size_t Session::terminalWidth() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void Session::requireFolder() try {
  files_.pathForKey(Options(files_, product()).settingsDomainKey());
} catch (const FileException& error) {
  throw failureOf(error);
}

std::unique_ptr<Options> Session::load() { return loaded(seenEntries(*this, domainOf(*this))); }

std::unique_ptr<Options> Session::loaded(const std::optional<qorvane::Dictionary>& entries) {
  snapshot_.setObject(entries ? Value(*entries) : Value(), domainOf(*this).key());
  auto store = std::make_unique<Options>(snapshot_, product());
  store->loadOptions();
  return store;
}

void Session::change(const std::function<void(Options&)>& change, const std::vector<Text>& chosen) try {
  const FileUserDefaults::Lock lock(files_);
  putBackUnfinished(*this);
  const Domain domain = domainOf(*this);
  const auto own = storedSettings(*this, domain);
  const auto store = loaded(own ? std::optional(*own->object.asDictionary()) : std::nullopt);
  change(*store);
  const auto layers = layersOf(*this, domain, own.value_or(qorvane::Settings()));
  qorvane::Array notes;
  if (own && own->chosen.asArray()) notes = *own->chosen.asArray();
  for (const Text& key : pinsAmong(*layers, chosen, *store->options()))
    if (!layers->isMarked(key.view())) notes.push_back(key);
  files_.setSettings({*store->options(), qorvane::chosenAmong(Value(notes), *store->options())},
                     domain.key());
  if (!files_.synchronize()) {
    const auto failure = *files_.lastFailure();
    throw Failure(exitFor(failure.systemError), say("{}; nothing was changed", told(failure)));
  }
  tellUnlessSaved(*this, {{domain, *store->options()}});
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), say("{}; nothing was changed", told(error.failure())));
}

void Session::tellOnce(const std::string& message) {
  if (told_.insert(message).second) tell(message);
}

const qorvane::OptionRow& Session::option(const std::string& nameOrKey) {
  if (const qorvane::OptionRow* row = qorvane::findOption(nameOrKey)) return *row;
  std::vector<std::string_view> names;
  for (const qorvane::OptionRow& row : qorvane::optionTable()) names.push_back(row.name);
  throw Failure(Exit::NotFound, say("there is no option \"{}\"", nameOrKey) + didYouMean(nameOrKey, names));
}

}  // namespace optionsmgr
