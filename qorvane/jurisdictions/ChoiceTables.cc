#include "qorvane/jurisdictions/ChoiceTables.h"

#include "qorvane/jurisdictions/DisplayLanguage.h"
#include "qorvane/vocabulary/ChoiceLabels.h"

namespace qorvane::inline v1::choices {

// One choice a row, in display order; the labels themselves are rows of ChoiceLabels.def.

// clang-format off
constexpr Choice kRC59Options[3] = {
    {"01", rc69Opts_AccViewEng,     rc69Opts_AccViewFr},
    {"02", rc69Opts_AccUpdateEng,   rc69Opts_AccUpdateFr},
    {"03", rc69Opts_AccDelegateEng, rc69Opts_AccDelegateFr},
};

constexpr Choice kUseAddress[2] = {
    {useaAddress_ForAllEng,  useaAddress_ForAllEng,  useaAddress_ForAllFr},
    {useaAddress_NothingEng, useaAddress_NothingEng, useaAddress_NothingFr},
};

constexpr Choice kMethodOfContact[3] = {
    {methodOfCont_FaxEng,             methodOfCont_FaxEng,             methodOfCont_FaxFr},
    {methodOfCont_PhoneEng,           methodOfCont_PhoneEng,           methodOfCont_PhoneFr},
    {methodOfCont_ContactDirectlyEng, methodOfCont_ContactDirectlyEng, methodOfCont_ContactDirectlyFr},
};

constexpr Choice kLevelOfAuthorization[2] = {
    {"1", levelOfAuth_Level1Eng, levelOfAuth_Level1Fr},
    {"2", levelOfAuth_Level2Eng, levelOfAuth_Level2Fr},
};

constexpr Choice kModeOfDelivery[3] = {
    {modeOfDelivery_PaperEng,     modeOfDelivery_PaperEng,     modeOfDelivery_PaperFr},
    {modeOfDelivery_PhoneEng,     modeOfDelivery_PhoneEng,     modeOfDelivery_PhoneFr},
    {modeOfDelivery_EfilePlusEng, modeOfDelivery_EfilePlusEng, modeOfDelivery_EfilePlusFr},
};

constexpr Choice kAssessmentOptions[3] = {
    {"1", assesmentOpts_FaxToPreEng,  assesmentOpts_FaxToPreFr},
    {"2", assesmentOpts_MailToPreEng, assesmentOpts_MailToPreFr},
    {"3", assesmentOpts_TaxPayerEng,  assesmentOpts_TaxPayerFr},
};

constexpr Choice kNoticeOfAssAndRefund[5] = {
    {"0", assAndRefundOpts_NoaAndRefundToClientEng,  assAndRefundOpts_NoaAndRefundToClientFr},
    {"1", assAndRefundOpts_NoaAndRefundToPreEng,     assAndRefundOpts_NoaAndRefundToPreFr},
    {"2", assAndRefundOpts_NoaOnlyToPreEng,          assAndRefundOpts_NoaOnlyToPreFr},
    {"3", assAndRefundOpts_NoaAndRefundToPreBussEng, assAndRefundOpts_NoaAndRefundToPreBussFr},
    {"4", assAndRefundOpts_NoaOnlyToPreBussEng,      assAndRefundOpts_NoaOnlyToPreBussFr},
};

constexpr Choice kMR69Options[3] = {
    {"1", mr69Opts_AllTaxYearsEng,      mr69Opts_AllTaxYearsFr},
    {"2", mr69Opts_CurrentAndPreEng,    mr69Opts_CurrentAndPreFr},
    {"3", mr69Opts_CurrentAndFollowEng, mr69Opts_CurrentAndFollowFr},
};

constexpr Choice kMR69AuthoriztionOrPowerOfAttorney[2] = {
    {"1", mr69AuthOrPwrOpts_AuthorizationEng, mr69AuthOrPwrOpts_AuthorizationFr},
    {"2", mr69AuthOrPwrOpts_PowerOfAttEng,    mr69AuthOrPwrOpts_PowerOfAttFr},
};

// A type's code is its place in this list, from 1.
constexpr Choice kCompanyTypes[6] = {
    {CanadianPrivateEng,       CanadianPrivateEng,       CanadianPrivateFr},
    {OtherPrivateEng,          OtherPrivateEng,          OtherPrivateFr},
    {PublicEng,                PublicEng,                PublicFr},
    {OtherEng,                 OtherEng,                 OtherFr},
    {OtherPublicControlledEng, OtherPublicControlledEng, OtherPublicControlledFr},
    {AlbertaProCorpEng,        AlbertaProCorpEng,        AlbertaProCorpFr},
};

// In English whatever the language.
constexpr Choice kTypesOfOrganization[3] = {
    {CorporationEng, CorporationEng, CorporationEng},
    {PartnershipEng, PartnershipEng, PartnershipEng},
    {IndividualEng,  IndividualEng,  IndividualEng},
};
// clang-format on

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
