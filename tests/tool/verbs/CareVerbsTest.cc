// doctor, watch and range.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class CareVerbsTest : public testing::Test {
 protected:
  static ToolResult tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--lang", "en", "--year", "2020"});
    return optionsmgr(arguments);
  }
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }
  static json finding(const ToolResult& result, const std::string& name) {
    const json told = json::parse(result.out);
    for (const json& one : told["findings"])
      if (one["file"] == name) return one;
    return nullptr;
  }
  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 0777;
  }

  TestHome home;
};

// ---- doctor ---------------------------------------------------------------------------------------------

TEST_F(CareVerbsTest, AStoreInOrderIsSaidToBe) {
  EXPECT_EQ(tool({"doctor"}).exit, 0) << "no store at all";
  EXPECT_FALSE(fs::exists(home.store()));
  tool({"set", "language", "French"});
  tool({"set", "language", "English"});
  const ToolResult result = tool({"doctor"});
  EXPECT_EQ(result.exit, 0) << result.out;
  EXPECT_EQ(result.out, home.store().string() +
                            "\n  QorvaneT1Settings2020.plist     good  saves: 2\n"
                            "  .QorvaneT1Settings2020.*.plist  good  generations that are good: 1\n");
  EXPECT_EQ(tool({"--quiet", "doctor"}).out, "");
}

TEST_F(CareVerbsTest, DamageIsFoundAndMendedOnRequest) {
  tool({"set", "language", "French"});
  tool({"set", "autoSaveAfter", "5"});
  std::string bytes = readFile(file());
  bytes[bytes.size() / 2] ^= 1;
  writeFile(file(), bytes);
  const ToolResult found = tool({"--json", "doctor"});
  EXPECT_EQ(found.exit, 1);
  EXPECT_EQ(finding(found, "QorvaneT1Settings2020.plist")["state"], "problem");
  EXPECT_EQ(readFile(file()), bytes) << "only looked at";
  EXPECT_NE(tool({"doctor"}).out.find("--repair"), std::string::npos);
  const ToolResult mended = tool({"--json", "doctor", "--repair"});
  EXPECT_EQ(mended.exit, 0) << mended.out;
  EXPECT_EQ(finding(mended, "QorvaneT1Settings2020.plist")["state"], "repaired");
  EXPECT_EQ(tool({"get", "language"}).out, "French\n");
  EXPECT_NE(tool({"doctor"}).out.find("set aside"), std::string::npos);
}

TEST_F(CareVerbsTest, ADamagedCopyIsFound) {
  tool({"set", "language", "French"});
  tool({"set", "language", "English"});
  const fs::path kept = qorvane::FileUserDefaults().generations("QorvaneT1Settings2020").at(0).path;
  writeFile(kept, "rubbish");
  EXPECT_EQ(tool({"doctor"}).exit, 1);
  EXPECT_EQ(tool({"doctor", "--repair"}).exit, 0);
  EXPECT_FALSE(fs::exists(kept));
  EXPECT_EQ(tool({"doctor"}).exit, 0);
  std::size_t quarantined = 0;
  for (const auto& entry : fs::directory_iterator(home.store()))
    quarantined +=
        entry.path().string().find(".damaged-") != std::string::npos && readFile(entry.path()) == "rubbish";
  EXPECT_EQ(quarantined, 1u) << "set aside, not lost";
}

TEST_F(CareVerbsTest, OnlyWhatTheStoreMadeIsRemovedOrChanged) {
  tool({"set", "language", "French"});
  writeFile(home.store() / "clients.new", "mine");
  EXPECT_EQ(tool({"doctor", "--repair"}).exit, 0);
  EXPECT_TRUE(fs::exists(home.store() / "clients.new"));
  // A folder that was named by mistake.
  const fs::path mine = home.path() / "mine";
  writeFile(mine / "letter", "mine");
  fs::permissions(mine, fs::perms(0755));
  EXPECT_EQ(tool({"--store", mine.string(), "doctor", "--repair"}).exit, 0);
  EXPECT_EQ(modeOf(mine), 0755u);
  EXPECT_FALSE(fs::exists(mine / ".lock"));
  EXPECT_EQ(tool({"--store", "", "doctor"}).exit, 2);
}

