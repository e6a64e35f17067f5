#include "qorvane/foundation/Number.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace qorvane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t kTwoTo53 = std::int64_t{1} << 53;
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

TEST(NumberTest, RemembersItsKind) {
  EXPECT_EQ(Number(true).kind(), Number::Kind::Boolean);
  EXPECT_EQ(Number(1).kind(), Number::Kind::Integer);
  EXPECT_EQ(Number(1u).kind(), Number::Kind::Integer);
  EXPECT_EQ(Number(std::int8_t{-1}).kind(), Number::Kind::Integer);
  EXPECT_EQ(Number(INT64_MIN).kind(), Number::Kind::Integer);
  EXPECT_EQ(Number(1.0).kind(), Number::Kind::Real);
  EXPECT_EQ(Number(1.0f).kind(), Number::Kind::Real);
  EXPECT_EQ(Number(std::uint64_t{INT64_MAX}).kind(), Number::Kind::Integer);
  EXPECT_EQ(Number(std::uint64_t{INT64_MAX} + 1).kind(), Number::Kind::Unsigned);
  EXPECT_EQ(Number(UINT64_MAX).kind(), Number::Kind::Unsigned);
  EXPECT_EQ(Number(UINT64_MAX).bits(), UINT64_MAX);
  EXPECT_EQ(Number(-1).bits(), UINT64_MAX);
}

TEST(NumberTest, Converts) {
  const struct {
    Number number;
    bool truth;
    int integer;
    std::int64_t wide;
    double real;
  } rows[] = {
      {Number(true), true, 1, 1, 1},
      {Number(false), false, 0, 0, 0},
      {Number(-7), true, -7, -7, -7},
      {Number(INT_MAX), true, INT_MAX, INT_MAX, INT_MAX},
      {Number(std::int64_t{INT_MAX} + 1), true, INT_MAX, std::int64_t{INT_MAX} + 1, 2147483648.0},
      {Number(std::int64_t{INT_MIN} - 1), true, INT_MIN, std::int64_t{INT_MIN} - 1, -2147483649.0},
      {Number(INT64_MAX), true, INT_MAX, INT64_MAX, kTwoTo63},
      {Number(INT64_MIN), true, INT_MIN, INT64_MIN, -kTwoTo63},
      {Number(UINT64_MAX), true, INT_MAX, INT64_MAX, kTwoTo64},
      {Number(0.0), false, 0, 0, 0},
      {Number(-0.0), false, 0, 0, -0.0},
      {Number(0.9), true, 0, 0, 0.9},
      {Number(-0.9), true, 0, 0, -0.9},
      {Number(2.999), true, 2, 2, 2.999},
      {Number(-2.999), true, -2, -2, -2.999},
      {Number(1e10), true, INT_MAX, 10000000000, 1e10},
      {Number(-1e10), true, INT_MIN, -10000000000, -1e10},
      {Number(kTwoTo63), true, INT_MAX, INT64_MAX, kTwoTo63},
      {Number(-kTwoTo63), true, INT_MIN, INT64_MIN, -kTwoTo63},
      {Number(std::nextafter(-kTwoTo63, -kInfinity)), true, INT_MIN, INT64_MIN, -9223372036854777856.0},
      {Number(kInfinity), true, INT_MAX, INT64_MAX, kInfinity},
      {Number(-kInfinity), true, INT_MIN, INT64_MIN, -kInfinity},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.number.stringValue());
    EXPECT_EQ(row.number.boolValue(), row.truth);
    EXPECT_EQ(row.number.intValue(), row.integer);
    EXPECT_EQ(row.number.int64Value(), row.wide);
    EXPECT_EQ(row.number.doubleValue(), row.real);
  }
}

TEST(NumberTest, NotANumberIsTrueAndZero) {
  EXPECT_TRUE(Number(kNan).boolValue());
  EXPECT_EQ(Number(kNan).intValue(), 0);
  EXPECT_EQ(Number(kNan).int64Value(), 0);
  EXPECT_TRUE(std::isnan(Number(kNan).doubleValue()));
}

