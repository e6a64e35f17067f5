// get, set and reset of several options, checks, and what a product does not keep.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

class SetVerbsTest : public testing::Test {
 protected:
  static ToolResult tool(Words words, const std::string& input = "") {
    words.insert(words.begin(), {TOOL_PATH, "--lang", "en", "--year", "2024"});
    return run(words, input);
  }
  static std::string get(const char* option) {
    std::string out = tool({"get", option}).out;
    if (!out.empty()) out.pop_back();
    return out;
  }
  fs::path file() const { return home.store() / "QorvaneT1Settings2024.plist"; }

  TestHome home;
};

TEST_F(SetVerbsTest, SeveralAreSetInOneSaveOrNotAtAll) {
  EXPECT_EQ(tool({"set", "preparerCity=Alma", "preparerPhone=418 555-0123", "disclaimerTxt=a=b [c,d]"}).exit,
            0);
  EXPECT_EQ(tool({"get", "preparerCity", "preparerPhone"}).out,
            "preparerCity=Alma\npreparerPhone=418 555-0123\n");
  EXPECT_EQ(get("disclaimerTxt"), "a=b [c,d]");
  EXPECT_EQ(qorvane::FileUserDefaults().inspect("QorvaneT1Settings2024").generation, 1u);
  const std::string before = readFile(file());
  for (const Words& words : {Words{"set", "preparerCity=Laval", "zsupress=maybe"},
                             {"set", "preparerCity=Laval", "nothing=1"},
                             {"set", "preparerCity=Laval", "zsupress"},
                             {"set", "preparerCity", "Laval", "zsupress"},
                             {"set", "pName=A", "preparerNameOfRepresentative=B"},
                             {"set", "preparerCity"},
                             {"set"}})
    EXPECT_NE(tool(words).exit, 0) << words.back();
  EXPECT_EQ(readFile(file()), before);
  EXPECT_EQ(tool({"set", "disclaimerTxt", "[a,b]"}).exit, 0);
  EXPECT_EQ(get("disclaimerTxt"), "[a,b]");
  // Each is checked beside the others, in whatever order they come.
  EXPECT_EQ(tool({"set", "preparerPostalCode=75001", "preparerCity=Paris"}).exit, 65);
  EXPECT_EQ(get("preparerCity"), "Alma");
  EXPECT_EQ(tool({"set", "preparerPostalCode=75001", "preparerCountry=France"}).exit, 0);
  EXPECT_EQ(get("preparerPostalCode"), "75001");
  EXPECT_EQ(tool({"set", "preparerCountry=Canada", "preparerPostalCode=75002"}).exit, 65);
  EXPECT_EQ(get("preparerCountry"), "France");
}

TEST_F(SetVerbsTest, SeveralAreReadFromStandardInput) {
  EXPECT_EQ(tool({"set", "--stdin"}, "preparerCity=Alma\r\n\nzsupress=non\n").exit, 0);
  EXPECT_EQ(get("preparerCity"), "Alma");
  EXPECT_EQ(get("zsupress"), "false");
  EXPECT_EQ(
      tool({"set", "--stdin"}, R"({"preparerCity": "Laval", "zsupress": true, "autoSaveAfter": 5})").exit, 0);
  EXPECT_EQ(get("preparerCity"), "Laval");
  EXPECT_EQ(get("autoSaveAfter"), "5");
  EXPECT_EQ(tool({"set", "--stdin"}, R"({"preparerCity": null})").exit, 65);
  EXPECT_EQ(tool({"set", "--stdin"}, "preparerCity\n").exit, 2);
}

TEST_F(SetVerbsTest, APreviewShowsAndChangesNothing) {
  EXPECT_EQ(tool({"set", "preparerCity", "Alma"}).exit, 0);
  const std::string before = readFile(file());
  EXPECT_EQ(tool({"set", "preparerCity", "Laval", "--dry-run"}).out,
            "preparerCity  Alma -> Laval\na preview: nothing was changed\n");
  EXPECT_EQ(tool({"reset", "preparer*", "--dry-run"}).out,
            "preparerCity  Alma -> (empty)\na preview: nothing was changed\n");
  EXPECT_EQ(readFile(file()), before);
}

