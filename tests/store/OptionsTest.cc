// Loading, saving and announcing.
#include "qorvane/store/Options.h"

#include <array>
#include <barrier>
#include <iterator>
#include <span>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/LoadLists.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using Fault = FaultInjectingUserDefaults::Fault;
using OptionsTest = testing_support::StoreTest;
using Posted = std::vector<std::string>;

TEST_F(OptionsTest, FirstStartFillsDefaultsAndSavesThemWithoutAnAnnouncement) {
  Options store;
  store.loadOptions();
  ASSERT_NE(store.options(), nullptr);
  EXPECT_EQ(entry(store, "Language"), Value(Text("English")));
  EXPECT_EQ(entry(store, "LanguageOfCorrespondance"), Value(Text("English")));
  EXPECT_EQ(entry(store, "PreparerPovinceAsDefault"), Value(Text("NO")));
  EXPECT_EQ(entry(store, "ZSuppress"), Value(Text("YES")));
  EXPECT_EQ(entry(store, "AllowOverriding"), Value(Text("NO")));
  EXPECT_EQ(entry(store, "bDisclaimer"), Value(Text("1")));
  EXPECT_EQ(entry(store, "AutoSaveFileAfterEvery"), Value());
  EXPECT_EQ(entry(store, "DisclaimerTxt"), Value()) << "not in the load list";
  EXPECT_FALSE(notifyAll);
  EXPECT_FALSE(bSettingVals);

  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted());
  EXPECT_TRUE(isIdentical(saved("QorvaneT1Settings2020"), *store.options()));
  EXPECT_EQ(defaults.synchronizeCount(), 1);
}

TEST_F(OptionsTest, OneChangeIsAnnouncedOnceByTheNextSave) {
  Options store;
  store.loadOptions();
  store.setAllowOverriding(true);
  EXPECT_TRUE(notifyAll);
  EXPECT_EQ(takePosted(), Posted()) << "before the save";
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(lastSender, &store);
  EXPECT_FALSE(notifyAll);
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted());
}

TEST_F(OptionsTest, BulkModeStoresAndAnnouncesNothing) {
  Options store;
  store.loadOptions();
  {
    const BulkSetting bulk;
    EXPECT_TRUE(bSettingVals);
    store.setAllowOverriding(true);
    store.setLanguage("French");
  }
  EXPECT_FALSE(bSettingVals);
  EXPECT_FALSE(notifyAll);
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted());
  EXPECT_EQ(*saved("QorvaneT1Settings2020").find("AllowOverriding"), Value(Text("YES")));
  EXPECT_EQ(*saved("QorvaneT1Settings2020").find("Language"), Value(Text("French")));
}

TEST_F(OptionsTest, BulkSettingsNest) {
  const BulkSetting outer;
  { const BulkSetting inner; }
  EXPECT_TRUE(bSettingVals);
}

TEST_F(OptionsTest, TheProductsOfOneYearNeverShareAnEntry) {
  Options store;
  store.loadOptions();
  store.setLanguage("French");
  store.saveOptions();
  useProduct(true, 2020);
  store.loadOptions();
  EXPECT_EQ(store.language(), Text("English"));
  store.saveOptions();
  EXPECT_EQ(*saved("QorvaneT2Settings2020").find("Language"), Value(Text("English")));
  EXPECT_EQ(*saved("QorvaneT1Settings2020").find("Language"), Value(Text("French")));
}

std::vector<std::string> words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

TEST_F(OptionsTest, TheLoadListsAreThoseOfTheProducts) {
  const std::string common =
      "yor language languageOfCorrespondance preparerProvinceAsDefault zsupress allowOverriding "
      "preparerEfileNumber preparerPassword preparerNameOfRepresentative preparerFirmName "
      "preparerAddressLine1 preparerAddressLine2 preparerAddressLine3 preparerSuitNo "
      "preparerStreetNo preparerStreetName preparerPostalCode preparerCity preparerPhone "
      "preparerPostBoxNo preparerFax preparerEmail preparerCountry preparerPreAssessmentReview "
      "preparerTaxpyersNameAsLastYr preparerPostAssessmentReview t1013RepID repFirstName "
      "repLastName t1013BussinessNo t1013LevelOfAuth t1013ExpiryDate t1013AuthForAllYrs "
      "t1013AuthForSelectiveYrs t1013OnlineAuthorization printBarCode donotShowPDFValidityPage "
      "printHeaderOption printFontForFooter ";
  const auto asStrings = [](std::span<const std::string_view> list) {
    return std::vector<std::string>(list.begin(), list.end());
  };
  EXPECT_EQ(asStrings(personalLoadList()),
            words(common + "bDisclaimer preparerNoticeOfAssAndTaxRefundOption"));
  EXPECT_EQ(asStrings(corporateLoadList()),
            words(common +
                  "bDisclaimer t2ClientFileFolder cifFileFolder pName paddr1 t1013GroupID alberta_FirstName "
                  "alberta_LastName alberta_Position alberta_OrganizationType bDisclaimer "
                  "preparerNoticeOfAssAndTaxRefundOption"));
  EXPECT_EQ(personalLoadList().size(), 41u);
  EXPECT_EQ(corporateLoadList().size(), 51u);
}

