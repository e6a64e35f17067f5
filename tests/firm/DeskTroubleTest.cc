// What happens at the desk itself: its disk is full, its clock jumps, its server is not there yet.
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <chrono>
#include <string>

#include "tests/firm/AgentProcess.h"
#include "tests/firm/FirmOfOne.h"
#include "tests/tool/ToolRun.h"

namespace {

namespace fs = std::filesystem;
using testing_support::AgentProcess;
using testing_support::await;
using testing_support::FirmOfOne;
using testing_support::writeFile;

class FirmDeskTroubleTest : public FirmOfOne {};

TEST_F(FirmDeskTroubleTest, AFullDiskKeepsTheStateAsItWas) {
  const fs::path folder = home_.path() / ".local/state/Qorvane";
  fs::create_directories(folder);
  server_->choose("postgres", "postgres");
  // A disk of its own, for as long as the shell lives.
  const std::string script = R"sh(
    mount -t tmpfs -o size=128k tmpfs "$1" && cd "$1" || exit 99
    "$2" sync || exit 1
    first=$(readlink firm/current)
    while dd if=/dev/zero bs=4096 count=1 2>/dev/null >>fill; do :; done
    psql -qAtX -c "UPDATE optionsmgr.settings SET value = '\"two\"'" \
      -c "UPDATE optionsmgr.places SET token = gen_random_uuid()" || exit 2
    "$2" sync; echo "full $?"
    [ "$(readlink firm/current)" = "$first" ] || exit 3
    [ "$(ls firm/states)" = "${first#states/}" ] || exit 4
    rm fill
    "$2" sync || exit 5
    [ "$(readlink firm/current)" != "$first" ] || exit 6
  )sh";
  std::vector<std::string> command = {"unshare", "--mount"};
  if (geteuid() != 0) command.emplace_back("--map-root-user");
  command.insert(command.end(), {"sh", "-c", script, "sh", folder.string(), TOOL_PATH});
  const auto result = testing_support::run(command);
  if (result.exit == 99 || result.err.find("unshare failed") != std::string::npos)
    GTEST_SKIP() << "no disk can be mounted here";
  EXPECT_EQ(result.exit, 0) << result.out << result.err;
  EXPECT_NE(result.out.find("full 74"), std::string::npos) << result.out << result.err;
  EXPECT_NE(result.err.find("cannot keep the firm's settings"), std::string::npos) << result.err;
}

TEST_F(FirmDeskTroubleTest, AnAgentWhoseServerIsNotThereYetWaitsForItQuietly) {
  server_->choose("postgres", "postgres");
  server_->stop();
  AgentProcess agent(home_.path() / "agent.log", "0.2");
  await([&] { return isState("offline"); });
  server_->start();
  await([&] { return atDesk() == "one"; });
  await([&] { return isState("connected"); });
  EXPECT_EQ(agent.stop(), 0);
  // A line for each change of state, however often it tried.
  std::size_t lines = 0;
  for (const char c : agent.said()) lines += c == '\n';
  EXPECT_LE(lines, 4U) << agent.said();
}

TEST_F(FirmDeskTroubleTest, AClockThatJumpsHoldsNothingUp) {
  server_->choose("postgres", "postgres");
  const fs::path clock = home_.path() / "clock";
  writeFile(clock, "0");
  setenv("JUMPING_CLOCK", clock.c_str(), 1);
  AgentProcess agent(home_.path() / "agent.log", "0.2", JUMPING_CLOCK_LIBRARY);
  unsetenv("JUMPING_CLOCK");
  await([&] { return atDesk() == "one"; });
  const std::string values[] = {"before", "after", "back"};
  const std::string jumps[] = {"-315360000", "315360000", "0"};
  for (int i = 0; i < 3; ++i) {
    writeFile(clock, jumps[i]);
    write(*server_, values[i]);
    await([&] { return atDesk() == values[i]; });
  }
  // What tells the time tells the clock's; and nobody ran in circles meanwhile.
  writeFile(clock, "315360000");
  server_->stop();
  await([&] { return isState("offline"); });
  EXPECT_NE(status().find("\"since\": \"203"), std::string::npos) << status();
  rusage before{};
  getrusage(RUSAGE_CHILDREN, &before);
  EXPECT_EQ(agent.stop(), 0);
  rusage after{};
  getrusage(RUSAGE_CHILDREN, &after);
  EXPECT_LT(after.ru_utime.tv_sec - before.ru_utime.tv_sec, 2);
}

TEST_F(FirmDeskTroubleTest, ARestoreIsANewerHistoryEvenWhereTheClockWentBack) {
  server_->choose("postgres", "postgres");
  EXPECT_EQ(synced(), "2");
  const auto owner = server_->connect("postgres", "postgres");
  // As if the restore before this one had been made in the year 2100.
  owner->ask("UPDATE optionsmgr.firm SET restored = 4102444800000000");
  server_->choose("postgres", "postgres");
  EXPECT_EQ(synced(), "2");
  optionsmgr::firm::initialize(*owner, true);
  write(*server_, "two");
  server_->choose("postgres", "postgres");
  EXPECT_EQ(synced(), "3");
  EXPECT_EQ(atDesk(), "two");
}

}  // namespace
