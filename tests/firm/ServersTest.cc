// Servers as a firm has them: behind TLS and passwords, behind a pooler, and two of them.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "firm/Store.h"
#include "tests/TestHome.h"
#include "tests/firm/AgentProcess.h"
#include "tests/firm/FirmOfOne.h"
#include "tests/tool/ToolRun.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace optionsmgr::firm;
using testing_support::AgentProcess;
using testing_support::await;
using testing_support::FirmOfOne;
using testing_support::FirmServer;
using testing_support::readFile;
using testing_support::writeFile;

// ---- TLS and passwords ------------------------------------------------------------------------------------

class FirmTlsTest : public FirmOfOne {
 protected:
  void SetUp() override {
    FirmOfOne::SetUp();
    if (IsSkipped()) return;
    if (std::system("command -v openssl >/dev/null") != 0) GTEST_SKIP() << "openssl is not installed";
    makeAuthority("authority");
    certify("authority", "30");
    server_->connect("postgres", "postgres")
        ->run(
            "CREATE ROLE desk LOGIN PASSWORD 'first'; SELECT optionsmgr.grant_place(gen_random_uuid(), NULL, "
            "'desk', (SELECT p.id FROM optionsmgr.places p), false)",
            10s);
    server_->stop();
    server_->listen();
    server_->configure("ssl = on\nssl_cert_file = '" + (server_->folder() / "server.crt").string() +
                       "'\nssl_key_file = '" + (server_->folder() / "server.key").string() + "'");
    server_->allow("local all all trust\nhostssl all all 127.0.0.1/32 scram-sha-256");
    server_->start();
    choose("localhost", "first");
  }

  void openssl(const std::string& words) const {
    const std::string command = "cd " + home_.path().string() + " && openssl " + words + " 2>>openssl.log";
    ASSERT_EQ(std::system(command.c_str()), 0) << command << readFile(home_.path() / "openssl.log");
  }
  void makeAuthority(const std::string& name) const {
    openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout " + name + ".key -out " +
            name + ".crt -subj /CN=" + name + " -days 30");
  }
  // The server's certificate, for so many days from now; fewer than none, and it has expired.
  void certify(const std::string& authority, const std::string& days) const {
    openssl(
        "req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout server.key -out server.csr -subj "
        "/CN=localhost");
    writeFile(home_.path() / "names", "subjectAltName=DNS:localhost\n");
    openssl("x509 -req -in server.csr -CA " + authority + ".crt -CAkey " + authority +
            ".key -CAcreateserial -extfile names -out server.crt -days " + days);
    for (const char* file : {"server.crt", "server.key"}) {
      writeFile(server_->folder() / file, readFile(home_.path() / file));
      testing_support::giveToOrdinaryUser(server_->folder() / file);
    }
  }
  void renew(const std::string& authority, const std::string& days) const {
    certify(authority, days);
    server_->reload();
    // The postmaster reads them a moment later.
    std::this_thread::sleep_for(300ms);
    choose("localhost", "first");
  }
  // The desk's way to the server, as its configuration has it.
  void choose(const std::string& host, const std::string& password) const {
    server_->choose("desk", "postgres");
    setenv("PGHOST", host.c_str(), 1);
    setenv("PGSSLROOTCERT", (home_.path() / "authority.crt").c_str(), 1);
    writeFile(home_.path() / "passwords", "*:*:*:desk:" + password + "\n");
    fs::permissions(home_.path() / "passwords", fs::perms::owner_read | fs::perms::owner_write);
    setenv("PGPASSFILE", (home_.path() / "passwords").c_str(), 1);
  }
};

TEST_F(FirmTlsTest, ACertificateIsVerified) {
  EXPECT_EQ(synced(), "3");
  EXPECT_EQ(atDesk(), "one");
  EXPECT_EQ(Connection().ask("SELECT s.ssl FROM pg_stat_ssl s WHERE s.pid = pg_backend_pid()").text(0, 0),
            "t");
  // The certificate is another name's: here the address is not the host that it was made for.
  choose("127.0.0.1", "first");
  EXPECT_NE(synced().find("does not match host name"), std::string::npos) << synced();
  // Or it comes from somebody whom nobody here trusts.
  makeAuthority("stranger");
  renew("stranger", "30");
  EXPECT_NE(synced().find("certificate"), std::string::npos) << synced();
}

TEST_F(FirmTlsTest, AnExpiredCertificateKeepsTheFilesAndARenewedOneIsFollowed) {
  EXPECT_EQ(synced(), "3");
  renew("authority", "-1");
  write(*server_, "two");
  choose("localhost", "first");
  const std::string told = synced();
  EXPECT_NE(told.find("certificate verify failed"), std::string::npos) << told;
  EXPECT_EQ(atDesk(), "one");
  renew("authority", "30");
  EXPECT_EQ(synced(), "4");
  EXPECT_EQ(atDesk(), "two");
}

