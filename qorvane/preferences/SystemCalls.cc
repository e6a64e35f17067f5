#include "qorvane/preferences/SystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <utility>

namespace qorvane::inline v1 {

int SystemCalls::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int SystemCalls::openat(int folder, const char* name, int flags) { return ::openat(folder, name, flags); }
ssize_t SystemCalls::read(int file, void* bytes, std::size_t count) { return ::read(file, bytes, count); }
ssize_t SystemCalls::write(int file, const void* bytes, std::size_t count) {
  return ::write(file, bytes, count);
}
int SystemCalls::fstat(int file, struct ::stat* status) { return ::fstat(file, status); }
int SystemCalls::stat(const char* path, struct ::stat* status) { return ::stat(path, status); }
int SystemCalls::lstat(const char* path, struct ::stat* status) { return ::lstat(path, status); }
int SystemCalls::fchmod(int file, mode_t mode) { return ::fchmod(file, mode); }
int SystemCalls::fsync(int file) { return ::fsync(file); }
int SystemCalls::close(int file) { return ::close(file); }
int SystemCalls::rename(const char* from, const char* to) { return ::rename(from, to); }
int SystemCalls::link(const char* from, const char* to) { return ::link(from, to); }
int SystemCalls::linkOpen(int file, const char* to) {
  const std::string self = "/proc/self/fd/" + std::to_string(file);
  return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, to, AT_SYMLINK_FOLLOW);
}
int SystemCalls::unlink(const char* path) { return ::unlink(path); }
int SystemCalls::mkdir(const char* path, mode_t mode) { return ::mkdir(path, mode); }
int SystemCalls::chmod(const char* path, mode_t mode) { return ::chmod(path, mode); }
int SystemCalls::rmdir(const char* path) { return ::rmdir(path); }
ssize_t SystemCalls::readlink(const char* path, char* target, std::size_t size) {
  return ::readlink(path, target, size);
}

namespace {
int setLock(int file, short type) {
  struct ::flock whole = {};
  whole.l_type = type;
  whole.l_whence = SEEK_SET;
  return ::fcntl(file, F_OFD_SETLK, &whole);
}
}  // namespace

int SystemCalls::tryLock(int file) { return setLock(file, F_WRLCK); }
int SystemCalls::unlock(int file) { return setLock(file, F_UNLCK); }

ssize_t SystemCalls::getdents(int folder, void* entries, std::size_t size) {
  return ::getdents64(folder, entries, size);
}
int SystemCalls::statfs(const char* path, struct ::statfs* status) { return ::statfs(path, status); }
int SystemCalls::uname(utsname* machine) { return ::uname(machine); }

void SystemCalls::sleepMilliseconds(int count) {
  std::this_thread::sleep_for(std::chrono::milliseconds(count));
}

std::time_t SystemCalls::time() { return std::time(nullptr); }
timespec SystemCalls::fileTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}
uid_t SystemCalls::geteuid() { return ::geteuid(); }
pid_t SystemCalls::getpid() { return ::getpid(); }

SystemCalls& SystemCalls::real() {
  static SystemCalls calls;
  return calls;
}

namespace {
constinit SystemCalls* replacementCalls = nullptr;
}

SystemCalls& SystemCalls::standard() { return replacementCalls ? *replacementCalls : real(); }
SystemCalls* SystemCalls::setStandard(SystemCalls* calls) { return std::exchange(replacementCalls, calls); }

bool FaultInjectingSystemCalls::fails(const char* name) {
  calls_.emplace_back(name);
  const int error = fault_ ? fault_(calls_.back(), static_cast<int>(calls_.size())) : 0;
  if (error != 0) errno = error;
  return error != 0;
}

int FaultInjectingSystemCalls::open(const char* path, int flags, mode_t mode) {
  return fails("open") ? -1 : SystemCalls::open(path, flags, mode);
}

