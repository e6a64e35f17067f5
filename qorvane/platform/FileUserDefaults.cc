#include "qorvane/platform/FileUserDefaults.h"

#include <fcntl.h>
#include <limits.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <utility>

#include "qorvane/platform/BaseDirectories.h"
#include "qorvane/platform/Log.h"
#include "qorvane/platform/PropertyList.h"
#include "qorvane/platform/Seal.h"

namespace qorvane {

namespace {

constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;
constexpr int kLockPollMilliseconds = 10;
// Settings are some kilobytes; a file beyond this is somebody's accident, not settings.
constexpr std::size_t kLargestFile = std::size_t{512} << 20;

// An open file that closes itself.
class File {
 public:
  File(SystemCalls& calls, const std::string& path, int flags, mode_t mode = 0) : calls_(calls) {
    do descriptor_ = calls.open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode);
    while (descriptor_ < 0 && errno == EINTR);
  }
  ~File() {
    const int error = errno;
    close();
    errno = error;
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  explicit operator bool() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  int release() { return std::exchange(descriptor_, -1); }
  bool close() { return descriptor_ < 0 || calls_.close(release()) == 0 || errno == EINTR; }
  bool sync() {
    int result;
    do result = calls_.fsync(descriptor_);
    while (result != 0 && errno == EINTR);
    return result == 0;
  }

 private:
  SystemCalls& calls_;
  int descriptor_;
};

std::string folderOf(const std::string& path) { return path.substr(0, path.find_last_of('/')); }

std::string utcTime() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &utc)};
}

}  // namespace

// What stands at a path: the inspection, and the top-level dictionary of a good file.
struct FileUserDefaults::Contents : FileUserDefaults::Inspection {
  Value top;

  bool isGood() const { return state == State::Good; }
  const Value& object(const Text& key) const { return *top.asDictionary()->find(key.view()); }
};

// A new file beside the one that it is to replace: written and synced, removed again unless published.
class FileUserDefaults::StagedFile {
 public:
  StagedFile(FileUserDefaults& store, const std::string& target, std::string_view bytes)
      : store_(store), target_(target), path_(target + ".new") {
    // Only the holder of the lock stages files, so one found here was left by a process that died.
    store_.calls_.unlink(path_.c_str());
    File file(store_.calls_, path_, O_WRONLY | O_CREAT | O_EXCL, kPrivateFile);
    if (!file) store_.fail("cannot create " + path_, errno);
    try {
      write(file, bytes);
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
      store_.fail("cannot put " + path_ + " in the place of " + target_, errno);
    published_ = true;
  }

 private:
  void write(File& file, std::string_view bytes) {
    // A umask may have taken the owner's own rights.
    if (store_.calls_.fchmod(file.descriptor(), kPrivateFile) != 0)
      store_.fail("cannot make " + path_ + " private", errno);
    for (std::size_t written = 0; written < bytes.size();) {
      const ssize_t count =
          store_.calls_.write(file.descriptor(), bytes.data() + written, bytes.size() - written);
      if (count > 0)
        written += static_cast<std::size_t>(count);
      else if (count == 0 || errno != EINTR)
        store_.fail("cannot write " + path_, count == 0 ? ENOSPC : errno);
    }
    if (!file.sync()) store_.fail("cannot sync " + path_ + " to the disk", errno);
    if (!file.close()) store_.fail("cannot close " + path_, errno);
  }
  void discard() noexcept {
    const int error = errno;
    store_.calls_.unlink(path_.c_str());
    errno = error;
  }

  FileUserDefaults& store_;
  std::string target_;
  std::string path_;
  bool published_ = false;
};

FileUserDefaults::FileUserDefaults(std::string folder, SystemCalls& calls)
    : folder_(std::move(folder)), calls_(calls) {}

std::string FileUserDefaults::defaultFolder() {
  const Text config = configDirectory();
  return config.isNil() ? std::string() : pathBelow(config, "Qorvane").string();
}

std::string FileUserDefaults::pathForKey(const Text& key) const {
  if (folder_.empty())
    throw FileException(
        "there is no preference folder: neither XDG_CONFIG_HOME nor HOME names an absolute path", ENOENT);
  const std::string_view name = key.view();
  if (name.empty() || name.front() == '.' || name.find_first_of(std::string_view("/\0", 2)) != name.npos)
    throw Exception("\"" + key.string() + "\" cannot name a preference file");
  return folder_ + "/" + key.string() + ".plist";
}

// ---- reading --------------------------------------------------------------------------------------

void FileUserDefaults::fail(const std::string& what, int systemError) const {
  throw FileException(what + ": " + std::strerror(systemError), systemError);
}

std::optional<std::string> FileUserDefaults::readFile(const std::string& path) const {
  // Without O_NONBLOCK a named pipe in the file's place would hold the caller up for ever.
  File file(calls_, path, O_RDONLY | O_NONBLOCK);
  if (!file) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    fail("cannot open " + path, errno);
  }
  struct stat status;
  if (calls_.fstat(file.descriptor(), &status) != 0) fail("cannot examine " + path, errno);
  if (!S_ISREG(status.st_mode)) throw FileException(path + " is no file of settings", EINVAL);
  if (static_cast<std::uint64_t>(status.st_size) > kLargestFile)
    throw FileException(path + " is too large for a file of settings", EFBIG);
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t have = 0;
  while (have < bytes.size()) {
    const ssize_t got = calls_.read(file.descriptor(), bytes.data() + have, bytes.size() - have);
    if (got > 0)
      have += static_cast<std::size_t>(got);
    else if (got == 0)
      break;
    else if (errno != EINTR)
      fail("cannot read " + path, errno);
  }
  bytes.resize(have);
  return bytes;
}

