// Number: a boolean, a whole number or a double, remembering which it is.
#pragma once

#include <concepts>
#include <cstdint>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Number {
 public:
  /// `Unsigned` only ever holds numbers above the 64-bit signed range, so that each whole number has one
  /// kind; settings written elsewhere may hold them, and they must come back.
  enum class Kind : std::uint8_t { Boolean, Integer, Unsigned, Real };

  template <std::same_as<bool> T>
  constexpr Number(T value) noexcept : integer_(value), kind_(Kind::Boolean) {}

  template <std::integral T>
  requires(!std::same_as<T, bool>) constexpr Number(T value) noexcept
      : integer_(static_cast<std::int64_t>(value)),
        kind_(value > 0 && integer_ < 0 ? Kind::Unsigned : Kind::Integer) {}

  template <std::floating_point T>
  constexpr Number(T value) noexcept : real_(value), kind_(Kind::Real) {}

  constexpr Kind kind() const noexcept { return kind_; }

  /// True for anything but zero (NaN included).
  bool boolValue() const noexcept;
  /// The whole part, saturated at 32 bits; 0 for NaN.
  int intValue() const noexcept;
  /// The whole part, saturated at 64 bits; 0 for NaN.
  std::int64_t int64Value() const noexcept;
  double doubleValue() const noexcept;
  /// "1" or "0" for a boolean, decimal digits for a whole number, the shortest decimal text that reads back
  /// for a double, with an exponent from 1e+16 up and below 0.0001: "0.1", "100000", "-0", "1e+23", and
  /// "inf", "-inf" and "nan" (which as texts read as 0). Independent of the locale.
  Text stringValue() const;

  /// Numeric equality across kinds, exact: 1, 1.0 and true are equal; NaN equals nothing.
  friend bool operator==(const Number& a, const Number& b) noexcept;
  /// True when kind and bits agree; −0.0 is not 0.0, and a NaN is identical to itself.
  friend bool isIdentical(const Number& a, const Number& b) noexcept;

  /// The bits of an `Unsigned`; for the other whole kinds their value as two's complement.
  constexpr std::uint64_t bits() const noexcept { return static_cast<std::uint64_t>(integer_); }

 private:
  union {
    std::int64_t integer_;
    double real_;
  };
  Kind kind_;
};

bool operator==(const Number& a, const Number& b) noexcept;
bool isIdentical(const Number& a, const Number& b) noexcept;

}  // namespace v1
}  // namespace qorvane
