// A change of several years that was interrupted: what reads, what puts it back, and what is never lost.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::Text;
using qorvane::Value;

class UnfinishedChangeTest : public testing::Test {
 protected:
  static void store(const fs::path& folder, const Text& key, const Value& value) {
    FileUserDefaults files(folder.string());
    files.setObject(value, key);
    ASSERT_TRUE(files.synchronize());
  }
  static Dictionary city(const char* name) { return Dictionary{{"PCity", Text(name)}}; }
  static Value step(const char* before, const char* after) {
    return Dictionary{{"before", city(before)}, {"after", city(after)}};
  }
  // Two years, each of which has what is said, and a note that takes them from Alma to Baie-Comeau.
  void interrupted(const char* first, const char* second) const {
    store(home.store(), "QorvaneT1Settings2022", city(first));
    store(home.store(), "QorvaneT1Settings2023", city(second));
    store(note(), "Changes",
          Dictionary{{"QorvaneT1Settings2022", step("Alma", "Baie-Comeau")},
                     {"QorvaneT1Settings2023", step("Alma", "Baie-Comeau")}});
  }
  static ToolResult get(const char* year) {
    return optionsmgr({"--lang", "en", "--year", year, "get", "preparerCity"});
  }
  static ToolResult change() {
    return optionsmgr({"--lang", "en", "--year", "2019", "set", "autoSaveAfter", "5"});
  }
  fs::path note() const { return home.store() / ".unfinished"; }
  std::vector<fs::path> named(const std::string& part) const {
    std::vector<fs::path> found;
    for (const auto& file : fs::directory_iterator(home.store()))
      if (file.path().filename().string().find(part) != std::string::npos) found.push_back(file.path());
    return found;
  }

  TestHome home;
};

TEST_F(UnfinishedChangeTest, ReadingAnswersWhatWasBeforeSaysSoAndChangesNothing) {
  interrupted("Baie-Comeau", "Alma");
  const std::string file = readFile(home.store() / "QorvaneT1Settings2022.plist");
  FileUserDefaults holder;
  const FileUserDefaults::Lock importing(holder);
  for (const char* year : {"2022", "2023"})
    EXPECT_EQ(get(year).out, "Alma\n") << "at once, whoever has the lock";
  EXPECT_NE(get("2022").err.find("T1 2022 reads as before it"), std::string::npos) << get("2022").err;
  EXPECT_EQ(get("2023").err, "") << "its file is what it was";
  EXPECT_EQ(readFile(home.store() / "QorvaneT1Settings2022.plist"), file);
  EXPECT_TRUE(fs::exists(note() / "Changes.plist"));
}

TEST_F(UnfinishedChangeTest, TheNextChangePutsItBack) {
  interrupted("Baie-Comeau", "Alma");
  const ToolResult result = change();
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.err.find("T1 2022 is as before it"), std::string::npos) << result.err;
  EXPECT_FALSE(fs::exists(note()));
  EXPECT_EQ(FileUserDefaults().objectForKey("QorvaneT1Settings2022"), Value(city("Alma")));
  EXPECT_EQ(get("2022").err, "");
}

TEST_F(UnfinishedChangeTest, WhatSomebodyChangedSinceStaysAndWhatWasBeforeIsKept) {
  interrupted("Chambly", "Baie-Comeau");
  EXPECT_EQ(get("2022").out, "Chambly\n");
  EXPECT_EQ(get("2023").out, "Alma\n");
  const ToolResult result = change();
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.err.find("T1 2022 was changed since and stays as it is"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("T1 2023 is as before it"), std::string::npos) << result.err;
  EXPECT_EQ(get("2022").out, "Chambly\n");
  EXPECT_EQ(get("2023").out, "Alma\n");
  const auto kept = named(".before-import-");
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_NE(result.err.find(kept[0].string()), std::string::npos);
  EXPECT_EQ(optionsmgr({"import", "--replace", kept[0].string()}).exit, 0);
  EXPECT_EQ(get("2022").out, "Alma\n");
}

TEST_F(UnfinishedChangeTest, AMalformedNoteStopsNobodyAndIsKept) {
  for (const Value& odd :
       {Value(Dictionary{{"QorvaneT1Settings2022", Text("text")}}), Value(Text("text")),
        Value(Dictionary{{"QorvaneT1Settings2022", Dictionary{{"after", Text("text")}}}}),
        Value(Dictionary{{"Elsewhere", step("Alma", "Baie-Comeau")}}),
        Value(Dictionary{
            {"QorvaneT1Settings2022", Dictionary{{"before", Text("x")}, {"after", city("Baie-Comeau")}}}})}) {
    fs::remove_all(home.store());
    store(home.store(), "QorvaneT1Settings2022", city("Baie-Comeau"));
    store(note(), "Changes", odd);
    const std::string bytes = readFile(note() / "Changes.plist");
    EXPECT_EQ(get("2022").out, "Baie-Comeau\n");
    EXPECT_EQ(change().exit, 0);
    const auto kept = named(".unfinished.damaged-");
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(readFile(kept[0] / "Changes.plist"), bytes);
    EXPECT_EQ(get("2022").err, "");
    EXPECT_EQ(optionsmgr({"doctor"}).exit, 0);
  }
}

