// The shared formatters: which one is answered, and how it shows amounts.
#include <stdlib.h>

#include <cmath>
#include <limits>
#include <optional>

#include "qorvane/formats/DateFormatter.h"
#include "qorvane/formats/NumberFormatter.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

// Runs before anything has made a formatter: each test is a process of its own.
class FormattersTest : public testing_support::StoreTest {
 protected:
  FormattersTest() {
    store.loadOptions();
    for (NumberFormatter** kept : {&numberForm, &numberFormFr, &numberFormWithoutDollar,
                                   &numberFormWithoutDollarFr, &numberFormForEdt}) {
      delete *kept;
      *kept = nullptr;
    }
    delete yearMonthDateForm;
    yearMonthDateForm = nullptr;
  }

  static std::string text(NumberFormatter* formatter, double amount) {
    return formatter->stringFromNumber(amount).string();
  }

  Options store;
};

TEST_F(FormattersTest, PersonalAmountsInEnglish) {
  NumberFormatter* form = store.numberFormatter();
  EXPECT_EQ(text(form, 1234.567), "1,234.57");
  EXPECT_EQ(text(form, -1234.567), "-1234.57");
  EXPECT_EQ(text(form, 1234567.891), "1,234,567.89");
  EXPECT_EQ(text(form, -1234567.891), "-1234567.89");
  EXPECT_EQ(text(form, 0), "0.00");
  EXPECT_EQ(text(form, 0.125), "0.12") << "half to even";
  EXPECT_EQ(text(form, 0.375), "0.38");
}

TEST_F(FormattersTest, CorporateAmountsInEnglish) {
  useProduct(true, 2020);
  NumberFormatter* form = store.numberFormatter();
  EXPECT_EQ(text(form, 1234.567), "1,235");
  EXPECT_EQ(text(form, -1234.567), "-1235");
  EXPECT_EQ(text(form, 0.5), "0");
  EXPECT_EQ(text(form, 1.5), "2");
}

TEST_F(FormattersTest, AmountsInFrench) {
  store.setLanguage("French");
  NumberFormatter* form = store.numberFormatter();
  EXPECT_EQ(text(form, 1234567.891), "1\u00a0234\u00a0567,89");
  EXPECT_EQ(text(form, -1234567.891), "-1234567,89");
  EXPECT_EQ(text(store.numberFormatterWithoutDollar(), -1234.567), "(1234,57)");
}

TEST_F(FormattersTest, AmountsInParentheses) {
  NumberFormatter* form = store.numberFormatterWithoutDollar();
  EXPECT_EQ(text(form, -1234.567), "(1234.57)");
  EXPECT_EQ(text(form, 1234.567), "1234.57");
  EXPECT_EQ(text(form, 1234567.891), "1234567.89");
}

TEST_F(FormattersTest, TheProductIsNotAskedForParentheses) {
  useProduct(true, 2020);
  EXPECT_EQ(text(store.numberFormatterWithoutDollar(), 1234.567), "1234.57");
}

TEST_F(FormattersTest, EditingFollowsTheProcessLocale) {
  setenv("LC_ALL", "fr_CA.UTF-8", 1);
  EXPECT_EQ(text(store.numberFormatterForEditing(), 1234.5), "1234,50");
  EXPECT_EQ(text(store.numberFormatterForEditing(), -1234.5), "-1234,50");
}

TEST_F(FormattersTest, EditingIsOneFormatterForBothLanguages) {
  NumberFormatter* english = store.numberFormatterForEditing();
  store.setLanguage("French");
  EXPECT_EQ(store.numberFormatterForEditing(), english);
  EXPECT_EQ(numberFormForEdt, english);
}

TEST_F(FormattersTest, EachLanguageKeepsItsFormatter) {
  EXPECT_EQ(numberForm, nullptr);
  NumberFormatter* english = store.numberFormatter();
  EXPECT_EQ(store.numberFormatter(), english);
  EXPECT_EQ(numberForm, english);
  EXPECT_EQ(numberFormFr, nullptr);
  store.setLanguage("anything else");
  NumberFormatter* french = store.numberFormatter();
  EXPECT_NE(french, english);
  EXPECT_EQ(numberFormFr, french);
  store.setLanguage("English");
  EXPECT_EQ(store.numberFormatter(), english);

  NumberFormatter* plain = store.numberFormatterWithoutDollar();
  EXPECT_EQ(numberFormWithoutDollar, plain);
  EXPECT_EQ(store.numberFormatterWithoutDollar(), plain);
  store.setLanguage("French");
  EXPECT_EQ(store.numberFormatterWithoutDollar(), numberFormWithoutDollarFr);
  EXPECT_NE(numberFormWithoutDollarFr, plain);
}

TEST_F(FormattersTest, TheProductCountsOnlyWhenAFormatterIsFirstMade) {
  NumberFormatter* form = store.numberFormatter();
  useProduct(true, 2020);
  EXPECT_EQ(store.numberFormatter(), form);
  EXPECT_EQ(text(form, 1234.567), "1,234.57");
  store.setLanguage("French");
  EXPECT_EQ(text(store.numberFormatter(), 1234.567), "1\u00a0235");
}

TEST_F(FormattersTest, WhatIsNoAmount) {
  NumberFormatter* form = store.numberFormatter();
  EXPECT_EQ(text(form, -0.0), "0.00");
  EXPECT_EQ(text(form, -0.001), "0.00");
  EXPECT_EQ(text(form, std::numeric_limits<double>::infinity()), "∞");
  EXPECT_EQ(text(form, -std::numeric_limits<double>::infinity()), "-∞");
  EXPECT_EQ(text(form, std::nan("")), "NaN");
}

TEST_F(FormattersTest, TextsReadBackInTheirOwnLocale) {
  EXPECT_EQ(store.numberFormatter()->numberFromString("1,234.57"), 1234.57);
  EXPECT_EQ(store.numberFormatter()->numberFromString("-1234.57"), -1234.57);
  EXPECT_EQ(store.numberFormatterWithoutDollar()->numberFromString("(1234.57)"), -1234.57);
  for (const Text& wrong : {Text("1234.57x"), Text(""), Text(), Text(" 1"), Text("1 234,57"), Text("abc")})
    EXPECT_EQ(store.numberFormatter()->numberFromString(wrong), std::nullopt) << wrong;
  store.setLanguage("French");
  EXPECT_EQ(store.numberFormatter()->numberFromString("1\u00a0234,57"), 1234.57);
  EXPECT_EQ(store.numberFormatter()->numberFromString("1,234.57"), std::nullopt);
}

TEST_F(FormattersTest, YearsAndMonthsBothWays) {
  DateFormatter* form = store.yearMonthDateFormatter();
  EXPECT_EQ(store.yearMonthDateFormatter(), form);
  EXPECT_EQ(yearMonthDateForm, form);
  const std::optional<Date> march = form->dateFromString("2020/03");
  ASSERT_TRUE(march);
  EXPECT_EQ(form->stringFromDate(*march), Text("2020/03"));
  EXPECT_EQ(form->dateFromString("2020/3"), std::nullopt);
  EXPECT_EQ(form->dateFromString("2020/03 "), std::nullopt);
}

}  // namespace
}  // namespace qorvane
