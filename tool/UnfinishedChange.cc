#include "tool/UnfinishedChange.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <vector>

#include "qorvane/propertylist/PropertyList.h"
#include "tool/DoneSteps.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/WholeFile.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::Text;
using qorvane::Value;
using State = FileUserDefaults::Inspection::State;

namespace fs = std::filesystem;

namespace {

constexpr Text kNote = "Changes";

std::string noteFolder(Session& session) { return session.files().folder() + "/.unfinished"; }
std::string noteFile(Session& session) { return noteFolder(session) + "/Changes.plist"; }
std::string reserveFile(Session& session) { return noteFolder(session) + "/Reserve"; }
std::string finishedFile(Session& session) { return noteFolder(session) + "/Finished"; }

bool exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

// What the note says of one file.
struct Step {
  std::string name;  // As the note has it.
  std::optional<Domain> domain;
  // None where there was, or is to be, no file.
  std::optional<Dictionary> before;
  std::optional<Dictionary> after;
  // The marks of what was before.
  Value chosen;
  // An entry that no run of ours can have written.
  bool isBroken = false;
};

struct Note {
  enum class Kind : std::uint8_t { None, Usable, Damaged } kind = Kind::None;
  std::vector<Step> steps;
  std::string damage;
};

Step stepOf(const Text& key, const Value& said) {
  Step step;
  step.name = key.string();
  step.domain = Domain::fromKey(key);
  const Dictionary* both = said.asDictionary();
  const Value* before = both ? both->find("before") : nullptr;
  const Value* after = both ? both->find("after") : nullptr;
  if (const Value* chosen = both ? both->find("chosen") : nullptr) step.chosen = *chosen;
  if (before && before->asDictionary()) step.before = *before->asDictionary();
  if (after && after->asDictionary()) step.after = *after->asDictionary();
  // A "before" that is no dictionary is no entry of ours, whatever else it has.
  step.isBroken = !step.domain || (before && !step.before) || (after && !step.after) || !(before || after);
  return step;
}

// Throws FileException when there may be a note and it cannot be read.
Note readNote(Session& session) {
  Note note;
  if (!exists(noteFolder(session)) || exists(finishedFile(session))) return note;
  const auto found = FileUserDefaults(noteFolder(session)).inspect(kNote);
  // Without a note nothing has been changed yet.
  if (found.state == State::Missing) return note;
  note.kind = Note::Kind::Usable;
  if (found.state == State::Damaged || !found.object.asDictionary()) {
    note.kind = Note::Kind::Damaged;
    note.damage = found.state == State::Damaged ? told(*found.damage)
                                                : say("{} holds no dictionary", noteFile(session));
    return note;
  }
  for (const auto& [key, said] : *found.object.asDictionary()) note.steps.push_back(stepOf(key, said));
  return note;
}

bool holds(const std::optional<Dictionary>& entries, const std::optional<Dictionary>& others) {
  return entries.has_value() == others.has_value() && (!entries || isIdentical(*entries, *others));
}

std::optional<Dictionary> entriesIn(const std::optional<qorvane::Settings>& settings) {
  return settings ? std::optional(*settings->object.asDictionary()) : std::nullopt;
}

// The file's entries; none where there is no file. Nothing at all for a file that holds something else.
std::optional<std::optional<Dictionary>> entriesNow(Session& session, const Domain& domain) {
  const auto found = session.files().inspect(domain.key());
  if (found.state == State::Missing) return std::optional<Dictionary>();
  if (found.state == State::Damaged || !found.object.asDictionary()) return std::nullopt;
  return std::optional(*found.object.asDictionary());
}

std::string timeNow() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc)};
}

// A name beside the store's files that nothing has yet.
std::string freeName(const std::string& wanted, const std::string& ending) {
  std::string name = wanted + ending;
  for (int copies = 2; exists(name); ++copies) name = wanted + "-" + std::to_string(copies) + ending;
  return name;
}

// A preferences file with what the year was, for `import --replace`.
std::string keepBefore(Session& session, const Step& step) {
  const std::string path =
      freeName(session.files().folder() + "/" + step.name + ".before-import-" + timeNow(), ".plist");
  Dictionary top{{step.domain->key(), *step.before}};
  top.set("Chosen", step.chosen);
  writeWholeFile(path, writePropertyList(Value(top), qorvane::PropertyListFormat::Binary), Existing::Refused);
  return path;
}

Value objectOf(const std::optional<Dictionary>& entries) { return entries ? Value(*entries) : Value(); }

