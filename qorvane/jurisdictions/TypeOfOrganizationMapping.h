// TypeOfOrganizationMapping: the types of a preparer's organization, in English in both languages. The
// neutral value is the label.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class TypeOfOrganizationMapping {
 public:
  /// The labels, a new list on each call.
  static std::vector<Text> typesOfOrganizationOptions();
  /// "CORPORATION".
  static Text defaultValue();
  /// The argument, whatever it is.
  static Text organizationTypeNeutralValue(const Text& label);
};

}  // namespace v1
}  // namespace qorvane
