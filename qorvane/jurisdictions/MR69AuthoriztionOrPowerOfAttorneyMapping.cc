#include "qorvane/jurisdictions/MR69AuthoriztionOrPowerOfAttorneyMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> MR69AuthoriztionOrPowerOfAttorneyMapping::mr69AuthoriztionOrPowerOfAttorneyOptions() {
  return labels(kMR69AuthoriztionOrPowerOfAttorney);
}

Text MR69AuthoriztionOrPowerOfAttorneyMapping::defaultValue() {
  return label(kMR69AuthoriztionOrPowerOfAttorney[0]);
}

Text MR69AuthoriztionOrPowerOfAttorneyMapping::mr69AuthOrPowerOfAttNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kMR69AuthoriztionOrPowerOfAttorney, label);
  return choice ? choice->neutral : "1";
}

Text MR69AuthoriztionOrPowerOfAttorneyMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kMR69AuthoriztionOrPowerOfAttorney, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