TEST_F(SetVerbsTest, AValueThatBreaksARuleIsRefusedWithTheNearestRightOne) {
  for (const auto& [option, value, nearest] : {std::tuple{"language", "Klingon", "English or French"},
                                               {"language", "Frensh", "\"French\""},
                                               {"preparerProvince", "Onario", "\"Ontario\""},
                                               {"autoSaveAfter", "-5", "nearest right one is 0"},
                                               {"autoSaveAfter", "2000", "nearest right one is 1440"},
                                               {"preparerPostalCode", "12345", "K1A"}}) {
    const ToolResult refused = tool({"set", option, value});
    EXPECT_EQ(refused.exit, 65) << option;
    EXPECT_NE(refused.err.find(nearest), std::string::npos) << refused.err;
    EXPECT_NE(refused.err.find("--force"), std::string::npos) << refused.err;
    EXPECT_EQ(tool({"set", "--force", option, value}).exit, 0) << option;
    EXPECT_EQ(get(option), value);
  }
  EXPECT_EQ(tool({"set", "--force", "zsupress", "maybe"}).exit, 65) << "a stored form is never forced";
  for (const char* folder : {"Clients/PDF", "./x"})
    EXPECT_EQ(tool({"set", "pdfFileFolder", folder}).exit, 65);
  for (const char* date : {"nan", "inf", "-inf", "2026-12-31"})
    EXPECT_EQ(tool({"set", "--force", "t183AuthorizationExpiryDate", "--", date}).exit, 65) << date;
}

TEST_F(SetVerbsTest, WhatAProductDoesNotKeepIsSaidBeforeAnythingIsSaved) {
  for (const Words& words :
       {Words{"set", "rc59_RepID", "X1"}, {"--product", "T2", "set", "isStepsMode", "true"}}) {
    const ToolResult result = tool(words);
    EXPECT_EQ(result.exit, 1) << result.err;
    EXPECT_NE(result.err.find("this product does not keep"), std::string::npos) << result.err;
  }
  EXPECT_FALSE(fs::exists(file()));
  EXPECT_FALSE(fs::exists(home.store() / "QorvaneT2Settings2024.plist"));
  const ToolResult other = tool({"set", "que_PreAssessmentCode", ""});
  EXPECT_EQ(other.exit, 0);
  EXPECT_NE(other.err.find("kept as \"3\""), std::string::npos) << other.err;
}

TEST_F(SetVerbsTest, PatternsAllAndUnknownEntriesAreReset) {
  EXPECT_EQ(tool({"set", "preparerCity=Alma", "disc_City=Laval", "zsupress=no"}).exit, 0);
  EXPECT_EQ(tool({"reset", "PREPARERC*"}).exit, 0);
  EXPECT_EQ(get("preparerCity"), "");
  EXPECT_EQ(get("disc_City"), "Laval");
  EXPECT_EQ(tool({"reset", "nothing*"}).exit, 1);
  EXPECT_EQ(tool({"reset"}).exit, 2);
  EXPECT_EQ(tool({"reset", "--all", "preparerCity"}).exit, 2);
  EXPECT_EQ(get("disc_City"), "Laval");
  EXPECT_EQ(tool({"reset", "--all"}).exit, 0);
  EXPECT_EQ(tool({"list", "--changed"}).out, "");
  qorvane::FileUserDefaults files;
  files.setObject(qorvane::Dictionary{{"Future", qorvane::Text("x")},
                                      {"App.Window", qorvane::Text("0 0")},
                                      {"PCity", qorvane::Text("Alma")}},
                  "QorvaneT1Settings2024");
  ASSERT_TRUE(files.synchronize());
  EXPECT_EQ(nlohmann::json::parse(tool({"--json", "list", "--unknown"}).out),
            (nlohmann::json{{"Future", {{"value", "x"}, {"kind", "text"}}}}));
  EXPECT_EQ(tool({"reset", "--unknown"}).exit, 0);
  const qorvane::Value entries = qorvane::FileUserDefaults().objectForKey("QorvaneT1Settings2024");
  EXPECT_FALSE(entries.asDictionary()->find("Future"));
  EXPECT_TRUE(entries.asDictionary()->find("App.Window"));
  EXPECT_EQ(get("preparerCity"), "Alma");
}

