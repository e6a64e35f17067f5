// The preference files: what stands on the disk, and how other programs' files are read.
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

using FileUserDefaultsTest = FileStoreTest;

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

TEST_F(FileUserDefaultsTest, TheFileBeforeIsKeptAsAGeneration) {
  save(kOld);
  const std::string old = readFile(file());
  save(kNew);
  EXPECT_EQ(readFile(newest()), old);
  EXPECT_TRUE(isIdentical(load(), kNew));
}

TEST_F(FileUserDefaultsTest, WhatIsRemovedIsKeptAsAGeneration) {
  save(kOld);
  const std::string old = readFile(file());
  save(nullptr);
  EXPECT_FALSE(fs::exists(file()));
  EXPECT_EQ(readFile(newest()), old);
  EXPECT_TRUE(load().isNil());
  save(nullptr);
  EXPECT_EQ(readFile(newest()), old) << "removing nothing keeps nothing";
  EXPECT_EQ(generations().size(), 1u);
}

TEST_F(FileUserDefaultsTest, EachSaveRaisesTheGeneration) {
  for (std::uint64_t generation = 1; generation <= 3; ++generation) {
    save(generation % 2 == 0 ? kOld : kNew);
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
    EXPECT_TRUE(isIdentical(readPropertyList(readFile(newest())), top));
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
  const auto quarantine = [&] {
    return std::ranges::count_if(names(),
                                 [](const std::string& name) { return name.find("damaged") != name.npos; });
  };
  saveHere(kOld);
  saveHere(kNew);
  saveHere(kOld);
  EXPECT_EQ(store.inspect(kKey).generation, 3u);
  EXPECT_EQ(store.generations(kKey).size(), 2u);

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
  EXPECT_EQ(quarantine(), 0);
  std::string bytes = readFile(file());
  bytes[bytes.size() / 2] ^= 1;
  writeFile(file(), bytes);
  saveHere(kNew);
  EXPECT_EQ(quarantine(), 1);
  for (int known = 0; known < 2; ++known) {
    writeFile(file(), "");
    if (known == 0)
      saveHere(kOld);
    else
      save(kOld);
    EXPECT_EQ(quarantine(), 2 + known) << "an empty file is no good one, for a new store neither";
  }
  EXPECT_TRUE(isIdentical(load(), kOld));
}

}  // namespace
}  // namespace qorvane
