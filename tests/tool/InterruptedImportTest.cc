// An import of several years that is stopped half-way, or meets a disk that is really full.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::Text;
using qorvane::Value;

class InterruptedImportTest : public testing::Test {
 protected:
  // A year of a firm whose notice has that many bytes.
  static void store(const Text& key, const char* city, std::size_t bytes) {
    FileUserDefaults files;
    files.setObject(Dictionary{{"PCity", Text(city)}, {"App.notice", Text(std::string(bytes, 'n'))}}, key);
    ASSERT_TRUE(files.synchronize());
  }
  static std::string year(const std::string& city, std::size_t bytes) {
    return R"({"PCity":")" + city + R"(","App.notice":")" + std::string(bytes, 'x') + "\"}";
  }
  // What two years are to become.
  fs::path importFile(std::size_t first, std::size_t second) const {
    const fs::path file = home.path() / "years.json";
    writeFile(file, R"({"QorvaneT1Settings2022":)" + year("Chambly", first) + R"(,"QorvaneT1Settings2023":)" +
                        year("Chambly", second) + "}");
    return file;
  }
  static std::string city(const char* year) {
    const ToolResult result = optionsmgr({"--lang", "en", "--year", year, "get", "preparerCity"});
    EXPECT_EQ(result.exit, 0) << result.err;
    return result.out;
  }
  static void bothRead(const std::string& city) {
    EXPECT_EQ(InterruptedImportTest::city("2022"), city);
    EXPECT_EQ(InterruptedImportTest::city("2023"), city);
  }

  TestHome home;
};

TEST_F(InterruptedImportTest, WhileItStandsStillEveryoneReadsAtOnceWhatWasBefore) {
  store("QorvaneT1Settings2022", "Alma", 10);
  store("QorvaneT1Settings2023", "Alma", 10);
  // Before the last change of the disk that the step takes, and before those that tidy up, it has happened.
  bool happened = false;
  int asked = 0;
  const ToolResult result = optionsmgrTraced({"import", importFile(10, 10).string()}, [&](SystemCall kind) {
    if (kind != SystemCall::ChangesTheDisk || ++asked < 2) return 0;
    happened |= city("2022") == "Chambly\n";
    bothRead(happened ? "Chambly\n" : "Alma\n");
    return 0;
  });
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_GT(asked, 20);
  EXPECT_TRUE(happened);
  bothRead("Chambly\n");
}

TEST_F(InterruptedImportTest, NoVerbThatReadsWaitsForTheLock) {
  store("QorvaneT1Settings2022", "Alma", 10);
  store("QorvaneT1Settings2023", "Alma", 10);
  FileUserDefaults holder;
  const FileUserDefaults::Lock importing(holder);
  // One that waited would wait for ever.
  for (const auto& verb : std::vector<std::vector<std::string>>{{"get", "language"},
                                                                {"list"},
                                                                {"describe", "language"},
                                                                {"search", "city"},
                                                                {"diff", "2022", "2023"},
                                                                {"export", "-"},
                                                                {"history"},
                                                                {"paths"},
                                                                {"province", "Quebec"},
                                                                {"product"},
                                                                {"doctor"}}) {
    std::vector<std::string> words{"--year", "2022", "--lock-wait", "86400"};
    words.insert(words.end(), verb.begin(), verb.end());
    const ToolResult result = optionsmgr(words);
    EXPECT_EQ(result.exit, 0) << verb[0] << ": " << result.err;
  }
}

// ---- a disk of its own, which is full -------------------------------------------------------------------

