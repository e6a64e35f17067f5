// paths, format, vocabulary, choices, province, and colours on the command line.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class AnswerVerbsTest : public testing::Test {
 protected:
  static ToolResult tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--lang", "en", "--year", "2020"});
    return optionsmgr(arguments);
  }
  static std::string shown(std::vector<std::string> arguments) {
    const ToolResult result = tool(std::move(arguments));
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  static void expectFailure(const ToolResult& result, int exit, const std::string& words) {
    EXPECT_EQ(result.exit, exit) << result.out;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
  }

  TestHome home;
};

TEST_F(AnswerVerbsTest, PathsShowsFoldersAndMakesNone) {
  const json rows = json::parse(shown({"--json", "paths"}));
  EXPECT_EQ(rows.size(), 14u);
  EXPECT_EQ(rows[0]["name"], "store");
  EXPECT_EQ(rows[0]["path"], home.store().string());
  for (const json& row : rows) EXPECT_FALSE(row["exists"]) << row;
  EXPECT_FALSE(fs::exists(home.path() / "Documents"));
  EXPECT_FALSE(fs::exists(home.store()));
}

TEST_F(AnswerVerbsTest, PathsTellsWhereAFolderComesFrom) {
  const std::string chosen = (home.path() / "à moi").string();
  ASSERT_EQ(tool({"set", "cifFileFolder", chosen}).exit, 0);
  EXPECT_FALSE(fs::exists(chosen)) << "setting makes nothing";
  for (const json& row : json::parse(shown({"--json", "paths"}))) {
    EXPECT_EQ(row["from"], row["name"] == "cifFileFolder" ? "stored" : "default");
    if (row["name"] == "cifFileFolder") {
      EXPECT_EQ(row["path"], chosen);
    }
    if (row["name"] == "clientFileFolder") {
      EXPECT_EQ(row["path"], (home.path() / "Documents/Qorvane/2020/T2020").string());
    }
  }
  EXPECT_NE(shown({"paths"}).find("cifFileFolder          yes  no      " + chosen), std::string::npos)
      << shown({"paths"});
}

TEST_F(AnswerVerbsTest, PathsMakesThemWhenAsked) {
  shown({"paths", "--create"});
  EXPECT_TRUE(fs::is_directory(home.path() / "Documents/Qorvane/2020/PDf"));
  EXPECT_TRUE(fs::is_directory(home.path() / "Documents/Qorvane/2019/T2019"));
}

TEST_F(AnswerVerbsTest, TheCorporateProductIsListedWithoutMakingItsFolders) {
  shown({"--product", "T2", "list"});
  EXPECT_FALSE(fs::exists(home.path() / "Documents"));
}

TEST_F(AnswerVerbsTest, FormatShowsEachStyleInBothLanguages) {
  setenv("LC_ALL", "C", 1);  // Editing follows the process's locale.
  EXPECT_EQ(shown({"format", "1234567.891"}),
            "style                         English       French\n"
            "numberFormatter               1,234,567.89  1\u00a0234\u00a0567,89\n"
            "numberFormatterWithoutDollar  1234567.89    1234567,89\n"
            "numberFormatterForEditing     1234567.89    1234567.89\n");
  const json told = json::parse(shown({"--product", "T2", "--json", "format", "-1234.567", "0.5"}));
  EXPECT_EQ(told[0]["numberFormatter"]["english"], "-1235");
  EXPECT_EQ(told[0]["numberFormatterWithoutDollar"]["french"], "(1234,57)");
  EXPECT_EQ(told[1]["numberFormatter"]["french"], "0");
  EXPECT_EQ(shown({"get", "language"}), "English\n") << "nothing was saved";
}

TEST_F(AnswerVerbsTest, WhatIsNoAmountIsRefused) {
  for (const char* words : {"x", "1,234.5", "", "1e999", "nan", "12 "})
    expectFailure(tool({"format", words}), 65, "amount");
}

