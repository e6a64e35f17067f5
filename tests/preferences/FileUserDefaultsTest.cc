// The preference files: what stands on the disk, and what is promised when something goes wrong.
#include "qorvane/preferences/FileUserDefaults.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <tuple>
#include <utility>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;
using testing_support::readFile;
using testing_support::writeFile;
using State = FileUserDefaults::Inspection::State;

constexpr Text kKey = "QorvaneT1Settings2020";
const Value kOld = Dictionary{{"PCity", Text("Québec")}, {"Number", Number(1)}};
const Value kNew = Dictionary{{"PCity", Text("Gaspé")}, {"Bytes", Data("x")}};

// Thousands of files are saved here; that they reach the disk is a matter of a few tests only.
class CallsWithoutSync : public SystemCalls {
  int fsync(int) override { return 0; }
};

class FileUserDefaultsTest : public testing::Test {
 protected:
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }
  fs::path backup() const { return file().string() + ".bak"; }

  void save(const Value& value) {
    CallsWithoutSync calls;
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(value, kKey);
    ASSERT_TRUE(store.synchronize()) << store.lastFailure()->reason(Language::English);
  }
  static Value load() { return FileUserDefaults().objectForKey(kKey); }

  /// The names in the store's folder, sorted, without the lock's.
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    if (fs::exists(home.store()))
      for (const auto& entry : fs::directory_iterator(home.store()))
        if (entry.path().filename() != ".lock") found.push_back(entry.path().filename().string());
    std::ranges::sort(found);
    return found;
  }
  static mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }

  testing_support::TestHome home;
  LogCapture logged;
};

TEST_F(FileUserDefaultsTest, KeepsOneFileForEachKey) {
  save(kOld);
  EXPECT_EQ(names(), std::vector<std::string>{"QorvaneT1Settings2020.plist"});
  EXPECT_TRUE(isIdentical(load(), kOld));
  const Value top = readPropertyList(readFile(file()));
  ASSERT_NE(top.asDictionary(), nullptr);
  EXPECT_EQ(top.asDictionary()->size(), 1u);
  EXPECT_TRUE(isIdentical(*top.asDictionary()->find(kKey), kOld));
}

TEST_F(FileUserDefaultsTest, ReadsNothingFromAnEmptyHomeAndMakesNothing) {
  EXPECT_TRUE(load().isNil());
  EXPECT_FALSE(fs::exists(home.store()));
}

TEST_F(FileUserDefaultsTest, AnObjectSetIsAnsweredAtOnceAndWrittenBySynchronize) {
  FileUserDefaults store;
  store.setObject(kOld, kKey);
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld));
  EXPECT_FALSE(fs::exists(file()));
  EXPECT_TRUE(store.synchronize());
  EXPECT_FALSE(store.lastFailure());
  EXPECT_TRUE(fs::exists(file()));
}

