#include "qorvane/preferences/FileUserDefaults.h"

#include <fcntl.h>
#include <limits.h>

#include <cerrno>
#include <ctime>
#include <new>
#include <string_view>
#include <utility>

#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/desktop/Log.h"
#include "qorvane/preferences/FolderLock.h"
#include "qorvane/preferences/OpenFile.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::inline v1 {

namespace {

constexpr mode_t kPrivateFolder = 0700;
// Settings are some kilobytes; a file beyond this is somebody's accident, not settings.
constexpr std::size_t kLargestFile = std::size_t{512} << 20;

std::string folderOf(const std::string& path) {
  const std::size_t last = path.find_last_of('/');
  return last == path.npos ? "." : path.substr(0, last);
}

std::string utcText(std::time_t time) {
  std::tm utc{};
  gmtime_r(&time, &utc);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc)};
}

// Whether the file itself is what cannot be read, rather than this process that cannot read just now.
bool isTroubleOfTheFile(int error) {
  return error == EIO || error == EACCES || error == EPERM || error == EINVAL || error == EFBIG;
}

// A line that there is no memory for is lost, as one that the system does not take. By then the files are
// what the line would tell, and nothing may pretend otherwise.
template <class Made>
void logFailure(const Made& made) noexcept try {
  log(made());
} catch (const std::bad_alloc&) {
}

}  // namespace

// What stands at a path: the inspection, the bytes, and the top-level dictionary of a good file, unless its
// bytes were known.
struct FileUserDefaults::Contents : FileUserDefaults::Inspection {
  Value top;
  std::string bytes;
  /// A damaged file that could not even be read.
  bool unreadable = false;

  bool isGood() const { return state == State::Good; }
  const Value& object(const Text& key) const { return *top.asDictionary()->find(key.view()); }
};

// A new file in the folder of the one that it is to replace: written and synced, removed again unless
// published.
class FileUserDefaults::StagedFile {
 public:
  StagedFile(FileUserDefaults& store, const std::string& path, const std::string& target,
             std::string_view bytes)
      : store_(store), path_(path), target_(target) {
    OpenFile file(store_.calls_, path_, O_WRONLY | O_CREAT | O_EXCL, kPrivateFile);
    if (!file) throw FileException(FailureCode::cannotCreate, {path_}, errno);
    try {
      if (!file.makePrivate()) throw FileException(FailureCode::cannotMakePrivate, {path_}, errno);
      if (!file.write(bytes)) throw FileException(FailureCode::cannotWrite, {path_}, errno);
      if (!file.sync()) throw FileException(FailureCode::cannotSync, {path_}, errno);
      if (!file.close()) throw FileException(FailureCode::cannotClose, {path_}, errno);
    } catch (...) {
      discard();
      throw;
    }
  }
  ~StagedFile() {
    if (!published_) discard();
  }
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  /// Puts the file in its target's place; not yet synced to the folder.
  void publish() {
    if (store_.calls_.rename(path_.c_str(), target_.c_str()) != 0)
      throw FileException(FailureCode::cannotReplace, {path_, target_}, errno);
    published_ = true;
  }

 private:
  void discard() noexcept { store_.calls_.unlink(path_.c_str()); }

  FileUserDefaults& store_;
  std::string path_;
  std::string target_;
  bool published_ = false;
};

FileUserDefaults::FileUserDefaults(std::string folder, SystemCalls& calls)
    : folder_(std::move(folder)), calls_(calls) {}
FileUserDefaults::~FileUserDefaults() = default;

std::string FileUserDefaults::defaultFolder() {
  const Text config = configDirectory();
  return config.isNil() ? std::string() : pathBelow(config, "Qorvane").string();
}

std::string FileUserDefaults::pathForKey(const Text& key) const {
  if (folder_.empty()) throw FileException(FailureCode::noPreferenceFolder, {}, ENOENT);
  const std::string_view name = key.view();
  if (name.empty() || name.front() == '.' || name.find_first_of(std::string_view("/\0", 2)) != name.npos)
    throw Exception({FailureCode::keyNamesNoFile, {key}});
  return folder_ + "/" + key.string() + ".plist";
}

