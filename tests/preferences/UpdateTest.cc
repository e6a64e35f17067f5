// Saves that are merged with what others saved, and saves that change nothing.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/preferences/FileStoreTest.h"

namespace qorvane {
namespace {

// Sets one entry in whatever stands there.
class Setting : public UserDefaults::Merge {
 public:
  Setting(Text key, Value value) : key_(std::move(key)), value_(std::move(value)) {}

  Value merged(const Value& standing) override {
    seen.push_back(standing);
    Dictionary all = standing.asDictionary() ? *standing.asDictionary() : Dictionary();
    all.set(key_, value_);
    return all;
  }
  void written() override { ++told; }

  std::vector<Value> seen;
  int told = 0;

 private:
  Text key_;
  Value value_;
};

std::shared_ptr<Setting> setting(const Text& key, int value) {
  return std::make_shared<Setting>(key, Number(value));
}

class UpdateTest : public FileStoreTest {
 protected:
  static Dictionary stored() {
    const Value object = load();
    return object.asDictionary() ? *object.asDictionary() : Dictionary();
  }

  CallsWithoutSync calls;
  FileUserDefaults store{FileUserDefaults::defaultFolder(), calls};
};

TEST_F(UpdateTest, IsAskedForWhatStandsThereAtTheSave) {
  save(Dictionary{{"a", Number(1)}});
  const auto b = setting("b", 2);
  store.update(Dictionary{{"whole", Number(0)}}, kKey, b);
  save(Dictionary{{"a", Number(3)}});  // Another program.
  EXPECT_TRUE(b->seen.empty());
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(b->told, 1);
  ASSERT_EQ(b->seen.size(), 1u);
  EXPECT_TRUE(isIdentical(b->seen[0], Dictionary{{"a", Number(3)}}));
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"a", Number(3)}, {"b", Number(2)}}));
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(b->told, 1) << "nothing waits any more";
}

TEST_F(UpdateTest, WithoutAFileItIsAskedForNil) {
  const auto a = setting("a", 1);
  store.update(kNew, kKey, a);
  EXPECT_TRUE(store.synchronize());
  ASSERT_EQ(a->seen.size(), 1u);
  EXPECT_TRUE(a->seen[0].isNil());
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"a", Number(1)}}));
}

TEST_F(UpdateTest, AHealedFileCountsAsWhatItWasHealedTo) {
  save(Dictionary{{"a", Number(1)}});
  save(Dictionary{{"a", Number(2)}});
  writeFile(file(), "junk");
  const auto b = setting("b", 2);
  store.update(kNew, kKey, b);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"a", Number(1)}, {"b", Number(2)}}));
  ASSERT_EQ(names().size(), 2u);
  EXPECT_EQ(readFile(home.store() / names()[1]), "junk") << "kept aside";
}

TEST_F(UpdateTest, OverDamageBeyondHealingTheWholeIsWritten) {
  save(kOld);
  writeFile(file(), "junk");
  const auto b = setting("b", 2);
  store.update(kNew, kKey, b);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(b->seen.empty());
  EXPECT_EQ(b->told, 1);
  EXPECT_TRUE(isIdentical(load(), kNew));
  ASSERT_EQ(names().size(), 2u);
  EXPECT_EQ(readFile(home.store() / names()[1]), "junk");
}

TEST_F(UpdateTest, AFileThatCannotBeReadFailsItAndTheChangeWaits) {
  save(Dictionary{{"a", Number(1)}});
  FaultInjectingSystemCalls failing;
  failing.setSyncing(false);
  FileUserDefaults other(FileUserDefaults::defaultFolder(), failing);
  const auto b = setting("b", 2);
  other.update(kNew, kKey, b);
  failing.setFault([](const std::string& name, int) { return name == "read" ? EIO : 0; });
  EXPECT_FALSE(other.synchronize());
  EXPECT_EQ(other.lastFailure()->systemError, EIO);
  EXPECT_EQ(b->told, 0);
  EXPECT_EQ(names().size(), 1u) << "nothing is set aside";
  failing.setFault(nullptr);
  save(Dictionary{{"a", Number(5)}});
  EXPECT_TRUE(other.synchronize());
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"a", Number(5)}, {"b", Number(2)}})) << "asked again";
}

TEST_F(UpdateTest, SeveralAreAskedInTheirOrder) {
  save(Dictionary{{"a", Number(1)}});
  const auto first = setting("x", 1);
  const auto second = setting("x", 2);
  store.update(kNew, kKey, first);
  store.update(kNew, kKey, second);
  store.update(kOld, kKey, first);  // Takes its earlier place.
  EXPECT_TRUE(isIdentical(store.objectForKey(kKey), Dictionary{{"a", Number(1)}, {"x", Number(2)}}));
  EXPECT_TRUE(isIdentical(store.load(kKey).stored, Dictionary{{"a", Number(1)}}));
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(first->told + second->told, 2);
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"a", Number(1)}, {"x", Number(2)}}));
}

TEST_F(UpdateTest, AWholeObjectTakesThePlaceOfAllAndIsChangedByWhatFollows) {
  save(Dictionary{{"a", Number(1)}});
  const auto dropped = setting("dropped", 1);
  const auto kept = setting("kept", 1);
  store.update(kNew, kKey, dropped);
  store.setObject(Dictionary{{"whole", Number(1)}}, kKey);
  store.update(kNew, kKey, kept);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(dropped->seen.empty());
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"whole", Number(1)}, {"kept", Number(1)}}));
}