TEST_F(FileUserDefaultsTest, WhatIsOnTheDiskIsTheDisksFromThenOn) {
  FileUserDefaults store;
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  save(kNew);  // Another program.
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew));
  EXPECT_TRUE(store.synchronize()) << "there is nothing to save";
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(FileUserDefaultsTest, TheFileBeforeIsTheLastGoodCopy) {
  save(kOld);
  const std::string old = readFile(file());
  save(kNew);
  EXPECT_EQ(readFile(backup()), old);
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(FileUserDefaultsTest, ARemovedEntryGoesToTheLastGoodCopy) {
  save(kOld);
  const std::string old = readFile(file());
  save(nullptr);
  EXPECT_FALSE(fs::exists(file()));
  EXPECT_EQ(readFile(backup()), old);
  EXPECT_TRUE(load().isNil());
  save(nullptr);
  EXPECT_EQ(readFile(backup()), old) << "removing nothing leaves the copy";
}

TEST_F(FileUserDefaultsTest, EachSaveRaisesTheGeneration) {
  for (std::uint64_t generation = 1; generation <= 3; ++generation) {
    save(kOld);
    const SealCheck seal = checkSeal(readFile(file()));
    EXPECT_EQ(seal.state, SealState::Intact);
    EXPECT_EQ(seal.generation, generation);
  }
}

TEST_F(FileUserDefaultsTest, FoldersFromTheEnvironment) {
  EXPECT_EQ(FileUserDefaults::defaultFolder(), home.path() / ".config/Qorvane");
  setenv("XDG_CONFIG_HOME", "/somewhere/else", 1);
  EXPECT_EQ(FileUserDefaults::defaultFolder(), "/somewhere/else/Qorvane");
  setenv("XDG_CONFIG_HOME", "relative", 1);
  EXPECT_EQ(FileUserDefaults::defaultFolder(), home.path() / ".config/Qorvane");
  setenv("XDG_CONFIG_HOME", "", 1);
  EXPECT_EQ(FileUserDefaults::defaultFolder(), home.path() / ".config/Qorvane");
  unsetenv("HOME");
  EXPECT_EQ(FileUserDefaults::defaultFolder(), "");
}

TEST_F(FileUserDefaultsTest, WithoutAHomeEveryOperationSaysSo) {
  FileUserDefaults store{std::string()};
  EXPECT_THROW(store.objectForKey(kKey), FileException);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_NE(store.lastFailure()->reason(Language::English).view().find("HOME"), std::string_view::npos);
}

TEST_F(FileUserDefaultsTest, KeysThatCannotNameAFileAreRefused) {
  FileUserDefaults store;
  for (const Text& key :
       {Text(""), Text("a/b"), Text("../up"), Text(".lock"), Text(std::string_view("a\0b", 3))}) {
    EXPECT_THROW(store.objectForKey(key), Exception) << key;
    store.setObject(kOld, key);
    EXPECT_FALSE(store.synchronize());
  }
  EXPECT_EQ(names(), std::vector<std::string>());
}

TEST_F(FileUserDefaultsTest, WhatIsNoPropertyListIsRefused) {
  FileUserDefaults store;
  EXPECT_THROW(store.setObject(Array{Value()}, kKey), Exception);
  EXPECT_THROW(store.setObject(kOld, nullptr), Exception);
  Value deep = Text("x");
  for (int i = 0; i < 600; ++i) deep = Array{deep};
  EXPECT_THROW(store.setObject(deep, kKey), Exception);
  EXPECT_TRUE(store.objectForKey(kKey).isNil());
}

// ---- private ---------------------------------------------------------------------------------------------

TEST_F(FileUserDefaultsTest, FilesAndFoldersArePrivateUnderAnyUmask) {
  for (const mode_t mask : {0000u, 0022u, 0077u, 0277u}) {
    fs::remove_all(home.path() / ".config");
    const mode_t before = umask(mask);
    save(kOld);
    save(kNew);
    umask(before);
    EXPECT_EQ(modeOf(file()), 0600u) << mask;
    EXPECT_EQ(modeOf(backup()), 0600u) << mask;
    if ((mask & 0700) == 0) {
      EXPECT_EQ(modeOf(home.store()), 0700u) << mask;
    }
  }
}

TEST_F(FileUserDefaultsTest, ASymbolicLinkIsFollowedAndStays) {
  const fs::path elsewhere = home.path() / "dotfiles" / "settings.plist";
  fs::create_directories(elsewhere.parent_path());
  fs::create_directories(home.store());
  fs::create_symlink("../../dotfiles/settings.plist", file());
  save(kOld);  // The link dangles: its target is made.
  EXPECT_TRUE(fs::is_symlink(file()));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(elsewhere)));
  save(kNew);
  EXPECT_TRUE(fs::is_symlink(file()));
  EXPECT_TRUE(isIdentical(load(), kNew));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(backup())));
  save(nullptr);
  EXPECT_TRUE(fs::is_symlink(file())) << "what the link points to is removed, not the link";
  EXPECT_FALSE(fs::exists(elsewhere));
}