// ---- reading --------------------------------------------------------------------------------------

// False when there is no folder.
bool FileUserDefaults::checkFolder(Use use) const {
  struct stat status;
  if (calls_.stat(folder_.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return false;
    throw FileException(FailureCode::cannotExamineFolder, {folder_}, errno);
  }
  const uid_t me = calls_.geteuid();
  // Root looks after the settings of others, but files that it made for them they could not read.
  if (use == Use::Reading && me == 0) return true;
  if (status.st_uid != me && !(use == Use::Reading && status.st_uid == 0))
    throw FileException(FailureCode::folderOfAnother, {folder_, std::to_string(status.st_uid)}, EACCES);
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
    throw FileException(FailureCode::folderOpenToOthers, {folder_}, EACCES);
  return true;
}

std::optional<std::string> FileUserDefaults::readFile(const std::string& path) const {
  // Without O_NONBLOCK a named pipe in the file's place would hold the caller up for ever.
  OpenFile file(calls_, path, O_RDONLY | O_NONBLOCK);
  if (!file) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    throw FileException(FailureCode::cannotOpen, {path}, errno);
  }
  struct stat status;
  if (calls_.fstat(file.descriptor(), &status) != 0)
    throw FileException(FailureCode::cannotExamine, {path}, errno);
  if (!S_ISREG(status.st_mode)) throw FileException(FailureCode::notAFile, {path}, EINVAL);
  if (static_cast<std::uint64_t>(status.st_size) > kLargestFile)
    throw FileException(FailureCode::fileTooLarge, {path}, EFBIG);
  std::string bytes;
  if (!file.read(bytes, static_cast<std::size_t>(status.st_size)))
    throw FileException(FailureCode::cannotRead, {path}, errno);
  return bytes;
}

FileUserDefaults::Contents FileUserDefaults::examine(const std::string& path, const Text& key,
                                                     const Known* known) const {
  std::optional<std::string> bytes = readFile(path);
  if (!bytes) return {};
  Contents contents;
  // No empty file is good, and none is known.
  if (known && !bytes->empty() && *bytes == known->bytes) {
    contents.state = Inspection::State::Good;
    contents.generation = known->generation;
  } else {
    contents = judge(*bytes, key);
  }
  contents.bytes = std::move(*bytes);
  return contents;
}

FileUserDefaults::Contents FileUserDefaults::judge(std::string_view bytes, const Text& key) {
  const auto damaged = [](Failure what) {
    Contents contents;
    contents.state = Inspection::State::Damaged;
    contents.damage = std::move(what);
    return contents;
  };
  const SealCheck seal = checkSeal(bytes);
  if (seal.state == SealState::Broken) return damaged({FailureCode::checksumBroken});
  try {
    Contents contents;
    contents.top = readPropertyList(bytes);
    const Dictionary* entries = contents.top.asDictionary();
    if (!entries || !entries->find(key.view())) return damaged({FailureCode::entryMissing, {key}});
    contents.state = Inspection::State::Good;
    contents.sealed = seal.state == SealState::Intact;
    contents.generation = seal.generation;
    return contents;
  } catch (const Exception& error) {
    return damaged(error.failure());
  }
}

FileUserDefaults::Inspection FileUserDefaults::inspect(const Text& key) const {
  const std::string path = pathForKey(key);
  return checkFolder(Use::Reading) ? examine(path, key) : Inspection();
}

FileUserDefaults::Inspection FileUserDefaults::inspectBackup(const Text& key) const {
  const std::string backup = backupPathForKey(key);
  return checkFolder(Use::Reading) ? examine(backup, key) : Inspection();
}

