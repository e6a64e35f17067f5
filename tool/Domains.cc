#include "tool/Domains.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/UserDefaults.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::OptionRow;
using qorvane::Options;
using qorvane::Text;
using qorvane::UserDefaults;
using qorvane::Value;

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPrefixes[] = {"QorvaneT1Settings", "QorvaneT2Settings"};

// The note of what several files were and are to be: one entry for each key, { "before": …, "after": … },
// without "before" where there was no file.
constexpr Text kNote = "Changes";
std::string noteFolder(Session& session) { return session.files().folder() + "/.unfinished"; }

void syncFolder(const std::string& folder) {
  const int opened = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return;
  fsync(opened);
  close(opened);
}

void removeNote(Session& session) {
  FileUserDefaults note(noteFolder(session));
  note.setObject(nullptr, kNote);
  if (!note.synchronize()) throw Failure(exitFor(note.lastFailure()->systemError), told(*note.lastFailure()));
  std::error_code ignored;
  fs::remove_all(noteFolder(session), ignored);
}

void save(FileUserDefaults& files, const Text& key, const Value& value) {
  files.setObject(value, key);
  if (files.synchronize()) return;
  const auto failure = *files.lastFailure();
  // What could not be written must not be tried again with the next save.
  files.forget(key);
  throw Failure(exitFor(failure.systemError), told(failure));
}

// Puts each file back that still is what the note says it was to become.
void putBack(Session& session, const Dictionary& note) {
  FileUserDefaults& files = session.files();
  for (const auto& [key, change] : note) {
    const Dictionary& both = *change.asDictionary();
    const Value* before = both.find("before");
    const Value* after = both.find("after");
    if (after && isIdentical(files.objectForKey(key), *after)) save(files, key, before ? *before : Value());
  }
}

}  // namespace

Text Domain::key() const { return Text(std::string(kPrefixes[corporate]) + std::to_string(year)); }
std::string Domain::name() const { return (corporate ? "T2 " : "T1 ") + std::to_string(year); }

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

std::vector<Domain> storedDomains(Session& session) {
  std::vector<Domain> found;
  std::error_code error;
  for (fs::directory_iterator file(session.files().folder(), error), end; !error && file != end;
       file.increment(error))
    if (file->path().extension() == ".plist")
      if (const auto domain = Domain::fromKey(file->path().stem().string())) found.push_back(*domain);
  if (error && error != std::errc::no_such_file_or_directory)
    throw Failure(exitFor(error.value()),
                  say("cannot look into {}: {}", session.files().folder(), systemReason(error.value())));
  std::ranges::sort(found);
  return found;
}

std::optional<Dictionary> storedEntries(Session& session, const Domain& domain) try {
  session.requireUndamaged(domain.key());
  const Value stored = session.files().objectForKey(domain.key());
  if (stored.isNil()) return std::nullopt;
  if (!stored.asDictionary())
    throw Failure(Exit::BadData,
                  say("{} holds no dictionary of settings", session.files().pathForKey(domain.key())));
  return *stored.asDictionary();
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

std::vector<OptionState> optionStates(Session& session, const Domain& domain, const Dictionary& entries) {
  const qorvane::Product product = session.product(domain.corporate, domain.year);
  qorvane::MemoryUserDefaults memory;
  memory.setObject(entries, domain.key());
  Options store(memory, product);
  store.loadOptions();
  std::vector<OptionState> states;
  for (const OptionRow& row : qorvane::optionTable()) {
    OptionState state;
    state.row = &row;
    state.key = row.key(product);
    state.stored = !state.key.isNil() && entries.find(state.key.view());
    try {
      state.value = readIn(store, row);
      state.isDefault = shown(row, state.value) == shown(row, row.fallback(product));
    } catch (const Failure&) {
      state.unreadable = true;
    }
    states.push_back(std::move(state));
  }
  return states;
}

void changeAll(Session& session, const Changes& changes) try {
  FileUserDefaults& files = session.files();
  if (changes.size() < 2) {
    // One file changes in one step by itself.
    for (const auto& [domain, entries] : changes) save(files, domain.key(), entries);
    return;
  }
  Dictionary note;
  for (const auto& [domain, entries] : changes) {
    const auto before = storedEntries(session, domain);
    Dictionary both{{"after", entries}};
    if (before) both.set("before", *before);
    note.set(domain.key(), both);
  }
  // A copy of an older note must not be taken for this one's.
  fs::remove_all(noteFolder(session));
  FileUserDefaults noted(noteFolder(session));
  save(noted, kNote, note);
  syncFolder(files.folder());
  try {
    for (const auto& [domain, entries] : changes) save(files, domain.key(), entries);
  } catch (const Failure& failure) {
    try {
      putBack(session, note);
      removeNote(session);
    } catch (const Failure& second) {
      throw Failure(second.code(), say("{}; the files changed before could not be put back either ({}): the "
                                       "next run of optionsmgr tries again",
                                       failure.what(), second.what()));
    }
    throw;
  }
  removeNote(session);
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
} catch (const fs::filesystem_error& error) {
  throw Failure(exitFor(error.code().value()),
                say("cannot change {}: {}", error.path1().string(), systemReason(error.code().value())));
}

bool undoUnfinished(Session& session) try {
  std::error_code unknown;
  if (!fs::exists(fs::symlink_status(noteFolder(session), unknown))) return false;
  const FileUserDefaults::Lock lock(session.files());
  FileUserDefaults noted(noteFolder(session));
  // A note that is no good was still being written: nothing had been changed yet.
  const auto state = noted.inspect(kNote).state;
  if (state == FileUserDefaults::Inspection::State::Good) {
    const Value note = noted.objectForKey(kNote);
    if (note.asDictionary()) putBack(session, *note.asDictionary());
    removeNote(session);
    return true;
  }
  fs::remove_all(noteFolder(session));
  return false;
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
} catch (const fs::filesystem_error& error) {
  throw Failure(exitFor(error.code().value()),
                say("cannot change {}: {}", error.path1().string(), systemReason(error.code().value())));
}

}  // namespace optionsmgr