TEST_F(AnswerVerbsTest, VocabularyIsSearched) {
  EXPECT_NE(shown({"vocabulary", "colours"}).find("optsStr_MainBackColor = MainBackColor\n"),
            std::string::npos);
  EXPECT_EQ(shown({"vocabulary", "--search", "Firstnames"}), "FirstName = Firstnames\n");
  const json found = json::parse(shown({"--json", "vocabulary", "--search", "kPreferenceChange"}));
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0]["string"], "kPreferenceChangeEvt");
  expectFailure(tool({"vocabulary", "colors"}), 1, "did you mean \"Colours\"");
  expectFailure(tool({"vocabulary", "--search", "no such thing"}), 1, "no such thing");
}

TEST_F(AnswerVerbsTest, ChoicesShowWhatIsStoredAndTheLabelsForPeople) {
  EXPECT_EQ(shown({"choices", "ModeOfDelivery"}),
            "neutral     English     French     offered  by default\n"
            "Paper       Paper       Papier     yes      yes\n"
            "Phone       Phone       Téléphone  yes      no\n"
            "Efile Plus  Efile Plus  TED Plus   yes      no\n");
  const json all = json::parse(shown({"--json", "choices"}));
  EXPECT_EQ(all.size(), 11u);
  EXPECT_EQ(all["RC59OptionsMapping"][1],
            (json{{"neutral", "02"},
                  {"english", "2-Allow Update & View"},
                  {"french", "2-Allow Update & View"},
                  {"label", {{"english", "2-Update and view"}, {"french", "2-Mise à jour et consultation"}}},
                  {"offered", true},
                  {"default", false}}));
  // From 2012 to 2015 the default is the one that is not offered.
  const json crossed =
      json::parse(tool({"--year", "2013", "--json", "choices", "AssessmentOptionsMapping"}).out);
  EXPECT_EQ(crossed["AssessmentOptionsMapping"][0]["offered"], false);
  EXPECT_EQ(crossed["AssessmentOptionsMapping"][0]["default"], true);
  EXPECT_NE(shown({"choices"}).find("\nCompanyTypeMapping\n"), std::string::npos);
  expectFailure(tool({"choices", "ModeOfDeliverie"}), 1, "did you mean \"ModeOfDelivery\"");
}

TEST_F(AnswerVerbsTest, ProvincesAreFoundByNameCodeAndPostalCode) {
  for (const char* asked : {"Quebec", "Québec", "QC", "H2X 1Y4", "h2x1y4"}) {
    const json told = json::parse(shown({"--json", "province", asked}));
    EXPECT_EQ(told["code"], "QC") << asked;
    EXPECT_EQ(told["number"], 13);
    EXPECT_EQ(told["english"], "Quebec");
    EXPECT_EQ(told["french"], "Québec");
    EXPECT_EQ(told["image"], 11);
  }
  EXPECT_EQ(json::parse(shown({"--json", "province", "NR"}))["number"], 12);
  EXPECT_EQ(json::parse(shown({"--product", "T2", "--json", "province", "NR"}))["number"], 15);
  EXPECT_EQ(json::parse(shown({"--product", "T2", "--json", "province", "Nouvelle Ecosse"}))["english"],
            "Nova Scotia");
  EXPECT_NE(shown({"province", "X0A 0H0"}).find("Nunavut"), std::string::npos);
  EXPECT_EQ(json::parse(shown({"--json", "province", "MJ"}))["english"], "Multiple Jurisdiction");
  EXPECT_EQ(json::parse(shown({"--json", "province", "Nouveau Brunswick"}))["french"], "Nouveau-Brunswick");
  EXPECT_EQ(json::parse(shown({"--product", "T2", "--json", "province", "Columbie-Britannique"}))["code"],
            "BC");
  expectFailure(tool({"province", "Nevada"}), 1, "Nevada");
  EXPECT_EQ(json::parse(shown({"--product", "T2", "--json", "province", "Nevada"}))["number"], 133);
  expectFailure(tool({"province", "quebec"}), 1, "did you mean \"Quebec\"");
}