TEST_F(UnfinishedChangeTest, ADamagedNoteIsToldAndKept) {
  interrupted("Baie-Comeau", "Alma");
  std::string bytes = readFile(note() / "Changes.plist");
  bytes[bytes.size() / 2] ^= 1;
  writeFile(note() / "Changes.plist", bytes);
  const ToolResult read = get("2022");
  EXPECT_EQ(read.out, "Baie-Comeau\n");
  EXPECT_NE(read.err.find("damaged"), std::string::npos) << read.err;
  const ToolResult result = change();
  EXPECT_EQ(result.exit, 0);
  EXPECT_NE(result.err.find("some of them may be as it left them"), std::string::npos) << result.err;
  ASSERT_EQ(named(".unfinished.damaged-").size(), 1u);
  EXPECT_EQ(readFile(named(".unfinished.damaged-")[0] / "Changes.plist"), bytes);
}

TEST_F(UnfinishedChangeTest, WhatCannotBePutBackStopsChangesOnly) {
  interrupted("Baie-Comeau", "Alma");
  // Nobody can tell what the second file is, so nothing is said to be back.
  fs::remove(home.store() / "QorvaneT1Settings2023.plist");
  fs::create_directory(home.store() / "QorvaneT1Settings2023.plist");
  for (int time = 0; time < 2; ++time) {
    const ToolResult result = change();
    EXPECT_NE(result.exit, 0);
    EXPECT_NE(result.err.find("cannot be put back now"), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(home.store() / "QorvaneT1Settings2019.plist"));
    EXPECT_EQ(get("2022").out, "Alma\n");
    EXPECT_TRUE(fs::exists(note() / "Changes.plist"));
  }
  EXPECT_EQ(optionsmgr({"doctor"}).exit, 1);
  fs::remove(home.store() / "QorvaneT1Settings2023.plist");
  store(home.store(), "QorvaneT1Settings2023", city("Baie-Comeau"));
  EXPECT_EQ(change().exit, 0);
  EXPECT_FALSE(fs::exists(note()));
}

TEST_F(UnfinishedChangeTest, ANoteThatIsMarkedFinishedCountsForNothing) {
  interrupted("Baie-Comeau", "Baie-Comeau");
  writeFile(note() / "Finished", "");
  EXPECT_EQ(get("2022").out, "Baie-Comeau\n");
  EXPECT_EQ(get("2022").err, "");
  EXPECT_EQ(change().exit, 0);
  EXPECT_EQ(get("2022").out, "Baie-Comeau\n");
  EXPECT_FALSE(fs::exists(note()));
}

// ---- reading while others write ---------------------------------------------------------------------------

TEST_F(UnfinishedChangeTest, AReadThatMeetsAWriterAnswersRightOrNotAtAll) {
  store(home.store(), "QorvaneT1Settings2022", city("Alma"));
  const fs::path file = home.store() / "QorvaneT1Settings2022.plist";
  const std::string bytes = writePropertyList(Value(Dictionary{{"QorvaneT1Settings2022", city("Alma")}}),
                                              qorvane::PropertyListFormat::Xml);
  std::atomic<bool> done = false;
  std::thread writer([&] {
    // In place, as some programs do: half the time there is half a file.
    while (!done)
      for (const std::size_t size : {std::size_t{0}, bytes.size() / 2, bytes.size()})
        std::ofstream(file, std::ios::binary) << bytes.substr(0, size);
  });
  for (int run = 0; run < 60; ++run) {
    const ToolResult read = get("2022");
    if (read.exit == 0)
      EXPECT_EQ(read.out, "Alma\n");
    else
      EXPECT_EQ(read.exit, 65) << read.err;
  }
  done = true;
  writer.join();
  EXPECT_TRUE(named(".damaged-").empty());
  EXPECT_TRUE(fs::exists(file));
}

TEST_F(UnfinishedChangeTest, AVerbThatReadsChangesNothingOnTheDisk) {
  interrupted("Baie-Comeau", "Alma");
  // Its one call of those that change something is the writing of its answer; what it tells is another.
  EXPECT_FALSE(optionsmgrKilledBefore(2, {"--year", "2023", "--quiet", "get", "preparerCity"}));
}

}  // namespace
}  // namespace testing_support
