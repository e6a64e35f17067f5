#include "qorvane/jurisdictions/ChoiceTables.h"

#include <algorithm>

#include "qorvane/jurisdictions/DisplayLanguage.h"

namespace qorvane::inline v1::choices {

Text label(const Choice& choice) { return displayLanguageIsEnglish() ? choice.english : choice.french; }

std::vector<Text> labels(std::span<const Choice> choices) {
  const Text Choice::*const language = displayLanguageIsEnglish() ? &Choice::english : &Choice::french;
  std::vector<Text> labels;
  labels.reserve(choices.size());
  for (const Choice& choice : choices) labels.push_back(choice.*language);
  return labels;
}

std::span<const Choice> assessmentOptionsIn(int taxYear) {
  // There is no fax from 2012 to 2015: years are taken in fours.
  const bool withoutFax = (taxYear & ~3) == 2012;
  return std::span(kAssessmentOptions).subspan(withoutFax ? 1 : 0);
}

const Choice* withLabel(std::span<const Choice> choices, const Text& label) {
  for (const Choice& choice : choices)
    if (choice.english.isEqualTo(label) || choice.french.isEqualTo(label) ||
        std::ranges::any_of(choice.former, [&](const Text& former) { return former.isEqualTo(label); }))
      return &choice;
  return nullptr;
}

const Choice* withNeutralValue(std::span<const Choice> choices, const Text& value) {
  for (const Choice& choice : choices)
    if (choice.neutral.isEqualTo(value)) return &choice;
  return nullptr;
}

}  // namespace qorvane::choices
