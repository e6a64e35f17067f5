// Scoped: one manner for whatever part of the library an application or a test may put its own in the place
// of: the preference store, the file manager, the bundle, the log's sink, the product source, the system
// calls.
#pragma once

#include <utility>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

template <class Part>
Part partOf(Part (*exchange)(Part));

/// The part that it is made with serves for as long as it lives; then the one that served before does again.
/// `Exchange` puts a part in the place of another, which it returns. They nest: the last one made ends first.
/// The part itself is the caller's to keep alive.
template <auto Exchange>
class [[nodiscard]] Scoped {
 public:
  using Part = decltype(partOf(Exchange));

  explicit Scoped(Part part) : before_(Exchange(std::move(part))) {}
  ~Scoped() { Exchange(std::move(before_)); }
  Scoped(const Scoped&) = delete;
  Scoped& operator=(const Scoped&) = delete;

 private:
  Part before_;
};

}  // namespace v1
}  // namespace qorvane