FileUserDefaults::Contents FileUserDefaults::examine(const std::string& path, const Text& key) const {
  const std::optional<std::string> bytes = readFile(path);
  if (!bytes) return {};
  const auto damaged = [](const std::string& what) {
    Contents contents;
    contents.state = Inspection::State::Damaged;
    contents.damage = Text(what);
    return contents;
  };
  const SealCheck seal = checkSeal(*bytes);
  if (seal.state == SealState::Broken) return damaged("its bytes do not match its checksum");
  try {
    Contents contents;
    contents.top = readPropertyList(*bytes);
    const Dictionary* entries = contents.top.asDictionary();
    if (!entries || !entries->find(key.view())) return damaged("it has no entry \"" + key.string() + "\"");
    contents.state = Inspection::State::Good;
    contents.sealed = seal.state == SealState::Intact;
    contents.generation = seal.generation;
    return contents;
  } catch (const Exception& error) {
    return damaged(error.what());
  }
}

FileUserDefaults::Inspection FileUserDefaults::inspect(const Text& key) const {
  return examine(pathForKey(key), key);
}

FileUserDefaults::Inspection FileUserDefaults::inspectBackup(const Text& key) const {
  return examine(backupPathForKey(key), key);
}

Value FileUserDefaults::objectForKey(const Text& key) {
  if (const auto set = pending_.find(key.view()); set != pending_.end()) return set->second;
  const Contents contents = examine(pathForKey(key), key);
  if (contents.state == Inspection::State::Damaged) return recover(key, contents.damage.string());
  return contents.isGood() ? contents.object(key) : Value();
}

Value FileUserDefaults::recover(const Text& key, const std::string& damage) {
  const std::string path = pathForKey(key);
  const std::string backup = backupPathForKey(key);
  Contents good;
  std::string story = path + " is damaged (" + damage + "); ";
  try {
    good = examine(backup, key);
    const Lock lock(*this);
    // Another process may have mended or replaced the file meanwhile.
    const Contents now = examine(path, key);
    if (now.state != Inspection::State::Damaged) return now.isGood() ? now.object(key) : Value();
    const std::string file = resolved(path);
    story += "it was kept as " + setAside(path, "damaged");
    if (good.isGood()) {
      // The copy takes the file's place at once, so that the settings do not hang on a later save.
      StagedFile copy(*this, file, sealedPropertyList(good.top, good.generation + 1));
      copy.publish();
    } else {
      removeFile(file);
    }
    syncFolderOf(file);
  } catch (const FileException& error) {
    // In a folder that is read-only, for instance: the bytes stay where they are.
    story += std::string("it stays where it is, for the store ") + error.what();
  }
  log(Text(story + (good.isGood() ? "; the last good copy, " + backup + ", was loaded"
                                  : "; there is no good copy, so its settings start afresh")));
  return good.isGood() ? good.object(key) : Value();
}

