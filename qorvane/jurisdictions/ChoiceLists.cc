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

namespace {

constexpr ChoiceList kLists[] = {
    {"RC59OptionsMapping", kRC59Options, RC59OptionsMapping::rc69Options, RC59OptionsMapping::defaultValue,
     RC59OptionsMapping::accessOptionNeutralValue, RC59OptionsMapping::languageSpecificValue},
    {"UseAddressMapping", kUseAddress, UseAddressMapping::useAddressOptions, UseAddressMapping::defaultValue,
     UseAddressMapping::useAddressNeutralValue, nullptr},
    {"MethodOfContactMapping", kMethodOfContact, MethodOfContactMapping::methOfContactOptions,
     MethodOfContactMapping::defaultValue, MethodOfContactMapping::methOfContactNeutralValue,
     MethodOfContactMapping::languageSpecificValue},
    {"LevelOfAuthorizationMapping", kLevelOfAuthorization,
     LevelOfAuthorizationMapping::levelOfAuthorizationOptions, LevelOfAuthorizationMapping::defaultValue,
     LevelOfAuthorizationMapping::levelOfAuthorizationNeutralValue,
     LevelOfAuthorizationMapping::languageSpecificValue},
    {"ModeOfDelivery", kModeOfDelivery, ModeOfDelivery::modeOfDeliveryOptions, ModeOfDelivery::defaultValue,
     ModeOfDelivery::modeOfDeliveryNeutralValue, ModeOfDelivery::languageSpecificValue},
    {"AssessmentOptionsMapping", kAssessmentOptions, AssessmentOptionsMapping::assessmentOptions,
     AssessmentOptionsMapping::defaultValue, AssessmentOptionsMapping::assessmentOptionNeutralValue,
     AssessmentOptionsMapping::languageSpecificValue},
    {"NoticeOfAssAndRefundMapping", kNoticeOfAssAndRefund,
     NoticeOfAssAndRefundMapping::assessmentAndRefundOptions, NoticeOfAssAndRefundMapping::defaultValue,
     NoticeOfAssAndRefundMapping::assAndRefundNeutralValue,
     NoticeOfAssAndRefundMapping::languageSpecificValue},
    {"MR69OptionsMapping", kMR69Options, MR69OptionsMapping::mr69Options, MR69OptionsMapping::defaultValue,
     MR69OptionsMapping::assessmentOptionNeutralValue, MR69OptionsMapping::languageSpecificValue},
    {"MR69AuthoriztionOrPowerOfAttorneyMapping", kMR69AuthoriztionOrPowerOfAttorney,
     MR69AuthoriztionOrPowerOfAttorneyMapping::mr69AuthoriztionOrPowerOfAttorneyOptions,
     MR69AuthoriztionOrPowerOfAttorneyMapping::defaultValue,
     MR69AuthoriztionOrPowerOfAttorneyMapping::mr69AuthOrPowerOfAttNeutralValue,
     MR69AuthoriztionOrPowerOfAttorneyMapping::languageSpecificValue},
    {"CompanyTypeMapping", kCompanyTypes, CompanyTypeMapping::companyTypesOptions,
     CompanyTypeMapping::defaultValue, CompanyTypeMapping::companyTypeNeutralValue, nullptr},
    {"TypeOfOrganizationMapping", kTypesOfOrganization, TypeOfOrganizationMapping::typesOfOrganizationOptions,
     TypeOfOrganizationMapping::defaultValue, TypeOfOrganizationMapping::organizationTypeNeutralValue,
     nullptr},
};

}  // namespace

std::span<const ChoiceList> choiceLists() { return kLists; }

const ChoiceList* choiceList(std::string_view name) {
  const auto found = std::ranges::find(kLists, name, &ChoiceList::name);
  return found == std::end(kLists) ? nullptr : &*found;
}

}  // namespace qorvane::inline v1
