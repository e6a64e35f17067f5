// The facade's one store, its instances, and the answers of its own.
#include "qorvane/manager/OptionsMgr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <ostream>
#include <thread>

#include "qorvane/jurisdictions/DisplayLanguage.h"
#include "qorvane/store/OptionEdits.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using Fault = FaultInjectingUserDefaults::Fault;
using Posted = std::vector<std::string>;

// Counts the loads, and runs something of the test's in the middle of each.
class CountingUserDefaults : public MemoryUserDefaults {
 public:
  Value objectForKey(const Text& key) override {
    ++reads;
    if (meanwhile) meanwhile();
    return MemoryUserDefaults::objectForKey(key);
  }

  std::atomic<int> reads = 0;
  std::function<void()> meanwhile;
};

class OptionsMgrTest : public testing_support::StoreTest {
 protected:
  static constexpr Text kDomain = "QorvaneT1Settings2020";

  void countLoads() { UserDefaults::setStandardUserDefaults(&counting); }

  CountingUserDefaults counting;
};

struct Operation {
  const char* name;
  void (*run)();
  friend std::ostream& operator<<(std::ostream& out, const Operation& operation) {
    return out << operation.name;
  }
};

class FirstOperationTest : public OptionsMgrTest, public testing::WithParamInterface<Operation> {};

TEST_P(FirstOperationTest, CreatesAndLoadsTheStoreOnce) {
  countLoads();
  GetParam().run();
  EXPECT_EQ(counting.reads, 1);
  GetParam().run();
  OptionsMgr::isEnglish();
  EXPECT_EQ(counting.reads, 1);
}

INSTANTIATE_TEST_SUITE_P(
    OptionsMgr, FirstOperationTest,
    testing::Values(Operation{"language", [] { OptionsMgr::language(); }},
                    Operation{"setLanguage", [] { OptionsMgr::setLanguage("French"); }},
                    Operation{"isEnglish", [] { OptionsMgr::isEnglish(); }},
                    Operation{"displayLanguageIsEnglish", [] { displayLanguageIsEnglish(); }},
                    Operation{"saveOptions", [] { OptionsMgr::saveOptions(); }},
                    Operation{"changedNames", [] { OptionsMgr::changedNames(); }},
                    Operation{"edits", [] { OptionsMgr::edits(); }},
                    Operation{"startPrinting", [] { OptionsMgr::startPrinting(); }},
                    Operation{"setStartPrinting", [] { OptionsMgr::setStartPrinting(true); }},
                    Operation{"isMRQPrinting", [] { OptionsMgr::isMRQPrinting(); }},
                    Operation{"setIsMRQPrinting", [] { OptionsMgr::setIsMRQPrinting(true); }},
                    Operation{"zsupress", [] { OptionsMgr::zsupress(); }},
                    Operation{"setZsupress", [] { OptionsMgr::setZsupress(false); }},
                    Operation{"yor", [] { OptionsMgr::yor(); }},
                    Operation{"numberFormatter", [] { OptionsMgr::numberFormatter(); }},
                    Operation{"fileExtension", [] { OptionsMgr::fileExtension(); }},
                    Operation{"fileExtensionPreviousYear", [] { OptionsMgr::fileExtensionPreviousYear(); }},
                    Operation{"taxRatesFileName", [] { OptionsMgr::taxRatesFileName(); }},
                    Operation{"formsVersion", [] { OptionsMgr::formsVersion(); }},
                    Operation{"formsVersions", [] { OptionsMgr::formsVersions(); }},
                    Operation{"formsBuild", [] { OptionsMgr::formsBuild(); }},
                    Operation{"qProductVersion", [] { OptionsMgr::qProductVersion(); }},
                    Operation{"federalApprovalNumber", [] { OptionsMgr::federalApprovalNumber(); }},
                    Operation{"productIDUpdateCheck", [] { OptionsMgr::productIDUpdateCheck(); }},
                    Operation{"productVersion", [] { OptionsMgr::productVersion(); }},
                    Operation{"productName", [] { OptionsMgr::productName(); }},
                    Operation{"productType", [] { OptionsMgr::productType(); }},
                    Operation{"isNetFile", [] { OptionsMgr::isNetFile(); }},
                    Operation{"softwareDeveloperCode", [] { OptionsMgr::softwareDeveloperCode(); }},
                    Operation{"dotMRQFilesPath", [] { OptionsMgr::dotMRQFilesPath(); }},
                    Operation{"gregorianCalendar", [] { OptionsMgr::gregorianCalendar(); }},
                    Operation{"appConstantValue", [] { OptionsMgr::appConstantValue("Language"); }},
                    Operation{"pagesWithDecimal", [] { OptionsMgr::pagesWithDecimal(); }},
                    Operation{"pagesWithMaskedSIN", [] { OptionsMgr::pagesWithMaskedSIN(); }},
                    Operation{"elementsToMasked", [] { OptionsMgr::elementsToMasked(); }},
                    Operation{"OptOverideableCells", [] { OptionsMgr::OptOverideableCells(); }},
                    Operation{"anInstance", [] { OptionsMgr(); }}),
    [](const testing::TestParamInfo<Operation>& operation) { return std::string(operation.param.name); });

