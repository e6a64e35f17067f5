// AssessmentOptionsMapping: how the preparer hears of an assessment. Neutral values "1" to "3". What is
// offered depends on the tax year: from 2012 to 2015 there is no fax, and yet fax is the default of just
// those years.
//
// Labels are compared exactly. The language and the year are asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class AssessmentOptionsMapping {
 public:
  /// The labels in the display language, a new list on each call: Mail and Taxpayer for the tax
  /// years 2012 to 2015, all three otherwise.
  static std::vector<Text> assessmentOptions();
  /// The Fax label for the tax years 2012 to 2015, which do not offer it; the Mail label otherwise.
  static Text defaultValue();
  /// The neutral value of a label in either language; "1" for any other text and for nil.
  static Text assessmentOptionNeutralValue(const Text& label);
  /// The label of a neutral value in the display language; the default for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
