// The stores in memory, which tests of applications stand on.
#include "qorvane/preferences/UserDefaults.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane {
namespace {

TEST(MemoryUserDefaultsTest, KeepsObjectsAndNeverFails) {
  MemoryUserDefaults memory;
  EXPECT_TRUE(memory.empty());
  EXPECT_TRUE(memory.objectForKey("key").isNil());
  memory.setObject(Dictionary{{"a", Number(1)}}, "key");
  EXPECT_TRUE(isIdentical(memory.objectForKey("key"), Dictionary{{"a", Number(1)}}));
  EXPECT_THROW(memory.setObject(Array{Value()}, "key"), Exception);
  EXPECT_TRUE(memory.synchronize());
  EXPECT_EQ(memory.synchronizeCount(), 1);
  EXPECT_FALSE(memory.lastFailure());
  memory.setObject(nullptr, "key");
  EXPECT_TRUE(memory.empty());
}

// Answers whatever it is asked with a mark of its own.
class CountingMerge : public UserDefaults::Merge {
 public:
  Value merged(const Value&) override {
    ++asked;
    return Text("merged");
  }
  void written() override { ++told; }

  int asked = 0;
  int told = 0;
};

TEST(MemoryUserDefaultsTest, AnUpdateIsOneSetOfTheWholeObject) {
  MemoryUserDefaults memory;
  memory.setObject(Text("standing"), "key");
  const auto merge = std::make_shared<CountingMerge>();
  memory.update(Text("whole"), "key", merge);
  EXPECT_TRUE(memory.synchronize());
  EXPECT_EQ(memory.objectForKey("key"), Value(Text("whole")));
  EXPECT_EQ(merge->asked + merge->told, 0);
  EXPECT_EQ(merge.use_count(), 1) << "dropped";
  const UserDefaults::Loaded loaded = memory.load("key");
  EXPECT_EQ(loaded.stored, Value(Text("whole")));
  EXPECT_EQ(loaded.object, Value(Text("whole")));
  EXPECT_THROW(memory.update(Array{Value()}, "key", merge), Exception);
}

TEST(MemoryUserDefaultsTest, AnybodyMayLockIt) {
  MemoryUserDefaults memory;
  const UserDefaults::Lock outer(memory);
  const UserDefaults::Lock inner(memory);
  memory.forget("key");
  EXPECT_TRUE(memory.synchronize());
}

TEST(FaultInjectingUserDefaultsTest, FailsAsItIsTold) {
  using Fault = FaultInjectingUserDefaults::Fault;
  FaultInjectingUserDefaults store;
  store.setObject(Number(1), "key");
  EXPECT_TRUE(store.synchronize());
  EXPECT_FALSE(store.lastFailure());
  store.failure = Failure{FailureCode::storeFailed, {"the disk is full"}, ENOSPC};
  EXPECT_FALSE(store.synchronize());
  ASSERT_TRUE(store.lastFailure());
  EXPECT_EQ(store.lastFailure()->systemError, ENOSPC);
  store.onRead = Fault::PlatformException;
  EXPECT_THROW(store.objectForKey("key"), Exception);
  store.onSet = Fault::OtherException;
  EXPECT_ANY_THROW(store.setObject(Number(2), "key"));
  store.onRead = Fault::None;
  EXPECT_EQ(store.objectForKey("key"), Value(Number(1)));
  store.onSynchronize = Fault::PlatformException;
  EXPECT_THROW(static_cast<void>(store.synchronize()), Exception);
}

}  // namespace
}  // namespace qorvane
