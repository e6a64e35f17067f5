// What a store of settings tells of its last load and save, and loading it again.
#include <array>
#include <cerrno>
#include <stdexcept>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using Fault = FaultInjectingUserDefaults::Fault;
using Posted = std::vector<std::string>;

constexpr Text kDomain = "QorvaneT1Settings2020";

class OutcomesTest : public testing_support::StoreTest {
 protected:
  static FailureCode codeOf(const std::optional<Failure>& failure) {
    EXPECT_TRUE(failure);
    return failure ? failure->code : FailureCode::storeGaveNoReason;
  }
};

TEST_F(OutcomesTest, BeforeTheFirstLoadNothingIsLoadedAndNothingHasFailedToSave) {
  Options store;
  EXPECT_EQ(codeOf(store.loadFailure()), FailureCode::notLoaded);
  EXPECT_FALSE(store.saveFailure());
  store.loadOptions();
  EXPECT_FALSE(store.loadFailure());
  store.saveOptions();
  EXPECT_FALSE(store.saveFailure());
}

TEST_F(OutcomesTest, ALoadTellsWhateverMadeItFailUntilOneSucceeds) {
  Options store;
  defaults.onRead = Fault::PlatformException;
  store.loadOptions();
  EXPECT_EQ(store.loadFailure(), (Failure{FailureCode::storeFailed, {"the store cannot be read"}}));
  defaults.onRead = Fault::None;
  store.loadOptions();
  EXPECT_FALSE(store.loadFailure());
  defaults.onRead = Fault::OtherException;
  EXPECT_THROW(store.loadOptions(), std::logic_error);
  EXPECT_EQ(store.loadFailure(), (Failure{FailureCode::storeFailed, {"the store cannot be read"}}));
  defaults.onRead = Fault::None;
  store.loadOptions();
  EXPECT_FALSE(store.loadFailure());
}

TEST_F(OutcomesTest, ASaveTellsWhateverMadeItFailUntilOneSucceeds) {
  Options store;
  store.loadOptions();
  const auto savesAgain = [&] {
    store.saveOptions();
    EXPECT_FALSE(store.saveFailure());
  };
  for (auto FaultInjectingUserDefaults::*const where :
       {&FaultInjectingUserDefaults::onSet, &FaultInjectingUserDefaults::onSynchronize}) {
    defaults.*where = Fault::PlatformException;
    store.saveOptions();
    EXPECT_EQ(codeOf(store.saveFailure()), FailureCode::storeFailed);
    defaults.*where = Fault::None;
    savesAgain();
    defaults.*where = Fault::OtherException;
    EXPECT_THROW(store.saveOptions(), std::logic_error);
    EXPECT_EQ(codeOf(store.saveFailure()), FailureCode::storeFailed);
    defaults.*where = Fault::None;
    savesAgain();
  }
  defaults.failure = Failure{FailureCode::cannotWrite, {"/full"}, ENOSPC};
  store.saveOptions();
  EXPECT_EQ(store.saveFailure(), defaults.failure);
  defaults.failure.reset();
  savesAgain();
}

TEST_F(OutcomesTest, AStoreThatFailsWithoutAReasonHasFailed) {
  class SilentUserDefaults : public MemoryUserDefaults {
   public:
    bool synchronize() override { return false; }
  } silent;
  UserDefaults::setStandardUserDefaults(&silent);
  Options store;
  store.loadOptions();
  store.saveOptions();
  EXPECT_EQ(store.saveFailure(), Failure{.code = FailureCode::storeGaveNoReason});
}

