// The library's one exception class, thrown by the platform layer.
//
// The store catches exactly this class at the edge of load and save; anything else (std::bad_alloc,
// for one) is not a failure of the platform and passes on to the caller.
#pragma once

#include <stdexcept>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Exception : public std::runtime_error {
 public:
  /// reason: one sentence for a person, saying what failed, where and why; UTF-8.
  using std::runtime_error::runtime_error;
};

}  // namespace v1
}  // namespace qorvane
