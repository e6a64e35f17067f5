#include "qorvane/jurisdictions/ChoiceTables.h"

#include "qorvane/jurisdictions/DisplayLanguage.h"

namespace qorvane::choices {

Text label(const Choice& choice) { return displayLanguageIsEnglish() ? choice.english : choice.french; }

std::vector<Text> labels(std::span<const Choice> choices) {
  const Text Choice::*const language = displayLanguageIsEnglish() ? &Choice::english : &Choice::french;
  std::vector<Text> labels;
  labels.reserve(choices.size());
  for (const Choice& choice : choices) labels.push_back(choice.*language);
  return labels;
}

const Choice* withLabel(std::span<const Choice> choices, const Text& label) {
  for (const Choice& choice : choices)
    if (choice.english.isEqualTo(label) || choice.french.isEqualTo(label)) return &choice;
  return nullptr;
}

const Choice* withNeutralValue(std::span<const Choice> choices, const Text& value) {
  for (const Choice& choice : choices)
    if (choice.neutral.isEqualTo(value)) return &choice;
  return nullptr;
}

}  // namespace qorvane::choices
