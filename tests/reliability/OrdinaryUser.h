// Where permissions count: root may do everything, whatever the mode of a file says.
#pragma once

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iostream>

namespace testing_support {

/// Runs the test in a process of its own as a user who is not root, to whom the home belongs with all that is
/// in it now. What it expects in vain is a failure here. Skips where root may not become another user.
inline void asOrdinaryUser(const std::filesystem::path& home, const std::function<void()>& test) {
  namespace fs = std::filesystem;
  constexpr uid_t kNobody = 65534;
  constexpr int kNotPermitted = 77;
  if (geteuid() == 0) {
    bool given = lchown(home.c_str(), kNobody, kNobody) == 0;
    for (const auto& entry : fs::recursive_directory_iterator(home))
      given = lchown(entry.path().c_str(), kNobody, kNobody) == 0 && given;
    if (!given) GTEST_SKIP() << "this machine lets root give no file away";
  }
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
      _exit(kNotPermitted);
    if (access(home.c_str(), R_OK | W_OK | X_OK) != 0) _exit(kNotPermitted);
    test();
    std::cout.flush();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNotPermitted)
    GTEST_SKIP() << "this machine lets root become no other user who reaches " << home;
  EXPECT_EQ(status, 0);
}

}  // namespace testing_support
