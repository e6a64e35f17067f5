#include "tool/WholeFile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include "tool/Failure.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

namespace fs = std::filesystem;

namespace {

// Closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  operator int() const { return number_; }
  bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0 || errno == EINTR; }

 private:
  int number_;
};

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// A place that may be given up: its name goes, unless it was taken over.
class Staging {
 public:
  Staging(const std::string& folder, const std::string& name)
      : prefix_("." + name + ".optionsmgr-"), path_(folder + "/" + prefix_ + std::to_string(getpid())) {
    removeAbandoned(folder);
  }
  ~Staging() { unlink(path_.c_str()); }
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;

  const std::string& path() const { return path_; }

 private:
  // What runs that were killed left here for the same file.
  void removeAbandoned(const std::string& folder) const {
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error)) {
      const std::string name = file->path().filename().string();
      if (!name.starts_with(prefix_)) continue;
      pid_t process = 0;
      const char* const stop = name.data() + name.size();
      const auto [at, bad] = std::from_chars(name.data() + prefix_.size(), stop, process);
      if (bad == std::errc() && at == stop && process > 0 &&
          (process == getpid() || (kill(process, 0) != 0 && errno == ESRCH)))
        unlink(file->path().c_str());
    }
  }

  std::string prefix_;
  std::string path_;
};

// A file without a name where there are such, so that nothing is left of it when the process ends.
bool writeStaged(const std::string& folder, const std::string& staging, std::string_view bytes, mode_t mode) {
  Descriptor nameless(open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
  if (nameless >= 0) {
    const std::string self = "/proc/self/fd/" + std::to_string(nameless);
    if (!writeAll(nameless, bytes) || fchmod(nameless, mode) != 0 || fsync(nameless) != 0) return false;
    if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, staging.c_str(), AT_SYMLINK_FOLLOW) == 0)
      return nameless.close();
  }
  Descriptor named(open(staging.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  return named >= 0 && writeAll(named, bytes) && fchmod(named, mode) == 0 && fsync(named) == 0 &&
         named.close();
}

bool publish(const std::string& staging, const std::string& target, Existing existing) {
  if (existing == Existing::Replaced) return rename(staging.c_str(), target.c_str()) == 0;
  if (renameat2(AT_FDCWD, staging.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return true;
  // Not every file system can do so in one step.
  struct stat status;
  if (errno != EINVAL) return false;
  if (lstat(target.c_str(), &status) == 0) {
    errno = EEXIST;
    return false;
  }
  return rename(staging.c_str(), target.c_str()) == 0;
}

std::string realPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  return real ? real.get() : path;
}

}  // namespace

bool syncFolder(const std::string& folder) {
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened >= 0 && (fsync(opened) == 0 || errno == EINVAL);
}

void writeWholeFile(const std::string& path, std::string_view bytes, Existing existing, mode_t mode) {
  const auto fail = [&] {
    throw Failure(exitFor(errno), say("cannot write {}: {}", path, systemReason(errno)));
  };
  struct stat status;
  const bool exists = stat(path.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (file < 0 || !writeAll(file, bytes) || !file.close()) fail();
    return;
  }
  const fs::path target = exists ? realPath(path) : path;
  const std::string folder = target.has_parent_path() ? target.parent_path().string() : ".";
  const Staging staging(folder, target.filename().string());
  if (!writeStaged(folder, staging.path(), bytes, mode) ||
      !publish(staging.path(), target.string(), existing) || !syncFolder(folder))
    fail();
}

}  // namespace optionsmgr
