// The lock of the preference folder, above all where files cannot be locked.
#include "qorvane/preferences/FolderLock.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <memory>
#include <sstream>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/preferences/FileStoreTest.h"

namespace qorvane {
namespace {

class FolderLockTest : public testing::Test {
 protected:
  FolderLockTest() {
    fs::create_directories(home.store());
    setLockError(ENOLCK);
  }

  /// The file system answers a byte-range lock so.
  void setLockError(int error) {
    calls.setSyncing(false);
    calls.setFault([error](const std::string& name, int) { return name == "tryLock" ? error : 0; });
  }
  std::unique_ptr<FolderLock> lock(int wait = 0) {
    return std::make_unique<FolderLock>(calls, home.store().string(), wait);
  }
  bool isFree() {
    try {
      lock();
      return true;
    } catch (const FileException& error) {
      EXPECT_EQ(error.systemError(), EAGAIN) << error.what();
      return false;
    }
  }
  fs::path held() const { return home.store() / ".lock-held"; }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(home.store())) {
      const std::string name = entry.path().filename();
      // Generations without their number and day.
      found.push_back(name.starts_with(".Qorvane") && name.ends_with(".plist")
                          ? name.substr(0, name.find('.', 1)) + ".plist"
                          : name);
    }
    std::ranges::sort(found);
    return found;
  }
  /// Moves the times of the lock file back.
  void makeOlder(int seconds) const {
    fs::last_write_time(held(), fs::last_write_time(held()) - std::chrono::seconds(seconds));
  }

  testing_support::TestHome home;
  LogCapture logged;
  FaultInjectingSystemCalls calls;
};

using Names = std::vector<std::string>;

TEST_F(FolderLockTest, ByteRangeLocksLeaveNothingBehind) {
  setLockError(0);
  const auto first = lock();
  EXPECT_FALSE(isFree());
  EXPECT_EQ(names(), Names{".lock"});
}

TEST_F(FolderLockTest, WhereFilesCannotBeLockedANameIsTheLock) {
  for (const int error : {ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL}) {
    setLockError(error);
    {
      const auto first = lock();
      EXPECT_TRUE(fs::exists(held()));
      EXPECT_FALSE(isFree());
      EXPECT_NO_THROW(first->requireHeld());
      EXPECT_EQ(names().size(), 3u) << "the losers' claims are gone";
    }
    EXPECT_TRUE(isFree());
    EXPECT_EQ(names(), Names{".lock"});
  }
}

TEST_F(FolderLockTest, OtherTroublesAreNotTakenForIt) {
  for (const int error : {EIO, EACCES, EBADF}) {
    setLockError(error);
    EXPECT_THROW(lock(), FileException);
    EXPECT_EQ(names(), Names{".lock"});
  }
}

TEST_F(FolderLockTest, AWaiterWaitsAsLongAsItSaid) {
  const auto first = lock();
  calls.forgetCalls();
  EXPECT_THROW(lock(50), FileException);
  EXPECT_EQ(std::ranges::count(calls.calls(), "sleep"), 5);
}

TEST_F(FolderLockTest, TheLockOfAKilledProcessIsTakenAtOnce) {
  for (const bool reaped : {false, true}) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
      const auto mine = lock();
      const char byte = 1;
      if (write(ready[1], &byte, 1) == 1) pause();
      _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    makeOlder(10 * FolderLock::kStaleSeconds);
    EXPECT_FALSE(isFree()) << "of a process that lives, however old";
    kill(child, SIGKILL);
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
    if (reaped) waitpid(child, nullptr, 0);
    EXPECT_TRUE(isFree());
    if (!reaped) waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
  }
}

TEST_F(FolderLockTest, AProcessThatOnlyHasTheNumberOfTheHolderIsNotTheHolder) {
  std::string text;
  {
    const auto mine = lock();
    text = readFile(held());
  }
  writeFile(held(), text);
  EXPECT_FALSE(isFree()) << "this process lives";
  ASSERT_TRUE(text.ends_with("\n"));
  text.insert(text.size() - 1, "0");  // It started at another time.
  writeFile(held(), text);
  EXPECT_TRUE(isFree());
  EXPECT_EQ(names(), Names{".lock"});
}