void save(FileUserDefaults& files, const Text& key, const Value& value, const Value* marks = nullptr) {
  if (marks && !value.isNil())
    files.setSettings({value, *marks}, key);
  else
    files.setObject(value, key);
  if (files.synchronize()) return;
  const auto failure = *files.lastFailure();
  // What could not be written must not be tried again with the next save.
  files.forget(key);
  throw Failure(exitFor(failure.systemError), told(failure));
}

// Puts the file back if it still is what the step made of it; says what became of it.
std::string putBack(Session& session, const Step& step) {
  const auto now = entriesNow(session, *step.domain);
  // A step that changed only marks left the entries as they were.
  if (now && holds(*now, step.after)) {
    save(session.files(), step.domain->key(), objectOf(step.before), &step.chosen);
    return say("{} is as before it", step.domain->name());
  }
  if (now && holds(*now, step.before)) return say("{} is as before it", step.domain->name());
  if (!step.before) return say("{} was changed since and stays as it is", step.domain->name());
  return say("{} was changed since and stays as it is; what it was before is kept in {}", step.domain->name(),
             keepBefore(session, step));
}

// The step has happened, or has been undone: from now on there is no note. False when that is not so.
bool dropNote(Session& session) {
  const bool dropped =
      (unlink(noteFile(session).c_str()) == 0 || errno == ENOENT) && syncFolder(noteFolder(session));
  if (dropped) return true;
  const int error = errno;
  // Any other way to say so will do.
  const bool marked = close(open(finishedFile(session).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)) == 0 &&
                      syncFolder(noteFolder(session));
  errno = error;
  return marked;
}

void removeRest(Session& session) {
  std::error_code error;
  fs::remove_all(noteFolder(session), error);
  if (error)
    tell(say("saved, but {} could not be removed ({}); the next change removes it", noteFolder(session),
             systemReason(error.value())));
}

// A note that is no good is kept as it is: it may be all that is left of what was before.
void setNoteAside(Session& session, const std::string& why) {
  const std::string aside = freeName(session.files().folder() + "/.unfinished.damaged-" + timeNow(), "");
  if (rename(noteFolder(session).c_str(), aside.c_str()) != 0)
    throw Failure(exitFor(errno),
                  say("cannot set {} aside as {}: {}", noteFolder(session), aside, systemReason(errno)));
  tell(say(
      "the note of a change of several years that was interrupted is damaged ({}): some of them may be as "
      "it left them; it was kept as {}",
      why, aside));
}

// The bytes that putting everything back may take.
void reserve(Session& session, const Changes& changes) {
  std::size_t bytes = 1 << 14;
  for (const auto& [domain, entries] : changes) {
    struct stat status;
    if (stat(session.files().pathForKey(domain.key()).c_str(), &status) == 0)
      bytes += static_cast<std::size_t>(status.st_size) + 4096;
  }
  writeWholeFile(reserveFile(session), std::string(bytes, 'x'), Existing::Replaced);
}

void writeNote(Session& session, const Changes& changes) {
  Dictionary note;
  for (const auto& [domain, entries] : changes) {
    Dictionary both;
    if (entries) both.set("after", *entries);
    if (const auto before = storedEntries(session, domain)) both.set("before", *before);
    both.set("chosen", session.files().inspect(domain.key()).chosen);
    note.set(domain.key(), both);
  }
  // What a run that was killed left behind without a note.
  fs::remove_all(noteFolder(session));
  FileUserDefaults noted(noteFolder(session));
  const FileUserDefaults::Lock folder(noted);  // Makes it.
  reserve(session, changes);
  save(noted, kNote, note);
  if (!syncFolder(session.files().folder()))
    throw Failure(exitFor(errno), say("cannot sync the folder {} to the disk: {}", session.files().folder(),
                                      systemReason(errno)));
}

void discardNewNote(Session& session) {
  std::error_code ignored;
  if (dropNote(session)) fs::remove_all(noteFolder(session), ignored);
}

// Something failed after the note was written: nothing of it is to stay.
void undo(Session& session, const Failure& failure) try {
  unlink(reserveFile(session).c_str());
  const Note note = readNote(session);
  for (const Step& step : note.steps) putBack(session, step);
  discardNewNote(session);
} catch (const Failure& second) {
  throw Failure(
      second.code(),
      say("{}; the years changed before could not be put back either ({}). They still read as before, "
          "and the next change puts them back; nothing else can be changed until then",
          failure.what(), second.what()));
}

}  // namespace