class FullDiskTest : public InterruptedImportTest {
 protected:
  // Runs the test in a process of its own with a home on a disk of that size. Skips where nothing may be
  // mounted.
  void onSmallDisk(const char* size, const std::function<void()>& test) const {
    constexpr int kNotPermitted = 77;
    const pid_t child = fork();
    if (child == 0) {
      const uid_t user = geteuid();
      const gid_t group = getegid();
      if (unshare(CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER)) != 0) _exit(kNotPermitted);
      // An ordinary user may mount where he is his own administrator, and stays who he is.
      if (user != 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
        std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
      }
      if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          mount("none", home.path().c_str(), "tmpfs", 0, size) != 0)
        _exit(kNotPermitted);
      test();
      std::cout.flush();
      _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotPermitted)
      GTEST_SKIP() << "this machine lets nobody mount a disk";
    EXPECT_EQ(status, 0);
  }

  // Takes what is left of the disk, to the last byte.
  void fill() const {
    std::ofstream filler(home.path() / "filler", std::ios::binary | std::ios::app);
    filler << std::unitbuf;
    for (const std::size_t piece : {4096u, 1u})
      while (filler << std::string(piece, 'f')) {
      }
  }
};

TEST_F(FullDiskTest, AnImportThatDoesNotFitChangesNothing) {
  onSmallDisk("size=600k", [&] {
    store("QorvaneT1Settings2022", "Alma", 90'000);
    store("QorvaneT1Settings2023", "Alma", 10);
    // The first year shrinks, so that putting it back takes room which the second one, too large, has taken.
    const fs::path file = importFile(10, 150'000);
    bool filled = false;
    const ToolResult result =
        optionsmgrTraced({"--lang", "en", "import", "--replace", file.string()}, [&](SystemCall kind) {
          if (kind == SystemCall::ChangesTheDisk && !filled &&
              fs::file_size(home.store() / "QorvaneT1Settings2022.plist") < 90'000) {
            filled = true;
            fill();
          }
          return 0;
        });
    EXPECT_TRUE(filled);
    EXPECT_NE(result.exit, 0);
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << result.err;
    bothRead("Alma\n");
    EXPECT_FALSE(fs::exists(home.store() / ".unfinished")) << "it is put back, in the room kept for that";
    EXPECT_EQ(
        FileUserDefaults().objectForKey("QorvaneT1Settings2022").asDictionary()->find("PCity")->textValue(),
        Text("Alma"));
  });
}

TEST_F(FullDiskTest, WhatCannotBePutBackStopsChangesOnlyUntilThereIsRoom) {
  onSmallDisk("size=600k", [&] {
    store("QorvaneT1Settings2022", "Alma", 90'000);
    store("QorvaneT1Settings2023", "Alma", 10);
    const fs::path file = importFile(10, 150'000);
    // Whatever becomes free once the first year is changed is taken by somebody else.
    const ToolResult result =
        optionsmgrTraced({"--lang", "en", "import", "--replace", file.string()}, [&](SystemCall kind) {
          if (kind == SystemCall::ChangesTheDisk &&
              fs::file_size(home.store() / "QorvaneT1Settings2022.plist") < 90'000)
            fill();
          return 0;
        });
    EXPECT_EQ(result.exit, 74);
    EXPECT_NE(result.err.find("could not be put back either"), std::string::npos) << result.err;
    EXPECT_LT(fs::file_size(home.store() / "QorvaneT1Settings2022.plist"), 90'000u);
    for (int time = 0; time < 2; ++time) {
      bothRead("Alma\n");
      EXPECT_EQ(optionsmgr({"province", "Quebec"}).exit, 0);
      EXPECT_EQ(optionsmgr({"doctor"}).exit, 1);
      const ToolResult change =
          optionsmgr({"--lang", "en", "--year", "2023", "set", "preparerCity", "Gaspé"});
      EXPECT_EQ(change.exit, 74) << change.err;
      EXPECT_NE(change.err.find("No space left on device"), std::string::npos) << change.err;
      EXPECT_NE(change.err.find("the next change puts it back"), std::string::npos) << change.err;
    }
    fs::remove(home.path() / "filler");
    EXPECT_EQ(optionsmgr({"--year", "2023", "set", "preparerCity", "Gaspé"}).exit, 0);
    EXPECT_EQ(city("2022"), "Alma\n");
    EXPECT_EQ(city("2023"), "Gaspé\n");
    EXPECT_GT(fs::file_size(home.store() / "QorvaneT1Settings2022.plist"), 90'000u);
    EXPECT_FALSE(fs::exists(home.store() / ".unfinished"));
  });
}

}  // namespace
}  // namespace testing_support
