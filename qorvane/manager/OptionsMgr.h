// OptionsMgr: the suite's settings, as class operations.
//
// The first operation of any kind creates the one store of the process (an Options object) and loads it; from
// then on each settings request is handed to that store, unchanged. Changes reach the disk only with
// `saveOptions`. Main thread only, except that the first operation may come from any thread.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "qorvane/desktop/Color.h"
#include "qorvane/desktop/FontDescriptor.h"
#include "qorvane/formats/Calendar.h"
#include "qorvane/formats/DateFormatter.h"
#include "qorvane/formats/NumberFormatter.h"
#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class OptionEdits;
struct OptionOrigin;
class Options;

class OptionsMgr {
 public:
  /// Making an instance puts a fresh, unloaded store in the place of the facade's: until somebody loads it,
  /// every getter answers its default, no setter has an effect, and saving removes the year's entry. Not part
  /// of normal use; the store from before stays alive, for observers may still hold its address.
  OptionsMgr();
  /// Gives up the instance's share of its store, which the facade keeps using.
  ~OptionsMgr();
  OptionsMgr(const OptionsMgr&) = delete;
  OptionsMgr& operator=(const OptionsMgr&) = delete;

  // ---- The facade's own answers ---------------------------------------------------------------------

  /// Saves the store; see Options::saveOptions.
  static void saveOptions();
  /// Why the store's last save failed; none after one that succeeded. See Options::saveFailure.
  static std::optional<Failure> saveFailure();

  /// Loads the store again for the product and year that run now, dropping what was not saved: false on
  /// failure, and then the settings are those from before. Posts nothing. See Options::reload.
  [[nodiscard]] static bool reload();
  /// Why the store's last load failed, the first one's included; none after one that succeeded. See
  /// Options::loadFailure.
  static std::optional<Failure> loadFailure();

  /// Every setting by its name, which is a getter's here ("postalCode") or the store's
  /// ("preparerPostalCode"), as a value: a flag or an integer as a number, a font as its text, a colour as
  /// its archive. Under a name of the facade it has the facade's type: the names as last year are a flag as
  /// `prepTaxpyersNameAsLastYr` and a text as `preparerTaxpyersNameAsLastYr`. Throws Exception for any other
  /// name.
  static Value valueForKey(std::string_view name);
  /// Hands the value to the setter of that setting, converted to its type; what the getters here say of nil
  /// and of other kinds holds. Throws Exception for a name that cannot be set, and for bytes that are no
  /// colour's.
  static void setValueForKey(const Value& value, std::string_view name);

  /// Takes in what others saved; see Options::refresh.
  static std::vector<Text> refresh();
  /// The options of the last announcement; see Options::changedNames.
  static const std::vector<Text>& changedNames();
  /// Where an option's value comes from and who locks it, by property or facade name; an unknown name throws
  /// Exception. See Options::origin.
  static OptionOrigin origin(std::string_view name);
  /// Edits of the store, for a window of settings.
  static OptionEdits edits();

  /// The display language; see Options::language.
  static Text language();
  static void setLanguage(Text language);
  /// True when the language is exactly "English".
  static bool isEnglish();

  /// A print run has begun. False in every new process, never saved.
  static bool startPrinting();
  static void setStartPrinting(bool printing);

  /// The forms of the Quebec agency are being printed. False in every new process, never saved.
  static bool isMRQPrinting();
  static void setIsMRQPrinting(bool printing);

  // ---- Product, year and file names: worked out on each call, nothing is kept -------------------------

  /// "T2" for the corporate product, "T1" for the personal one.
  static Text productVersion();
  /// "T1Pro", "T1", "T2Pro" or "T2".
  static Text productName();
  /// "EOL" and "NetFile" for the editions of T1, "Professional" and "NETFILE" for those of T2. Compared
  /// exactly, letter case included.
  static Text productType();
  /// The single-filer edition is running.
  static bool isNetFile();

  /// The extension of this year's return files, alone in a new list: "t20", for T2 "t220".
  static std::vector<Text> fileExtension();
  /// The extensions under which last year's returns are looked for: the one of last year for T1; for T2 those
  /// of last year, of the year before it and, last, of this year.
  static std::vector<Text> fileExtensionPreviousYear();
  /// "TaxRates2020.xml".
  static Text taxRatesFileName();

