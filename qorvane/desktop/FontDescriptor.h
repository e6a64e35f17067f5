// FontDescriptor: which font, in which size.
#pragma once

#include <utility>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class FontDescriptor {
 public:
  /// name: the PostScript name, such as "Helvetica-Bold"; size: in points. Both are kept as they are given.
  FontDescriptor(Text name, double size) : name_(std::move(name)), size_(size) {}

  const Text& postscriptName() const noexcept { return name_; }
  double pointSize() const noexcept { return size_; }

  friend bool operator==(const FontDescriptor&, const FontDescriptor&) = default;

 private:
  Text name_;
  double size_;
};

}  // namespace v1
}  // namespace qorvane
