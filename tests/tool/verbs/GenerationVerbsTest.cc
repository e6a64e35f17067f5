// history and undo.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class GenerationVerbsTest : public testing::Test {
 protected:
  static ToolResult tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--lang", "en", "--year", "2020"});
    return optionsmgr(arguments);
  }
  static void set(const char* option, const char* value) {
    const ToolResult result = tool({"set", option, value});
    ASSERT_EQ(result.exit, 0) << result.err;
  }
  static std::string get(const char* option) { return tool({"get", option}).out; }
  static json history(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"--json", "history"});
    const ToolResult result = tool(arguments);
    EXPECT_EQ(result.exit, 0) << result.err;
    return json::parse(result.out);
  }
  fs::path newest() const {
    return qorvane::FileUserDefaults().generations("QorvaneT1Settings2020").at(0).path;
  }

  TestHome home;
};

TEST_F(GenerationVerbsTest, HistoryTellsWhatEachSaveChanged) {
  EXPECT_EQ(history(), json::array());
  set("preparerCity", "Alma");
  set("preparerCity", "Gatineau");
  set("preparerPhone", "555");
  const json all = history();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_TRUE(all[0]["number"].is_null()) << "the file that stands";
  EXPECT_EQ(all[0]["changes"], (json::array({{{"name", "preparerPhone"}, {"from", ""}, {"to", "555"}}})));
  EXPECT_EQ(all[1]["number"], 3);
  EXPECT_EQ(all[1]["changes"],
            (json::array({{{"name", "preparerCity"}, {"from", "Alma"}, {"to", "Gatineau"}}})));
  EXPECT_EQ(all[2]["number"], 2);
  EXPECT_EQ(all[2]["changes"], (json::array({{{"name", "preparerCity"}, {"to", "Alma"}}})))
      << "the first kept";
  EXPECT_TRUE(all[0]["time"].get<std::string>().ends_with("Z"));
  const ToolResult words = tool({"history"});
  EXPECT_NE(words.out.find("preparerCity: Alma -> Gatineau"), std::string::npos) << words.out;
}

TEST_F(GenerationVerbsTest, HistoryOfAnOptionTellsWhenItsValuesCame) {
  set("preparerCity", "Alma");
  set("preparerPhone", "555");
  set("preparerCity", "Gatineau");
  const json all = history({"preparerCity"});
  ASSERT_EQ(all.size(), 2u) << all;
  EXPECT_EQ(all[0]["changes"][0]["to"], "Gatineau");
  EXPECT_EQ(all[1]["changes"][0]["to"], "Alma");
  EXPECT_EQ(tool({"history", "noSuchOption"}).exit, 1);
}

TEST_F(GenerationVerbsTest, SecretsStayMasked) {
  set("preparerPassword", "hush-hush");
  set("preparerPassword", "hush-hush-2");
  EXPECT_EQ(tool({"history"}).out.find("hush"), std::string::npos);
  EXPECT_EQ(history().dump().find("hush"), std::string::npos);
  EXPECT_NE(tool({"history", "--show-secrets"}).out.find("hush-hush-2"), std::string::npos);
  const ToolResult undone = tool({"undo"});
  EXPECT_EQ(undone.out.find("hush"), std::string::npos) << undone.out;
}