Value FileUserDefaults::objectForKey(const Text& key) try {
  if (const auto set = pending_.find(key.view()); set != pending_.end()) return set->second;
  const std::string path = pathForKey(key);
  const auto unread = unread_.insert(key.string()).first;
  Contents contents;
  if (checkFolder(Use::Reading)) contents = examine(path, key);
  Value object = contents.state == Inspection::State::Damaged ? recover(key, *contents.damage)
                 : contents.isGood()                          ? contents.object(key)
                                                              : Value();
  if (contents.isGood() && contents.top.asDictionary()->size() == 1)
    known_[key.string()] = {std::move(contents.bytes), contents.generation};
  unread_.erase(unread);
  return object;
} catch (const FileException& error) {
  logFailure([&] { return Failure{FailureCode::settingsNotLoaded, {key}, 0, {error.failure()}}; });
  throw;
}

Value FileUserDefaults::recover(const Text& key, const Failure& damage) {
  const std::string path = pathForKey(key);
  const std::string backup = backupPathForKey(key);
  Contents good;
  try {
    good = examine(backup, key);
  } catch (const FileException& error) {
    // It may well be good: starting afresh would push it out in the end.
    throw FileException(
        {FailureCode::damagedAndCopyUnread, {path}, error.systemError(), {damage, error.failure()}});
  }
  std::string bytes;
  if (good.isGood()) bytes = sealedPropertyList(good.top, good.generation + 1);
  std::string aside;
  std::optional<Failure> trouble;
  try {
    const Lock lock(*this);
    // Another process may have mended or replaced the file meanwhile.
    const Contents now = examine(path, key);
    if (now.state != Inspection::State::Damaged) return now.isGood() ? now.object(key) : Value();
    if (good.state == Inspection::State::Damaged) setAside(backup, backup, backup + ".new", false);
    // The copy takes the file's place at once, so that the settings do not hang on a later save.
    aside = replace(path, now, good.isGood() ? &bytes : nullptr);
  } catch (const FileException& error) {
    // In a folder that is read-only, for instance: the bytes stay where they are.
    trouble = error.failure();
  }
  logFailure([&]() -> Failure {
    if (trouble && good.isGood()) return {FailureCode::readFromCopy, {path, backup}, 0, {damage, *trouble}};
    if (trouble) return {FailureCode::readAsNothing, {path}, 0, {damage, *trouble}};
    if (good.isGood()) return {FailureCode::healedFromCopy, {path, aside, backup}, 0, {damage}};
    return {FailureCode::startedAfresh, {path, aside}, 0, {damage}};
  });
  return good.isGood() ? good.object(key) : Value();
}

// ---- writing --------------------------------------------------------------------------------------

void FileUserDefaults::setObject(const Value& value, const Text& key) {
  requirePropertyList(value, key);
  if (value.isNil() && unread_.contains(key.view())) throw Exception({FailureCode::unreadNotRemoved, {key}});
  pending_.insert_or_assign(key.string(), value);
}

bool FileUserDefaults::synchronize() {
  lastFailure_.reset();
  for (auto next = pending_.begin(); next != pending_.end();) {
    const std::string& key = next->first;
    try {
      save(Text(key), next->second);
      next = pending_.erase(next);
      continue;
    } catch (const Exception& error) {
      noteFailure(key, error.failure());
    } catch (const std::bad_alloc&) {
      noteFailure(key, {.code = FailureCode::outOfMemory, .systemError = ENOMEM});
    }
    ++next;
  }
  if (lastFailure_)
    logFailure([&] { return Failure{FailureCode::settingsNotSaved, {}, 0, {*lastFailure_}}; });
  return !lastFailure_;
}

void FileUserDefaults::noteFailure(const std::string& key, const Failure& cause) noexcept try {
  lastFailure_ = {FailureCode::cannotSave, {folder_ + "/" + key + ".plist"}, cause.systemError, {cause}};
} catch (const std::bad_alloc&) {
  lastFailure_ = {.code = FailureCode::outOfMemory, .systemError = ENOMEM};
}

