#include "tests/tool/ToolRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>

namespace testing_support {

namespace {

// The tests say what they expect in English, whatever locale they run in; what is formatted by the locale
// stays so. A test of the language sets its own.
const bool kMessagesAreNobodys = [] {
  if (const char* const all = std::getenv("LC_ALL"); all && *all) {
    const std::string locale = all;
    for (const char* category : {"LC_CTYPE", "LC_NUMERIC", "LC_TIME", "LC_COLLATE", "LC_MONETARY"})
      setenv(category, locale.c_str(), 1);
    unsetenv("LC_ALL");
  }
  setenv("LC_MESSAGES", "C", 1);
  unsetenv("LANG");
  return true;
}();

// A file with the input, gone with its last descriptor.
int fileWith(const std::string& input) {
  const int file = memfd_create("input", MFD_CLOEXEC);
  if (file < 0 || write(file, input.data(), input.size()) != static_cast<ssize_t>(input.size()))
    throw std::runtime_error("no input");
  lseek(file, 0, SEEK_SET);
  return file;
}

SystemCall kindOf(const __ptrace_syscall_info& call) {
  switch (call.entry.nr) {
    case SYS_openat:
      return (call.entry.args[2] & O_CREAT) != 0 ? SystemCall::ChangesTheDisk : SystemCall::OpensOrReads;
    case SYS_read:
    case SYS_pread64:
      return SystemCall::OpensOrReads;
    case SYS_mmap:
    case SYS_brk:
      return SystemCall::TakesMemory;
    case SYS_write:
    case SYS_fsync:
    case SYS_fchmod:
    case SYS_renameat2:
    case SYS_linkat:
    case SYS_unlinkat:
    case SYS_mkdirat:
#ifdef SYS_rename
    case SYS_rename:
    case SYS_link:
    case SYS_unlink:
    case SYS_mkdir:
    case SYS_rmdir:
#endif
      return SystemCall::ChangesTheDisk;
    default:
      return SystemCall::Other;
  }
}

#if defined(__x86_64__)
void setRegister(pid_t process, std::size_t offset, std::uint64_t value) {
  ptrace(PTRACE_POKEUSER, process, offset, value);
}
constexpr std::size_t kNumber = offsetof(user_regs_struct, orig_rax);
constexpr std::size_t kArgument = offsetof(user_regs_struct, rdi);
constexpr std::size_t kAnswer = offsetof(user_regs_struct, rax);
#else
[[noreturn]] void setRegister(pid_t, std::size_t, std::uint64_t) {
  throw std::runtime_error("nobody has said how the calls of this processor are made to fail");
}
constexpr std::size_t kNumber = 0, kArgument = 0, kAnswer = 0;
#endif

// Makes the call that the process is about to make fail. The kernel refuses more memory to `brk` by answering
// where it ends already, which is what the call says when it asks for none.
void failCall(pid_t process, std::uint64_t number) {
  if (number == SYS_brk)
    setRegister(process, kArgument, 0);
  else
    setRegister(process, kNumber, static_cast<std::uint64_t>(-1));  // That of no call.
}

// Answers it as the kernel would have.
void answerFailed(pid_t process, std::uint64_t number, std::uint64_t argument, int error) {
  if (number == SYS_brk)
    setRegister(process, kArgument, argument);
  else
    setRegister(process, kAnswer, static_cast<std::uint64_t>(-error));
}

// Everything in the file of that descriptor, which is closed.
std::string contentOf(int file) {
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
    throw std::runtime_error("no output");
  close(file);
  return text;
}

}  // namespace

ToolResult optionsmgrTraced(const std::vector<std::string>& arguments, const Fate& fate) {
  std::vector<char*> words{const_cast<char*>(TOOL_PATH)};
  for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  const int out = memfd_create("out", MFD_CLOEXEC);
  const int err = memfd_create("err", MFD_CLOEXEC);
  const pid_t child = fork();
  if (child == 0) {
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), 0);
    dup2(out, 1);
    dup2(err, 2);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execv(words[0], words.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);  // It stops where the program begins.
  if (!WIFSTOPPED(status)) throw std::runtime_error("the tool cannot be traced");
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  // What the loader does is not the tool's: its `main` begins by looking at the standard streams.
  bool begun = false;
  __ptrace_syscall_info made{};
  for (int signal = 0, error = 0;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, signal);
    waitpid(child, &status, 0);
    if (WIFEXITED(status) || WIFSIGNALED(status)) break;
    signal = WSTOPSIG(status) == (SIGTRAP | 0x80) ? 0 : WSTOPSIG(status);
    if (signal != 0) continue;
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      begun |= info.entry.nr == SYS_fcntl;
      error = begun ? fate(kindOf(info)) : 0;
      made = info;
      if (error == kKilled) kill(child, SIGKILL);
      if (error > 0) failCall(child, info.entry.nr);
    } else if (error > 0) {
      answerFailed(child, made.entry.nr, made.entry.args[0], error);
    }
  }
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contentOf(out), contentOf(err)};
}

bool optionsmgrKilledBefore(int call, const std::vector<std::string>& arguments) {
  int made = 0;
  return optionsmgrTraced(arguments, [&](SystemCall kind) {
           return kind == SystemCall::ChangesTheDisk && ++made == call ? kKilled : 0;
         }).exit == 128 + SIGKILL;
}

ToolResult run(const std::vector<std::string>& command, const std::string& input) {
  int out[2];
  int err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    dup2(fileWith(input), 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execvp(words[0], words.data());
    _exit(127);
  }
  close(out[1]);
  close(err[1]);
  ToolResult result;
  std::array<pollfd, 2> ends = {{{out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
  const std::array<std::string*, 2> texts = {&result.out, &result.err};
  for (int open = 2; open > 0;) {
    if (poll(ends.data(), ends.size(), -1) < 0) continue;
    for (std::size_t i = 0; i < ends.size(); ++i) {
      if (ends[i].revents == 0) continue;
      char bytes[4096];
      const ssize_t count = read(ends[i].fd, bytes, sizeof bytes);
      if (count > 0) {
        texts[i]->append(bytes, static_cast<std::size_t>(count));
      } else {
        close(ends[i].fd);
        ends[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  waitpid(child, &status, 0);
  result.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

ToolResult optionsmgr(const std::vector<std::string>& arguments, bool asNobody) {
  std::vector<std::string> command;
  if (asNobody && geteuid() == 0) command = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  command.push_back(TOOL_PATH);
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run(command);
}

}  // namespace testing_support