TEST_F(OptionsTest, TheAnnouncementComesWhenTheChangeIsSavedAndBeforeTheFlagIsLowered) {
  Options store;
  store.loadOptions();
  int heard = 0;
  const auto listen = [&](const Text& name, bool flag) {
    return NotificationCenter::defaultCenter().addObserver(name, [this, &heard, flag](const Notification&) {
      ++heard;
      EXPECT_NE(saved("QorvaneT1Settings2020").find("AllowOverriding"), nullptr);
      EXPECT_EQ(*saved("QorvaneT1Settings2020").find("AllowOverriding"), Value(Text("YES")));
      EXPECT_EQ(defaults.synchronizeCount(), heard == 1 ? 1 : 2);
      EXPECT_EQ(notifyAll, flag);
    });
  };
  const Observer preferences = listen(kPreferenceChangeEvt, true);
  const Observer steps = listen(kStepFormsModeChangeEvt, false);
  store.setAllowOverriding(true);
  store.saveOptions();
  EXPECT_EQ(heard, 1);
  store.setIsStepsMode(true);
  EXPECT_EQ(heard, 2);
}

TEST_F(OptionsTest, AnObserverThatThrowsEndsTheSaveAndTheNextOneAnnouncesAgain) {
  Options store;
  store.loadOptions();
  store.setAllowOverriding(true);
  {
    const Observer thrower =
        NotificationCenter::defaultCenter().addObserver(kPreferenceChangeEvt, [](const Notification&) {
          throw Exception({FailureCode::storeFailed, {"no room"}});
        });
    logged.clear();
    store.saveOptions();
    EXPECT_EQ(logged.lines(), std::vector<Text>{"Options couldn't be loaded"});
    EXPECT_TRUE(notifyAll);
  }
  takePosted();
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  store.setAllowOverriding(false);
  const Observer other = NotificationCenter::defaultCenter().addObserver(
      kPreferenceChangeEvt, [](const Notification&) { throw std::logic_error("a bug"); });
  EXPECT_THROW(store.saveOptions(), std::logic_error);
  EXPECT_TRUE(notifyAll);
}

TEST_F(OptionsTest, AYearThatChangesBetweenLoadAndSaveIsTheYearSavedUnder) {
  Options store;
  store.loadOptions();
  store.setLanguage("French");
  useProduct(false, 2021);
  store.saveOptions();
  EXPECT_EQ(defaults.objectForKey("QorvaneT1Settings2020"), Value());
  EXPECT_EQ(*saved("QorvaneT1Settings2021").find("Language"), Value(Text("French")));
}

TEST_F(OptionsTest, AStoreNeverLoadedAnswersDefaultsIgnoresSettersAndItsSaveRemovesTheEntry) {
  defaults.setObject(Value(Dictionary{{"Language", Text("French")}}), "QorvaneT1Settings2020");
  Options store;
  EXPECT_EQ(store.options(), nullptr);
  EXPECT_EQ(store.language(), Text("English"));
  EXPECT_FALSE(store.zsupress());
  EXPECT_FALSE(store.zsupress()) << "nothing could be stored by the first read";
  EXPECT_TRUE(store.bDisclaimer());
  for (const OptionRow& row : optionTable())
    if (row.write) row.write(store, Number(1));
  EXPECT_EQ(store.options(), nullptr);
  EXPECT_FALSE(notifyAll);
  EXPECT_EQ(takePosted(), Posted());
  EXPECT_EQ(*saved("QorvaneT1Settings2020").find("Language"), Value(Text("French")))
      << "nothing was saved yet";
  store.saveOptions();
  EXPECT_EQ(defaults.objectForKey("QorvaneT1Settings2020"), Value());
}

