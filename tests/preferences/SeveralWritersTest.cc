// Several processes at one file, and what a killed one leaves.
#include "tests/preferences/FileStoreTest.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <tuple>
#include <utility>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane {
namespace {

using SeveralWritersTest = FileStoreTest;

TEST_F(SeveralWritersTest, ALockHeldElsewhereFailsTheSaveAfterTheWait) {
  FileUserDefaults holder;
  const FileUserDefaults::Lock lock(holder);
  FaultInjectingSystemCalls calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setLockWait(50);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, EAGAIN);
  EXPECT_EQ(std::ranges::count(calls.calls(), "sleep"), 5);
  EXPECT_FALSE(fs::exists(file()));
}

TEST_F(SeveralWritersTest, TheHolderOfTheLockSavesAndTheNextOneFollows) {
  FileUserDefaults holder;
  {
    const FileUserDefaults::Lock lock(holder);
    const FileUserDefaults::Lock again(holder);
    holder.setObject(kOld, kKey);
    EXPECT_TRUE(holder.synchronize());
  }
  save(kNew);
}

TEST_F(SeveralWritersTest, ALockOfAKilledProcessDoesNotBlock) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    FileUserDefaults holder;
    const FileUserDefaults::Lock lock(holder);
    char byte = 1;
    if (write(ready[1], &byte, 1) == 1) pause();
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  FileUserDefaults store;
  store.setLockWait(0);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize()) << "the holder lives";
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(store.synchronize());
}

TEST_F(SeveralWritersTest, ReadChangeSaveUnderTheLockLosesNothing) {
  SystemCalls calls;
  writeAtOnce(home.store().string(), 4, 25, calls);
}

// Somebody cleans up while a save is under way, and another saves: of the two, one is told that it failed.
TEST_F(SeveralWritersTest, ALockThatIsRemovedDuringASaveFailsTheSave) {
  save(kOld);
  FaultInjectingSystemCalls calls;
  bool once = true;
  calls.setFault([&](const std::string& name, int) {
    if (name == "link" && std::exchange(once, false)) {
      fs::remove(home.store() / ".lock");
      save(Dictionary{{"By", Text("another")}});
    }
    return 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, EAGAIN);
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"By", Text("another")}}));
  EXPECT_TRUE(store.synchronize()) << "the next try has the lock";
  EXPECT_TRUE(isIdentical(load(), kNew));
  EXPECT_TRUE(logged.lines().size() == 1u);
}

// Stores in two folders whose files are links to one target.
TEST_F(SeveralWritersTest, TwoLinksToOneTargetLoseNothing) {
  const fs::path target = home.path() / "shared" / "settings";
  fs::create_directories(target.parent_path());
  for (const char* folder : {"one", "two"}) {
    fs::create_directories(home.path() / folder);
    fs::create_symlink(target, home.path() / folder / file().filename());
  }
  CallsWithoutSync calls;
  FileUserDefaults one((home.path() / "one").string(), calls);
  FileUserDefaults two((home.path() / "two").string(), calls);
  two.setLockWait(0);
  one.setObject(kOld, kKey);
  ASSERT_TRUE(one.synchronize());
  {
    const FileUserDefaults::Lock lock(one);
    EXPECT_TRUE(isIdentical(one.objectForKey(kKey), kOld));
    two.setObject(kNew, kKey);
    EXPECT_FALSE(two.synchronize()) << "who reads under the lock is about to save";
    EXPECT_EQ(two.lastFailure()->systemError, EAGAIN);
  }
  EXPECT_TRUE(two.synchronize());
  EXPECT_TRUE(isIdentical(one.objectForKey(kKey), kNew));
  EXPECT_EQ(two.generations(kKey).size(), 1u);
}

// A link to another file of the same folder needs no second lock.
TEST_F(SeveralWritersTest, ALinkWithinTheFolderIsSavedUnderOneLock) {
  fs::create_directories(home.store());
  fs::permissions(home.store(), fs::perms(0700));
  fs::create_directory_symlink(home.store(), home.path() / "way");
  fs::create_symlink(home.path() / "way" / "real", file());
  CallsWithoutSync calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setLockWait(0);
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  store.setObject(kNew, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(fs::is_symlink(file()));
  EXPECT_TRUE(isIdentical(load(), kNew));
}

// Dies by SIGKILL before the call of that number.
class KilledCalls : public FaultInjectingSystemCalls {
 public:
  explicit KilledCalls(int before) {
    setFault([before](const std::string&, int call) {
      if (call == before) kill(::getpid(), SIGKILL);
      return 0;
    });
  }
};

TEST_F(SeveralWritersTest, KilledAtAnyCallOfASaveTheFileIsWhollyOldOrWhollyNew) {
  for (int before = 1;; ++before) {
    fs::remove_all(home.store());
    save(kOld);
    const pid_t child = fork();
    if (child == 0) {
      KilledCalls calls(before);
      FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
      store.setObject(kNew, kKey);
      _exit(store.synchronize() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const Value found = load();
    EXPECT_TRUE(isIdentical(found, kOld) || isIdentical(found, kNew)) << "killed before call " << before;
    EXPECT_TRUE(logged.lines().empty()) << logged.lines()[0];
    // Whatever it left, the next save works and tidies up.
    save(kNew);
    EXPECT_EQ(names(), std::vector<std::string>{"QorvaneT1Settings2020.plist"})
        << "killed before call " << before;
    if (WIFEXITED(status)) {
      EXPECT_EQ(WEXITSTATUS(status), 0);
      break;
    }
  }
}

}  // namespace
}  // namespace qorvane
