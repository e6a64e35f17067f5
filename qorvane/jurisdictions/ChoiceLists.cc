#include "qorvane/jurisdictions/ChoiceLists.h"

#include <algorithm>

#include "qorvane/jurisdictions/AssessmentOptionsMapping.h"
#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/jurisdictions/CompanyTypeMapping.h"
#include "qorvane/jurisdictions/LevelOfAuthorizationMapping.h"
#include "qorvane/jurisdictions/MR69AuthoriztionOrPowerOfAttorneyMapping.h"
#include "qorvane/jurisdictions/MR69OptionsMapping.h"
#include "qorvane/jurisdictions/MethodOfContactMapping.h"
#include "qorvane/jurisdictions/ModeOfDelivery.h"
#include "qorvane/jurisdictions/NoticeOfAssAndRefundMapping.h"
#include "qorvane/jurisdictions/RC59OptionsMapping.h"
#include "qorvane/jurisdictions/TypeOfOrganizationMapping.h"
#include "qorvane/jurisdictions/UseAddressMapping.h"

namespace qorvane::inline v1 {

using namespace choices;

#define LIST(Class, table, options, neutralValue, languageSpecificValue, offeredIn) \
  {#Class, table, Class::options, Class::defaultValue, Class::neutralValue, languageSpecificValue, offeredIn},
constexpr ChoiceList choices::kLists[] = {
#include "qorvane/jurisdictions/choice-lists.def"
};

std::span<const ChoiceList> choiceLists() { return kLists; }

const ChoiceList* choiceList(std::string_view name) {
  const auto found = std::ranges::find(kLists, name, &ChoiceList::name);
  return found == std::end(kLists) ? nullptr : &*found;
}

std::span<const Choice> ChoiceList::currentRows() const { return currentRows(QVSettings::product()); }

const Choice* ChoiceList::meant(std::string_view typed) const {
  const Text text(typed);
  if (const Choice* choice = withNeutralValue(choices, text)) return choice;
  if (const Choice* choice = withLabel(choices, text)) return choice;
  const auto found = std::ranges::find_if(choices, [&](const Choice& choice) {
    return choice.englishLabel == text || choice.frenchLabel == text;
  });
  return found == choices.end() ? nullptr : &*found;
}

}  // namespace qorvane::inline v1