  /// The form set to load: "2020_9", for T2 the year and the release, "2021.2". A year of T1 that has none of
  /// its own loads "2009_1".
  static Text formsVersion();
  /// The form sets to offer for the year, in a new list; empty for a year that has none. Not always with the
  /// one of `formsVersion`.
  static std::vector<Text> formsVersions();
  /// "01".
  static Text formsBuild();

  /// The product version number for the Quebec agency, two digits; "01" for a year without one.
  static Text qProductVersion();
  /// The federal agency's approval number of the T2 release; the number of VER2023_2 when there is none.
  static Text federalApprovalNumber();
  /// What is sent when looking for an update: "2020", for T2 with the release, "2021.2".
  static Text productIDUpdateCheck();
  /// Always empty.
  static Text softwareDeveloperCode();
  /// Always empty.
  static Text dotMRQFilesPath();

  /// A new Gregorian calendar in the zone of GMT.
  static Calendar gregorianCalendar();

  /// The store's entry under any stored key: a number as its decimal text, everything else as it is; "" when
  /// there is none.
  static Value appConstantValue(const Text& key);

  // ---- Pages and cells with a treatment of their own: the same lists for every product and year, ---------
  // ---- the identical object on each call ----------------------------------------------------------------

  /// The form pages whose amounts are shown with decimals.
  static const std::vector<Text>& pagesWithDecimal();
  /// The form pages on which the social insurance number is masked.
  static const std::vector<Text>& pagesWithMaskedSIN();
  /// The return elements whose values are masked.
  static const std::vector<Text>& elementsToMasked();
  /// The cells whose calculated value may be overridden. Three of them are listed twice.
  static const std::vector<Text>& OptOverideableCells();

  // ==== The settings, handed to the store =============================================================
  // Nothing is checked, kept or announced here: Options says what each setting is at first, what nil means
  // and which changes the next save announces. A line names the store's operation where it has another name.

  // ---- General ---------------------------------------------------------------------------------------

  /// The tax year.
  static int yor();

  /// The language for letters to the client.
  static Text languageOfCorrespondance();
  static void setLanguageOfCorrespondance(Text language);

  /// New clients get the preparer's province.
  static bool preparerProvinceAsDefault();
  static void setPreparerProvinceAsDefault(bool on);

  /// Amounts of zero are left blank.
  static bool zsupress();
  static void setZsupress(bool on);

  /// Calculated amounts may be overridden.
  static bool allowOverriding();
  static void setAllowOverriding(bool on);

  /// Return files are named as older releases named them.
  static bool useDefaultLegacyFileName();
  static void setUseDefaultLegacyFileName(bool on);

  /// The print dialog is shown before printing.
  static bool showPrintDia();
  static void setShowPrintDia(bool on);

  /// XML files are encrypted.
  static bool encryptXml();
  static void setEncryptXml(bool on);

  /// The disclaimer is printed.
  static bool bDisclaimer();
  static void setBDisclaimer(bool on);

  /// The disclaimer; Options::disclaimerTxt.
  static Text disclaimerText();
  static void setDisclaimerText(Text text);

  /// The application asks for a password.
  static bool pwdProtectionEnabled();
  static void setPwdProtectionEnabled(bool on);

  /// Minutes between automatic saves of the return, 0 for none.
  static int autoSaveAfter();
  static void setAutoSaveAfter(int minutes);

  /// Forms are shown step by step. A change saves the store at once.
  static bool isStepsMode();
  static void setIsStepsMode(bool on);

  // ---- Colours ---------------------------------------------------------------------------------------
  // Setting nil is ignored.

  /// The pages of the main taxpayer.
  static Color mainBackColor();
  static void setMainBackColor(const std::optional<Color>& color);

  /// The pages of the spouse.
  static Color spouseBackColor();
  static void setSpouseBackColor(const std::optional<Color>& color);

  /// Cells for data entry.
  static Color dataEntryCellBackColor();
  static void setDataEntryCellBackColor(const std::optional<Color>& color);

  /// Calculated cells.
  static Color calculatedCellBackColor();
  static void setCalculatedCellBackColor(const std::optional<Color>& color);

  /// Cells whose calculated value was overridden as is allowed.
  static Color legtimateOverridenBackColor();
  static void setLegtimateOverridenBackColor(const std::optional<Color>& color);

  /// Cells whose calculated value was overridden though it is not allowed.
  static Color illegtimateOverridenBackColor();
  static void setIllegtimateOverridenBackColor(const std::optional<Color>& color);

