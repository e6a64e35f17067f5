// Several programs on one list of settings: what a save does to what others saved, and what is heard of it.
#include <functional>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tests/store/SharedDiskTest.h"

namespace qorvane {
namespace {

using Names = std::vector<Text>;
using Posted = std::vector<std::string>;

class SharingTest : public testing_support::SharedDiskTest {
 protected:
  void SetUp() override {
    SharedDiskTest::SetUp();
    other.loadOptions();
  }

  Options other{theirs, product};
};

TEST_F(SharingTest, TwoThatLoadedAndBothSaveKeepBothChanges) {
  other.setPreparerPhone("418");
  other.saveOptions();
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(store.preparerPhone(), Text("418")) << "after a save the dictionary holds the merged entries";
}

TEST_F(SharingTest, OfOneOptionTheLaterSaveWins) {
  other.setPreparerCity("Percé");
  other.saveOptions();
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  other.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma"))) << "what was saved before is no change any more";
}

TEST_F(SharingTest, ARemovalIsAChange) {
  elsewhere([](Options& there) { there.options()->set(Text("App.x"), Text("1")); });
  store.loadOptions();
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.options()->remove("App.x");
  store.saveOptions();
  EXPECT_EQ(onDisk("App.x"), Value());
  EXPECT_EQ(onDisk("PCity"), Value(Text("Percé")));

  elsewhere([](Options& there) { there.options()->remove("PCity"); });
  store.setPreparerPhone("418");
  store.saveOptions();
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
  EXPECT_EQ(store.options()->find("App.x"), nullptr);
}

TEST_F(SharingTest, ADefaultThatReadingStoredIsNoChange) {
  EXPECT_FALSE(store.encryptXml());
  ASSERT_EQ(entry(store, "EncryptXml"), Value(Text("NO")));
  elsewhere([](Options& there) { there.setEncryptXml(true); });
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(onDisk("EncryptXml"), Value(Text("YES")));
  EXPECT_TRUE(store.encryptXml());
}

TEST_F(SharingTest, AnEntryOfTheLoadListThatOthersRemovedGetsItsDefault) {
  elsewhere([](Options& there) { there.setLanguageOfCorrespondance("French"); });
  store.loadOptions();
  elsewhere([](Options& there) { there.options()->remove("LanguageOfCorrespondance"); });
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(onDisk("LanguageOfCorrespondance"), Value(Text("English")));
  EXPECT_EQ(entry(store, "LanguageOfCorrespondance"), Value(Text("English")));
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(store.changedNames(), (Names{"languageOfCorrespondance", "preparerCity"}));
}

TEST_F(SharingTest, WhereTheDiskStillHoldsTheBaseTheWholeIsWritten) {
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_TRUE(isIdentical(disk[kKey.string()], Value(*store.options())));
}

TEST_F(SharingTest, ItsOwnObjectsStay) {
  const Text french = std::string("French");
  store.setLanguage(french);
  elsewhere([](Options& there) { there.setPreparerPhone("418"); });
  store.saveOptions();
  EXPECT_TRUE(store.language().isSameObject(french)) << "languages are compared by identity";
}

TEST_F(SharingTest, ASaveAnnouncesWhatOthersChangedAndOnlyThen) {
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(store.changedNames(), Names{"preparerCity"});
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted());

  elsewhere([](Options& there) {
    there.options()->set(Text("App.x"), Text("1"));        // no option's entry
    there.options()->set(Text("IsStepModeS"), Number(0));  // reads as before
    there.options()->remove("PracFAX");                    // reads as its default
  });
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted()) << "no reading changed";
  EXPECT_EQ(entry(store, "App.x"), Value(Text("1"))) << "though the entries did";
}

TEST_F(SharingTest, ASaveAnnouncesOnceWhateverCameTogether) {
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.setAllowOverriding(true);
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(store.changedNames(), (Names{"allowOverriding", "preparerCity"}));
}

TEST_F(SharingTest, StepsModeIsAnnouncedAfterTheSave) {
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.setIsStepsMode(true);
  EXPECT_EQ(takePosted(), (Posted{"kPreferenceChangeEvt", "kStepFormsModeChangeEvt"}));
}

TEST_F(SharingTest, AFailedSaveWaitsAndTheNextOneBringsItOverWhatOthersSaved) {
  ours.failing = true;
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value());
  elsewhere([](Options& there) { there.setPreparerPhone("418"); });
  ours.failing = false;
  EXPECT_TRUE(ours.synchronize()) << "whoever asks for it";
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));

  // It is on the disk, so it is no change any more.
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.setPreparerFax("419");
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Percé")));
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
  EXPECT_EQ(store.preparerPhone(), Text("418"));
}

