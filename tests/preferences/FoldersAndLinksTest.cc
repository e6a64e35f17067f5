// Folders that the store makes, their rights, and links in a file's place.
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

using FoldersAndLinksTest = FileStoreTest;

TEST_F(FoldersAndLinksTest, FilesAndFoldersArePrivateUnderAnyUmask) {
  for (const mode_t mask : {0000u, 0022u, 0077u, 0277u}) {
    fs::remove_all(home.path() / ".config");
    const mode_t before = umask(mask);
    save(kOld);
    save(kNew);
    umask(before);
    EXPECT_EQ(modeOf(file()), 0600u) << mask;
    EXPECT_EQ(modeOf(newest()), 0600u) << mask;
    if ((mask & 0700) == 0) {
      EXPECT_EQ(modeOf(home.store()), 0700u) << mask;
    }
  }
}

TEST_F(FoldersAndLinksTest, ASymbolicLinkIsFollowedAndStays) {
  const fs::path elsewhere = home.path() / "dotfiles" / "settings.plist";
  fs::create_directories(elsewhere.parent_path());
  fs::create_directories(home.store());
  fs::create_symlink("../../dotfiles/settings.plist", file());
  EXPECT_TRUE(load().isNil());
  save(kOld);  // The link dangles: its target is made.
  EXPECT_TRUE(fs::is_symlink(file()));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(elsewhere)));
  save(kNew);
  EXPECT_TRUE(fs::is_symlink(file()));
  EXPECT_TRUE(isIdentical(load(), kNew));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(newest())));
  save(nullptr);
  EXPECT_TRUE(fs::is_symlink(file())) << "what the link points to is removed, not the link";
  EXPECT_FALSE(fs::exists(elsewhere));
}

TEST_F(FoldersAndLinksTest, ALoopOfLinksIsAFailureThatChangesNothing) {
  fs::create_directories(home.store());
  fs::create_symlink(file(), file());
  EXPECT_THROW(load(), FileException);
  FileUserDefaults store;
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, ELOOP);
  EXPECT_TRUE(fs::is_symlink(file()));
}

// As many links as the kernel follows when it opens the file, and one more.
TEST_F(FoldersAndLinksTest, AChainOfLinksIsFollowedAsFarAsTheKernelDoes) {
  for (const int links : {40, 41}) {
    fs::remove_all(home.path() / ".config");
    fs::create_directories(home.store());
    const fs::path chain = home.path() / ("chain" + std::to_string(links));
    fs::create_directories(chain);
    for (int link = 1; link < links; ++link)
      fs::create_symlink(std::to_string(link + 1), chain / std::to_string(link));
    fs::create_symlink(chain / "1", file());
    FileUserDefaults store;
    store.setObject(kOld, kKey);
    EXPECT_EQ(store.synchronize(), links == 40) << links;
    if (links == 40) {
      EXPECT_TRUE(isIdentical(load(), kOld));
      EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(chain / "40")));
    } else {
      EXPECT_EQ(store.lastFailure()->systemError, ELOOP);
    }
  }
}

// Somebody may turn the links round while they are followed.
TEST_F(FoldersAndLinksTest, LinksThatNeverEndAreAFailure) {
  class EndlessLinks : public SystemCalls {
    ssize_t readlink(const char*, char* target, std::size_t) override {
      *target = 'x';
      return 1;
    }
  };
  fs::create_directories(home.store());
  fs::create_symlink("x", file());
  EndlessLinks calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, ELOOP);
  EXPECT_TRUE(fs::is_symlink(file()));
}

TEST_F(FoldersAndLinksTest, WhatIsNoFileIsNotWaitedFor) {
  fs::create_directories(home.store());
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_THROW(load(), FileException);
}