TEST_F(SetVerbsTest, AFontsSizeGoesWithItsLastName) {
  EXPECT_EQ(tool({"set", "printFontForHeader=Helvetica, 12", "printFontForFooter=Courier, 9"}).exit, 0);
  EXPECT_EQ(tool({"reset", "printFontForHeader"}).exit, 0);
  EXPECT_EQ(get("printFontForFooter"), "Courier, 9");
  EXPECT_EQ(tool({"reset", "printFontForFooter"}).exit, 0);
  EXPECT_FALSE(qorvane::FileUserDefaults()
                   .objectForKey("QorvaneT1Settings2024")
                   .asDictionary()
                   ->find("HeaderFontSize"));
}

TEST_F(SetVerbsTest, OptionsAreFoundByWhatTheyMean) {
  for (const auto& [words, option] : {std::pair{Words{"ville"}, "preparerCity"},
                                      {{"CITY"}, "preparerCity"},
                                      {{"telecopieur"}, "preparerFax"},
                                      {{"postal", "code"}, "preparerPostalCode"},
                                      {{"mot", "de", "passe"}, "preparerPassword"}}) {
    Words command{"--quiet", "search"};
    command.insert(command.end(), words.begin(), words.end());
    EXPECT_NE(tool(command).out.find(option), std::string::npos) << words[0];
  }
  EXPECT_EQ(tool({"search", "xyzzy"}).exit, 1);
  EXPECT_EQ(tool({"list", "*CITY*"}).exit, 0);
  EXPECT_NE(tool({"list", "--group", "Colours", "--labels"}).out.find("mainBackColor"), std::string::npos);
  EXPECT_EQ(tool({"list", "--group", "Couleurs"}).out, tool({"list", "--group", "colours"}).out);
  EXPECT_EQ(tool({"list", "--group", "préparateur"}).out, tool({"list", "--group", "Preparer"}).out);
  EXPECT_EQ(tool({"list", "--group", "Colors"}).exit, 1);
  EXPECT_EQ(tool({"list", "--group", "F"}).exit, 1);  // begins several
}

// ---- the command line -------------------------------------------------------------------------------------

TEST_F(SetVerbsTest, WhatCannotBeUnderstoodIsNamed) {
  const auto refused = [](const Words& words) {
    const ToolResult result = tool(words);
    EXPECT_EQ(result.exit, 2) << words[0];
    EXPECT_EQ(result.err.find("ubcommand"), std::string::npos) << result.err;
    return result.err;
  };
  EXPECT_NE(refused({"list", "--chnged"}).find("did you mean \"--changed\""), std::string::npos);
  EXPECT_NE(refused({"--chnged", "list"}).find("there is no option"), std::string::npos);
  EXPECT_NE(refused({"--changed", "list"}).find("--changed goes after the verb"), std::string::npos);
  EXPECT_NE(refused({"get"}).find("OPTION is required"), std::string::npos);
  EXPECT_NE(refused({"describe", "zsupress", "one", "two"}).find("one two"), std::string::npos);
  for (const char* year : {"0", "10000", "-1", "2024x", ""}) EXPECT_NE(refused({"--year", year, "list"}), "");
  for (const char* wait : {"nan", "-1", "inf"})
    EXPECT_EQ(refused({"--lock-wait", wait, "list"}).find(".000000"), std::string::npos);
  refused({"--store", "", "list"});
  refused({"help", "lisst"});
  EXPECT_EQ(tool({"help", "set"}).out, tool({"set", "--help"}).out);
  EXPECT_EQ(tool({"help"}).out, tool({"--help"}).out);
  EXPECT_EQ(tool({"-v"}).out, tool({"--version"}).out);
  EXPECT_EQ(tool({"range", "yor"}).exit, 65);
}

}  // namespace
}  // namespace testing_support