// As the kernel says it: the 22nd field of the process's line.
TEST_F(FolderLockTest, TheLockSaysWhenItsProcessStarted) {
  const auto mine = lock();
  const std::string line = readFile("/proc/self/stat");
  std::istringstream fields(line.substr(line.rfind(')') + 1));
  std::string start;
  for (int field = 3; field <= 22; ++field) fields >> start;
  EXPECT_TRUE(readFile(held()).ends_with("\n" + std::to_string(getpid()) + " " + start + "\n"))
      << readFile(held());
}

TEST_F(FolderLockTest, ALockOfAnotherMachineIsStaleWhenItIsOld) {
  for (const char* text : {"elsewhere 12345678 pid:[1]\n1 2\n", "", "\n"}) {
    writeFile(held(), text);
    EXPECT_FALSE(isFree());
    makeOlder(FolderLock::kStaleSeconds - 10);
    EXPECT_FALSE(isFree());
    makeOlder(20);
    EXPECT_TRUE(isFree());
    EXPECT_EQ(names(), Names{".lock"});
  }
}

TEST_F(FolderLockTest, WhoseLockWasTakenSavesNothing) {
  FileUserDefaults store(home.store().string(), calls);
  store.setObject(kOld, kKey);
  ASSERT_TRUE(store.synchronize());
  const std::string before = readFile(home.store() / "QorvaneT1Settings2020.plist");
  {
    const UserDefaults::Lock lock(store);
    // It slept so long that another took the lock, saved and went on.
    fs::remove(held());
    writeFile(held(), "elsewhere\n1 2\n");
    store.setObject(kNew, kKey);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.lastFailure()->systemError, EAGAIN);
  }
  EXPECT_EQ(readFile(home.store() / "QorvaneT1Settings2020.plist"), before);
  EXPECT_EQ(readFile(held()), "elsewhere\n1 2\n") << "the lock of another is not removed";
  EXPECT_EQ(names(),
            (Names{".QorvaneT1Settings2020.plist", ".lock", ".lock-held", "QorvaneT1Settings2020.plist"}));
}

// The server made the name, but its answer was lost: the call fails.
TEST_F(FolderLockTest, ALostAnswerToTheLinkIsNoFailure) {
  class LosesAnswers : public FaultInjectingSystemCalls {
   public:
    int link(const char* from, const char* to) override {
      FaultInjectingSystemCalls::link(from, to);
      errno = EEXIST;
      return -1;
    }
    int tryLock(int) override {
      errno = ENOLCK;
      return -1;
    }
  };
  LosesAnswers losing;
  const FolderLock mine(losing, home.store().string(), 0);
  EXPECT_NO_THROW(mine.requireHeld());
  EXPECT_FALSE(isFree());
}

TEST_F(FolderLockTest, WithoutHardLinksEitherThereIsNoLockAndNoSave) {
  calls.setFault([](const std::string& name, int) {
    return name == "tryLock" ? ENOLCK : name == "link" ? EPERM : 0;
  });
  EXPECT_THROW(lock(), FileException);
  EXPECT_EQ(names(), Names{".lock"});
}

// ---- whoever touches the lock's file ---------------------------------------------------------------------

TEST_F(FolderLockTest, ALockWhoseFileWasRemovedOrReplacedIsNotHeld) {
  setLockError(0);
  for (const bool replaced : {false, true}) {
    const auto mine = lock();
    EXPECT_NO_THROW(mine->requireHeld());
    if (replaced) {
      writeFile(home.store() / "other", "");
      fs::rename(home.store() / "other", home.store() / ".lock");
    } else {
      fs::remove(home.store() / ".lock");
    }
    try {
      mine->requireHeld();
      ADD_FAILURE();
    } catch (const FileException& error) {
      EXPECT_EQ(error.systemError(), EAGAIN);
    }
  }
}

