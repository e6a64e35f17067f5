// SystemCalls: every call that the file store makes of the operating system, and a way to make them fail.
//
// The store promises that a failure at any step of a save leaves the old file as it was; the double beside
// the real calls lets a test say at which step.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/utsname.h>
#include <sys/vfs.h>

#include <cstddef>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "qorvane/foundation/Scoped.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Each operation returns what the call of its name returns and leaves the cause of a failure in errno.
class SystemCalls {
 public:
  virtual ~SystemCalls() = default;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual int openat(int folder, const char* name, int flags);
  virtual ssize_t read(int file, void* bytes, std::size_t count);
  virtual ssize_t write(int file, const void* bytes, std::size_t count);
  virtual int fstat(int file, struct ::stat* status);
  virtual int stat(const char* path, struct ::stat* status);
  virtual int lstat(const char* path, struct ::stat* status);
  virtual int fchmod(int file, mode_t mode);
  virtual int fsync(int file);
  virtual int close(int file);
  virtual int rename(const char* from, const char* to);
  virtual int link(const char* from, const char* to);
  /// Gives an open file that has no name (O_TMPFILE) one.
  virtual int linkOpen(int file, const char* to);
  virtual int unlink(const char* path);
  virtual int mkdir(const char* path, mode_t mode);
  virtual int chmod(const char* path, mode_t mode);
  virtual int rmdir(const char* path);
  virtual ssize_t readlink(const char* path, char* target, std::size_t size);
  /// Locks the whole open file for writing if nobody else holds it; fails with EAGAIN otherwise.
  virtual int tryLock(int file);
  /// Gives that lock back, also where another process has the same open file.
  virtual int unlock(int file);
  /// The next names in an open folder, as getdents64 has them; 0 behind the last.
  virtual ssize_t getdents(int folder, void* entries, std::size_t size);
  virtual int statfs(const char* path, struct ::statfs* status);
  virtual int uname(utsname* machine);
  virtual void sleepMilliseconds(int count);
  virtual std::time_t time();
  /// A time that no file of this machine bears yet; no call of the kernel.
  virtual timespec fileTime();
  virtual uid_t geteuid();
  virtual pid_t getpid();

  /// The operating system's own.
  static SystemCalls& real();
  /// Those of stores that are made without calls of their own: the real ones, unless replaced. The user's own
  /// files, one store for the whole process, always have the real ones.
  static SystemCalls& standard();
  /// Replaces them; the caller keeps the replacement alive. Null: the real ones again. Returns the one that
  /// was set until now, or null.
  static SystemCalls* setStandard(SystemCalls* calls);
};

/// While it lives, stores are made with other calls.
using ScopedSystemCalls = Scoped<&SystemCalls::setStandard>;

/// The real calls, with faults where a test wants them.
class FaultInjectingSystemCalls : public SystemCalls {
 public:
  /// Decides before each call: 0 lets it through, anything else is the errno that it fails with.
  /// The name is that of the operation ("open", "fsync", …); calls are counted from 1.
  using Fault = std::function<int(const std::string& name, int call)>;

  void setFault(Fault fault) { fault_ = std::move(fault); }
  /// Writes at most this many bytes in each call; 0 for no limit.
  void setLongestWrite(std::size_t bytes) { longestWrite_ = bytes; }
  /// When false, a sync is counted and may fail, but does not wait for the disk.
  void setSyncing(bool syncing) { syncing_ = syncing; }
  /// What the clock shows from now on.
  void setTime(std::time_t time) { time_ = time; }
  /// The names of the calls made so far, failed ones included.
  const std::vector<std::string>& calls() const { return calls_; }
  void forgetCalls() { calls_.clear(); }

  int open(const char* path, int flags, mode_t mode) override;
  int openat(int folder, const char* name, int flags) override;
  ssize_t read(int file, void* bytes, std::size_t count) override;
  ssize_t write(int file, const void* bytes, std::size_t count) override;
  int fstat(int file, struct ::stat* status) override;
  int stat(const char* path, struct ::stat* status) override;
  int lstat(const char* path, struct ::stat* status) override;
  int fchmod(int file, mode_t mode) override;
  int fsync(int file) override;
  int close(int file) override;
  int rename(const char* from, const char* to) override;
  int link(const char* from, const char* to) override;
  int linkOpen(int file, const char* to) override;
  int unlink(const char* path) override;
  int mkdir(const char* path, mode_t mode) override;
  int chmod(const char* path, mode_t mode) override;
  int rmdir(const char* path) override;
  ssize_t readlink(const char* path, char* target, std::size_t size) override;
  int tryLock(int file) override;
  int unlock(int file) override;
  ssize_t getdents(int folder, void* entries, std::size_t size) override;
  int statfs(const char* path, struct ::statfs* status) override;
  int uname(utsname* machine) override;
  void sleepMilliseconds(int count) override;
  std::time_t time() override;

 private:
  bool fails(const char* name);

  Fault fault_;
  std::size_t longestWrite_ = 0;
  bool syncing_ = true;
  std::optional<std::time_t> time_;
  std::vector<std::string> calls_;
};

}  // namespace v1
}  // namespace qorvane