TEST_F(OutcomesTest, AnObserverLearnsWhetherTheDiskTookItAndItsOwnTroublesAreNoneOfTheSave) {
  Options store;
  store.loadOptions();
  std::optional<Failure> heard;
  const Observer observer =
      NotificationCenter::defaultCenter().addObserver(kPreferenceChangeEvt, [&](const Notification&) {
        heard = store.saveFailure();
        throw Exception({FailureCode::storeFailed, {"no room on the screen"}});
      });
  defaults.failure = Failure{FailureCode::cannotWrite, {"/full"}, ENOSPC};
  store.setAllowOverriding(true);
  store.saveOptions();
  EXPECT_EQ(heard, defaults.failure);
  defaults.failure.reset();
  store.setAllowOverriding(false);
  store.saveOptions();
  EXPECT_FALSE(heard);
  EXPECT_FALSE(store.saveFailure());
}

TEST_F(OutcomesTest, UnderAKeyThatCouldNotBeLoadedNothingIsSavedUntilItIs) {
  defaults.setObject(Dictionary{{"PCity", Text("Percé")}}, kDomain);
  Options store;
  useProduct(false, 2021);
  store.loadOptions();
  store.setPreparerCity("Gaspé");
  useProduct(false, 2020);
  defaults.onRead = Fault::PlatformException;
  store.loadOptions();
  const Failure cause = *store.loadFailure();
  defaults.onRead = Fault::None;
  EXPECT_EQ(store.preparerCity(), Text("Gaspé")) << "the dictionary is still that of the other year";

  // Nothing written, announced or lowered, and one line of the log.
  const int synchronized = defaults.synchronizeCount();
  logged.clear();
  store.saveOptions();
  EXPECT_EQ(store.saveFailure(), (Failure{FailureCode::loadFailedBefore, {}, 0, {cause}}));
  EXPECT_EQ(logged.lines(), std::vector<Text>{store.saveFailure()->reason(Language::English)});
  EXPECT_EQ(defaults.synchronizeCount(), synchronized);
  EXPECT_EQ(*saved(kDomain).find("PCity"), Value(Text("Percé")));
  EXPECT_TRUE(notifyAll);
  EXPECT_EQ(takePosted(), Posted());

  // The other year's key was loaded; another store of settings has failures of its own.
  useProduct(false, 2021);
  store.saveOptions();
  EXPECT_FALSE(store.saveFailure());
  EXPECT_EQ(*saved("QorvaneT1Settings2021").find("PCity"), Value(Text("Gaspé")));
  useProduct(false, 2020);
  store.saveOptions();
  EXPECT_EQ(codeOf(store.saveFailure()), FailureCode::loadFailedBefore);
  Options other;
  other.loadOptions();
  other.setPreparerCity("Matane");
  other.saveOptions();
  EXPECT_FALSE(other.saveFailure());

  store.loadOptions();
  store.setPreparerCity("Rimouski");
  store.saveOptions();
  EXPECT_FALSE(store.saveFailure());
  EXPECT_EQ(*saved(kDomain).find("PCity"), Value(Text("Rimouski")));
}

TEST_F(OutcomesTest, AnExceptionThatPassesThroughTheLoadCountsAsOneThatFailed) {
  defaults.setObject(Dictionary{{"PCity", Text("Percé")}}, kDomain);
  Options store;
  defaults.onRead = Fault::OtherException;
  EXPECT_THROW(store.loadOptions(), std::logic_error);
  defaults.onRead = Fault::None;
  store.saveOptions();
  EXPECT_EQ(codeOf(store.saveFailure()), FailureCode::loadFailedBefore);
  EXPECT_EQ(*saved(kDomain).find("PCity"), Value(Text("Percé")));
}

// ---- loading again ----------------------------------------------------------------------------------------

TEST_F(OutcomesTest, LoadingAgainDropsWhatWasNotSavedAndPostsNothing) {
  defaults.setObject(Dictionary{{"PCity", Text("Percé")}}, kDomain);
  Options store;
  store.loadOptions();
  store.setPreparerCity("Gaspé");
  defaults.setObject(Dictionary{{"PCity", Text("Matane")}}, kDomain);
  EXPECT_TRUE(store.reload());
  EXPECT_EQ(store.preparerCity(), Text("Matane"));
  EXPECT_FALSE(notifyAll);
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted());
  useProduct(true, 2022);
  defaults.setObject(Dictionary{{"PCity", Text("Laval")}}, "QorvaneT2Settings2022");
  EXPECT_TRUE(store.reload());
  EXPECT_EQ(store.preparerCity(), Text("Laval")) << "of the product and year that run now";
}

