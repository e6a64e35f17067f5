// UseAddressMapping: what the preparer's address is used for. The neutral value is the English label.
//
// Labels are compared exactly. The language is asked on every call.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class UseAddressMapping {
 public:
  /// The labels in the display language, a new list on each call.
  static std::vector<Text> useAddressOptions();
  /// The Nothing label, although it is the second of the list.
  static Text defaultValue();
  /// The neutral value of a label in either language; empty for any other text and for nil.
  static Text useAddressNeutralValue(const Text& label);
};

}  // namespace v1
}  // namespace qorvane
