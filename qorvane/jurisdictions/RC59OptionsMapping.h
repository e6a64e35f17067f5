// RC59OptionsMapping: how far the holder of an RC59 authorization may go. Neutral values "01" to "03"; the
// labels are English in both languages.
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class RC59OptionsMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> rc69Options();
  /// The first label.
  static Text defaultValue();
  /// The neutral value of a label in either language; "01" for any other text and for nil.
  static Text accessOptionNeutralValue(const Text& label);
  /// The label of a neutral value in the display language; the default for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