TEST(NumberTest, ShowsItsDecimalText) {
  const struct {
    Number number;
    Text text;
  } rows[] = {
      {Number(true), "1"},
      {Number(false), "0"},
      {Number(0), "0"},
      {Number(-12), "-12"},
      {Number(INT64_MIN), "-9223372036854775808"},
      {Number(UINT64_MAX), "18446744073709551615"},
      {Number(0.0), "0"},
      {Number(-0.0), "-0"},
      {Number(0.1), "0.1"},
      {Number(12.0), "12"},
      {Number(100000.0), "100000"},
      {Number(1e15), "1000000000000000"},
      {Number(9999999999999998.0), "9999999999999998"},
      {Number(1e16), "1e+16"},
      {Number(1e23), "1e+23"},
      {Number(0.0001), "0.0001"},
      {Number(0.00012345678901234567), "0.00012345678901234567"},
      {Number(-0.00012345678901234567), "-0.00012345678901234567"},
      {Number(0.00001), "1e-05"},
      {Number(2020.0), "2020"},
      {Number(std::numeric_limits<double>::max()), "1.7976931348623157e+308"},
      {Number(kInfinity), "inf"},
      {Number(-kInfinity), "-inf"},
      {Number(kNan), "nan"},
      {Number(-kNan), "nan"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.number.stringValue(), row.text);
}

TEST(NumberTest, TheTextOfADoubleReadsBack) {
  std::mt19937_64 random(20210430);
  std::vector<double> numbers = {0.0,
                                 -0.0,
                                 5e-324,
                                 1.0 / 3,
                                 1e-4,
                                 std::nextafter(1e-4, 0),
                                 1e16,
                                 std::nextafter(1e16, 0),
                                 std::nextafter(1e16, kInfinity)};
  for (int i = 0; i < 20000; ++i) {
    numbers.push_back(std::bit_cast<double>(random()));
    numbers.push_back(static_cast<double>(static_cast<std::int64_t>(random())) / 100);
    numbers.push_back(static_cast<double>(random() % 100000000) / 100);
  }
  for (const double number : numbers) {
    if (!std::isfinite(number)) continue;
    const Text text = Number(number).stringValue();
    ASSERT_EQ(std::bit_cast<std::uint64_t>(text.doubleValue()), std::bit_cast<std::uint64_t>(number)) << text;
    // No shorter text reads back: the digits of the shortest form and this one agree in number.
    char shortest[32];
    const auto end =
        std::to_chars(shortest, shortest + sizeof shortest, number, std::chars_format::scientific).ptr;
    const auto digits = [](std::string_view form) {
      std::string kept;
      for (const char c : form.substr(0, form.find('e')))
        if (c >= '0' && c <= '9') kept += c;
      kept.erase(0, kept.find_first_not_of('0'));
      kept.erase(kept.find_last_not_of('0') + 1);
      return kept;
    };
    ASSERT_EQ(digits(text), digits({shortest, static_cast<std::size_t>(end - shortest)})) << text;
  }
}

TEST(NumberTest, TheTextOfAWholeNumberReadsBack) {
  for (const std::int64_t number : {std::int64_t{0}, std::int64_t{-1}, INT64_MAX, INT64_MIN, kTwoTo53 + 1}) {
    const Text text = Number(number).stringValue();
    std::int64_t back = 0;
    std::from_chars(text.view().begin(), text.view().end(), back);
    EXPECT_EQ(back, number);
  }
}

TEST(NumberTest, EqualsAcrossKinds) {
  const Number ones[] = {Number(true), Number(1), Number(1u), Number(1.0), Number(1.0f)};
  for (const Number& a : ones)
    for (const Number& b : ones) EXPECT_EQ(a, b);
  EXPECT_EQ(Number(false), Number(-0.0));
  EXPECT_EQ(Number(0.0), Number(-0.0));
  EXPECT_EQ(Number(std::uint64_t{1} << 63), Number(kTwoTo63));
  EXPECT_EQ(Number(INT64_MIN), Number(-kTwoTo63));
  EXPECT_EQ(Number(kTwoTo53), Number(static_cast<double>(kTwoTo53)));
}

TEST(NumberTest, DiffersExactly) {
  const std::pair<Number, Number> rows[] = {
      {Number(true), Number(2)},
      {Number(true), Number(1.5)},
      {Number(kTwoTo53 + 1), Number(static_cast<double>(kTwoTo53))},
      {Number(-kTwoTo53 - 1), Number(static_cast<double>(-kTwoTo53))},
      {Number(INT64_MAX), Number(kTwoTo63)},
      {Number(UINT64_MAX), Number(kTwoTo64)},
      {Number(UINT64_MAX), Number(-1)},
      {Number(UINT64_MAX), Number(-1.0)},
      {Number(std::uint64_t{1} << 63), Number(INT64_MIN)},
      {Number(std::uint64_t{1} << 63), Number(-kTwoTo63)},
      {Number((std::uint64_t{1} << 63) + 1), Number(kTwoTo63)},
      {Number(UINT64_MAX), Number(kTwoTo63)},
      {Number(0), Number(5e-324)},
      {Number(INT64_MAX), Number(kInfinity)},
      {Number(INT64_MIN), Number(-kInfinity)},
      {Number(0), Number(kNan)},
      {Number(kNan), Number(kNan)},
      {Number(UINT64_MAX), Number(kNan)},
  };
  for (const auto& [a, b] : rows) {
    EXPECT_FALSE(a == b) << a.stringValue() << " and " << b.stringValue();
    EXPECT_FALSE(b == a) << b.stringValue() << " and " << a.stringValue();
  }
}

TEST(NumberTest, IdentityIsKindAndBits) {
  EXPECT_TRUE(isIdentical(Number(1), Number(1u)));
  EXPECT_FALSE(isIdentical(Number(1), Number(true)));
  EXPECT_FALSE(isIdentical(Number(1), Number(1.0)));
  EXPECT_FALSE(isIdentical(Number(0.0), Number(-0.0)));
  EXPECT_TRUE(isIdentical(Number(kNan), Number(kNan)));
  EXPECT_FALSE(isIdentical(Number(kNan), Number(-kNan)));
  EXPECT_FALSE(isIdentical(Number(UINT64_MAX), Number(-1)));
  EXPECT_TRUE(isIdentical(Number(UINT64_MAX), Number(UINT64_MAX)));
}

}  // namespace
}  // namespace qorvane
