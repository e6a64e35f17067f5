// FileException: a failure of the operating system at a file or folder.
#pragma once

#include <string>

#include "qorvane/foundation/Exception.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class FileException : public Exception {
 public:
  /// reason: one sentence that names the file and the cause. systemError: the errno; EAGAIN when another
  /// process holds the lock.
  FileException(const std::string& reason, int systemError) : Exception(reason), systemError_(systemError) {}
  int systemError() const noexcept { return systemError_; }

  /// Throws one whose reason ends with the system's words for the error.
  [[noreturn]] static void raise(const std::string& what, int systemError);

 private:
  int systemError_;
};

}  // namespace v1
}  // namespace qorvane
