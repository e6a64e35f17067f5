// CompanyTypeMapping: the types of a corporation. The neutral value is the English label; each type has a
// code too, 1 to 6.
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class CompanyTypeMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> companyTypesOptions();
  /// The Canadian Private label.
  static Text defaultValue();
  /// The neutral value of a label in either language; empty for any other text and for nil.
  static Text companyTypeNeutralValue(const Text& label);
  /// The code of a label in either language; 0 for any other text and for nil.
  static int companyTypeCodeFromCoType(const Text& label);
  /// The label of a code in the display language; empty for a code outside 1 to 6.
  static Text companyTypeFromCompTypeCode(int code);
};

}  // namespace v1
}  // namespace qorvane
