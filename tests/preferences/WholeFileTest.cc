#include "qorvane/preferences/WholeFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "qorvane/preferences/FileException.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;
using testing_support::readFile;
using testing_support::writeFile;
using Names = std::vector<std::string>;

class WholeFileTest : public testing::Test {
 protected:
  Names names() const {
    Names found;
    for (const auto& entry : fs::directory_iterator(home.path() / "there"))
      found.push_back(entry.path().filename().string());
    std::ranges::sort(found);
    return found;
  }
  void SetUp() override { fs::create_directory(home.path() / "there"); }

  /// The failure of a write of "new"; 0 for none.
  int write(Existing existing, SystemCalls& calls = SystemCalls::standard()) const try {
    writeWholeFile(file, "new", existing, 0600, calls);
    return 0;
  } catch (const FileException& error) {
    EXPECT_EQ(error.failure().code, FailureCode::cannotWrite);
    EXPECT_EQ(error.failure().arguments.front(), Text(file));
    return error.systemError();
  }

  testing_support::TestHome home;
  std::string file = (home.path() / "there" / "file").string();
};

TEST_F(WholeFileTest, ANewFileIsPrivateAndStandsAlone) {
  const mode_t before = umask(0);
  EXPECT_EQ(write(Existing::Refused), 0);
  umask(before);
  EXPECT_EQ(readFile(file), "new");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
  EXPECT_EQ(names(), Names{"file"});
}

TEST_F(WholeFileTest, WhatIsThereIsReplacedOnlyWhenAsked) {
  // With hard links and without them, with files that have no name yet and without.
  for (const char* missing : {"", "link", "linkOpen"}) {
    FaultInjectingSystemCalls calls;
    calls.setFault([&](const std::string& name, int) { return name == missing ? EPERM : 0; });
    writeFile(file, "old");
    EXPECT_EQ(write(Existing::Refused, calls), EEXIST) << missing;
    EXPECT_EQ(readFile(file), "old") << missing;
    EXPECT_EQ(write(Existing::Replaced, calls), 0) << missing;
    EXPECT_EQ(readFile(file), "new") << missing;
    fs::remove(file);
    EXPECT_EQ(write(Existing::Refused, calls), 0) << missing;
    EXPECT_EQ(readFile(file), "new") << missing;
    EXPECT_EQ(names(), Names{"file"}) << missing;
  }
}

TEST_F(WholeFileTest, AFailingCallLeavesTheFileAndNothingBesideIt) {
  int failing = 1;
  for (bool failed = true; failed; ++failing) {
    writeFile(file, "old");
    FaultInjectingSystemCalls calls;
    std::string name;
    calls.setFault([&](const std::string& called, int call) {
      if (call == failing) name = called;
      return call == failing ? EIO : 0;
    });
    const int error = write(Existing::Replaced, calls);
    failed = !name.empty();
    // What fails behind the rename is the folder's sync: nobody can say then what the disk holds.
    const auto& made = calls.calls();
    const bool renamed = std::ranges::find(made, "rename") != made.end() && name != "rename";
    EXPECT_EQ(readFile(file), renamed ? "new" : "old") << name << failing;
    EXPECT_EQ(names(), Names{"file"}) << name << failing;
    EXPECT_TRUE(error == EIO || error == 0) << name << failing;
    if (name == "write" || name == "fsync" || name == "rename") {
      EXPECT_EQ(error, EIO) << name << failing;
    }
  }
  EXPECT_GT(failing, 8) << "look, open, rights, write, sync, name, rename, sync of the folder";
}

TEST_F(WholeFileTest, WhatKilledProcessesLeftGoes) {
  const pid_t gone = fork();
  if (gone == 0) _exit(0);
  waitpid(gone, nullptr, 0);
  const std::string left = ".file.optionsmgr-" + std::to_string(gone);
  const std::string alive = ".file.optionsmgr-" + std::to_string(getppid());
  for (const std::string& name : {left, alive, left + "x", ".other.optionsmgr-" + std::to_string(gone)})
    writeFile(home.path() / "there" / name, "left");
  EXPECT_EQ(write(Existing::Replaced), 0);
  Names rest = {alive, left + "x", ".other.optionsmgr-" + std::to_string(gone), "file"};
  std::ranges::sort(rest);
  EXPECT_EQ(names(), rest);
}

TEST_F(WholeFileTest, ALinkStaysALinkAndAPipeAPipe) {
  const fs::path link = home.path() / "link";
  writeFile(file, "old");
  fs::create_symlink(file, link);
  writeWholeFile(link.string(), "new", Existing::Replaced, 0644, SystemCalls::real());
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(readFile(file), "new");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms(0644));

  const std::string pipe = (home.path() / "pipe").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  writeWholeFile(pipe, "through", Existing::Refused, 0600, SystemCalls::real());
  char bytes[16];
  EXPECT_EQ(read(reader, bytes, sizeof bytes), 7);
  close(reader);
  EXPECT_TRUE(fs::is_fifo(pipe));
}

}  // namespace
}  // namespace qorvane