TEST_F(UpdateTest, WhatItThrowsFailsTheSaveOfItsKeyOnly) {
  class Throwing : public UserDefaults::Merge {
    Value merged(const Value&) override { throw std::logic_error("no"); }
    void written() override { ADD_FAILURE(); }
  };
  class Unstorable : public UserDefaults::Merge {
    Value merged(const Value&) override { return Array{Value()}; }
    void written() override { ADD_FAILURE(); }
  };
  save(kOld);
  store.update(kNew, kKey, std::make_shared<Throwing>());
  store.setObject(kNew, "QorvaneT2Settings2020");
  EXPECT_FALSE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), kOld));
  EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey("QorvaneT2Settings2020"), kNew));
  store.forget(kKey);
  EXPECT_TRUE(store.synchronize());
  store.update(kNew, kKey, std::make_shared<Unstorable>());
  EXPECT_FALSE(store.synchronize());
  EXPECT_TRUE(isIdentical(load(), kOld));
}

// Four processes change each their own entry of one file, without a lock of theirs.
TEST_F(UpdateTest, ManyProcessesLoseNothing) {
  constexpr int kProcesses = 4;
  constexpr int kChanges = 40;
  for (int process = 0; process < kProcesses; ++process) {
    if (fork() == 0) {
      bool all = true;
      FileUserDefaults own(FileUserDefaults::defaultFolder(), calls);
      own.setLockWait(60'000);
      for (int change = 0; change < kChanges; ++change) {
        const Text name(std::to_string(process) + "/" + std::to_string(change));
        own.update(Dictionary(), kKey, setting(name, change));
        all = own.synchronize() && all;
      }
      _exit(all ? 0 : 1);
    }
  }
  for (int process = 0; process < kProcesses; ++process) {
    int status = -1;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(stored().size(), static_cast<std::size_t>(kProcesses * kChanges));
}

// ---- a save that changes nothing
// ----------------------------------------------------------------------------

class UnchangedSaveTest : public FileStoreTest {
 protected:
  bool saveIn(FileUserDefaults& saver, const Value& value) {
    calls.forgetCalls();
    saver.setObject(value, kKey);
    return saver.synchronize();
  }
  std::ptrdiff_t count(const char* name) const { return std::ranges::count(calls.calls(), name); }

  FaultInjectingSystemCalls calls;
  FileUserDefaults store{FileUserDefaults::defaultFolder(), calls};
};

TEST_F(UnchangedSaveTest, WritesNothingAndSyncsNothingOfItsOwn) {
  ASSERT_TRUE(saveIn(store, kOld));
  const std::string bytes = readFile(file());
  EXPECT_TRUE(saveIn(store, kOld));
  EXPECT_EQ(count("write") + count("fsync") + count("link") + count("rename"), 0);
  EXPECT_EQ(readFile(file()), bytes);
  EXPECT_TRUE(generations().empty());
}

// Another process may have died between putting its file in place and syncing the folder.
TEST_F(UnchangedSaveTest, SyncsTheFolderOfWhatAnotherWrote) {
  save(kOld);
  for (const bool loaded : {false, true}) {
    FileUserDefaults other(FileUserDefaults::defaultFolder(), calls);
    if (loaded) other.objectForKey(kKey);
    EXPECT_TRUE(saveIn(other, kOld));
    EXPECT_EQ(count("fsync"), 1);
    EXPECT_EQ(count("write"), 0);
    EXPECT_TRUE(saveIn(other, kOld));
    EXPECT_EQ(count("fsync"), 0) << "now this object knows";
  }
  calls.setFault([](const std::string& name, int) { return name == "fsync" ? EIO : 0; });
  FileUserDefaults failing(FileUserDefaults::defaultFolder(), calls);
  EXPECT_FALSE(saveIn(failing, kOld)) << "it cannot say that the settings are on the disk";
  calls.setFault(nullptr);
  EXPECT_TRUE(failing.synchronize());
}

TEST_F(UnchangedSaveTest, WritesAFileThatIsNotOursOrOpenToOthers) {
  writeFile(file(), writePropertyList(Dictionary{{kKey, kOld}}, PropertyListFormat::Binary));
  fs::permissions(home.store(), fs::perms(0700));
  EXPECT_TRUE(saveIn(store, kOld));
  EXPECT_EQ(checkSeal(readFile(file())).state, SealState::Intact);
  fs::permissions(file(), fs::perms(0644));
  EXPECT_TRUE(saveIn(store, kOld));
  EXPECT_EQ(modeOf(file()), 0600u);
  EXPECT_EQ(generations().size(), 2u);
}

TEST_F(UnchangedSaveTest, ARemovalOfNothingIsOne) {
  EXPECT_TRUE(saveIn(store, nullptr));
  ASSERT_TRUE(saveIn(store, kOld));
  EXPECT_TRUE(saveIn(store, nullptr));
  EXPECT_TRUE(saveIn(store, nullptr));
  EXPECT_EQ(count("fsync") + count("unlink"), 0);
  save(kOld);
  EXPECT_TRUE(saveIn(store, nullptr));
  EXPECT_FALSE(fs::exists(file()));
  EXPECT_EQ(generations().size(), 2u);
}

TEST_F(UnchangedSaveTest, AnEntryOfAnotherKindIsAChange) {
  ASSERT_TRUE(saveIn(store, Dictionary{{"a", Number(1)}}));
  EXPECT_TRUE(saveIn(store, Dictionary{{"a", Number(true)}}));
  EXPECT_TRUE(isIdentical(load(), Dictionary{{"a", Number(true)}}));
}

}  // namespace
}  // namespace qorvane
