// NumberFormatter: numbers to text and back, by a pattern and in a locale's manner.
//
// A pattern is one format, or two with a semicolon between: the first for zero and the numbers above, the
// second for those below, each whole by itself. In "###,##0.00;-#####0.00" only the positive half groups its
// digits. A lone format shows the numbers below zero behind the locale's minus sign. The letters are those of
// ICU's DecimalFormat: # an optional digit, 0 a required one, "," grouping, "." the decimal separator, '…'
// quoted text; in the locale's own characters they appear in the texts.
//
// Digits beyond those of the pattern are rounded half to even, on the shortest decimal text of the
// number: 2.675 is as near to 2.67 as to 2.68, and becomes 2.68.
//
// Nothing is made before the first number or text comes, so an unused formatter costs nothing; what is wrong
// with a pattern is told then. Main thread only.
#pragma once

#include <memory>
#include <optional>

#include "qorvane/foundation/Number.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class NumberFormatter {
 public:
  /// In the process's current locale, with the pattern "#,##0.###".
  NumberFormatter();
  ~NumberFormatter();
  NumberFormatter(const NumberFormatter&) = delete;
  NumberFormatter& operator=(const NumberFormatter&) = delete;

  /// The locale's identifier, such as "fr_CA"; for an unknown one ICU's default serves. Nil: the process's
  /// current locale, the first of LC_ALL, LC_NUMERIC and LANG that is not empty when the formatter is first
  /// used.
  void setLocale(Text identifier);
  /// The pattern; nil: "#,##0.###".
  void setFormat(Text pattern);

  /// The number's text. A number that rounds to zero is shown as zero, never with a sign: −0.001 and −0.0 as
  /// "0.00". Infinity is the locale's sign for it (∞) in the half that it belongs to, NaN the locale's word
  /// in the first half. Throws Exception when the pattern is none.
  Text stringFromNumber(double number) const;
  /// The same of a stored number; whole numbers are exact to the last of their 64 bits, true is 1.
  Text stringFromNumber(const Number& number) const;

  /// The number that the text shows: wholly, in this locale's own characters, and in the form of one of the
  /// halves. Grouping separators may be left out, but stand in their places when they are there, and not in a
  /// format without grouping; where the locale groups by a space, any kind of space will do. Fewer or more
  /// decimals than the pattern's are read as they stand. None for anything else: nil, blanks around a number,
  /// the other locale's separators, exponents (when the pattern has none), infinity and NaN. Zero is never
  /// negative. Throws Exception when the pattern is none.
  std::optional<double> numberFromString(const Text& text) const;

 private:
  struct Machine;
  Machine& machine() const;

  Text locale_;
  Text pattern_;
  mutable std::unique_ptr<Machine> machine_;
};

}  // namespace v1
}  // namespace qorvane
