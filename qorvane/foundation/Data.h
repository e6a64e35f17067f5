// Data: an immutable, shared block of bytes.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "qorvane/foundation/Shared.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Data {
 public:
  /// The empty block.
  Data() = default;
  explicit Data(std::string bytes) : bytes_(std::move(bytes)) {}

  /// The bytes; valid as long as some copy of this block lives.
  std::string_view view() const noexcept { return bytes_ ? std::string_view(*bytes_) : std::string_view(); }
  std::size_t size() const noexcept { return view().size(); }

  friend bool operator==(const Data& a, const Data& b) noexcept { return a.view() == b.view(); }

 private:
  Shared<const std::string> bytes_;
};

}  // namespace v1
}  // namespace qorvane
