// The program in a process of its own, at a firm of FirmWorld's: as an administrator's tool and as a desk's
// agent.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/firm/FirmWorld.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {

class FirmProgram : public FirmWorld {
 protected:
  void SetUp() override {
    FirmWorld::SetUp();
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("XDG_CONFIG_DIRS", (home_.path() / "xdg").c_str(), 1);
  }
  void TearDown() override {
    if (agent_ > 0) stopAgent();
    unsetenv("XDG_CONFIG_DIRS");
  }

  ToolResult as(const std::string& login, const std::vector<std::string>& words) {
    sharedServer().choose(role(login), database());
    return optionsmgr(words);
  }
  ToolResult done(const std::string& login, const std::vector<std::string>& words) {
    ToolResult result = as(login, words);
    EXPECT_EQ(result.exit, 0) << result.err;
    return result;
  }

  std::filesystem::path states() const { return home_.path() / ".local/state/Qorvane/firm"; }
  // What the desk's file says for the key; none without file or entry.
  std::optional<std::string> atDesk(const std::string& domain, const std::string& key) const try {
    const qorvane::Value top =
        qorvane::readPropertyList(readFile(states() / "current" / (domain + ".plist")));
    const qorvane::Value* value = top.asDictionary()->find(domain)->asDictionary()->find(key);
    return value ? std::optional(value->textValue().string()) : std::nullopt;
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }

  void startAgent(const std::string& login, const std::string& interval) {
    sharedServer().choose(role(login), database());
    log_ = home_.path() / "agent.log";
    agent_ = fork();
    if (agent_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int log = open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    dup2(log, 2);
    execl(TOOL_PATH, TOOL_PATH, "agent", "--interval", interval.c_str(), nullptr);
    _exit(127);
  }
  int stopAgent() {
    kill(agent_, SIGTERM);
    int status = 0;
    waitpid(agent_, &status, 0);
    agent_ = -1;
    return status;
  }
  std::string agentLog() const { return readFile(log_); }
  // Waits for what must come; ctest's own limit ends a wait in vain.
  template <class Condition>
  static void await(const Condition& condition) {
    while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }

  testing_support::TestHome home_;
  pid_t agent_ = -1;
  std::filesystem::path log_;
};

}  // namespace testing_support
