// What a window of settings does to the store: everything at once, or nothing.
#include "qorvane/store/OptionEdits.h"

#include <functional>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tests/store/SharedDiskTest.h"

namespace qorvane {
namespace {

using testing_support::SharedUserDefaults;
using Names = std::vector<Text>;
using Posted = std::vector<std::string>;

class OptionEditsTest : public testing_support::SharedDiskTest {
 protected:
  /// The codes of the open refusals, after the option's name.
  std::vector<std::pair<Text, FailureCode>> refused() const {
    std::vector<std::pair<Text, FailureCode>> all;
    for (const auto& refusal : edits.check()) all.emplace_back(refusal.name, refusal.failure.code);
    return all;
  }

  OptionEdits edits{store};
};

TEST_F(OptionEditsTest, CollectsAndChangesNothing) {
  const Dictionary before = *store.options();
  edits.set("preparerCity", "Alma");
  edits.set("encryptXml", true);
  edits.reset("allowOverriding");
  EXPECT_EQ(edits.value("preparerCity"), Value(Text("Alma")));
  EXPECT_EQ(edits.value("preparerPhone"), Value(Text("")));
  EXPECT_EQ(edits.value("allowOverriding"), Value(Number(false)));
  EXPECT_EQ(edits.names(), (Names{"allowOverriding", "encryptXml", "preparerCity"})) << "the table's order";
  EXPECT_TRUE(edits.check().empty());
  EXPECT_TRUE(edits.conflicts().empty());
  EXPECT_TRUE(isIdentical(*store.options(), before));
  EXPECT_FALSE(store.isMarked());
  EXPECT_EQ(ours.writes, 0);
  edits.drop("encryptXml");
  EXPECT_EQ(edits.names(), (Names{"allowOverriding", "preparerCity"}));
}

TEST_F(OptionEditsTest, AFormShowsTheDefaultEvenAtTheFirstRead) {
  EXPECT_EQ(edits.value("dataEntryCellBackColor"), Value(archiveColor(Color::whiteColor())))
      << "not the grey of the first read";
  EXPECT_EQ(entry(store, "DataEntryCellBackColor"), Value()) << "and nothing is stored";
  edits.set("dataEntryCellBackColor", edits.value("dataEntryCellBackColor"));
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("DataEntryCellBackColor"), Value()) << "what does not differ is not set";
}

TEST_F(OptionEditsTest, OnlyOptionsThatCanBeSetAreEdited) {
  EXPECT_THROW(edits.set("PCity", "Alma"), Exception);
  EXPECT_THROW(edits.value("PCity"), Exception);
  EXPECT_THROW(edits.set("yor", 2021), Exception);
  EXPECT_THROW(edits.reset("efileDataBaseFolder"), Exception);
  EXPECT_TRUE(edits.names().empty());
}

TEST_F(OptionEditsTest, AppliesAllAtOnceAndPostsOnce) {
  edits.set("preparerCity", "Alma");
  edits.set("printBarCode", false);
  ASSERT_TRUE(edits.apply());
  EXPECT_FALSE(edits.failure());
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(store.changedNames(), (Names{"preparerCity", "printBarCode"})) << "print settings included";
  EXPECT_TRUE(edits.names().empty());
  EXPECT_FALSE(store.isMarked());
}

TEST_F(OptionEditsTest, WhatReadsSoAlreadyIsNotSetUnlessPinned) {
  edits.set("encryptXml", false);
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("EncryptXml"), Value());
  EXPECT_EQ(takePosted(), Posted());
  edits.setPinning(true);
  edits.set("encryptXml", false);
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("EncryptXml"), Value(Text("NO")));
  EXPECT_EQ(takePosted(), Posted()) << "nothing reads otherwise";
}

