// Options: every preference and every preparer, firm and authorization detail of one product and tax year.
//
// One object holds one dictionary, from stored key to value. `loadOptions` fills it from the preference
// store, getters and setters work on it in memory, `saveOptions` writes it back and announces what changed.
// Applications use the facade OptionsMgr, which owns the store that all of them share.
//
// Reading may write: most getters find their entry missing only once, because they then store its default,
// which the next save keeps and never announces. A store that was never loaded has no dictionary: its getters
// answer the defaults, its setters do nothing, and saving it removes the year's entry from the preference
// store.
//
// Setters are of two kinds. A comparing setter stores a value that differs from the current one and marks the
// store as changed, so that the next save announces it. A direct setter stores at once and marks nothing;
// what it changed is saved but not announced. An entry of an unexpected kind reads as its conversion says
// (qorvane/store/StoredForms.h). A setter of an option that a layer locks has no effect. No getter or setter
// reports an error, save those of the colours, which throw Exception for an entry that is no colour. Main
// thread only.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "qorvane/desktop/Color.h"
#include "qorvane/desktop/FontDescriptor.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/OptionOrigin.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class DateFormatter;
class NumberFormatter;
class Layer;
class LayeredSettings;
class StoreMerge;
struct OptionRow;
struct Sharing;

/// A comparing setter really changed a value since the last load or save: the next save announces it.
extern bool notifyAll;

/// Bulk-setting mode: comparing setters store without comparing and without touching `notifyAll`. For a run
/// of setter calls, as when a dialog writes all its fields back. See BulkSetting.
extern bool bSettingVals;

class Options;

/// Bulk-setting mode for as long as it lives; then the mode is what it was before.
class [[nodiscard]] BulkSetting {
 public:
  /// That of the stores that work for what the process runs.
  BulkSetting() : BulkSetting(bSettingVals) {}
  /// That of this store, which outlives it.
  explicit BulkSetting(Options& store);
  ~BulkSetting() { mode_ = before_; }
  BulkSetting(const BulkSetting&) = delete;
  BulkSetting& operator=(const BulkSetting&) = delete;

 private:
  explicit BulkSetting(bool& mode) : mode_(mode), before_(mode) { mode = true; }

  bool& mode_;
  bool before_;
};

/// The shared formatters, null until the operation of Options that makes them is first called; the library's,
/// for the life of the process.
extern NumberFormatter* numberForm;                 ///< English, of `numberFormatter`
extern NumberFormatter* numberFormFr;               ///< French, of `numberFormatter`
extern NumberFormatter* numberFormWithoutDollar;    ///< English, of `numberFormatterWithoutDollar`
extern NumberFormatter* numberFormWithoutDollarFr;  ///< French, of `numberFormatterWithoutDollar`
extern NumberFormatter* numberFormForEdt;           ///< of `numberFormatterForEditing`
extern DateFormatter* yearMonthDateForm;            ///< of `yearMonthDateFormatter`

class Options {
 public:
  /// A store without a dictionary, for the product that the process runs, which is asked on each call, and
  /// the standard preference store. Its flags are `notifyAll` and `bSettingVals`, which all such stores
  /// share; lowers `notifyAll`.
  Options();
  /// A store without a dictionary that loads, reads, converts and saves as if the process ran that product,
  /// whatever runs, from and to that preference store, which outlives it. Both flags are its own, and it
  /// makes no folders unless told to; labels are in the facade's display language.
  Options(UserDefaults& defaults, const Product& product);
  ~Options();
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  /// A store of its own for client code, made on the first call, by one thread only, and never loaded by the
  /// library. It is not the store of OptionsMgr: the two share nothing but the preference store.
  static Options& getOptionsObj();

  /// The product that it works for: its own, or the one that runs now (QVSettings::product).
  Product product() const;

  /// A comparing setter really changed a value since the last load or save: what `notifyAll` is to stores of
  /// the process's product.
  bool isMarked() const { return *changed_; }

  /// Whether a folder that is asked for is made when it is missing, in a store of a product of its own; at
  /// first it is not. Stores of the process's product always make them.
  void createsFolders(bool on) { makesFolders_ = on; }

  /// The dictionary itself, null until loaded. A change of it is a change of the store.
  Dictionary* options() { return opts_.get(); }

  // Below, "the running product", "the tax year" and the two flags are the store's own where it has them.

