#include "tests/tool/ToolRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
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

bool changesTheDisk(const __ptrace_syscall_info& call) {
  switch (call.entry.nr) {
    case SYS_openat:
      return (call.entry.args[2] & O_CREAT) != 0;
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
      return true;
    default:
      return false;
  }
}

}  // namespace

bool optionsmgrKilledBefore(int call, const std::vector<std::string>& arguments) {
  std::vector<char*> words{const_cast<char*>(TOOL_PATH)};
  for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int nowhere = open("/dev/null", O_RDWR);
    for (int descriptor = 0; descriptor < 3; ++descriptor) dup2(nowhere, descriptor);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    execv(words[0], words.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);  // It stops where the program begins.
  if (!WIFSTOPPED(status)) throw std::runtime_error("the tool cannot be traced");
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  for (int made = 0, signal = 0;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, signal);
    waitpid(child, &status, 0);
    if (WIFEXITED(status) || WIFSIGNALED(status)) return false;
    signal = WSTOPSIG(status) == (SIGTRAP | 0x80) ? 0 : WSTOPSIG(status);
    if (signal != 0) continue;
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY || !changesTheDisk(info) || ++made < call) continue;
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return true;
  }
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
