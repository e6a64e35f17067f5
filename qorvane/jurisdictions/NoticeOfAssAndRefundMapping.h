// NoticeOfAssAndRefundMapping: where the notice of assessment and the refund go. Neutral values "0" to "4".
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class NoticeOfAssAndRefundMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> assessmentAndRefundOptions();
  /// "0": the neutral value of the first choice, not its label.
  static Text defaultValue();
  /// The neutral value of a label in either language; "0" for any other text and for nil.
  static Text assAndRefundNeutralValue(const Text& label);
  /// The label of a neutral value in the display language; the default for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
