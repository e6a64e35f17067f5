// NSColorHexadecimalValue: a colour as a text of the form #RRGGBB, and back.
//
// The text carries no alpha. Decoding a text and encoding the colour gives the same six digits, for all
// texts.
#pragma once

#include <optional>

#include "qorvane/desktop/Color.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class NSColorHexadecimalValue {
 public:
  /// "#" and two upper-case hexadecimal digits each for red, green and blue in calibrated RGB. Nil for a
  /// colour that has no form there. A component below 0 (or a NaN) counts as 0; one above 1 takes more than
  /// two digits.
  static Text hexadecimalValueOfAnNSColor(const Color& color);

  /// The calibrated RGB colour of the text, with an alpha of 0: clients that want it opaque set the alpha.
  /// None for nil and for a text that is not exactly 7 UTF-16 units long. The first unit may be any. A pair
  /// of digits is scanned leniently: leading blanks and a "0x" are skipped, the scan ends at what is no
  /// digit, and no digits are 0.
  static std::optional<Color> nsColorFromHexadecimalValue(const Text& text);
};

}  // namespace v1
}  // namespace qorvane
