#include "qorvane/jurisdictions/LevelOfAuthorizationMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> LevelOfAuthorizationMapping::levelOfAuthorizationOptions() {
  return labels(kLevelOfAuthorization);
}

Text LevelOfAuthorizationMapping::defaultValue() { return label(kLevelOfAuthorization[0]); }

Text LevelOfAuthorizationMapping::levelOfAuthorizationNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kLevelOfAuthorization, label);
  return choice ? choice->neutral : "1";
}

Text LevelOfAuthorizationMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kLevelOfAuthorization, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
