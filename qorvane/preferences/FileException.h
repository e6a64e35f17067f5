// FileException: a failure of the operating system at a file or folder.
#pragma once

#include <utility>
#include <vector>

#include "qorvane/foundation/Exception.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class FileException : public Exception {
 public:
  using Exception::Exception;
  /// arguments: what the code's text names, the file first.
  FileException(FailureCode code, std::vector<Text> arguments, int systemError)
      : Exception({code, std::move(arguments), systemError}) {}

  /// The errno; EAGAIN when another process holds the lock.
  int systemError() const noexcept { return failure().systemError; }
};

}  // namespace v1
}  // namespace qorvane