  // ---- Folders ---------------------------------------------------------------------------------------
  // Absolute paths; reading one makes the folder when it is missing. Nil puts the default back.

  /// The root of this year's data.
  static Text userDataPath();

  /// Last year's returns.
  static Text lastYrFileFolder();
  static void setLastYrFileFolder(Text path);

  /// Clients' returns.
  static Text clientFileFolder();
  static void setClientFileFolder(Text path);

  /// Tax-data exchange files.
  static Text dotTaxFilesFolder();
  static void setDotTaxFilesFolder(Text path);

  /// PDF files.
  static Text pdfFileFolder();
  static void setPdfFileFolder(Text path);

  /// The database of filing with the Quebec agency; Options::mrqDataBaseFolder.
  static Text mrqDatabaseFolder();

  /// Corporate clients' returns.
  static Text t2ClientFileFolder();
  static void setT2ClientFileFolder(Text path);

  /// Corporate information files.
  static Text cifFileFolder();
  static void setCifFileFolder(Text path);

  // ---- Preparer and firm -----------------------------------------------------------------------------

  /// The number under which the preparer files electronically; set by setEfileNumber.
  static Text preparerEfileNumber();

  /// The same; Options::preparerEfileNumber.
  static Text efileNumber();
  static void setEfileNumber(Text number);

  /// The same; Options::preparerEfileNumber.
  static Text transmitterEFileNumber();

  /// The preparer's password, in clear.
  static Text preparerPassword();
  static void setPreparerPassword(Text password);

  /// The name of the representative; Options::preparerNameOfRepresentative.
  static Text nameOfRepresentative();
  static void setNameOfRepresentative(Text name);

  /// The first name of the representative.
  static Text repFirstName();
  static void setRepFirstName(Text name);

  /// The last name of the representative.
  static Text repLastName();
  static void setRepLastName(Text name);

  /// The firm's name; Options::preparerFirmName.
  static Text firmName();
  static void setFirmName(Text name);

  /// The first line of the address; Options::preparerAddressLine1.
  static Text addressLine1();
  static void setAddressLine1(Text line);

  /// The second line of the address; Options::preparerAddressLine2.
  static Text addressLine2();
  static void setAddressLine2(Text line);

  /// The third line of the address; Options::preparerAddressLine3.
  static Text addressLine3();
  static void setAddressLine3(Text line);

  /// The number of the suite.
  static Text preparerSuitNo();
  static void setPreparerSuitNo(Text number);

  /// The number in the street.
  static Text preparerStreetNo();
  static void setPreparerStreetNo(Text number);

  /// The street.
  static Text preparerStreetName();
  static void setPreparerStreetName(Text name);

  /// The number of the post office box.
  static Text preparerPostBoxNo();
  static void setPreparerPostBoxNo(Text number);

  /// The city.
  static Text preparerCity();
  static void setPreparerCity(Text city);

  /// The province, nil at first.
  static Text preparerProvince();
  static void setPreparerProvince(Text province);

  /// The postal code; Options::preparerPostalCode.
  static Text postalCode();
  static void setPostalCode(Text postalCode);

  /// The country, nil at first.
  static Text preparerCountry();
  static void setPreparerCountry(Text country);

  /// The country's code, nil at first.
  static Text preparerCountryCode();
  static void setPreparerCountryCode(Text code);

  /// The telephone number.
  static Text preparerPhone();
  static void setPreparerPhone(Text number);

  /// The fax number.
  static Text preparerFax();
  static void setPreparerFax(Text number);

  /// The e-mail address.
  static Text preparerEmail();
  static void setPreparerEmail(Text address);

  /// The firm is registered for the harmonized sales tax.
  static bool preparerHSTRegistrant();
  static void setPreparerHSTRegistrant(bool on);

  /// The firm's registration number for that tax.
  static Text preparerHSTRegistrationNumber();
  static void setPreparerHSTRegistrationNumber(Text number);

  /// The rate of that tax, a text.
  static Text preparerHSTRate();
  static void setPreparerHSTRate(Text rate);

  /// How returns are delivered, a label of ModeOfDelivery; Options::preparerModeOfDelivery.
  static Text modeOfDelivery();
  static void setModeOfDelivery(Text label);

  /// Where the notice of assessment and the refund go, a neutral value of NoticeOfAssAndRefundMapping;
  /// Options::preparerNoticeOfAssAndTaxRefundOption.
  static Text noticeOfAssAndTaxRefundOption();
  static void setNoticeOfAssAndTaxRefundOption(Text neutralValue);

