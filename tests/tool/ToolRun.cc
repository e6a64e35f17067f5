#include "tests/tool/ToolRun.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace testing_support {

ToolResult run(const std::vector<std::string>& command) {
  int out[2];
  int err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    dup2(open("/dev/null", O_RDONLY), 0);
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