TEST_F(CareVerbsTest, NoRightsAreChangedThroughALink) {
  tool({"set", "language", "French"});
  fs::rename(file(), home.path() / "real");
  fs::permissions(home.path() / "real", fs::perms(0644));
  fs::create_symlink(home.path() / "real", file());
  EXPECT_EQ(tool({"doctor", "--repair"}).exit, 1) << "a problem still";
  EXPECT_EQ(modeOf(home.path() / "real"), 0644u);
  fs::permissions(home.store(), fs::perms(0755));
  const fs::path link = home.path() / "link";
  fs::create_directory_symlink(home.store(), link);
  tool({"--store", link.string(), "doctor", "--repair"});
  EXPECT_EQ(modeOf(home.store()), 0755u);
}

TEST_F(CareVerbsTest, TheReportTellsStatesAndNoValues) {
  tool({"set", "preparerCity", "Wabasca-Desmarais"});
  tool({"set", "preparerPassword", "hush-hush"});
  writeFile(qorvane::FileUserDefaults().generations("QorvaneT1Settings2020").at(0).path, "junk");
  setenv("XDG_CONFIG_DIRS", (home.path() / "machine").c_str(), 1);
  const fs::path report = home.path() / "report";
  EXPECT_EQ(tool({"doctor", "--report", report.string()}).exit, 1);
  unsetenv("XDG_CONFIG_DIRS");
  const std::string text = readFile(report);
  for (const char* part :
       {"optionsmgr ", "machine/Qorvane: not there", "T1 2020", "saves: 2", "generation 2: 4 bytes, damaged"})
    EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
  EXPECT_EQ(text.find("Wabasca"), std::string::npos);
  EXPECT_EQ(text.find("hush"), std::string::npos);
}

TEST_F(CareVerbsTest, RootRepairsNothingOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can";
  const fs::path folder = home.path() / "theirs";
  writeFile(home.path() / "victim", "root's");
  fs::permissions(home.path() / "victim", fs::perms(0644));
  fs::create_directories(folder);
  fs::create_symlink(home.path() / "victim", folder / "QorvaneT1Settings2024.plist");
  ASSERT_EQ(lchown(folder.c_str(), 65534, 65534), 0);
  ASSERT_EQ(lchown((folder / "QorvaneT1Settings2024.plist").c_str(), 65534, 65534), 0);
  tool({"--store", folder.string(), "doctor", "--repair"});
  EXPECT_EQ(modeOf(home.path() / "victim"), 0644u);
  EXPECT_EQ(readFile(home.path() / "victim"), "root's");
  EXPECT_FALSE(fs::exists(folder / ".lock"));
}

TEST_F(CareVerbsTest, RightsThatLetOthersInAreFoundAndMended) {
  tool({"set", "language", "French"});
  fs::permissions(home.store(), fs::perms(0755));
  fs::permissions(file(), fs::perms(0644));
  EXPECT_EQ(tool({"doctor"}).exit, 1);
  EXPECT_EQ(modeOf(file()), 0644u);
  EXPECT_EQ(tool({"doctor", "--repair"}).exit, 0);
  EXPECT_EQ(modeOf(file()), 0600u);
  EXPECT_EQ(modeOf(home.store()), 0700u);
}

TEST_F(CareVerbsTest, WhatAKilledSaveLeftIsFoundAndRemoved) {
  tool({"set", "language", "French"});
  writeFile(file().string() + ".new", "half");
  EXPECT_EQ(finding(tool({"--json", "doctor"}), "QorvaneT1Settings2020.plist.new")["state"], "problem");
  EXPECT_EQ(tool({"doctor", "--repair"}).exit, 0);
  EXPECT_FALSE(fs::exists(file().string() + ".new"));
}

TEST_F(CareVerbsTest, ALockThatIsHeldIsSaidAndNothingIsMendedUnderIt) {
  tool({"set", "language", "French"});
  writeFile(file().string() + ".new", "being written");
  qorvane::FileUserDefaults holder;
  const qorvane::FileUserDefaults::Lock lock(holder);
  const ToolResult result = tool({"--json", "--lock-wait", "0.05", "doctor", "--repair"});
  EXPECT_EQ(finding(result, ".lock")["state"], "note") << result.out;
  EXPECT_TRUE(fs::exists(file().string() + ".new"));
}