// It is removed after it was opened and before it was locked.
TEST_F(FolderLockTest, AFileThatLostItsNameIsNotTakenForTheLock) {
  bool removed = false;
  calls.setFault([&](const std::string& name, int) {
    if (name == "tryLock" && !removed) removed = fs::remove(home.store() / ".lock");
    return 0;
  });
  const auto mine = lock();
  EXPECT_TRUE(removed);
  EXPECT_NO_THROW(mine->requireHeld());
  EXPECT_FALSE(isFree());
}

TEST_F(FolderLockTest, AForkedProcessHoldsNothingAndReleasesNothing) {
  for (const int error : {0, ENOLCK}) {
    setLockError(error);
    auto mine = lock();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
      char held = 'n';
      try {
        mine->requireHeld();
      } catch (const FileException&) {
        held = 'y';
      }
      mine.reset();  // Closes its own end of the file only.
      if (write(ready[1], &held, 1) == 1) pause();
      _exit(0);
    }
    char refused = 0;
    ASSERT_EQ(read(ready[0], &refused, 1), 1);
    EXPECT_EQ(refused, 'y');
    EXPECT_FALSE(isFree()) << "this process holds it still";
    EXPECT_NO_THROW(mine->requireHeld());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);

    // And a child that keeps the file open does not keep the lock.
    const pid_t keeper = fork();
    if (keeper == 0) {
      pause();
      _exit(0);
    }
    mine.reset();
    EXPECT_TRUE(isFree());
    kill(keeper, SIGKILL);
    waitpid(keeper, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
  }
}

TEST_F(FolderLockTest, APipeInTheLocksPlaceIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(held().c_str(), 0600), 0);
  EXPECT_FALSE(isFree());
  makeOlder(FolderLock::kStaleSeconds + 10);
  EXPECT_TRUE(isFree());
  EXPECT_EQ(names(), Names{".lock"});
}

TEST_F(FolderLockTest, ClaimsOfDeadProcessesAreCleared) {
  std::string text;
  {
    const auto mine = lock();
    text = readFile(held());
  }
  writeFile(home.store() / ".lock-held.here-1-1", text);
  text.insert(text.size() - 1, "0");
  writeFile(home.store() / ".lock-held.here-2-1", text);
  writeFile(home.store() / ".lock-held.elsewhere-3-1", "elsewhere\n3 4\n");
  EXPECT_TRUE(isFree());
  EXPECT_EQ(names(), (Names{".lock", ".lock-held.elsewhere-3-1", ".lock-held.here-1-1"}))
      << "of a process that lives, and of one that may";
  const fs::path other = home.store() / ".lock-held.elsewhere-3-1";
  fs::last_write_time(other,
                      fs::last_write_time(other) - std::chrono::seconds(FolderLock::kStaleSeconds + 10));
  EXPECT_TRUE(isFree());
  EXPECT_EQ(names(), (Names{".lock", ".lock-held.here-1-1"}));
}

// Two find the same stale lock; one is quicker, takes it away and makes its own before the other moves.
TEST_F(FolderLockTest, ALockThatReplacedAStaleOneIsGivenBack) {
  writeFile(held(), "elsewhere\n1 2\n");
  makeOlder(FolderLock::kStaleSeconds + 10);
  std::unique_ptr<FolderLock> quicker;
  FaultInjectingSystemCalls quick;
  quick.setFault([](const std::string& name, int) { return name == "tryLock" ? ENOLCK : 0; });
  calls.setFault([&](const std::string& name, int) {
    if (name == "rename" && !quicker) quicker = std::make_unique<FolderLock>(quick, home.store().string(), 0);
    return name == "tryLock" ? ENOLCK : 0;
  });
  EXPECT_FALSE(isFree());
  ASSERT_TRUE(quicker);
  EXPECT_NO_THROW(quicker->requireHeld());
  EXPECT_EQ(names().size(), 3u);
  quicker.reset();
  EXPECT_EQ(names(), Names{".lock"});
}

