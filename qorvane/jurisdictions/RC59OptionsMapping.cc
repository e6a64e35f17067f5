#include "qorvane/jurisdictions/RC59OptionsMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> RC59OptionsMapping::rc69Options() { return labels(kRC59Options); }

Text RC59OptionsMapping::defaultValue() { return label(kRC59Options[0]); }

Text RC59OptionsMapping::accessOptionNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kRC59Options, label);
  return choice ? choice->neutral : "01";
}

Text RC59OptionsMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kRC59Options, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
