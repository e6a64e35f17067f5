// How FileUserDefaults writes: the lock, the order of a save, and what is put back when it fails.
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <utility>

#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/preferences/FileContents.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/Generations.h"
#include "qorvane/preferences/LockedFolder.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/preferences/StagedFile.h"

namespace qorvane::inline v1 {

namespace {

constexpr mode_t kPrivateFolder = 0700;

std::string utcText(std::time_t time) {
  std::tm utc{};
  gmtime_r(&time, &utc);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc)};
}

bool isLater(const timespec& a, const timespec& b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

}  // namespace

// ---- what is to be written ------------------------------------------------------------------------------

void FileUserDefaults::setObject(const Value& value, const Text& key) {
  requirePropertyList(value, key);
  if (value.isNil() && unread_.contains(key.view())) throw Exception({FailureCode::unreadNotRemoved, {key}});
  pending_.insert_or_assign(key.string(), Pending{value, value, std::nullopt, {}});
}

void FileUserDefaults::setSettings(const Settings& settings, const Text& key) {
  setObject(settings.object, key);
  pending_[key.string()].chosen = settings.chosen;
}

void FileUserDefaults::update(const Value& whole, const Text& key, std::shared_ptr<Merge> merge) {
  requirePropertyList(whole, key);
  if (whole.isNil() && unread_.contains(key.view())) throw Exception({FailureCode::unreadNotRemoved, {key}});
  Pending& pending = pending_[key.string()];
  if (std::ranges::find(pending.merges, merge) == pending.merges.end())
    pending.merges.push_back(std::move(merge));
  pending.object = whole;
}

bool FileUserDefaults::synchronize() {
  lastFailure_.reset();
  for (auto next = pending_.begin(); next != pending_.end();) {
    const std::string& key = next->first;
    std::vector<std::shared_ptr<Merge>> merged;
    try {
      save(Text(key), next->second);
      merged = std::move(next->second.merges);
      next = pending_.erase(next);
    } catch (...) {
      noteFailure(key);
      ++next;
    }
    for (const auto& merge : merged) merge->written();
  }
  if (lastFailure_)
    logFailure([&] { return Failure{FailureCode::settingsNotSaved, {}, 0, {*lastFailure_}}; });
  return !lastFailure_;
}

// Of the exception that is being handled.
void FileUserDefaults::noteFailure(const std::string& key) noexcept try {
  const Failure cause = currentFailure();
  lastFailure_ = {FailureCode::cannotSave, {folder_ + "/" + key + ".plist"}, cause.systemError, {cause}};
} catch (const std::bad_alloc&) {
  lastFailure_ = {.code = FailureCode::outOfMemory, .systemError = ENOMEM};
}

// The file as it stands, under the lock: for a link, under that of its target's folder, too.
FileUserDefaults::Contents FileUserDefaults::examineToReplace(const Text& key, const Pending& pending,
                                                              const Known& known) {
  Contents old(pathForKey(key));
  const auto readIt = [&] {
    try {
      read(old);
    } catch (const FileException& error) {
      struct stat status;
      // Only what replaces it whole may set aside what cannot be read.
      if (!pending.replacement || pending.object.isNil() || !pending.merges.empty() ||
          !isTroubleOfTheFile(error.systemError()) || calls_.lstat(old.target.c_str(), &status) != 0)
        throw;
      old.state = Inspection::State::Damaged;
      old.unreadable = true;
      old.damage = error.failure();
    }
  };
  readIt();
  if (old.linked) {
    hold(folderOf(old.target));
    struct stat status;
    if (calls_.lstat(old.target.c_str(), &status) == 0 && status.st_uid != calls_.geteuid())
      throw FileException(FailureCode::targetOfAnother,
                          {pathForKey(key), old.target, std::to_string(status.st_uid)}, EACCES);
    readIt();
  }
  judge(old, key, &known);
  return old;
}

