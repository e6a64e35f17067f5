// MR69AuthoriztionOrPowerOfAttorneyMapping: whether an MR69 form gives an authorization or a power of
// attorney. Neutral values "1" and "2".
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class MR69AuthoriztionOrPowerOfAttorneyMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> mr69AuthoriztionOrPowerOfAttorneyOptions();
  /// The Authorization label.
  static Text defaultValue();
  /// The neutral value of a label in either language; "1" for any other text and for nil.
  static Text mr69AuthOrPowerOfAttNeutralValue(const Text& label);
  /// The label of a neutral value in the display language; the default for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
