#include "qorvane/store/LoadLists.h"

#include <algorithm>
#include <array>

namespace qorvane::inline v1 {

namespace {

// clang-format off
constexpr auto kCommon = std::to_array<std::string_view>({
    "yor",
    "language",
    "languageOfCorrespondance",
    "preparerProvinceAsDefault",
    "zsupress",
    "allowOverriding",
    "preparerEfileNumber",
    "preparerPassword",
    "preparerNameOfRepresentative",
    "preparerFirmName",
    "preparerAddressLine1",
    "preparerAddressLine2",
    "preparerAddressLine3",
    "preparerSuitNo",
    "preparerStreetNo",
    "preparerStreetName",
    "preparerPostalCode",
    "preparerCity",
    "preparerPhone",
    "preparerPostBoxNo",
    "preparerFax",
    "preparerEmail",
    "preparerCountry",
    "preparerPreAssessmentReview",
    "preparerTaxpyersNameAsLastYr",
    "preparerPostAssessmentReview",
    "t1013RepID",
    "repFirstName",
    "repLastName",
    "t1013BussinessNo",
    "t1013LevelOfAuth",
    "t1013ExpiryDate",
    "t1013AuthForAllYrs",
    "t1013AuthForSelectiveYrs",
    "t1013OnlineAuthorization",
    "printBarCode",
    "donotShowPDFValidityPage",
    "printHeaderOption",
    "printFontForFooter",
});

constexpr auto kPersonalOnly = std::to_array<std::string_view>({
    "bDisclaimer",
    "preparerNoticeOfAssAndTaxRefundOption",
});

constexpr auto kCorporateOnly = std::to_array<std::string_view>({
    "bDisclaimer",
    "t2ClientFileFolder",
    "cifFileFolder",
    "pName",
    "paddr1",
    "t1013GroupID",
    "alberta_FirstName",
    "alberta_LastName",
    "alberta_Position",
    "alberta_OrganizationType",
    "bDisclaimer",
    "preparerNoticeOfAssAndTaxRefundOption",
});
// clang-format on

template <std::size_t A, std::size_t B>
constexpr std::array<std::string_view, A + B> joined(const std::array<std::string_view, A>& first,
                                                     const std::array<std::string_view, B>& second) {
  std::array<std::string_view, A + B> all;
  std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), all.begin()));
  return all;
}

constexpr auto kPersonal = joined(kCommon, kPersonalOnly);
constexpr auto kCorporate = joined(kCommon, kCorporateOnly);

}  // namespace

std::span<const std::string_view> personalLoadList() { return kPersonal; }
std::span<const std::string_view> corporateLoadList() { return kCorporate; }

}  // namespace qorvane::inline v1
