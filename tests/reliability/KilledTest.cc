// The process is killed before and after each system call it really makes while it saves or loads.
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "tests/reliability/Scenarios.h"

namespace testing_support {
namespace {

class KilledTest : public ScenarioTest {
 protected:
  enum class End { Killed, RanThrough, NotPermitted };

  // Plays the act in a process of its own and kills it at the stop of that number: the kernel stops it before
  // and after each system call, whoever makes it.
  static End playAndKillAt(int stop) {
    const pid_t child = fork();
    if (child == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(77);
      raise(SIGSTOP);
      qorvane::FaultInjectingSystemCalls calls;
      calls.setFault(GetParam().fault);
      _exit(act(calls) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) return End::NotPermitted;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    for (int stops = 0;;) {
      ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
      waitpid(child, &status, 0);
      if (WIFEXITED(status)) {
        EXPECT_EQ(WEXITSTATUS(status), 0);
        return End::RanThrough;
      }
      if (WSTOPSIG(status) == (SIGTRAP | 0x80) && ++stops == stop) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status));
        return End::Killed;
      }
    }
  }
};

TEST_P(KilledTest, AtAnySystemCall) {
  for (int stop = 1;; ++stop) {
    prepare();
    const End end = playAndKillAt(stop);
    if (end == End::NotPermitted) GTEST_SKIP() << "this machine permits no tracing";
    // The last stop is the call that ends the process: there it has done all that it had to do.
    judge(end == End::RanThrough, "killed at stop " + std::to_string(stop));
    if (HasFailure()) return;
    if (end == End::RanThrough) {
      RecordProperty("stops", stop - 1);
      EXPECT_GT(stop, 30) << "15 calls are fewer than a save or a load makes";
      return;
    }
  }
}

// Where tracing is not permitted, this still holds: before each call that the store makes of the system.
TEST_P(KilledTest, BeforeAnyCallOfTheStore) {
  for (int before = 1;; ++before) {
    prepare();
    const pid_t child = fork();
    if (child == 0) {
      qorvane::FaultInjectingSystemCalls calls;
      calls.setFault([before, fault = GetParam().fault](const std::string& name, int call) {
        if (call == before) kill(getpid(), SIGKILL);
        return fault ? fault(name, call) : 0;
      });
      _exit(act(calls) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    judge(WIFEXITED(status), "killed before call " + std::to_string(before));
    if (HasFailure()) return;
    if (WIFEXITED(status)) {
      EXPECT_EQ(WEXITSTATUS(status), 0);
      RecordProperty("calls", before - 1);
      EXPECT_GT(before, 10);
      return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(During, KilledTest, testing::ValuesIn(scenarios()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace testing_support
