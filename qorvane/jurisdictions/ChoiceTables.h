// The tables of the choice lists, and the few look-ups that the choice-list classes are made of. Internal to
// the library.
#pragma once

#include <span>
#include <vector>

#include "qorvane/jurisdictions/ChoiceLists.h"

namespace qorvane::inline v1::choices {

extern const Choice kRC59Options[3];
extern const Choice kUseAddress[2];
extern const Choice kMethodOfContact[3];
extern const Choice kLevelOfAuthorization[2];
extern const Choice kModeOfDelivery[3];
extern const Choice kAssessmentOptions[3];
extern const Choice kNoticeOfAssAndRefund[5];
extern const Choice kMR69Options[3];
extern const Choice kMR69AuthoriztionOrPowerOfAttorney[2];
extern const Choice kCompanyTypes[6];
extern const Choice kTypesOfOrganization[3];

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

/// The first choice that has this label in either language, or null. Nil is no label.
const Choice* withLabel(std::span<const Choice> choices, const Text& label);
/// The choice that has this neutral value, or null. Nil is no value.
const Choice* withNeutralValue(std::span<const Choice> choices, const Text& value);

}  // namespace qorvane::choices