  /// Takes the dictionary of the running product and tax year from the preference store, or starts an empty
  /// one, then reads the product's list of options once in bulk mode, so that each storing default gets its
  /// entry. Lowers `notifyAll`. When the preference store raises, the log says "Options couldn't be loaded"
  /// and the dictionary is the one from before; when a getter raises, the log says "Could not load default
  /// options" and the next one is read. An exception that is none of the platform's passes through, out of a
  /// getter with bulk mode still on.
  void loadOptions();

  /// Why the last load failed, whatever made it fail: a preference store that raised, or an exception that
  /// passed through. None after one that succeeded; FailureCode::notLoaded before the first.
  const std::optional<Failure>& loadFailure() const { return loadFailure_; }

  /// Loads again as `loadOptions` does, dropping what was not saved and what waits to be written under the
  /// key. False on failure, whatever made it fail: then the dictionary and the flags are those from before,
  /// and `loadFailure` says why. Posts nothing.
  [[nodiscard]] bool reload();

  /// Writes the dictionary under the key of the product and tax year that run now, and asks the preference
  /// store to put it on the disk. Where others saved under that key since it was loaded, only what we changed
  /// or removed is written over theirs (UserDefaults::update), and after the save the dictionary holds both;
  /// a default that reading stored is no change. Under a key that this store did not load, the whole
  /// dictionary replaces what is there. If that made an option read differently, the save announces, too.
  /// Then, if `notifyAll` is up, posts kPreferenceChangeEvt with this store as the object and lowers it. When
  /// the preference store raises, the log says "Options couldn't be loaded" and `notifyAll` keeps its value;
  /// an exception that is none of the platform's passes through. Under a key whose last load by this store
  /// failed nothing is written, announced or lowered: the dictionary is not what stands there. A change of an
  /// option that a layer locks by now is not written; the dictionary takes the locked value. Whether the
  /// disk took it is told by `saveFailure`.
  void saveOptions();

  /// Why the last save failed, whatever made it fail: a disk that did not take it, a preference store that
  /// raised, an exception of it that passed through, a load that had failed, a change of an option that was
  /// locked meanwhile (FailureCode::optionLocked, which names it: all else was saved). None after one that
  /// succeeded, and before the first.
  const std::optional<Failure>& saveFailure() const { return saveFailure_; }

  /// Where the value of an option comes from that the store holds now, and who locks the option: nobody's for
  /// an answer without an entry, for a default, and in a store that is not loaded. Throws Exception for a
  /// name that no option has.
  OptionOrigin origin(std::string_view propertyName) const;
  /// All layers that the store's entries were read from, as they stood then; null where there were no farther
  /// layers.
  std::shared_ptr<const LayeredSettings> layers() const;

  /// Takes what others saved since into the dictionary, under what we changed and did not save; that stays.
  /// Options that read differently now are answered, in the order of the table, and if there are any,
  /// kPreferenceChangeEvt is posted once; what is still to be announced by the next save stays so. Does
  /// nothing when the store is not loaded, or for another product or year than runs now. When the preference
  /// store raises, the log says "Options couldn't be loaded" and nothing changes.
  std::vector<Text> refresh();

  /// The options of the last announcement, by property name in the order of the table: those that read
  /// differently from what was last loaded, saved or taken in. An observer of kPreferenceChangeEvt asks it to
  /// see what concerns it.
  const std::vector<Text>& changedNames() const { return changedNames_; }

  /// The key of the preference store under which the product and tax year that run now keep their dictionary,
  /// such as "QorvaneT1Settings2020".
  Text settingsDomainKey();

  /// "/Settings.opt": a file name to append to a folder; the library itself never does.
  Text getFileNameWithPath();

  /// The answer of the getter of that name (runs it, with its effects): flags and integers as numbers,
  /// colours as their archives, fonts as "name, size", nil as nil. A name that no getter has throws
  /// Exception.
  Value valueForKey(std::string_view propertyName);

  // ---- General ------------------------------------------------------------------------------------

  /// The tax year, asked of QVSettings on each call.
  int yor();
  /// The tax year in digits: "2020".
  Text currentYear();
  /// The year before the tax year in digits: "2019".
  Text lastYear();
  /// Always true: every edition files electronically.
  bool IsEfile();

  /// The display language: "English", at first, or any other text for French. Another text object counts as a
  /// change even when it holds the same text; nil is ignored. Comparing.
  Text language();
  void setLanguage(Text language);

