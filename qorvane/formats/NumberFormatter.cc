#include "qorvane/formats/NumberFormatter.h"

#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/uniset.h>
#include <unicode/ustring.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "qorvane/formats/EverydayAmounts.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane::inline v1 {

namespace {

using Symbols = icu::DecimalFormatSymbols;

constexpr Text kDefaultPattern = "#,##0.###";

icu::StringPiece pieceOf(std::string_view bytes) {
  return {bytes.data(), static_cast<std::int32_t>(bytes.size())};
}

icu::UnicodeString wideOf(const Text& text) { return icu::UnicodeString::fromUTF8(pieceOf(text)); }

Text textOf(const icu::UnicodeString& wide) {
  // Amounts fit; each of ICU's units takes at most three bytes.
  char bytes[192];
  std::int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(bytes, sizeof bytes, &length, wide.getBuffer(), wide.length(), &status);
  if (U_SUCCESS(status)) return Text(std::string_view(bytes, static_cast<std::size_t>(length)));
  std::string longer;
  return Text(wide.toUTF8String(longer));
}

icu::Locale currentLocale() {
  for (const char* variable : {"LC_ALL", "LC_NUMERIC", "LANG"}) {
    const char* name = std::getenv(variable);
    if (!name || !*name) continue;
    // "C", "C.UTF-8" and "POSIX" name no language.
    const std::string_view language =
        std::string_view(name).substr(0, std::string_view(name).find_first_of(".@"));
    if (language == "C" || language == "POSIX") break;
    return icu::Locale::createCanonical(name);
  }
  return icu::Locale("en_US_POSIX");
}

Symbols symbolsOf(const Text& locale) {
  UErrorCode status = U_ZERO_ERROR;
  Symbols symbols(locale.isNil() ? currentLocale() : icu::Locale::createCanonical(locale.c_str()), status);
  if (U_FAILURE(status))
    throw Exception({FailureCode::localeUnusable, {locale, Text(std::string_view(u_errorName(status)))}});
  return symbols;
}

// Where the first semicolon outside quotes is, or npos.
std::size_t semicolonIn(std::string_view pattern) {
  bool quoted = false;
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    if (pattern[at] == '\'') quoted = !quoted;
    if (pattern[at] == ';' && !quoted) return at;
  }
  return pattern.npos;
}

Exception notAFormat(const Text& pattern, UErrorCode status) {
  return Exception({FailureCode::numberFormatBad, {pattern, Text(std::string_view(u_errorName(status)))}});
}

// One half of a pattern, or the whole of a lone one.
class Half {
 public:
  Half(std::string_view pattern, bool lone, const Symbols& symbols, UErrorCode& status)
      : format(icu::UnicodeString::fromUTF8(pieceOf(pattern)), symbols, status) {
    // An empty half is a slip, and one with a semicolon would be two.
    if (U_SUCCESS(status) && (pattern.empty() || semicolonIn(pattern) != pattern.npos))
      status = U_PATTERN_SYNTAX_ERROR;
    if (U_FAILURE(status)) return;
    format.setLenient(false);
    if (!format.isScientificNotation()) format.setAttribute(UNUM_PARSE_NO_EXPONENT, 1, status);
    if (!lone) {
      // ICU would also read a number behind a minus sign, or behind one more.
      icu::UnicodeString affix;
      format.setNegativePrefix(format.getPositivePrefix(affix));
      format.setNegativeSuffix(format.getPositiveSuffix(affix));
    }
    allowCharacters(symbols, status);
  }

  Text text(double number) const {
    icu::UnicodeString wide;
    return textOf(format.format(number, wide));
  }

  // The number that the whole text shows. The sign is that of a lone format; in a half it means nothing.
  std::optional<double> parse(const icu::UnicodeString& text) const {
    if (text.isEmpty() || allowed_.span(text, 0, USET_SPAN_SIMPLE) != text.length()) return std::nullopt;
    icu::Formattable result;
    icu::ParsePosition position(0);
    format.parse(text, result, position);
    if (position.getIndex() != text.length()) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const double number = result.getDouble(status);
    return U_SUCCESS(status) && std::isfinite(number) ? std::optional(number) : std::nullopt;
  }

  icu::DecimalFormat format;

 private:
  // By itself ICU also takes the separators and digits of other locales: "1.234" would be a thousand in
  // French.
  void allowCharacters(const Symbols& symbols, UErrorCode& status) {
    const UChar32 zero = symbols.getCodePointZero();
    allowed_.add(u'0', u'9').add(zero, zero + 9).add(u'\u2212');
    for (const auto symbol :
         {Symbols::kDecimalSeparatorSymbol, Symbols::kGroupingSeparatorSymbol, Symbols::kMinusSignSymbol})
      allowed_.addAll(symbols.getConstSymbol(symbol));
    const icu::UnicodeSet spaces(u"[\\u0020\\u00A0\\u2009\\u202F]", status);
    if (spaces.containsSome(symbols.getConstSymbol(Symbols::kGroupingSeparatorSymbol)))
      allowed_.addAll(spaces);
    if (format.isScientificNotation())
      for (const auto symbol : {Symbols::kExponentialSymbol, Symbols::kPlusSignSymbol})
        allowed_.addAll(symbols.getConstSymbol(symbol));
    icu::UnicodeString affix;
    allowed_.addAll(format.getPositivePrefix(affix));
    allowed_.addAll(format.getPositiveSuffix(affix));
    allowed_.addAll(format.getNegativePrefix(affix));
    allowed_.addAll(format.getNegativeSuffix(affix));
    allowed_.freeze();
  }

