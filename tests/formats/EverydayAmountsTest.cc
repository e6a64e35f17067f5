// Amounts written and read without ICU, with ICU as the oracle.
#include "qorvane/formats/EverydayAmounts.h"

#include <gtest/gtest.h>
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>

#include <cmath>
#include <random>
#include <string>

#include "tests/Counts.h"

namespace qorvane {
namespace {

// One half of a format, by ICU alone.
class Oracle {
 public:
  Oracle(const char* locale, const char16_t* pattern)
      : format_(pattern, icu::DecimalFormatSymbols(locale, status_), status_) {
    format_.setLenient(false);
    format_.setAttribute(UNUM_PARSE_NO_EXPONENT, 1, status_);
  }

  Text text(double amount) const {
    icu::UnicodeString wide;
    std::string bytes;
    return Text(format_.format(amount, wide).toUTF8String(bytes));
  }
  std::optional<double> amount(const Text& text) const {
    icu::Formattable number;
    icu::ParsePosition position(0);
    const icu::UnicodeString wide = icu::UnicodeString::fromUTF8(text.c_str());
    format_.parse(wide, number, position);
    UErrorCode status = U_ZERO_ERROR;
    return position.getIndex() == wide.length() ? std::optional(number.getDouble(status)) : std::nullopt;
  }
  EverydayAmounts everyday() const {
    return EverydayAmounts([this](double amount) { return text(amount); });
  }

 private:
  UErrorCode status_ = U_ZERO_ERROR;
  icu::DecimalFormat format_;
};

TEST(EverydayAmountsTest, AreWrittenAndRead) {
  const EverydayAmounts english = Oracle("en_CA", u"###,##0.00").everyday();
  EXPECT_EQ(english.text(1234567.891), Text("1,234,567.89"));
  EXPECT_EQ(english.text(0.996), Text("1.00"));
  EXPECT_EQ(english.text(0), Text("0.00"));
  EXPECT_EQ(english.amount("1,234,567.89"), 1234567.89);
  EXPECT_EQ(english.amount("1234567.8"), 1234567.8);
  EXPECT_EQ(english.amount("7"), 7);

  const EverydayAmounts french = Oracle("fr_CA", u"###,##0.00").everyday();
  EXPECT_EQ(french.text(1234.5), Text("1\u00A0234,50"));
  EXPECT_EQ(french.amount("1\u00A0234,50"), 1234.5);

  const EverydayAmounts whole = Oracle("en_CA", u"(#####0)").everyday();
  EXPECT_EQ(whole.text(1234567), Text("(1234567)"));
  EXPECT_EQ(whole.amount("(12)"), 12);
  EXPECT_EQ(whole.amount("1234"), std::nullopt);
  EXPECT_EQ(whole.amount("(123"), std::nullopt);
  EXPECT_EQ(english.amount("0"), 0);
}

TEST(EverydayAmountsTest, AreNotTheCloseTheLargeAndTheOdd) {
  const EverydayAmounts amounts = Oracle("en_CA", u"###,##0.00").everyday();
  for (const double amount : {2.675, 0.125, 0.005, 1e9, 1e300, HUGE_VAL, std::nan("")})
    EXPECT_TRUE(amounts.text(amount).isNil()) << amount;
  for (const char* text : {"", ".", "1.", ".5", "-1", "1,2", "1,2345", "1234,567", "1,234567", "01", "1.5.5",
                           "1 000", "1e5", " 1", "1 ", "1234567890123456", "1.234567890123456", "\u0661"})
    EXPECT_EQ(amounts.amount(text), std::nullopt) << text;
}

TEST(EverydayAmountsTest, AreNoneInAFormatThatCannotBeLearned) {
  for (const char16_t* pattern : {u"#,##,##0.00", u"#,##0.##", u"0000.00", u"#,##0.05", u"0.00%", u"0.00E0",
                                  u"@@@", u"#,##0.0000", u"0.00 'in 12 parts'"})
    EXPECT_TRUE(Oracle("en_CA", pattern).everyday().text(12).isNil());
  EXPECT_TRUE(Oracle("ar_EG", u"#,##0.00").everyday().text(12).isNil());
  EXPECT_TRUE(EverydayAmounts().text(12).isNil());
  EXPECT_EQ(EverydayAmounts().amount("12"), std::nullopt);
}

// Whatever a format shows for its sample, 1234567: what is no such number is not taken for one.
TEST(EverydayAmountsTest, AreNoneWhereTheSampleShowsNone) {
  for (const char* sample :
       {"", "none", "1", "12", "1 and a long way to 2", "1234", "1,234", "1,2345", "1,234.567", "1,234,56",
        "1,234,5670", "1,234,567,00", "1234567.0000", "1234567.and a long way to 0", "9 1234567", "1234567 9",
        "a long prefix 1234567", "1234567 a long suffix", "1\u0662\u0663\u0664567"}) {
    const EverydayAmounts amounts([&](double) { return Text(std::string_view(sample)); });
    EXPECT_TRUE(amounts.text(12).isNil()) << sample;
    EXPECT_EQ(amounts.amount("12"), std::nullopt) << sample;
  }
}

// A million amounts, or ten million in scripts/long, of the kinds that returns hold, and of those that are
// dear to round.
TEST(EverydayAmountsSlowTest, AgreeWithIcu) {
  std::mt19937_64 random(20201231);
  const auto upTo = [&](std::uint64_t limit) { return static_cast<double>(random() % limit); };
  const Oracle oracles[] = {{"en_CA", u"###,##0.00"}, {"fr_CA", u"#####0.00"}, {"en_CA", u"###,##0"}};
  const int amounts = testing_support::wholeOrPart(10'000'000, 1'000'000);
  int answered = 0;
  int wrong = 0;
  for (const Oracle& oracle : oracles) {
    const EverydayAmounts everyday = oracle.everyday();
    for (int i = 0; i < amounts / 3 && wrong < 10; ++i) {
      double amount = upTo(100'000'000'000) / 100;
      if (i % 4 == 1) amount = upTo(1'000'000'000) / 1000;
      if (i % 4 == 2) amount = std::nextafter(upTo(100'000'000) / 1000, i % 8 < 4 ? 0 : 1e9);
      if (i % 4 == 3) amount = std::ldexp(upTo(std::uint64_t{1} << 53), static_cast<int>(random() % 40) - 60);
      const Text text = everyday.text(amount);
      if (text.isNil()) continue;
      ++answered;
      if (text != oracle.text(amount)) {
        ADD_FAILURE() << std::hexfloat << amount << " became " << text << ", not " << oracle.text(amount);
        ++wrong;
      }
      // Reading is dearer; every eighth will do.
      if (i % 8 == 0 && everyday.amount(text) != oracle.amount(text)) {
        ADD_FAILURE() << text << " is read otherwise";
        ++wrong;
      }
    }
  }
  EXPECT_GT(answered, amounts / 10 * 8) << "everyday amounts are to be answered";
}

}  // namespace
}  // namespace qorvane