TEST_F(SharingTest, WhatWaitsIsTheLastSaveOfItsStore) {
  ours.failing = true;
  store.setPreparerCity("Alma");
  store.saveOptions();
  store.setPreparerCity("");
  store.saveOptions();
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  ours.failing = false;
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Percé"))) << "the city was put back before it reached the disk";
}

TEST_F(SharingTest, ALoadPutsWhatWaitsOverWhatItReads) {
  ours.failing = true;
  store.setPreparerCity("Alma");
  store.saveOptions();
  elsewhere([](Options& there) { there.setPreparerPhone("418"); });
  store.loadOptions();
  EXPECT_EQ(store.preparerCity(), Text("Alma"));
  EXPECT_EQ(store.preparerPhone(), Text("418"));
  ours.failing = false;

  // The base is what was read: the city is still a change, and can be taken back.
  store.setPreparerCity("");
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Percé")));
}

TEST_F(SharingTest, WhatSeveralStoresLeftWaitingIsAllWritten) {
  Options second(ours, product);
  second.loadOptions();
  ours.failing = true;
  store.setPreparerCity("Alma");
  store.saveOptions();
  second.setPreparerPhone("418");
  second.saveOptions();
  ours.failing = false;
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
}

TEST_F(SharingTest, TheBaseBelongsToItsKey) {
  useProduct(false, 2020);
  const ScopedUserDefaults standard(&ours);
  Options process;
  process.loadOptions();
  elsewhere([](Options& there) { there.setPreparerPhone("418"); });
  const Product next{.taxYear = 2021};
  Options later(theirs, next);
  later.loadOptions();
  later.setPreparerFax("419");
  later.saveOptions();
  useProduct(false, 2021);
  process.setPreparerCity("Alma");
  process.saveOptions();
  EXPECT_TRUE(isIdentical(disk["QorvaneT1Settings2021"], Value(*process.options())))
      << "the whole dictionary replaces what is there";

  // From then on that key is its own.
  later.loadOptions();
  later.setPreparerFax("420");
  later.saveOptions();
  process.setPreparerPhone("1");
  process.saveOptions();
  const Dictionary& entries = *disk["QorvaneT1Settings2021"].asDictionary();
  EXPECT_EQ(*entries.find("PracFAX"), Value(Text("420")));
  EXPECT_EQ(*entries.find("PPhone"), Value(Text("1")));
}

TEST_F(SharingTest, ASaveThatIsTriedAgainMergesAgain) {
  store.setPreparerCity("Alma");
  bool once = true;
  ours.beforeWrite = [&] {
    if (!std::exchange(once, false)) return false;
    elsewhere([](Options& there) { there.setPreparerPhone("418"); });
    return true;
  };
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Alma")));
  EXPECT_EQ(onDisk("PPhone"), Value(Text("418")));
  EXPECT_EQ(store.preparerPhone(), Text("418"));
}

TEST_F(SharingTest, RefreshTakesInWhatOthersSaved) {
  store.setPreparerCity("Alma");
  elsewhere([](Options& there) {
    there.setPreparerCity("Percé");
    there.setPreparerPhone("418");
    there.setPrintBarCode(false);
  });
  EXPECT_EQ(store.refresh(), (Names{"preparerPhone", "printBarCode"}));
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(lastSender, &store);
  EXPECT_EQ(store.changedNames(), (Names{"preparerPhone", "printBarCode"}));
  EXPECT_EQ(store.preparerPhone(), Text("418"));
  EXPECT_EQ(store.preparerCity(), Text("Alma")) << "what was not saved stays";
  EXPECT_TRUE(store.isMarked()) << "and is still to be announced";
  EXPECT_EQ(ours.writes, 0);
  EXPECT_EQ(store.refresh(), Names());
  EXPECT_EQ(takePosted(), Posted());
}

TEST_F(SharingTest, RefreshMovesTheBaseOfWhatWeChangedToo) {
  store.setPreparerCity("Alma");
  elsewhere([](Options& there) { there.setPreparerCity("Percé"); });
  EXPECT_EQ(store.refresh(), Names());
  store.setPreparerCity("Percé");
  elsewhere([](Options& there) { there.setPreparerCity("Gaspé"); });
  store.saveOptions();
  EXPECT_EQ(onDisk("PCity"), Value(Text("Gaspé"))) << "Percé is what the base holds, so it is no change";
}

