// doctor, watch and range.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "qorvane/platform/FileUserDefaults.h"
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
                            "\n  QorvaneT1Settings2020.plist      good  saved 2 times\n"
                            "  QorvaneT1Settings2020.plist.bak  good  the last good copy\n");
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
  writeFile(file().string() + ".bak", "rubbish");
  EXPECT_EQ(tool({"doctor"}).exit, 1);
  EXPECT_EQ(tool({"doctor", "--repair"}).exit, 0);
  EXPECT_FALSE(fs::exists(file().string() + ".bak"));
  EXPECT_EQ(tool({"doctor"}).exit, 0);
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
                         std::string(TOOL_PATH) + " --year 2020 " + arguments + " 2>\"" +
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
  Watching watching(home.path(), "watch --count 3");
  tool({"set", "preparerCity", "Gaspé"});  // The folder does not even exist before.
  optionsmgr({"--year", "2021", "set", "language", "French"});
  tool({"set", "autoSaveAfter", "5"});
  tool({"set", "preparerPassword", "hush"});
  const ToolResult result = watching.result();
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "preparerCity:  -> Gaspé\nautoSaveAfter: 0 -> 5\npreparerPassword:  -> ********\n");
}

TEST_F(CareVerbsTest, WhatIsWatchedMayBeChosen) {
  tool({"set", "language", "French"});
  Watching watching(home.path(), "--json watch 'auto*' --count 1");
  tool({"set", "language", "English"});
  tool({"set", "autoSaveAfter", "7"});
  EXPECT_EQ(watching.result().out, "{\"name\":\"autoSaveAfter\",\"from\":0,\"to\":7}\n");
}

TEST_F(CareVerbsTest, ALinkedFileIsWatchedWhereItIs) {
  tool({"set", "language", "French"});
  fs::create_directory(home.path() / "elsewhere");
  fs::rename(file(), home.path() / "elsewhere" / "real.plist");
  fs::create_symlink(home.path() / "elsewhere" / "real.plist", file());
  Watching watching(home.path(), "watch --count 1");
  tool({"set", "language", "English"});
  EXPECT_EQ(watching.result().out, "language: French -> English\n");
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
  EXPECT_EQ(tool({"range", "autoSaveAfter"}).out, "-2147483648 .. 2147483647\n");
  EXPECT_EQ(tool({"range", "rc59AllowUpdateAccess"}).exit, 0);
  EXPECT_EQ(
      tool({"range", "preparerModeOfDelivery"}).out,
      "Paper       Paper       Papier\nPhone       Phone       Tlphone\nEfile Plus  Efile Plus  TED Plus\n");
  EXPECT_EQ(tool({"range", "preparerCity"}).out, "any text\n");
  EXPECT_EQ(tool({"range", "cifFileFolder"}).out, "an absolute path\n");
  EXPECT_EQ(json::parse(tool({"--json", "range", "autoSaveAfter"}).out)["most"], 2147483647);
  EXPECT_EQ(json::parse(tool({"--json", "range", "mr69_AuthType"}).out)["choices"].size(), 2u);
  EXPECT_EQ(tool({"range", "zsuppress"}).exit, 1);
}

}  // namespace
}  // namespace testing_support
