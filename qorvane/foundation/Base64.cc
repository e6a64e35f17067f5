#include "qorvane/foundation/Base64.h"

#include <array>
#include <cstddef>

namespace qorvane::inline v1 {

namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kBlank = 64;
constexpr std::uint8_t kOther = 65;

// By character: the digit's number, or one of the two above.
constexpr std::array<std::uint8_t, 256> kNumbers = [] {
  std::array<std::uint8_t, 256> table;
  table.fill(kOther);
  for (const char blank : {' ', '\t', '\n', '\r'}) table[static_cast<unsigned char>(blank)] = kBlank;
  std::uint8_t number = 0;
  for (const char digit : kDigits) table[static_cast<unsigned char>(digit)] = number++;
  return table;
}();

}  // namespace

std::string base64(std::string_view bytes) {
  const auto byte = [&](std::size_t at) {
    return at < bytes.size() ? static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[at])) : 0U;
  };
  std::string text((bytes.size() + 2) / 3 * 4, '=');
  for (std::size_t at = 0, to = 0; at < bytes.size(); at += 3, to += 4) {
    const std::uint32_t group = byte(at) << 16 | byte(at + 1) << 8 | byte(at + 2);
    text[to] = kDigits[group >> 18];
    text[to + 1] = kDigits[group >> 12 & 63];
    if (at + 1 < bytes.size()) text[to + 2] = kDigits[group >> 6 & 63];
    if (at + 2 < bytes.size()) text[to + 3] = kDigits[group & 63];
  }
  return text;
}

Base64Bytes fromBase64(std::string_view text) {
  Base64Bytes result;
  std::string& bytes = result.bytes;
  bytes.resize(text.size() / 4 * 3 + 3);
  std::size_t size = 0;
  std::uint32_t group = 0;
  unsigned digits = 0;
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    const std::uint8_t digit = kNumbers[static_cast<unsigned char>(text[at])];
    if (digit == kBlank) continue;
    if (digit > kBlank) break;
    group = group << 6 | digit;
    if (++digits < 4) continue;
    bytes[size++] = static_cast<char>(group >> 16);
    bytes[size++] = static_cast<char>(group >> 8);
    bytes[size++] = static_cast<char>(group);
    digits = 0;
  }
  unsigned padding = 0;
  for (; at < text.size(); ++at) {
    if (text[at] == '=')
      ++padding;
    else if (kNumbers[static_cast<unsigned char>(text[at])] != kBlank)
      return {{}, Base64Bytes::Fault::Character};
  }
  if (digits == 0 ? padding != 0 : digits + padding != 4 || digits == 1)
    return {{}, Base64Bytes::Fault::Group};
  if (digits >= 2) bytes[size++] = static_cast<char>(group >> (digits == 2 ? 4 : 10));
  if (digits == 3) bytes[size++] = static_cast<char>(group >> 2);
  bytes.resize(size);
  return result;
}

}  // namespace qorvane::inline v1