  /// The language for letters to the client; "English" at first. Nil is ignored. Direct.
  Text languageOfCorrespondance();
  void setLanguageOfCorrespondance(Text language);

  /// New clients get the preparer's province; false at first. Comparing.
  bool preparerProvinceAsDefault();
  void setPreparerProvinceAsDefault(bool on);

  /// Amounts of zero are left blank; true at first, but the read that finds no entry answers false (loading
  /// makes that read). Comparing: setting false while there is no entry therefore changes nothing.
  bool zsupress();
  void setZsupress(bool on);

  /// Calculated amounts may be overridden; false at first. Comparing.
  bool allowOverriding();
  void setAllowOverriding(bool on);

  /// Return files are named as older releases named them; false at first. Direct.
  bool useDefaultLegacyFileName();
  void setUseDefaultLegacyFileName(bool on);

  /// The print dialog is shown before printing; false at first. Direct.
  bool showPrintDia();
  void setShowPrintDia(bool on);

  /// XML files are encrypted; false at first. Direct.
  bool encryptXml();
  void setEncryptXml(bool on);

  /// The disclaimer is printed; true at first. Direct.
  bool bDisclaimer();
  void setBDisclaimer(bool on);

  /// The disclaimer; optsStr_DefaultDisclaimerTxt at first and whenever it is empty. Nil is stored as "",
  /// which the next read replaces. Direct.
  Text disclaimerTxt();
  void setDisclaimerTxt(Text text);

  /// The application asks for a password; false at first, not stored. Direct.
  bool pwdProtectionEnabled();
  void setPwdProtectionEnabled(bool on);

  /// Minutes between automatic saves of the return, 0, at first and not stored, for none. Direct.
  int autoSaveAfter();
  void setAutoSaveAfter(int minutes);

  /// Forms are shown step by step; false at first, not stored, and always false in the corporate product. A
  /// change saves the store at once and then posts kStepFormsModeChangeEvt with this store as the object; in
  /// bulk mode it saves and posts nothing.
  bool isStepsMode();
  void setIsStepsMode(bool on);

  // ---- Preparer and firm -------------------------------------------------------------------------
  // Texts are kept exactly as given, whatever they hold. Unless a line says otherwise they are "" at first,
  // and setting is comparing, with nil stored as "" and always a change.

  /// The number under which the preparer files electronically.
  Text preparerEfileNumber();
  void setPreparerEfileNumber(Text number);

  /// The preparer's password, kept in clear: what it guards is the application's affair. Tools mask it.
  Text preparerPassword();
  void setPreparerPassword(Text password);

  /// The name of the representative; one entry with pName and, in the corporate product, with repFirstName.
  Text preparerNameOfRepresentative();
  void setPreparerNameOfRepresentative(Text name);

  /// The firm's name.
  Text preparerFirmName();
  void setPreparerFirmName(Text name);

  /// The first line of the address; one entry with paddr1.
  Text preparerAddressLine1();
  void setPreparerAddressLine1(Text line);

  /// The second line of the address.
  Text preparerAddressLine2();
  void setPreparerAddressLine2(Text line);

  /// The third line of the address.
  Text preparerAddressLine3();
  void setPreparerAddressLine3(Text line);

  /// The number of the suite.
  Text preparerSuitNo();
  void setPreparerSuitNo(Text number);

  /// The number in the street.
  Text preparerStreetNo();
  void setPreparerStreetNo(Text number);

  /// The street.
  Text preparerStreetName();
  void setPreparerStreetName(Text name);

  /// The firm is registered for the harmonized sales tax; false at first. Comparing.
  bool preparerHSTRegistrant();
  void setPreparerHSTRegistrant(bool on);

  /// The firm's registration number for that tax. Nil is "", and no change where that is there already.
  Text preparerHSTRegistrationNumber();
  void setPreparerHSTRegistrationNumber(Text number);

  /// The rate of that tax, a text. Nil is "", and no change where that is there already.
  Text preparerHSTRate();
  void setPreparerHSTRate(Text rate);

  /// The postal code. Nil is stored as "" and writes "PProvandPCode" anew as the province, a blank and
  /// "(null)"; any other value leaves that entry as it was. Comparing.
  Text preparerPostalCode();
  void setPreparerPostalCode(Text postalCode);

  /// The city.
  Text preparerCity();
  void setPreparerCity(Text city);