TEST_F(OptionsTest, FileNameWithPathIsConstant) {
  Options store;
  EXPECT_EQ(store.getFileNameWithPath(), Text("/Settings.opt"));
  store.loadOptions();
  useProduct(true, 2011);
  EXPECT_EQ(store.getFileNameWithPath(), Text("/Settings.opt"));
}

TEST_F(OptionsTest, TheSharedInstanceIsOneObjectWhoeverAsksAtOnceAndIsNotLoaded) {
  constexpr int kThreads = 8;
  std::barrier start(kThreads);
  std::array<Options*, kThreads> found{};
  std::vector<std::thread> threads;
  for (Options*& mine : found)
    threads.emplace_back([&] {
      start.arrive_and_wait();
      mine = &Options::getOptionsObj();
    });
  for (std::thread& thread : threads) thread.join();
  for (const Options* mine : found) EXPECT_EQ(mine, &Options::getOptionsObj());
  EXPECT_EQ(Options::getOptionsObj().options(), nullptr);
}

TEST_F(OptionsTest, MakingAStoreLowersTheFlag) {
  notifyAll = true;
  const Options store;
  EXPECT_FALSE(notifyAll);
}

TEST_F(OptionsTest, LoadingReplacesTheDictionaryAndKeepsUnknownEntries) {
  const Dictionary foreign{{"Language", Text("French")},
                           {"Unknown text", Text("é")},
                           {"Unknown number", Number(0.1)},
                           {"Unknown truth", Number(true)},
                           {"Unknown bytes", Data(std::string("\0\xff", 2))},
                           {"Unknown date", Date{86400.5}},
                           {"Unknown array", Array{Text("a"), Number(1)}},
                           {"Unknown dictionary", Dictionary{{"in", Text("side")}}}};
  defaults.setObject(foreign, "QorvaneT1Settings2020");
  Options store;
  store.loadOptions();
  EXPECT_EQ(store.language(), Text("French"));
  store.saveOptions();
  const Dictionary after = saved("QorvaneT1Settings2020");
  for (const auto& [key, value] : foreign) {
    ASSERT_NE(after.find(key.view()), nullptr) << key;
    EXPECT_TRUE(isIdentical(*after.find(key.view()), value)) << key;
  }
}

TEST_F(OptionsTest, ChangesOfTheLoadedDictionaryStayInMemoryUntilSaved) {
  defaults.setObject(Value(Dictionary{{"Language", Text("French")}}), "QorvaneT1Settings2020");
  Options store;
  store.loadOptions();
  store.setLanguageOfCorrespondance("French");
  EXPECT_EQ(saved("QorvaneT1Settings2020").find("LanguageOfCorrespondance"), nullptr);
}

TEST_F(OptionsTest, AnEntryThatIsNoDictionaryStartsAnEmptyStore) {
  defaults.setObject(Text("not settings"), "QorvaneT1Settings2020");
  Options store;
  store.loadOptions();
  EXPECT_EQ(store.language(), Text("English"));
}

TEST_F(OptionsTest, AnExceptionOfThePlatformEndsTheLoadAndLeavesTheDictionaryFromBefore) {
  Options store;
  store.loadOptions();
  store.setLanguage("French");
  logged.clear();
  defaults.onRead = Fault::PlatformException;
  store.loadOptions();
  EXPECT_EQ(logged.lines(), std::vector<Text>{"Options couldn't be loaded"});
  EXPECT_EQ(store.language(), Text("French"));
  EXPECT_FALSE(bSettingVals) << "the failure came before bulk mode";
  EXPECT_TRUE(notifyAll);
}

TEST_F(OptionsTest, AnotherExceptionPassesThroughTheLoad) {
  Options store;
  defaults.onRead = Fault::OtherException;
  EXPECT_THROW(store.loadOptions(), std::logic_error);
}

TEST_F(OptionsTest, AnExceptionOfThePlatformEndsTheSaveAndTheNextOneAnnounces) {
  for (Fault FaultInjectingUserDefaults::*where :
       {&FaultInjectingUserDefaults::onSet, &FaultInjectingUserDefaults::onSynchronize}) {
    Options store;
    store.loadOptions();
    store.setAllowOverriding(!store.allowOverriding());
    logged.clear();
    defaults.*where = Fault::PlatformException;
    store.saveOptions();
    EXPECT_EQ(logged.lines(), std::vector<Text>{"Options couldn't be loaded"});
    EXPECT_TRUE(notifyAll);
    EXPECT_EQ(takePosted(), Posted());
    defaults.*where = Fault::None;
    store.saveOptions();
    EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  }
}