TEST_F(GenerationVerbsTest, UndoDoneTwiceReturns) {
  set("preparerCity", "Alma");
  set("preparerCity", "Gatineau");
  set("preparerPhone", "555");
  ToolResult result = tool({"undo"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.out.find("preparerPhone"), std::string::npos) << result.out;
  EXPECT_EQ(get("preparerPhone"), "\n");
  EXPECT_EQ(get("preparerCity"), "Gatineau\n");
  EXPECT_EQ(tool({"undo"}).exit, 0);
  EXPECT_EQ(get("preparerPhone"), "555\n");
}

TEST_F(GenerationVerbsTest, UndoOfAnOptionTakesBackItsOwnLastChangeOnly) {
  set("preparerCity", "Alma");
  set("preparerCity", "Gatineau");
  set("preparerPhone", "555");
  EXPECT_EQ(tool({"undo", "preparerCity"}).exit, 0);
  EXPECT_EQ(get("preparerCity"), "Alma\n");
  EXPECT_EQ(get("preparerPhone"), "555\n");
  EXPECT_EQ(tool({"undo", "preparerCity"}).exit, 0);
  EXPECT_EQ(get("preparerCity"), "Gatineau\n");
  EXPECT_EQ(tool({"undo", "preparerFax"}).exit, 1) << "it never changed";
  EXPECT_EQ(tool({"undo", "noSuchOption"}).exit, 1);
}

// What the setter writes beside its own entry goes with it.
TEST_F(GenerationVerbsTest, UndoOfTheProvinceTakesItsCodeAlong) {
  set("preparerProvince", "Quebec");
  set("preparerProvince", "Ontario");
  EXPECT_EQ(tool({"undo", "preparerProvince"}).exit, 0);
  const qorvane::Value stored = qorvane::FileUserDefaults().objectForKey("QorvaneT1Settings2020");
  EXPECT_EQ(*stored.asDictionary()->find("PProvCode"), qorvane::Value(qorvane::Text("QC")));
}

// What tells that somebody chose an entry goes and comes with it.
TEST_F(GenerationVerbsTest, UndoTakesTheMarksOfEntriesAlong) {
  using qorvane::Array;
  using qorvane::Dictionary;
  using qorvane::Text;
  using qorvane::Value;
  constexpr Text kKey = "QorvaneT1Settings2020";
  const auto save = [&](const char* city, const char* phone, Array marks) {
    qorvane::FileUserDefaults files;
    files.setSettings({Dictionary{{"PCity", Text(city)}, {"PPhone", Text(phone)}}, Value(marks)}, kKey);
    ASSERT_TRUE(files.synchronize());
  };
  const auto marks = [&] { return qorvane::FileUserDefaults().inspect(kKey).chosen; };
  const Value city(Text("PCity"));
  const Value phone(Text("PPhone"));
  save("Alma", "1", {city, phone});
  save("Gaspé", "1", {phone});
  save("Gaspé", "2", {});
  EXPECT_EQ(tool({"undo", "preparerCity"}).exit, 0);
  EXPECT_EQ(marks(), Value(Array{city}));
  EXPECT_EQ(tool({"undo", "preparerCity"}).exit, 0);
  EXPECT_EQ(marks(), Value());
  EXPECT_EQ(tool({"undo", "--to", "2"}).exit, 0);
  EXPECT_EQ(marks(), Value(Array{city, phone}));
}

TEST_F(GenerationVerbsTest, UndoToANumberGoesThereEachTime) {
  set("preparerCity", "Alma");
  set("preparerCity", "Gatineau");
  set("preparerCity", "Gaspé");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(tool({"undo", "--to", "2"}).exit, 0);
    EXPECT_EQ(get("preparerCity"), "Alma\n");
  }
  EXPECT_EQ(tool({"undo", "--to", "77"}).exit, 1);
  EXPECT_EQ(tool({"undo", "--to", "3", "preparerCity"}).exit, 0);
  EXPECT_EQ(get("preparerCity"), "Gatineau\n");
}

TEST_F(GenerationVerbsTest, SettingsThatWereRemovedComeBackByUndo) {
  set("preparerCity", "Alma");
  qorvane::FileUserDefaults store;
  store.setObject(nullptr, "QorvaneT1Settings2020");
  ASSERT_TRUE(store.synchronize());
  EXPECT_EQ(get("preparerCity"), "\n");
  EXPECT_EQ(tool({"undo"}).exit, 0);
  EXPECT_EQ(get("preparerCity"), "Alma\n");
}

TEST_F(GenerationVerbsTest, DamagedGenerationsAreToldAndPassedOver) {
  set("preparerCity", "Alma");
  set("preparerCity", "Gatineau");
  set("preparerCity", "Gaspé");
  writeFile(newest(), "junk");
  EXPECT_TRUE(history()[1]["damaged"].get<bool>());
  EXPECT_EQ(tool({"undo"}).exit, 0);
  EXPECT_EQ(get("preparerCity"), "Alma\n");
}

TEST_F(GenerationVerbsTest, ForgettingLeavesTheNewestGoodOne) {
  set("preparerCity", "Alma");
  set("preparerCity", "Gatineau");
  set("preparerCity", "Gaspé");
  const ToolResult result = tool({"--json", "history", "--forget"});
  EXPECT_EQ(json::parse(result.out)["forgotten"], 1);
  EXPECT_EQ(history().size(), 2u);
}

// ---- several years as one step ----------------------------------------------------------------------------

class UndoOfSeveralYearsTest : public GenerationVerbsTest {
 protected:
  static ToolResult inYear(const char* year, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--lang", "en", "--year", year});
    return optionsmgr(arguments);
  }
  static std::string city(const char* year) { return inYear(year, {"get", "preparerCity"}).out; }
  fs::path file(const char* year) const {
    return home.store() / ("QorvaneT1Settings" + std::string(year) + ".plist");
  }
  /// Two years that say Alma become Gatineau, and a third one is made.
  void importThree() const {
    for (const char* year : {"2020", "2021", "2022"})
      ASSERT_EQ(inYear(year, {"set", "preparerCity=Gatineau", "preparerPhone=555"}).exit, 0);
    const std::string list = (home.path() / "all.json").string();
    ASSERT_EQ(inYear("2020", {"export", "--all", "--force", list}).exit, 0);
    fs::remove_all(home.store());
    for (const char* year : {"2020", "2021"})
      ASSERT_EQ(inYear(year, {"set", "preparerCity", "Alma"}).exit, 0);
    const ToolResult imported = optionsmgr({"--lang", "en", "import", list});
    ASSERT_EQ(imported.exit, 0) << imported.err;
    for (const char* year : {"2020", "2021", "2022"}) ASSERT_EQ(city(year), "Gatineau\n");
  }
};