  /// The code of the review before the assessment; Options::preparerPreAssessmentReview.
  static Text prepPreAssessmentReview();
  static void setPreparerPreAssessmentReview(Text code);

  /// The code of the review after the assessment; Options::preparerPostAssessmentReview.
  static Text prepPostAssessmentReview();
  static void setPreparerPostAssessmentReview(Text code);

  /// The taxpayers' names are those of last year: the text of Options::preparerTaxpyersNameAsLastYr is
  /// exactly "YES". Setting stores "YES" or "NO".
  static bool prepTaxpyersNameAsLastYr();
  static void setPrepTaxpyersNameAsLastYr(bool on);

  // ---- Alberta ---------------------------------------------------------------------------------------

  /// The first name of the Alberta preparer.
  static Text alberta_FirstName();
  static void setAlberta_FirstName(Text name);

  /// The last name of the Alberta preparer.
  static Text alberta_LastName();
  static void setAlberta_LastName(Text name);

  /// The position of the Alberta preparer in the firm.
  static Text alberta_Position();
  static void setAlberta_Position(Text position);

  /// The kind of firm, a value of TypeOfOrganizationMapping.
  static Text alberta_OrganizationType();
  static void setAlberta_OrganizationType(Text type);

  // ---- Discounter ------------------------------------------------------------------------------------

  /// The firm's name.
  static Text disc_FirmName();
  static void setDisc_FirmName(Text name);

  /// The name of the discounter's representative.
  static Text disc_NameOfRep();
  static void setDisc_NameOfRep(Text name);

  /// The number of the suite.
  static Text disc_SuiteNumber();
  static void setDisc_SuiteNumber(Text number);

  /// The street.
  static Text disc_Street();
  static void setDisc_Street(Text street);

  /// The number of the post office box.
  static Text disc_PostBoxNo();
  static void setDisc_PostBoxNo(Text number);

  /// The city.
  static Text disc_City();
  static void setDisc_City(Text city);

  /// The province.
  static Text disc_Province();
  static void setDisc_Province(Text province);

  /// The postal code.
  static Text disc_PostalCode();
  static void setDisc_PostalCode(Text postalCode);

  /// The telephone number.
  static Text disc_Telephone();
  static void setDisc_Telephone(Text number);

  /// The fax number.
  static Text disc_FaxNumber();
  static void setDisc_FaxNumber(Text number);

  /// The e-mail address.
  static Text disc_Email();
  static void setDisc_Email(Text address);

  /// The discounter's registration number.
  static Text disc_DiscounterNumber();
  static void setDisc_DiscounterNumber(Text number);

  /// All returns are selected for discounting.
  static bool disc_SelAllForDisc();
  static void setDisc_SelAllForDisc(bool on);

  // ---- Quebec numbers --------------------------------------------------------------------------------

  /// The preparer's Quebec enterprise number.
  static Text que_EntpNumber();
  static void setQue_EntpNumber(Text number);

  /// The preparer's number with the Quebec agency.
  static Text que_PreparerNumber();
  static void setQue_PreparerNumber(Text number);

  /// The Quebec code of the review before the assessment.
  static Text que_PreAssessmentCode();
  static void setQue_PreAssessmentCode(Text code);

  /// The access code to the Quebec agency's services.
  static Text que_AccessNumber();
  static void setQue_AccessNumber(Text number);

  // ---- Contact ---------------------------------------------------------------------------------------
  // The person to ask.

  /// The first name.
  static Text act_FirstName();
  static void setAct_FirstName(Text name);

  /// The last name.
  static Text act_LastName();
  static void setAct_LastName(Text name);

  /// The telephone number.
  static Text act_Phone();
  static void setAct_Phone(Text number);

  /// The e-mail address.
  static Text act_Email();
  static void setAct_Email(Text address);

  // ---- T1013 and T183 --------------------------------------------------------------------------------
  // Expiry dates, here and below, are numbers, or the empty text once they were cleared.

  /// The representative's identifier.
  static Text t1013RepID();
  static void setT1013RepID(Text id);

  /// The representative's business number.
  static Text t1013BussinessNo();
  static void setT1013BussinessNo(Text number);

  /// The identifier of the representative's group.
  static Text t1013GroupID();
  static void setT1013GroupID(Text id);

