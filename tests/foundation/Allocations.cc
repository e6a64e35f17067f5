#include "tests/foundation/Allocations.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

thread_local std::size_t count = 0;
thread_local std::size_t limit = std::numeric_limits<std::size_t>::max();
thread_local bool once = false;
thread_local bool failed = false;

}  // namespace

void* operator new(std::size_t size) {
  if (count >= limit && !(once && failed)) {
    failed = true;
    throw std::bad_alloc();
  }
  ++count;
  if (void* block = std::malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}

// The standard one may come from elsewhere than what `delete` below gives back to.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
  return ::operator new(size);
} catch (const std::bad_alloc&) {
  return nullptr;
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace testing_support {

std::size_t allocations() { return count; }

AllocationsFailAfter::AllocationsFailAfter(std::size_t more, bool onlyOne) {
  limit = count + more;
  once = onlyOne;
  failed = false;
}
AllocationsFailAfter::~AllocationsFailAfter() { limit = std::numeric_limits<std::size_t>::max(); }
bool AllocationsFailAfter::hadEffect() const { return failed; }

}  // namespace testing_support