void changeAll(Session& session, const Changes& changes, const Marks& marks) try {
  const auto saveOne = [&](const Domain& domain, const std::optional<Dictionary>& entries) {
    const auto marked = marks.find(domain);
    save(session.files(), domain.key(), objectOf(entries), marked == marks.end() ? nullptr : &marked->second);
  };
  for (const auto& [domain, entries] : changes)
    requireUnlocked(session, domain, storedEntries(session, domain).value_or(Dictionary()),
                    entries.value_or(Dictionary()));
  if (changes.size() < 2) {
    // One file changes in one step by itself.
    for (const auto& [domain, entries] : changes) saveOne(domain, entries);
    return;
  }
  DoneStep done;
  try {
    writeNote(session, changes);
  } catch (...) {
    discardNewNote(session);
    throw;
  }
  try {
    for (const auto& [domain, entries] : changes) {
      const std::uint64_t last = newestGeneration(session, domain);
      saveOne(domain, entries);
      if (const auto part = donePart(session, domain, last)) done.parts[domain] = *part;
    }
    recordStep(session, done);
    if (!dropNote(session))
      throw Failure(exitFor(errno), say("cannot remove {}: {}", noteFile(session), systemReason(errno)));
  } catch (const Failure& failure) {
    undo(session, failure);
    throw;
  }
  removeRest(session);
} catch (const FileException& error) {
  throw failureOf(error);
} catch (const fs::filesystem_error& error) {
  throw Failure(exitFor(error.code().value()), systemReason(error.code().value()));
}

void tellUnlessSaved(Session& session, const Changes& changes) {
  for (const auto& [domain, entries] : changes) try {
      const auto now = storedEntries(session, domain);
      if (!holds(now, entries))
        tell(say("saved, but {} reads otherwise: another program has changed it meanwhile", domain.name()));
    } catch (const Failure& failure) {
      tell(say("saved, but {} could not be read back ({}); the next run reads it anew", domain.name(),
               failure.what()));
    }
}

void putBackUnfinished(Session& session) {
  if (!exists(noteFolder(session))) return;
  const auto blocked = [&](int systemError, const std::string& why) {
    return Failure(
        exitFor(systemError),
        say("a change of several years was interrupted and cannot be put back now: {}. Once that is mended, "
            "the next change puts it back; until then nothing is changed, and reading answers what was "
            "before. The note of it is {}",
            why, noteFile(session)));
  };
  try {
    const Note note = readNote(session);
    if (note.kind == Note::Kind::Damaged) return setNoteAside(session, note.damage);
    bool broken = false;
    if (note.kind == Note::Kind::Usable) unlink(reserveFile(session).c_str());
    for (const Step& step : note.steps) {
      broken |= step.isBroken;
      if (!step.isBroken) tell(say("a change of several years was interrupted: {}", putBack(session, step)));
    }
    if (broken) return setNoteAside(session, say("some of its entries are none"));
    if (!dropNote(session)) throw blocked(errno, systemReason(errno));
    std::error_code later;
    fs::remove_all(noteFolder(session), later);
  } catch (const FileException& error) {
    throw blocked(error.systemError(), told(error.failure()));
  } catch (const Failure& failure) {
    throw Failure(failure.code(), blocked(0, failure.what()).what());
  }
}

std::optional<qorvane::Settings> beforeUnfinished(Session& session, const Domain& domain,
                                                  std::optional<qorvane::Settings> found) try {
  const Note note = readNote(session);
  if (note.kind == Note::Kind::Damaged) {
    session.tellOnce(
        say("the note {} of a change of several years that was interrupted is damaged ({}): some of "
            "them may be as it left them",
            noteFile(session), note.damage));
    return found;
  }
  for (const Step& step : note.steps) {
    if (step.isBroken) {
      session.tellOnce(say("the note {} of a change of several years has an entry that is none: \"{}\"",
                           noteFile(session), step.name));
    } else if (*step.domain == domain && holds(entriesIn(found), step.after)) {
      session.tellOnce(
          say("a change of several years is under way, or was interrupted: {} reads as before it",
              domain.name()));
      if (!step.before) return std::nullopt;
      return qorvane::Settings{Value(*step.before), step.chosen};
    }
  }
  return found;
} catch (const FileException& error) {
  session.tellOnce(
      say("the note {} of a change of several years cannot be read ({}): some of them may be as it "
          "left them",
          noteFile(session), told(error.failure())));
  return found;
}

}  // namespace optionsmgr