  /// The level, a neutral value of LevelOfAuthorizationMapping.
  static Text t1013LevelOfAuth();
  static void setT1013LevelOfAuth(Text neutralValue);

  /// The expiry date. Nil does not clear it: see Options.
  static Value t1013ExpiryDate();
  static void setT1013ExpiryDate(const Value& date);

  /// For all tax years.
  static bool t1013AuthForAllYrs();
  static void setT1013AuthForAllYrs(bool on);

  /// For some tax years.
  static bool t1013AuthForSelectiveYrs();
  static void setT1013AuthForSelectiveYrs(bool on);

  /// With access through the agency's online services.
  static bool t1013OnlineAuthorization();
  static void setT1013OnlineAuthorization(bool on);

  /// The expiry date of the T183 consent.
  static Value t183AuthorizationExpiryDate();
  static void setT183AuthorizationExpiryDate(const Value& date);

  /// The T183 consent is given for all clients.
  static bool t183AuthorizationforAll();
  static void setT183AuthorizationforAll(bool on);

  /// The T183 consent is given for the current client.
  static bool t183AuthorizationForCurrClient();
  static void setT183AuthorizationForCurrClient(bool on);

  /// The express notice of assessment is consented to.
  static bool expressNOAAuth();
  static void setExpressNOAAuth(bool on);

  // ---- RC59 ------------------------------------------------------------------------------------------

  /// The representative's identifier, in the personal product that of T1013, which cannot be set here;
  /// Options::rc59_RepID.
  static Text rc59RepID();
  static void setRc59RepID(Text id);

  /// The business number; Options::rc59_BusinessNo.
  static Text rc59BusNo();
  static void setRc59BusNo(Text number);

  /// The identifier of the representative's group; Options::rc59_GroupID.
  static Text rc59GroupID();
  static void setRc59GroupID(Text id);

  /// The level, a neutral value of LevelOfAuthorizationMapping; Options::rc59_LevelOfAuth.
  static Text rc59LevelOfAuth();
  static void setRc59LevelOfAuth(Text neutralValue);

  /// The expiry date; Options::rc59_AuthExpiryDate.
  static Value rc59ExpiryDate();
  static void setRc59ExpiryDate(const Value& date);

  /// For all tax years; Options::rc59_AuthForAllYears.
  static bool rc59AuthForAllYrs();
  static void setRc59AuthForAllYrs(bool on);

  /// With access through the agency's online services; Options::rc59_AuthOnlineAccess.
  static bool rc59OnlineAuthorization();
  static void setRc59OnlineAuthorization(bool on);

  /// How far the representative may go, a neutral value of RC59OptionsMapping.
  static Text rc59AllowUpdateAccess();
  static void setRc59AllowUpdateAccess(Text answer);

  /// The representative may reach all program accounts.
  static bool rc59AllowAccessToAllProgAccount();
  static void setRc59AllowAccessToAllProgAccount(bool on);

  // ---- MR-69 and TP-1000 -----------------------------------------------------------------------------

  /// The tax years, a label of MR69OptionsMapping in the display language.
  static Text mr69_Authorization();
  static void setMr69_Authorization(Text label);

  /// For all files at the agency.
  static bool mr69_AuthForAllFiles();
  static void setMr69_AuthForAllFiles(bool on);

  /// Authorization or power of attorney, a label of MR69AuthoriztionOrPowerOfAttorneyMapping in the display
  /// language.
  static Text mr69_AuthType();
  static void setMr69_AuthType(Text label);

  /// The expiry date.
  static Value mr69_AuthExpiryDate();
  static void setMr69_AuthExpiryDate(const Value& date);

  /// For all clients.
  static bool tp1000_AuthForAllClients();
  static void setTp1000_AuthForAllClients(bool on);

  /// For the electronic filer.
  static bool tp1000_AuthForElecFiler();
  static void setTp1000_AuthForElecFiler(bool on);

  // ---- Quebec authorizations -------------------------------------------------------------------------
  // What a Quebec authorization covers.

  /// The solidarity tax credit.
  static bool qSolidarityTaxCredit();
  static void setQSolidarityTaxCredit(bool on);

  /// The registration for GST, QST and the like.
  static bool qRegForGSTAndQSTetc();
  static void setQRegForGSTAndQSTetc(bool on);

  /// The sales recording module.
  static bool qSalesRecModule();
  static void setQSalesRecModule(bool on);