// ---- watch ----------------------------------------------------------------------------------------------

// Runs the tool in the background; the file gets what it prints.
class Watching {
 public:
  Watching(const fs::path& folder, const std::string& arguments)
      : folder_(folder), thread_([=, this] {
          result_ = run({"sh", "-c",
                         std::string(TOOL_PATH) + " --lang en " + arguments + " 2>\"" +
                             (folder / "ready").string() + "\""});
        }) {
    while (readFileIfThere(folder / "ready").find('\n') == std::string::npos)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ToolResult result() {
    thread_.join();
    return result_;
  }

 private:
  static std::string readFileIfThere(const fs::path& path) {
    return fs::exists(path) ? readFile(path) : std::string();
  }
  fs::path folder_;
  ToolResult result_;
  std::thread thread_;
};

TEST_F(CareVerbsTest, EachChangeIsPrintedWhoeverMakesIt) {
  Watching watching(home.path(), "--year 2020 watch --count 3");
  tool({"set", "preparerCity", "Gaspé"});  // The folder does not even exist before.
  optionsmgr({"--year", "2021", "set", "language", "French"});
  tool({"set", "autoSaveAfter", "5"});
  tool({"set", "preparerPassword", "hush"});
  const ToolResult result = watching.result();
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out,
            "T1 2020  preparerCity: (empty) -> Gaspé\nT1 2020  autoSaveAfter: 0 -> 5\n"
            "T1 2020  preparerPassword: (empty) -> ********\n");
}

TEST_F(CareVerbsTest, WhatIsWatchedMayBeChosen) {
  tool({"set", "language", "French"});
  Watching watching(home.path(), "--json watch 'auto*' --count 1");
  tool({"set", "language", "English"});
  tool({"set", "autoSaveAfter", "7"});
  EXPECT_EQ(watching.result().out,
            "{\"product\":\"T1\",\"year\":2020,\"name\":\"autoSaveAfter\",\"from\":0,\"to\":7}\n");
}

TEST_F(CareVerbsTest, EveryProductAndYearIsWatchedUnlessOneIsNamed) {
  tool({"set", "language", "French"});
  optionsmgr({"--product", "T2", "--year", "2021", "set", "autoSaveAfter", "7"});
  {
    Watching watching(home.path(), "watch --count 3");
    tool({"set", "language", "English"});
    fs::remove(home.store() / "QorvaneT2Settings2021.plist");
    optionsmgr({"--product", "T2", "--year", "2031", "set", "autoSaveAfter", "9"});  // A new file.
    const std::string told = watching.result().out;
    EXPECT_EQ(std::ranges::count(told, '\n'), 3);
    // What happens at nearly the same time may be seen in another order.
    for (const char* line : {"T1 2020  language: French -> English\n", "T2 2021  autoSaveAfter: 7 -> 0\n",
                             "T2 2031  autoSaveAfter: 0 -> 9\n"})
      EXPECT_NE(told.find(line), std::string::npos) << told;
    EXPECT_NE(readFile(home.path() / "ready").find("watching every product and year in"), std::string::npos);
  }
  fs::remove(home.path() / "ready");
  Watching watching(home.path(), "--product T2 watch --count 1");
  tool({"set", "language", "French"});
  optionsmgr({"--product", "T2", "--year", "2022", "set", "language", "French"});
  EXPECT_EQ(watching.result().out, "T2 2022  language: English -> French\n");
}

TEST_F(CareVerbsTest, ADamagedFileIsComplainedOfOnce) {
  tool({"set", "language", "French"});
  const std::string good = readFile(file());
  Watching watching(home.path(), "watch --count 1");
  writeFile(file(), "rubbish");
  for (const char* city : {"Alma", "Matane"}) optionsmgr({"--year", "2021", "set", "preparerCity", city});
  EXPECT_EQ(watching.result().out, "T1 2021  preparerCity: (empty) -> Alma\n");
  const std::string told = readFile(home.path() / "ready");
  EXPECT_LE(std::ranges::count(told, '\n'), 2) << told;
}