TEST_F(UndoOfSeveralYearsTest, IsOneStepAndDoneTwiceReturns) {
  importThree();
  const std::string imported = readFile(file("2022"));
  const ToolResult result = inYear("2021", {"undo"});
  EXPECT_EQ(result.exit, 0) << result.err;
  for (const char* year : {"2020", "2021"}) {
    EXPECT_EQ(city(year), "Alma\n");
    EXPECT_NE(result.out.find("T1 " + std::string(year) + "  preparerCity: Gatineau -> Alma"),
              std::string::npos)
        << result.out;
  }
  EXPECT_FALSE(fs::exists(file("2022"))) << "the import had made it";
  EXPECT_EQ(inYear("2020", {"undo"}).exit, 0);
  for (const char* year : {"2020", "2021", "2022"}) EXPECT_EQ(city(year), "Gatineau\n") << year;
  // Also from the year that had not been there.
  EXPECT_EQ(inYear("2022", {"undo"}).exit, 0);
  EXPECT_EQ(city("2020"), "Alma\n");
  EXPECT_FALSE(fs::exists(file("2022")));
  EXPECT_EQ(inYear("2022", {"undo"}).exit, 0);
  for (const char* year : {"2020", "2021", "2022"}) EXPECT_EQ(city(year), "Gatineau\n") << year;
}

TEST_F(UndoOfSeveralYearsTest, FromAYearThatItMade) {
  importThree();
  EXPECT_EQ(inYear("2022", {"undo"}).exit, 0);
  EXPECT_FALSE(fs::exists(file("2022")));
  EXPECT_EQ(city("2021"), "Alma\n");
}

TEST_F(UndoOfSeveralYearsTest, WhatChangedSinceStaysAndIsNamed) {
  importThree();
  ASSERT_EQ(inYear("2021", {"set", "preparerPhone", "666"}).exit, 0);
  ASSERT_EQ(inYear("2022", {"set", "preparerCity", "Chambly"}).exit, 0);
  const ToolResult result = inYear("2020", {"--json", "undo"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.err.find("T1 2021: preparerPhone was changed since and stays as it is"), std::string::npos)
      << result.err;
  EXPECT_NE(result.err.find("T1 2022: preparerCity was changed since"), std::string::npos) << result.err;
  EXPECT_EQ(city("2020"), "Alma\n");
  EXPECT_EQ(city("2021"), "Alma\n");
  EXPECT_EQ(inYear("2021", {"get", "preparerPhone"}).out, "666\n");
  EXPECT_EQ(city("2022"), "Chambly\n");
  EXPECT_EQ(inYear("2022", {"get", "preparerPhone"}).out, "\n");
  int since = 0;
  for (const json& change : json::parse(result.out)) since += change["changedSince"].get<bool>() ? 1 : 0;
  EXPECT_EQ(since, 2) << result.out;
}

TEST_F(UndoOfSeveralYearsTest, AYearWhoseLastChangeIsAnotherIsUndoneByItself) {
  importThree();
  ASSERT_EQ(inYear("2021", {"set", "preparerPhone", "666"}).exit, 0);
  EXPECT_EQ(inYear("2021", {"undo"}).exit, 0);
  EXPECT_EQ(inYear("2021", {"get", "preparerPhone"}).out, "555\n");
  EXPECT_EQ(city("2020"), "Gatineau\n");
  // An option, or a state that is named, is this year's only.
  EXPECT_EQ(inYear("2020", {"undo", "preparerCity"}).exit, 0);
  EXPECT_EQ(city("2020"), "Alma\n");
  EXPECT_EQ(city("2021"), "Gatineau\n");
}

TEST_F(UndoOfSeveralYearsTest, WhatIsNotKeptAnyMoreIsToldAndStays) {
  importThree();
  fs::remove(qorvane::FileUserDefaults().generations("QorvaneT1Settings2021").at(0).path);
  const ToolResult result = inYear("2020", {"undo"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.err.find("T1 2021 stays as it is"), std::string::npos) << result.err;
  EXPECT_EQ(city("2020"), "Alma\n");
  EXPECT_EQ(city("2021"), "Gatineau\n");
}

// Without the note of it, each year is undone by itself, and nothing worse.
TEST_F(UndoOfSeveralYearsTest, ADamagedNoteOfTheStepIsNone) {
  for (const char* bytes : {"junk",
                            "<plist><array><string>x</string><dict><key>QorvaneT1Settings2020</key>"
                            "<dict><key>before</key><string>2</string></dict></dict></array></plist>"}) {
    importThree();
    writeFile(home.store() / ".steps.plist", bytes);
    EXPECT_EQ(inYear("2020", {"undo"}).exit, 0);
    EXPECT_EQ(city("2020"), "Alma\n");
    EXPECT_EQ(city("2021"), "Gatineau\n");
    EXPECT_EQ(inYear("2022", {"undo"}).exit, 1);
    fs::remove_all(home.store());
  }
}

}  // namespace
}  // namespace testing_support