  /// Personal returns.
  static bool mrqAuthOfPersonalTaxReturns();
  static void setMrqAuthOfPersonalTaxReturns(bool on);

  /// Corporate returns.
  static bool mrqAuthOfCorpTaxReturns();
  static void setMrqAuthOfCorpTaxReturns(bool on);

  /// Returns of trusts.
  static bool mrqAuthOfTrustTaxReturns();
  static void setMrqAuthOfTrustTaxReturns(bool on);

  /// Advance payments of credits.
  static bool mrqAuthOfAdvPymtOfCredit();
  static void setMrqAuthOfAdvPymtOfCredit(bool on);

  /// The shelter allowance.
  static bool mrqAuthOfShelterAllwnc();
  static void setMrqAuthOfShelterAllwnc(bool on);

  /// Returns related to licences.
  static bool mrqAuthOfLicRelatedTaxRetuns();
  static void setMrqAuthOfLicRelatedTaxRetuns(bool on);

  /// QST and GST returns.
  static bool mrqAuthOfQSTAndGSTTaxRetuns();
  static void setMrqAuthOfQSTAndGSTTaxRetuns(bool on);

  /// Fuel tax returns.
  static bool mrqAuthOfFuelTaxRetuns();
  static void setMrqAuthOfFuelTaxRetuns(bool on);

  /// Tobacco tax returns.
  static bool mrqAuthOfTobaccoTaxRetuns();
  static void setMrqAuthOfTobaccoTaxRetuns(bool on);

  /// Source deductions and employer contributions.
  static bool mrqAuthOfSrcDedAndEmpCont();
  static void setMrqAuthOfSrcDedAndEmpCont(bool on);

  /// Support payments.
  static bool mrqAuthOfSupportPymnts();
  static void setMrqAuthOfSupportPymnts(bool on);

  /// The following information or documents only.
  static bool mrqFollowingInfoOrDocs();
  static void setMrqFollowingInfoOrDocs(bool on);

  /// Information on the application or enforcement of the excise act.
  static bool mrqInfoApplOrEnforceExcsAct();
  static void setMrqInfoApplOrEnforceExcsAct(bool on);

  // ---- Printing --------------------------------------------------------------------------------------

  /// The bar code is printed.
  static bool printBarCode();
  static void setPrintBarCode(bool on);

  /// The page on the PDF's validity is left out.
  static bool donotShowPDFValidityPage();
  static void setDonotShowPDFValidityPage(bool on);

  /// The printer that was last chosen.
  static Text printerNameChosen();
  static void setPrinterNameChosen(Text name);

  /// The print formats that are selected.
  static Text printFormatsSelected();
  static void setPrintFormatsSelected(Text formats);

  /// A header is printed.
  static bool printHeaderOption();
  static void setPrintHeaderOption(bool on);

  /// The text of the header, nil at first.
  static Text printHeaderUserHeader();
  static void setPrintHeaderUserHeader(Text text);

  /// The font of the header, nil at first. The header and the footer have one size.
  static std::optional<FontDescriptor> printFontForHeader();
  static void setPrintFontForHeader(const std::optional<FontDescriptor>& font);

  /// A footer is printed.
  static bool printFooterOption();
  static void setPrintFooterOption(bool on);

  /// The font of the footer; Options::printFontForFooter.
  static std::optional<FontDescriptor> printFontFotFooter();
  static void setPrintFontFotFooter(const std::optional<FontDescriptor>& font);

  /// A watermark is printed.
  static bool printWaterMark();
  static void setPrintWaterMark(bool on);

  // ---- Formatters ------------------------------------------------------------------------------------
  // Shared, made on the first call; never null, kept for the life of the process.

  /// Amounts in the display language: dollars and cents, in the corporate product whole dollars.
  static NumberFormatter* numberFormatter();

  /// Amounts in the display language, those below zero in parentheses.
  static NumberFormatter* numberFormatterWithoutDollar();

  /// Amounts that are being edited.
  static NumberFormatter* numberFormatterForEditing();

  /// A year and a month, such as 2020/03.
  static DateFormatter* yearMonthDateFormatter();

  // ---- Help ----------------------------------------------------------------------------------------

  /// Where the help file stands; Options::helpFile.
  Text helpFilePath() const;

 private:
  /// Runs before the first operation of any kind: makes the store and loads it.
  static void initialize();
  static Options& store();

  std::shared_ptr<Options> share_;
};

}  // namespace v1
}  // namespace qorvane