void FileUserDefaults::save(const Text& key, const Pending& pending) {
  const Lock lock(*this);
  Known& known = known_[key.string()];
  const Contents old = examineToReplace(key, pending, known);
  // Changes to a damaged file are changes to what it is healed to; where there is nothing, all is written.
  Contents good;
  const bool damaged = old.state == Inspection::State::Damaged;
  const bool healed = damaged && !pending.merges.empty() && newestGood(key, good);
  const Contents& standing = healed ? good : old;
  const bool startsAfresh = damaged && !healed;
  const Settings settings = startsAfresh
                                ? Settings{pending.object, pending.chosen.value_or(Value())}
                                : pending.over(standing.isGood() ? standing.settings(key) : Settings());
  const Value& object = settings.object;
  requirePropertyList(object, key);
  if (isThere(key, old, settings, known)) return;

  Known replacement;
  replacement.generation = std::max(nextNumber(key, old, &known), good.generation + 1);
  if (!object.isNil()) {
    Dictionary top;
    if (const Dictionary* entries = standing.top.asDictionary()) top = *entries;
    top.set(key, object);
    if (!settings.chosen.isNil() || !chosenIn(standing.top).isNil()) top.set(Text(kChosen), settings.chosen);
    replacement.top = std::move(top);
    replacement.bytes = sealedPropertyList(replacement.top, replacement.generation);
  }
  const std::string quarantined = replace(key, old, replacement);
  const std::uint64_t number = replacement.generation;
  known = std::move(replacement);
  if (!quarantined.empty())
    logFailure([&] {
      return Failure{old.unreadable ? FailureCode::unreadableQuarantined : FailureCode::damagedQuarantined,
                     {pathForKey(key), quarantined},
                     0,
                     {*old.damage}};
    });
  // Only when a good one was just kept is the newest one known to be good.
  if (old.isGood() && number % kThinnedEvery == 0) thin(key);
}

// Whether the file holds the object already, as a save would leave it; then it also is on the disk.
bool FileUserDefaults::isThere(const Text& key, const Contents& old, const Settings& settings, Known& known) {
  const Value& object = settings.object;
  if (object.isNil()
          ? old.state != Inspection::State::Missing
          : !old.isGood() || !old.sealed || !old.isPrivate() || !isIdentical(old.object(key), object) ||
                !isIdentical(chosenIn(old.top), settings.chosen))
    return false;
  if (old.bytes != known.bytes) known = old.known();
  if (!known.synced) hold(folderOf(old.target)).sync();
  known.synced = true;
  return true;
}

// ---- the save sequence ----------------------------------------------------------------------------------

// One more than any number that a save of the key had. Tidies up on the way: what stopped saves left is
// removed, and the copy of an earlier version becomes a generation.
std::uint64_t FileUserDefaults::nextNumber(const Text& key, const Contents& old, const Known* known) {
  // A file that this object wrote and nobody touched since bears the highest number: whoever saved after us
  // would have put another file in its place.
  if (known && known->ours && old.isGood() && old.bytes == known->bytes && old.status.st_ino == known->file &&
      !isLater(old.status.st_ctim, known->since))
    return old.generation + 1;
  Listing listing;
  locked_.front()->list([&](std::string_view name, unsigned char) { collect(name, key, listing); });
  for (const std::string& name : listing.leftovers) calls_.unlink((folder_ + "/" + name).c_str());
  if (LockedFolder& folder = hold(folderOf(old.target)); &folder != locked_.front().get()) {
    Listing beside;
    folder.list([&](std::string_view name, unsigned char) { collect(name, key, beside); });
    for (const std::string& name : beside.leftovers) calls_.unlink((folder.path() + "/" + name).c_str());
  }
  std::uint64_t highest = old.generation;
  for (const GenerationName& name : listing.generations) highest = std::max(highest, name.number);
  if (listing.earlierCopy) {
    const std::string name = GenerationName{highest + 1, deskDay(calls_.time())}.fileName(key.view());
    // Where that fails it serves as it is.
    if (calls_.rename((folder_ + "/" + key.string() + std::string(kEarlierCopy)).c_str(),
                      (folder_ + "/" + name).c_str()) == 0)
      ++highest;
  }
  return highest + 1;
}

std::string FileUserDefaults::stagingIn(const std::string& folder, const Text& key) const {
  return folder + "/" + stagingName(key.view());
}

