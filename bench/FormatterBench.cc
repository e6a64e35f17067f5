// Amounts, months and colours as texts, and back, beside ICU by itself with the same patterns, beside a
// hand-written table, and beside a desktop's own formatter.
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "bench/Peers.h"
#include "bench/Ratios.h"
#include "qorvane/formats/DateFormatter.h"
#include "qorvane/formats/NumberFormatter.h"
#include "qorvane/store/NSColorHexadecimalValue.h"

using namespace qorvane;

namespace {

constexpr std::array kAmounts = {0.0, 1234.567, 54321.1, 1234567.891, 0.5, 99.99, 100000.0, 7.25};
constexpr const char16_t* kPattern = u"###,##0.00;-#####0.00";
constexpr std::array kTexts = {Text("0.00"), Text("1,234.57"), Text("1,234,567.89"), Text("99.99")};

icu::DecimalFormat rawFormat(const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  return {pattern, icu::DecimalFormatSymbols("en_CA", status), status};
}

// Does `with(element)` for one element after the other.
template <class Elements, class With>
auto inTurn(const Elements& elements, With with) {
  return [&elements, with](std::size_t count) {
    for (std::size_t at = 0; count-- > 0; at = at + 1 == elements.size() ? 0 : at + 1) with(elements[at]);
  };
}

void amounts() {
  // ICU takes only the prefix of the negative half: the digits below zero are grouped.
  icu::DecimalFormat raw = rawFormat(kPattern);
  raw.setLenient(false);
  NumberFormatter formatter;
  formatter.setLocale("en_CA");
  formatter.setFormat("###,##0.00;-#####0.00");
  const auto byIcu = [&raw](double amount) {
    icu::UnicodeString wide;
    std::string bytes;
    ratios::keep(raw.format(amount, wide).toUTF8String(bytes));
  };

  ratios::Table table("Amounts and months as texts, and back");
  table.time("amount by ICU", inTurn(kAmounts, byIcu));
  table.time("amount below zero by ICU", inTurn(kAmounts, [&](double amount) { byIcu(-amount); }));
  table.time("amount",
             inTurn(kAmounts, [&](double amount) { ratios::keep(formatter.stringFromNumber(amount)); }));
  table.time("amount below zero",
             inTurn(kAmounts, [&](double amount) { ratios::keep(formatter.stringFromNumber(-amount)); }));
  table.time("reading an amount by ICU", inTurn(kTexts, [&](const Text& text) {
               icu::Formattable number;
               icu::ParsePosition position(0);
               raw.parse(icu::UnicodeString::fromUTF8(text.c_str()), number, position);
               UErrorCode status = U_ZERO_ERROR;
               ratios::keep(number.getDouble(status));
             }));
  table.time("reading an amount",
             inTurn(kTexts, [&](const Text& text) { ratios::keep(formatter.numberFromString(text)); }));
  if (peers::formatAmount)
    table.time("amount by QLocale", inTurn(kAmounts, [](double amount) { peers::formatAmount(amount); }));
  if (peers::parseAmount)
    table.time("reading an amount by QLocale",
               inTurn(kTexts, [](const Text& text) { peers::parseAmount(text.view()); }));

  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat rawMonth(u"uuuu'/'MM", icu::Locale::getRoot(), status);
  rawMonth.adoptTimeZone(icu::TimeZone::createTimeZone("America/St_Johns"));
  DateFormatter month;
  month.setDateFormat("%Y/%m");
  month.setTimeZone("America/St_Johns");
  double seconds = 6e8;
  table.time("month by ICU", [&](std::size_t count) {
    while (count-- > 0) {
      icu::UnicodeString wide;
      std::string bytes;
      ratios::keep(rawMonth.format(((seconds += 1e3) + 978307200) * 1e3, wide).toUTF8String(bytes));
    }
  });
  table.time("month", [&](std::size_t count) {
    while (count-- > 0) ratios::keep(month.stringFromDate({seconds += 1e3}));
  });

  table.compare("amount", "amount by ICU", 1.2);
  table.compare("amount", "amount by QLocale", 1);
  table.compare("amount below zero", "amount below zero by ICU", 1.2);
  table.compare("reading an amount", "reading an amount by ICU", 1.2);
  table.compare("reading an amount", "reading an amount by QLocale", 1);
  table.compare("month", "month by ICU", 1.2);
  table.run();
}

// The floor of a colour's text: two digits a channel from a table, and back through another.
constexpr char kDigits[] = "0123456789ABCDEF";
constexpr auto kDigitValues = [] {
  std::array<unsigned char, 256> values{};
  for (unsigned char digit = 0; digit < 16; ++digit) {
    values[static_cast<unsigned char>(kDigits[digit])] = digit;
    if (digit > 9) values[static_cast<unsigned char>(kDigits[digit] | 0x20)] = digit;
  }
  return values;
}();

Text handWritten(const std::array<double, 3>& channels) {
  char text[7] = {'#'};
  char* out = text + 1;
  for (const double channel : channels) {
    const auto code = static_cast<unsigned>(channel * 255.99998474121094);
    *out++ = kDigits[code >> 4 & 15];
    *out++ = kDigits[code & 15];
  }
  return Text(std::string_view(text, sizeof text));
}

std::optional<Color> handRead(std::string_view text) {
  if (text.size() != 7) return std::nullopt;
  double channels[3];
  for (std::size_t i = 0; i < 3; ++i) {
    const int code = kDigitValues[static_cast<unsigned char>(text[1 + 2 * i])] * 16 +
                     kDigitValues[static_cast<unsigned char>(text[2 + 2 * i])];
    channels[i] = static_cast<float>(code) / 255.99989318847656F;
  }
  return Color::colorWithCalibratedRed(channels[0], channels[1], channels[2], 0);
}

void colors() {
  const std::array<std::array<double, 3>, 4> channels = {
      {{1, 1, 0.8}, {0.2, 0.4, 0.6}, {0, 0, 0}, {0.99, 0.5, 0.25}}};
  std::array<Color, 4> colors = {
      Color::colorWithCalibratedRed(1, 1, 0.8, 1), Color::colorWithCalibratedRed(0.2, 0.4, 0.6, 1),
      Color::colorWithCalibratedRed(0, 0, 0, 1), Color::colorWithCalibratedRed(0.99, 0.5, 0.25, 1)};
  const std::array<Text, 4> texts = {Text("#FFFFCC"), Text("#336699"), Text("#000000"), Text("#fd8040")};

  ratios::Table table("Colours as hexadecimal texts, and back");
  table.time("a table by hand", inTurn(channels, [](const auto& one) { ratios::keep(handWritten(one)); }));
  table.time("text of a colour", inTurn(colors, [](const Color& color) {
               ratios::keep(NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(color));
             }));
  table.time("a table by hand, back", inTurn(texts, [](const Text& text) { ratios::keep(handRead(text)); }));
  table.time("colour of a text", inTurn(texts, [](const Text& text) {
               ratios::keep(NSColorHexadecimalValue::nsColorFromHexadecimalValue(text));
             }));
  table.compare("text of a colour", "a table by hand", 2);
  table.compare("colour of a text", "a table by hand, back", 2);
  table.run();
}

}  // namespace

int main() {
  amounts();
  colors();
}
