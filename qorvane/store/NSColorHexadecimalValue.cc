#include "qorvane/store/NSColorHexadecimalValue.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

#include "qorvane/propertylist/Utf16.h"

namespace qorvane::inline v1 {

namespace {

// The largest single below 256: a component of 1 becomes 255, and equal shares of the range go to each code.
constexpr double kEncodingFactor = 255.99998474121094;
// The single nearest to 255.9999. With it every code comes back from the component that it becomes.
constexpr float kDecodingDivisor = 255.99989318847656F;

constexpr std::size_t kUnits = 7;

std::uint32_t codeOf(double component) {
  const double code = component * kEncodingFactor;
  // Written so that a NaN is 0.
  if (!(code > 0)) return 0;
  constexpr auto kLargest = std::numeric_limits<std::uint32_t>::max();
  return code < kLargest ? static_cast<std::uint32_t>(code) : kLargest;
}

char* putCode(char* out, std::uint32_t code) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  int digits = 2;
  while (digits < 8 && code >> 4 * digits != 0) ++digits;
  for (int digit = digits - 1; digit >= 0; --digit) *out++ = kDigits[code >> 4 * digit & 0xF];
  return out;
}

/// The value of each hexadecimal digit, and -1 for the other characters.
constexpr auto kDigitValues = [] {
  std::array<std::int8_t, 256> values;
  values.fill(-1);
  for (std::int8_t digit = 0; digit < 16; ++digit) {
    values[static_cast<unsigned char>("0123456789ABCDEF"[digit])] = digit;
    values[static_cast<unsigned char>("0123456789abcdef"[digit])] = digit;
  }
  return values;
}();

int digitOf(char16_t unit) { return unit < 256 ? kDigitValues[unit] : -1; }

/// The characters that Unicode calls white space, all in the basic plane. The set is closed.
bool isWhiteSpace(char16_t unit) {
  return (unit >= 0x09 && unit <= 0x0D) || unit == 0x20 || unit == 0x85 || unit == 0xA0 || unit == 0x1680 ||
         (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 || unit == 0x202F ||
         unit == 0x205F || unit == 0x3000;
}

/// Scans two units as a hexadecimal number. A "0x" fills them and leaves nothing to scan, and so reads as 0,
/// like everything else that holds no number.
int scannedPair(char16_t first, char16_t second) {
  const int high = digitOf(first);
  const int low = digitOf(second);
  if (high >= 0) return low >= 0 ? high * 16 + low : high;
  return low >= 0 && isWhiteSpace(first) ? low : 0;
}

/// The text as UTF-16, if it is just as long as the array.
std::optional<std::array<char16_t, kUnits>> unitsOf(std::string_view utf8) {
  std::array<char16_t, kUnits> units;
  std::size_t count = 0;
  for (std::size_t at = 0; at < utf8.size();) {
    const char32_t character = detail::nextCharacter(utf8, at);
    const std::size_t needed = character < 0x10000 ? 1 : 2;
    if (count + needed > kUnits) return std::nullopt;
    if (needed == 1) {
      units[count++] = static_cast<char16_t>(character);
    } else {
      units[count++] = static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
      units[count++] = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
  }
  if (count != kUnits) return std::nullopt;
  return units;
}

/// The three codes of the usual text, seven ASCII characters of which six are digits, as one number; -1 for
/// any other.
int plainCodes(std::string_view text) {
  if (text.size() != kUnits || static_cast<unsigned char>(text[0]) >= 0x80) return -1;
  int codes = 0;
  int unknown = 0;
  for (const char c : text.substr(1)) {
    const int digit = kDigitValues[static_cast<unsigned char>(c)];
    codes = codes << 4 | (digit & 0xF);
    unknown |= digit;
  }
  return unknown < 0 ? -1 : codes;
}

double componentOf(int code) { return static_cast<float>(code) / kDecodingDivisor; }

}  // namespace

Text NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(const Color& color) {
  const std::optional<Color> rgb = color.colorUsingColorSpace(ColorSpace::CalibratedRGB);
  if (!rgb) return nullptr;
  std::array<char, 1 + 3 * 8> text;
  char* end = text.data();
  *end++ = '#';
  for (const double component : rgb->components().first(3)) end = putCode(end, codeOf(component));
  return Text(std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
}

std::optional<Color> NSColorHexadecimalValue::nsColorFromHexadecimalValue(const Text& text) {
  if (text.isNil()) return std::nullopt;
  if (const int codes = plainCodes(text); codes >= 0)
    return Color::colorWithCalibratedRed(componentOf(codes >> 16), componentOf(codes >> 8 & 0xFF),
                                         componentOf(codes & 0xFF), 0);
  const auto units = unitsOf(text);
  if (!units) return std::nullopt;
  const auto component = [&](std::size_t at) {
    return componentOf(scannedPair((*units)[at], (*units)[at + 1]));
  };
  return Color::colorWithCalibratedRed(component(1), component(3), component(5), 0);
}

}  // namespace qorvane::inline v1