// And neither are they lost: a pipe or a folder in the file's place is set aside like a file that cannot be
// read.
TEST_F(FoldersAndLinksTest, WhatIsNoFileIsQuarantined) {
  fs::create_directories(home.store());
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  save(kOld);
  EXPECT_TRUE(isIdentical(load(), kOld));
  ASSERT_EQ(names().size(), 2u);
  EXPECT_TRUE(fs::is_fifo(home.store() / names()[1]));
  fs::remove_all(home.store());
  fs::create_directories(file() / "mine");
  fs::permissions(home.store(), fs::perms::owner_all);
  save(kOld);
  EXPECT_TRUE(isIdentical(load(), kOld));
  ASSERT_EQ(names().size(), 2u);
  EXPECT_TRUE(fs::is_directory(home.store() / names()[1] / "mine"));
}

TEST_F(FoldersAndLinksTest, ALinkThroughAFileLeadsNowhere) {
  writeFile(home.path() / "file", "mine");
  fs::create_directories(home.store());
  fs::create_symlink(home.path() / "file" / "below", file());
  EXPECT_TRUE(load().isNil());
  FileUserDefaults store;
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, ENOTDIR);
  EXPECT_EQ(readFile(home.path() / "file"), "mine");
}

TEST_F(FoldersAndLinksTest, FoldersThatAnotherProcessMakesMeanwhileAreUsed) {
  FaultInjectingSystemCalls calls;
  int asked = 0;
  calls.setFault([&](const std::string& name, int) {
    if (name != "mkdir") return 0;
    if (++asked == 1) return ENOENT;
    fs::create_directories(home.store());
    fs::permissions(home.store(), fs::perms::owner_all);
    return 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize()) << store.lastFailure()->reason(Language::English);
  EXPECT_TRUE(isIdentical(load(), kOld));
}

// Such as a current folder that was removed, with a store said relative to it.
TEST_F(FoldersAndLinksTest, AFolderThatCanBeMadeNowhereIsAFailure) {
  FaultInjectingSystemCalls calls;
  calls.setFault([](const std::string& name, int) { return name == "mkdir" ? ENOENT : 0; });
  for (const std::string& folder : {FileUserDefaults::defaultFolder(), std::string("no-such-folder")}) {
    FileUserDefaults store(folder, calls);
    store.setObject(kOld, kKey);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.lastFailure()->systemError, ENOENT);
  }
}

// A folder that others may look into, or that a power cut may take away, is not left behind.
TEST_F(FoldersAndLinksTest, AFolderThatCannotBeMadeWhollyIsNotMade) {
  for (const char* failing : {"chmod", "fsync"}) {
    FaultInjectingSystemCalls calls;
    bool failed = false;
    calls.setFault([&](const std::string& name, int) {
      return name == failing && !std::exchange(failed, true) ? EIO : 0;
    });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(kOld, kKey);
    EXPECT_FALSE(store.synchronize()) << failing;
    EXPECT_FALSE(fs::exists(home.path() / ".config")) << failing;
    EXPECT_TRUE(store.synchronize()) << failing;
    fs::remove_all(home.path() / ".config");
  }
}

// A signal that comes during a call is no failure.
TEST_F(FoldersAndLinksTest, AnInterruptedCallIsMadeAgain) {
  for (const std::string interrupted : {"open", "read", "write", "fsync", "tryLock"}) {
    fs::remove_all(home.store());
    save(kOld);
    FaultInjectingSystemCalls calls;
    int made = 0;
    calls.setFault(
        [&](const std::string& name, int) { return name == interrupted && ++made % 2 == 1 ? EINTR : 0; });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << interrupted;
    store.setObject(kNew, kKey);
    EXPECT_TRUE(store.synchronize()) << interrupted;
    EXPECT_GT(made, interrupted == "write" || interrupted == "tryLock" ? 1 : 2) << interrupted;
    EXPECT_TRUE(isIdentical(load(), kNew)) << interrupted;
  }
}

TEST_F(FoldersAndLinksTest, AFolderThatCannotBeMadePrivateNorRemovedIsAFailureOnce) {
  FaultInjectingSystemCalls calls;
  bool once = true;
  calls.setFault([&](const std::string& name, int) {
    if (name == "rmdir") return std::exchange(once, false) ? EBUSY : 0;
    return name == "chmod" && once ? EIO : 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, EIO) << "the first cause is the one that is told";
  EXPECT_TRUE(store.synchronize());
}

}  // namespace
}  // namespace qorvane