TEST_F(CareVerbsTest, ALinkedFileIsWatchedWhereItIs) {
  tool({"set", "language", "French"});
  fs::create_directory(home.path() / "elsewhere");
  fs::rename(file(), home.path() / "elsewhere" / "real.plist");
  fs::create_symlink(home.path() / "elsewhere" / "real.plist", file());
  Watching watching(home.path(), "watch --count 1");
  tool({"set", "language", "English"});
  EXPECT_EQ(watching.result().out, "T1 2020  language: French -> English\n");
}

TEST_F(CareVerbsTest, AFileThatIsMovedAwayAndAFolderThatIsReplacedAreSeen) {
  tool({"set", "language", "French"});
  const fs::path told = home.path() / "told";
  auto untilToldOnceMore = [&, lines = std::ptrdiff_t{0}]() mutable {
    ++lines;
    while (std::ranges::count(readFile(told), '\n') < lines)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
  };
  Watching watching(home.path(), "--year 2020 watch --count 3 >" + told.string());
  fs::rename(home.store() / "QorvaneT1Settings2020.plist", home.path() / "elsewhere");
  untilToldOnceMore();
  fs::rename(home.store(), home.path() / "old");
  tool({"set", "language", "French"});
  untilToldOnceMore();
  tool({"set", "language", "English"});
  watching.result();
  EXPECT_EQ(readFile(told),
            "T1 2020  language: French -> English\n"
            "T1 2020  language: English -> French\n"
            "T1 2020  language: French -> English\n");
}

TEST_F(CareVerbsTest, AValueThatSteersTheTerminalIsShownOnOneLine) {
  Watching watching(home.path(), "--year 2020 watch --count 1");
  tool({"set", "preparerCity", "a\nb\x1b[31m\xc2\x9b"});
  EXPECT_EQ(watching.result().out, "T1 2020  preparerCity: (empty) -> a b [31m \n");
  EXPECT_EQ(tool({"get", "x\xc2\x9b"}).err.find('\x9b'), std::string::npos);
}

TEST_F(CareVerbsTest, WatchingEndsInOrderWhenItsReaderGoes) {
  const ToolResult result =
      run({"sh", "-c",
           "{ " TOOL_PATH " --year 2020 watch; echo $? >\"$HOME/exit\"; } 2>\"$HOME/ready\" | "
           "{ until grep -q . \"$HOME/ready\"; do sleep 0.01; done; }"});
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(readFile(home.path() / "exit"), "0\n");
}

// ---- range ----------------------------------------------------------------------------------------------

TEST_F(CareVerbsTest, TheRangeOfEachType) {
  EXPECT_EQ(tool({"range", "zsupress"}).out, "true\nfalse\n");
  EXPECT_EQ(tool({"range", "autoSaveAfter"}).out, "0 .. 1440\n");
  EXPECT_EQ(tool({"set", "autoSaveAfter", "1441"}).exit, 65);
  EXPECT_EQ(tool({"set", "autoSaveAfter", "1440"}).exit, 0);
  EXPECT_EQ(tool({"range", "language"}).out, "only English or French fits\n");
  EXPECT_NE(tool({"describe", "preparerProvince"}).out.find("only the name or the two-letter code"),
            std::string::npos);
  EXPECT_EQ(tool({"range", "rc59AllowUpdateAccess"}).exit, 0);
  EXPECT_EQ(tool({"range", "preparerModeOfDelivery"}).out,
            "neutral     English     French     offered  by default\n"
            "Paper       Paper       Papier     yes      yes\n"
            "Phone       Phone       Téléphone  yes      no\n"
            "Efile Plus  Efile Plus  TED Plus   yes      no\n");
  EXPECT_EQ(tool({"range", "preparerCity"}).out, "any text\n");
  EXPECT_EQ(tool({"range", "cifFileFolder"}).out, "an absolute path\n");
  EXPECT_EQ(json::parse(tool({"--json", "range", "autoSaveAfter"}).out)["most"], 1440);
  EXPECT_EQ(json::parse(tool({"--json", "range", "mr69_AuthType"}).out)["choices"].size(), 2u);
  EXPECT_EQ(tool({"range", "zsuppress"}).exit, 1);
}

}  // namespace
}  // namespace testing_support
