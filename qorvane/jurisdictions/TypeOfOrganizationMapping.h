// TypeOfOrganizationMapping: the types of a preparer's organization, in English in both languages. The
// neutral value is the label.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace [[gnu::visibility("default")]] qorvane {

class TypeOfOrganizationMapping {
 public:
  /// The labels, a new list on each call.
  static std::vector<Text> typesOfOrganizationOptions();
  /// "CORPORATION".
  static Text defaultValue();
  /// The argument, whatever it is.
  static Text organizationTypeNeutralValue(const Text& label);
};

}  // namespace qorvane