TEST_F(OptionEditsTest, AResetPutsTheDefaultInTheEntrysPlaceAtOnce) {
  store.setQue_PreAssessmentCode("1");
  store.setPreparerCountry("France");
  store.setClientFileFolder("/tmp/clients");
  store.saveOptions();
  takePosted();
  edits.reset("que_PreAssessmentCode");
  edits.reset("clientFileFolder");
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(entry(store, findProperty("que_PreAssessmentCode")->key(product)), Value(Text("3")));
  EXPECT_EQ(entry(store, findProperty("clientFileFolder")->key(product)), Value())
      << "its default is computed at each read";
  EXPECT_EQ(store.changedNames(), (Names{"que_PreAssessmentCode", "clientFileFolder"}));
}

TEST_F(OptionEditsTest, AFontThatIsResetTakesTheSizeWithItWhenItIsTheLast) {
  edits.set("printFontForHeader", "Helvetica, 10");
  edits.set("printFontForFooter", "Times, 10");
  ASSERT_TRUE(edits.apply());
  edits.reset("printFontForHeader");
  ASSERT_TRUE(edits.apply());
  EXPECT_FALSE(onDisk("HeaderFontSize").isNil());
  edits.reset("printFontForFooter");
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("HeaderFontSize"), Value());
}

TEST_F(OptionEditsTest, AProvinceThatIsResetTakesItsCodeAndLineWithIt) {
  edits.set("preparerProvince", "Ontario");
  ASSERT_TRUE(edits.apply());
  ASSERT_EQ(onDisk("PProvCode"), Value(Text("ON")));
  ASSERT_FALSE(onDisk("PProvandPCode").isNil());
  edits.reset("preparerProvince");
  ASSERT_TRUE(edits.apply());
  EXPECT_TRUE(store.preparerProvince().isNil());
  EXPECT_EQ(onDisk("PProvCode"), Value());
  EXPECT_EQ(onDisk("PProvandPCode"), Value());
}

TEST_F(OptionEditsTest, ARefusalIsSettledByKeepingTheValueAnyway) {
  edits.set("t1013LevelOfAuth", "7");
  edits.set("preparerCity", "Alma");
  ASSERT_EQ(refused(),
            (std::vector<std::pair<Text, FailureCode>>{{Text("t1013LevelOfAuth"), FailureCode::notAChoice}}));
  EXPECT_TRUE(edits.check()[0].mayBeKept);
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(
      edits.failure(),
      (Failure{FailureCode::valueRefused, {"t1013LevelOfAuth"}, 0, {Failure{FailureCode::notAChoice}}}));
  EXPECT_EQ(ours.writes, 0);
  edits.keepAnyway("t1013LevelOfAuth");
  EXPECT_TRUE(edits.check().empty());
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(store.t1013LevelOfAuth(), Text("7"));

  edits.set("t1013LevelOfAuth", "8");
  edits.keepAnyway("t1013LevelOfAuth");
  edits.set("t1013LevelOfAuth", "9");
  EXPECT_EQ(refused().size(), 1u) << "another value is another question";
}

TEST_F(OptionEditsTest, AValueOfAnotherFormIsRefusedForGood) {
  edits.set("mainBackColor", "no archive");
  edits.set("printFontForHeader", "no font");
  edits.set("encryptXml", "perhaps");
  edits.set("t1013ExpiryDate", "tomorrow");
  for (const auto& refusal : edits.check()) {
    EXPECT_FALSE(refusal.mayBeKept) << refusal.name;
    edits.keepAnyway(refusal.name);
  }
  EXPECT_EQ(refused().size(), 4u);
  EXPECT_FALSE(edits.apply());
}

TEST_F(OptionEditsTest, AValueIsCheckedAsItWouldStandBesideTheOtherEdits) {
  edits.set("preparerPostalCode", "75001");
  EXPECT_EQ(refused().size(), 1u);
  edits.set("preparerCountry", "France");
  EXPECT_TRUE(refused().empty());
}

