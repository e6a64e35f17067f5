// What a change that was not answered is told as: whoever is told that it is stored must find it.
#include <signal.h>

#include <chrono>
#include <future>
#include <string>

#include "tests/firm/AgentProcess.h"
#include "tests/firm/FirmOfOne.h"
#include "tests/tool/ToolRun.h"

namespace {

using namespace std::chrono_literals;
using testing_support::await;
using testing_support::FirmOfOne;
using testing_support::optionsmgr;
using testing_support::ToolResult;

class FirmAcknowledgedTest : public FirmOfOne {
 protected:
  void SetUp() override {
    FirmOfOne::SetUp();
    if (IsSkipped()) return;
    onlooker_ = server_->connect("postgres", "postgres");
    // A standby that never comes: every commit waits for it.
    server_->configure("synchronous_standby_names = 'nobody'");
    server_->reload();
    await([&] { return onlooker_->ask("SHOW synchronous_standby_names").text(0, 0) == "nobody"; });
  }
  // Starts the change, and answers the process of the server that waits in its commit.
  pid_t startChange() {
    server_->choose("postgres", "postgres");
    changed_ = std::async(std::launch::async, [] {
      return optionsmgr({"set", "--place", "Firm", "preparerCity", "two"});
    });
    std::string process;
    await([&] {
      const auto rows = onlooker_->ask("SELECT a.pid FROM pg_stat_activity a WHERE a.wait_event = 'SyncRep'");
      if (rows.size() > 0) process = rows.text(0, 0);
      return !process.empty();
    });
    return std::stoi(process);
  }
  std::string standing() {
    return server_->connect("postgres", "postgres")
        ->ask("SELECT s.value FROM optionsmgr.settings s WHERE s.key = 'PCity'")
        .text(0, 0);
  }

  std::unique_ptr<optionsmgr::firm::Connection> onlooker_;
  std::future<ToolResult> changed_;
};

TEST_F(FirmAcknowledgedTest, AWaitThatWasCancelledIsToldAsStoredHere) {
  const pid_t process = startChange();
  onlooker_->ask("SELECT pg_cancel_backend($1::integer)", {std::to_string(process)});
  const ToolResult result = changed_.get();
  EXPECT_EQ(result.exit, 69);
  EXPECT_NE(result.err.find("perhaps not on the standby"), std::string::npos) << result.err;
  EXPECT_EQ(standing(), "\"two\"");
}

TEST_F(FirmAcknowledgedTest, ACommitWhoseAnswerIsLostIsLookedUp) {
  const pid_t process = startChange();
  // It may not notice that it need not wait any more, and so never answers.
  kill(process, SIGSTOP);
  server_->configure("synchronous_standby_names = ''");
  server_->reload();
  await([&] { return onlooker_->ask("SHOW synchronous_standby_names").text(0, 0).empty(); });
  kill(process, SIGKILL);
  const ToolResult result = changed_.get();
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.out.find("changed as number 3"), std::string::npos) << result.out;
  EXPECT_EQ(standing(), "\"two\"");
  // Once: it was not tried again.
  EXPECT_EQ(server_->connect("postgres", "postgres")
                ->ask("SELECT FROM optionsmgr.changes c WHERE c.after = '\"two\"'")
                .size(),
            1U);
}

TEST_F(FirmAcknowledgedTest, OneThatIsFoundWhereAStandbyIsWaitedForIsNotPassedOffAsSafe) {
  const pid_t process = startChange();
  onlooker_->ask("SELECT pg_terminate_backend($1::integer)", {std::to_string(process)});
  const ToolResult result = changed_.get();
  EXPECT_EQ(result.exit, 69);
  EXPECT_NE(result.err.find("perhaps not on the standby"), std::string::npos) << result.err;
  EXPECT_EQ(standing(), "\"two\"");
}

class FirmAcknowledgedSlowTest : public FirmAcknowledgedTest {};

TEST_F(FirmAcknowledgedSlowTest, NobodyIsMadeToWaitForever) {
  const pid_t process = startChange();
  const ToolResult result = changed_.get();  // After half a minute by its own clock.
  EXPECT_EQ(result.exit, 69);
  EXPECT_NE(result.err.find("nothing tells yet"), std::string::npos) << result.err;
  onlooker_->ask("SELECT pg_cancel_backend($1::integer)", {std::to_string(process)});
  await([&] { return standing() == "\"two\""; });
}

}  // namespace
