// The program itself: an administrator's verbs and a desk's agent, on a real server.
#include <filesystem>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/firm/FirmProgram.h"

namespace {

namespace fs = std::filesystem;
using testing_support::optionsmgr;
using testing_support::sharedServer;
using testing_support::ToolResult;

class FirmToolTest : public testing_support::FirmProgram {};

TEST_F(FirmToolTest, AnAdministratorSetsAndReadsBack) {
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval", "autoSaveAfter", "7", "-m", "spring"});
  EXPECT_EQ(done("boss", {"get", "--place", "Laval", "preparerCity"}).out, "Laval\n");
  EXPECT_EQ(done("boss", {"get", "--place", "Firm/Laval", "autoSaveAfter"}).out, "7\n");
  EXPECT_EQ(as("boss", {"get", "--place", "Laval", "--year", "2024", "preparerCity"}).exit, 1);
  const ToolResult list = done("boss", {"--json", "list", "--place", "Laval"});
  EXPECT_NE(list.out.find("\"preparerCity\""), std::string::npos) << list.out;
  const ToolResult history = done("one", {"history", "--place", "Laval", "preparerCity"});
  EXPECT_NE(history.out.find(role("boss")), std::string::npos) << history.out;
  EXPECT_NE(history.out.find("spring"), std::string::npos) << history.out;
  done("boss", {"reset", "--place", "Laval", "preparerCity"});
  EXPECT_EQ(as("boss", {"get", "--place", "Laval", "preparerCity"}).exit, 1);
}

TEST_F(FirmToolTest, StoredFormsAreTheOptionsOwn) {
  // A flag that is kept as YES, one that is kept as 1, and a choice by its label.
  done("boss",
       {"set", "--place", "Laval", "zsupress", "yes", "bDisclaimer", "on", "preparerProvince", "Quebec"});
  const auto value = [&](const std::string& key) {
    return owner_->ask("SELECT s.value FROM optionsmgr.settings s WHERE s.key = $1", {key}).text(0, 0);
  };
  EXPECT_EQ(value("ZSuppress"), "\"YES\"");
  EXPECT_NE(value("PProvCode"), "");
  const ToolResult bad = as("boss", {"set", "--place", "Laval", "zsupress", "perhaps"});
  EXPECT_EQ(bad.exit, 65) << bad.err;
  EXPECT_EQ(as("boss", {"set", "--place", "Laval", "autoSaveAfter", "100000"}).exit, 65);
  done("boss", {"set", "--place", "Laval", "--force", "autoSaveAfter", "100000"});
  EXPECT_EQ(as("boss", {"set", "--place", "Laval", "noSuchOption", "1"}).exit, 1);
}

TEST_F(FirmToolTest, WhatOneMayNotIsTold) {
  EXPECT_EQ(as("one", {"set", "--place", "Laval", "preparerCity", "Laval"}).exit, 77);
  EXPECT_EQ(as("boss", {"set", "--place", "Alma", "preparerCity", "Laval"}).exit, 1);  // Not in sight.
  const ToolResult secret = as("boss", {"set", "--place", "Laval", "preparerPassword", "hush-hush"});
  EXPECT_EQ(secret.exit, 77);
  EXPECT_EQ(secret.err.find("hush-hush"), std::string::npos);
  EXPECT_EQ(as("boss", {"set", "--place", "Laval", "pdfFileFolder", "/x"}).exit, 77);
  EXPECT_EQ(as("boss", {"set", "--place", "Desk", "preparerCity"}).exit, 2);
  EXPECT_EQ(as("postgres", {"get", "--place", "Desk", "preparerCity"}).exit,
            2);  // Two places have that name.
  EXPECT_EQ(as("boss", {"no-such-verb"}).exit, 2);
}

TEST_F(FirmToolTest, EveryMessageIsSpokenInFrenchToo) {
  const ToolResult result =
      as("boss", {"--lang", "fr", "set", "--place", "Nulle part", "preparerCity", "Laval"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_NE(result.err.find("il n’y a pas de lieu «\u00a0Nulle part\u00a0»"), std::string::npos)
      << result.err;
}

TEST_F(FirmToolTest, AnUndoneChangeReadsAsBeforeAndNotOverALaterOne) {
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  done("boss", {"set", "--place", "Laval", "preparerCity", "Alma", "preparerFirmName", "F"});
  done("boss", {"undo", "--place", "Laval"});
  EXPECT_EQ(done("boss", {"get", "--place", "Laval", "preparerCity"}).out, "Laval\n");
  EXPECT_EQ(as("boss", {"get", "--place", "Laval", "preparerFirmName"}).exit, 1);
  const std::string number =
      owner_->ask("SELECT min(c.number) FROM optionsmgr.changes c WHERE c.subject = 'setting'").text(0, 0);
  EXPECT_EQ(as("boss", {"undo", "--place", "Laval", "--number", number}).exit, 75);
  done("boss", {"undo", "--place", "Laval", "--number", number, "--force"});
  EXPECT_EQ(as("boss", {"get", "--place", "Laval", "preparerCity"}).exit, 1);
}

TEST_F(FirmToolTest, PlacesAndGrantsByName) {
  done("postgres", {"place", "add", "Team", "--under", "Alma", "--kind", "team"});
  done("postgres", {"place", "move", "Firm/Alma/Desk", "--under", "Team"});
  EXPECT_NE(done("two", {"place", "list"}).out.find("Firm/Alma/Team/Desk"), std::string::npos);
  EXPECT_EQ(as("postgres", {"place", "move", "Alma", "--under", "Team"}).exit, 65);
  EXPECT_EQ(as("postgres", {"place", "add", "Team", "--under", "Alma"}).exit, 65);
  done("postgres", {"revoke", role("two"), "--place", "Team/Desk"});
  EXPECT_EQ(as("two", {"sync"}).exit, 77);
  done("postgres", {"place", "remove", "Team/Desk"});
  done("postgres", {"grant", role("two"), "--place", "Team", "--admin"});
  done("two", {"set", "--place", "Team", "preparerCity", "Alma"});
}

TEST_F(FirmToolTest, ADeskFetchesItsChainOnce) {
  done("postgres", {"set", "--place", "Firm", "preparerCity", "Everywhere"});
  done("boss", {"set", "--place", "Laval", "--year", "2024", "preparerCity", "Laval"});
  done("one", {"sync"});
  EXPECT_EQ(atDesk("QorvaneT1Settings", "PCity"), "Everywhere");
  EXPECT_EQ(atDesk("QorvaneT1Settings2024", "PCity"), "Laval");
  const fs::path before = fs::read_symlink(states() / "current");
  done("one", {"sync"});
  EXPECT_EQ(fs::read_symlink(states() / "current"), before) << "it was written again";
}

TEST_F(FirmToolTest, ALoginWithoutAPlaceIsRefusedAndTheFilesStay) {
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  done("one", {"sync"});
  done("postgres", {"revoke", role("one"), "--place", "Laval/Desk"});
  const ToolResult refused = as("one", {"sync"});
  EXPECT_EQ(refused.exit, 77);
  EXPECT_NE(refused.err.find("refused"), std::string::npos) << refused.err;
  EXPECT_EQ(atDesk("QorvaneT1Settings", "PCity"), "Laval");
}

TEST_F(FirmToolTest, ServersThatAreNotThereAreTold) {
  sharedServer().choose(role("one"), database());
  setenv("PGHOST", (home_.path() / "nowhere").c_str(), 1);
  const ToolResult result = optionsmgr({"sync"});
  EXPECT_EQ(result.exit, 69);
  EXPECT_NE(result.err.find("cannot be reached"), std::string::npos) << result.err;
}

TEST_F(FirmToolTest, AnAgentHearsOfAChangeAndEndsCleanly) {
  startAgent("one", "3600");
  await([&] { return fs::exists(states() / "current"); });
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  await([&] { return atDesk("QorvaneT1Settings", "PCity") == "Laval"; });
  // Moved elsewhere: its old chain's values go with it.
  done("postgres", {"set", "--place", "Alma", "preparerFirmName", "Alma's"});
  done("postgres", {"place", "add", "Second", "--under", "Alma"});
  done("postgres", {"revoke", role("one"), "--place", "Laval/Desk"});
  done("postgres", {"grant", role("one"), "--place", "Second"});
  await([&] { return atDesk("QorvaneT1Settings", "PreparerFirmName") == "Alma's"; });
  EXPECT_EQ(atDesk("QorvaneT1Settings", "PCity"), std::nullopt);
  EXPECT_EQ(owner_->ask("SELECT s.name FROM optionsmgr.seen s").text(0, 0), role("one"));
  const ToolResult running = done("one", {"--json", "status"});
  EXPECT_NE(running.out.find("\"state\": \"connected\""), std::string::npos) << running.out;
  EXPECT_NE(done("postgres", {"status", "--all"}).out.find(role("one")), std::string::npos);
  EXPECT_EQ(stopAgent(), 0);
  EXPECT_NE(done("one", {"status"}).out.find("none runs here"), std::string::npos);
}

TEST_F(FirmToolTest, AnAgentGoesOnWhenItsConnectionsAreCut) {
  startAgent("one", "0.2");
  await([&] { return fs::exists(states() / "current"); });
  owner_->ask("SELECT pg_terminate_backend(a.pid) FROM pg_stat_activity a WHERE a.usename = $1",
              {role("one")});
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  await([&] { return atDesk("QorvaneT1Settings", "PCity") == "Laval"; });
  EXPECT_NE(agentLog().find("offline"), std::string::npos) << agentLog();
  EXPECT_EQ(stopAgent(), 0);
}

TEST_F(FirmToolTest, TheMachinesConfigurationNamesFolderAndPlace) {
  const auto plist = qorvane::writePropertyList(
      qorvane::Dictionary{{"Folder", qorvane::Text((home_.path() / "kept").string())}},
      qorvane::PropertyListFormat::Xml);
  testing_support::writeFile(home_.path() / "xdg/Qorvane/Firm.plist", plist);
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  done("one", {"sync"});
  EXPECT_TRUE(fs::exists(home_.path() / "kept/current/QorvaneT1Settings.plist"));
  EXPECT_FALSE(fs::exists(states()));
}

}  // namespace
