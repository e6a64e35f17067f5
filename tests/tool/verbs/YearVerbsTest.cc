// diff and carry-forward, as an office uses them each winter.
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
using nlohmann::json;

class YearVerbsTest : public testing::Test {
 protected:
  static void set(const char* year, const char* option, const char* value, const char* product = "T1") {
    const ToolResult result = optionsmgr({"--product", product, "--year", year, "set", option, "--", value});
    ASSERT_EQ(result.exit, 0) << result.err;
  }
  static std::string get(const char* year, const char* option) {
    std::string out = optionsmgr({"--year", year, "get", "--show-secrets", option}).out;
    if (!out.empty()) out.pop_back();
    return out;
  }
  static void expectFailure(const ToolResult& result, int exit, const std::string& words) {
    EXPECT_EQ(result.exit, exit) << result.out;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
  }
  static ToolResult carry(std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"--lang", "en", "carry-forward", "--from", "2024", "--to", "2025"});
    return optionsmgr(more);
  }
  std::string file(const char* year) const {
    return (home.store() / ("QorvaneT1Settings" + std::string(year) + ".plist")).string();
  }

  TestHome home;
};

// ---- diff -----------------------------------------------------------------------------------------------

TEST_F(YearVerbsTest, DiffShowsWhatDiffersAndSaysSoWithItsExitCode) {
  set("2024", "language", "French");
  set("2024", "preparerCity", "Gaspé");
  set("2025", "language", "English");
  const ToolResult result = optionsmgr({"diff", "2024", "2025"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "option        T1 2024  T1 2025\n"
            "language      French   English\n"
            "preparerCity  Gaspé\n");
  const json told = json::parse(optionsmgr({"--json", "diff", "2024", "2025"}).out);
  EXPECT_EQ(told["options"][0], (json{{"name", "language"}, {"first", "French"}, {"second", "English"}}));
  EXPECT_EQ(optionsmgr({"--quiet", "diff", "2024", "2025"}).out, "");
  EXPECT_EQ(optionsmgr({"--quiet", "diff", "2024", "2025"}).exit, 1);
}

TEST_F(YearVerbsTest, DiffOfTheSameIsEmpty) {
  set("2024", "language", "French");
  set("2025", "language", "French");
  const ToolResult result = optionsmgr({"diff", "2024", "2025"});
  EXPECT_EQ(result.exit, 0) << result.out << result.err;
  EXPECT_EQ(result.out, "") << "defaults that name the year are no difference";
}

TEST_F(YearVerbsTest, DiffComparesProducts) {
  set("2024", "preparerCity", "Gaspé");
  set("2024", "preparerCity", "Matane", "T2");
  set("2023", "preparerCity", "Gaspé", "T2");
  EXPECT_EQ(optionsmgr({"--year", "2024", "diff", "T1", "T2"}).out,
            "option        T1 2024  T2 2024\npreparerCity  Gaspé    Matane\n");
  EXPECT_EQ(optionsmgr({"diff", "t1:2024", "T2:2023"}).exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2023", "--product", "T2", "diff", "T1:2024"}).exit, 0)
      << "the second is the store's own";
}

TEST_F(YearVerbsTest, DiffComparesAFileWithTheStore) {
  set("2024", "language", "French");
  fs::copy_file(file("2024"), home.path() / "old.plist");
  set("2024", "language", "English");
  const std::string old = (home.path() / "old.plist").string();
  EXPECT_EQ(optionsmgr({"--year", "2024", "diff", old}).out,
            "option    old.plist  T1 2024\nlanguage  French     English\n");
  EXPECT_EQ(optionsmgr({"diff", old, file("2024")}).exit, 1);
  EXPECT_EQ(optionsmgr({"diff", old, old}).exit, 0);
}

TEST_F(YearVerbsTest, DiffComparesAGenerationWithTheStore) {
  for (const char* city : {"Alma", "Gatineau", "Gaspé"}) set("2024", "preparerCity", city);
  EXPECT_EQ(optionsmgr({"--year", "2024", "diff", "@3"}).out,
            "option        T1 2024@3  T1 2024\npreparerCity  Gatineau   Gaspé\n");
  EXPECT_EQ(optionsmgr({"--year", "2023", "diff", "2024@2", "T1:2024@3"}).out,
            "option        T1 2024@2  T1 2024@3\npreparerCity  Alma       Gatineau\n");
  EXPECT_EQ(optionsmgr({"diff", "2024@2", "2024@2"}).exit, 0);
  expectFailure(optionsmgr({"--lang", "en", "--year", "2024", "diff", "@77"}), 2, "77");
  expectFailure(optionsmgr({"--lang", "en", "diff", "2024@99999999999999999999"}), 2, "no good generation");
  writeFile(home.store() / qorvane::FileUserDefaults().generations("QorvaneT1Settings2024").at(0).path, "x");
  expectFailure(optionsmgr({"--lang", "en", "--year", "2024", "diff", "@3"}), 65, "damaged");
  // A file may be named so.
  fs::copy_file(file("2024"), home.path() / "old@12");
  EXPECT_EQ(optionsmgr({"diff", (home.path() / "old@12").string(), "2024"}).exit, 0);
}

TEST_F(YearVerbsTest, DiffMasksSecrets) {
  set("2024", "preparerPassword", "hush");
  set("2025", "preparerPassword", "hash");
  const ToolResult masked = optionsmgr({"diff", "2024", "2025"});
  EXPECT_NE(masked.out.find("preparerPassword  ********  ********"), std::string::npos) << masked.out;
  EXPECT_NE(optionsmgr({"diff", "2024", "2025", "--show-secrets"}).out.find("hush"), std::string::npos);
}

TEST_F(YearVerbsTest, DiffSaysWhatIsMissing) {
  set("2024", "language", "French");
  expectFailure(optionsmgr({"--lang", "en", "diff", "2024", "2023"}), 2, "there are no T1 2023 settings");
  expectFailure(optionsmgr({"--lang", "en", "diff", "2024", "10000"}), 2, "10000");
  expectFailure(optionsmgr({"--lang", "en", "diff", "no such file", "2024"}), 2, "no such file");
  writeFile(home.path() / "x.plist", "rubbish");
  expectFailure(optionsmgr({"--lang", "en", "diff", (home.path() / "x.plist").string(), "2024"}), 65,
                "x.plist");
  EXPECT_EQ(optionsmgr({"--lang", "en", "diff"}).exit, 2);
}

// ---- carry-forward --------------------------------------------------------------------------------------

TEST_F(YearVerbsTest, LastYearsSettingsAreCopiedIntoTheNewYear) {
  set("2024", "language", "French");
  set("2024", "preparerCity", "Gaspé");
  set("2024", "mainBackColor", "#0080FF");
  set("2024", "printFontForHeader", "Helvetica, 12.5");
  const ToolResult result = carry();
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("T1 2024 to T1 2025: 4 copied, 0 kept, 0 left out\n"), std::string::npos)
      << result.out;
  EXPECT_EQ(get("2025", "language"), "French");
  EXPECT_EQ(get("2025", "preparerCity"), "Gaspé");
  EXPECT_EQ(get("2025", "mainBackColor"), get("2024", "mainBackColor"));
  EXPECT_EQ(get("2025", "printFontForHeader"), "Helvetica, 12.5");
  EXPECT_EQ(optionsmgr({"diff", "2024", "2025"}).exit, 0);
}

TEST_F(YearVerbsTest, EachOptionHasItsLine) {
  set("2024", "preparerCity", "Gaspé");
  set("2024", "preparerPostalCode", "G0C 1R0");
  set("2024", "cifFileFolder", "/srv/2024/cif");
  set("2024", "preparerPassword", "hush");
  set("2025", "preparerPostalCode", "H2X 1Y4");
  const json told = json::parse(carry({"--json"}).out);
  EXPECT_EQ(told["from"], "T1 2024");
  EXPECT_EQ(told["to"], "T1 2025");
  const auto line = [&](const char* name) {
    for (const json& one : told["options"])
      if (one["name"] == name) return one;
    return json();
  };
  EXPECT_EQ(line("preparerCity"),
            (json{{"name", "preparerCity"}, {"action", "copied"}, {"value", "Gaspé"}, {"detail", "Gaspé"}}));
  EXPECT_EQ(line("preparerPostalCode")["action"], "kept");
  EXPECT_EQ(line("preparerPostalCode")["detail"], "H2X 1Y4");
  EXPECT_EQ(line("cifFileFolder")["action"], "left");
  EXPECT_EQ(
      line("preparerPassword"),
      (json{
          {"name", "preparerPassword"}, {"action", "left"}, {"value", "********"}, {"detail", "a secret"}}));
  EXPECT_EQ(line("language")["action"], "same");
  EXPECT_EQ(get("2025", "preparerPostalCode"), "H2X 1Y4");
  EXPECT_EQ(get("2025", "preparerPassword"), "");
}

TEST_F(YearVerbsTest, WhatIsSetStaysUnlessItIsToBeOverwritten) {
  set("2024", "preparerCity", "Gaspé");
  set("2024", "zsupress", "on");
  set("2025", "preparerCity", "Matane");
  set("2025", "zsupress", "off");
  EXPECT_EQ(carry().exit, 0);
  EXPECT_EQ(get("2025", "preparerCity"), "Matane");
  EXPECT_EQ(get("2025", "zsupress"), "false");
  EXPECT_EQ(carry({"--overwrite"}).exit, 0);
  EXPECT_EQ(get("2025", "preparerCity"), "Gaspé");
  EXPECT_EQ(get("2025", "zsupress"), "true") << "a default of last year counts as a choice then";
}

TEST_F(YearVerbsTest, ADefaultThatTheProgramStoredByItselfIsNotTakenForAChoice) {
  set("2024", "preparerCity", "Gaspé");
  set("2025", "autoSaveAfter", "5");  // The save stores the defaults of the load list.
  EXPECT_EQ(carry().exit, 0);
  EXPECT_EQ(get("2025", "preparerCity"), "Gaspé");
  EXPECT_EQ(get("2025", "autoSaveAfter"), "5");
}

TEST_F(YearVerbsTest, SecretsAndFoldersComeOnlyWhenAsked) {
  set("2024", "preparerPassword", "hush");
  set("2024", "cifFileFolder", "/srv/cif");
  const ToolResult result = carry({"--secrets", "--folders"});
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out.find("hush"), std::string::npos) << result.out;
  EXPECT_EQ(get("2025", "preparerPassword"), "hush");
  EXPECT_EQ(get("2025", "cifFileFolder"), "/srv/cif");
}