TEST_F(FirmTlsTest, AnotherPasswordKeepsTheFilesUntilTheDeskKnowsIt) {
  EXPECT_EQ(synced(), "3");
  server_->connect("postgres", "postgres")->run("ALTER ROLE desk PASSWORD 'second'", 10s);
  write(*server_, "two");
  choose("localhost", "first");
  const std::string told = synced();
  EXPECT_NE(told.find("password authentication failed"), std::string::npos) << told;
  EXPECT_EQ(told.find("first"), std::string::npos) << "the password is told";
  EXPECT_EQ(atDesk(), "one");
  choose("localhost", "second");
  EXPECT_EQ(synced(), "4");
  EXPECT_EQ(atDesk(), "two");
}

TEST_F(FirmTlsTest, AnAgentGoesOnWithItsConnectionAndThenWithTheNewPassword) {
  AgentProcess agent(home_.path() / "agent.log", "0.2");
  await([&] { return atDesk() == "one"; });
  server_->connect("postgres", "postgres")->run("ALTER ROLE desk PASSWORD 'second'", 10s);
  write(*server_, "two");
  await([&] { return atDesk() == "two"; });
  server_->connect("postgres", "postgres")
      ->ask("SELECT pg_terminate_backend(a.pid) FROM pg_stat_activity a WHERE a.usename = 'desk'");
  await([&] {
    return isState("offline") && status().find("password authentication failed") != std::string::npos;
  });
  choose("localhost", "second");
  await([&] { return isState("connected"); });
}

// ---- a pooler ---------------------------------------------------------------------------------------------

class FirmPoolerTest : public FirmOfOne {
 protected:
  void SetUp() override {
    FirmOfOne::SetUp();
    if (IsSkipped()) return;
    if (access(kPooler, X_OK) != 0) GTEST_SKIP() << "pgbouncer is not installed";
    const fs::path folder = server_->folder();
    writeFile(folder / "logins", "\"postgres\" \"\"\n");
    writeFile(folder / "pooler.ini",
              "[databases]\n* = host=" + folder.string() +
                  " port=5432\n[pgbouncer]\nlisten_port = 6432\nunix_socket_dir = " + folder.string() +
                  "\nauth_type = trust\nauth_file = " + (folder / "logins").string() +
                  "\npool_mode = transaction\nserver_tls_sslmode = disable\n");
    pooler_ = testing_support::startAsOrdinaryUser({kPooler, (folder / "pooler.ini").string()}, folder);
    choose();
    await([&] {
      try {
        Connection();
        return true;
      } catch (const DatabaseError&) {
        return false;
      }
    });
  }
  void TearDown() override {
    if (pooler_ > 0) testing_support::endProgram(pooler_, SIGKILL);
    FirmOfOne::TearDown();
  }
  void choose() const {
    server_->choose("postgres", "postgres");
    setenv("PGPORT", "6432", 1);
  }

  static constexpr const char* kPooler = "/usr/sbin/pgbouncer";
  pid_t pooler_ = -1;
};

TEST_F(FirmPoolerTest, WhatIsNotHeardIsAskedFor) {
  AgentProcess agent(home_.path() / "agent.log", "0.3");
  await([&] { return atDesk() == "one"; });
  await([&] { return isState("polling") || isState("connected"); });
  EXPECT_TRUE(isState("polling")) << status();
  write(*server_, "two");
  await([&] { return atDesk() == "two"; });
  EXPECT_EQ(agent.stop(), 0);
}

TEST_F(FirmPoolerTest, VerbsWriteThroughIt) {
  choose();
  Connection pooled;
  EXPECT_EQ(store(pooled, batchOf({city("two")}, std::nullopt)).changed, 1);
  EXPECT_EQ(store(pooled, batchOf({city("three")}, std::nullopt)).changed, 1);
  choose();
  synced();
  EXPECT_EQ(atDesk(), "three");
}

// ---- two servers ------------------------------------------------------------------------------------------

class FirmStandbySlowTest : public FirmOfOne {
 protected:
  void SetUp() override {
    FirmOfOne::SetUp();
    if (!IsSkipped()) addStandby();
  }
  void addStandby() {
    standby_ = std::make_unique<FirmServer>(*server_, "standby");
    server_->configure("synchronous_standby_names = 'standby'");
    server_->reload();
    const auto owner = server_->connect("postgres", "postgres");
    await([&] {
      return owner->ask("SELECT FROM pg_stat_replication r WHERE r.sync_state = 'sync'").size() == 1;
    });
  }
  // Both hosts, the one that was the primary at first in front.
  void chooseBoth() const {
    server_->choose("postgres", "postgres");
    setenv("PGHOST", (server_->folder().string() + "," + standby_->folder().string()).c_str(), 1);
  }

  std::unique_ptr<FirmServer> standby_;
};

