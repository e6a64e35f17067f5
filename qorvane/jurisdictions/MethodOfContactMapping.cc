#include "qorvane/jurisdictions/MethodOfContactMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/jurisdictions/DisplayLanguage.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> MethodOfContactMapping::methOfContactOptions() { return labels(kMethodOfContact); }

Text MethodOfContactMapping::defaultValue() { return label(kMethodOfContact[0]); }

Text MethodOfContactMapping::methOfContactNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kMethodOfContact, label);
  return choice ? choice->neutral : "";
}

Text MethodOfContactMapping::languageSpecificValue(const Text& neutralValue) {
  if (displayLanguageIsEnglish()) return neutralValue;
  const Choice* choice = withNeutralValue(kMethodOfContact, neutralValue);
  return choice ? choice->french : "";
}

}  // namespace qorvane::inline v1