TEST_F(YearVerbsTest, PathsThatNameTheYearNameTheNewOne) {
  for (const auto& [before, after] : {std::pair{"/srv/2024/T2024/pdf", "/srv/2025/T2025/pdf"},
                                      {"/srv/T2_2024", "/srv/T2_2025"},
                                      {"/srv/x2024/20240", "/srv/x2024/20240"}}) {
    fs::remove_all(home.store());
    set("2024", "pdfFileFolder", before);
    set("2024", "printerNameChosen", "Laser");
    const ToolResult result = carry({"--lang", "en", "--folders"});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(get("2025", "pdfFileFolder"), after);
    EXPECT_EQ(get("2025", "printerNameChosen"), "Laser");
    EXPECT_EQ(result.err.find("pdfFileFolder keeps its path") != std::string::npos,
              before == std::string(after))
        << result.err;
  }
  fs::remove_all(home.store());
  set("2024", "printerNameChosen", "Laser");
  set("2024", "preparerCity", "Alma");
  EXPECT_EQ(carry().exit, 0);
  EXPECT_EQ(get("2025", "printerNameChosen"), "");
}

TEST_F(YearVerbsTest, BothProductsAreCarriedAsOneStep) {
  set("2024", "preparerCity", "Gaspé");
  set("2024", "preparerCity", "Matane", "T2");
  const ToolResult result =
      optionsmgr({"--lang", "en", "--product", "all", "--year", "2025", "carry-forward"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(get("2025", "preparerCity"), "Gaspé");
  EXPECT_EQ(optionsmgr({"--product", "T2", "--year", "2025", "get", "preparerCity"}).out, "Matane\n");
  EXPECT_EQ(result.out.find(" same "), std::string::npos) << "only what changes is shown: " << result.out;
  EXPECT_NE(optionsmgr({"--lang", "en", "--product", "all", "--year", "2025", "carry-forward", "--all"})
                .out.find("  same"),
            std::string::npos);
  EXPECT_EQ(optionsmgr({"--product", "all", "list"}).exit, 2);
}

TEST_F(YearVerbsTest, TheProvincesCodeAndLineComeAlong) {
  set("2024", "preparerProvince", "Quebec");
  set("2025", "preparerProvince", "Ontario");
  EXPECT_EQ(carry({"--overwrite"}).exit, 0);
  const qorvane::Value entries = qorvane::FileUserDefaults().objectForKey("QorvaneT1Settings2025");
  EXPECT_EQ(entries.asDictionary()->find("PProvCode")->textValue(), qorvane::Text("QC"));
  EXPECT_EQ(optionsmgr({"--year", "2025", "reset", "preparerProvince"}).exit, 0);
  const qorvane::Value reset = qorvane::FileUserDefaults().objectForKey("QorvaneT1Settings2025");
  EXPECT_FALSE(reset.asDictionary()->find("PProvCode"));
  EXPECT_FALSE(reset.asDictionary()->find("PProvandPCode"));
}

TEST_F(YearVerbsTest, BetweenProductsWhatFallsOnOneEntryAndDiffersIsLeft) {
  set("2024", "preparerCity", "Gaspé");
  set("2024", "preparerNameOfRepresentative", "Marie Tremblay");
  set("2024", "repFirstName", "Marie");
  const ToolResult result =
      optionsmgr({"--lang", "en", "carry-forward", "--all", "--from", "T1:2024", "--to", "T2:2024"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(optionsmgr({"--product", "T2", "--year", "2024", "get", "preparerCity"}).out, "Gaspé\n");
  EXPECT_EQ(optionsmgr({"--product", "T2", "--year", "2024", "get", "repFirstName"}).out, "\n");
  for (const char* name : {"preparerNameOfRepresentative", "repFirstName"})
    EXPECT_NE(result.out.find(name), std::string::npos) << result.out;
}

TEST_F(YearVerbsTest, DiffComparesWhatNoOptionNames) {
  for (const auto& [year, value] : {std::pair{"2024", "1"}, {"2025", "2"}}) {
    qorvane::FileUserDefaults files;
    files.setObject(qorvane::Dictionary{{"FutureOption", qorvane::Text(value)},
                                        {"PProv", qorvane::Text("Quebec")},
                                        {"PProvCode", qorvane::Text(value)}},
                    qorvane::Text("QorvaneT1Settings" + std::string(year)));
    ASSERT_TRUE(files.synchronize());
  }
  const ToolResult all = optionsmgr({"diff", "2024", "2025"});
  EXPECT_EQ(all.exit, 1);
  EXPECT_NE(all.out.find("FutureOption  1"), std::string::npos) << all.out;
  EXPECT_NE(all.out.find("PProvCode"), std::string::npos) << all.out;
  EXPECT_EQ(optionsmgr({"diff", "--known", "2024", "2025"}).out.find("FutureOption"), std::string::npos);
}

TEST_F(YearVerbsTest, APreviewChangesNothing) {
  set("2024", "preparerCity", "Gaspé");
  const ToolResult preview = carry({"--dry-run"});
  EXPECT_EQ(preview.exit, 0);
  EXPECT_NE(preview.out.find("preparerCity"), std::string::npos);
  EXPECT_NE(preview.out.find("nothing was changed"), std::string::npos);
  EXPECT_FALSE(fs::exists(file("2025")));
  EXPECT_EQ(carry({"--quiet"}).out, "");
  EXPECT_EQ(get("2025", "preparerCity"), "Gaspé");
}

TEST_F(YearVerbsTest, YearsMayBeLeftToTheTool) {
  set("2024", "preparerCity", "Gaspé");
  EXPECT_EQ(optionsmgr({"--year", "2025", "carry-forward"}).exit, 0);
  EXPECT_EQ(get("2025", "preparerCity"), "Gaspé");
}

TEST_F(YearVerbsTest, CarryingSaysWhatStandsInTheWay) {
  expectFailure(carry(), 1, "there are no T1 2024 settings");
  expectFailure(optionsmgr({"carry-forward", "--from", "2024", "--to", "2024"}), 2, "same");
  set("2024", "preparerCity", "Gaspé");
  set("2025", "preparerCity", "Matane");
  std::string bytes = readFile(file("2025"));
  bytes[bytes.size() / 2] ^= 1;
  writeFile(file("2025"), bytes);
  expectFailure(carry({"--overwrite"}), 65, "damaged");
  EXPECT_EQ(readFile(file("2025")), bytes);
}

TEST_F(YearVerbsTest, CarryingWaitsForTheLock) {
  set("2024", "preparerCity", "Gaspé");
  qorvane::FileUserDefaults holder;
  const qorvane::FileUserDefaults::Lock lock(holder);
  expectFailure(carry({"--lock-wait", "0.05"}), 75, "locked");
  EXPECT_FALSE(fs::exists(file("2025")));
  EXPECT_EQ(carry({"--dry-run"}).exit, 0) << "looking needs no lock";
}

}  // namespace
}  // namespace testing_support
