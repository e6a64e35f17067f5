#include "qorvane/jurisdictions/CompanyTypeMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> CompanyTypeMapping::companyTypesOptions() { return labels(kCompanyTypes); }

Text CompanyTypeMapping::defaultValue() { return label(kCompanyTypes[0]); }

Text CompanyTypeMapping::companyTypeNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kCompanyTypes, label);
  return choice ? choice->neutral : "";
}

int CompanyTypeMapping::companyTypeCodeFromCoType(const Text& label) {
  const Choice* choice = withLabel(kCompanyTypes, label);
  return choice ? static_cast<int>(choice - kCompanyTypes) + 1 : 0;
}

Text CompanyTypeMapping::companyTypeFromCompTypeCode(int code) {
  const bool known = code >= 1 && code <= static_cast<int>(std::size(kCompanyTypes));
  return known ? label(kCompanyTypes[code - 1]) : "";
}

}  // namespace qorvane::inline v1
