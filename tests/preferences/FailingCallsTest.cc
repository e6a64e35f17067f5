// Each call of the system fails in turn.
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
#include "qorvane/foundation/Failure.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane {
namespace {

using FailingCallsTest = FileStoreTest;

// A save or a load whose every call fails in turn with each of these causes: once, or from then on for every
// call of its kind, as on a full disk.
class FailureTest : public FileStoreTest, public testing::WithParamInterface<std::tuple<int, bool>> {
 protected:
  static int cause() { return std::get<0>(GetParam()); }
  static bool forGood() { return std::get<1>(GetParam()); }

  /// Lets the call of that number fail.
  void failAt(int failing) {
    failed.clear();
    calls.forgetCalls();
    calls.setFault([this, failing](const std::string& name, int call) {
      if (call == failing) failed = name;
      return call == failing || (forGood() && name == failed) ? cause() : 0;
    });
  }
  void expectTidy(const std::string& what) const {
    for (const std::string& name : names())
      EXPECT_TRUE(name == file().filename() || name.find(".unreadable-") != name.npos ||
                  name.find(".damaged-") != name.npos)
          << name << " after " << what;
  }
  /// Whatever the store is about to do fails at each call in turn, until it makes no more calls: `prepare` a
  /// folder, then `attempt` it, and judge what came of it.
  void atEachCall(const std::function<void()>& prepare,
                  const std::function<void(const std::string&)>& attempt) {
    for (int failing = 1;; ++failing) {
      calls.setFault(nullptr);
      fs::remove_all(home.path() / ".config");
      prepare();
      logged.clear();
      calls.setSyncing(false);
      failAt(failing);
      attempt("call " + std::to_string(failing));
      if (HasFailure()) return;
      if (failed.empty()) {
        EXPECT_GT(failing, 4);
        return;
      }
    }
  }
  FaultInjectingSystemCalls calls;
  std::string failed;
};

TEST_P(FailureTest, EveryCallOfASaveThatFailsLeavesTheOldFileOrSucceeds) {
  for (const bool withFile : {true, false})
    for (const Value& value : {kNew, Value()}) {
      std::string old;
      atEachCall(
          [&] {
            if (withFile) save(kOld);
            old = withFile ? readFile(file()) : "";
          },
          [&](const std::string& call) {
            FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
            store.setLockWait(0);
            store.setObject(value, kKey);
            const bool answered = store.synchronize();
            const std::string what = failed + ", " + call;
            if (answered) {
              // A call whose failure does not matter, or was made good.
              EXPECT_TRUE(isIdentical(load(), value)) << what;
              EXPECT_FALSE(store.lastFailure());
            } else {
              EXPECT_EQ(fs::exists(file()) ? readFile(file()) : "", old) << what;
              ASSERT_TRUE(store.lastFailure()) << what;
              EXPECT_EQ(store.lastFailure()->systemError, cause()) << what;
              const std::string reason = store.lastFailure()->reason(Language::English).string();
              EXPECT_NE(reason.find(file().string()), reason.npos) << reason;
              EXPECT_NE(reason.find(systemReason(cause(), Language::English).view()), reason.npos) << reason;
              ASSERT_EQ(logged.lines().size(), 1u) << what;
              EXPECT_NE(logged.lines()[0].view().find(reason), reason.npos) << logged.lines()[0];
            }
            // What cannot be removed remains.
            if (!(forGood() && failed == "unlink")) expectTidy(what);

            // With the fault gone, the same store succeeds, tidies up and has nothing more to say.
            calls.setFault(nullptr);
            logged.clear();
            EXPECT_TRUE(store.synchronize()) << what;
            EXPECT_TRUE(isIdentical(load(), value)) << what;
            EXPECT_TRUE(logged.lines().empty()) << what << ": " << logged.lines()[0];
            expectTidy(what);
          });
    }
}

TEST_P(FailureTest, EveryCallOfALoadThatFailsSaysSoAndChangesNothing) {
  atEachCall([&] { save(kOld), save(kNew); },
             [&](const std::string& call) {
               const std::string good = readFile(file());
               FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
               bool notThere = false;
               try {
                 EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew)) << failed << ", " << call;
               } catch (const FileException& error) {
                 EXPECT_EQ(error.systemError(), cause());
                 EXPECT_NE(std::string(error.what()).find(home.store().string()), std::string::npos);
                 ASSERT_EQ(logged.lines().size(), 1u);
                 EXPECT_NE(logged.lines()[0].view().find(error.what()), std::string_view::npos);
                 notThere = true;
               }
               EXPECT_EQ(logged.lines().empty(), !notThere);
               EXPECT_EQ(readFile(file()), good);
               EXPECT_EQ(names().size(), 1u);
               calls.setFault(nullptr);
               EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew));
             });
}

