#include "qorvane/preferences/FolderLock.h"

#include <limits.h>
#include <pthread.h>

#include <atomic>
#include <charconv>
#include <string_view>
#include <vector>

#include "qorvane/preferences/FileException.h"

namespace qorvane::inline v1 {

namespace {

constexpr int kPollMilliseconds = 10;

bool cannotLock(int error) {
  return error == ENOLCK || error == EOPNOTSUPP || error == ENOSYS || error == EINVAL;
}

// How often this process, and those that it was forked from, have forked; and which of them it is.
std::atomic<unsigned> forks;
std::atomic<unsigned> lineage;

void countForks() {
  static const int counting = pthread_atfork([] { ++forks; }, nullptr, [] { ++lineage; });
  static_cast<void>(counting);
}

// A file of a line or two; empty when it cannot be read, or is no file and would hold us up.
std::string smallFile(SystemCalls& calls, const std::string& path) {
  constexpr std::size_t kLargest = 4096;
  std::string bytes;
  OpenFile file(calls, path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  return file && file.read(bytes, kLargest) ? bytes : std::string();
}

// Where process numbers mean the same processes as here: the machine, its start and the container. Empty when
// that cannot be told.
std::string thisPlace(SystemCalls& calls) {
  utsname machine;
  char space[PATH_MAX];
  const std::string start = smallFile(calls, "/proc/sys/kernel/random/boot_id");
  const ssize_t length = calls.readlink("/proc/self/ns/pid", space, sizeof space);
  if (calls.uname(&machine) != 0 || start.empty() || length < 0) return {};
  return std::string(machine.nodename) + " " + start.substr(0, start.find('\n')) + " " +
         std::string(space, static_cast<std::size_t>(length)) + "\n";
}

// The number of the process and when it started, which tells it from a later one of that number; of one that
// is gone only the number.
std::string process(SystemCalls& calls, pid_t number) {
  const std::string id = std::to_string(number);
  const std::string all = smallFile(calls, "/proc/" + id + "/stat");
  // "number (name) state …": a name may hold blanks and brackets. The start is the 20th word from the state
  // on.
  std::size_t at = all.rfind(") ");
  if (at == all.npos || all.find_first_of("ZX", at) == at + 2) return id + "\n";
  for (int word = 0; word < 20 && at != all.npos; ++word) at = all.find(' ', at + 1);
  return at == all.npos ? id + "\n" : id + all.substr(at, all.find(' ', at + 1) - at) + "\n";
}

std::string claimName(SystemCalls& calls, const std::string& held) {
  static std::atomic<int> count;
  utsname machine;
  return held + "." + (calls.uname(&machine) == 0 ? machine.nodename : "") + "-" +
         std::to_string(calls.getpid()) + "-" + std::to_string(++count);
}

}  // namespace

// A file of our own, and the try to make it the lock.
class FolderLock::Claim {
 public:
  Claim(SystemCalls& calls, const std::string& held)
      : calls_(calls), held_(held), path_(claimName(calls, held)), place_(thisPlace(calls)) {
    calls_.unlink(path_.c_str());
    OpenFile file(calls, path_, O_WRONLY | O_CREAT | O_EXCL, kPrivateFile);
    if (!file || !file.write(place_ + process(calls, calls.getpid())) ||
        calls_.fstat(file.descriptor(), &made_) != 0 || !file.close()) {
      const int error = errno;
      calls_.unlink(path_.c_str());
      throw FileException(FailureCode::cannotWrite, {path_}, error);
    }
  }
  ~Claim() {
    if (abandoned_) return;
    struct stat status;
    if (calls_.lstat(held_.c_str(), &status) == 0 && status.st_ino == made_.st_ino)
      calls_.unlink(held_.c_str());
    calls_.unlink(path_.c_str());
  }
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

  /// From now on the claim is that of another process.
  void abandon() { abandoned_ = true; }

  bool becomeLock() { return tryLink() || (removeStale() && tryLink()); }

  /// True when the claim has its second name. Opened to be asked, for a file server answers of an open file
  /// what it knows, not what it knew.
  bool isLock() const {
    struct stat status;
    const OpenFile file(calls_, path_, O_RDONLY);
    return file && calls_.fstat(file.descriptor(), &status) == 0 && status.st_nlink == 2;
  }

  /// Removes what dead processes have left of claims. What cannot be listed or removed stays, for another
  /// time.
  void removeStaleClaims() const {
    const std::size_t slash = held_.find_last_of('/');
    const std::string start = held_.substr(slash + 1) + ".";
    const std::string own = path_.substr(slash + 1);
    std::vector<std::string> claims;
    OpenFile folder(calls_, held_.substr(0, slash), O_RDONLY | O_DIRECTORY);
    if (!folder) return;
    folder.list([&](std::string_view name, unsigned char) {
      if (name.starts_with(start) && name != own) claims.emplace_back(name);
    });
    for (const std::string& name : claims) {
      const std::string claim = held_.substr(0, slash + 1) + name;
      struct stat theirs;
      if (calls_.lstat(claim.c_str(), &theirs) == 0 && isStale(claim, theirs)) calls_.unlink(claim.c_str());
    }
  }