  /// The province, a name or a code; nil at first. A value also stores its code under "PProvCode", and under
  /// "PProvandPCode" itself, a blank and the postal code. Nil is stored as "" and leaves those two entries as
  /// they were. Comparing.
  Text preparerProvince();
  void setPreparerProvince(Text province);

  /// The country; nil at first.
  Text preparerCountry();
  void setPreparerCountry(Text country);

  /// The country's code; nil at first.
  Text preparerCountryCode();
  void setPreparerCountryCode(Text code);

  /// The telephone number.
  Text preparerPhone();
  void setPreparerPhone(Text number);

  /// The extension behind the telephone number. Outside bulk mode setting it is always announced, even when
  /// it is the same.
  Text preparerPhoneExt();
  void setPreparerPhoneExt(Text extension);

  /// The number of the post office box.
  Text preparerPostBoxNo();
  void setPreparerPostBoxNo(Text number);

  /// The fax number.
  Text preparerFax();
  void setPreparerFax(Text number);

  /// The e-mail address.
  Text preparerEmail();
  void setPreparerEmail(Text address);

  /// How returns are delivered, a label of ModeOfDelivery in the language in which it was set; the default
  /// one in the display language at first, not stored.
  Text preparerModeOfDelivery();
  void setPreparerModeOfDelivery(Text label);

  /// Where the notice of assessment and the refund go, a neutral value of NoticeOfAssAndRefundMapping; "0" at
  /// first, and what nil is stored as.
  Text preparerNoticeOfAssAndTaxRefundOption();
  void setPreparerNoticeOfAssAndTaxRefundOption(Text neutralValue);

  /// The code of the review before the assessment; "2" at first, and what nil is stored as.
  Text preparerPreAssessmentReview();
  void setPreparerPreAssessmentReview(Text code);

  /// The code of the review after the assessment; "2" at first, and what nil is stored as.
  Text preparerPostAssessmentReview();
  void setPreparerPostAssessmentReview(Text code);

  /// The taxpayers' names are those of last year, "YES" or "NO"; "NO" at first. Nil is never stored, but
  /// outside bulk mode it is announced. Comparing.
  Text preparerTaxpyersNameAsLastYr();
  void setPreparerTaxpyersNameAsLastYr(Text answer);

  /// The entry of preparerNameOfRepresentative.
  Text pName();
  void setPName(Text name);

  /// The entry of preparerAddressLine1.
  Text paddr1();
  void setPaddr1(Text line);

  /// The first name of the representative; in the corporate product the entry of
  /// preparerNameOfRepresentative.
  Text repFirstName();
  void setRepFirstName(Text name);

  /// The last name of the representative.
  Text repLastName();
  void setRepLastName(Text name);

  // ---- Alberta -----------------------------------------------------------------------------------
  // "" at first; nil is stored as "". Direct.

  /// The first name of the Alberta preparer.
  Text alberta_FirstName();
  void setAlberta_FirstName(Text name);

  /// The last name of the Alberta preparer.
  Text alberta_LastName();
  void setAlberta_LastName(Text name);

  /// The position of the Alberta preparer in the firm.
  Text alberta_Position();
  void setAlberta_Position(Text position);

  /// The kind of firm, a value of TypeOfOrganizationMapping.
  Text alberta_OrganizationType();
  void setAlberta_OrganizationType(Text type);

  // ---- Discounter --------------------------------------------------------------------------------
  // Whoever buys a refund before it is paid out. Texts are "" at first, not stored; nil is stored as "".
  // Direct.

  /// The firm's name.
  Text disc_FirmName();
  void setDisc_FirmName(Text name);

  /// The number of the suite.
  Text disc_SuiteNumber();
  void setDisc_SuiteNumber(Text number);

  /// The street.
  Text disc_Street();
  void setDisc_Street(Text street);

  /// The number of the post office box.
  Text disc_PostBoxNo();
  void setDisc_PostBoxNo(Text number);

  /// The city.
  Text disc_City();
  void setDisc_City(Text city);

  /// The province.
  Text disc_Province();
  void setDisc_Province(Text province);

  /// The postal code.
  Text disc_PostalCode();
  void setDisc_PostalCode(Text postalCode);

  /// The telephone number.
  Text disc_Telephone();
  void setDisc_Telephone(Text number);

  /// The fax number.
  Text disc_FaxNumber();
  void setDisc_FaxNumber(Text number);

  /// The e-mail address.
  Text disc_Email();
  void setDisc_Email(Text address);