TEST_F(FileUserDefaultsTest, ALoopOfLinksIsAFailureThatChangesNothing) {
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
TEST_F(FileUserDefaultsTest, AChainOfLinksIsFollowedAsFarAsTheKernelDoes) {
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
TEST_F(FileUserDefaultsTest, LinksThatNeverEndAreAFailure) {
  class EndlessLinks : public SystemCalls {
    ssize_t readlink(const char*, char* target, std::size_t) override {
      *target = 'x';
      return 1;
    }
  };
  EndlessLinks calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, ELOOP);
  EXPECT_EQ(names(), std::vector<std::string>());
}

TEST_F(FileUserDefaultsTest, WhatIsNoFileIsNotWaitedFor) {
  fs::create_directories(home.store());
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_THROW(load(), FileException);
}

// And neither are they lost: a pipe or a folder in the file's place is set aside like a file that cannot be
// read.
TEST_F(FileUserDefaultsTest, WhatIsNoFileIsSetAside) {
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

TEST_F(FileUserDefaultsTest, ALinkThroughAFileLeadsNowhere) {
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

TEST_F(FileUserDefaultsTest, FoldersThatAnotherProcessMakesMeanwhileAreUsed) {
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
TEST_F(FileUserDefaultsTest, AFolderThatCanBeMadeNowhereIsAFailure) {
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
TEST_F(FileUserDefaultsTest, AFolderThatCannotBeMadeWhollyIsNotMade) {
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
TEST_F(FileUserDefaultsTest, AnInterruptedCallIsMadeAgain) {
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

TEST_F(FileUserDefaultsTest, AFolderThatCannotBeMadePrivateNorRemovedIsAFailureOnce) {
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

// ---- files of other programs ------------------------------------------------------------------------

TEST_F(FileUserDefaultsTest, ReadsFilesOfOtherWritersAndKeepsWhatStandsBeside) {
  for (const PropertyListFormat format : {PropertyListFormat::Binary, PropertyListFormat::Xml}) {
    const Dictionary top{{"Other settings", Array{Text("a"), Number(2.5), Number(true)}}, {kKey, kOld}};
    writeFile(file(), writePropertyList(top, format));
    EXPECT_TRUE(isIdentical(load(), kOld));
    save(kNew);
    const Value after = readPropertyList(readFile(file()));
    EXPECT_TRUE(isIdentical(*after.asDictionary()->find(kKey), kNew));
    EXPECT_TRUE(isIdentical(*after.asDictionary()->find("Other settings"), *top.find("Other settings")));
    EXPECT_TRUE(isIdentical(readPropertyList(readFile(backup())), top));
  }
}

TEST_F(FileUserDefaultsTest, ASealedFileRewrittenByAnotherProgramIsNotDamaged) {
  save(kOld);
  const Value top = readPropertyList(readFile(file()));
  writeFile(file(), writePropertyList(top, PropertyListFormat::Binary));
  EXPECT_TRUE(isIdentical(load(), kOld));
  EXPECT_EQ(FileUserDefaults().inspect(kKey).sealed, false);
  EXPECT_TRUE(logged.lines().empty());
}

// A store remembers what the file held when it last read or wrote it; what others did since must not escape
// it.
TEST_F(FileUserDefaultsTest, EachSaveOfAStoreSeesWhatTheFileHoldsNow) {
  CallsWithoutSync calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  const auto saveHere = [&](const Value& value) {
    store.setObject(value, kKey);
    ASSERT_TRUE(store.synchronize()) << store.lastFailure()->reason(Language::English);
  };
  const auto setAside = [&] {
    return std::ranges::count_if(names(),
                                 [](const std::string& name) { return name.find("damaged") != name.npos; });
  };
  saveHere(kOld);
  saveHere(kNew);
  saveHere(kOld);
  EXPECT_EQ(store.inspect(kKey).generation, 3u);
  EXPECT_EQ(store.inspectBackup(kKey).generation, 2u);

  save(kNew);
  saveHere(kOld);
  EXPECT_EQ(store.inspect(kKey).generation, 5u) << "another store saved meanwhile";

  const Dictionary top{{"Other settings", Number(1)}, {kKey, kOld}};
  writeFile(file(), writePropertyList(top, PropertyListFormat::Binary));
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld));
  for (const Value& value : {kNew, kOld, kNew}) {
    saveHere(value);
    ASSERT_TRUE(readPropertyList(readFile(file())).asDictionary()->find("Other settings"));
  }

  saveHere(kOld);
  EXPECT_EQ(setAside(), 0);
  std::string bytes = readFile(file());
  bytes[bytes.size() / 2] ^= 1;
  writeFile(file(), bytes);
  saveHere(kNew);
  EXPECT_EQ(setAside(), 1);
  for (int known = 0; known < 2; ++known) {
    writeFile(file(), "");
    if (known == 0)
      saveHere(kOld);
    else
      save(kOld);
    EXPECT_EQ(setAside(), 2 + known) << "an empty file is no good one, for a new store neither";
  }
  EXPECT_TRUE(isIdentical(load(), kOld));
}

// ---- damage -----------------------------------------------------------------------------------------

class DamageTest : public FileUserDefaultsTest {
 protected:
  DamageTest() {
    save(kOld);
    save(kNew);
    good = readFile(file());
    copy = readFile(backup());
  }

  // What the files whose names hold this word contain, sorted.
  std::vector<std::string> contentsNamed(std::string_view word) const {
    std::vector<std::string> found;
    for (const std::string& name : names())
      if (name.find(word) != name.npos) found.push_back(readFile(home.store() / name));
    std::ranges::sort(found);
    return found;
  }

  // Puts the bytes in the file's place, loads, and checks that they were noticed, kept, and made good.
  void expectRecovered(const std::string& bytes, const std::string& what) {
    for (const std::string& name : names())
      if (name.find(".damaged-") != name.npos) fs::remove(home.store() / name);
    writeFile(file(), bytes);
    writeFile(backup(), copy);
    logged.clear();
    ASSERT_EQ(FileUserDefaults().inspect(kKey).state, State::Damaged) << what;
    ASSERT_EQ(readFile(file()), bytes) << "inspecting changes nothing";
    CallsWithoutSync calls;
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    ASSERT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << what;
    ASSERT_EQ(logged.lines().size(), 1u) << what;
    const std::vector<std::string> all = names();
    ASSERT_EQ(all.size(), 3u) << what;
    ASSERT_TRUE(all[2].starts_with("QorvaneT1Settings2020.plist.damaged-")) << all[2];
    ASSERT_EQ(readFile(home.store() / all[2]), bytes) << what;
    const std::string_view line = logged.lines()[0].view();
    ASSERT_NE(line.find(all[2]), line.npos) << line;
    ASSERT_NE(line.find(backup().string()), line.npos) << line;
    // The next load finds a good file.
    ASSERT_TRUE(isIdentical(load(), kOld)) << what;
    ASSERT_EQ(logged.lines().size(), 1u) << what;
  }

  std::string good;
  std::string copy;
};

TEST_F(DamageTest, EveryTruncationIsNoticed) {
  for (std::size_t length = 0; length < good.size(); ++length)
    expectRecovered(good.substr(0, length), "cut to " + std::to_string(length) + " bytes");
  RecordProperty("bytes", static_cast<int>(good.size()));
}

TEST_F(DamageTest, EveryFlippedBitIsNoticed) {
  for (std::size_t at = 0; at < good.size(); ++at)
    for (int bit = 0; bit < 8; ++bit) {
      std::string bytes = good;
      bytes[at] = static_cast<char>(bytes[at] ^ (1 << bit));
      expectRecovered(bytes, "bit " + std::to_string(bit) + " of byte " + std::to_string(at));
    }
}

TEST_F(DamageTest, FilesOfAnotherKindAreNoticed) {
  expectRecovered(std::string(good.size(), '\0'), "all zero");
  expectRecovered("", "empty");
  expectRecovered("\x89PNG\r\n\x1a\n", "a picture");
  expectRecovered(good + "x", "one byte more");
  expectRecovered(writePropertyList(Dictionary{{"SomebodyElse", kOld}}, PropertyListFormat::Binary),
                  "other keys");
  expectRecovered(writePropertyList(Text("text"), PropertyListFormat::Xml), "no dictionary");
}

TEST_F(DamageTest, WithoutAGoodCopyTheSettingsStartAfreshAndTheBytesAreKept) {
  fs::remove(backup());
  writeFile(file(), "junk");
  EXPECT_TRUE(load().isNil());
  const auto all = names();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(readFile(home.store() / all[0]), "junk");
  EXPECT_EQ(logged.lines().size(), 1u);
}

TEST_F(DamageTest, ADamagedCopyIsNotLoadedAndIsKeptToo) {
  writeFile(file(), "junk");
  writeFile(backup(), "more junk");
  EXPECT_TRUE(load().isNil());
  EXPECT_EQ(readFile(backup()), "more junk");
  save(kOld);
  save(kNew);  // This save makes a new good copy.
  EXPECT_EQ(contentsNamed(".damaged-"), (std::vector<std::string>{"junk", "more junk"}));
}

TEST_F(DamageTest, WithACopyThatCannotBeReadNothingStartsAfresh) {
  writeFile(file(), "junk");
  FaultInjectingSystemCalls calls;
  int opened = 0;
  calls.setFault([&](const std::string& name, int) { return name == "open" && ++opened == 2 ? EIO : 0; });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  EXPECT_THROW(store.objectForKey(kKey), FileException);
  EXPECT_EQ(readFile(file()), "junk");
  EXPECT_EQ(readFile(backup()), copy);
  ASSERT_EQ(logged.lines().size(), 1u);
  EXPECT_NE(logged.lines()[0].view().find(backup().string()), std::string_view::npos);
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << "with the fault gone";
}

TEST_F(DamageTest, WhatAnotherProcessMendedMeanwhileIsLoaded) {
  writeFile(file(), "junk");
  FaultInjectingSystemCalls calls;
  calls.setFault([&](const std::string& name, int) {
    if (name == "tryLock") save(kNew);  // It was quicker.
    return 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  logged.clear();
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew));
  EXPECT_EQ(contentsNamed(".damaged-"), std::vector<std::string>{"junk"}) << "once";
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(DamageTest, WhatAnotherProcessRemovedMeanwhileIsGone) {
  writeFile(file(), "junk");
  FaultInjectingSystemCalls calls;
  calls.setFault([&](const std::string& name, int) {
    if (name == "tryLock") fs::remove(file());
    return 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  EXPECT_TRUE(store.objectForKey(kKey).isNil());
  EXPECT_EQ(names(), std::vector<std::string>{backup().filename()});
}

TEST_F(DamageTest, ASaveOverADamagedFileKeepsItAndTheGoodCopy) {
  writeFile(file(), "junk");
  save(kNew);
  EXPECT_EQ(readFile(backup()), copy);
  EXPECT_EQ(readFile(home.store() / names()[2]), "junk");
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(DamageTest, TwoDamagedFilesOfOneSecondAreBothKept) {
  for (const char* junk : {"one", "two", "three"}) {
    writeFile(file(), junk);
    load();
  }
  EXPECT_EQ(contentsNamed(".damaged-"), (std::vector<std::string>{"one", "three", "two"}));
}

// A name that is taken is passed over, whatever else may be asked of it.
TEST_F(DamageTest, ATakenNameIsPassedOver) {
  FaultInjectingSystemCalls calls;
  calls.setTime(2'000'000'000);
  calls.setFault([](const std::string& name, int) { return name == "lstat" ? EIO : 0; });
  for (const char* junk : {"one", "two"}) {
    writeFile(file(), junk);
    EXPECT_TRUE(
        isIdentical(FileUserDefaults(FileUserDefaults::defaultFolder(), calls).objectForKey(kKey), kOld));
  }
  EXPECT_EQ(contentsNamed(".damaged-"), (std::vector<std::string>{"one", "two"}));
}

TEST_F(DamageTest, AClockThatGoesBackwardsOverwritesNothing) {
  FaultInjectingSystemCalls calls;
  // With hard links and without them: the two ways of setting aside.
  for (const int linkFails : {0, EPERM}) {
    calls.setFault([&](const std::string& name, int) { return name == "link" ? linkFails : 0; });
    for (const std::time_t now : {2'000'000'000, 1'000'000'000, 2'000'000'000, 0, -1'000'000'000}) {
      calls.setTime(now);
      writeFile(file(), "junk at " + std::to_string(now));
      FileUserDefaults(FileUserDefaults::defaultFolder(), calls).objectForKey(kKey);
    }
  }
  EXPECT_EQ(contentsNamed(".damaged-").size(), 10u);
}

TEST_F(DamageTest, WhereNobodyKnowsWhetherANameIsTakenNothingIsMovedToIt) {
  writeFile(file(), "junk");
  FaultInjectingSystemCalls calls;
  calls.setFault([](const std::string& name, int) {
    return name == "link" ? EPERM : name == "lstat" ? EIO : 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld));
  EXPECT_EQ(readFile(file()), "junk");
  EXPECT_EQ(names().size(), 2u);
}

TEST_F(DamageTest, AnUnreadableFileIsNeverOverwritten) {
  // Reading fails below this caller, as for a file of somebody else or a bad disk.
  FaultInjectingSystemCalls calls;
  int reads = 0;
  calls.setFault([&](const std::string& name, int) { return name == "read" && reads++ == 0 ? EIO : 0; });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  EXPECT_THROW(store.objectForKey(kKey), FileException);
  EXPECT_EQ(readFile(file()), good);
  reads = 0;
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  const auto all = names();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_TRUE(all[2].starts_with("QorvaneT1Settings2020.plist.unreadable-")) << all[2];
  EXPECT_EQ(readFile(home.store() / all[2]), good);
  EXPECT_EQ(readFile(backup()), copy);
}

// What was set aside comes back to its place when the folder cannot be synced: nothing is half done, and the
// next save finds what this one found. In the three ways of setting aside: another name, a copy, a move.
TEST_F(DamageTest, AFileWhoseNewNameCannotBeSyncedKeepsItsOldOne) {
  for (const bool unreadable : {false, true})
    for (const bool links : {true, false})
      for (const std::string& failing : {std::string("fsync"), std::string("open")}) {
        const std::string what = failing + (unreadable ? ", unreadable" : "") + (links ? ", with links" : "");
        for (const std::string& name : names()) fs::remove(home.store() / name);
        save(kOld);
        save(kNew);
        if (!unreadable) writeFile(file(), "junk");
        const std::string before = readFile(file());
        FaultInjectingSystemCalls calls;
        int reads = 0;
        bool aside = false;
        bool failed = false;
        calls.setFault([&](const std::string& name, int) {
          if (name == "read" && unreadable && reads++ == 0) return EIO;
          for (const std::string& there : names())
            aside =
                aside || there.find(".damaged-") != there.npos || there.find(".unreadable-") != there.npos;
          if (aside && !failed && name == failing) return failed = true, EIO;
          return name == "link" && !links ? EPERM : 0;
        });
        FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
        store.setObject(kOld, kKey);
        EXPECT_FALSE(store.synchronize()) << what;
        EXPECT_TRUE(failed) << what;
        EXPECT_EQ(readFile(file()), before) << what;
        EXPECT_EQ(names(), (std::vector<std::string>{file().filename(), backup().filename()})) << what;
        reads = 0;
        EXPECT_TRUE(store.synchronize()) << what;
        EXPECT_EQ(contentsNamed(unreadable ? ".unreadable-" : ".damaged-"), std::vector<std::string>{before});
        EXPECT_TRUE(isIdentical(load(), kOld)) << what;
      }
}

TEST_F(DamageTest, ADamagedFileOnAnotherFileSystemIsPutBackWhenTheSaveFails) {
  std::string folder = "/dev/shm/optionsmgr-test-XXXXXX";
  if (!mkdtemp(folder.data())) GTEST_SKIP() << "there is no second file system that may be written";
  struct stat there;
  struct stat here;
  if (stat(folder.c_str(), &there) != 0 || stat(home.path().c_str(), &here) != 0 ||
      there.st_dev == here.st_dev) {
    fs::remove_all(folder);
    GTEST_SKIP() << "the home stands on that file system itself";
  }
  const std::string target = folder + "/settings.plist";
  for (int fault = 1;; ++fault) {
    fs::remove_all(home.store());
    fs::create_directories(home.store());
    fs::permissions(home.store(), fs::perms(0700));
    writeFile(target, "junk");
    fs::create_symlink(target, file());
    FaultInjectingSystemCalls calls;
    int syncs = 0;
    calls.setFault(
        [&](const std::string& name, int) { return name == "fsync" && ++syncs == fault ? EIO : 0; });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(kNew, kKey);
    if (store.synchronize()) {
      EXPECT_GT(fault, 2) << "syncs of the new file, the name set aside, the folder";
      break;
    }
    EXPECT_EQ(readFile(target), "junk") << "sync " << fault;
    EXPECT_TRUE(fs::is_symlink(file()));
  }
  fs::remove_all(folder);
}

TEST_F(DamageTest, AnUnreadableFileThatCannotBeMovedStays) {
  FaultInjectingSystemCalls calls;
  int reads = 0;
  calls.setFault([&](const std::string& name, int) {
    if (name == "read") return reads++ == 0 ? EIO : 0;
    return name == "link" ? EPERM : name == "rename" ? EACCES : 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(store.lastFailure()->systemError, EACCES);
  EXPECT_EQ(readFile(file()), good);
  EXPECT_EQ(names().size(), 2u);
}

// Somebody's accident, such as a backup written to the wrong place: not read into memory, and not lost.
TEST_F(DamageTest, AnEnormousFileIsNotRead) {
  fs::resize_file(file(), (std::uintmax_t{512} << 20) + 1);
  FileUserDefaults store;
  try {
    store.objectForKey(kKey);
    ADD_FAILURE();
  } catch (const FileException& error) {
    EXPECT_EQ(error.systemError(), EFBIG);
  }
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), kOld));
  const std::vector<std::string> all = names();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_NE(all[2].find(".unreadable-"), std::string::npos);
  EXPECT_EQ(fs::file_size(home.store() / all[2]), (std::uintmax_t{512} << 20) + 1);
}

TEST_F(DamageTest, SettingsThatCouldNotBeReadAreNotRemoved) {
  for (const bool stillUnreadable : {true, false}) {
    FaultInjectingSystemCalls calls;
    calls.setFault([&](const std::string& name, int) { return name == "read" ? EIO : 0; });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    EXPECT_THROW(store.objectForKey(kKey), FileException);
    if (!stillUnreadable) calls.setFault(nullptr);
    EXPECT_THROW(store.setObject(nullptr, kKey), Exception);
    EXPECT_TRUE(store.synchronize()) << "there is nothing to save";
    EXPECT_EQ(readFile(file()), good);
    calls.setFault(nullptr);
    EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew));
  }
  // Nor by a store that only finds out while it saves.
  FaultInjectingSystemCalls calls;
  calls.setFault([&](const std::string& name, int) { return name == "read" ? EIO : 0; });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(nullptr, kKey);
  EXPECT_FALSE(store.synchronize());
  EXPECT_EQ(readFile(file()), good);
  EXPECT_EQ(names().size(), 2u);
}

TEST_F(DamageTest, AProcessThatCannotReadJustNowChangesNothing) {
  for (const int error : {EMFILE, ENFILE, ENOMEM}) {
    FaultInjectingSystemCalls calls;
    int reads = 0;
    calls.setFault([&](const std::string& name, int) { return name == "read" && ++reads == 1 ? error : 0; });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(kOld, kKey);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.lastFailure()->systemError, error);
    EXPECT_EQ(readFile(file()), good);
    EXPECT_EQ(names().size(), 2u);
  }
}

TEST_F(DamageTest, InAFolderThatCannotBeChangedTheGoodCopyIsLoadedAndTheFileStays) {
  writeFile(file(), "junk");
  FaultInjectingSystemCalls calls;
  calls.setFault([&](const std::string& name, int) {
    return name == "tryLock" || name == "link" || name == "rename" || name == "unlink" ? EROFS : 0;
  });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld));
  EXPECT_EQ(readFile(file()), "junk");
  ASSERT_EQ(logged.lines().size(), 1u);
  for (const std::string& part :
       {file().string() + " is damaged", std::string("stays where it is"), backup().string()})
    EXPECT_NE(logged.lines()[0].view().find(part), std::string_view::npos) << logged.lines()[0];
}

// ---- failures ---------------------------------------------------------------------------------------

// A save or a load whose every call fails in turn with each of these causes: once, or from then on for every
// call of its kind, as on a full disk.
class FailureTest : public FileUserDefaultsTest, public testing::WithParamInterface<std::tuple<int, bool>> {
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
      EXPECT_TRUE(name == file().filename() || name == backup().filename() ||
                  name.find(".unreadable-") != name.npos || name.find(".damaged-") != name.npos)
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
              EXPECT_NE(reason.find(strerror(cause())), reason.npos) << reason;
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
               EXPECT_EQ(names().size(), 2u);
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
          copy = readFile(backup());
          writeFile(file(), "junk");
        },
        [&](const std::string& call) {
          FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
          store.setLockWait(0);
          const std::string what = (saving ? "saving: " : "loading: ") + failed + ", " + call;
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
          EXPECT_GE(logged.lines().size(), done && failed == "" ? 1u : 0u);
          EXPECT_EQ(readFile(backup()), copy) << what;
          bool kept = false;
          for (const std::string& name : names())
            kept = kept || (name.find(".new") == name.npos && readFile(home.store() / name) == "junk");
          EXPECT_TRUE(kept) << what;
          const bool mended =
              done && (logged.lines().empty() ||
                       logged.lines()[0].view().find("stays where it is") == std::string_view::npos);
          if (!mended && !forGood()) {
            EXPECT_EQ(readFile(file()), "junk") << "the failure is undone, " << what;
            EXPECT_EQ(names().size(), 2u) << what;
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
TEST_F(FileUserDefaultsTest, ANewFileThatCannotBeClosedIsNotPublished) {
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

TEST_F(FileUserDefaultsTest, AFolderThatCannotBeSyncedDoesNotHinderASave) {
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

TEST_F(FileUserDefaultsTest, WithoutHardLinksTheLastGoodCopyIsACopy) {
  save(kOld);
  const std::string old = readFile(file());
  FaultInjectingSystemCalls calls;
  calls.setFault([](const std::string& name, int) { return name == "link" ? EPERM : 0; });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(readFile(backup()), old);
  EXPECT_EQ(modeOf(backup()), 0600u);
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

TEST_F(FileUserDefaultsTest, ShortWritesAreCompleted) {
  FaultInjectingSystemCalls calls;
  calls.setLongestWrite(1);
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), kOld));
}

// Some devices say nothing else when they are full.
TEST_F(FileUserDefaultsTest, AWriteThatWritesNothingIsAFullDisk) {
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
TEST_F(FileUserDefaultsTest, AFileThatVanishesIsAFailureOnce) {
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

TEST_F(FileUserDefaultsTest, ANewFileIsSyncedBeforeItIsPublishedAndTheFolderAfter) {
  save(kOld);
  FaultInjectingSystemCalls calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(kNew, kKey);
  ASSERT_TRUE(store.synchronize());
  std::vector<std::string> order;
  for (const std::string& name : calls.calls())
    if (name == "write" || name == "fsync" || name == "rename" || name == "link") order.push_back(name);
  EXPECT_EQ(order, (std::vector<std::string>{"write", "fsync", "link", "rename", "rename", "fsync"}));
}

// ---- several writers --------------------------------------------------------------------------------

TEST_F(FileUserDefaultsTest, ALockHeldElsewhereFailsTheSaveAfterTheWait) {
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

TEST_F(FileUserDefaultsTest, TheHolderOfTheLockSavesAndTheNextOneFollows) {
  FileUserDefaults holder;
  {
    const FileUserDefaults::Lock lock(holder);
    const FileUserDefaults::Lock again(holder);
    holder.setObject(kOld, kKey);
    EXPECT_TRUE(holder.synchronize());
  }
  save(kNew);
}

TEST_F(FileUserDefaultsTest, ALockOfAKilledProcessDoesNotBlock) {
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

TEST_F(FileUserDefaultsTest, ReadChangeSaveUnderTheLockLosesNothing) {
  constexpr int kProcesses = 4;
  constexpr int kChanges = 25;
  for (int process = 0; process < kProcesses; ++process) {
    if (fork() == 0) {
      bool all = true;
      for (int change = 0; change < kChanges; ++change) {
        FileUserDefaults store;
        const FileUserDefaults::Lock lock(store);
        const Value now = store.objectForKey(kKey);
        Dictionary next = now.asDictionary() ? *now.asDictionary() : Dictionary();
        next.set(Text(std::to_string(process) + "/" + std::to_string(change)), Number(change));
        store.setObject(next, kKey);
        all = store.synchronize() && all;
      }
      _exit(all ? 0 : 1);
    }
  }
  for (int process = 0; process < kProcesses; ++process) {
    int status = -1;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(load().asDictionary()->size(), static_cast<std::size_t>(kProcesses * kChanges));
}

// Dies by SIGKILL before the call of that number.
class KilledCalls : public FaultInjectingSystemCalls {
 public:
  explicit KilledCalls(int before) {
    setFault([before](const std::string&, int call) {
      if (call == before) kill(getpid(), SIGKILL);
      return 0;
    });
  }
};

TEST_F(FileUserDefaultsTest, KilledAtAnyCallOfASaveTheFileIsWhollyOldOrWhollyNew) {
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
    EXPECT_EQ(names(),
              (std::vector<std::string>{"QorvaneT1Settings2020.plist", "QorvaneT1Settings2020.plist.bak"}))
        << "killed before call " << before;
    if (WIFEXITED(status)) {
      EXPECT_EQ(WEXITSTATUS(status), 0);
      break;
    }
  }
}

}  // namespace
}  // namespace qorvane