// ---- writing --------------------------------------------------------------------------------------

void FileUserDefaults::setObject(const Value& value, const Text& key) {
  requirePropertyList(value, key);
  pending_.insert_or_assign(key.string(), value);
}

bool FileUserDefaults::synchronize() {
  lastFailure_.reset();
  for (auto next = pending_.begin(); next != pending_.end();) {
    try {
      save(next->first, next->second);
      next = pending_.erase(next);
    } catch (const FileException& error) {
      lastFailure_ = StoreFailure{Text(std::string(error.what())), error.systemError()};
      ++next;
    } catch (const Exception& error) {
      lastFailure_ = StoreFailure{Text(std::string(error.what())), 0};
      ++next;
    } catch (const std::bad_alloc&) {
      lastFailure_ = StoreFailure{"there is not enough memory to save the settings", ENOMEM};
      ++next;
    }
  }
  return !lastFailure_;
}

void FileUserDefaults::save(const Text& key, const Value& value) {
  const Lock lock(*this);
  const std::string path = pathForKey(key);
  const std::string backup = backupPathForKey(key);
  const std::string file = resolved(path);

  // What is there now becomes the last good copy if it is good. If it is not, it must neither be lost nor
  // push the last good copy out.
  Contents old;
  try {
    old = examine(file, key);
    if (old.state == Inspection::State::Damaged)
      log(path + " is damaged (" + old.damage.string() + "); it was kept as " + setAside(path, "damaged") +
          " before the settings were saved");
  } catch (const FileException& error) {
    log(path + " could not be read (" + error.what() + "); it was kept as " + setAside(path, "unreadable") +
        " before the settings were saved");
    old.state = Inspection::State::Damaged;
  }

  const bool wasGood = old.isGood();
  std::optional<StagedFile> replacement;
  if (!value.isNil()) {
    Dictionary top;
    if (wasGood) top = *old.top.asDictionary();
    top.set(key, value);
    replacement.emplace(*this, file, sealedPropertyList(std::move(top), old.generation + 1));
  }
  if (wasGood) keepAsBackup(file, backup);
  if (replacement)
    replacement->publish();
  else if (old.state != Inspection::State::Missing)
    removeFile(file);
  try {
    syncFolderOf(file);
    if (folderOf(file) != folder_) syncFolderOf(path);
  } catch (const FileException&) {
    // Nobody can say what the disk holds now; the caller is told that the save failed, so what it sees must
    // be the old file again.
    if (wasGood)
      putBack(backup, file);
    else if (replacement)
      calls_.unlink(file.c_str());
    throw;
  }
}

void FileUserDefaults::keepAsBackup(const std::string& file, const std::string& backup) {
  const std::string link = backup + ".new";
  calls_.unlink(link.c_str());
  if (calls_.link(file.c_str(), link.c_str()) == 0) {
    if (calls_.rename(link.c_str(), backup.c_str()) != 0) {
      const int error = errno;
      calls_.unlink(link.c_str());
      fail("cannot keep the last good copy as " + backup, error);
    }
    // Renaming one name of a file to another of its names leaves both.
    calls_.unlink(link.c_str());
    return;
  }
  // A file system without hard links, or a target on another one: a copy does as well.
  const std::optional<std::string> bytes = readFile(file);
  if (!bytes) return;
  StagedFile copy(*this, backup, *bytes);
  copy.publish();
}

