// What an application notices of saves that fail: its change is still there, is saved and announced with the
// next one.
#include <gtest/gtest.h>

#include <cerrno>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"
#include "tests/TestHome.h"

namespace testing_support {
namespace {

using namespace qorvane;

class FailedSavesTest : public testing::TestWithParam<int> {
 protected:
  FailedSavesTest() {
    QVSettings::setProduct({.corporate = false, .taxYear = 2020});
    calls.setSyncing(false);
    UserDefaults::setStandardUserDefaults(&files);
  }
  ~FailedSavesTest() override { UserDefaults::setStandardUserDefaults(nullptr); }

  TestHome home;
  LogCapture logged;
  FaultInjectingSystemCalls calls;
  FileUserDefaults files{FileUserDefaults::defaultFolder(), calls};
};

TEST_P(FailedSavesTest, TheNextSaveKeepsBothChangesAndIsAnnounced) {
  int announced = 0;
  const Observer observer = NotificationCenter::defaultCenter().addObserver(
      kPreferenceChangeEvt, [&](const Notification&) { ++announced; });
  files.setLockWait(0);
  Options options;
  options.loadOptions();
  int failures = 0;
  for (int failing = 1;; ++failing) {
    const bool zsupress = !options.zsupress();
    const bool overriding = !options.allowOverriding();
    bool failed = false;
    calls.forgetCalls();
    calls.setFault([&](const std::string&, int call) {
      failed = failed || call == failing;
      return call == failing ? GetParam() : 0;
    });
    options.setZsupress(zsupress);
    options.saveOptions();
    calls.setFault(nullptr);
    if (files.lastFailure()) ++failures;
    EXPECT_EQ(options.zsupress(), zsupress) << "the application has its change, call " << failing;

    announced = 0;
    options.setAllowOverriding(overriding);
    options.saveOptions();
    EXPECT_FALSE(files.lastFailure()) << failing;
    EXPECT_EQ(announced, 1) << failing;
    FileUserDefaults other;
    const Value stored = other.objectForKey(options.settingsDomainKey());
    ASSERT_NE(stored.asDictionary(), nullptr);
    EXPECT_TRUE(isIdentical(stored, Value(*options.options())))
        << "both changes are on the disk, call " << failing;
    if (!failed || HasFailure()) break;
  }
  EXPECT_GT(failures, GetParam() == EINTR ? 0 : 5);
}

INSTANTIATE_TEST_SUITE_P(Of, FailedSavesTest,
                         testing::Values(ENOSPC, EIO, EACCES, EROFS, EDQUOT, EMFILE, EINTR));

}  // namespace
}  // namespace testing_support