// Puts the replacement's bytes, or nothing, in the place of the file as it was found under the lock. What was
// there becomes a generation; if it is not good, it must neither be lost nor count as one, and is set aside
// under the path that is answered. A failure leaves everything as it was.
std::string FileUserDefaults::replace(const Text& key, const Contents& old, Known& replacement) {
  LockedFolder& own = *locked_.front();
  LockedFolder& folder = old.linked ? hold(folderOf(old.target)) : own;
  const bool elsewhere = &folder != &own;
  std::optional<StagedFile> staged;
  if (!replacement.bytes.empty())
    staged.emplace(calls_, stagingIn(folder.path(), key), old.target, replacement.bytes);
  std::string kept;
  std::string quarantined;
  if (old.isGood())
    kept = keep(key, old, replacement.generation);
  else if (old.state == Inspection::State::Damaged)
    quarantined = quarantine(old.target, key, old.unreadable);
  bool held = false;
  bool published = false;
  try {
    // One sync covers both names only where they stand in one folder.
    if (elsewhere && !kept.empty()) own.sync();
    own.requireHeld();
    if (elsewhere) folder.requireHeld();
    held = true;
    if (staged)
      staged->publish();
    else if (calls_.unlink(old.target.c_str()) != 0 && errno != ENOENT)
      throw FileException(FailureCode::cannotRemove, {old.target}, errno);
    published = true;
    folder.sync();
  } catch (...) {
    // Nobody can say what the disk holds now; the caller is told that the save failed, so what it sees must
    // be the old file again. Whoever has taken the lock over sees to that himself: of ours only a second name
    // of what still stands there is taken back.
    struct stat status;
    if (!held) {
      if (!quarantined.empty() && calls_.lstat(old.target.c_str(), &status) == 0 &&
          isSameFile(status, old.status))
        calls_.unlink(quarantined.c_str());
    } else {
      if (!kept.empty() && putBack(kept, old, key))
        calls_.unlink(kept.c_str());  // Renaming one name of a file to another of its names leaves both.
      else if (!quarantined.empty() && putBack(quarantined, old, key))
        calls_.unlink(quarantined.c_str());
      else if (kept.empty() && quarantined.empty() && published)
        calls_.unlink(old.target.c_str());
    }
    throw;
  }
  replacement.sealed = replacement.ours = replacement.synced = true;
  if (staged) replacement.file = staged->file();
  replacement.since = calls_.fileTime();
  replacement.write = ++writes_;
  return quarantined;
}

// Gives the file its name as a generation.
std::string FileUserDefaults::keep(const Text& key, const Contents& old, std::uint64_t number) {
  GenerationName name{number, deskDay(calls_.time())};
  std::string path = folder_ + "/" + name.fileName(key.view());
  while (calls_.link(old.target.c_str(), path.c_str()) != 0) {
    struct stat status;
    if (errno != EEXIST) {
      // A file system without hard links, or a target on another one: a copy does as well.
      copy(old.target, stagingIn(folder_, key), path);
      return path;
    }
    // The answer of a server may have been lost; otherwise the name is another's.
    if (calls_.lstat(path.c_str(), &status) == 0 && isSameFile(status, old.status)) break;
    ++name.number;
    path = folder_ + "/" + name.fileName(key.view());
  }
  // Another program may have left the file open to others; a failure leaves it as open as that was.
  if (!old.isPrivate()) calls_.chmod(path.c_str(), kPrivateFile);
  return path;
}

// Puts the old file back in its place. True when it stands there again.
bool FileUserDefaults::putBack(const std::string& kept, const Contents& old, const Text& key) noexcept try {
  if (calls_.rename(kept.c_str(), old.target.c_str()) == 0) return true;
  copy(kept, stagingIn(folderOf(old.target), key), old.target);
  return true;
} catch (const std::exception&) {
  // What was kept still holds the old bytes.
  return false;
}

void FileUserDefaults::copy(const std::string& from, const std::string& staging,
                            const std::string& to) const {
  Contents contents(from);
  read(contents);
  if (!contents.wasRead) throw FileException(FailureCode::cannotRead, {from}, ENOENT);
  StagedFile(calls_, staging, to, contents.bytes).publish();
}

std::string FileUserDefaults::quarantine(const std::string& file, const Text& key, bool unreadable) {
  const std::string wanted =
      pathForKey(key) + (unreadable ? ".unreadable-" : ".damaged-") + utcText(calls_.time());
  std::string quarantined = wanted;
  bool moved = false;
  // Whatever the clock says, nothing that was set aside before is overwritten.
  for (int copies = 2; calls_.link(file.c_str(), quarantined.c_str()) != 0; ++copies) {
    struct stat status;
    const int error = errno;
    if (error != EEXIST && calls_.lstat(quarantined.c_str(), &status) != 0) {
      if (errno != ENOENT) throw FileException(FailureCode::cannotExamine, {quarantined}, errno);
      // No hard links here: a copy does as well, and what cannot be copied is moved.
      if (!unreadable)
        copy(file, stagingIn(folder_, key), quarantined);
      else if (calls_.rename(file.c_str(), quarantined.c_str()) != 0)
        throw FileException(FailureCode::cannotQuarantine, {file, quarantined}, errno);
      moved = unreadable;
      break;
    }
    quarantined = wanted + "-" + std::to_string(copies);
  }
  if (!unreadable) calls_.chmod(quarantined.c_str(), kPrivateFile);  // As for a generation.
  // A power cut may keep any of the changes of names since the last sync and drop the others: this name must
  // be there before the file's goes to another.
  try {
    locked_.front()->sync();
  } catch (const FileException&) {
    if (moved)
      calls_.rename(quarantined.c_str(), file.c_str());
    else
      calls_.unlink(quarantined.c_str());
    throw;
  }
  return quarantined;
}

