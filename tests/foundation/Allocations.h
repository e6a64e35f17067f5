// Counts what this program asks of operator new, and can make it fail.
#pragma once

#include <cstddef>

namespace testing_support {

/// The number of allocations of this thread so far.
std::size_t allocations();

/// While it lives, the allocation after `count` more of this thread throws std::bad_alloc, as do all later
/// ones, or only that one.
class AllocationsFailAfter {
 public:
  explicit AllocationsFailAfter(std::size_t count, bool onlyOne = false);
  ~AllocationsFailAfter();
  AllocationsFailAfter(const AllocationsFailAfter&) = delete;
  AllocationsFailAfter& operator=(const AllocationsFailAfter&) = delete;

  /// True when an allocation has failed.
  bool hadEffect() const;
};

}  // namespace testing_support
