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

#define LIST(Class, choices, options, neutralValue, languageSpecificValue) \
  {#Class, choices, Class::options, Class::defaultValue, Class::neutralValue, languageSpecificValue},
constexpr ChoiceList choices::kLists[] = {
#include "qorvane/jurisdictions/choice-lists.def"
};

std::span<const ChoiceList> choiceLists() { return kLists; }

const ChoiceList* choiceList(std::string_view name) {
  const auto found = std::ranges::find(kLists, name, &ChoiceList::name);
  return found == std::end(kLists) ? nullptr : &*found;
}

}  // namespace qorvane::inline v1