// A damaged file: loaded, or saved over. Whatever fails, the damaged bytes and the good copy remain.
TEST_P(FailureTest, EveryCallThatFailsWhileADamagedFileIsMendedLosesNothing) {
  for (const bool saving : {false, true}) {
    std::string copy;
    atEachCall(
        [&] {
          save(kOld), save(kNew);
          copy = readFile(newest());
          writeFile(file(), "junk");
        },
        [&](const std::string& call) {
          FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
          store.setLockWait(0);
          std::string what = (saving ? "saving: " : "loading: ") + call;
          const auto attempt = [&] {
            if (saving) store.setObject(kNew, kKey);
            if (saving) return store.synchronize();
            try {
              EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << what;
              return true;
            } catch (const FileException&) {
              return false;
            }
          };
          const bool done = attempt();
          what += ", " + failed;
          EXPECT_GE(logged.lines().size(), done && failed == "" ? 1u : 0u);
          EXPECT_EQ(readFile(newest()), copy) << what;
          bool kept = false;
          for (const std::string& name : names())
            kept = kept || (name.find(".new") == name.npos && readFile(home.store() / name) == "junk");
          EXPECT_TRUE(kept) << what;
          const bool mended =
              done && (logged.lines().empty() ||
                       logged.lines()[0].view().find("stays where it is") == std::string_view::npos);
          if (!mended && !forGood()) {
            EXPECT_EQ(readFile(file()), "junk") << "the failure is undone, " << what;
            EXPECT_EQ(names().size(), 1u) << what;
          }
          calls.setFault(nullptr);
          EXPECT_TRUE(attempt()) << what;
          EXPECT_TRUE(isIdentical(load(), saving ? kNew : kOld)) << what;
          expectTidy(what);
        });
  }
}

INSTANTIATE_TEST_SUITE_P(Once, FailureTest,
                         testing::Combine(testing::Values(ENOSPC, EIO, EACCES, EROFS, EDQUOT, EMFILE, EINTR,
                                                          EPERM),
                                          testing::Values(false)));
// Only an interrupted call is tried again for ever.
INSTANTIATE_TEST_SUITE_P(ForGood, FailureTest,
                         testing::Combine(testing::Values(ENOSPC, EIO, EACCES, EROFS, EDQUOT, EMFILE, EPERM),
                                          testing::Values(true)));

// Some file systems tell only then that what was written has no room.
TEST_F(FailingCallsTest, ANewFileThatCannotBeClosedIsNotPublished) {
  save(kOld);
  FaultInjectingSystemCalls calls;
  std::string before;
  calls.setFault([&](const std::string& name, int) {
    return std::exchange(before, name) == "fsync" && name == "close" ? EDQUOT : 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, EDQUOT);
  EXPECT_TRUE(isIdentical(load(), kOld));
}

TEST_F(FailingCallsTest, AFolderThatCannotBeSyncedDoesNotHinderASave) {
  FaultInjectingSystemCalls calls;
  int syncs = 0;
  // The file's own sync is the first; there are file systems that know no sync of a folder.
  calls.setFault([&](const std::string& name, int) { return name == "fsync" && ++syncs > 1 ? EINVAL : 0; });
  save(kOld);
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_TRUE(store.synchronize());
  syncs = -1;
  calls.setFault([&](const std::string& name, int) { return name == "fsync" && ++syncs == 0 ? EINVAL : 0; });
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize()) << "but a file's sync must not fail";
}

TEST_F(FailingCallsTest, WithoutHardLinksAGenerationIsACopy) {
  save(kOld);
  const std::string old = readFile(file());
  FaultInjectingSystemCalls calls;
  calls.setFault([](const std::string& name, int) { return name == "link" ? EPERM : 0; });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(readFile(newest()), old);
  EXPECT_EQ(modeOf(newest()), 0600u);
  // And when the folder then cannot be synced, the old file comes back from the copy.
  const std::string now = readFile(file());
  int syncs = 0;
  calls.setFault([&](const std::string& name, int) {
    return name == "link" ? EPERM : name == "fsync" && ++syncs == 3 ? EIO : 0;
  });
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(readFile(file()), now);
}

TEST_F(FailingCallsTest, ShortWritesAreCompleted) {
  FaultInjectingSystemCalls calls;
  calls.setLongestWrite(1);
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), kOld));
}

// Some devices say nothing else when they are full.
TEST_F(FailingCallsTest, AWriteThatWritesNothingIsAFullDisk) {
  class WritesNothing : public SystemCalls {
    ssize_t write(int, const void*, std::size_t) override { return 0; }
  };
  save(kOld);
  WritesNothing calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, ENOSPC);
  EXPECT_TRUE(isIdentical(load(), kOld));
  EXPECT_EQ(names(), std::vector<std::string>{file().filename()});
}

// Removed by another program while we save, where only a copy can be kept: the save says so, and the next one
// works.
TEST_F(FailingCallsTest, AFileThatVanishesIsAFailureOnce) {
  save(kOld);
  FaultInjectingSystemCalls calls;
  calls.setFault([&](const std::string& name, int) {
    if (name != "link") return 0;
    fs::remove(file());
    return EPERM;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, ENOENT);
  EXPECT_EQ(names(), std::vector<std::string>());
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(FailingCallsTest, ANewFileIsSyncedBeforeItIsPublishedAndTheFolderAfter) {
  save(kOld);
  FaultInjectingSystemCalls calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  ASSERT_TRUE(store.synchronize());
  std::vector<std::string> order;
  for (const std::string& name : calls.calls())
    if (name == "write" || name == "fsync" || name == "rename" || name == "link") order.push_back(name);
  EXPECT_EQ(order, (std::vector<std::string>{"write", "fsync", "link", "rename", "fsync"}));
}

}  // namespace
}  // namespace qorvane
