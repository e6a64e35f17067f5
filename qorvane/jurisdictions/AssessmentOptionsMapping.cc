#include "qorvane/jurisdictions/AssessmentOptionsMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/siblings/QVSettings.h"

namespace qorvane::inline v1 {

using namespace choices;

namespace {

std::span<const Choice> offered() { return assessmentOptionsIn(QVSettings::YOR()); }

}  // namespace

std::vector<Text> AssessmentOptionsMapping::assessmentOptions() { return labels(offered()); }

// Fax in just the years that do not offer it.
Text AssessmentOptionsMapping::defaultValue() {
  const bool faxIsOffered = offered().size() == std::size(kAssessmentOptions);
  return label(kAssessmentOptions[faxIsOffered ? 1 : 0]);
}

Text AssessmentOptionsMapping::assessmentOptionNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kAssessmentOptions, label);
  return choice ? choice->neutral : "1";
}

Text AssessmentOptionsMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kAssessmentOptions, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