TEST_F(SharingTest, RefreshGivesTheLoadListItsDefaults) {
  elsewhere([](Options& there) { there.setLanguageOfCorrespondance("French"); });
  store.loadOptions();
  elsewhere([](Options& there) { there.options()->remove("LanguageOfCorrespondance"); });
  // The other program's own load has put the default there; take that away, too.
  Dictionary bare = *disk[kKey.string()].asDictionary();
  bare.remove("LanguageOfCorrespondance");
  disk[kKey.string()] = bare;
  EXPECT_EQ(store.refresh(), Names{"languageOfCorrespondance"});
  EXPECT_EQ(entry(store, "LanguageOfCorrespondance"), Value(Text("English")));
  EXPECT_EQ(onDisk("LanguageOfCorrespondance"), Value());
}

TEST_F(SharingTest, RefreshDoesNothingForAnotherYearOrWithoutALoad) {
  const ScopedUserDefaults standard(&ours);
  Options process;
  EXPECT_EQ(process.refresh(), Names());
  EXPECT_EQ(process.options(), nullptr);
  process.loadOptions();
  elsewhere([](Options& there) { there.setPreparerPhone("418"); });
  useProduct(false, 2021);
  EXPECT_EQ(process.refresh(), Names());
  EXPECT_EQ(process.preparerPhone(), Text(""));
  useProduct(false, 2020);
  EXPECT_EQ(process.refresh(), Names{"preparerPhone"});
}

TEST_F(SharingTest, ARefreshThatCannotReadChangesNothing) {
  elsewhere([](Options& there) { there.setPreparerPhone("418"); });
  ours.unreadable = true;
  EXPECT_EQ(store.refresh(), Names());
  EXPECT_EQ(logged.lines(), std::vector<Text>{"Options couldn't be loaded"});
  EXPECT_EQ(store.preparerPhone(), Text(""));
  ours.unreadable = false;
  EXPECT_EQ(store.refresh(), Names{"preparerPhone"});
}

TEST_F(SharingTest, AFontIsReadFromTwoEntries) {
  elsewhere([](Options& there) {
    there.setPrintFontForHeader(FontDescriptor("Helvetica", 10));
    there.setPrintFontForFooter(FontDescriptor("Times", 10));
  });
  store.refresh();
  elsewhere([](Options& there) { there.options()->set(Text("HeaderFontSize"), Text("12")); });
  EXPECT_EQ(store.refresh(), (Names{"printFontForHeader", "printFontForFooter"}));
}

TEST_F(SharingTest, AProvinceAndItsCodeComeFromOneSide) {
  elsewhere([](Options& there) { there.setPreparerProvince("Quebec"); });
  store.loadOptions();
  elsewhere([](Options& there) { there.setPreparerProvince("Ontario"); });
  store.setPreparerProvince("Manitoba");
  store.saveOptions();
  EXPECT_EQ(onDisk("PProvCode"), Value(Text("MB")));
  elsewhere([](Options& there) { there.setPreparerProvince("Ontario"); });
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(onDisk("PProv"), Value(Text("Ontario")));
  EXPECT_EQ(onDisk("PProvCode"), Value(Text("ON")));
  EXPECT_EQ(onDisk("PProvandPCode"), Value(Text("Ontario ")));
}

TEST_F(SharingTest, BothChangesStandInTheFilesOfTheDisk) {
  FileUserDefaults mine;
  FileUserDefaults anothers;
  Options here(mine, product);
  Options there(anothers, product);
  here.loadOptions();
  there.loadOptions();
  there.setPreparerPhone("418");
  there.saveOptions();
  here.setPreparerCity("Alma");
  here.saveOptions();
  EXPECT_FALSE(here.saveFailure());
  EXPECT_EQ(here.preparerPhone(), Text("418"));
  EXPECT_EQ(there.refresh(), Names{"preparerCity"});
  Options later(mine, product);
  later.loadOptions();
  EXPECT_EQ(later.preparerCity(), Text("Alma"));
  EXPECT_EQ(later.preparerPhone(), Text("418"));
}

TEST_F(SharingTest, AStoreThatDoesNotMergeSeesOneSetAndOneSynchronize) {
  MemoryUserDefaults plain;
  Options here(plain, product);
  here.loadOptions();
  here.setPreparerCity("Alma");
  plain.setObject(Dictionary{{"PPhone", Text("418")}}, kKey);
  here.saveOptions();
  EXPECT_TRUE(isIdentical(plain.objectForKey(kKey), Value(*here.options())));
  EXPECT_EQ(plain.synchronizeCount(), 1);
  EXPECT_EQ(here.changedNames(), Names{"preparerCity"});
  here.saveOptions();
  EXPECT_EQ(here.changedNames(), Names{"preparerCity"}) << "nothing was announced";
}

}  // namespace
}  // namespace qorvane
