#include "qorvane/jurisdictions/TypeOfOrganizationMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> TypeOfOrganizationMapping::typesOfOrganizationOptions() {
  return labels(kTypesOfOrganization);
}

Text TypeOfOrganizationMapping::defaultValue() { return label(kTypesOfOrganization[0]); }

Text TypeOfOrganizationMapping::organizationTypeNeutralValue(const Text& label) { return label; }

}  // namespace qorvane::inline v1
