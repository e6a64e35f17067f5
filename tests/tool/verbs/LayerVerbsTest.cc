// The verbs of layers: what they show of the machine's and the firm's settings, and what they change.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using qorvane::Array;
using qorvane::Dictionary;
using qorvane::Text;
using qorvane::Value;

class LayerVerbsTest : public testing::Test {
 protected:
  LayerVerbsTest() : umask_(umask(022)) {}
  ~LayerVerbsTest() override { umask(umask_); }

  static ToolResult tool(std::vector<std::string> words) {
    words.insert(words.begin(), {"--lang", "en", "--year", "2024"});
    return optionsmgr(words);
  }
  static ToolResult machine(std::vector<std::string> words) {
    words.insert(words.begin(), {"--lang", "en", "--layer", "machine"});
    return optionsmgr(words);
  }
  static json why(const std::string& option) {
    const ToolResult result = tool({"--json", "why", option});
    EXPECT_EQ(result.exit, 0) << result.err;
    return json::parse(result.out);
  }
  fs::path machineFolder() const { return home.path() / "etc/xdg/Qorvane"; }
  fs::path firmFolder() const { return home.path() / ".local/state/Qorvane/firm/current"; }
  static void write(const fs::path& file, const Text& key, Dictionary entries, Array locked = {},
                    const Value& origins = {}) {
    Dictionary top{{key, std::move(entries)}};
    if (!locked.empty()) top.set("Locked", std::move(locked));
    top.set("Origins", origins);
    writeFile(file, qorvane::writePropertyList(Value(top), qorvane::PropertyListFormat::Xml));
  }

  TestHome home;
  mode_t umask_;
};

