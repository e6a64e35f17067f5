// Nobody else reads the settings, or puts others in their place.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/reliability/OrdinaryUser.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using namespace qorvane;

constexpr Text kKey = "QorvaneT1Settings2020";
const Value kOld = Dictionary{{"PCity", Text("Québec")}};
const Value kNew = Dictionary{{"PCity", Text("Gaspé")}};

class PrivacyTest : public testing::Test {
 protected:
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }

  static bool save(const Value& value, SystemCalls& calls = SystemCalls::real()) {
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(value, kKey);
    return store.synchronize();
  }
  static Value load(SystemCalls& calls = SystemCalls::real()) {
    return FileUserDefaults(FileUserDefaults::defaultFolder(), calls).objectForKey(kKey);
  }
  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }
  /// Expects that everything below .config is for its owner alone.
  void expectPrivate(const std::string& when) const {
    if (!fs::exists(home.path() / ".config")) return;
    EXPECT_EQ(modeOf(home.path() / ".config") & 077, 0u) << when;
    for (const auto& entry : fs::recursive_directory_iterator(home.path() / ".config")) {
      EXPECT_EQ(modeOf(entry.path()) & 077, 0u) << entry.path() << " " << when;
    }
  }

  TestHome home;
  LogCapture logged;
};

// Where the umask hides nothing, whoever looks between any two system calls finds nothing that is open to
// him.
TEST_F(PrivacyTest, NothingIsOpenToOthersAtAnyMoment) {
  const mode_t before = umask(0);
  for (const int lockError : {0, ENOLCK})
    for (const int linkError : {0, EPERM}) {
      if (lockError != 0 && linkError != 0) continue;
      fs::remove_all(home.path() / ".config");
      int looks = 0;
      FaultInjectingSystemCalls calls;
      calls.setSyncing(false);
      calls.setFault([&](const std::string& name, int) {
        ++looks;
        expectPrivate("before " + name + ", look " + std::to_string(looks));
        return name == "tryLock" ? lockError : name == "link" ? linkError : 0;
      });
      for (const Value& value : {kOld, kNew, Value(), kOld}) EXPECT_TRUE(save(value, calls));
      writeFile(file(), "junk");
      fs::permissions(file(), fs::perms(0600));
      EXPECT_TRUE(isIdentical(load(calls), kNew));
      expectPrivate("at the end");
      EXPECT_EQ(modeOf(file()), 0600u);
      EXPECT_EQ(modeOf(home.store()), 0700u);
      EXPECT_GT(looks, 100);
    }
  umask(before);
}

// A umask that takes the owner's own rights makes nothing that the owner cannot use.
TEST_F(PrivacyTest, AnyUmaskLeavesTheOwnerHisRights) {
  asOrdinaryUser(home.path(), [&] {
    umask(0777);
    EXPECT_TRUE(save(kOld) && save(kNew)) << (logged.lines().empty() ? "" : logged.lines()[0]);
    EXPECT_TRUE(isIdentical(load(), kNew));
    EXPECT_EQ(modeOf(file()), 0600u);
    EXPECT_EQ(modeOf(FileUserDefaults().generations(kKey).at(0).path), 0600u);
    EXPECT_EQ(modeOf(home.store() / ".lock"), 0600u);
    EXPECT_EQ(modeOf(home.store()), 0700u);
    EXPECT_EQ(modeOf(home.path() / ".config"), 0700u);
  });
}

// ---- whose folder it is -------------------------------------------------------------------------------

// The folder has this owner and mode, whatever it really has.
class FolderOf : public SystemCalls {
 public:
  FolderOf(uid_t user, uid_t owner, mode_t mode) : user_(user), owner_(owner), mode_(mode) {}

  int stat(const char* path, struct ::stat* status) override {
    return changed(SystemCalls::stat(path, status), *status);
  }
  int fstat(int file, struct ::stat* status) override {
    return changed(SystemCalls::fstat(file, status), *status);
  }
  uid_t geteuid() override { return user_; }

 private:
  int changed(int result, struct ::stat& status) const {
    if (result == 0 && S_ISDIR(status.st_mode)) {
      status.st_uid = owner_;
      status.st_mode = S_IFDIR | mode_;
    }
    return result;
  }