  /// The discounter's registration number.
  Text disc_DiscounterNumber();
  void setDisc_DiscounterNumber(Text number);

  /// The name of the discounter's representative.
  Text disc_NameOfRep();
  void setDisc_NameOfRep(Text name);

  /// All returns are selected for discounting; an integer flag, false at first, not stored. Direct.
  bool disc_SelAllForDisc();
  void setDisc_SelAllForDisc(bool on);

  // ---- Quebec numbers ----------------------------------------------------------------------------
  // "" at first, not stored; nil is stored as "". Direct.

  /// The preparer's Quebec enterprise number.
  Text que_EntpNumber();
  void setQue_EntpNumber(Text number);

  /// The preparer's number with the Quebec agency.
  Text que_PreparerNumber();
  void setQue_PreparerNumber(Text number);

  /// The Quebec code of the review before the assessment; "3" at first, stored, and what nil and "" are
  /// stored as.
  Text que_PreAssessmentCode();
  void setQue_PreAssessmentCode(Text code);

  /// The access code to the Quebec agency's services.
  Text que_AccessNumber();
  void setQue_AccessNumber(Text number);

  // ---- Contact -----------------------------------------------------------------------------------
  // The person to ask. "" at first, not stored; nil is stored as "". Direct.

  /// The first name.
  Text act_FirstName();
  void setAct_FirstName(Text name);

  /// The last name.
  Text act_LastName();
  void setAct_LastName(Text name);

  /// The telephone number.
  Text act_Phone();
  void setAct_Phone(Text number);

  /// The e-mail address.
  Text act_Email();
  void setAct_Email(Text address);

  // ---- T1013 and T183 ----------------------------------------------------------------------------
  // Federal authorizations. Unless a line says otherwise texts are "" and flags false at first, and setting
  // is comparing, with a nil text stored as "" and always a change.
  //
  // Expiry dates, here and below, are numbers whose quantity the callers choose, 0.0 at first for none. A
  // cleared date is the empty text from then on, which the getter answers as it stands.

  /// The representative's identifier; in the corporate product one entry with rc59_RepID.
  Text t1013RepID();
  void setT1013RepID(Text id);

  /// The representative's business number; in the corporate product one entry with rc59_BusinessNo.
  Text t1013BussinessNo();
  void setT1013BussinessNo(Text number);

  /// The level, a neutral value of LevelOfAuthorizationMapping; "1" at first, and what nil is stored as.
  Text t1013LevelOfAuth();
  void setT1013LevelOfAuth(Text neutralValue);

  /// The expiry date, compared as a number. Nil keeps it, empties the entry "T1013BussinessNo" instead and is
  /// always a change.
  Value t1013ExpiryDate();
  void setT1013ExpiryDate(const Value& date);

  /// For all tax years.
  bool t1013AuthForAllYrs();
  void setT1013AuthForAllYrs(bool on);

  /// For some tax years.
  bool t1013AuthForSelectiveYrs();
  void setT1013AuthForSelectiveYrs(bool on);

  /// With access through the agency's online services.
  bool t1013OnlineAuthorization();
  void setT1013OnlineAuthorization(bool on);

  /// The identifier of the representative's group.
  Text t1013GroupID();
  void setT1013GroupID(Text id);

  /// The expiry date of the T183 consent, compared as a number. Nil is stored as "" and always a change.
  Value t183AuthorizationExpiryDate();
  void setT183AuthorizationExpiryDate(const Value& date);

  /// The T183 consent is given for all clients.
  bool t183AuthorizationforAll();
  void setT183AuthorizationforAll(bool on);

  /// The T183 consent is given for the current client.
  bool t183AuthorizationForCurrClient();
  void setT183AuthorizationForCurrClient(bool on);

  /// The express notice of assessment is consented to.
  bool expressNOAAuth();
  void setExpressNOAAuth(bool on);

  // ---- MR-69 and TP-1000 -------------------------------------------------------------------------
  // Quebec authorizations. Flags are integer flags, false at first, not stored. Direct.

  /// The tax years, a label of MR69OptionsMapping in the display language, kept as its neutral value; the
  /// default one at first, not stored. Setting takes a label of either language; nil and "" are stored as "".
  Text mr69_Authorization();
  void setMr69_Authorization(Text label);

  /// For all files at the agency.
  bool mr69_AuthForAllFiles();
  void setMr69_AuthForAllFiles(bool on);

