// What the facade tells of its store's loads and saves, and loading it again: with stores in memory, and with
// files that an application meets.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/reliability/OrdinaryUser.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;
using testing_support::asOrdinaryUser;
using testing_support::readFile;
using testing_support::writeFile;
using Fault = FaultInjectingUserDefaults::Fault;
using Posted = std::vector<std::string>;

constexpr Text kDomain = "QorvaneT1Settings2020";

class ReloadTest : public testing_support::StoreTest {
 protected:
  // The user's own files, with a city in them.
  void useFiles() {
    UserDefaults::setStandardUserDefaults(nullptr);
    FileUserDefaults files;
    files.setObject(Dictionary{{"PCity", Text("Percé")}}, kDomain);
    ASSERT_TRUE(files.synchronize());
    UserDefaults::setStandardUserDefaults(&own_.emplace());
  }
  std::string file() const { return own_->pathForKey(kDomain); }

 private:
  std::optional<FileUserDefaults> own_;
};

TEST_F(ReloadTest, TheFacadeTellsWhatItsStoreTells) {
  EXPECT_FALSE(OptionsMgr::loadFailure()) << "asking loads it";
  EXPECT_FALSE(OptionsMgr::saveFailure());
  defaults.failure = Failure{FailureCode::cannotWrite, {"/full"}, ENOSPC};
  OptionsMgr::saveOptions();
  EXPECT_EQ(OptionsMgr::saveFailure(), defaults.failure);
  const OptionsMgr another;
  EXPECT_EQ(OptionsMgr::loadFailure(), Failure{.code = FailureCode::notLoaded});
  EXPECT_FALSE(OptionsMgr::saveFailure());
}

TEST_F(ReloadTest, TheFacadeLoadsAgainForWhatRunsNow) {
  EXPECT_EQ(OptionsMgr::preparerCity(), Text(""));
  OptionsMgr::setPreparerCity("Gaspé");
  defaults.setObject(Dictionary{{"PCity", Text("Percé")}}, kDomain);
  EXPECT_TRUE(OptionsMgr::reload());
  EXPECT_EQ(OptionsMgr::preparerCity(), Text("Percé"));
  useProduct(true, 2021);
  EXPECT_TRUE(OptionsMgr::reload());
  EXPECT_EQ(OptionsMgr::preparerCity(), Text(""));
  EXPECT_EQ(takePosted(), Posted());
  defaults.onRead = Fault::PlatformException;
  EXPECT_FALSE(OptionsMgr::reload());
  EXPECT_TRUE(OptionsMgr::loadFailure());
}

TEST_F(ReloadTest, AFileThatMayNotBeReadIsNotSavedOverAndReadOnceItMay) {
  useFiles();
  asOrdinaryUser(home.path(), [&] {
    const std::string before = readFile(file());
    chmod(file().c_str(), 0);
    EXPECT_EQ(OptionsMgr::loadFailure(), (Failure{FailureCode::cannotOpen, {Text(file())}, EACCES}));
    OptionsMgr::setPreparerCity("Gaspé");
    OptionsMgr::saveOptions();
    EXPECT_EQ(OptionsMgr::saveFailure()->code, FailureCode::loadFailedBefore);
    EXPECT_EQ(OptionsMgr::saveFailure()->systemError, EACCES);
    EXPECT_FALSE(OptionsMgr::reload());
    chmod(file().c_str(), 0600);
    EXPECT_EQ(readFile(file()), before);
    EXPECT_TRUE(OptionsMgr::reload());
    EXPECT_EQ(OptionsMgr::preparerCity(), Text("Percé"));
    OptionsMgr::setPreparerCity("Gaspé");
    OptionsMgr::saveOptions();
    EXPECT_FALSE(OptionsMgr::saveFailure());
    EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  });
}

TEST_F(ReloadTest, AProcessThatHadNoDescriptorLeftRecovers) {
  useFiles();
  rlimit usual;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
  const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(next);
  const rlimit none{static_cast<rlim_t>(next), usual.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::optional<Failure> failure = OptionsMgr::loadFailure();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->systemError, EMFILE);
  OptionsMgr::setPreparerCity("Gaspé");
  OptionsMgr::saveOptions();
  EXPECT_EQ(OptionsMgr::saveFailure()->systemError, EMFILE);
  EXPECT_TRUE(OptionsMgr::reload());
  EXPECT_EQ(OptionsMgr::preparerCity(), Text("Percé"));
}

TEST_F(ReloadTest, AFileInThePlaceOfTheConfigurationFolderIsSeenByTheSave) {
  writeFile(home.path() / ".config", "");
  FileUserDefaults files;
  UserDefaults::setStandardUserDefaults(&files);
  EXPECT_FALSE(OptionsMgr::loadFailure()) << "there are no settings";
  OptionsMgr::setPreparerCity("Gaspé");
  OptionsMgr::saveOptions();
  ASSERT_TRUE(OptionsMgr::saveFailure());
  EXPECT_NE(OptionsMgr::saveFailure()->systemError, 0);
  fs::remove(home.path() / ".config");
  OptionsMgr::saveOptions();
  EXPECT_FALSE(OptionsMgr::saveFailure());
}

}  // namespace
}  // namespace qorvane
