// The general options, and the points of theirs that surprise.
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using Posted = std::vector<std::string>;

class GeneralOptionsTest : public testing_support::StoreTest {
 protected:
  GeneralOptionsTest() { store.loadOptions(); }

  void clear() { *store.options() = Dictionary(); }

  Options store;
};

TEST_F(GeneralOptionsTest, ZeroSuppressionAnswersFalseOnlyOnTheReadThatMakesItsEntry) {
  clear();
  EXPECT_FALSE(store.zsupress());
  EXPECT_EQ(entry(store, "ZSuppress"), Value(Text("YES")));
  EXPECT_TRUE(store.zsupress());
}

TEST_F(GeneralOptionsTest, SuppressionInLowerCaseIsFalse) {
  store.options()->set(Text("ZSuppress"), Text("yes"));
  EXPECT_FALSE(store.zsupress());
}

TEST_F(GeneralOptionsTest, SettingSuppressionFalseWithoutAnEntryChangesNothing) {
  clear();
  store.setZsupress(false);
  EXPECT_EQ(entry(store, "ZSuppress"), Value(Text("YES")));
  EXPECT_FALSE(notifyAll);
  store.setZsupress(false);
  EXPECT_EQ(entry(store, "ZSuppress"), Value(Text("NO")));
  EXPECT_TRUE(notifyAll);
}

TEST_F(GeneralOptionsTest, SettingSuppressionTrueWithoutAnEntryIsAChange) {
  clear();
  store.setZsupress(true);
  EXPECT_EQ(entry(store, "ZSuppress"), Value(Text("YES")));
  EXPECT_TRUE(notifyAll);
}

TEST_F(GeneralOptionsTest, ANilDisclaimerIsStoredEmptyAndReplacedByTheNextRead) {
  store.setDisclaimerTxt("My own");
  EXPECT_EQ(store.disclaimerTxt(), Text("My own"));
  store.setDisclaimerTxt(nullptr);
  EXPECT_EQ(entry(store, "DisclaimerTxt"), Value(Text("")));
  EXPECT_EQ(store.disclaimerTxt(), optsStr_DefaultDisclaimerTxt);
  EXPECT_EQ(entry(store, "DisclaimerTxt"), Value(optsStr_DefaultDisclaimerTxt));
}

TEST_F(GeneralOptionsTest, LanguageIsComparedByIdentity) {
  const Text current = store.language();
  store.setLanguage(current);
  EXPECT_FALSE(notifyAll) << "the same object";
  store.setLanguage(Text(std::string("English")));
  EXPECT_TRUE(notifyAll) << "an equal text in another object";
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
}

TEST_F(GeneralOptionsTest, NilLanguagesAreIgnored) {
  store.setLanguage("French");
  store.saveOptions();
  store.setLanguage(nullptr);
  store.setLanguageOfCorrespondance(nullptr);
  EXPECT_EQ(store.language(), Text("French"));
  EXPECT_EQ(store.languageOfCorrespondance(), Text("English"));
  EXPECT_FALSE(notifyAll);
  const BulkSetting bulk;
  store.setLanguage(nullptr);
  EXPECT_EQ(store.language(), Text("French")) << "in bulk mode too";
}

TEST_F(GeneralOptionsTest, DirectSettersAreNeverAnnounced) {
  store.setBDisclaimer(!store.bDisclaimer());
  store.setShowPrintDia(!store.showPrintDia());
  store.setEncryptXml(!store.encryptXml());
  store.setUseDefaultLegacyFileName(!store.useDefaultLegacyFileName());
  store.setPwdProtectionEnabled(!store.pwdProtectionEnabled());
  store.setAutoSaveAfter(7);
  store.setLanguageOfCorrespondance("French");
  store.setDisclaimerTxt("Other");
  EXPECT_FALSE(notifyAll);
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted());
  EXPECT_FALSE(store.bDisclaimer());
  EXPECT_EQ(entry(store, "bDisclaimer"), Value(Text("0")));
  EXPECT_TRUE(store.showPrintDia());
  EXPECT_EQ(entry(store, "ShowPrintDia"), Value(Text("YES")));
  EXPECT_TRUE(store.encryptXml());
  EXPECT_TRUE(store.useDefaultLegacyFileName());
  EXPECT_EQ(entry(store, "optsStr_UseDefaultLegacyFileName"), Value(Text("YES")));
  EXPECT_TRUE(store.pwdProtectionEnabled());
  EXPECT_EQ(entry(store, "PasswordProtection"), Value(Text("1")));
}

TEST_F(GeneralOptionsTest, AutoSaveIsKeptAsItsDecimalText) {
  EXPECT_EQ(store.autoSaveAfter(), 0);
  EXPECT_EQ(entry(store, "AutoSaveFileAfterEvery"), Value());
  store.setAutoSaveAfter(5);
  EXPECT_EQ(entry(store, "AutoSaveFileAfterEvery"), Value(Text("5")));
  store.setAutoSaveAfter(-2147483647 - 1);
  EXPECT_EQ(entry(store, "AutoSaveFileAfterEvery"), Value(Text("-2147483648")));
  EXPECT_EQ(store.autoSaveAfter(), -2147483647 - 1);
}

TEST_F(GeneralOptionsTest, IntegersReadAsTheDigitsTheyBeginWith) {
  const std::pair<Value, int> kCases[] = {
      {Text("12 minutes"), 12}, {Text("  7"), 7},
      {Text("minutes"), 0},     {Text(""), 0},
      {Text("-3"), -3},         {Number(4.9), 4},
      {Number(true), 1},        {Text("99999999999"), 2147483647},
      {Data("5"), 0},           {Array{Number(5)}, 0},
      {Dictionary(), 0},        {Date{5}, 0},
  };
  for (const auto& [stored, expected] : kCases) {
    store.options()->set(Text("AutoSaveFileAfterEvery"), stored);
    EXPECT_EQ(store.autoSaveAfter(), expected) << stored;
  }
}

