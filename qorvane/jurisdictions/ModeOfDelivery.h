// ModeOfDelivery: how a return is delivered. The neutral value is the English label.
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class ModeOfDelivery {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> modeOfDeliveryOptions();
  /// The Paper label.
  static Text defaultValue();
  /// The neutral value of a label in either language. For any other text and for nil the default, which is a
  /// label of the display language and so in French no neutral value.
  static Text modeOfDeliveryNeutralValue(const Text& label);
  /// The label of a neutral value: in English the argument, whatever it is; in French the French label, the
  /// default for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