void FileUserDefaults::save(const Text& key, const Value& value) {
  const Lock lock(*this);
  const std::string path = pathForKey(key);
  Known& known = known_[key.string()];
  Contents old;
  try {
    old = examine(path, key, &known);
  } catch (const FileException& error) {
    struct stat status;
    if (value.isNil() || !isTroubleOfTheFile(error.systemError()) || calls_.lstat(path.c_str(), &status) != 0)
      throw;
    old.state = Inspection::State::Damaged;
    old.unreadable = true;
    old.damage = error.failure();
  }
  std::string bytes;
  bool alone = false;
  if (!value.isNil()) {
    Dictionary top;
    if (const Dictionary* entries = old.top.asDictionary()) top = *entries;
    top.set(key, value);
    alone = top.size() == 1;
    bytes = sealedPropertyList(std::move(top), old.generation + 1);
  }
  const std::string aside = replace(path, old, value.isNil() ? nullptr : &bytes);
  if (alone) known = {std::move(bytes), old.generation + 1};
  if (!aside.empty())
    logFailure([&] {
      return Failure{old.unreadable ? FailureCode::unreadableKeptAside : FailureCode::damagedKeptAside,
                     {path, aside},
                     0,
                     {*old.damage}};
    });
}

// Puts the bytes, or nothing, in the place of the file as it was found under the lock. What was there becomes
// the last good copy; if it is not good, it must neither be lost nor push the last good copy out, and is set
// aside under the name that is answered. A failure leaves everything as it was.
std::string FileUserDefaults::replace(const std::string& path, const Contents& old,
                                      const std::string* bytes) {
  const std::string file = targetOf(path);
  const std::string staging = file + ".new";
  const std::string backup = path + ".bak";
  const std::string spare = backup + ".new";
  // Opened now: once the new file is in its place, nothing but the sync itself may fail.
  OpenFile folder(calls_, folderOf(file), O_RDONLY | O_DIRECTORY);
  if (!folder) throw FileException(FailureCode::cannotOpenFolder, {folderOf(file)}, errno);
  // Only the holder of the lock makes these, so any found here were left by a process that died.
  calls_.unlink(staging.c_str());
  calls_.unlink(spare.c_str());
  std::optional<StagedFile> replacement;
  if (bytes) replacement.emplace(*this, staging, file, *bytes);

  std::string aside;
  if (old.isGood())
    keepAsBackup(file, spare, backup);
  else if (old.state == Inspection::State::Damaged)
    aside = setAside(file, path, spare, old.unreadable);
  lock_->requireHeld();
  try {
    if (replacement)
      replacement->publish();
    else if (calls_.unlink(file.c_str()) != 0 && errno != ENOENT)
      throw FileException(FailureCode::cannotRemove, {file}, errno);
    if (!folder.syncFolder()) throw FileException(FailureCode::cannotSyncFolderOf, {file}, errno);
  } catch (...) {
    // Nobody can say what the disk holds now; the caller is told that the save failed, so what it sees must
    // be the old file again.
    if (old.isGood())
      putBack(backup, staging, file);
    else if (aside.empty())
      calls_.unlink(file.c_str());
    else if (calls_.rename(aside.c_str(), file.c_str()) == 0 || putBack(aside, staging, file))
      calls_.unlink(aside.c_str());  // Renaming one name of a file to another of its names leaves both.
    throw;
  }
  return aside;
}

void FileUserDefaults::copy(const std::string& from, const std::string& staging, const std::string& to) {
  const std::optional<std::string> bytes = readFile(from);
  if (!bytes) throw FileException(FailureCode::cannotRead, {from}, ENOENT);
  StagedFile(*this, staging, to, *bytes).publish();
}

void FileUserDefaults::keepAsBackup(const std::string& file, const std::string& spare,
                                    const std::string& backup) {
  // A file system without hard links, or a target on another one: a copy does as well.
  if (calls_.link(file.c_str(), spare.c_str()) != 0) return copy(file, spare, backup);
  const bool kept = calls_.rename(spare.c_str(), backup.c_str()) == 0;
  const int error = errno;
  calls_.unlink(spare.c_str());  // Still there when the copy was another name of the file already.
  if (!kept) throw FileException(FailureCode::cannotKeepCopy, {backup}, error);
  // Another program may have left the file open to others; a failure leaves the copy as open as that was.
  struct stat status;
  if (calls_.lstat(backup.c_str(), &status) != 0 || (status.st_mode & kRights) != kPrivateFile)
    calls_.chmod(backup.c_str(), kPrivateFile);
}

