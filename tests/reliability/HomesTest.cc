// Homes that misbehave: full, read-only, missing, oddly named.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "tests/TestHome.h"
#include "tests/reliability/OrdinaryUser.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using namespace qorvane;

constexpr Text kKey = "QorvaneT1Settings2020";
const Value kOld = Dictionary{{"PCity", Text("Québec")}};
const Value kNew = Dictionary{{"PCity", Text(std::string(20'000, 'x'))}};

class HomesTest : public testing::Test {
 protected:
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }

  /// Expects that a save of the new value fails for this cause and leaves the store as it was.
  void expectFailure(int cause) const {
    const std::string before = readFile(file());
    std::size_t names = 0;
    for (const auto& entry : fs::directory_iterator(home.store())) names += entry.exists();
    FileUserDefaults store;
    store.setObject(kNew, kKey);
    EXPECT_FALSE(store.synchronize());
    ASSERT_TRUE(store.lastFailure());
    EXPECT_EQ(store.lastFailure()->systemError, cause) << store.lastFailure()->reason(Language::English);
    EXPECT_EQ(readFile(file()), before);
    for (const auto& entry : fs::directory_iterator(home.store())) names -= entry.exists();
    EXPECT_EQ(names, 0u) << "names came or went";
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kOld));
  }
  static bool save(const Value& value) {
    FileUserDefaults store;
    store.setObject(value, kKey);
    return store.synchronize();
  }

  /// Runs the test in a process that sees a small file system of its own in the folder's place, where the
  /// machine lets it mount one.
  void withFileSystemOfItsOwn(const std::function<void()>& test) const {
    fs::create_directories(home.store());
    const pid_t child = fork();
    if (child == 0) {
      if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          mount("tmpfs", home.store().c_str(), "tmpfs", 0, "size=64k,mode=0700") != 0)
        _exit(77);
      test();
      std::cout.flush();
      _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "this machine permits no mounting";
    EXPECT_EQ(status, 0);
  }

  TestHome home;
  LogCapture logged;
};

TEST_F(HomesTest, AFullOneKeepsTheOldSettings) {
  withFileSystemOfItsOwn([&] {
    ASSERT_TRUE(save(kOld));
    // Filled to the last page.
    const int filler = open((home.store() / "filler").c_str(), O_WRONLY | O_CREAT, 0600);
    const std::string page(4096, 'f');
    while (write(filler, page.data(), page.size()) > 0) continue;
    close(filler);
    expectFailure(ENOSPC);
    // With a little room, but not enough: the write comes short and then fails.
    ASSERT_EQ(truncate((home.store() / "filler").c_str(), 50'000), 0);
    expectFailure(ENOSPC);
    fs::remove(home.store() / "filler");
    EXPECT_TRUE(save(kNew));
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kNew));
  });
}

TEST_F(HomesTest, AReadOnlyOneIsReadAndNotWritten) {
  withFileSystemOfItsOwn([&] {
    ASSERT_TRUE(save(kNew) && save(kOld));
    ASSERT_EQ(mount(nullptr, home.store().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    expectFailure(EROFS);
    // A damaged file is noticed there too, and its good copy loaded.
    ASSERT_EQ(mount(nullptr, home.store().c_str(), nullptr, MS_REMOUNT, nullptr), 0);
    writeFile(file(), "junk");
    ASSERT_EQ(mount(nullptr, home.store().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kNew));
    EXPECT_EQ(readFile(file()), "junk");
  });
}

TEST_F(HomesTest, AReadOnlyParentIsSaid) {
  asOrdinaryUser(home.path(), [&] {
    fs::create_directories(home.path() / "home");
    fs::permissions(home.path() / "home", fs::perms(0500));
    setenv("HOME", (home.path() / "home").c_str(), 1);
    FileUserDefaults store;
    store.setObject(kOld, kKey);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.lastFailure()->systemError, EACCES);
    EXPECT_NE(store.lastFailure()->reason(Language::English).view().find("home/.config"),
              std::string_view::npos);
    EXPECT_TRUE(store.objectForKey(kKey).asDictionary()) << "the application keeps its change";
    EXPECT_TRUE(FileUserDefaults().objectForKey(kKey).isNil());
  });
}

// Taken away for a while, by a careless chmod: the settings are neither lost nor mended away.
TEST_F(HomesTest, AFileThatMayNotBeReadIsQuarantined) {
  asOrdinaryUser(home.path(), [&] {
    ASSERT_TRUE(save(kOld));
    const std::string before = readFile(file());
    fs::permissions(file(), fs::perms(0));
    FileUserDefaults store;
    EXPECT_THROW(store.objectForKey(kKey), FileException);
    ASSERT_EQ(logged.lines().size(), 1u);
    EXPECT_NE(logged.lines()[0].view().find(file().string()), std::string_view::npos);
    EXPECT_THROW(store.setObject(nullptr, kKey), Exception);
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0)) << "loading changes nothing";
    store.setObject(kNew, kKey);
    EXPECT_TRUE(store.synchronize());
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kNew));
    int quarantined = 0;
    for (const auto& entry : fs::directory_iterator(home.store())) {
      if (entry.path().string().find(".unreadable-") == std::string::npos) continue;
      ++quarantined;
      fs::permissions(entry.path(), fs::perms(0600));
      EXPECT_EQ(readFile(entry.path()), before);
    }
    EXPECT_EQ(quarantined, 1);
  });
}

