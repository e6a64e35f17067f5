// The names that the facade does not have. Programs would compile against them and then work on something
// else than they think, so that they do not compile is part of the interface.
#include <type_traits>

#include "qorvane/manager/OptionsMgr.h"

namespace qorvane {
namespace {

#define OFFERS(name)                    \
  ([]<class Facade>(Facade*) {          \
    return requires { &Facade::name; }; \
  }(static_cast<OptionsMgr*>(nullptr)))

// The test itself works: it finds what is there.
static_assert(OFFERS(yor));
static_assert(OFFERS(setEfileNumber));
static_assert(OFFERS(helpFilePath));
static_assert(!OFFERS(aNameThatNobodyGave));

// Read-only through the facade.
static_assert(OFFERS(userDataPath) && !OFFERS(setUserDataPath));
static_assert(OFFERS(mrqDatabaseFolder) && !OFFERS(setMrqDatabaseFolder) && !OFFERS(setMrqDataBaseFolder));
static_assert(!OFFERS(setYor));

// The number for electronic filing is read under three names and written under one.
static_assert(OFFERS(efileNumber) && OFFERS(preparerEfileNumber) && OFFERS(transmitterEFileNumber));
static_assert(!OFFERS(setPreparerEfileNumber));
static_assert(!OFFERS(setTransmitterEFileNumber));

// The getters of the reviews are short, their setters long.
static_assert(OFFERS(prepPreAssessmentReview) && OFFERS(setPreparerPreAssessmentReview));
static_assert(OFFERS(prepPostAssessmentReview) && OFFERS(setPreparerPostAssessmentReview));
static_assert(!OFFERS(preparerPreAssessmentReview) && !OFFERS(setPrepPreAssessmentReview));
static_assert(!OFFERS(preparerPostAssessmentReview) && !OFFERS(setPrepPostAssessmentReview));

// Spelt in the facade's own way.
static_assert(OFFERS(printFontFotFooter) && OFFERS(setPrintFontFotFooter));
static_assert(!OFFERS(printFontForFooter) && !OFFERS(setPrintFontForFooter));
static_assert(!OFFERS(printFontFotHeader) && !OFFERS(setPrintFontFotHeader));
static_assert(!OFFERS(mrqDataBaseFolder));
static_assert(!OFFERS(disclaimerTxt) && !OFFERS(setDisclaimerTxt));
static_assert(!OFFERS(preparerNameOfRepresentative) && !OFFERS(setPreparerNameOfRepresentative));
static_assert(!OFFERS(preparerFirmName) && !OFFERS(setPreparerFirmName));
static_assert(!OFFERS(preparerAddressLine1) && !OFFERS(setPreparerAddressLine1));
static_assert(!OFFERS(preparerAddressLine2) && !OFFERS(setPreparerAddressLine2));
static_assert(!OFFERS(preparerAddressLine3) && !OFFERS(setPreparerAddressLine3));
static_assert(!OFFERS(preparerPostalCode) && !OFFERS(setPreparerPostalCode));
static_assert(!OFFERS(preparerModeOfDelivery) && !OFFERS(setPreparerModeOfDelivery));
static_assert(!OFFERS(preparerNoticeOfAssAndTaxRefundOption));
static_assert(!OFFERS(setPreparerNoticeOfAssAndTaxRefundOption));
static_assert(!OFFERS(preparerTaxpyersNameAsLastYr) && !OFFERS(setPreparerTaxpyersNameAsLastYr));
static_assert(!OFFERS(rc59_LevelOfAuth) && !OFFERS(setRc59_LevelOfAuth));
static_assert(!OFFERS(rc59_AuthExpiryDate) && !OFFERS(setRc59_AuthExpiryDate));
static_assert(!OFFERS(rc59_AuthForAllYears) && !OFFERS(setRc59_AuthForAllYears));
static_assert(!OFFERS(rc59_AuthOnlineAccess) && !OFFERS(setRc59_AuthOnlineAccess));
static_assert(!OFFERS(rc59_RepID) && !OFFERS(setRc59_RepID));
static_assert(!OFFERS(rc59_BusinessNo) && !OFFERS(setRc59_BusinessNo));
static_assert(!OFFERS(rc59_GroupID) && !OFFERS(setRc59_GroupID));

// The store's alone.
static_assert(!OFFERS(preparerPhoneExt) && !OFFERS(setPreparerPhoneExt));
static_assert(!OFFERS(pName) && !OFFERS(setPName));
static_assert(!OFFERS(paddr1) && !OFFERS(setPaddr1));
static_assert(!OFFERS(efileDataBaseFolder));
static_assert(!OFFERS(applicationUserFolder));
static_assert(!OFFERS(rootPath) && !OFFERS(lastYearRootPath));
static_assert(!OFFERS(helpFile));
static_assert(!OFFERS(currentYear) && !OFFERS(lastYear) && !OFFERS(IsEfile));
static_assert(!OFFERS(loadOptions) && !OFFERS(options) && !OFFERS(getOptionsObj));
static_assert(!OFFERS(settingsDomainKey) && !OFFERS(getFileNameWithPath));

// Run by the library alone, before the first operation.
static_assert(!OFFERS(initialize));

// The help file's path is asked of an instance.
static_assert(std::is_member_function_pointer_v<decltype(&OptionsMgr::helpFilePath)>);
static_assert(std::is_pointer_v<decltype(&OptionsMgr::userDataPath)>);

}  // namespace
}  // namespace qorvane