bool FileUserDefaults::putBack(const std::string& kept, const std::string& staging,
                               const std::string& file) noexcept {
  calls_.unlink(staging.c_str());
  const bool back =
      calls_.link(kept.c_str(), staging.c_str()) == 0 && calls_.rename(staging.c_str(), file.c_str()) == 0;
  calls_.unlink(staging.c_str());
  if (back) return true;
  try {
    copy(kept, staging, file);
    return true;
  } catch (const std::exception&) {
    // What was kept still holds the old bytes.
    return false;
  }
}

std::string FileUserDefaults::setAside(const std::string& file, const std::string& path,
                                       const std::string& spare, bool unreadable) {
  const std::string wanted = path + (unreadable ? ".unreadable-" : ".damaged-") + utcText(calls_.time());
  std::string aside = wanted;
  bool moved = false;
  // Whatever the clock says, nothing that was set aside before is overwritten.
  for (int copies = 2; calls_.link(file.c_str(), aside.c_str()) != 0; ++copies) {
    struct stat status;
    const int error = errno;
    if (error != EEXIST && calls_.lstat(aside.c_str(), &status) != 0) {
      if (errno != ENOENT) throw FileException(FailureCode::cannotExamine, {aside}, errno);
      // No hard links here: a copy does as well, and what cannot be copied is moved.
      if (!unreadable)
        copy(file, spare, aside);
      else if (calls_.rename(file.c_str(), aside.c_str()) != 0)
        throw FileException(FailureCode::cannotSetAside, {file, aside}, errno);
      moved = unreadable;
      break;
    }
    aside = wanted + "-" + std::to_string(copies);
  }
  if (!unreadable) calls_.chmod(aside.c_str(), kPrivateFile);  // As for the last good copy.
  // A power cut may keep any of the changes of names since the last sync and drop the others: this name must
  // be there before the file's goes to another.
  OpenFile folder(calls_, folder_, O_RDONLY | O_DIRECTORY);
  if (!folder || !folder.syncFolder()) {
    const int error = errno;
    if (moved)
      calls_.rename(aside.c_str(), file.c_str());
    else
      calls_.unlink(aside.c_str());
    throw FileException(FailureCode::cannotSyncFolder, {folder_}, error);
  }
  return aside;
}

// The path, or where it points if it is a symbolic link.
std::string FileUserDefaults::targetOf(const std::string& path) const {
  constexpr int kMostLinks = 40;  // As many as the kernel follows.
  std::string target = path;
  for (int followed = 0; followed <= kMostLinks; ++followed) {
    char next[PATH_MAX];
    const ssize_t length = calls_.readlink(target.c_str(), next, sizeof next);
    if (length >= 0) {
      const std::string_view name(next, static_cast<std::size_t>(length));
      target = name.starts_with('/') ? std::string(name) : folderOf(target) + "/" + std::string(name);
      continue;
    }
    if (errno != EINVAL && errno != ENOENT) throw FileException(FailureCode::cannotFollow, {target}, errno);
    struct stat status;
    if (target != path && calls_.lstat(target.c_str(), &status) == 0 && status.st_uid != calls_.geteuid())
      throw FileException(FailureCode::targetOfAnother, {path, target, std::to_string(status.st_uid)},
                          EACCES);
    return target;
  }
  throw FileException(FailureCode::cannotFollow, {path}, ELOOP);
}

// ---- the folder and its lock ------------------------------------------------------------------------

void FileUserDefaults::makeFolder(const std::string& folder) {
  if (folder.empty() || folder == ".") return;  // The root and the current folder are there, or nothing is.
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
    if (!checkFolder(Use::Saving)) {
      makeFolder(folder_);
      checkFolder(Use::Saving);
    }
    lock_ = std::make_unique<FolderLock>(calls_, folder_, lockWait_);
  }
  ++lockDepth_;
}

void FileUserDefaults::unlock() noexcept {
  if (--lockDepth_ == 0) lock_.reset();
}

}  // namespace qorvane::inline v1