TEST_F(HomesTest, PathsWithBlanksAccentsAndLineBreaks) {
  for (const char* name :
       {"Réglages d'impôt", " blanks at both ends ", "日本", "line\nbreak", "quo\"te\\", "%s%n"}) {
    setenv("XDG_CONFIG_HOME", (home.path() / name).c_str(), 1);
    EXPECT_TRUE(save(kOld) && save(kNew)) << name;
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kNew)) << name;
    EXPECT_TRUE(fs::exists(home.path() / name / "Qorvane" / file().filename())) << name;
    writeFile(home.path() / name / "Qorvane" / file().filename(), "junk");
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kOld)) << name;
    ASSERT_EQ(logged.lines().size(), 1u);
    EXPECT_EQ(logged.lines()[0].view().find('\n'), std::string_view::npos);
    logged.clear();
  }
}

TEST_F(HomesTest, TwoHomesThatAreNoUtf8AreTwo) {
  for (const bool second : {false, true}) {
    setenv("XDG_CONFIG_HOME", (home.path().string() + (second ? "/\xe8t\xe8" : "/\xe9t\xe9")).c_str(), 1);
    EXPECT_TRUE(FileUserDefaults().objectForKey(kKey).isNil());
    EXPECT_TRUE(save(second ? kNew : kOld));
    EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), second ? kNew : kOld));
  }
  setenv("XDG_CONFIG_HOME", (home.path().string() + "/\xe9t\xe9").c_str(), 1);
  EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kOld));
}

TEST_F(HomesTest, AnXdgValueThatIsEmptyOrRelativeCountsForNothing) {
  for (const char* value : {"", "relative", "./here", "../up", "~/config"}) {
    setenv("XDG_CONFIG_HOME", value, 1);
    EXPECT_TRUE(save(kOld)) << value;
    EXPECT_TRUE(fs::exists(file())) << value;
    EXPECT_FALSE(fs::exists(value)) << value;
    fs::remove_all(home.path() / ".config");
  }
}

// The application starts without its settings, and nothing that it does then reaches the disk or crashes.
TEST_F(HomesTest, WithoutAHomeTheApplicationRunsOnDefaults) {
  unsetenv("HOME");
  FileUserDefaults files;
  UserDefaults::setStandardUserDefaults(&files);
  QVSettings::setProduct({.corporate = false, .taxYear = 2020});
  Options options;
  options.loadOptions();
  EXPECT_FALSE(options.allowOverriding());
  options.setAllowOverriding(true);
  options.saveOptions();
  EXPECT_FALSE(options.allowOverriding());
  UserDefaults::setStandardUserDefaults(nullptr);
  ASSERT_EQ(logged.lines().size(), 3u);
  EXPECT_NE(logged.lines()[0].view().find("HOME"), std::string_view::npos);
  EXPECT_EQ(logged.lines()[1], Text("Options couldn't be loaded"));
  EXPECT_NE(logged.lines()[2].view().find("HOME"), std::string_view::npos);
}

// Settings that cannot be read when the application starts are there the next time.
TEST_F(HomesTest, AnApplicationThatCouldNotLoadDoesNotRemoveTheSettings) {
  ASSERT_TRUE(save(kOld));
  const std::string before = readFile(file());
  FaultInjectingSystemCalls calls;
  calls.setFault([](const std::string& name, int) { return name == "read" ? EIO : 0; });
  FileUserDefaults files(FileUserDefaults::defaultFolder(), calls);
  UserDefaults::setStandardUserDefaults(&files);
  QVSettings::setProduct({.corporate = false, .taxYear = 2020});
  Options options;
  options.loadOptions();
  calls.setFault(nullptr);
  options.saveOptions();
  EXPECT_EQ(readFile(file()), before);
  options.loadOptions();
  EXPECT_EQ(*options.options()->find("PCity"), Value(Text("Québec")));
  UserDefaults::setStandardUserDefaults(nullptr);
}

}  // namespace
}  // namespace testing_support
