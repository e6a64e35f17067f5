// OpenFile: a file or folder that is open as long as the object lives. Internal to the file store.
#pragma once

#include <fcntl.h>

#include <cerrno>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "qorvane/preferences/SystemCalls.h"

namespace qorvane::inline v1 {

inline constexpr mode_t kPrivateFile = 0600;
inline constexpr mode_t kRights = 07777;

inline bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

class OpenFile {
 public:
  /// Tells in errno why the file could not be opened.
  OpenFile(SystemCalls& calls, const std::string& path, int flags, mode_t mode = 0) : calls_(calls) {
    do descriptor_ = calls.open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode);
    while (descriptor_ < 0 && errno == EINTR);
  }
  /// The file of that name in an open folder, whatever the folder is called by now.
  OpenFile(SystemCalls& calls, const OpenFile& folder, const std::string& name, int flags) : calls_(calls) {
    do descriptor_ = calls.openat(folder.descriptor_, name.c_str(), flags | O_CLOEXEC | O_NOCTTY);
    while (descriptor_ < 0 && errno == EINTR);
  }
  ~OpenFile() {
    const int error = errno;
    close();
    errno = error;
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  explicit operator bool() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }

  // These answer false and leave the cause in errno.
  bool close() {
    return descriptor_ < 0 || calls_.close(std::exchange(descriptor_, -1)) == 0 || errno == EINTR;
  }
  /// Appends up to `count` bytes to `bytes`, fewer only at the file's end.
  bool read(std::string& bytes, std::size_t count);
  bool write(std::string_view bytes);
  /// Gives the file these rights, whatever a umask took or another program gave. Touches it only where
  /// it has to: a change of rights that changes nothing is one more write for the file system. Tells on the
  /// way which file it is.
  bool setRights(mode_t rights, struct stat* found = nullptr);
  bool sync();
  /// Tells each name in the folder that is open, from where the last listing ended, with its kind (a DT_…
  /// constant, DT_UNKNOWN where the file system does not tell).
  bool list(const std::function<void(std::string_view name, unsigned char kind)>& tell);
  /// Syncs the names in a folder. A file system that cannot do so for a folder writes them in order by
  /// itself.
  bool syncFolder() { return sync() || errno == EINVAL; }

 private:
  SystemCalls& calls_;
  int descriptor_;
};

}  // namespace qorvane::inline v1