  /// Authorization or power of attorney, a label of MR69AuthoriztionOrPowerOfAttorneyMapping, in all else
  /// like mr69_Authorization.
  Text mr69_AuthType();
  void setMr69_AuthType(Text label);

  /// The expiry date. Nil is stored as "".
  Value mr69_AuthExpiryDate();
  void setMr69_AuthExpiryDate(const Value& date);

  /// For all clients.
  bool tp1000_AuthForAllClients();
  void setTp1000_AuthForAllClients(bool on);

  /// For the electronic filer.
  bool tp1000_AuthForElecFiler();
  void setTp1000_AuthForElecFiler(bool on);

  // ---- Quebec authorizations ---------------------------------------------------------------------
  // What a Quebec authorization covers. Integer flags, false at first, not stored. Direct.

  /// The solidarity tax credit.
  bool qSolidarityTaxCredit();
  void setQSolidarityTaxCredit(bool on);

  /// The registration for GST, QST and the like.
  bool qRegForGSTAndQSTetc();
  void setQRegForGSTAndQSTetc(bool on);

  /// The sales recording module.
  bool qSalesRecModule();
  void setQSalesRecModule(bool on);

  /// Personal returns.
  bool mrqAuthOfPersonalTaxReturns();
  void setMrqAuthOfPersonalTaxReturns(bool on);

  /// Corporate returns.
  bool mrqAuthOfCorpTaxReturns();
  void setMrqAuthOfCorpTaxReturns(bool on);

  /// Returns of trusts.
  bool mrqAuthOfTrustTaxReturns();
  void setMrqAuthOfTrustTaxReturns(bool on);

  /// Advance payments of credits.
  bool mrqAuthOfAdvPymtOfCredit();
  void setMrqAuthOfAdvPymtOfCredit(bool on);

  /// The shelter allowance.
  bool mrqAuthOfShelterAllwnc();
  void setMrqAuthOfShelterAllwnc(bool on);

  /// Returns related to licences.
  bool mrqAuthOfLicRelatedTaxRetuns();
  void setMrqAuthOfLicRelatedTaxRetuns(bool on);

  /// QST and GST returns.
  bool mrqAuthOfQSTAndGSTTaxRetuns();
  void setMrqAuthOfQSTAndGSTTaxRetuns(bool on);

  /// Fuel tax returns.
  bool mrqAuthOfFuelTaxRetuns();
  void setMrqAuthOfFuelTaxRetuns(bool on);

  /// Tobacco tax returns.
  bool mrqAuthOfTobaccoTaxRetuns();
  void setMrqAuthOfTobaccoTaxRetuns(bool on);

  /// Source deductions and employer contributions.
  bool mrqAuthOfSrcDedAndEmpCont();
  void setMrqAuthOfSrcDedAndEmpCont(bool on);

  /// Support payments.
  bool mrqAuthOfSupportPymnts();
  void setMrqAuthOfSupportPymnts(bool on);

  /// The following information or documents only.
  bool mrqFollowingInfoOrDocs();
  void setMrqFollowingInfoOrDocs(bool on);

  /// Information on the application or enforcement of the excise act.
  bool mrqInfoApplOrEnforceExcsAct();
  void setMrqInfoApplOrEnforceExcsAct(bool on);

  // ---- RC59 --------------------------------------------------------------------------------------
  // The authorization of a business. Unless a line says otherwise texts are "" and flags false at first, and
  // nil is stored as "". Direct.

  /// The level, a neutral value of LevelOfAuthorizationMapping; "1" at first, and what nil is stored as.
  Text rc59_LevelOfAuth();
  void setRc59_LevelOfAuth(Text neutralValue);

  /// The expiry date. Nil is stored as "".
  Value rc59_AuthExpiryDate();
  void setRc59_AuthExpiryDate(const Value& date);

  /// For all tax years.
  bool rc59_AuthForAllYears();
  void setRc59_AuthForAllYears(bool on);

  /// With access through the agency's online services; never the entry of t1013OnlineAuthorization.
  bool rc59_AuthOnlineAccess();
  void setRc59_AuthOnlineAccess(bool on);

  /// The entry of t1013RepID, in either product. Setting does nothing in the personal product.
  Text rc59_RepID();
  void setRc59_RepID(Text id);

  /// The representative's business number, in the corporate product one entry with t1013BussinessNo.
  Text rc59_BusinessNo();
  void setRc59_BusinessNo(Text number);