  uid_t user_;
  uid_t owner_;
  mode_t mode_;
};

TEST_F(PrivacyTest, AFolderThatOthersMayChangeIsRefused) {
  constexpr uid_t kRoot = 0;
  constexpr uid_t kMe = 1000;
  constexpr uid_t kOther = 1001;
  struct Row {
    uid_t user;
    uid_t owner;
    mode_t mode;
    bool reads;
    bool saves;
  };
  const Row rows[] = {
      {kMe, kMe, 0700, true, true},      {kMe, kMe, 0755, true, true},      {kMe, kMe, 0775, false, false},
      {kMe, kMe, 0757, false, false},    {kMe, kMe, 01777, false, false},   {kMe, kRoot, 0755, true, false},
      {kMe, kRoot, 01777, false, false}, {kMe, kOther, 0755, false, false}, {kRoot, kRoot, 0700, true, true},
      {kRoot, kRoot, 0770, true, false}, {kRoot, kMe, 0700, true, false},   {kRoot, kMe, 0777, true, false},
  };
  ASSERT_TRUE(save(kOld));
  const std::string bytes = readFile(file());
  for (const Row& row : rows) {
    const std::string what = "user " + std::to_string(row.user) + ", folder of " + std::to_string(row.owner) +
                             ", mode " + std::to_string(row.mode);
    FolderOf calls(row.user, row.owner, row.mode);
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    if (row.reads) {
      EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << what;
      EXPECT_NO_THROW(store.inspect(kKey));
    } else {
      EXPECT_THROW(store.objectForKey(kKey), FileException) << what;
      EXPECT_THROW(store.inspect(kKey), FileException) << what;
      EXPECT_THROW(store.generations(kKey), FileException) << what;
    }
    store.setObject(kOld, kKey);
    EXPECT_EQ(store.synchronize(), row.saves) << what;
    if (!row.saves) {
      EXPECT_EQ(readFile(file()), bytes) << what;
      EXPECT_EQ(store.lastFailure()->systemError, EACCES) << what;
      const std::string reason = store.lastFailure()->reason(Language::English).string();
      EXPECT_NE(reason.find(home.store().string()), reason.npos) << reason;
      EXPECT_NE(reason.find(row.user == row.owner ? "chmod go-w" : "another user"), reason.npos) << reason;
    }
    fs::remove_all(home.store());
    ASSERT_TRUE(save(kOld));
    EXPECT_EQ(readFile(file()), bytes);
  }
}

// The same with a folder that really is another's: /etc is root's.
TEST_F(PrivacyTest, TheFolderOfRootIsNotSavedIn) {
  asOrdinaryUser(home.path(), [&] {
    FileUserDefaults store("/etc");
    store.setObject(kOld, kKey);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.lastFailure()->systemError, EACCES);
    EXPECT_NE(store.lastFailure()->reason(Language::English).view().find("belongs to another user"),
              std::string_view::npos);
    EXPECT_TRUE(store.objectForKey("NoSuchKey").isNil()) << "it may be read";
  });
}

TEST_F(PrivacyTest, AFolderMadeByOthersIsUsedAsItIs) {
  fs::create_directories(home.store());
  fs::permissions(home.path() / ".config", fs::perms(0755));
  fs::permissions(home.store(), fs::perms(0755));
  EXPECT_TRUE(save(kOld));
  EXPECT_EQ(modeOf(home.store()), 0755u);
  EXPECT_EQ(modeOf(file()), 0600u);
}

TEST_F(PrivacyTest, WhatIsKeptOfAFileThatWasOpenToOthersIsNot) {
  const std::string theirs = writePropertyList(Dictionary{{kKey, kOld}}, PropertyListFormat::Xml);
  for (const std::string& bytes : {theirs, std::string("junk")}) {
    fs::remove_all(home.store());
    writeFile(file(), bytes);
    fs::permissions(home.store(), fs::perms(0755));
    fs::permissions(file(), fs::perms(0644));
    EXPECT_TRUE(save(kNew));
    for (const auto& entry : fs::directory_iterator(home.store())) {
      EXPECT_EQ(modeOf(entry.path()), 0600u) << entry.path();
    }
  }
}

// ---- links ---------------------------------------------------------------------------------------------

