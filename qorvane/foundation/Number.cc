#include "qorvane/foundation/Number.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

namespace qorvane::inline v1 {

namespace {

template <class T, class... Format>
Text decimal(T value, Format... format) {
  char digits[32];
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value, format...);
  return Text(std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

// 2^63: every double below it converts to a signed 64-bit integer, and none above it.
constexpr double kTwoTo63 = 9223372036854775808.0;

}  // namespace

bool Number::boolValue() const noexcept { return kind_ == Kind::Real ? real_ != 0 : integer_ != 0; }

std::int64_t Number::int64Value() const noexcept {
  switch (kind_) {
    case Kind::Boolean:
    case Kind::Integer:
      return integer_;
    case Kind::Unsigned:
      return std::numeric_limits<std::int64_t>::max();
    case Kind::Real:
      break;
  }
  if (std::isnan(real_)) return 0;
  if (real_ >= kTwoTo63) return std::numeric_limits<std::int64_t>::max();
  if (real_ < -kTwoTo63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(real_);
}

int Number::intValue() const noexcept {
  return static_cast<int>(std::clamp<std::int64_t>(int64Value(), std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

double Number::doubleValue() const noexcept {
  switch (kind_) {
    case Kind::Boolean:
    case Kind::Integer:
      return static_cast<double>(integer_);
    case Kind::Unsigned:
      return static_cast<double>(bits());
    case Kind::Real:
      break;
  }
  return real_;
}

Text Number::stringValue() const {
  switch (kind_) {
    case Kind::Boolean:
    case Kind::Integer:
      return decimal(integer_);
    case Kind::Unsigned:
      return decimal(bits());
    case Kind::Real:
      break;
  }
  if (std::isnan(real_)) return "nan";
  // Amounts are written out, so that 100000.0 read as a text and then as an integer is 100000, not 1.
  const double magnitude = std::abs(real_);
  const bool plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
  return decimal(real_, plain ? std::chars_format::fixed : std::chars_format::scientific);
}

bool operator==(const Number& a, const Number& b) noexcept {
  const bool realA = a.kind_ == Number::Kind::Real;
  const bool realB = b.kind_ == Number::Kind::Real;
  if (realA && realB) return a.real_ == b.real_;
  if (realA) return b == a;
  if (!realB) {
    return a.integer_ == b.integer_ &&
           (a.kind_ == Number::Kind::Unsigned) == (b.kind_ == Number::Kind::Unsigned);
  }
  // A whole number equals a double when the double is whole and converts to it exactly; comparing as
  // doubles would call 2^53 + 1 equal to 2^53.
  if (b.real_ != std::trunc(b.real_)) return false;
  if (a.kind_ == Number::Kind::Unsigned)
    return b.real_ >= kTwoTo63 && b.real_ < 2 * kTwoTo63 && static_cast<std::uint64_t>(b.real_) == a.bits();
  return b.real_ >= -kTwoTo63 && b.real_ < kTwoTo63 && static_cast<std::int64_t>(b.real_) == a.integer_;
}

bool isIdentical(const Number& a, const Number& b) noexcept {
  if (a.kind_ != b.kind_) return false;
  return a.kind_ == Number::Kind::Real
             ? std::bit_cast<std::uint64_t>(a.real_) == std::bit_cast<std::uint64_t>(b.real_)
             : a.integer_ == b.integer_;
}

}  // namespace qorvane::inline v1