TEST_F(AnswerVerbsTest, ColoursAreShownAndTakenAsCodesAndComponents) {
  EXPECT_EQ(shown({"get", "mainBackColor"}), "#CCFFFF calibrated RGB 0.8 1 1 1\n");
  EXPECT_EQ(shown({"get", "dataEntryCellBackColor"}), "#FFFFFF calibrated white 1 1\n");
  ASSERT_EQ(tool({"set", "mainBackColor", "#0080ff"}).exit, 0);
  const json told = json::parse(shown({"--json", "get", "mainBackColor"}));
  EXPECT_EQ(told["code"], "#0080FF");
  EXPECT_EQ(told["space"], "calibrated RGB");
  EXPECT_EQ(told["components"][3], 1.0) << "opaque";
  ASSERT_EQ(tool({"set", "mainBackColor", "device CMYK 0.1 0.2 0.3 0.4 1"}).exit, 0);
  const std::string text = shown({"get", "mainBackColor"});
  EXPECT_NE(text.find("device CMYK 0.1 0.2 0.3 0.4 1\n"), std::string::npos) << text;
  ASSERT_EQ(tool({"set", "spouseBackColor", text.substr(0, text.size() - 1)}).exit, 0)
      << "what is shown is taken";
  EXPECT_EQ(shown({"get", "spouseBackColor"}), text);
  EXPECT_EQ(tool({"reset", "mainBackColor"}).exit, 0);
  EXPECT_EQ(tool({"reset", "dataEntryCellBackColor"}).exit, 0);
  EXPECT_EQ(shown({"get", "mainBackColor"}), "#CCFFFF calibrated RGB 0.8 1 1 1\n");
}

TEST_F(AnswerVerbsTest, WhatIsNoColourIsRefused) {
  for (const char* words :
       {"red", "#12345", "#1234567", "#12345g", "calibrated RGB 1 1 1", "calibrated RGB 1 1 1 1 1",
        "calibrated RGB1 1 1 1", "device white 0.5", "pattern", "sRGB 1 1 1 nan", ""})
    expectFailure(tool({"set", "mainBackColor", words}), 65, "mainBackColor");
}

TEST_F(AnswerVerbsTest, AnEntryThatIsNoColourIsSaidAndMended) {
  ASSERT_EQ(tool({"set", "language", "French"}).exit, 0);
  // Another program writes nonsense under a colour's key.
  const std::string file = (home.store() / "QorvaneT1Settings2020.plist").string();
  const ToolResult written = run({"python3", "-c",
                                  "import plistlib,sys; p=sys.argv[1]; d=plistlib.load(open(p,'rb'));"
                                  "d['QorvaneT1Settings2020']['MainBackColor']='red';"
                                  "plistlib.dump(d,open(p,'wb'),fmt=plistlib.FMT_BINARY)",
                                  file});
  if (written.exit == 127) GTEST_SKIP() << "python3 is not installed";
  ASSERT_EQ(written.exit, 0) << written.err;
  expectFailure(tool({"get", "mainBackColor"}), 65, "optionsmgr reset mainBackColor");
  expectFailure(tool({"set", "mainBackColor", "#000000"}), 65, "optionsmgr reset mainBackColor");
  const ToolResult listed = tool({"list", "*BackColor"});
  EXPECT_EQ(listed.exit, 0);
  EXPECT_NE(listed.out.find("mainBackColor                  colour  (unreadable)"), std::string::npos)
      << listed.out;
  EXPECT_NE(listed.out.find("#FFFF00"), std::string::npos);
  EXPECT_EQ(tool({"reset", "mainBackColor"}).exit, 0);
  EXPECT_EQ(shown({"get", "mainBackColor"}), "#CCFFFF calibrated RGB 0.8 1 1 1\n");
  EXPECT_EQ(shown({"get", "language"}), "French\n");
}

}  // namespace
}  // namespace testing_support
