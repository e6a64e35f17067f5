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
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"

namespace optionsmgr {

using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::Options;
using qorvane::QVSettings;
using qorvane::Text;
using qorvane::UserDefaults;

namespace {

// Looks at the disk and makes nothing.
class LookingFileManager : public qorvane::FileManager {
 public:
  bool fileExistsAtPath(const Text& path, bool* isDirectory) override {
    // The file system's own manager, for as long as the question takes.
    const FileManagerChoice real(true);
    return defaultManager().fileExistsAtPath(path, isDirectory);
  }
  bool createDirectoryAtPath(const Text&, bool) override { return false; }
};

}  // namespace

FileManagerChoice::FileManagerChoice(bool make) {
  static LookingFileManager looking;
  before_ = qorvane::FileManager::setDefaultManager(make ? nullptr : &looking);
}
FileManagerChoice::~FileManagerChoice() { qorvane::FileManager::setDefaultManager(before_); }

Session::Session(Settings settings)
    : settings_(std::move(settings)),
      files_(settings_.folder.empty() ? FileUserDefaults::defaultFolder() : settings_.folder) {
  if (settings_.year == 0) settings_.year = seasonYear();
  setProduct();
  files_.setLockWait(static_cast<int>(settings_.lockWait * 1000));
  UserDefaults::setStandardUserDefaults(&files_);
}

Session::~Session() { UserDefaults::setStandardUserDefaults(nullptr); }

int Session::seasonYear() {
  QVSettings::setSource(nullptr);
  return QVSettings::YOR();
}

void Session::setProduct() const {
  QVSettings::setProduct({.corporate = settings_.corporate,
                          .professional = !settings_.singleFiler,
                          .taxYear = settings_.year,
                          .release = Text(settings_.release)});
}

Session::ProductChoice::ProductChoice(const Session& session, bool corporate, int year) : session_(session) {
  QVSettings::setProduct({.corporate = corporate,
                          .professional = !session.settings_.singleFiler,
                          .taxYear = year,
                          .release = Text(session.settings_.release)});
}
Session::ProductChoice::~ProductChoice() { session_.setProduct(); }

Session::StoreChoice::StoreChoice(Session& session, UserDefaults& store) : session_(session) {
  UserDefaults::setStandardUserDefaults(&store);
}
Session::StoreChoice::~StoreChoice() { UserDefaults::setStandardUserDefaults(&session_.files_); }

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
  files_.pathForKey(Options().settingsDomainKey());
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

void Session::requireUndamaged(const Text& key) {
  using State = FileUserDefaults::Inspection::State;
  const auto found = files_.inspect(key);
  if (found.state != State::Damaged) return;
  const bool copy = files_.inspectBackup(key).state == State::Good;
  throw Failure(
      Exit::BadData,
      say(copy
              ? Phrase("{} is damaged ({}); nothing was changed. `optionsmgr restore` sets it aside and puts "
                       "the last good copy in its place")
              : Phrase("{} is damaged ({}); nothing was changed. `optionsmgr restore` sets it aside and "
                       "starts afresh"),
          files_.pathForKey(key), told(*found.damage)));
}

std::unique_ptr<Options> Session::load() try {
  auto store = std::make_unique<Options>();
  requireUndamaged(store->settingsDomainKey());
  store->loadOptions();
  return store;
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

std::unique_ptr<Options> Session::change(const std::function<void(Options&)>& change) try {
  {
    const FileUserDefaults::Lock lock(files_);
    undoUnfinished(*this);
    const auto store = load();
    change(*store);
    store->saveOptions();
    if (const auto failure = files_.lastFailure())
      throw Failure(exitFor(failure->systemError), say("{}; nothing was changed", told(*failure)));
  }
  return load();
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), say("{}; nothing was changed", told(error.failure())));
}

const qorvane::OptionRow& Session::option(const std::string& nameOrKey) {
  if (const qorvane::OptionRow* row = qorvane::findOption(nameOrKey)) return *row;
  std::vector<std::string_view> names;
  for (const qorvane::OptionRow& row : qorvane::optionTable()) names.push_back(row.name);
  throw Failure(Exit::NotFound, say("there is no option \"{}\"", nameOrKey) + didYouMean(nameOrKey, names));
}

}  // namespace optionsmgr
