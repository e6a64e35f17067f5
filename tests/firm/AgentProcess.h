// The agent as it stays at a desk: a process of its own, in the environment as it is, until the object goes.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/TestHome.h"

namespace testing_support {

class AgentProcess {
 public:
  /// `interval` in seconds, as the command line takes it; `preload` a library that is loaded before all
  /// others.
  AgentProcess(const std::filesystem::path& log, const std::string& interval, const std::string& preload = "")
      : log_(log), process_(fork()) {
    if (process_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
    if (!preload.empty()) setenv("LD_PRELOAD", preload.c_str(), 1);
    execl(TOOL_PATH, TOOL_PATH, "agent", "--interval", interval.c_str(), nullptr);
    _exit(127);
  }
  AgentProcess(const AgentProcess&) = delete;
  AgentProcess& operator=(const AgentProcess&) = delete;
  ~AgentProcess() { stop(); }

  /// Its exit status, or the signal that it ended by.
  int stop() {
    if (process_ < 0) return 0;
    kill(process_, SIGTERM);
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return status;
  }
  pid_t process() const { return process_; }
  /// What it said of itself so far, a line for each change of its state.
  std::string said() const { return readFile(log_); }

 private:
  std::filesystem::path log_;
  pid_t process_;
};

/// Waits for what must come; ctest's own limit ends a wait in vain.
template <class Condition>
void await(const Condition& condition) {
  while (!condition()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

}  // namespace testing_support