// It is given back while somebody looks whether it is stale.
TEST_F(FolderLockTest, ALockThatIsGoneMeanwhileIsTaken) {
  writeFile(held(), "elsewhere\n1 2\n");
  calls.setFault([&](const std::string& name, int) {
    if (name == "lstat") fs::remove(held());
    return name == "tryLock" ? ENOLCK : 0;
  });
  EXPECT_TRUE(isFree());
  EXPECT_EQ(names(), Names{".lock"});
}

// Two find the same stale lock; the other one is quicker, and done by the time we look.
TEST_F(FolderLockTest, AStaleLockThatAnotherTookAwayIsNotTakenTwice) {
  writeFile(held(), "elsewhere\n1 2\n");
  makeOlder(FolderLock::kStaleSeconds + 10);
  calls.setFault([&](const std::string& name, int) {
    if (name == "rename") fs::remove(held());
    return name == "tryLock" ? ENOLCK : 0;
  });
  EXPECT_FALSE(isFree()) << "this time";
  setLockError(ENOLCK);
  EXPECT_TRUE(isFree());
  EXPECT_EQ(names(), Names{".lock"});
}

// Where there is no /proc, or none that tells.
TEST_F(FolderLockTest, WhereProcessesCannotBeToldOnlyTheAgeCounts) {
  std::string failing = "uname";
  calls.setFault([&](const std::string& name, int) {
    return name == "tryLock" ? ENOLCK : name == failing ? EACCES : 0;
  });
  writeFile(held(), "\n");
  EXPECT_FALSE(isFree());
  fs::remove(held());
  failing = "readlink";
  const auto mine = lock();
  EXPECT_FALSE(isFree());
  makeOlder(FolderLock::kStaleSeconds + 10);
  EXPECT_TRUE(isFree());
  EXPECT_THROW(mine->requireHeld(), FileException);
}

TEST_F(FolderLockTest, EveryCallThatFailsLeavesNoClaimAndNoLock) {
  for (int failing = 1;; ++failing) {
    std::string failed;
    calls.forgetCalls();
    calls.setFault([&](const std::string& name, int call) {
      if (name == "tryLock") return ENOLCK;
      if (call != failing) return 0;
      failed = name;
      return EIO;
    });
    try {
      lock();
    } catch (const FileException& error) {
      EXPECT_TRUE(error.systemError() == EIO || error.systemError() == EAGAIN) << error.what();
    }
    if (static_cast<int>(calls.calls().size()) < failing) {
      EXPECT_GT(failing, 20);
      break;
    }
    setLockError(ENOLCK);
    // What could not be removed stays: a claim, which is nobody's lock, or the lock of a process that lives.
    if (failed != "unlink" && failed != "lstat") {
      EXPECT_TRUE(isFree()) << failed << ", call " << failing;
    }
    for (const std::string& name : names()) {
      if (failed != "unlink" && failed != "lstat" && name != ".lock")
        ADD_FAILURE() << name << " after " << failed << ", call " << failing;
    }
    for (const std::string& name : names()) fs::remove(home.store() / name);
  }
}

TEST_F(FolderLockTest, KilledAtAnyCallTheNextOneFindsItFree) {
  for (int before = 1;; ++before) {
    const pid_t child = fork();
    if (child == 0) {
      calls.forgetCalls();
      calls.setFault([before](const std::string& name, int call) {
        if (call == before) kill(getpid(), SIGKILL);
        return name == "tryLock" ? ENOLCK : 0;
      });
      lock();
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(isFree()) << "killed before call " << before;
    if (WIFEXITED(status)) {
      EXPECT_GT(before, 20);
      break;
    }
  }
}

TEST_F(FolderLockTest, ManyWritersWithoutByteRangeLocksLoseNothing) {
  class Calls : public SystemCalls {
    int fsync(int) override { return 0; }
    int tryLock(int) override {
      errno = ENOLCK;
      return -1;
    }
  };
  Calls own;
  writeAtOnce(home.store().string(), 4, 25, own);
  const Names all = names();
  EXPECT_EQ(std::ranges::count(all, ".QorvaneT1Settings2020.plist"), 54) << "thinned at every sixteenth";
  EXPECT_EQ(all.size(), 54u + 2);
}

}  // namespace
}  // namespace qorvane