void FileUserDefaults::putBack(const std::string& backup, const std::string& file) noexcept {
  try {
    if (const std::optional<std::string> bytes = readFile(backup)) {
      StagedFile old(*this, file, *bytes);
      old.publish();
    }
  } catch (const std::exception&) {
    // The last good copy still holds the old settings.
  }
}

std::string FileUserDefaults::setAside(const std::string& path, const char* why) {
  const std::string file = resolved(path);
  const std::string wanted = path + "." + why + "-" + utcTime();
  for (int copy = 1;; ++copy) {
    const std::string aside = copy == 1 ? wanted : wanted + "-" + std::to_string(copy);
    if (calls_.link(file.c_str(), aside.c_str()) == 0) return aside;
    if (errno == EEXIST) continue;
    // Some file systems have no hard links, and some files of others may not be linked to: moving it does
    // as well, for something else takes its place next.
    struct stat status;
    if (calls_.lstat(aside.c_str(), &status) == 0) continue;
    if (calls_.rename(file.c_str(), aside.c_str()) == 0) return aside;
    fail("cannot set " + path + " aside as " + aside, errno);
  }
}

void FileUserDefaults::removeFile(const std::string& file) {
  if (calls_.unlink(file.c_str()) != 0 && errno != ENOENT) fail("cannot remove " + file, errno);
}

void FileUserDefaults::syncFolderOf(const std::string& file) {
  const std::string folder = folderOf(file);
  File opened(calls_, folder, O_RDONLY | O_DIRECTORY);
  if (!opened || !opened.sync()) fail("cannot sync the folder " + folder + " to the disk", errno);
}

std::string FileUserDefaults::resolved(std::string path) const {
  constexpr int kMostLinks = 40;  // As many as the kernel follows.
  for (int followed = 0; followed < kMostLinks; ++followed) {
    char target[PATH_MAX];
    const ssize_t length = calls_.readlink(path.c_str(), target, sizeof target);
    if (length < 0) return path;  // No link, or nothing there.
    const std::string next(target, static_cast<std::size_t>(length));
    path = next.starts_with('/') ? next : folderOf(path) + "/" + next;
  }
  fail("cannot follow " + path, ELOOP);
}

// ---- the folder and its lock ------------------------------------------------------------------------

void FileUserDefaults::makeFolder(const std::string& folder) {
  if (folder.empty() || calls_.mkdir(folder.c_str(), kPrivateFolder) == 0 || errno == EEXIST) return;
  if (errno != ENOENT) fail("cannot create the folder " + folder, errno);
  makeFolder(folderOf(folder));
  if (calls_.mkdir(folder.c_str(), kPrivateFolder) != 0 && errno != EEXIST)
    fail("cannot create the folder " + folder, errno);
}

FileUserDefaults::Lock::Lock(FileUserDefaults& store) : store_(store) { store_.takeLock(); }
FileUserDefaults::Lock::~Lock() { store_.dropLock(); }

void FileUserDefaults::takeLock() {
  if (lockDepth_ == 0) {
    if (folder_.empty()) static_cast<void>(pathForKey("Settings"));  // Throws, and says what is missing.
    const std::string path = folder_ + "/.lock";
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW;
    std::optional<File> file(std::in_place, calls_, path, kFlags, kPrivateFile);
    if (!*file && errno == ENOENT) {
      makeFolder(folder_);
      file.emplace(calls_, path, kFlags, kPrivateFile);
    }
    if (!*file) fail("cannot open " + path, errno);
    int waited = 0;
    while (calls_.tryLock(file->descriptor()) != 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN) fail("cannot lock " + path, errno);
      if (waited >= lockWait_)
        throw FileException("another program is saving settings: " + path + " was still locked after " +
                                std::to_string(lockWait_) + " ms",
                            EAGAIN);
      calls_.sleepMilliseconds(kLockPollMilliseconds);
      waited += kLockPollMilliseconds;
    }
    lockFile_ = file->release();
  }
  ++lockDepth_;
}

void FileUserDefaults::dropLock() noexcept {
  if (--lockDepth_ == 0) calls_.close(std::exchange(lockFile_, -1));
}

}  // namespace qorvane
