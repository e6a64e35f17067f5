// LevelOfAuthorizationMapping: the level of a representative's authorization. Neutral values "1" and "2".
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class LevelOfAuthorizationMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> levelOfAuthorizationOptions();
  /// The Level-1 label.
  static Text defaultValue();
  /// The neutral value of a label in either language; "1" for any other text and for nil.
  static Text levelOfAuthorizationNeutralValue(const Text& label);
  /// The label of a neutral value in the display language; the default for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