 private:
  bool tryLink() {
    const int error = calls_.link(path_.c_str(), held_.c_str()) == 0 ? EEXIST : errno;
    // The answer to the call may have been lost on its way from the server; the count of names was not.
    if (isLock()) return true;
    if (error != EEXIST) throw FileException(FailureCode::cannotMakeLock, {held_}, error);
    return false;
  }

  // False when the lock stands as before.
  bool removeStale() {
    struct stat theirs;
    if (calls_.lstat(held_.c_str(), &theirs) != 0) return true;
    if (!isStale(held_, theirs)) return false;
    // Of several who find it stale, the one that renames it removes it.
    const std::string removed = path_ + ".stale";
    if (calls_.rename(held_.c_str(), removed.c_str()) != 0) return false;
    struct stat taken;
    // Another was quicker and has the lock: back with it, unless it is done by now.
    if (calls_.lstat(removed.c_str(), &taken) == 0 && taken.st_ino != theirs.st_ino && taken.st_nlink == 2)
      calls_.link(removed.c_str(), held_.c_str());
    calls_.unlink(removed.c_str());
    return true;
  }

  bool isStale(const std::string& path, const struct stat& theirs) const {
    const std::string holder = smallFile(calls_, path);
    if (place_.empty() || !holder.starts_with(place_))
      return made_.st_mtime - theirs.st_mtime > kStaleSeconds;
    pid_t number = 0;
    std::from_chars(holder.data() + place_.size(), holder.data() + holder.size(), number);
    return holder != place_ + process(calls_, number);
  }

  SystemCalls& calls_;
  std::string held_;
  std::string path_;
  std::string place_;
  struct stat made_ = {};
  bool abandoned_ = false;
};

FolderLock::FolderLock(SystemCalls& calls, const std::string& folder, int waitMilliseconds)
    : calls_(calls), path_(folder + "/.lock") {
  countForks();
  for (int waited = 0;; waited += kPollMilliseconds) {
    if (!file_) file_.emplace(calls_, path_, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, kPrivateFile);
    if (!*file_) throw FileException(FailureCode::cannotOpen, {path_}, errno);
    forks_ = forks;
    lineage_ = lineage;
    if (take()) {
      // The file that is locked may have lost its name before: then the lock excludes nobody.
      if (calls_.fstat(file_->descriptor(), &locked_) != 0)
        throw FileException(FailureCode::cannotExamine, {path_}, errno);
      if (locked_.st_nlink > 0) break;
      claim_.reset();
      file_.reset();
      continue;
    }
    if (waited >= waitMilliseconds)
      throw FileException(FailureCode::lockedByAnother, {path_, std::to_string(waitMilliseconds)}, EAGAIN);
    calls_.sleepMilliseconds(kPollMilliseconds);
  }
  if ((locked_.st_mode & kRights) != kPrivateFile && calls_.fchmod(file_->descriptor(), kPrivateFile) != 0)
    throw FileException(FailureCode::cannotMakePrivate, {path_}, errno);
}

FolderLock::~FolderLock() {
  if (lineage_ != lineage) {
    // The holder is the process that this one was forked from, and goes on holding.
    if (claim_) claim_->abandon();
  } else if (forks_ != forks && !claim_) {
    // The forked process has the file open still: closing it here would not let go of the lock.
    calls_.unlock(file_->descriptor());
  }
}

bool FolderLock::take() {
  int result;
  do result = calls_.tryLock(file_->descriptor());
  while (result != 0 && errno == EINTR);
  if (result == 0) return true;
  if (errno == EAGAIN) return false;
  if (!cannotLock(errno)) throw FileException(FailureCode::cannotLock, {path_}, errno);
  auto claim = std::make_unique<Claim>(calls_, path_ + "-held");
  if (!claim->becomeLock()) return false;
  claim->removeStaleClaims();
  claim_ = std::move(claim);
  return true;
}

bool FolderLock::isLocked() const {
  if (lineage_ != lineage) return false;
  if (claim_) return claim_->isLock();
  struct stat status;
  if (calls_.lstat(path_.c_str(), &status) == 0) return isSameFile(status, locked_);
  if (errno != ENOENT) throw FileException(FailureCode::cannotExamine, {path_}, errno);
  return false;
}

void FolderLock::requireHeld() const {
  if (!isLocked()) throw FileException(FailureCode::lockTakenOver, {path_}, EAGAIN);
}

}  // namespace qorvane::inline v1