TEST_F(OptionEditsTest, TwoValuesOfOneEntryAreRefused) {
  edits.set("preparerNameOfRepresentative", "A");
  edits.set("pName", "B");
  const auto refusals = edits.check();
  ASSERT_FALSE(refusals.empty());
  EXPECT_EQ(refusals[0].failure.code, FailureCode::twoValuesOfOneEntry);
  EXPECT_FALSE(refusals[0].mayBeKept);
  EXPECT_FALSE(edits.apply());
  edits.set("pName", "A");
  EXPECT_TRUE(edits.check().empty()) << "one value twice";

  edits.set("printFontForHeader", "Helvetica, 10");
  edits.set("printFontForFooter", "Times, 12");
  EXPECT_EQ(refused().size(), 1u) << "one size for both";
  edits.set("printFontForFooter", "Times, 10");
  EXPECT_TRUE(refused().empty());

  edits.set("t1013BussinessNo", "123456789");
  edits.set("t1013ExpiryDate", nullptr);
  EXPECT_EQ(refused().size(), 1u) << "clearing the date empties the number";
  edits.drop("t1013ExpiryDate");

  edits.set("preparerProvince", "Ontario");
  edits.set("preparerPostalCode", "K1A 0B1");
  EXPECT_TRUE(refused().empty()) << "the line of both is neither's own";
}

TEST_F(OptionEditsTest, WhatChangesUnderAnEditIsAConflict) {
  edits.set("preparerCity", "Alma");
  edits.set("preparerPhone", "418");
  elsewhere([](Options& there) {
    there.setPreparerCity("Percé");
    there.setPreparerFax("419");
  });
  EXPECT_TRUE(edits.conflicts().empty()) << "nobody looked yet";
  store.refresh();
  const auto found = edits.conflicts();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].name, Text("preparerCity"));
  EXPECT_EQ(found[0].mine, Value(Text("Alma")));
  EXPECT_EQ(found[0].theirs, Value(Text("Percé")));
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(edits.failure(), (Failure{FailureCode::optionChangedMeanwhile, {"preparerCity"}}));
  edits.keepMine("preparerCity");
  EXPECT_TRUE(edits.conflicts().empty());
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(onDisk("PracFAX"), Value(Text("419")));
}

TEST_F(OptionEditsTest, TakingTheirsDropsTheEdit) {
  edits.set("preparerCity", "Alma");
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.refresh();
  edits.takeTheirs("preparerCity");
  EXPECT_EQ(edits.value("preparerCity"), Value(Text("Percé")));
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("PCity"), Value(Text("Percé")));
}

TEST_F(OptionEditsTest, AConflictSettledOnceOpensAgainWithTheNextChange) {
  edits.set("preparerCity", "Alma");
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.refresh();
  edits.keepMine("preparerCity");
  elsewhere([](Options& there) { there.setPreparerCity("Gaspé"); });
  store.refresh();
  EXPECT_EQ(edits.conflicts().size(), 1u);
}

TEST_F(OptionEditsTest, ApplyStopsAtAConflictThatItsOwnRefreshBrings) {
  edits.set("preparerCity", "Alma");
  elsewhere([](Options& there) {
    there.setPreparerCity("Percé");
    there.setPreparerFax("419");
  });
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(edits.failure()->code, FailureCode::optionChangedMeanwhile);
  EXPECT_EQ(onDisk("PCity"), Value(Text("Percé")));
  EXPECT_EQ(store.preparerFax(), Text("")) << "the dictionary is as it was";
  EXPECT_EQ(takePosted(), Posted());
  store.refresh();
  EXPECT_EQ(edits.conflicts().size(), 1u);
}

TEST_F(OptionEditsTest, ItIsAppliedOverWhatOthersSaved) {
  edits.set("preparerCity", "Alma");
  elsewhere([](Options& there) { there.setPreparerFax("419"); });
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("PracFAX"), Value(Text("419")));
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"}) << "for both";
  EXPECT_EQ(store.changedNames(), (Names{"preparerCity", "preparerFax"}));
}

