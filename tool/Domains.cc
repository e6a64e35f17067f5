#include "tool/Domains.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/UserDefaults.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/UnfinishedChange.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::OptionRow;
using qorvane::Text;
using qorvane::Value;

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPrefixes[] = {"QorvaneT1Settings", "QorvaneT2Settings"};

}  // namespace

Text Domain::key() const {
  return Text(std::string(kPrefixes[corporate]) + (year == 0 ? "" : std::to_string(year)));
}
std::string Domain::name() const {
  const std::string product = corporate ? "T2" : "T1";
  return year == 0 ? say("{}, every year", product) : product + " " + std::to_string(year);
}

std::optional<Domain> Domain::fromKey(std::string_view key) {
  for (const bool corporate : {false, true}) {
    if (!key.starts_with(kPrefixes[corporate])) continue;
    const std::string_view digits = key.substr(kPrefixes[corporate].size());
    int year = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), year);
    const Domain domain{corporate, year};
    // Only the year's own digits make the key that the suite would use.
    if (error == std::errc() && end == digits.data() + digits.size() && year > 0 &&
        domain.key().view() == key)
      return domain;
  }
  return std::nullopt;
}

Domain domainOf(const Session& session) {
  const Settings& said = session.settings();
  return {said.corporate, said.year};
}

std::vector<Domain> domainsIn(const std::string& folder) {
  std::vector<Domain> found;
  std::error_code error;
  for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error))
    if (file->path().extension() == ".plist")
      if (const auto domain = Domain::fromKey(file->path().stem().string())) found.push_back(*domain);
  if (error && error != std::errc::no_such_file_or_directory)
    throw Failure(exitFor(error.value()),
                  say("cannot look into {}: {}", folder, systemReason(error.value())));
  std::ranges::sort(found);
  return found;
}

std::vector<Domain> storedDomains(Session& session) { return domainsIn(session.files().folder()); }

std::optional<Dictionary> storedEntries(Session& session, const Domain& domain) {
  const auto settings = storedSettings(session, domain);
  return settings ? std::optional(*settings->object.asDictionary()) : std::nullopt;
}

std::optional<qorvane::Settings> storedSettings(Session& session, const Domain& domain) try {
  using State = FileUserDefaults::Inspection::State;
  FileUserDefaults& files = session.files();
  const auto found = files.inspect(domain.key());
  if (found.state == State::Damaged) {
    const bool copy = files.newestGoodGeneration(domain.key()).has_value();
    throw Failure(
        Exit::BadData,
        say(copy ? Phrase(
                       "{} is damaged ({}); nothing was changed. `optionsmgr restore` sets it aside and puts "
                       "the last good copy in its place")
                 : Phrase("{} is damaged ({}); nothing was changed. `optionsmgr restore` sets it aside and "
                          "starts afresh"),
            files.pathForKey(domain.key()), told(*found.damage)));
  }
  if (found.state == State::Missing) return beforeUnfinished(session, domain, std::nullopt);
  if (!found.object.asDictionary())
    throw Failure(Exit::BadData, say("{} holds no dictionary of settings", files.pathForKey(domain.key())));
  return beforeUnfinished(session, domain, qorvane::Settings{found.object, found.chosen});
} catch (const FileException& error) {
  throw failureOf(error);
}

DomainStore::DomainStore(Session& session, const Domain& domain, const Dictionary& entries)
    : running_(session.product(domain.corporate, domain.year)),
      store_(memory_, session.product(domain.corporate, domain.year)) {
  memory_.setObject(entries, store_.settingsDomainKey());
  store_.loadOptions();
}

std::vector<OptionState> optionStates(Session& session, const Domain& domain, const Dictionary& entries) {
  DomainStore store(session, domain, entries);
  std::vector<OptionState> states;
  for (const OptionRow& row : qorvane::optionTable()) {
    OptionState state;
    state.row = &row;
    state.key = row.key();
    state.stored = !state.key.isNil() && entries.find(state.key.view());
    try {
      state.value = readIn(store.options(), row);
      state.isDefault = shown(row, state.value) == shown(row, row.fallback());
    } catch (const Failure&) {
      state.unreadable = true;
    }
    states.push_back(std::move(state));
  }
  return states;
}

}  // namespace optionsmgr