  icu::UnicodeSet allowed_;
};

}  // namespace

struct NumberFormatter::Machine {
  Machine(const Text& pattern, const Symbols& symbols) {
    const std::string_view whole = pattern.view();
    const std::size_t split = semicolonIn(whole);
    UErrorCode status = U_ZERO_ERROR;
    positive.emplace(whole.substr(0, split), split == whole.npos, symbols, status);
    if (U_SUCCESS(status) && split != whole.npos)
      negative.emplace(whole.substr(split + 1), false, symbols, status);
    if (U_FAILURE(status)) throw notAFormat(pattern, status);

    zero = positive->text(0);
    if (negative)
      negative->format.format(0.0, zeroFromBelow);
    else
      positive->format.format(-0.0, zeroFromBelow);

    everyday = EverydayAmounts([&](double amount) { return positive->text(amount); });
    everydayBelowZero = EverydayAmounts([&](double amount) { return textBelowZero(-amount); });
  }

  Text textBelowZero(double number) const {
    return textBelowZero([&](const icu::DecimalFormat& format, icu::UnicodeString& wide) {
      format.format(negative ? -number : number, wide);
    });
  }

  // The text of a number below zero: format(half, out) writes it by the half, with its sign when the half
  // shows the other numbers too.
  template <class Format>
  Text textBelowZero(Format format) const {
    icu::UnicodeString wide;
    format(negative ? negative->format : positive->format, wide);
    return wide == zeroFromBelow ? zero : textOf(wide);
  }

  std::optional<Half> positive;
  std::optional<Half> negative;
  // What zero looks like, and what a number looks like that becomes zero only by rounding.
  Text zero;
  icu::UnicodeString zeroFromBelow;
  EverydayAmounts everyday;
  EverydayAmounts everydayBelowZero;
};

NumberFormatter::NumberFormatter() = default;
NumberFormatter::~NumberFormatter() = default;

void NumberFormatter::setLocale(Text identifier) {
  locale_ = std::move(identifier);
  machine_.reset();
}

void NumberFormatter::setFormat(Text pattern) {
  pattern_ = std::move(pattern);
  machine_.reset();
}

NumberFormatter::Machine& NumberFormatter::machine() const {
  if (!machine_)
    machine_ = std::make_unique<Machine>(pattern_.isNil() ? kDefaultPattern : pattern_, symbolsOf(locale_));
  return *machine_;
}

Text NumberFormatter::stringFromNumber(double number) const {
  const Machine& made = machine();
  // Without the sign that zero and NaN may carry.
  const double amount = std::abs(number);
  Text text = number < 0 ? made.everydayBelowZero.text(amount) : made.everyday.text(amount);
  if (!text.isNil()) return text;
  return number < 0 ? made.textBelowZero(number) : made.positive->text(amount);
}

Text NumberFormatter::stringFromNumber(const Number& number) const {
  constexpr std::int64_t kExactInDoubles = std::int64_t{1} << 53;
  const std::int64_t whole = number.int64Value();
  if (number.kind() == Number::Kind::Real || (whole >= -kExactInDoubles && whole <= kExactInDoubles))
    return stringFromNumber(number.doubleValue());
  const Machine& made = machine();
  const Text digits = number.stringValue();
  UErrorCode status = U_ZERO_ERROR;
  if (whole < 0)
    return made.textBelowZero([&](const icu::DecimalFormat& format, icu::UnicodeString& wide) {
      format.format(pieceOf(digits.view().substr(made.negative ? 1 : 0)), wide, nullptr, status);
    });
  icu::UnicodeString wide;
  return textOf(made.positive->format.format(pieceOf(digits), wide, nullptr, status));
}

std::optional<double> NumberFormatter::numberFromString(const Text& text) const {
  const Machine& made = machine();
  if (const std::optional<double> amount = made.everyday.amount(text)) return amount;
  const icu::UnicodeString wide = wideOf(text);
  if (const std::optional<double> number = made.positive->parse(wide))
    // Adding zero takes the sign from −0.
    return made.negative ? std::abs(*number) : *number + 0.0;
  if (!made.negative) return std::nullopt;
  if (const std::optional<double> number = made.negative->parse(wide)) return 0.0 - std::abs(*number);
  return std::nullopt;
}

}  // namespace qorvane::inline v1
