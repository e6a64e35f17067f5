#include "qorvane/jurisdictions/AssessmentOptionsMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/siblings/QVSettings.h"

namespace qorvane::inline v1 {

using namespace choices;

namespace {

// Years are taken in fours.
bool isFaxWithdrawn() { return (QVSettings::YOR() & ~3) == 2012; }

}  // namespace

std::vector<Text> AssessmentOptionsMapping::assessmentOptions() {
  const std::span<const Choice> all = kAssessmentOptions;
  return labels(isFaxWithdrawn() ? all.subspan(1) : all);
}

Text AssessmentOptionsMapping::defaultValue() { return label(kAssessmentOptions[isFaxWithdrawn() ? 0 : 1]); }

Text AssessmentOptionsMapping::assessmentOptionNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kAssessmentOptions, label);
  return choice ? choice->neutral : "1";
}

Text AssessmentOptionsMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kAssessmentOptions, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
