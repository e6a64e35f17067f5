// The library's one exception class. It carries a Failure.
//
// The store catches exactly this class at the edge of load and save; anything else (std::bad_alloc,
// for one) is not a failure of the platform and passes on to the caller.
#pragma once

#include <memory>
#include <stdexcept>
#include <utility>

#include "qorvane/foundation/Failure.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Exception : public std::runtime_error {
 public:
  /// `what` tells the failure's reason in English; UTF-8.
  explicit Exception(Failure failure)
      : std::runtime_error(failure.reason(Language::English).string()),
        failure_(std::make_shared<const Failure>(std::move(failure))) {}

  const Failure& failure() const noexcept { return *failure_; }

 private:
  // Shared, because copying an exception must not fail.
  std::shared_ptr<const Failure> failure_;
};

}  // namespace v1
}  // namespace qorvane
