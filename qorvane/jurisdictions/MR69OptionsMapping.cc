#include "qorvane/jurisdictions/MR69OptionsMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> MR69OptionsMapping::mr69Options() { return labels(kMR69Options); }

Text MR69OptionsMapping::defaultValue() { return label(kMR69Options[0]); }

Text MR69OptionsMapping::assessmentOptionNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kMR69Options, label);
  return choice ? choice->neutral : "1";
}

Text MR69OptionsMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kMR69Options, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