TEST_F(OptionEditsTest, AFailedSavePutsEverythingBackAndLeavesNothingWaiting) {
  store.setPreparerPhone("418");
  const Dictionary before = *store.options();
  edits.set("preparerCity", "Alma");
  elsewhere([](Options& there) { there.setPreparerFax("419"); });
  ours.failing = true;
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(edits.failure()->code, FailureCode::storeGaveNoReason);
  EXPECT_TRUE(isIdentical(*store.options(), before));
  EXPECT_TRUE(store.isMarked()) << "the program's own change is still to be announced";
  EXPECT_EQ(edits.names(), Names{"preparerCity"}) << "nothing that was typed is lost";
  EXPECT_EQ(takePosted(), Posted());
  ours.failing = false;
  EXPECT_TRUE(ours.synchronize());
  EXPECT_EQ(onDisk("PCity"), Value(Text(""))) << "nothing waits";
  EXPECT_EQ(store.refresh(), Names{"preparerFax"}) << "the base is as it was";
  takePosted();
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
}

TEST_F(OptionEditsTest, WhatWaitedBeforeAFailedApplyWaitsOn) {
  ours.failing = true;
  store.setPreparerPhone("418");
  store.saveOptions();
  Options second(ours, product);
  second.loadOptions();
  edits.set("preparerCity", "Alma");
  EXPECT_FALSE(edits.apply());
  ours.failing = false;
  EXPECT_TRUE(ours.synchronize());
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
  EXPECT_EQ(onDisk("PCity"), Value(Text("")));
}

TEST_F(OptionEditsTest, AStoreThatCannotBeReadFailsTheApply) {
  edits.set("preparerCity", "Alma");
  ours.unreadable = true;
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(edits.failure()->code, FailureCode::storeFailed);
  EXPECT_EQ(store.preparerCity(), Text(""));
}

TEST_F(OptionEditsTest, TheLockIsHeldFromReadingToWriting) {
  class Locked : public SharedUserDefaults {
   public:
    using SharedUserDefaults::SharedUserDefaults;
    Loaded load(const Text& key) override {
      seen.push_back(depth);
      return SharedUserDefaults::load(key);
    }
    bool synchronize() override {
      seen.push_back(depth);
      return SharedUserDefaults::synchronize();
    }
    void lock() override { ++depth; }
    void unlock() noexcept override { --depth; }
    int depth = 0;
    std::vector<int> seen;
  } locked(disk);
  Options here(locked, product);
  here.loadOptions();
  locked.seen.clear();
  OptionEdits mine(here);
  mine.set("preparerCity", "Alma");
  ASSERT_TRUE(mine.apply());
  EXPECT_EQ(locked.seen, (std::vector{1, 1}));
  EXPECT_EQ(locked.depth, 0);
}

TEST_F(OptionEditsTest, StepsModeIsStoredWithTheOthersAndItsEventFollows) {
  edits.set("isStepsMode", true);
  edits.set("preparerCity", "Alma");
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(ours.writes, 1) << "without its setter's own save";
  EXPECT_EQ(takePosted(), (Posted{"kPreferenceChangeEvt", "kStepFormsModeChangeEvt"}));
  EXPECT_TRUE(store.isStepsMode());
  ours.failing = true;
  edits.set("isStepsMode", false);
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(takePosted(), Posted());
  EXPECT_TRUE(store.isStepsMode());
}

TEST_F(OptionEditsTest, NothingIsAppliedToAStoreOfAnotherYearOrNone) {
  const ScopedUserDefaults standard(&ours);
  Options process;
  OptionEdits mine(process);
  mine.set("preparerCity", "Alma");
  EXPECT_FALSE(mine.apply());
  EXPECT_EQ(mine.failure(), Failure{FailureCode::notLoaded});
  process.loadOptions();
  useProduct(false, 2021);
  EXPECT_FALSE(mine.apply());
  EXPECT_TRUE(disk.empty());
}

TEST_F(OptionEditsTest, DroppingItChangesNothing) {
  const Dictionary before = *store.options();
  {
    OptionEdits dropped(store);
    dropped.set("preparerCity", "Alma");
    dropped.reset("language");
  }
  store.saveOptions();
  EXPECT_TRUE(isIdentical(*store.options(), before));
  EXPECT_EQ(takePosted(), Posted());
}

}  // namespace
}  // namespace qorvane
