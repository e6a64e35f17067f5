// Damaged and unreadable files: noticed, kept, and made good.
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

class DamageTest : public FileStoreTest {
 protected:
  DamageTest() {
    save(kOld);
    save(kNew);
    good = readFile(file());
    kept = newest();
    copy = readFile(kept);
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
    logged.clear();
    ASSERT_EQ(FileUserDefaults().inspect(kKey).state, State::Damaged) << what;
    ASSERT_EQ(readFile(file()), bytes) << "inspecting changes nothing";
    CallsWithoutSync calls;
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    ASSERT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << what;
    ASSERT_EQ(logged.lines().size(), 1u) << what;
    const std::vector<std::string> all = names();
    ASSERT_EQ(all.size(), 2u) << what;
    ASSERT_TRUE(all[1].starts_with("QorvaneT1Settings2020.plist.damaged-")) << all[1];
    ASSERT_EQ(readFile(home.store() / all[1]), bytes) << what;
    const std::string_view line = logged.lines()[0].view();
    ASSERT_NE(line.find(all[1]), line.npos) << line;
    ASSERT_NE(line.find(kept.string()), line.npos) << line;
    // The next load finds a good file.
    ASSERT_TRUE(isIdentical(load(), kOld)) << what;
    ASSERT_EQ(logged.lines().size(), 1u) << what;
  }

  std::string good;
  fs::path kept;
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
  fs::remove(kept);
  writeFile(file(), "junk");
  EXPECT_TRUE(load().isNil());
  const auto all = names();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(readFile(home.store() / all[0]), "junk");
  EXPECT_EQ(logged.lines().size(), 1u);
}

TEST_F(DamageTest, ADamagedGenerationIsNotLoadedAndStaysWhereItIs) {
  writeFile(file(), "junk");
  writeFile(kept, "more junk");
  EXPECT_TRUE(load().isNil());
  save(kOld);
  save(kNew);  // This save keeps a good one.
  EXPECT_EQ(contentsNamed(".damaged-"), std::vector<std::string>{"junk"});
  EXPECT_EQ(readFile(kept), "more junk");
  writeFile(file(), "junk again");
  EXPECT_TRUE(isIdentical(load(), kOld));
}

TEST_F(DamageTest, TheNewestGoodGenerationIsLoadedHoweverManyAreDamaged) {
  for (int i = 0; i < 20; ++i) save(Dictionary{{"Save", Number(i)}});
  const auto all = generations();
  ASSERT_EQ(all.size(), 21u);
  writeFile(file(), "junk");
  for (std::size_t i = 0; i < 10; ++i) writeFile(all[i].path, i % 2 == 0 ? "" : "junk too");
  logged.clear();
  // The newest holds save 18.
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"Save", Number(8)}}));
  ASSERT_EQ(logged.lines().size(), 1u);
  EXPECT_NE(logged.lines()[0].view().find(all[10].path), std::string_view::npos) << logged.lines()[0];
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"Save", Number(8)}})) << "it stands in the file's place now";
  EXPECT_EQ(logged.lines().size(), 1u);
  save(kNew);
  EXPECT_GT(generations()[0].number, all[0].number) << "no number is used twice";
}

// The disk's trouble with one generation is no trouble with the one before.
TEST_F(DamageTest, AGenerationThatCannotBeReadIsPassedOverForAnotherOne) {
  save(kOld);
  writeFile(file(), "junk");
  for (const int error : {EIO, EMFILE}) {
    FaultInjectingSystemCalls calls;
    int reads = 0;
    calls.setFault([&](const std::string& name, int) { return name == "read" && ++reads == 2 ? error : 0; });
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    if (error == EMFILE)
      EXPECT_THROW(store.objectForKey(kKey), FileException) << "this process cannot read just now";
    else
      EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld));
    fs::remove(file());
    save(kNew);
    writeFile(file(), "junk");
  }
}

TEST_F(DamageTest, TheCopyOfAnEarlierVersionHealsToo) {
  fs::rename(kept, file().string() + ".bak");
  writeFile(file(), "junk");
  EXPECT_TRUE(isIdentical(load(), kOld));
}

