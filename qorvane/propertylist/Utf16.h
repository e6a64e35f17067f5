// Between UTF-8 and UTF-16. Internal.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "qorvane/foundation/Text.h"

namespace qorvane::inline v1::detail {

inline bool isAscii(std::string_view bytes) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t at = 0;
  for (; bytes.size() - at >= 8; at += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data() + at, 8);
    if (word & kHighBits) return false;
  }
  for (; at < bytes.size(); ++at)
    if (static_cast<unsigned char>(bytes[at]) >= 0x80) return false;
  return true;
}

/// The number of UTF-16 units of a well-formed UTF-8 text: one a character, two above U+FFFF.
inline std::size_t utf16Length(std::string_view utf8) {
  std::size_t units = 0;
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    units += (byte & 0xC0) != 0x80;
    units += byte >= 0xF0;
  }
  return units;
}

/// The character at `at` of a well-formed UTF-8 text; `at` moves past it.
inline char32_t nextCharacter(std::string_view utf8, std::size_t& at) {
  const auto lead = static_cast<unsigned char>(utf8[at++]);
  if (lead < 0x80) return lead;
  const auto more = [&] { return static_cast<char32_t>(static_cast<unsigned char>(utf8[at++]) & 0x3F); };
  char32_t character = lead & (lead >= 0xF0 ? 0x07U : lead >= 0xE0 ? 0x0FU : 0x1FU);
  for (int left = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1; left > 0; --left)
    character = character << 6 | more();
  return character;
}

/// Writes the character as UTF-8, one to four bytes; returns the place behind it.
inline char* putUtf8(char* out, char32_t character) {
  const auto put = [&](char32_t byte) { *out++ = static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
  }
  return out;
}

/// Writes UTF-16 as UTF-8, at most three bytes a unit; returns the place behind it. Half a surrogate pair
/// becomes U+FFFD. `units` holds two bytes a unit.
inline char* putUtf16AsUtf8(char* out, std::string_view units, bool bigEndian) {
  const auto unit = [&](std::size_t at) {
    const auto first = static_cast<unsigned char>(units[at]);
    const auto second = static_cast<unsigned char>(units[at + 1]);
    return static_cast<char32_t>(bigEndian ? first << 8 | second : second << 8 | first);
  };
  for (std::size_t at = 0; at + 1 < units.size(); at += 2) {
    char32_t character = unit(at);
    if (character >= 0xD800 && character <= 0xDFFF) {
      const char32_t low = character < 0xDC00 && at + 3 < units.size() ? unit(at + 2) : 0;
      if (low >= 0xDC00 && low <= 0xDFFF) {
        character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
        at += 2;
      } else {
        character = 0xFFFD;
      }
    }
    out = putUtf8(out, character);
  }
  return out;
}

}  // namespace qorvane::detail