TEST_F(OptionsMgrTest, TheLoadMayAskTheFacade) {
  bool english = false;
  counting.meanwhile = [&] { english = OptionsMgr::isEnglish(); };
  countLoads();
  OptionsMgr::language();
  EXPECT_TRUE(english) << "of a store without a dictionary yet";
  EXPECT_EQ(counting.reads, 1);
}

TEST_F(OptionsMgrTest, ThreadsThatComeFirstTogetherMeetOneLoadedStore) {
  defaults.setObject(Dictionary{{"Language", Text("French")}}, kDomain);
  counting.setObject(defaults.objectForKey(kDomain), kDomain);
  counting.meanwhile = [] { std::this_thread::yield(); };
  countLoads();
  std::atomic<int> french = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([&] { french += !OptionsMgr::isEnglish(); });
  }
  EXPECT_EQ(french, 8);
  EXPECT_EQ(counting.reads, 1);
}

TEST_F(OptionsMgrTest, AStoreThatCannotBeLoadedAnswersDefaults) {
  defaults.onRead = Fault::PlatformException;
  EXPECT_EQ(OptionsMgr::language(), Text("English"));
  ASSERT_EQ(logged.lines().size(), 1u);
  EXPECT_EQ(logged.lines()[0], Text("Options couldn't be loaded"));
  OptionsMgr::setAllowOverriding(true);
  EXPECT_FALSE(OptionsMgr::allowOverriding()) << "there is no dictionary to keep it";
}

TEST_F(OptionsMgrTest, ChangesReachTheDiskOnlyWithASave) {
  OptionsMgr::setAllowOverriding(true);
  EXPECT_TRUE(OptionsMgr::allowOverriding());
  EXPECT_TRUE(saved(kDomain).empty());
  EXPECT_EQ(takePosted(), Posted());
  OptionsMgr::saveOptions();
  EXPECT_EQ(*saved(kDomain).find("AllowOverriding"), Value(Text("YES")));
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
}

TEST_F(OptionsMgrTest, TheClientsOwnStoreIsAnotherOne) {
  OptionsMgr::setAllowOverriding(true);
  Options& own = Options::getOptionsObj();
  EXPECT_EQ(own.options(), nullptr) << "the facade never made or loaded it";
  own.loadOptions();
  EXPECT_FALSE(own.allowOverriding());
  own.setEncryptXml(true);
  EXPECT_FALSE(OptionsMgr::encryptXml());

  OptionsMgr::setLanguage(Text(std::string("English")));
  OptionsMgr::saveOptions();
  EXPECT_NE(lastSender, &own);
  EXPECT_NE(lastSender, nullptr);
  own.loadOptions();
  EXPECT_TRUE(own.allowOverriding()) << "they share the preference store";
}

TEST_F(OptionsMgrTest, EnglishIsExactlyEnglish) {
  EXPECT_TRUE(OptionsMgr::isEnglish()) << "the default";
  for (const char* other :
       {"english", "ENGLISH", "English ", " English", "Englis", "French", "Français", "", "en"}) {
    OptionsMgr::setLanguage(Text(std::string(other)));
    EXPECT_FALSE(OptionsMgr::isEnglish()) << other;
    EXPECT_FALSE(displayLanguageIsEnglish()) << other;
  }
  OptionsMgr::setLanguage(Text(std::string("English")));
  EXPECT_TRUE(OptionsMgr::isEnglish());
  EXPECT_TRUE(displayLanguageIsEnglish());
  OptionsMgr::setLanguage(nullptr);
  EXPECT_TRUE(OptionsMgr::isEnglish()) << "nil is ignored";
}

TEST_F(OptionsMgrTest, TheLanguageKeepsItsIdentity) {
  const Text french(std::string("French"));
  OptionsMgr::setLanguage(french);
  EXPECT_TRUE(OptionsMgr::language().isSameObject(french)) << "handed on unchanged";
  OptionsMgr::saveOptions();
  takePosted();
  OptionsMgr::setLanguage(french);
  OptionsMgr::saveOptions();
  EXPECT_EQ(takePosted(), Posted()) << "the same object is no change";
  OptionsMgr::setLanguage(Text(std::string("French")));
  OptionsMgr::saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"}) << "an equal text in another object is one";
}