TEST_F(DamageTest, WhatWasRemovedIsNeverHealed) {
  save(nullptr);
  EXPECT_TRUE(load().isNil());
  fs::remove(file());
  EXPECT_TRUE(load().isNil());
}

TEST_F(DamageTest, WithAGenerationThatCannotBeReadNothingStartsAfresh) {
  writeFile(file(), "junk");
  FaultInjectingSystemCalls calls;
  int opened = 0;  // The file, the folder, the generation.
  calls.setFault([&](const std::string& name, int) { return name == "open" && ++opened == 3 ? EIO : 0; });
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  EXPECT_THROW(store.objectForKey(kKey), FileException);
  EXPECT_EQ(readFile(file()), "junk");
  EXPECT_EQ(readFile(kept), copy);
  ASSERT_EQ(logged.lines().size(), 1u);
  EXPECT_NE(logged.lines()[0].view().find(kept.string()), std::string_view::npos);
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
  EXPECT_EQ(names(), std::vector<std::string>());
}

TEST_F(DamageTest, ASaveOverADamagedFileKeepsItAndTheGoodCopy) {
  writeFile(file(), "junk");
  save(kNew);
  EXPECT_EQ(readFile(newest()), copy);
  EXPECT_EQ(readFile(home.store() / names()[1]), "junk");
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
  class NoQuarantine : public FaultInjectingSystemCalls {
    int lstat(const char* path, struct ::stat* status) override {
      if (std::string_view(path).find(".damaged-") == std::string_view::npos)
        return SystemCalls::lstat(path, status);
      errno = EIO;
      return -1;
    }
  };
  NoQuarantine calls;
  calls.setTime(2'000'000'000);
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
  EXPECT_EQ(names().size(), 1u);
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
  ASSERT_EQ(all.size(), 2u);
  EXPECT_TRUE(all[1].starts_with("QorvaneT1Settings2020.plist.unreadable-")) << all[1];
  EXPECT_EQ(readFile(home.store() / all[1]), good);
  EXPECT_EQ(readFile(newest()), copy);
}

// What was set aside comes back to its place when the folder cannot be synced: nothing is half done, and the
// next save finds what this one found. In the three ways of setting aside: another name, a copy, a move.
TEST_F(DamageTest, AFileWhoseNewNameCannotBeSyncedKeepsItsOldOne) {
  for (const bool unreadable : {false, true})
    for (const bool links : {true, false}) {
      const std::string failing = "fsync";
      const std::string what = failing + (unreadable ? ", unreadable" : "") + (links ? ", with links" : "");
      fs::remove_all(home.store());
      save(kOld);
      save(kNew);
      if (!unreadable) writeFile(file(), "junk");
      const std::string before = readFile(file());
      FaultInjectingSystemCalls calls;
      int reads = 0;
      bool quarantined = false;
      bool failed = false;
      calls.setFault([&](const std::string& name, int) {
        if (name == "read" && unreadable && reads++ == 0) return EIO;
        for (const std::string& there : names())
          quarantined = quarantined || there.find(".damaged-") != there.npos ||
                        there.find(".unreadable-") != there.npos;
        if (quarantined && !failed && name == failing) return failed = true, EIO;
        return name == "link" && !links ? EPERM : 0;
      });
      FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
      store.setObject(kOld, kKey);
      EXPECT_FALSE(store.synchronize()) << what;
      EXPECT_TRUE(failed) << what;
      EXPECT_EQ(readFile(file()), before) << what;
      EXPECT_EQ(names(), std::vector<std::string>{file().filename()}) << what;
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
  EXPECT_EQ(names().size(), 1u);
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
  ASSERT_EQ(all.size(), 2u);
  EXPECT_NE(all[1].find(".unreadable-"), std::string::npos);
  EXPECT_EQ(fs::file_size(home.store() / all[1]), (std::uintmax_t{512} << 20) + 1);
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
  EXPECT_EQ(names().size(), 1u);
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
    EXPECT_EQ(names().size(), 1u);
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
       {file().string() + " is damaged", std::string("stays where it is"), kept.string()})
    EXPECT_NE(logged.lines()[0].view().find(part), std::string_view::npos) << logged.lines()[0];
}

}  // namespace
}  // namespace qorvane
