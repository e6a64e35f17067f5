// Formatting and reading amounts and months, beside ICU by itself with the same patterns.
#include <benchmark/benchmark.h>
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>

#include <array>
#include <string>

#include "qorvane/platform/DateFormatter.h"
#include "qorvane/platform/NumberFormatter.h"

namespace {

constexpr std::array kAmounts = {0.0, 1234.567, 54321.1, 1234567.891, 0.5, 99.99, 100000.0, 7.25};

icu::DecimalFormat rawFormat(const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  return {pattern, icu::DecimalFormatSymbols("en_CA", status), status};
}

void amountsByIcu(benchmark::State& state) {
  // ICU takes only the prefix of the negative half: the digits below zero are grouped.
  const icu::DecimalFormat format = rawFormat(u"###,##0.00;-#####0.00");
  const double sign = static_cast<double>(state.range(0));
  for (auto _ : state)
    for (const double amount : kAmounts) {
      icu::UnicodeString wide;
      std::string bytes;
      benchmark::DoNotOptimize(format.format(sign * amount, wide).toUTF8String(bytes));
    }
}
BENCHMARK(amountsByIcu)->ArgName("sign")->Arg(1)->Arg(-1);

void amounts(benchmark::State& state) {
  qorvane::NumberFormatter formatter;
  formatter.setLocale("en_CA");
  formatter.setFormat("###,##0.00;-#####0.00");
  const double sign = static_cast<double>(state.range(0));
  for (auto _ : state)
    for (const double amount : kAmounts) benchmark::DoNotOptimize(formatter.stringFromNumber(sign * amount));
}
BENCHMARK(amounts)->ArgName("sign")->Arg(1)->Arg(-1);

constexpr std::array kTexts = {qorvane::Text("0.00"), qorvane::Text("1,234.57"),
                               qorvane::Text("1,234,567.89"), qorvane::Text("99.99")};

void readAmountsByIcu(benchmark::State& state) {
  icu::DecimalFormat format = rawFormat(u"###,##0.00;-#####0.00");
  format.setLenient(false);
  for (auto _ : state)
    for (const qorvane::Text& text : kTexts) {
      icu::Formattable number;
      icu::ParsePosition position(0);
      format.parse(icu::UnicodeString::fromUTF8(text.c_str()), number, position);
      UErrorCode status = U_ZERO_ERROR;
      benchmark::DoNotOptimize(number.getDouble(status));
    }
}
BENCHMARK(readAmountsByIcu);

void readAmounts(benchmark::State& state) {
  qorvane::NumberFormatter formatter;
  formatter.setLocale("en_CA");
  formatter.setFormat("###,##0.00;-#####0.00");
  for (auto _ : state)
    for (const qorvane::Text& text : kTexts) benchmark::DoNotOptimize(formatter.numberFromString(text));
}
BENCHMARK(readAmounts);

void monthsByIcu(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(u"uuuu'/'MM", icu::Locale::getRoot(), status);
  format.adoptTimeZone(icu::TimeZone::createTimeZone("America/St_Johns"));
  double milliseconds = 1.6e12;
  for (auto _ : state) {
    icu::UnicodeString wide;
    std::string bytes;
    benchmark::DoNotOptimize(format.format(milliseconds += 1e6, wide).toUTF8String(bytes));
  }
}
BENCHMARK(monthsByIcu);

void months(benchmark::State& state) {
  qorvane::DateFormatter formatter;
  formatter.setDateFormat("%Y/%m");
  formatter.setTimeZone("America/St_Johns");
  double seconds = 6e8;
  for (auto _ : state) benchmark::DoNotOptimize(formatter.stringFromDate({seconds += 1e3}));
}
BENCHMARK(months);

}  // namespace