TEST_F(OptionsMgrTest, EditsAndRefreshesItsStore) {
  OptionEdits edits = OptionsMgr::edits();
  edits.set("preparerCity", "Alma");
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(OptionsMgr::preparerCity(), Text("Alma"));
  EXPECT_EQ(OptionsMgr::changedNames(), std::vector<Text>{"preparerCity"});
  Dictionary entries = saved(kDomain);
  entries.set(Text("PCity"), Text("Percé"));
  defaults.setObject(entries, kDomain);
  EXPECT_EQ(OptionsMgr::refresh(), std::vector<Text>{"preparerCity"});
  EXPECT_EQ(OptionsMgr::preparerCity(), Text("Percé"));
  EXPECT_EQ(takePosted(), (Posted{"kPreferenceChangeEvt", "kPreferenceChangeEvt"}));
}

TEST_F(OptionsMgrTest, PrintingFlagsStartFalseAndAreNeverSaved) {
  EXPECT_FALSE(OptionsMgr::startPrinting());
  EXPECT_FALSE(OptionsMgr::isMRQPrinting());
  OptionsMgr::saveOptions();
  const Dictionary before = saved(kDomain);

  OptionsMgr::setStartPrinting(true);
  EXPECT_TRUE(OptionsMgr::startPrinting());
  EXPECT_FALSE(OptionsMgr::isMRQPrinting());
  OptionsMgr::setIsMRQPrinting(true);
  OptionsMgr::setStartPrinting(false);
  EXPECT_FALSE(OptionsMgr::startPrinting());
  EXPECT_TRUE(OptionsMgr::isMRQPrinting());
  OptionsMgr::setStartPrinting(true);

  EXPECT_FALSE(notifyAll);
  OptionsMgr::saveOptions();
  EXPECT_TRUE(isIdentical(Value(saved(kDomain)), Value(before)));
  EXPECT_EQ(takePosted(), Posted());
}

TEST_F(OptionsMgrTest, PrintingFlagsOutliveTheStore) {
  OptionsMgr::setStartPrinting(true);
  const OptionsMgr instance;
  EXPECT_TRUE(OptionsMgr::startPrinting());
}

TEST_F(OptionsMgrTest, AnInstancePutsAnUnloadedStoreInPlace) {
  OptionsMgr::setLanguage("French");
  OptionsMgr::setAllowOverriding(true);
  OptionsMgr::saveOptions();
  takePosted();
  const Dictionary before = saved(kDomain);

  const OptionsMgr instance;
  EXPECT_EQ(OptionsMgr::language(), Text("English")) << "the default of an empty store";
  EXPECT_TRUE(OptionsMgr::isEnglish());
  EXPECT_FALSE(OptionsMgr::allowOverriding());
  EXPECT_FALSE(OptionsMgr::zsupress()) << "nothing loads the store";
  EXPECT_FALSE(OptionsMgr::zsupress()) << "and it keeps no defaults";
  OptionsMgr::setAllowOverriding(true);
  EXPECT_FALSE(OptionsMgr::allowOverriding());
  EXPECT_TRUE(isIdentical(Value(saved(kDomain)), Value(before))) << "nothing was written yet";

  OptionsMgr::saveOptions();
  EXPECT_TRUE(defaults.objectForKey(kDomain).isNil())
      << "saving a store without a dictionary removes the entry";
}

TEST_F(OptionsMgrTest, TheFacadeKeepsTheStoreOfAnInstanceThatHasGone) {
  OptionsMgr::setLanguage("French");
  for (int i = 0; i < 2; ++i) {
    { const OptionsMgr instance; }
    EXPECT_EQ(OptionsMgr::language(), Text("English")) << "the old store does not come back";
    OptionsMgr::setLanguage("French");
    EXPECT_EQ(OptionsMgr::language(), Text("English")) << "and the new one is not loaded";
  }
}

TEST_F(OptionsMgrTest, MakingAnInstanceLowersTheMarkOfAChange) {
  OptionsMgr::setAllowOverriding(true);
  ASSERT_TRUE(notifyAll);
  const OptionsMgr instance;
  EXPECT_FALSE(notifyAll);
  OptionsMgr::saveOptions();
  EXPECT_EQ(takePosted(), Posted());
}

TEST_F(OptionsMgrTest, ObserversMayStillHoldAReplacedStore) {
  OptionsMgr::setLanguage(Text(std::string("French")));
  OptionsMgr::saveOptions();
  const auto* before = static_cast<const Options*>(lastSender);
  ASSERT_NE(before, nullptr);
  const OptionsMgr instance;
  // Under the sanitizer this fails when the store has gone.
  EXPECT_EQ(const_cast<Options*>(before)->language(), Text("French"));
}

TEST_F(OptionsMgrTest, AnswersFromTheYearThatRuns) {
  EXPECT_EQ(OptionsMgr::yor(), 2020);
  useProduct(true, 2021);
  EXPECT_EQ(OptionsMgr::yor(), 2021) << "asked on each call";
}

}  // namespace
}  // namespace qorvane