// The save is done and answered for: what goes wrong here is for the next time.
void FileUserDefaults::thin(const Text& key) noexcept try {
  std::vector<KeptGeneration> all;
  Listing listing;
  locked_.front()->list([&](std::string_view name, unsigned char) { collect(name, key, listing); });
  listing.sort();
  for (const GenerationName& name : listing.generations) {
    struct stat status;
    if (calls_.lstat((folder_ + "/" + name.fileName(key.view())).c_str(), &status) == 0)
      all.push_back({name, static_cast<std::uint64_t>(status.st_size)});
  }
  for (const GenerationName& name : superfluous(all, deskDay(calls_.time())))
    calls_.unlink((folder_ + "/" + name.fileName(key.view())).c_str());
} catch (const std::exception&) {
}

// ---- the folder and its lock ------------------------------------------------------------------------------

// The folder, locked until the store's lock is given back.
LockedFolder& FileUserDefaults::hold(const std::string& folder) {
  if (folder == folder_) return *locked_.front();
  struct stat status;
  if (calls_.stat(folder.c_str(), &status) != 0)
    throw FileException(FailureCode::cannotOpenFolder, {folder}, errno);
  for (const auto& locked : locked_)
    if (locked->is(status)) return *locked;
  locked_.push_back(std::make_unique<LockedFolder>(calls_, folder, lockWait_));
  return *locked_.back();
}

// Root that sets up the settings of another user would lock him out of them.
void FileUserDefaults::requireOwnWay() const {
  if (calls_.geteuid() != 0) return;
  const auto require = [&](const std::string& folder, const struct stat& status) {
    if (status.st_uid != 0)
      throw FileException(FailureCode::folderForAnother, {folder_, folder, std::to_string(status.st_uid)},
                          EACCES);
  };
  struct stat status;
  std::string nearest = folderOf(folder_);
  while (calls_.stat(nearest.c_str(), &status) != 0) {
    if ((errno != ENOENT && errno != ENOTDIR) || nearest == folderOf(nearest)) return;
    nearest = folderOf(nearest);
  }
  require(nearest, status);
  const std::string home = homePath();
  if (!home.empty() && folder_.starts_with(home + "/") && calls_.stat(home.c_str(), &status) == 0)
    require(home, status);
}

void FileUserDefaults::makeFolder(const std::string& folder) {
  if (folder.empty() || folder == "." || folder == "/") return;  // They are there, or nothing is.
  if (calls_.mkdir(folder.c_str(), kPrivateFolder) != 0) {
    if (errno == EEXIST) return;
    if (errno != ENOENT) throw FileException(FailureCode::cannotCreateFolder, {folder}, errno);
    makeFolder(folderOf(folder));
    if (calls_.mkdir(folder.c_str(), kPrivateFolder) != 0 && errno != EEXIST)
      throw FileException(FailureCode::cannotCreateFolder, {folder}, errno);
  }
  // A umask may have taken the owner's own rights; and a folder that a power cut takes away takes with it
  // what was saved in it.
  OpenFile parent(calls_, folderOf(folder) + "/", O_RDONLY | O_DIRECTORY);
  if (calls_.chmod(folder.c_str(), kPrivateFolder) != 0 || !parent || !parent.syncFolder()) {
    const int error = errno;
    calls_.rmdir(folder.c_str());
    throw FileException(FailureCode::cannotCreateFolder, {folder}, error);
  }
}

void FileUserDefaults::lock() {
  if (lockDepth_ == 0) {
    if (folder_.empty()) static_cast<void>(pathForKey("Settings"));  // Throws: what is missing.
    const auto take = [&] { locked_.push_back(std::make_unique<LockedFolder>(calls_, folder_, lockWait_)); };
    try {
      take();
    } catch (const FileException& error) {
      if (error.systemError() != ENOENT && error.systemError() != ENOTDIR) throw;
      requireOwnWay();
      makeFolder(folder_);
      take();
    }
  }
  ++lockDepth_;
}

void FileUserDefaults::unlock() noexcept {
  if (--lockDepth_ == 0) locked_.clear();
}

}  // namespace qorvane::inline v1