  /// How far the representative may go, a neutral value of RC59OptionsMapping.
  Text rc59AllowUpdateAccess();
  void setRc59AllowUpdateAccess(Text neutralValue);

  /// For all program accounts of the business.
  bool rc59AllowAccessToAllProgAccount();
  void setRc59AllowAccessToAllProgAccount(bool on);

  /// The identifier of the representative's group; never the entry of t1013GroupID.
  Text rc59_GroupID();
  void setRc59_GroupID(Text id);

  // ---- Printing ----------------------------------------------------------------------------------
  // Direct: printing settings are never announced.

  /// Returns are printed with a bar code; true at first.
  bool printBarCode();
  void setPrintBarCode(bool on);

  /// The page on the validity of a PDF file is left out; false at first.
  bool donotShowPDFValidityPage();
  void setDonotShowPDFValidityPage(bool on);

  /// The printer chosen last; "" at first. Nil is stored as "".
  Text printerNameChosen();
  void setPrinterNameChosen(Text name);

  /// A header is printed; false at first.
  bool printHeaderOption();
  void setPrintHeaderOption(bool on);

  /// The header's font, none at first: there is no default. The size, kept with six decimals and read in
  /// single precision, is one entry with the footer's; one that is no number reads as 0 points. None, and a
  /// font without a name, is ignored.
  std::optional<FontDescriptor> printFontForHeader();
  void setPrintFontForHeader(const std::optional<FontDescriptor>& font);

  /// The footer's font; like the header's in all, with a name of its own and its size.
  std::optional<FontDescriptor> printFontForFooter();
  void setPrintFontForFooter(const std::optional<FontDescriptor>& font);

  /// A footer is printed; false at first, not stored.
  bool printFooterOption();
  void setPrintFooterOption(bool on);

  /// A watermark is printed; false at first, not stored. The entry is "PrintWaterMarkText".
  bool printWaterMark();
  void setPrintWaterMark(bool on);

  /// The user's own header; nil at first. Nil is stored as "".
  Text printHeaderUserHeader();
  void setPrintHeaderUserHeader(Text header);

  /// The print formats selected, in the print dialog's own form; "" at first, not stored. Nil is stored as
  /// "".
  Text printFormatsSelected();
  void setPrintFormatsSelected(Text formats);
  // ---- Colours -----------------------------------------------------------------------------------

  /// True when the colours differ in any component, however little; colours of different numbers of
  /// components differ. Colours that have no components, patterns and those of a catalogue, are compared by
  /// what they look like in sRGB, without alpha, and differ when they look like nothing there.
  bool areDifferentColors(const Color& first, const Color& secColor);

  // Background colours. An entry that is no colour archive makes the getter, and the setter that compares,
  // throw Exception. Nil is ignored. Comparing, with areDifferentColors.

  /// The main taxpayer's pages; calibrated RGB 0.8, 1, 1 at first.
  Color mainBackColor();
  void setMainBackColor(const std::optional<Color>& color);

  /// The spouse's pages; calibrated RGB 1, 182/255, 193/255 at first.
  Color spouseBackColor();
  void setSpouseBackColor(const std::optional<Color>& color);

  /// Cells for data entry; white at first, but the read that finds no entry answers grey.
  Color dataEntryCellBackColor();
  void setDataEntryCellBackColor(const std::optional<Color>& color);

  /// Calculated cells; yellow at first.
  Color calculatedCellBackColor();
  void setCalculatedCellBackColor(const std::optional<Color>& color);

  /// Cells whose value the user has legitimately overridden; green at first.
  Color legtimateOverridenBackColor();
  void setLegtimateOverridenBackColor(const std::optional<Color>& color);

  /// Cells whose value the user has overridden where it should not be; red at first.
  Color illegtimateOverridenBackColor();
  void setIllegtimateOverridenBackColor(const std::optional<Color>& color);

  // ---- Folders ------------------------------------------------------------------------------------

  // With D the user's documents folder (PathUtils), Y the tax year and P the year before. Nothing is cached,
  // and what could not be made is answered all the same: the caller finds out when it uses the folder.

  /// The user's application-support folder, nil without a home; not made.
  Text applicationUserFolder();
  /// D/Qorvane/Y, the root of this year's data, made when missing; "" without a documents folder.
  Text rootPath();
  /// D/Qorvane/P, the root of last year's data, likewise.
  Text lastYearRootPath();
  /// As `rootPath`.
  Text userDataPath();
  /// Where the help file stands: the application's folder, "/../Help/" and the file's name, with the ".." as
  /// it is; "" when the application's folder cannot be found. Nothing is tested on disk.
  Text helpFile();