TEST_F(PrivacyTest, ALinkedFolderIsFollowed) {
  fs::create_directories(home.path() / "dotfiles");
  fs::permissions(home.path() / "dotfiles", fs::perms(0700));
  fs::create_directories(home.path() / ".config");
  fs::create_directory_symlink("../dotfiles", home.store());
  EXPECT_TRUE(save(kOld));
  EXPECT_TRUE(fs::is_symlink(home.store()));
  EXPECT_TRUE(fs::exists(home.path() / "dotfiles" / file().filename()));
  fs::permissions(home.path() / "dotfiles", fs::perms(0777));
  EXPECT_FALSE(save(kNew)) << "the folder that counts is the one it leads to";
}

TEST_F(PrivacyTest, ALinkIntoAMissingFolderIsAFailureThatMakesNothing) {
  fs::create_directories(home.store());
  fs::create_symlink(home.path() / "missing" / "settings", file());
  EXPECT_TRUE(load().isNil());
  EXPECT_FALSE(save(kOld));
  EXPECT_TRUE(fs::is_symlink(file()));
  EXPECT_FALSE(fs::exists(home.path() / "missing"));
  ASSERT_EQ(logged.lines().size(), 1u);
  EXPECT_NE(logged.lines()[0].view().find("missing"), std::string_view::npos) << logged.lines()[0];
}

TEST_F(PrivacyTest, NothingButTheTargetOfALinkIsTouchedOutsideTheFolder) {
  const fs::path target = home.path() / "dotfiles" / "settings";
  writeFile(home.path() / "dotfiles" / "bystander", "mine");
  fs::create_directories(home.store());
  fs::create_symlink(target, file());
  EXPECT_TRUE(save(kOld) && save(kNew));
  writeFile(target, "junk");
  EXPECT_TRUE(isIdentical(load(), kOld));
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(home.path() / "dotfiles"))
    found.push_back(entry.path().filename());
  std::ranges::sort(found);
  EXPECT_EQ(found, (std::vector<std::string>{".lock", "bystander", "settings"}))
      << "what is set aside is in our folder";
  EXPECT_EQ(readFile(home.path() / "dotfiles" / "bystander"), "mine");
}

TEST_F(PrivacyTest, TheFolderOfALinksTargetIsCheckedLikeOurs) {
  const fs::path folder = home.path() / "dotfiles";
  fs::create_directories(folder);
  fs::create_directories(home.store());
  fs::create_symlink(folder / "settings", file());
  ASSERT_TRUE(save(kOld));
  const std::string bytes = readFile(folder / "settings");
  fs::permissions(folder, fs::perms(0777));
  if (geteuid() != 0) {
    EXPECT_THROW(load(), FileException);
  }
  EXPECT_FALSE(save(kNew)) << "another user could put something else in the target's place";
  EXPECT_NE(logged.lines().back().view().find(folder.string()), std::string_view::npos);
  EXPECT_EQ(readFile(folder / "settings"), bytes);
  fs::permissions(folder, fs::perms(0700));
  EXPECT_TRUE(save(kNew));
}

TEST_F(PrivacyTest, WhatStandsBesideALinksTargetIsNotOurs) {
  const fs::path target = home.path() / "dotfiles" / "settings";
  writeFile(target.string() + ".new", "mine");
  fs::create_directories(home.store());
  fs::create_symlink(target, file());
  EXPECT_TRUE(save(kOld) && save(kNew));
  EXPECT_EQ(readFile(target.string() + ".new"), "mine");
}

// ---- root in another user's home
// ---------------------------------------------------------------------------

// Folders that root made on the way would lock the user out.
TEST_F(PrivacyTest, RootMakesNoFolderInAnotherUsersHome) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can be refused";
  const fs::path eve = home.path() / "eve";
  fs::create_directories(eve);
  ASSERT_EQ(chown(eve.c_str(), 65534, 65534), 0);
  const auto expectRefused = [&](const fs::path& folder) {
    FileUserDefaults store(folder.string());
    store.setObject(kOld, kKey);
    EXPECT_FALSE(store.synchronize()) << folder;
    EXPECT_EQ(store.lastFailure()->systemError, EACCES);
    const Text reason = store.lastFailure()->reason(Language::English);
    EXPECT_NE(reason.view().find("sudo -u '#65534'"), std::string_view::npos) << reason;
    EXPECT_FALSE(fs::exists(folder));
  };
  expectRefused(eve / ".config" / "Qorvane");
  EXPECT_TRUE(fs::is_empty(eve));
  // By HOME, with a folder of root's on the way.
  setenv("HOME", eve.c_str(), 1);
  fs::create_directories(eve / ".config");
  expectRefused(eve / ".config" / "Qorvane");
  // Elsewhere root does as it likes.
  FileUserDefaults own((home.path() / "own" / "Qorvane").string());
  own.setObject(kOld, kKey);
  EXPECT_TRUE(own.synchronize());
}

