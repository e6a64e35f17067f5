// Days on which the server is not what it was. Each test has a server of its own.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "firm/Agent.h"
#include "firm/Migrations.h"
#include "firm/Store.h"
#include "tests/TestHome.h"
#include "tests/firm/FirmServer.h"

namespace {

using namespace std::chrono_literals;
using namespace optionsmgr::firm;
using testing_support::FirmServer;

class FirmBadDaysTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!FirmServer::available()) GTEST_SKIP() << "postgresql-15 is not installed";
    setenv("XDG_CONFIG_DIRS", home_.path().c_str(), 1);
    server_ = std::make_unique<FirmServer>();
    const auto owner = server_->connect("postgres", "postgres");
    initialize(*owner, false);
    owner->ask("SELECT optionsmgr.add_place(gen_random_uuid(), NULL, NULL, 'Firm', '')");
    place_ = placeCalled(*owner, "Firm");
    write("one");
  }
  void TearDown() override { unsetenv("XDG_CONFIG_DIRS"); }

  void write(const std::string& value) {
    const auto owner = server_->connect("postgres", "postgres");
    Entry entry{.place = place_, .domain = {}, .key = "PCity"};
    entry.sets = true;
    entry.value = '"' + value + '"';
    EXPECT_EQ(store(*owner, batchOf({entry}, std::nullopt)).changed, 1);
  }
  // What an agent's one fetch answers: its number, or what it is told.
  static std::string synced(Agent& agent) try {
    return agent.syncOnce();
  } catch (const FirmFailure& failure) {
    return failure.exit() == Exit::Unavailable ? "unreachable" : failure.what();
  }
  std::string current() const {
    return testing_support::readFile(home_.path() /
                                     ".local/state/Qorvane/firm/current/QorvaneT1Settings.plist");
  }

  testing_support::TestHome home_;
  std::unique_ptr<FirmServer> server_;
  std::string place_;
};

TEST_F(FirmBadDaysTest, AServerThatIsDownKeepsTheFilesAndThatIsBackIsFollowed) {
  Agent agent({}, -1);
  EXPECT_EQ(synced(agent), "2");
  const std::string before = current();
  server_->stop();
  EXPECT_EQ(synced(agent), "unreachable");
  EXPECT_EQ(current(), before);
  server_->start();
  write("two");
  EXPECT_EQ(synced(agent), "3");
  EXPECT_NE(current(), before);
}

TEST_F(FirmBadDaysTest, AServerThatStandsStillIsGivenUp) {
  // The kernel still takes connections for it: only a clock of our own ends the wait.
  Agent agent({}, -1);
  EXPECT_EQ(synced(agent), "2");
  const auto asked = server_->connect("postgres", "postgres");
  server_->signal(SIGSTOP);
  EXPECT_EQ(synced(agent), "unreachable");
  try {
    asked->ask("SELECT 1", {}, 300ms);
    ADD_FAILURE() << "a stopped server answered";
  } catch (const DatabaseError& error) {
    EXPECT_EQ(error.state(), "");
  }
  server_->signal(SIGCONT);
  EXPECT_EQ(synced(agent), "2");
}

TEST_F(FirmBadDaysTest, TheFirstHostThatAnswersIsTaken) {
  setenv("PGHOST", ((home_.path() / "nowhere").string() + "," + server_->folder().string()).c_str(), 1);
  Agent agent({}, -1);
  EXPECT_EQ(synced(agent), "2");
}

TEST_F(FirmBadDaysTest, ANetworkWithoutTlsIsRefusedUnlessItIsLoopbackAndSaidToBeFine) {
  server_->stop();
  server_->listen();
  server_->start();
  server_->choose("postgres", "postgres");
  setenv("PGHOST", "127.0.0.1", 1);
  EXPECT_THROW(Connection(), DatabaseError);
  setenv("PGSSLMODE", "disable", 1);
  EXPECT_EQ(Connection().ask("SELECT 1").text(0, 0), "1");
  // The address counts, where one is said; and elsewhere the configuration does not.
  setenv("PGHOST", "desk.example", 1);
  setenv("PGHOSTADDR", "127.0.0.1", 1);
  EXPECT_EQ(Connection().ask("SELECT 1").text(0, 0), "1");
  setenv("PGHOSTADDR", "0.0.0.0", 1);  // For the kernel this machine, for us any address of a network.
  EXPECT_THROW(Connection(), DatabaseError);
}

TEST_F(FirmBadDaysTest, YesterdaysBackupIsTakenOverOnlyWhenItIsSaidToBeOne) {
  Agent agent({}, -1);
  const std::filesystem::path data = server_->folder() / "data";
  server_->stop();
  ASSERT_EQ(std::system(("cp -a " + data.string() + " " + data.string() + ".backup").c_str()), 0);
  server_->start();
  write("two");
  EXPECT_EQ(synced(agent), "3");
  const std::string before = current();
  server_->stop();
  ASSERT_EQ(std::system(
                ("rm -r " + data.string() + " && mv " + data.string() + ".backup " + data.string()).c_str()),
            0);
  server_->start();
  // The same history with a smaller number: it could be a standby that lags.
  EXPECT_EQ(synced(agent), say(Word::refusedLagging));
  EXPECT_EQ(current(), before);
  initialize(*server_->connect("postgres", "postgres"), true);
  EXPECT_EQ(synced(agent), "2");
  EXPECT_NE(current(), before);
}

TEST_F(FirmBadDaysTest, AnOlderHistoryIsRefused) {
  Agent agent({}, -1);
  EXPECT_EQ(synced(agent), "2");
  initialize(*server_->connect("postgres", "postgres"), true);
  EXPECT_EQ(synced(agent), "2");
  // As when the server from before comes back with all it had.
  server_->connect("postgres", "postgres")->ask("UPDATE optionsmgr.firm SET restored = 0, number = 99");
  EXPECT_EQ(synced(agent), say(Word::refusedHistory));
}

TEST_F(FirmBadDaysTest, AnAgentTooOldForTheStoreKeepsItsFiles) {
  Agent agent({}, -1);
  EXPECT_EQ(synced(agent), "2");
  const std::string before = current();
  server_->connect("postgres", "postgres")->ask("UPDATE optionsmgr.firm SET lowest_agent = 1000");
  write("two");
  EXPECT_EQ(synced(agent), say(Word::refusedTooOld));
  EXPECT_EQ(current(), before);
}

}  // namespace
