// Shared: one of the owners of a value on the heap, which goes with the last of them.
//
// Values, blocks of bytes and colours stand in the interface of every option, so whatever they include, each
// program includes: <memory> alone takes as long to compile as all else there. This is the part of it that
// they need. The value may be of a type that is not complete where the owner is declared, copied or
// destroyed. Owners may be in different threads.
#pragma once

#include <ext/atomicity.h>
#include <utility>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

template <class T>
class Shared {
 public:
  /// No value.
  constexpr Shared() noexcept = default;
  explicit Shared(T value) : held_(&(new Held{{1, &destroy}, std::move(value)})->count) {
    static_assert(alignof(T) <= alignof(Count));
  }
  Shared(const Shared& other) noexcept : held_(other.held_) {
    if (held_) __gnu_cxx::__atomic_add_dispatch(&held_->owners, 1);
  }
  Shared(Shared&& other) noexcept : held_(std::exchange(other.held_, nullptr)) {}
  Shared& operator=(Shared other) noexcept {
    std::swap(held_, other.held_);
    return *this;
  }
  ~Shared() {
    if (held_ && __gnu_cxx::__exchange_and_add_dispatch(&held_->owners, -1) == 1) held_->destroy(held_);
  }

  /// Null without a value; valid as long as it has an owner.
  T* get() const noexcept { return held_ ? reinterpret_cast<T*>(held_ + 1) : nullptr; }
  T& operator*() const noexcept { return *get(); }
  T* operator->() const noexcept { return get(); }
  explicit operator bool() const noexcept { return held_ != nullptr; }
  /// Whether this is the only owner: nobody else can become one meanwhile.
  bool isOnlyOwner() const noexcept {
    return held_ && __atomic_load_n(&held_->owners, __ATOMIC_ACQUIRE) == 1;
  }

 private:
  // Stands right before the value, whatever that is.
  struct alignas(16) Count {
    _Atomic_word owners;
    void (*destroy)(Count*) noexcept;
  };
  struct Held {
    Count count;
    T value;
  };
  static void destroy(Count* count) noexcept { delete reinterpret_cast<Held*>(count); }

  Count* held_ = nullptr;
};

}  // namespace v1
}  // namespace qorvane