TEST_F(PrivacyTest, ATargetThatBelongsToAnotherUserIsReadAndNotReplaced) {
  class TargetOfAnother : public SystemCalls {
   public:
    int lstat(const char* path, struct ::stat* status) override {
      const int result = SystemCalls::lstat(path, status);
      if (std::string_view(path).ends_with("theirs")) status->st_uid = geteuid() + 1;
      return result;
    }
  };
  const fs::path target = home.path() / "theirs";
  writeFile(target, writePropertyList(Dictionary{{kKey, kOld}}, PropertyListFormat::Xml));
  const std::string bytes = readFile(target);
  fs::create_directories(home.store());
  fs::create_symlink(target, file());
  TargetOfAnother calls;
  EXPECT_TRUE(isIdentical(load(calls), kOld));
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, EACCES);
  EXPECT_NE(store.lastFailure()->reason(Language::English).view().find(target.string()),
            std::string_view::npos);
  EXPECT_EQ(readFile(target), bytes);
  // Nor is it mended.
  writeFile(target, "junk");
  EXPECT_TRUE(load(calls).isNil());
  EXPECT_EQ(readFile(target), "junk");
}

TEST_F(PrivacyTest, ATargetThatReallyBelongsToRootIsReadAndNotReplaced) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a file of another user";
  const fs::path target = home.path() / "theirs";
  fs::create_directories(home.store());
  fs::create_symlink(target, file());
  fs::permissions(home.store(), fs::perms(0700));
  // In the folder of the one who saves: nothing but the store keeps him from replacing it.
  asOrdinaryUser(home.path(), [&] {
    EXPECT_TRUE(save(kOld));
    EXPECT_TRUE(fs::exists(target));
  });
  if (IsSkipped()) return;
  const std::string bytes = readFile(target);
  fs::permissions(target, fs::perms(0644));
  ASSERT_EQ(chown(target.c_str(), 0, 0), 0);
  const pid_t child = fork();
  if (child == 0) {
    if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
    EXPECT_TRUE(isIdentical(load(), kOld));
    EXPECT_FALSE(save(kNew));
    _exit(HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(readFile(target), bytes);
  struct stat after {};
  ASSERT_EQ(::stat(target.c_str(), &after), 0);
  EXPECT_EQ(after.st_uid, 0u);
}

TEST_F(PrivacyTest, ALinkThatCannotBeFollowedIsNotTakenForAFile) {
  const fs::path target = home.path() / "dotfiles" / "settings";
  fs::create_directories(target.parent_path());
  fs::create_directories(home.store());
  fs::create_symlink(target, file());
  ASSERT_TRUE(save(kOld));
  FaultInjectingSystemCalls calls;
  calls.setFault([](const std::string& name, int) { return name == "readlink" ? EIO : 0; });
  EXPECT_FALSE(save(kNew, calls));
  EXPECT_TRUE(fs::is_symlink(file()));
}

TEST_F(PrivacyTest, AnotherNameOfTheFileKeepsWhatItHeld) {
  ASSERT_TRUE(save(kOld));
  const std::string old = readFile(file());
  fs::create_hard_link(file(), home.path() / "mine");
  EXPECT_TRUE(save(kNew));
  EXPECT_EQ(readFile(home.path() / "mine"), old);
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(PrivacyTest, ALinkInTheLocksPlaceIsNotFollowed) {
  fs::create_directories(home.store());
  fs::create_symlink(home.path() / "elsewhere", home.store() / ".lock");
  EXPECT_FALSE(save(kOld));
  EXPECT_FALSE(fs::exists(home.path() / "elsewhere"));
}

TEST_F(PrivacyTest, ALinkInTheNewFilesPlaceIsNotFollowed) {
  fs::create_directories(home.store());
  writeFile(home.path() / "victim", "mine");
  fs::create_symlink(home.path() / "victim", file().string() + ".new");
  fs::create_symlink(home.path() / "victim", home.store() / ".QorvaneT1Settings2020.0123456789abcdef.new");
  EXPECT_TRUE(save(kOld) && save(kNew));
  EXPECT_EQ(readFile(home.path() / "victim"), "mine");
}

// Not even when it comes between our looking and our writing.
TEST_F(PrivacyTest, ALinkThatComesAtTheLastMomentIsNotFollowed) {
  class Intruder : public SystemCalls {
    int open(const char* path, int flags, mode_t mode) override {
      if ((flags & O_EXCL) != 0) {
        EXPECT_EQ(symlink(victim.c_str(), path), 0);
      }
      return SystemCalls::open(path, flags, mode);
    }

   public:
    fs::path victim;
  };
  ASSERT_TRUE(save(kOld));
  writeFile(home.path() / "victim", "mine");
  Intruder calls;
  calls.victim = home.path() / "victim";
  EXPECT_FALSE(save(kNew, calls));
  EXPECT_EQ(readFile(home.path() / "victim"), "mine");
  EXPECT_TRUE(isIdentical(load(), kOld));
}

// ---- what is told --------------------------------------------------------------------------------------

// Whatever is wrong with a file, what the log and the errors say of it holds no piece of a value.
TEST_F(PrivacyTest, NoLineAndNoReasonQuotesAValue) {
  const std::string secret = "Kzq>wxjvb>nmgfd";
  const Value settings = Dictionary{{"Pwd", Text(secret)}, {"Blob", Data(secret)}};
  const auto expectSilent = [&](std::string_view told) {
    for (std::size_t at = 0; at + 3 <= secret.size(); ++at) {
      EXPECT_EQ(told.find(secret.substr(at, 3)), told.npos) << told;
    }
  };
  int damages = 0;
  for (const PropertyListFormat format : {PropertyListFormat::Binary, PropertyListFormat::Xml}) {
    std::string good = writePropertyList(Dictionary{{kKey, settings}}, format);
    // XML may say it so too.
    for (std::size_t at; (at = good.find("&gt;")) != good.npos;) good.replace(at, 4, ">");
    const auto expectSilentAbout = [&](const std::string& bytes) {
      writeFile(file(), bytes);
      const auto found = FileUserDefaults().inspect(kKey);
      if (found.state != FileUserDefaults::Inspection::State::Damaged) return;
      ++damages;
      for (const Language language : {Language::English, Language::French})
        expectSilent(found.damage->reason(language).view());
    };
    for (std::size_t at = 0; at < good.size() && !HasFailure(); ++at) {
      expectSilentAbout(good.substr(0, at));
      for (const char byte : {'<', '>', '&', '\0', '\x7f', '/'}) {
        std::string bytes = good;
        bytes[at] = byte;
        expectSilentAbout(bytes);
      }
      for (int bit = 0; bit < 8; ++bit) {
        std::string bytes = good;
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << bit));
        expectSilentAbout(bytes);
      }
    }
  }
  EXPECT_GT(damages, 1000);

  // A load of damage, and saves that fail at each call.
  for (int failing = 1;; ++failing) {
    fs::remove_all(home.store());
    ASSERT_TRUE(save(kOld));
    FaultInjectingSystemCalls calls;
    calls.setSyncing(false);
    calls.setFault([&](const std::string&, int call) { return call == failing ? EIO : 0; });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(settings, kKey);
    if (!store.synchronize()) expectSilent(store.lastFailure()->reason(Language::English).view());
    if (static_cast<int>(calls.calls().size()) < failing) break;
  }
  writeFile(file(), readFile(file()).substr(1));
  load();
  // Values that cannot be stored.
  FileUserDefaults store;
  try {
    store.setObject(Array{Text(secret), Value()}, kKey);
    ADD_FAILURE();
  } catch (const Exception& error) {
    expectSilent(error.what());
  }
  EXPECT_GT(logged.lines().size(), 10u);
  for (const Text& line : logged.lines()) expectSilent(line.view());
}

}  // namespace
}  // namespace testing_support