TEST_F(GeneralOptionsTest, FlagsAreTrueOnlyOnTheExactText) {
  for (const Value& stored : {Value(Text("yes")), Value(Text("YES ")), Value(Text("1")), Value(Number(true)),
                              Value(Number(1)), Value(Data("YES")), Value(Array()), Value(Dictionary())}) {
    store.options()->set(Text("AllowOverriding"), stored);
    EXPECT_FALSE(store.allowOverriding()) << stored;
  }
  for (const Value& stored : {Value(Text("YES")), Value(Text("01")), Value(Text("1 ")), Value(Number(1))}) {
    store.options()->set(Text("bDisclaimer"), stored);
    EXPECT_FALSE(store.bDisclaimer()) << stored;
  }
}

TEST_F(GeneralOptionsTest, ComparingFlagsAnnounceOnlyRealChanges) {
  store.setAllowOverriding(false);
  store.setPreparerProvinceAsDefault(false);
  EXPECT_FALSE(notifyAll);
  store.setPreparerProvinceAsDefault(true);
  EXPECT_TRUE(notifyAll);
  EXPECT_EQ(entry(store, "PreparerPovinceAsDefault"), Value(Text("YES")));
}

TEST_F(GeneralOptionsTest, DerivedAnswersFollowTheYear) {
  EXPECT_EQ(store.yor(), 2020);
  EXPECT_EQ(store.currentYear(), Text("2020"));
  EXPECT_EQ(store.lastYear(), Text("2019"));
  useProduct(true, 2000);
  EXPECT_EQ(store.currentYear(), Text("2000"));
  EXPECT_EQ(store.lastYear(), Text("1999"));
}

TEST_F(GeneralOptionsTest, EveryEditionFilesElectronically) {
  EXPECT_TRUE(store.IsEfile());
  useProduct(true, 2011);
  EXPECT_TRUE(store.IsEfile());
  EXPECT_TRUE(Options().IsEfile());
}

// ---- steps mode ---------------------------------------------------------------------------------------

TEST_F(GeneralOptionsTest, StepsModeIsFalseAndStoresNothingAtFirst) {
  EXPECT_FALSE(store.isStepsMode());
  EXPECT_EQ(entry(store, "IsStepModeS"), Value());
}

TEST_F(GeneralOptionsTest, ChangingStepsModeSavesAndTells) {
  store.setIsStepsMode(true);
  EXPECT_TRUE(store.isStepsMode());
  EXPECT_TRUE(isIdentical(*saved("QorvaneT1Settings2020").find("IsStepModeS"), Value(Number(true))));
  EXPECT_EQ(takePosted(), Posted{"kStepFormsModeChangeEvt"}) << "nothing else had changed";
  EXPECT_EQ(lastSender, &store);
}

TEST_F(GeneralOptionsTest, AnEarlierChangeIsAnnouncedBeforeTheChangeOfStepsMode) {
  store.setAllowOverriding(true);
  store.setIsStepsMode(true);
  EXPECT_EQ(takePosted(), (Posted{"kPreferenceChangeEvt", "kStepFormsModeChangeEvt"}));
}

TEST_F(GeneralOptionsTest, TheSameStepsModeDoesNothing) {
  store.setIsStepsMode(false);
  EXPECT_EQ(defaults.synchronizeCount(), 0);
  EXPECT_EQ(takePosted(), Posted());
  EXPECT_EQ(entry(store, "IsStepModeS"), Value());
}

TEST_F(GeneralOptionsTest, StepsModeInBulkSavesAndPostsNothing) {
  const BulkSetting bulk;
  store.setIsStepsMode(false);
  EXPECT_EQ(defaults.synchronizeCount(), 1);
  EXPECT_TRUE(isIdentical(*saved("QorvaneT1Settings2020").find("IsStepModeS"), Value(Number(false))));
  EXPECT_EQ(takePosted(), Posted());
}

TEST_F(GeneralOptionsTest, StepsModeReadsWhatReadsAsATruth) {
  const std::pair<Value, bool> kCases[] = {
      {Number(true), true},  {Number(0), false}, {Number(0.5), true}, {Text("yes"), true},
      {Text("T"), true},     {Text("7"), true},  {Text("0"), false},  {Text("no"), false},
      {Text(""), false},     {Data("1"), false}, {Array(), false},    {Date{1}, false},
      {Dictionary(), false},
  };
  for (const auto& [stored, expected] : kCases) {
    store.options()->set(Text("IsStepModeS"), stored);
    EXPECT_EQ(store.isStepsMode(), expected) << stored;
  }
}

TEST_F(GeneralOptionsTest, TheCorporateProductHasNoStepsWhateverIsStored) {
  useProduct(true, 2020);
  store.loadOptions();
  takePosted();
  store.setIsStepsMode(true);
  EXPECT_EQ(takePosted(), Posted{"kStepFormsModeChangeEvt"});
  EXPECT_TRUE(isIdentical(*saved("QorvaneT2Settings2020").find("IsStepModeS"), Value(Number(true))));
  EXPECT_FALSE(store.isStepsMode());
  store.setIsStepsMode(true);
  EXPECT_EQ(takePosted(), Posted{"kStepFormsModeChangeEvt"}) << "always a change";
  const int saves = defaults.synchronizeCount();
  store.setIsStepsMode(false);
  EXPECT_EQ(defaults.synchronizeCount(), saves);
  EXPECT_TRUE(isIdentical(entry(store, "IsStepModeS"), Value(Number(true))));
  EXPECT_EQ(takePosted(), Posted());
}

}  // namespace
}  // namespace qorvane
