// The rows of the choice lists, one choice a row, in display order; and the few look-ups that the choice-list
// classes are made of. Internal to jurisdictions/; the labels themselves are rows of ChoiceLabels.def.
#pragma once

#include <span>
#include <vector>

#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/vocabulary/ChoiceLabels.h"

namespace qorvane::choices {

// clang-format off
inline constexpr Choice kRC59Options[] = {
    {"01", rc69Opts_AccViewEng,     rc69Opts_AccViewFr},
    {"02", rc69Opts_AccUpdateEng,   rc69Opts_AccUpdateFr},
    {"03", rc69Opts_AccDelegateEng, rc69Opts_AccDelegateFr},
};

inline constexpr Choice kUseAddress[] = {
    {useaAddress_ForAllEng,  useaAddress_ForAllEng,  useaAddress_ForAllFr},
    {useaAddress_NothingEng, useaAddress_NothingEng, useaAddress_NothingFr},
};

inline constexpr Choice kMethodOfContact[] = {
    {methodOfCont_FaxEng,             methodOfCont_FaxEng,             methodOfCont_FaxFr},
    {methodOfCont_PhoneEng,           methodOfCont_PhoneEng,           methodOfCont_PhoneFr},
    {methodOfCont_ContactDirectlyEng, methodOfCont_ContactDirectlyEng, methodOfCont_ContactDirectlyFr},
};

inline constexpr Choice kLevelOfAuthorization[] = {
    {"1", levelOfAuth_Level1Eng, levelOfAuth_Level1Fr},
    {"2", levelOfAuth_Level2Eng, levelOfAuth_Level2Fr},
};

inline constexpr Choice kModeOfDelivery[] = {
    {modeOfDelivery_PaperEng,     modeOfDelivery_PaperEng,     modeOfDelivery_PaperFr},
    {modeOfDelivery_PhoneEng,     modeOfDelivery_PhoneEng,     modeOfDelivery_PhoneFr},
    {modeOfDelivery_EfilePlusEng, modeOfDelivery_EfilePlusEng, modeOfDelivery_EfilePlusFr},
};

inline constexpr Choice kAssessmentOptions[] = {
    {"1", assesmentOpts_FaxToPreEng,  assesmentOpts_FaxToPreFr},
    {"2", assesmentOpts_MailToPreEng, assesmentOpts_MailToPreFr},
    {"3", assesmentOpts_TaxPayerEng,  assesmentOpts_TaxPayerFr},
};

inline constexpr Choice kNoticeOfAssAndRefund[] = {
    {"0", assAndRefundOpts_NoaAndRefundToClientEng,  assAndRefundOpts_NoaAndRefundToClientFr},
    {"1", assAndRefundOpts_NoaAndRefundToPreEng,     assAndRefundOpts_NoaAndRefundToPreFr},
    {"2", assAndRefundOpts_NoaOnlyToPreEng,          assAndRefundOpts_NoaOnlyToPreFr},
    {"3", assAndRefundOpts_NoaAndRefundToPreBussEng, assAndRefundOpts_NoaAndRefundToPreBussFr},
    {"4", assAndRefundOpts_NoaOnlyToPreBussEng,      assAndRefundOpts_NoaOnlyToPreBussFr},
};

inline constexpr Choice kMR69Options[] = {
    {"1", mr69Opts_AllTaxYearsEng,      mr69Opts_AllTaxYearsFr},
    {"2", mr69Opts_CurrentAndPreEng,    mr69Opts_CurrentAndPreFr},
    {"3", mr69Opts_CurrentAndFollowEng, mr69Opts_CurrentAndFollowFr},
};

inline constexpr Choice kMR69AuthoriztionOrPowerOfAttorney[] = {
    {"1", mr69AuthOrPwrOpts_AuthorizationEng, mr69AuthOrPwrOpts_AuthorizationFr},
    {"2", mr69AuthOrPwrOpts_PowerOfAttEng,    mr69AuthOrPwrOpts_PowerOfAttFr},
};

// A type's code is its place in this list, from 1.
inline constexpr Choice kCompanyTypes[] = {
    {CanadianPrivateEng,       CanadianPrivateEng,       CanadianPrivateFr},
    {OtherPrivateEng,          OtherPrivateEng,          OtherPrivateFr},
    {PublicEng,                PublicEng,                PublicFr},
    {OtherEng,                 OtherEng,                 OtherFr},
    {OtherPublicControlledEng, OtherPublicControlledEng, OtherPublicControlledFr},
    {AlbertaProCorpEng,        AlbertaProCorpEng,        AlbertaProCorpFr},
};

// In English whatever the language.
inline constexpr Choice kTypesOfOrganization[] = {
    {CorporationEng, CorporationEng, CorporationEng},
    {PartnershipEng, PartnershipEng, PartnershipEng},
    {IndividualEng,  IndividualEng,  IndividualEng},
};
// clang-format on

/// The label of a choice in the display language.
Text label(const Choice& choice);
/// The labels in the display language, in order.
std::vector<Text> labels(std::span<const Choice> choices);

/// The first choice that has this label in either language, or null. Nil is no label.
const Choice* withLabel(std::span<const Choice> choices, const Text& label);
/// The choice that has this neutral value, or null. Nil is no value.
const Choice* withNeutralValue(std::span<const Choice> choices, const Text& value);

}  // namespace qorvane::choices