TEST_F(OptionsTest, AnotherExceptionPassesThroughTheSave) {
  Options store;
  store.loadOptions();
  store.setAllowOverriding(true);
  defaults.onSet = Fault::OtherException;
  EXPECT_THROW(store.saveOptions(), std::logic_error);
  EXPECT_TRUE(notifyAll);
}

TEST_F(OptionsTest, TheAnswerOfSynchronizeIsNotExamined) {
  Options store;
  store.loadOptions();
  store.setAllowOverriding(true);
  defaults.failure = Failure{FailureCode::storeFailed, {"the disk is full"}, 28};
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_FALSE(notifyAll);
}

// A source of answers that raises while the walk of the getters runs.
class RaisingSource : public QVSettings::Source {
 public:
  bool isT2() const override { return false; }
  int YOR() const override {
    if (++asked_ == raiseAt && !other) throw Exception({FailureCode::storeFailed, {"no year"}});
    if (asked_ == raiseAt) throw std::logic_error("no year");
    return 2020;
  }
  bool isPROVER() const override { return true; }
  bool isT2_VER2() const override { return false; }
  bool isT2VER(const Text&) const override { return false; }

  int raiseAt = 0;
  bool other = false;

 private:
  mutable int asked_ = 0;
};

TEST_F(OptionsTest, AGetterThatRaisesIsLoggedAndTheWalkGoesOn) {
  RaisingSource source;
  source.raiseAt = 2;  // The first question is the domain key's, the second the walk's "yor".
  QVSettings::setSource(&source);
  Options store;
  store.loadOptions();
  ASSERT_FALSE(logged.lines().empty());
  EXPECT_EQ(logged.lines().front(), Text("Could not load default options"));
  EXPECT_EQ(entry(store, "Language"), Value(Text("English")));
  EXPECT_FALSE(bSettingVals);
  QVSettings::setSource(nullptr);
}

TEST_F(OptionsTest, AnotherExceptionOfAGetterPassesThroughAndLeavesBulkModeOn) {
  RaisingSource source;
  source.raiseAt = 2;
  source.other = true;
  QVSettings::setSource(&source);
  Options store;
  EXPECT_THROW(store.loadOptions(), std::logic_error);
  EXPECT_NE(store.options(), nullptr) << "the dictionary was installed before";
  EXPECT_TRUE(bSettingVals);
  bSettingVals = false;
  QVSettings::setSource(nullptr);
}

TEST_F(OptionsTest, ValueForKeyRunsTheGetterOfThatName) {
  Options store;
  store.loadOptions();
  EXPECT_EQ(store.valueForKey("yor"), Value(Number(2020)));
  EXPECT_EQ(store.valueForKey("language"), Value(Text("English")));
  EXPECT_TRUE(isIdentical(store.valueForKey("zsupress"), Value(Number(true))));
  EXPECT_EQ(entry(store, "EncryptXml"), Value());
  EXPECT_EQ(store.valueForKey("encryptXml"), Value(Number(false)));
  EXPECT_EQ(entry(store, "EncryptXml"), Value(Text("NO"))) << "with the effect that the getter has";
}

TEST_F(OptionsTest, ValueForKeyThrowsForAnUnknownName) {
  Options store;
  EXPECT_THROW(store.valueForKey("Language"), Exception) << "a stored key is no property";
  EXPECT_THROW(store.valueForKey(""), Exception);
  EXPECT_THROW(store.valueForKey("setLanguage"), Exception);
}

TEST_F(OptionsTest, EveryLoadListNameIsAProperty) {
  for (const std::string_view name : corporateLoadList()) EXPECT_NE(findProperty(name), nullptr) << name;
  for (const std::string_view name : personalLoadList()) EXPECT_NE(findProperty(name), nullptr) << name;
}

TEST_F(OptionsTest, OptionsAreFoundByNameAndByStoredKey) {
  EXPECT_EQ(findOption("zsupress"), findProperty("zsupress"));
  EXPECT_EQ(findOption("ZSuppress"), findProperty("zsupress"));
  EXPECT_EQ(findOption("zsuppress"), nullptr);
  EXPECT_EQ(findProperty("ZSuppress"), nullptr);
}

TEST_F(OptionsTest, KeysAreThoseOfTheVocabulary) {
  EXPECT_EQ(findProperty("useDefaultLegacyFileName")->key(), Text("optsStr_UseDefaultLegacyFileName"));
  EXPECT_TRUE(findProperty("language")->key().isSameObject(optsStr_Language));
  EXPECT_TRUE(findProperty("yor")->key().isNil());
}

}  // namespace
}  // namespace qorvane
