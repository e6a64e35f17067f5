// The tables of the choice lists, and the few look-ups that the choice-list classes are made of. Internal to
// the library.
#pragma once

#include <span>
#include <vector>

#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/vocabulary/ChoiceLabels.h"

namespace qorvane::inline v1::choices {

#define LIST_BEGIN(Class, table) inline constexpr Choice table[] = {
#define LIST_END \
  }              \
  ;
#define CHOICE(neutral, english, englishText, french, frenchText, englishLabel, frenchLabel, ...) \
  {neutral, english, french, englishLabel, frenchLabel, {__VA_ARGS__}},
#define CHOICE_IN_ENGLISH(neutral, english, text, englishLabel, frenchLabel, ...) \
  {neutral, english, english, englishLabel, frenchLabel, {__VA_ARGS__}},
#include "qorvane/vocabulary/ChoiceLabels.def"

/// The place of each list in `kLists`: `kPlaceOf` and the name of its class.
enum Place {
#define LIST(Class, ...) kPlaceOf##Class,
#include "qorvane/jurisdictions/choice-lists.def"
  kListCount
};
extern const ChoiceList kLists[kListCount];

/// The label of a choice in the display language.
Text label(const Choice& choice);
/// The labels in the display language, in order.
std::vector<Text> labels(std::span<const Choice> choices);

/// The assessment options that are offered in a tax year.
std::span<const Choice> assessmentOptionsIn(int taxYear);

/// The first choice that has this stored label in either language, or had it formerly, or null. Nil is no
/// label.
const Choice* withLabel(std::span<const Choice> choices, const Text& label);
/// The choice that has this neutral value, or null. Nil is no value.
const Choice* withNeutralValue(std::span<const Choice> choices, const Text& value);

}  // namespace qorvane::choices
