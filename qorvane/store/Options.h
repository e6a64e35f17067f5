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
// what it changed is saved but not announced. No getter or setter reports an error; an entry of an unexpected
// kind reads as its conversion says (qorvane/store/StoredForms.h). Main thread only.
#pragma once

#include <memory>
#include <string_view>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {

class DateFormatter;
class NumberFormatter;

/// A comparing setter really changed a value since the last load or save: the next save announces it.
extern bool notifyAll;

/// Bulk-setting mode: comparing setters store without comparing and without touching `notifyAll`. For a run
/// of setter calls, as when a dialog writes all its fields back. See BulkSetting.
extern bool bSettingVals;

/// Bulk-setting mode for as long as it lives; then the mode is what it was before.
class [[nodiscard]] BulkSetting {
 public:
  BulkSetting() : before_(bSettingVals) { bSettingVals = true; }
  ~BulkSetting() { bSettingVals = before_; }
  BulkSetting(const BulkSetting&) = delete;
  BulkSetting& operator=(const BulkSetting&) = delete;

 private:
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
  /// A store without a dictionary; lowers `notifyAll`.
  Options();
  ~Options();
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  /// A store of its own for client code, made on the first call, by one thread only, and never loaded by the
  /// library. It is not the store of OptionsMgr: the two share nothing but the preference store.
  static Options& getOptionsObj();

  /// The dictionary itself, null until loaded. A change of it is a change of the store.
  Dictionary* options() { return opts_.get(); }

  /// Takes the dictionary of the running product and tax year from the preference store, or starts an empty
  /// one, then reads the product's list of options once in bulk mode, so that each storing default gets its
  /// entry. Lowers `notifyAll`. When the preference store raises, the log says "Options couldn't be loaded"
  /// and the dictionary is the one from before.
  void loadOptions();

  /// Writes the dictionary under the key of the product and tax year that run now, and asks the preference
  /// store to put it on the disk. Then, if `notifyAll` is up, posts kPreferenceChangeEvt with this store as
  /// the object and lowers it. When the preference store raises, the log says "Options couldn't be loaded"
  /// and `notifyAll` keeps its value. Whether the disk took it is told by UserDefaults::lastFailure.
  void saveOptions();

  /// The key of the preference store under which the product and tax year that run now keep their dictionary,
  /// such as "QorvaneT1Settings2020".
  Text settingsDomainKey();

  /// "/Settings.opt": a file name to append to a folder; the library itself never does.
  Text getFileNameWithPath();

  /// The answer of the getter of that name (runs it, with its effects): flags and integers as numbers,
  /// colours as their archives, nil as nil. A name that no getter has throws Exception.
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
  void setLanguage(const Text& language);

  /// The language for letters to the client; "English" at first. Nil is ignored. Direct.
  Text languageOfCorrespondance();
  void setLanguageOfCorrespondance(const Text& language);

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
  void setDisclaimerTxt(const Text& text);

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
  /// it is;
  /// "" when the application's folder cannot be found. Nothing is tested on disk.
  Text helpFile();

  // Each of the following answers the stored path, or its default while there is none or an empty one, and
  // first makes the folder when nothing is at the path; a plain file there is answered as it is. If the file
  // manager throws, the log says which folder could not be made and the answer is "". Setting nil stores "",
  // so that the default holds again. Direct.

  /// Last year's returns: D/Qorvane/P/TP, in the corporate product T2_P.
  Text lastYrFileFolder();
  void setLastYrFileFolder(const Text& path);

  /// Clients' returns: D/Qorvane/Y/TY, in the corporate product T2_Y.
  Text clientFileFolder();
  void setClientFileFolder(const Text& path);

  /// Tax-data exchange files: D/Qorvane/Y/DotTax.
  Text dotTaxFilesFolder();
  void setDotTaxFilesFolder(const Text& path);

  /// PDF files: D/Qorvane/Y/PDf, in the corporate product T2_PDf.
  Text pdfFileFolder();
  void setPdfFileFolder(const Text& path);

  /// The database of electronic filing: D/Qorvane/Y/EFile. Only its entry moves it elsewhere.
  Text efileDataBaseFolder();
  /// The database of filing with the Quebec agency: D/Qorvane/Y/MRQFile. Only its entry moves it elsewhere.
  Text mrqDataBaseFolder();

  /// Corporate clients' returns, in both products: D/Qorvane/Y/T2_Y.
  Text t2ClientFileFolder();
  void setT2ClientFileFolder(const Text& path);

  /// Corporate information files: D/Qorvane/Y/CIF.
  Text cifFileFolder();
  void setCifFileFolder(const Text& path);

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
  std::unique_ptr<Dictionary> opts_;
};

}  // namespace qorvane