TEST_F(LayerVerbsTest, WhyTellsEveryLayerTheNearestFirst) {
  write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings", {{"PCity", Text("Alma")}});
  write(firmFolder() / "QorvaneT1Settings2024.plist", "QorvaneT1Settings2024", {{"PCity", Text("Gaspé")}}, {},
        Dictionary{{"PCity", Dictionary{{"place", Text("Québec")}, {"who", Text("nora")}}}});
  json told = why("preparerCity");
  EXPECT_EQ(told["value"], "Alma");
  EXPECT_EQ(told["why"], "nearest");
  EXPECT_EQ(told["lock"], nullptr);
  ASSERT_EQ(told["layers"].size(), 3u);
  EXPECT_EQ(told["layers"][0]["layer"], "user");
  EXPECT_EQ(told["layers"][0]["value"], nullptr);
  EXPECT_EQ(told["layers"][1]["layer"], "machine");
  EXPECT_TRUE(told["layers"][1]["counts"]);
  EXPECT_TRUE(told["layers"][1]["everyYear"]);
  EXPECT_EQ(told["layers"][2]["layer"], "firm");
  EXPECT_EQ(told["layers"][2]["value"], "Gaspé");
  EXPECT_FALSE(told["layers"][2]["counts"]);
  EXPECT_EQ(told["layers"][2]["origin"], (json{{"place", "Québec"}, {"who", "nora"}}));
  EXPECT_NE(tool({"why", "preparerCity"}).out.find("place Québec, who nora"), std::string::npos);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n");
  EXPECT_EQ(tool({"--layer", "firm", "get", "preparerCity"}).out, "Gaspé\n");
  EXPECT_EQ(tool({"--layer", "user", "get", "preparerCity"}).out, "\n");
  // A user who chooses, and one who takes it back.
  EXPECT_EQ(tool({"set", "preparerCity", "Chambly"}).exit, 0);
  EXPECT_EQ(why("preparerCity")["why"], "own");
  EXPECT_EQ(tool({"reset", "preparerCity"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n");
}

TEST_F(LayerVerbsTest, TheDefaultIsAChoiceWhenAPersonSetsIt) {
  write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings",
        {{"PostAssessmentOption", Text("5")}});
  ASSERT_EQ(tool({"get", "preparerPostAssessmentReview"}).out, "5\n");
  const std::string byDefault =
      json::parse(tool({"--json", "describe", "preparerPostAssessmentReview"}).out)["default"];
  ASSERT_NE(byDefault, "5");
  // A program that merely ran has stored the default: that is nobody's choice.
  ASSERT_EQ(tool({"set", "preparerCity", "Alma"}).exit, 0);
  EXPECT_EQ(why("preparerPostAssessmentReview")["why"], "yields");
  ASSERT_EQ(tool({"set", "preparerPostAssessmentReview", byDefault}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerPostAssessmentReview"}).out, byDefault + "\n");
  EXPECT_EQ(why("preparerPostAssessmentReview")["why"], "chosen");
  // The mark goes with the entry.
  ASSERT_EQ(tool({"reset", "preparerPostAssessmentReview"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerPostAssessmentReview"}).out, "5\n");
}

TEST_F(LayerVerbsTest, WhatIsLockedIsRefusedByNameAndLayer) {
  write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings", {{"PCity", Text("Alma")}},
        {Text("PCity")});
  for (const auto& words :
       std::vector<std::vector<std::string>>{{"set", "preparerCity", "Gaspé"},
                                             {"set", "autoSaveAfter=5", "preparerCity=Gaspé"},
                                             {"set", "--dry-run", "preparerCity", "Gaspé"},
                                             {"reset", "preparerCity"}}) {
    const ToolResult result = tool(words);
    EXPECT_EQ(result.exit, 77) << result.err;
    EXPECT_NE(result.err.find("preparerCity is locked by " + machineFolder().string()), std::string::npos)
        << result.err;
  }
  EXPECT_FALSE(fs::exists(home.store() / "QorvaneT1Settings2024.plist")) << "all or nothing";
  const json told = why("preparerCity");
  EXPECT_EQ(told["why"], "locked");
  EXPECT_EQ(told["lock"]["layer"], "machine");
  EXPECT_EQ(told["lock"]["folder"], machineFolder().string());
  EXPECT_EQ(tool({"set", "autoSaveAfter", "5"}).exit, 0) << "what is not locked is free";
}

TEST_F(LayerVerbsTest, NoImportUndoOrCarryingChangesWhatIsLocked) {
  ASSERT_EQ(optionsmgr({"--year", "2023", "set", "preparerCity", "Percé"}).exit, 0);
  ASSERT_EQ(tool({"set", "preparerCity", "Gaspé"}).exit, 0);
  ASSERT_EQ(tool({"set", "preparerCity", "Chambly"}).exit, 0);
  write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings", {{"PCity", Text("Alma")}},
        {Text("PCity")});
  const std::string before = readFile(home.store() / "QorvaneT1Settings2024.plist");
  const fs::path given = home.path() / "office.json";
  writeFile(given, R"({"QorvaneT1Settings2024":{"PCity":"Matane","EncryptXml":true}})");
  for (const auto& words : std::vector<std::vector<std::string>>{
           {"import", given.string()},
           {"undo"},
           {"carry-forward", "--overwrite", "--from", "2023", "--to", "2024"}}) {
    const ToolResult result = tool(words);
    EXPECT_EQ(result.exit, 77) << words[0] << ": " << result.out << result.err;
    EXPECT_NE(result.err.find("preparerCity is locked by"), std::string::npos) << result.err;
    EXPECT_EQ(readFile(home.store() / "QorvaneT1Settings2024.plist"), before) << words[0];
  }
  // What does not touch it goes through.
  writeFile(given, R"({"QorvaneT1Settings2024":{"EncryptXml":true}})");
  EXPECT_EQ(tool({"import", given.string()}).exit, 0);
}

TEST_F(LayerVerbsTest, AChangedListSaysTheLayer) {
  EXPECT_EQ(tool({"list", "--changed"}).out.find("layer"), std::string::npos) << "there is but one";
  write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings", {{"PCity", Text("Alma")}});
  ASSERT_EQ(tool({"set", "autoSaveAfter", "5"}).exit, 0);
  EXPECT_EQ(tool({"list", "--changed"}).out,
            "option         type     value  default  layer\n"
            "autoSaveAfter  integer  5      0        user\n"
            "preparerCity   text     Alma            machine\n");
}

TEST_F(LayerVerbsTest, SecretsAreMasked) {
  write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings",
        {{"PreparerPassword", Text("hush-hush")}});
  for (const auto& words : std::vector<std::vector<std::string>>{{"why", "preparerPassword"},
                                                                 {"--json", "why", "preparerPassword"}}) {
    const ToolResult result = tool(words);
    EXPECT_EQ(result.exit, 0);
    EXPECT_EQ((result.out + result.err).find("hush"), std::string::npos) << result.out;
  }
  EXPECT_NE(tool({"why", "--show-secrets", "preparerPassword"}).out.find("hush-hush"), std::string::npos);
}

TEST_F(LayerVerbsTest, ALayerIsRefusedWhereItMeansNothing) {
  for (const auto& words :
       std::vector<std::vector<std::string>>{{"--layer", "firm", "set", "autoSaveAfter", "5"},
                                             {"--layer", "firm", "lock", "autoSaveAfter"},
                                             {"lock", "autoSaveAfter"},
                                             {"--layer", "user", "unlock", "autoSaveAfter"},
                                             {"--layer", "machine", "history"},
                                             {"--layer", "office", "list"}})
    EXPECT_EQ(tool(words).exit, 2) << words[1] << ' ' << words[2];
  EXPECT_NE(tool({"--layer", "firm", "reset", "autoSaveAfter"}).err.find("optionsmgr firm"),
            std::string::npos);
}

TEST_F(LayerVerbsTest, OnlyRootChangesTheMachine) {
  const ToolResult result =
      optionsmgr({"--lang", "en", "--layer", "machine", "set", "autoSaveAfter", "5"}, true);
  EXPECT_EQ(result.exit, 77);
  EXPECT_NE(result.err.find("only root changes the machine's settings in " + machineFolder().string()),
            std::string::npos)
      << result.err;
  EXPECT_FALSE(fs::exists(machineFolder()));
}

TEST_F(LayerVerbsTest, ADoctorTellsOfLayersThatOthersCanChangeAndOfLocksOnNothing) {
  const fs::path file = machineFolder() / "QorvaneT1Settings2024.plist";
  write(file, "QorvaneT1Settings2024", {{"PCity", Text("Alma")}},
        {Text("PCity"), Text("AutoSaveFileAfterEvery")});
  ASSERT_EQ(tool({"set", "zsupress", "false"}).exit, 0);
  ToolResult result = tool({"doctor"});
  EXPECT_EQ(result.exit, 0) << result.out;
  EXPECT_NE(result.out.find("files that count for many desks: 1"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("AutoSaveFileAfterEvery"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("locks PCity"), std::string::npos) << result.out;
  fs::permissions(file, fs::perms::others_write, fs::perm_options::add);
  result = tool({"--quiet", "--json", "doctor"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_NE(result.out.find("can be changed by others: it is left out"), std::string::npos) << result.out;
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "\n");
}

// ---- what was chosen, on its way between desks and years ------------------------------------------------

class ChosenTest : public LayerVerbsTest {
 protected:
  static constexpr Text kReview = "PostAssessmentOption";  // 2 unless somebody chose.
  static Text key(int year) { return Text("QorvaneT1Settings" + std::to_string(year)); }
  // A user's file as programs leave it, with the default that a getter stored.
  static void save(int year, Dictionary entries, Array marks = {}) {
    qorvane::FileUserDefaults files;
    files.setSettings({std::move(entries), Value(std::move(marks))}, key(year));
    ASSERT_TRUE(files.synchronize());
  }
  static Value marks(int year) { return qorvane::FileUserDefaults().inspect(key(year)).chosen; }
  static std::string reads(int year) {
    return optionsmgr({"--year", std::to_string(year), "get", "preparerPostAssessmentReview"}).out;
  }
  void writeOffice(Array locked = {}) const {
    write(machineFolder() / "QorvaneT1Settings.plist", "QorvaneT1Settings", {{kReview, Text("5")}},
          std::move(locked));
  }
  static ToolResult import(const fs::path& file, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"import", file.string()});
    return tool(more);
  }
};

TEST_F(ChosenTest, AMarkTravelsWithItsEntryInEveryForm) {
  const Array marked{Text(kReview)};
  for (const char* name : {"chosen.plist", "chosen.xml", "chosen.json"}) {
    save(2024, {{kReview, Text("2")}, {"PCity", Text("Alma")}}, marked);
    const fs::path file = home.path() / name;
    ASSERT_EQ(tool({"export", "--force", file.string()}).exit, 0);
    fs::remove(home.store() / "QorvaneT1Settings2024.plist");
    writeOffice();
    ASSERT_EQ(reads(2024), "5\n");
    const ToolResult result = import(file);
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out.find("Chosen"), std::string::npos) << "it is no settings' name: " << result.out;
    EXPECT_EQ(marks(2024), Value(marked)) << name;
    EXPECT_EQ(reads(2024), "2\n");
    EXPECT_EQ(tool({"list", "--unknown"}).out, "");
    fs::remove(machineFolder() / "QorvaneT1Settings.plist");
  }
  // Without its entry, nothing of it is handed out.
  EXPECT_EQ(tool({"export", "--format", "json", "-", "preparerCity"}).out.find("Chosen"), std::string::npos);
}

TEST_F(ChosenTest, SeveralYearsKeepTheirMarksApart) {
  save(2023, {{kReview, Text("2")}}, {Text(kReview)});
  save(2024, {{kReview, Text("2")}, {"PCity", Text("")}}, {Text("PCity"), Text("Gone")});
  const json told = json::parse(tool({"export", "--all", "--format", "json", "-"}).out);
  EXPECT_EQ(told["Chosen"], (json{{"QorvaneT1Settings2023", {"PostAssessmentOption"}},
                                  {"QorvaneT1Settings2024", {"PCity"}}}));
  const fs::path file = home.path() / "all.plist";
  ASSERT_EQ(tool({"export", "--all", file.string()}).exit, 0);
  fs::remove_all(home.store());
  ASSERT_EQ(optionsmgr({"import", file.string()}).exit, 0);
  EXPECT_EQ(marks(2023), Value(Array{Text(kReview)}));
  EXPECT_EQ(marks(2024), Value(Array{Text("PCity")}));
}

TEST_F(ChosenTest, AnImportLeavesOutWhatNobodyChoseWhereTheOfficeHasAValue) {
  const fs::path file = home.path() / "other-desk.json";
  writeFile(file, R"({"QorvaneT1Settings2024":{"PostAssessmentOption":"2","PCity":"Alma"}})");
  writeOffice();
  const ToolResult result = import(file);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.out.find("nobody chose it there"), std::string::npos) << result.out;
  EXPECT_EQ(reads(2024), "5\n");
  EXPECT_EQ(tool({"--layer", "user", "export", "--format", "json", "-"}).out.find("PostAssessment"),
            std::string::npos);
  // Another value was chosen, and without an office everything is taken.
  writeFile(file, R"({"QorvaneT1Settings2024":{"PostAssessmentOption":"4"}})");
  ASSERT_EQ(import(file).exit, 0);
  EXPECT_EQ(reads(2024), "4\n");
  fs::remove(machineFolder() / "QorvaneT1Settings.plist");
  writeFile(file, R"({"QorvaneT1Settings2024":{"PostAssessmentOption":"2"}})");
  ASSERT_EQ(import(file).exit, 0);
  EXPECT_EQ(reads(2024), "2\n");
  EXPECT_EQ(marks(2024), Value());
}

TEST_F(ChosenTest, WhatAFileNamesByOptionIsChosen) {
  save(2024, {{kReview, Text("2")}});
  writeOffice();
  ASSERT_EQ(reads(2024), "5\n");
  const fs::path file = home.path() / "mine.json";
  writeFile(file, R"({"preparerPostAssessmentReview":"2"})");
  const ToolResult result = import(file);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.out.find("it counts before"), std::string::npos) << result.out;
  EXPECT_EQ(reads(2024), "2\n");
  EXPECT_EQ(marks(2024), Value(Array{Text(kReview)}));
  EXPECT_NE(import(file).out.find("nothing to change"), std::string::npos);
}

TEST_F(ChosenTest, AnImportSaysEachLockAndCanLeaveThoseOut) {
  writeOffice({Text(kReview)});
  const fs::path file = home.path() / "mine.json";
  writeFile(file, R"({"preparerPostAssessmentReview":"4","preparerCity":"Alma"})");
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--dry-run"}}) {
    const ToolResult result = import(file, more);
    EXPECT_EQ(result.exit, 77) << result.err;
    EXPECT_NE(result.err.find("preparerPostAssessmentReview is locked by"), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(home.store() / "QorvaneT1Settings2024.plist"));
  }
  const ToolResult result = import(file, {"--skip-bad"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.out.find("is locked by"), std::string::npos) << result.out;
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n");
  EXPECT_EQ(reads(2024), "5\n");
}

TEST_F(ChosenTest, CarryingTakesWhatWasChosenWithItsMark) {
  save(2023, {{kReview, Text("2")}, {"PCity", Text("Alma")}});
  writeOffice();
  const std::vector<std::string> carry{"carry-forward", "--all", "--from", "2023", "--to", "2024"};
  ToolResult result = tool(carry);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n");
  EXPECT_EQ(reads(2024), "5\n") << result.out;
  save(2023, {{kReview, Text("2")}}, {Text(kReview)});
  ASSERT_EQ(tool(carry).exit, 0);
  EXPECT_EQ(reads(2024), "2\n");
  EXPECT_EQ(marks(2024), Value(Array{Text(kReview)}));
  // Now it is the later year's own, and stays.
  save(2023, {{kReview, Text("4")}});
  ASSERT_EQ(tool(carry).exit, 0);
  EXPECT_EQ(reads(2024), "2\n");
  writeOffice({Text(kReview)});
  result = tool({"carry-forward", "--overwrite", "--dry-run", "--from", "2023", "--to", "2024"});
  EXPECT_EQ(result.exit, 77) << result.out;
}

// ---- root -----------------------------------------------------------------------------------------------

class MachineLayerTest : public LayerVerbsTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root changes the machine's settings";
  }
  std::string file(const char* name) const { return readFile(machineFolder() / name); }
};

