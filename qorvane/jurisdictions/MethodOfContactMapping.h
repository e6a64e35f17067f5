// MethodOfContactMapping: how the preparer is contacted. The neutral value is the English label.
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class MethodOfContactMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> methOfContactOptions();
  /// The Fax label.
  static Text defaultValue();
  /// The neutral value of a label in either language; empty for any other text and for nil.
  static Text methOfContactNeutralValue(const Text& label);
  /// The label of a neutral value: in English the argument, whatever it is; in French the French label, empty
  /// for any other text and for nil.
  static Text languageSpecificValue(const Text& neutralValue);
};

}  // namespace v1
}  // namespace qorvane
