#include "qorvane/formats/NumberFormatter.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include "qorvane/foundation/Exception.h"

namespace qorvane {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr Text kDollarsAndCents = "###,##0.00;-#####0.00";
constexpr Text kWholeDollars = "###,##0;-#####0";
constexpr Text kParentheses = "#####0.00;(#####0.00)";
constexpr Text kEditing = "#####0.00";

std::unique_ptr<NumberFormatter> formatter(const Text& locale, const Text& format) {
  auto made = std::make_unique<NumberFormatter>();
  made->setLocale(locale);
  made->setFormat(format);
  return made;
}

TEST(NumberFormatterTest, ShowsAmounts) {
  const struct {
    Text locale;
    Text format;
    double number;
    Text text;
  } rows[] = {
      {"en_CA", kDollarsAndCents, 1234567.891, "1,234,567.89"},
      {"en_CA", kDollarsAndCents, -1234567.891, "-1234567.89"},
      {"en_CA", kDollarsAndCents, 1234.567, "1,234.57"},
      {"en_CA", kDollarsAndCents, -1234.567, "-1234.57"},
      {"en_CA", kDollarsAndCents, 0, "0.00"},
      {"en_CA", kDollarsAndCents, 0.5, "0.50"},
      {"en_CA", kDollarsAndCents, 999.999, "1,000.00"},
      {"en_CA", kDollarsAndCents, -999.999, "-1000.00"},
      {"en_CA", kDollarsAndCents, 1e15, "1,000,000,000,000,000.00"},
      {"en_CA", kWholeDollars, 1234.567, "1,235"},
      {"en_CA", kWholeDollars, -1234.567, "-1235"},
      {"en_CA", kWholeDollars, 0, "0"},
      {"en_CA", kParentheses, 1234.567, "1234.57"},
      {"en_CA", kParentheses, -1234.567, "(1234.57)"},
      {"en_CA", kEditing, 1234.567, "1234.57"},
      {"en_CA", kEditing, -1234.567, "-1234.57"},
      {"fr_CA", kDollarsAndCents, 1234567.891, "1\u00A0234\u00A0567,89"},
      {"fr_CA", kDollarsAndCents, -1234567.891, "-1234567,89"},
      {"fr_CA", kWholeDollars, 1234567.891, "1\u00A0234\u00A0568"},
      {"fr_CA", kWholeDollars, -1234567.891, "-1234568"},
      {"fr_CA", kParentheses, -1234.567, "(1234,57)"},
      {"fr_CA", kEditing, -1234.567, "-1234,57"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(formatter(row.locale, row.format)->stringFromNumber(row.number), row.text)
        << row.locale << ' ' << row.format << ' ' << row.number;
}

TEST(NumberFormatterTest, RoundsHalfToEvenOnTheDecimalText) {
  const auto cents = formatter("en_CA", kDollarsAndCents);
  const struct {
    double number;
    Text text;
  } rows[] = {
      {0.125, "0.12"},   {0.375, "0.38"},     {0.005, "0.00"},   {0.015, "0.02"},
      {1.005, "1.00"},   {2.675, "2.68"},     {-0.125, "-0.12"}, {-0.375, "-0.38"},
      {-2.675, "-2.68"}, {0.1 + 0.2, "0.30"}, {1.0051, "1.01"},  {-0.015, "-0.02"},
  };
  for (const auto& row : rows) EXPECT_EQ(cents->stringFromNumber(row.number), row.text) << row.number;
  const auto dollars = formatter("en_CA", kWholeDollars);
  EXPECT_EQ(dollars->stringFromNumber(0.5), Text("0"));
  EXPECT_EQ(dollars->stringFromNumber(1.5), Text("2"));
  EXPECT_EQ(dollars->stringFromNumber(2.5), Text("2"));
  EXPECT_EQ(dollars->stringFromNumber(-2.5), Text("-2"));
}

TEST(NumberFormatterTest, WhatRoundsToZeroIsShownAsZero) {
  for (const Text& locale : {Text("en_CA"), Text("fr_CA")})
    for (const Text& format : {kDollarsAndCents, kWholeDollars, kParentheses, kEditing}) {
      const auto each = formatter(locale, format);
      const Text zero = each->stringFromNumber(0.0);
      for (const double number : {-0.0, 0.001, -0.001, -0.005, -5e-324})
        EXPECT_EQ(each->stringFromNumber(number), zero) << locale << ' ' << format << ' ' << number;
    }
  EXPECT_EQ(formatter("en_CA", kDollarsAndCents)->stringFromNumber(-0.001), Text("0.00"));
  EXPECT_EQ(formatter("en_CA", kParentheses)->stringFromNumber(-0.004), Text("0.00"));
  EXPECT_EQ(formatter("en_CA", kParentheses)->stringFromNumber(-0.006), Text("(0.01)"));
  EXPECT_EQ(formatter("en_CA", "0.0%")->stringFromNumber(-0.004), Text("-0.4%"));
  EXPECT_EQ(formatter("en_CA", "0.0%")->stringFromNumber(-0.0004), Text("0.0%"));
}

TEST(NumberFormatterTest, ShowsWhatIsNoNumberAndWhatHasNoEnd) {
  const auto parentheses = formatter("en_CA", kParentheses);
  EXPECT_EQ(parentheses->stringFromNumber(kNan), Text("NaN"));
  EXPECT_EQ(parentheses->stringFromNumber(-kNan), Text("NaN"));
  EXPECT_EQ(parentheses->stringFromNumber(kInfinity), Text("∞"));
  EXPECT_EQ(parentheses->stringFromNumber(-kInfinity), Text("(∞)"));
  EXPECT_EQ(formatter("fr_CA", kEditing)->stringFromNumber(-kInfinity), Text("-∞"));
}

TEST(NumberFormatterTest, ShowsTheLongestNumbers) {
  const auto cents = formatter("en_CA", kDollarsAndCents);
  const Text longest = cents->stringFromNumber(-std::numeric_limits<double>::max());
  EXPECT_TRUE(longest.view().starts_with("-17976931348623157000000")) << longest;
  EXPECT_EQ(longest.size(), 313u);
  EXPECT_EQ(cents->numberFromString(longest), -std::numeric_limits<double>::max());
}

TEST(NumberFormatterTest, ShowsStoredNumbers) {
  const auto dollars = formatter("en_CA", kWholeDollars);
  EXPECT_EQ(dollars->stringFromNumber(Number(true)), Text("1"));
  EXPECT_EQ(dollars->stringFromNumber(Number(-1234)), Text("-1234"));
  EXPECT_EQ(dollars->stringFromNumber(Number(1234.5)), Text("1,234"));
  EXPECT_EQ(dollars->stringFromNumber(1234), Text("1,234"));
  EXPECT_EQ(dollars->stringFromNumber(Number(INT64_MAX)), Text("9,223,372,036,854,775,807"));
  EXPECT_EQ(dollars->stringFromNumber(Number(INT64_MIN)), Text("-9223372036854775808"));
  EXPECT_EQ(dollars->stringFromNumber(Number(UINT64_MAX)), Text("18,446,744,073,709,551,615"));
  EXPECT_EQ(formatter("fr_CA", kEditing)->stringFromNumber(Number(INT64_MIN)),
            Text("-9223372036854775808,00"));
  EXPECT_EQ(formatter("en_CA", kParentheses)->stringFromNumber(Number((std::int64_t{1} << 53) + 1)),
            Text("9007199254740993.00"));
}

TEST(NumberFormatterTest, ReadsAmounts) {
  const struct {
    Text locale;
    Text format;
    Text text;
    std::optional<double> number;
  } rows[] = {
      {"en_CA", kDollarsAndCents, "1,234,567.89", 1234567.89},
      {"en_CA", kDollarsAndCents, "1234567.89", 1234567.89},
      {"en_CA", kDollarsAndCents, "-1234567.89", -1234567.89},
      {"en_CA", kDollarsAndCents, "\u22125", -5},
      {"en_CA", kDollarsAndCents, "0.00", 0},
      {"en_CA", kDollarsAndCents, "5", 5},
      {"en_CA", kDollarsAndCents, "5.", 5},
      {"en_CA", kDollarsAndCents, ".5", 0.5},
      {"en_CA", kDollarsAndCents, "007", 7},
      {"en_CA", kDollarsAndCents, "1,234.56789", 1234.56789},
      {"en_CA", kWholeDollars, "1,235", 1235},
      {"en_CA", kWholeDollars, "-1235", -1235},
      {"en_CA", kParentheses, "(1234.57)", -1234.57},
      {"en_CA", kParentheses, "1234.57", 1234.57},
      {"en_CA", kEditing, "-1234.57", -1234.57},
      {"fr_CA", kDollarsAndCents, "1\u00A0234,57", 1234.57},
      {"fr_CA", kDollarsAndCents, "1 234,57", 1234.57},
      {"fr_CA", kDollarsAndCents, "1\u202F234,57", 1234.57},
      {"fr_CA", kDollarsAndCents, "1234,57", 1234.57},
      {"fr_CA", kDollarsAndCents, "-1234,57", -1234.57},
      {"fr_CA", kEditing, "1,5", 1.5},
      // Not wholly a number of the locale and the format.
      {"en_CA", kDollarsAndCents, nullptr, {}},
      {"en_CA", kDollarsAndCents, "", {}},
      {"en_CA", kDollarsAndCents, "abc", {}},
      {"en_CA", kDollarsAndCents, "12 ", {}},
      {"en_CA", kDollarsAndCents, " 12", {}},
      {"en_CA", kDollarsAndCents, "12\n", {}},
      {"en_CA", kDollarsAndCents, "12x", {}},
      {"en_CA", kDollarsAndCents, "12$", {}},
      {"en_CA", kDollarsAndCents, "1\0002", {}},
      {"en_CA", kDollarsAndCents, "1.2.3", {}},
      {"en_CA", kDollarsAndCents, "1,5", {}},
      {"en_CA", kDollarsAndCents, "12,34", {}},
      {"en_CA", kDollarsAndCents, "1,,234", {}},
      {"en_CA", kDollarsAndCents, "1,234,", {}},
      {"en_CA", kDollarsAndCents, "1 234.57", {}},
      {"en_CA", kDollarsAndCents, "1\u00A0234", {}},
      {"en_CA", kDollarsAndCents, "1'234", {}},
      {"en_CA", kDollarsAndCents, "-1,234.57", {}},
      {"en_CA", kDollarsAndCents, "--5", {}},
      {"en_CA", kDollarsAndCents, "+5", {}},
      {"en_CA", kDollarsAndCents, "-", {}},
      {"en_CA", kDollarsAndCents, ".", {}},
      {"en_CA", kDollarsAndCents, "(5)", {}},
      {"en_CA", kDollarsAndCents, "1e5", {}},
      {"en_CA", kDollarsAndCents, "1E5", {}},
      {"en_CA", kDollarsAndCents, "0x10", {}},
      {"en_CA", kDollarsAndCents, "NaN", {}},
      {"en_CA", kDollarsAndCents, "∞", {}},
      {"en_CA", kDollarsAndCents, "-∞", {}},
      {"en_CA", kDollarsAndCents, "٣", {}},
      {"en_CA", kDollarsAndCents, "５", {}},
      {"en_CA", kDollarsAndCents, Text("1" + std::string(400, '0')), {}},
      {"en_CA", kParentheses, "-5", {}},
      {"en_CA", kParentheses, "(5", {}},
      {"en_CA", kParentheses, "5)", {}},
      {"en_CA", kParentheses, "((5))", {}},
      {"en_CA", kParentheses, "-(5)", {}},
      {"en_CA", kParentheses, "()", {}},
      {"en_CA", kParentheses, "1,234", {}},
      {"en_CA", kEditing, "1,234.57", {}},
      {"en_CA", kEditing, "--5", {}},
      {"fr_CA", kDollarsAndCents, "1.234", {}},
      {"fr_CA", kDollarsAndCents, "1.5", {}},
      {"fr_CA", kDollarsAndCents, "1,234.57", {}},
      {"fr_CA", kDollarsAndCents, "1 2345", {}},
      {"fr_CA", kDollarsAndCents, "- 5", {}},
      {"fr_CA", kEditing, "1 234,57", {}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(formatter(row.locale, row.format)->numberFromString(row.text), row.number)
        << row.locale << ' ' << row.format << ' ' << row.text;
}

TEST(NumberFormatterTest, AZeroReadIsNeverNegative) {
  for (const auto& [format, text] :
       {std::pair(kEditing, Text("-0")), {kDollarsAndCents, Text("-0.00")}, {kParentheses, Text("(0.00)")}}) {
    const std::optional<double> number = formatter("en_CA", format)->numberFromString(text);
    ASSERT_EQ(number, 0.0) << text;
    EXPECT_FALSE(std::signbit(*number)) << text;
  }
}

TEST(NumberFormatterTest, WhatIsShownReadsBack) {
  std::mt19937_64 random(1867);
  for (const Text& locale : {Text("en_CA"), Text("fr_CA")})
    for (const Text& format : {kDollarsAndCents, kParentheses, kEditing}) {
      const auto each = formatter(locale, format);
      for (int i = 0; i < 2000; ++i) {
        const double cents =
            static_cast<double>(static_cast<std::int64_t>(random() % 2'000'000'000'000) - 1'000'000'000'000);
        const double amount = cents / 100;
        const Text text = each->stringFromNumber(amount);
        ASSERT_EQ(each->numberFromString(text), amount) << locale << ' ' << format << ' ' << text;
      }
    }
}

TEST(NumberFormatterTest, EachHalfAgreesWithIcuByItself) {
  std::mt19937_64 random(2020);
  for (const char* locale : {"en_CA", "fr_CA", "de_CH", "ar_EG", "hi_IN"})
    for (const char* positive : {"###,##0.00", "#,##,##0.###", "0.0E0", "'CAD' 0", "#,##0.00 ¤", "0%"}) {
      UErrorCode status = U_ZERO_ERROR;
      const icu::DecimalFormat raw(icu::UnicodeString::fromUTF8(positive),
                                   icu::DecimalFormatSymbols(locale, status), status);
      const icu::DecimalFormat rawBelow(u"<0.0>", icu::DecimalFormatSymbols(locale, status), status);
      ASSERT_TRUE(U_SUCCESS(status));
      const auto both = formatter(Text(std::string(locale)), Text(std::string(positive) + ";<0.0>"));
      const auto lone = formatter(Text(std::string(locale)), Text(std::string(positive)));
      for (int i = 0; i < 300; ++i) {
        const double number = 1 + static_cast<double>(random() % 1'000'000'000) / 1000;
        const auto shown = [](const icu::DecimalFormat& format, double value) {
          icu::UnicodeString wide;
          std::string bytes;
          return format.format(value, wide).toUTF8String(bytes);
        };
        ASSERT_EQ(both->stringFromNumber(number).view(), shown(raw, number));
        ASSERT_EQ(both->stringFromNumber(-number).view(), shown(rawBelow, number));
        ASSERT_EQ(lone->stringFromNumber(number).view(), shown(raw, number));
        ASSERT_EQ(lone->stringFromNumber(-number).view(), shown(raw, -number));
      }
    }
}

TEST(NumberFormatterTest, KeepsToItsLocaleWhateverTheProcessHas) {
  for (const char* environment : {"C", "fr_CA.UTF-8", "en_CA.UTF-8", "de_DE.UTF-8"}) {
    setenv("LC_ALL", environment, 1);
    EXPECT_EQ(formatter("en_CA", kDollarsAndCents)->stringFromNumber(1234.5), Text("1,234.50"));
    EXPECT_EQ(formatter("fr_CA", kDollarsAndCents)->stringFromNumber(1234.5), Text("1\u00A0234,50"));
  }
}

TEST(NumberFormatterTest, WithoutALocaleItIsTheProcesssCurrentOne) {
  const struct {
    const char* all;
    const char* numeric;
    const char* language;
    Text text;
  } rows[] = {
      {"fr_CA.UTF-8", "en_CA.UTF-8", "en_CA.UTF-8", "1\u00A0234,50"},
      {"", "fr_CA.UTF-8", "en_CA.UTF-8", "1\u00A0234,50"},
      {nullptr, nullptr, "fr_CA.UTF-8", "1\u00A0234,50"},
      {nullptr, "en_CA", "fr_CA.UTF-8", "1,234.50"},
      {"de_DE@euro", nullptr, nullptr, "1.234,50"},
      {"C", "fr_CA", "fr_CA", "1,234.50"},
      {"C.UTF-8", nullptr, nullptr, "1,234.50"},
      {"POSIX", nullptr, nullptr, "1,234.50"},
      {nullptr, nullptr, nullptr, "1,234.50"},
  };
  for (const auto& row : rows) {
    const auto set = [](const char* name, const char* value) {
      value ? setenv(name, value, 1) : unsetenv(name);
    };
    set("LC_ALL", row.all);
    set("LC_NUMERIC", row.numeric);
    set("LANG", row.language);
    EXPECT_EQ(formatter(nullptr, "#,##0.00")->stringFromNumber(1234.5), row.text)
        << (row.all ? row.all : "-") << ' ' << (row.language ? row.language : "-");
  }
}

TEST(NumberFormatterTest, LocaleAndFormatMayChange) {
  NumberFormatter each;
  each.setLocale("en_CA");
  EXPECT_EQ(each.stringFromNumber(1234.5678), Text("1,234.568"));
  each.setFormat(kParentheses);
  EXPECT_EQ(each.stringFromNumber(-1234.5), Text("(1234.50)"));
  each.setLocale("fr_CA");
  EXPECT_EQ(each.stringFromNumber(-1234.5), Text("(1234,50)"));
  each.setFormat(nullptr);
  EXPECT_EQ(each.stringFromNumber(-1234.5), Text("-1\u00A0234,5"));
}

TEST(NumberFormatterTest, QuotedSemicolonsAreText) {
  const auto quoted = formatter("en_CA", "0';';0';-'");
  EXPECT_EQ(quoted->stringFromNumber(5), Text("5;"));
  EXPECT_EQ(quoted->stringFromNumber(-5), Text("5;-"));
  EXPECT_EQ(quoted->numberFromString("5;-"), -5.0);
  EXPECT_EQ(formatter("en_CA", "0''")->stringFromNumber(5), Text("5'"));
}

TEST(NumberFormatterTest, ReadsExponentsWhereThePatternHasThem) {
  const auto scientific = formatter("en_CA", "0.0E0");
  EXPECT_EQ(scientific->stringFromNumber(123456), Text("1.2E5"));
  EXPECT_EQ(scientific->numberFromString("1.2E5"), 120000.0);
  EXPECT_EQ(scientific->numberFromString("1.2E-5"), 0.000012);
}

TEST(NumberFormatterTest, APatternThatIsNoneThrowsOnUse) {
  for (const Text& pattern : {Text(""), Text(";"), Text("0.00;"), Text(";0.00"), Text("0;0;0"), Text("0.0.0"),
                              Text("0#"), Text("0;'x"), Text("0,"), Text("#0#0.")}) {
    const auto broken = formatter("en_CA", pattern);
    EXPECT_THROW(broken->stringFromNumber(1), Exception) << pattern;
    EXPECT_THROW(broken->stringFromNumber(-1), Exception) << pattern;
    EXPECT_THROW(broken->stringFromNumber(Number(INT64_MAX)), Exception) << pattern;
    EXPECT_THROW(broken->numberFromString("1"), Exception) << pattern;
    broken->setFormat("0");
    EXPECT_EQ(broken->stringFromNumber(1), Text("1")) << pattern;
  }
}

}  // namespace
}  // namespace qorvane