TEST_F(MachineLayerTest, SetsForEveryYearOrForOne) {
  ASSERT_EQ(machine({"set", "preparerCity=Alma", "encryptXml=true"}).exit, 0);
  ASSERT_EQ(machine({"--year", "2024", "set", "preparerCity", "Gaspé"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Gaspé\n");
  EXPECT_EQ(optionsmgr({"--year", "2023", "get", "preparerCity"}).out, "Alma\n");
  EXPECT_EQ(tool({"get", "encryptXml"}).out, "true\n");
  EXPECT_EQ(optionsmgr({"--year", "2023", "--product", "T2", "get", "preparerCity"}).out, "\n");
  EXPECT_FALSE(fs::exists(home.store())) << "nothing of the user's is touched";
  // Everybody can read it, root alone can change it, and it holds what was set and no defaults.
  const auto mode = fs::status(machineFolder() / "QorvaneT1Settings.plist").permissions();
  EXPECT_EQ(mode, static_cast<fs::perms>(0644));
  EXPECT_EQ(file("QorvaneT1Settings2024.plist").find("EncryptXml"), std::string::npos);
  ASSERT_EQ(machine({"--year", "2024", "reset", "preparerCity"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n");
  EXPECT_FALSE(fs::exists(machineFolder() / "QorvaneT1Settings2024.plist")) << "it holds nothing";
}

TEST_F(MachineLayerTest, LocksAndUnlocks) {
  ASSERT_EQ(machine({"set", "preparerCity", "Alma"}).exit, 0);
  ASSERT_EQ(machine({"lock", "preparerCity"}).err, "");
  EXPECT_EQ(tool({"set", "preparerCity", "Gaspé"}).exit, 77);
  ASSERT_EQ(machine({"unlock", "preparerCity"}).exit, 0);
  EXPECT_EQ(tool({"set", "preparerCity", "Gaspé"}).exit, 0);
  EXPECT_NE(machine({"lock", "autoSaveAfter"}).err.find("the lock holds nothing"), std::string::npos);
  EXPECT_EQ(tool({"set", "autoSaveAfter", "7"}).exit, 0);
  EXPECT_EQ(machine({"lock", "*"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n");
  EXPECT_EQ(machine({"unlock", "*"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Gaspé\n") << "taking a lock away gives back what was";
  EXPECT_EQ(machine({"lock", "nothing"}).exit, 1);
}

TEST_F(MachineLayerTest, TakesAFileButNobodysSecrets) {
  const fs::path given = home.path() / "office.json";
  writeFile(given,
            R"({"QorvaneT1Settings2024":{"PCity":"Alma","EncryptXml":true,"PreparerPassword":"hush-hush"}})");
  ASSERT_EQ(machine({"import", "--dry-run", given.string()}).exit, 0);
  EXPECT_FALSE(fs::exists(machineFolder()));
  ASSERT_EQ(machine({"import", given.string()}).exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2019", "get", "preparerCity"}).out, "Alma\n") << "for every year";
  EXPECT_EQ(file("QorvaneT1Settings.plist").find("hush"), std::string::npos);
  writeFile(given, R"({"preparerCity":"Gaspé"})");
  ASSERT_EQ(machine({"--year", "2024", "import", given.string()}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Gaspé\n");
  EXPECT_EQ(machine({"set", "preparerPassword", "hush-hush"}).exit, 65);
  // What is handed out again is the layer's.
  EXPECT_NE(tool({"--layer", "machine", "export", "-"}).out.find("Gaspé"), std::string::npos);
  EXPECT_NE(tool({"export", "-"}).exit, 0) << "the user has nothing of his own";
}

TEST_F(MachineLayerTest, AnImportHidesNothingFartherBehindWhatNobodyChose) {
  write(firmFolder() / "QorvaneT1Settings2024.plist", "QorvaneT1Settings2024",
        {{"PostAssessmentOption", Text("5")}});
  ASSERT_EQ(machine({"set", "preparerCity", "Alma"}).exit, 0);
  const fs::path given = home.path() / "office.json";
  writeFile(given, R"({"QorvaneT1Settings2024":{"PostAssessmentOption":"2","PCity":""}})");
  const ToolResult result = machine({"--year", "2024", "import", given.string()});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(tool({"get", "preparerPostAssessmentReview"}).out, "5\n");
  EXPECT_EQ(tool({"get", "preparerCity"}).out, "Alma\n")
      << "the file for every year stands behind the year's";
  EXPECT_FALSE(fs::exists(machineFolder() / "QorvaneT1Settings2024.plist"));
}

TEST_F(MachineLayerTest, ChangesNothingInAFolderThatOthersCanChangeNorInADamagedFile) {
  fs::create_directories(machineFolder());
  fs::permissions(machineFolder(), fs::perms::others_write, fs::perm_options::add);
  EXPECT_EQ(machine({"set", "preparerCity", "Alma"}).exit, 77);
  fs::permissions(machineFolder(), fs::perms::others_write, fs::perm_options::remove);
  writeFile(machineFolder() / "QorvaneT1Settings.plist", "bplist00 and so on");
  EXPECT_EQ(machine({"set", "preparerCity", "Alma"}).exit, 65);
  EXPECT_EQ(file("QorvaneT1Settings.plist"), "bplist00 and so on");
}

}  // namespace
}  // namespace testing_support
