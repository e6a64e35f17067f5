// Settings of places to and from files, between places and years, and what a change would do to the desks.
#include <filesystem>
#include <string>

#include "tests/firm/FirmProgram.h"

namespace {

namespace fs = std::filesystem;
using testing_support::readFile;
using testing_support::ToolResult;
using testing_support::writeFile;

class FirmExchangeTest : public testing_support::FirmProgram {
 protected:
  std::string file(const std::string& name) const { return (home_.path() / name).string(); }
  std::string numberOfFirm() { return owner_->ask("SELECT f.number FROM optionsmgr.firm f").text(0, 0); }
  std::string value(const std::string& path, int year, const std::string& key) {
    const auto rows = owner_->ask(
        "SELECT s.value, s.locked FROM optionsmgr.settings s WHERE s.place = $1::bigint AND s.year = "
        "$2::integer AND "
        "s.key = $3",
        {place(path), std::to_string(year), key});
    if (rows.size() == 0) return "-";
    return rows.at(0, 0).value_or("") + (rows.text(0, 1) == "t" ? "!" : "");
  }
};

TEST_F(FirmExchangeTest, WhatIsExportedIsTakenBackWithItsLocks) {
  done("boss", {"set", "--place", "Laval", "preparerCity",
                "Qu\xc3\xa9"
                "bec",
                "autoSaveAfter", "7"});
  done("boss", {"set", "--place", "Laval", "--year", "2024", "zsupress", "yes"});
  done("boss", {"lock", "--place", "Laval", "preparerCity"});
  done("boss", {"export", "--place", "Laval", "--all", file("laval.json")});
  const std::string first = readFile(file("laval.json"));
  done("boss", {"import", "--place", "Laval/Desk", file("laval.json")});
  EXPECT_EQ(value("Firm/Laval/Desk", 0, "PCity"),
            "\"Qu\xc3\xa9"
            "bec\"!");
  EXPECT_EQ(value("Firm/Laval/Desk", 2024, "ZSuppress"), "\"YES\"");
  // The same settings are the same bytes, wherever they stand.
  done("boss", {"export", "--place", "Laval/Desk", "--all", file("desk.json")});
  EXPECT_EQ(readFile(file("desk.json")), first);
  EXPECT_EQ(done("boss", {"diff", "--place", "Laval", "--all", "--with", "Laval/Desk"}).out, "");
  EXPECT_EQ(done("boss", {"diff", "--place", "Laval", "--all", file("desk.json")}).out, "");
  // It is there: not without being told is it replaced.
  EXPECT_EQ(as("boss", {"export", "--place", "Laval", file("laval.json")}).exit, 73);
}

TEST_F(FirmExchangeTest, ADifferenceIsToldWithBothValues) {
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  done("boss", {"set", "--place", "Laval/Desk", "preparerCity", "Chomedey"});
  const ToolResult told = as("boss", {"--json", "diff", "--place", "Laval", "--with", "Laval/Desk"});
  EXPECT_EQ(told.exit, 1);
  EXPECT_NE(told.out.find("\"first\": \"Laval\""), std::string::npos) << told.out;
  EXPECT_NE(told.out.find("\"second\": \"Chomedey\""), std::string::npos) << told.out;
}

TEST_F(FirmExchangeTest, OptionsByNameAreHeldToTheirRulesAndAllAreTakenOrNone) {
  writeFile(file("options.json"), R"({"preparerCity": "Laval", "autoSaveAfter": 7, "zsupress": true})");
  done("boss", {"import", "--place", "Laval", "--year", "2024", file("options.json")});
  EXPECT_EQ(value("Firm/Laval", 2024, "ZSuppress"), "\"YES\"");
  EXPECT_EQ(value("Firm/Laval", 2024, "PCity"), "\"Laval\"");
  writeFile(file("bad.json"), R"({"preparerCity": "Alma", "zsupress": "perhaps"})");
  EXPECT_EQ(as("boss", {"import", "--place", "Laval", "--year", "2024", file("bad.json")}).exit, 65);
  EXPECT_EQ(value("Firm/Laval", 2024, "PCity"), "\"Laval\"");
  writeFile(file("secret.json"), R"({"preparerPassword": "hush-hush"})");
  const ToolResult secret = as("boss", {"import", "--place", "Laval", file("secret.json")});
  EXPECT_EQ(secret.exit, 77);
  EXPECT_EQ(secret.err.find("hush-hush"), std::string::npos);
}

TEST_F(FirmExchangeTest, SecretsAndOneMachinesSettingsOfADesksFileStayOut) {
  writeFile(
      file("desk.json"),
      R"({"QorvaneT1Settings2024": {"PCity": "Laval", "PreparerPassword": "hush-hush"}, "Locked": ["PCity"]})");
  const ToolResult result = done("boss", {"import", "--place", "Laval", file("desk.json")});
  EXPECT_EQ(value("Firm/Laval", 2024, "PCity"), "\"Laval\"!");
  EXPECT_EQ(value("Firm/Laval", 2024, "PreparerPassword"), "-");
  EXPECT_NE(result.err.find("preparerPassword"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("hush-hush"), std::string::npos) << result.err;
  // Where it is to go is said of one year only.
  done("boss", {"import", "--place", "Laval", "--year", "2025", file("desk.json")});
  EXPECT_EQ(value("Firm/Laval", 2025, "PCity"), "\"Laval\"!");
}

TEST_F(FirmExchangeTest, AFolderOfEveryPlaceIsAStateThatCanBePutBack) {
  const std::string folder = file("places");
  done("postgres", {"place", "add", "..", "--under", "Laval"});
  done("postgres", {"set", "--place", "Firm", "preparerCity", "Everywhere"});
  done("postgres", {"set", "--place", "Laval", "preparerCity", "Laval", "autoSaveAfter", "7"});
  done("postgres", {"export", "--all-places", folder});
  EXPECT_TRUE(fs::exists(folder + "/Firm.json"));
  EXPECT_TRUE(fs::exists(folder + "/Firm/Alma/Desk.json"));
  EXPECT_TRUE(fs::exists(folder + "/Firm/Laval/%2E..json")) << "a name led out of the folder";
  const std::string exported = readFile(folder + "/Firm/Laval.json");
  // Others change, add and lock.
  done("postgres", {"set", "--place", "Laval", "preparerCity", "Alma", "preparerFirmName", "F"});
  done("postgres", {"lock", "--place", "Alma", "preparerCity"});
  const std::string before = numberOfFirm();
  const ToolResult preview = done("postgres", {"--json", "import", folder, "--dry-run"});
  EXPECT_EQ(numberOfFirm(), before);
  EXPECT_NE(preview.out.find("Firm/Laval/Desk"), std::string::npos) << preview.out;
  done("postgres", {"import", folder});
  EXPECT_EQ(numberOfFirm(), std::to_string(std::stoi(before) + 1)) << "it was no one step";
  EXPECT_EQ(value("Firm/Laval", 0, "PCity"), "\"Laval\"");
  EXPECT_EQ(value("Firm/Laval", 0, "PreparerFirmName"), "-");
  EXPECT_EQ(value("Firm/Alma", 0, "PCity"), "-");
  done("postgres", {"export", "--all-places", folder});
  EXPECT_EQ(readFile(folder + "/Firm/Laval.json"), exported);
  // A place that is no more cannot be put back, and its file is told.
  done("postgres", {"place", "remove", "Alma/Desk"});
  EXPECT_NE(done("postgres", {"export", "--all-places", folder}).err.find("Alma/Desk.json"),
            std::string::npos);
  EXPECT_EQ(as("postgres", {"import", folder}).exit, 1);
}

TEST_F(FirmExchangeTest, APreviewNamesTheDesksThatWouldReadOtherwiseAndChangesNothing) {
  done("boss", {"set", "--place", "Laval/Desk", "preparerCity", "Chomedey"});
  const std::string before = numberOfFirm();
  const auto preview = [&](const std::vector<std::string>& words) {
    std::vector<std::string> all = words;
    all.emplace_back("--dry-run");
    return done("postgres", all).out;
  };
  // Laval's desk has its own, so only Alma's would change; a lock changes both.
  const std::string set = preview({"set", "--place", "Firm", "preparerCity", "Everywhere"});
  EXPECT_NE(set.find("Firm/Alma/Desk"), std::string::npos) << set;
  EXPECT_EQ(set.find("Firm/Laval/Desk"), std::string::npos) << set;
  done("postgres", {"set", "--place", "Firm", "preparerCity", "Everywhere"});
  const std::string lock = preview({"lock", "--place", "Firm", "preparerCity"});
  EXPECT_NE(lock.find("Firm/Laval/Desk"), std::string::npos) << lock;
  EXPECT_NE(lock.find("Everywhere (locked)"), std::string::npos) << lock;
  const std::string moved = preview({"place", "move", "Laval", "--under", "Alma"});
  EXPECT_EQ(moved, "") << "nothing is set at Alma, and a desk is the same one under another path";
  // It is refused as the change would be.
  EXPECT_EQ(as("boss", {"set", "--place", "Firm", "preparerCity", "Mine", "--dry-run"}).exit, 77);
  EXPECT_EQ(numberOfFirm(), std::to_string(std::stoi(before) + 1));
}

TEST_F(FirmExchangeTest, AValueIsRaisedInOneStep) {
  done("postgres", {"set", "--place", "Laval/Desk", "preparerCity", "Laval"});
  done("postgres", {"lock", "--place", "Laval/Desk", "preparerCity"});
  const std::string before = numberOfFirm();
  EXPECT_EQ(as("boss", {"raise", "preparerCity", "--from", "Laval/Desk", "--to", "Firm"}).exit, 77);
  EXPECT_EQ(as("postgres", {"raise", "preparerCity", "--from", "Firm", "--to", "Laval/Desk"}).exit, 2);
  EXPECT_EQ(as("postgres", {"raise", "preparerFirmName", "--from", "Laval/Desk", "--to", "Firm"}).exit, 1);
  done("postgres", {"raise", "preparerCity", "--from", "Laval/Desk", "--to", "Firm"});
  EXPECT_EQ(value("Firm", 0, "PCity"), "\"Laval\"!");
  EXPECT_EQ(value("Firm/Laval/Desk", 0, "PCity"), "-");
  EXPECT_EQ(numberOfFirm(), std::to_string(std::stoi(before) + 1));
}

TEST_F(FirmExchangeTest, AYearsSettingsAreCarriedForwardAndWhatIsThereStays) {
  done("boss", {"set", "--place", "Laval", "--year", "2024", "preparerCity", "Laval", "autoSaveAfter", "7"});
  done("boss", {"set", "--place", "Laval/Desk", "--year", "2024", "zsupress", "yes"});
  done("boss", {"lock", "--place", "Laval", "--year", "2024", "autoSaveAfter"});
  done("boss", {"set", "--place", "Laval", "--year", "2025", "preparerCity", "Chomedey"});
  done("boss", {"carry-forward", "--place", "Laval", "--from", "2024", "--to", "2025"});
  EXPECT_EQ(value("Firm/Laval", 2025, "PCity"), "\"Chomedey\"");
  EXPECT_NE(value("Firm/Laval", 2025, "AutoSaveFileAfterEvery").find('!'), std::string::npos);
  EXPECT_EQ(value("Firm/Laval/Desk", 2025, "ZSuppress"), "-");
  done("boss",
       {"carry-forward", "--place", "Laval", "--from", "2024", "--to", "2025", "--below", "--overwrite"});
  EXPECT_EQ(value("Firm/Laval", 2025, "PCity"), "\"Laval\"");
  EXPECT_EQ(value("Firm/Laval/Desk", 2025, "ZSuppress"), "\"YES\"");
  EXPECT_EQ(as("boss", {"carry-forward", "--place", "Laval", "--from", "1999", "--to", "2025"}).exit, 1);
}

TEST_F(FirmExchangeTest, HistoryIsPrunedToADay) {
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  done("boss", {"set", "--place", "Laval", "preparerCity", "Chomedey"});
  EXPECT_EQ(as("boss", {"history", "prune", "--before", "yesteryear"}).exit, 2);
  EXPECT_EQ(as("boss", {"history", "prune", "--before", "2024-02-31"}).exit, 2);
  done("boss", {"history", "prune", "--before", "2000-01-01"});
  EXPECT_NE(done("boss", {"history", "--place", "Laval"}).out.find("\"Laval\""), std::string::npos);
  done("boss", {"history", "prune", "--before", "2999-01-01"});
  const std::string left = done("boss", {"history", "--place", "Laval", "preparerCity"}).out;
  EXPECT_NE(left.find("Chomedey"), std::string::npos) << left;
  EXPECT_EQ(as("boss", {"history"}).exit, 2);
}

}  // namespace
