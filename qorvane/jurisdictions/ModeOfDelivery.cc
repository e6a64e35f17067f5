#include "qorvane/jurisdictions/ModeOfDelivery.h"

#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/jurisdictions/DisplayLanguage.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> ModeOfDelivery::modeOfDeliveryOptions() { return labels(kModeOfDelivery); }

Text ModeOfDelivery::defaultValue() { return label(kModeOfDelivery[0]); }

Text ModeOfDelivery::modeOfDeliveryNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kModeOfDelivery, label);
  return choice ? choice->neutral : defaultValue();
}

Text ModeOfDelivery::languageSpecificValue(const Text& neutralValue) {
  if (displayLanguageIsEnglish()) return neutralValue;
  const Choice* choice = withNeutralValue(kModeOfDelivery, neutralValue);
  return choice ? choice->french : defaultValue();
}

}  // namespace qorvane::inline v1