int FaultInjectingSystemCalls::openat(int folder, const char* name, int flags) {
  return fails("openat") ? -1 : SystemCalls::openat(folder, name, flags);
}
ssize_t FaultInjectingSystemCalls::read(int file, void* bytes, std::size_t count) {
  return fails("read") ? -1 : SystemCalls::read(file, bytes, count);
}
ssize_t FaultInjectingSystemCalls::write(int file, const void* bytes, std::size_t count) {
  if (longestWrite_ != 0) count = std::min(count, longestWrite_);
  return fails("write") ? -1 : SystemCalls::write(file, bytes, count);
}
int FaultInjectingSystemCalls::fstat(int file, struct ::stat* status) {
  return fails("fstat") ? -1 : SystemCalls::fstat(file, status);
}
int FaultInjectingSystemCalls::stat(const char* path, struct ::stat* status) {
  return fails("stat") ? -1 : SystemCalls::stat(path, status);
}
int FaultInjectingSystemCalls::lstat(const char* path, struct ::stat* status) {
  return fails("lstat") ? -1 : SystemCalls::lstat(path, status);
}
int FaultInjectingSystemCalls::fchmod(int file, mode_t mode) {
  return fails("fchmod") ? -1 : SystemCalls::fchmod(file, mode);
}
int FaultInjectingSystemCalls::fsync(int file) {
  if (fails("fsync")) return -1;
  return syncing_ ? SystemCalls::fsync(file) : 0;
}
int FaultInjectingSystemCalls::close(int file) {
  // A failing close has closed the file all the same.
  const bool failed = fails("close");
  const int error = errno;
  const int result = SystemCalls::close(file);
  if (!failed) return result;
  errno = error;
  return -1;
}
int FaultInjectingSystemCalls::rename(const char* from, const char* to) {
  return fails("rename") ? -1 : SystemCalls::rename(from, to);
}
int FaultInjectingSystemCalls::link(const char* from, const char* to) {
  return fails("link") ? -1 : SystemCalls::link(from, to);
}
int FaultInjectingSystemCalls::linkOpen(int file, const char* to) {
  return fails("linkOpen") ? -1 : SystemCalls::linkOpen(file, to);
}
int FaultInjectingSystemCalls::unlink(const char* path) {
  return fails("unlink") ? -1 : SystemCalls::unlink(path);
}
int FaultInjectingSystemCalls::mkdir(const char* path, mode_t mode) {
  return fails("mkdir") ? -1 : SystemCalls::mkdir(path, mode);
}
int FaultInjectingSystemCalls::chmod(const char* path, mode_t mode) {
  return fails("chmod") ? -1 : SystemCalls::chmod(path, mode);
}
int FaultInjectingSystemCalls::rmdir(const char* path) {
  return fails("rmdir") ? -1 : SystemCalls::rmdir(path);
}
ssize_t FaultInjectingSystemCalls::readlink(const char* path, char* target, std::size_t size) {
  return fails("readlink") ? -1 : SystemCalls::readlink(path, target, size);
}
int FaultInjectingSystemCalls::tryLock(int file) {
  return fails("tryLock") ? -1 : SystemCalls::tryLock(file);
}
int FaultInjectingSystemCalls::unlock(int file) { return fails("unlock") ? -1 : SystemCalls::unlock(file); }
ssize_t FaultInjectingSystemCalls::getdents(int folder, void* entries, std::size_t size) {
  return fails("getdents") ? -1 : SystemCalls::getdents(folder, entries, size);
}
int FaultInjectingSystemCalls::statfs(const char* path, struct ::statfs* status) {
  return fails("statfs") ? -1 : SystemCalls::statfs(path, status);
}
int FaultInjectingSystemCalls::uname(utsname* machine) {
  return fails("uname") ? -1 : SystemCalls::uname(machine);
}
void FaultInjectingSystemCalls::sleepMilliseconds(int) {
  // Waiting is what the real one is for; a test only wants to know that it would have waited.
  calls_.emplace_back("sleep");
}
std::time_t FaultInjectingSystemCalls::time() { return time_ ? *time_ : SystemCalls::time(); }

}  // namespace qorvane::inline v1