TEST_F(FirmStandbySlowTest, APromotedStandbyIsFollowedAndTheOldPrimaryIsNot) {
  chooseBoth();
  AgentProcess agent(home_.path() / "agent.log", "0.5");
  await([&] { return atDesk() == "one"; });
  EXPECT_TRUE(write(*server_, "two").warnings.empty());
  await([&] { return atDesk() == "two"; });

  server_->crash();
  await([&] { return isState("offline") || isState("polling"); });
  EXPECT_EQ(atDesk(), "two");
  standby_->promote();
  write(*standby_, "three");
  await([&] { return atDesk() == "three"; });
  EXPECT_NE(agent.said().find("another history"), std::string::npos) << agent.said();

  // Nobody fenced it: it comes back with what it had, in front of the other, and is even written to.
  server_->configure("synchronous_standby_names = ''");
  server_->start();
  write(*server_, "stray");
  standby_->connect("postgres", "postgres")
      ->ask(
          "SELECT pg_terminate_backend(a.pid) FROM pg_stat_activity a WHERE a.pid <> pg_backend_pid() AND "
          "a.backend_type = 'client backend'");
  await([&] { return agent.said().find(say(Word::refusedHistory)) != std::string::npos; });
  EXPECT_EQ(atDesk(), "three");
  // It is passed over for the host behind it.
  write(*standby_, "four");
  await([&] { return atDesk() == "four"; });
  EXPECT_EQ(agent.stop(), 0);
}

TEST_F(FirmStandbySlowTest, AStandbyIsReadButNeverFromBehind) {
  server_->choose("postgres", "postgres");
  EXPECT_EQ(synced(), "2");
  const auto behind = standby_->connect("postgres", "postgres");
  behind->ask("SELECT pg_wal_replay_pause()");
  await([&] { return behind->ask("SELECT pg_get_wal_replay_pause_state()").text(0, 0) == "paused"; });
  write(*server_, "two");
  server_->choose("postgres", "postgres");
  EXPECT_EQ(synced(), "3");
  standby_->choose("postgres", "postgres");
  EXPECT_EQ(synced(), say(Word::refusedLagging));
  EXPECT_EQ(atDesk(), "two");
  {
    AgentProcess agent(home_.path() / "agent.log", "0.3");
    await([&] { return isState("behind"); });
    behind->ask("SELECT pg_wal_replay_resume()");
    await([&] { return isState("polling"); });
    EXPECT_EQ(agent.stop(), 0);
  }
  // Written where it is read is told as what it is; with a primary behind it, that is the one.
  EXPECT_THROW(write(*standby_, "three"), FirmFailure);
  setenv("PGHOST", (standby_->folder().string() + "," + server_->folder().string()).c_str(), 1);
  EXPECT_EQ(testing_support::optionsmgr({"set", "--place", "Firm", "preparerCity", "three"}).exit, 0);
}

TEST_F(FirmStandbySlowTest, WhatWasAcknowledgedIsThereAfterAnyPrimarysDeath) {
  // As many trials as the figure in docs/performance.md, where long ones are asked for.
  const int trials = getenv("OPTIONSMGR_LONG") ? 50 : 2;
  for (int trial = 0; trial < trials; ++trial) {
    std::string acknowledged;
    std::atomic<bool> underWay = false;
    const auto owner = server_->connect("postgres", "postgres");
    const auto supervisor = standby_->connect("postgres", "postgres");
    chooseBoth();  // A commit that is not answered is looked up where the firm goes on.
    std::thread writer([&] {
      for (int i = 0;; ++i) try {
          const std::string value = std::to_string(trial) + '.' + std::to_string(i);
          if (store(*owner, batchOf({city(value)}, std::nullopt)).warnings.empty()) acknowledged = value;
          underWay = true;
        } catch (const FirmFailure&) {
          underWay = true;
          return;
        }
    });
    await([&] { return underWay.load(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100 + 37 * (trial % 7)));
    server_->crash();
    supervisor->ask("SELECT pg_promote(true, 60)", {}, std::chrono::seconds(60));
    writer.join();
    const auto survivor = standby_->connect("postgres", "postgres");
    // The last acknowledged value, or one that was written after it and whose answer was lost.
    EXPECT_EQ(survivor
                  ->ask("SELECT FROM optionsmgr.changes c WHERE c.after = $1 OR $1 = '\"\"'",
                        {'"' + acknowledged + '"'})
                  .size(),
              acknowledged.empty() ? 0U : 1U)
        << acknowledged << " of trial " << trial;
    EXPECT_FALSE(acknowledged.empty()) << "nothing was acknowledged before the crash";
    if (trial + 1 == trials) break;
    std::swap(server_, standby_);
    server_->configure("synchronous_standby_names = ''");
    server_->reload();
    standby_.reset();
    addStandby();
  }
}

}  // namespace
