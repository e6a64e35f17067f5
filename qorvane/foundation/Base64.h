// Base64, as property lists and JSON have it for bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Four characters for each three bytes, the last ones padded with '='; no line breaks.
std::string base64(std::string_view bytes);

struct Base64Bytes {
  std::string bytes;
  enum class Fault : std::uint8_t {
    None,
    Character,  ///< One that is no digit of base64, blank or padding, or a digit behind the padding.
    Group       ///< The end within a group of four, padding counted.
  } fault = Fault::None;
};

/// The bytes of such a text; blanks and line breaks count for nothing.
Base64Bytes fromBase64(std::string_view text);

}  // namespace v1
}  // namespace qorvane