TEST_F(OutcomesTest, LoadingAgainDropsWhatWaitsToBeWritten) {
  FaultInjectingSystemCalls calls;
  FileUserDefaults files(FileUserDefaults::defaultFolder(), calls);
  UserDefaults::setStandardUserDefaults(&files);
  Options store;
  store.loadOptions();
  store.setPreparerCity("Percé");
  store.saveOptions();
  ASSERT_FALSE(store.saveFailure());
  calls.setFault([](const std::string& name, int) { return name == "write" ? ENOSPC : 0; });
  store.setPreparerCity("Gaspé");
  store.saveOptions();
  EXPECT_EQ(store.saveFailure()->systemError, ENOSPC);
  calls.setFault(nullptr);
  EXPECT_TRUE(store.reload());
  EXPECT_EQ(store.preparerCity(), Text("Percé"));
  EXPECT_TRUE(files.synchronize());
  EXPECT_EQ(*FileUserDefaults().objectForKey(kDomain).asDictionary()->find("PCity"), Value(Text("Percé")));
}

TEST_F(OutcomesTest, WhenLoadingAgainFailsTheSettingsAreThoseFromBefore) {
  Options store;
  store.loadOptions();
  store.setPreparerCity("Gaspé");
  const Dictionary* const before = store.options();
  for (const Fault fault : {Fault::PlatformException, Fault::OtherException}) {
    defaults.onRead = fault;
    EXPECT_FALSE(store.reload());
    EXPECT_EQ(codeOf(store.loadFailure()), FailureCode::storeFailed);
    EXPECT_EQ(store.options(), before);
    EXPECT_EQ(store.preparerCity(), Text("Gaspé"));
    EXPECT_TRUE(notifyAll);
    EXPECT_FALSE(bSettingVals);
  }
  store.saveOptions();
  EXPECT_EQ(codeOf(store.saveFailure()), FailureCode::loadFailedBefore);
  defaults.onRead = Fault::None;
  EXPECT_TRUE(store.reload());
  EXPECT_EQ(store.preparerCity(), Text(""));
}

// A source whose N-th answer is an exception that is none of the platform's: in the middle of the load list
// at the latest.
class RaisingSource : public QVSettings::Source {
 public:
  bool isT2() const override { return false; }
  int YOR() const override {
    if (--answers < 0) throw std::logic_error("no year");
    return 2020;
  }
  bool isPROVER() const override { return true; }
  bool isT2_VER2() const override { return false; }
  bool isT2VER(const Text&) const override { return false; }

  mutable int answers = 1000;
};

TEST_F(OutcomesTest, WhateverInterruptsLoadingAgainLeavesTheSettingsFromBefore) {
  RaisingSource source;
  QVSettings::setSource(&source);
  Options store;
  store.loadOptions();
  store.setPreparerCity("Gaspé");
  const Dictionary* const before = store.options();
  int failures = 0;
  for (source.answers = 0; !store.reload(); source.answers = ++failures) {
    ASSERT_LT(failures, 100);
    EXPECT_EQ(store.loadFailure(), (Failure{FailureCode::storeFailed, {"no year"}}));
    EXPECT_EQ(store.options(), before);
    EXPECT_TRUE(notifyAll);
    EXPECT_FALSE(bSettingVals);
  }
  EXPECT_GE(failures, 2) << "before the dictionary was read and after";
  EXPECT_EQ(store.preparerCity(), Text(""));
}

}  // namespace
}  // namespace qorvane