  // Each of the following answers the stored path, or its default while there is none or an empty one, and
  // first makes the folder when nothing is at the path; a plain file there is answered as it is. If the file
  // manager throws, the log says which folder could not be made and the answer is "". Setting nil stores "",
  // so that the default holds again. Direct.

  /// Last year's returns: D/Qorvane/P/TP, in the corporate product T2_P.
  Text lastYrFileFolder();
  void setLastYrFileFolder(Text path);

  /// Clients' returns: D/Qorvane/Y/TY, in the corporate product T2_Y.
  Text clientFileFolder();
  void setClientFileFolder(Text path);

  /// Tax-data exchange files: D/Qorvane/Y/DotTax.
  Text dotTaxFilesFolder();
  void setDotTaxFilesFolder(Text path);

  /// PDF files: D/Qorvane/Y/PDf, in the corporate product T2_PDf.
  Text pdfFileFolder();
  void setPdfFileFolder(Text path);

  /// The database of electronic filing: D/Qorvane/Y/EFile. Only its entry moves it elsewhere.
  Text efileDataBaseFolder();
  /// The database of filing with the Quebec agency: D/Qorvane/Y/MRQFile. Only its entry moves it elsewhere.
  Text mrqDataBaseFolder();

  /// Corporate clients' returns, in both products: D/Qorvane/Y/T2_Y.
  Text t2ClientFileFolder();
  void setT2ClientFileFolder(Text path);

  /// Corporate information files: D/Qorvane/Y/CIF.
  Text cifFileFolder();
  void setCifFileFolder(Text path);

  // ---- Formatters ---------------------------------------------------------------------------------

  // Each answers the identical object on every call, never null.

  /// Amounts, in the display language's separators: "1,234.57" and "-1234.57" (only what is above zero is
  /// grouped) in the personal product, whole dollars in the corporate one. The product counts when a
  /// language's formatter is first made, not afterwards.
  NumberFormatter* numberFormatter();
  /// Amounts without grouping, those below zero in parentheses: "1234.57", "(1234.57)".
  NumberFormatter* numberFormatterWithoutDollar();
  /// Amounts as they are edited, in the process's locale: "1234.57".
  NumberFormatter* numberFormatterForEditing();
  /// Years and months: "2020/03".
  DateFormatter* yearMonthDateFormatter();

 private:
  friend class BulkSetting;
  friend class OptionEdits;
  friend class StoreAccess;

  /// A key whose last load failed.
  struct Unloaded {
    Text key;
    Failure why;
  };

  UserDefaults& defaults() const;
  Unloaded* unloadedUnder(const Text& key);
  void noteLoadFailure(const Text& key);
  void readDictionary(const Text& key);
  void fill(const Key& key, Value value);
  struct Saved {
    bool written;
    bool othersChanged;
    std::optional<Failure> refused;
  };
  Saved save(UserDefaults& store, const Text& key);
  Saved saveAnew(UserDefaults& store, const Text& key, const Value& whole);
  std::optional<Saved> writeDictionary();
  Dictionary adopted(const Dictionary& entries) const;
  std::vector<Text> takeIn(const UserDefaults::Loaded& found);
  const Layer* lockOf(const OptionRow& row) const;
  void announce(std::vector<Text> names);

  std::unique_ptr<Dictionary> opts_;
  // What others may have changed meanwhile; null until loaded.
  std::unique_ptr<Sharing> sharing_;
  std::vector<Text> changedNames_;
  std::optional<Failure> loadFailure_ = Failure{.code = FailureCode::notLoaded};
  std::optional<Failure> saveFailure_;
  std::vector<Unloaded> unloaded_;
  // The flags, which are the exported ones in a store of the process's product.
  bool* changed_;
  bool* bulk_;
  bool ownChanged_ = false;
  bool ownBulk_ = false;
  bool makesFolders_ = false;
  // Null in a store of the process's product and preference store.
  std::unique_ptr<const Product> product_;
  UserDefaults* defaults_ = nullptr;
};

inline BulkSetting::BulkSetting(Options& store) : BulkSetting(*store.bulk_) {}

}  // namespace v1
}  // namespace qorvane
