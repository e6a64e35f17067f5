// The accessor pattern itself, in combinations that no option has today.
#include "qorvane/store/Accessors.h"

#include <gtest/gtest.h>

#include "qorvane/store/StoredForms.h"

namespace qorvane {
namespace {

class AccessorsTest : public testing::Test {
 protected:
  AccessorsTest() { notifyAll = bSettingVals = false; }

  static constexpr Key kKey = entryKey("key");
  static Text fallback() { return "default"; }
};

// The read that the comparison makes stores the default over an empty text; so the default is no change then.
TEST_F(AccessorsTest, OverAnEmptyTextTheDefaultIsNoChange) {
  const auto set = [](Dictionary& entries, const Text& value) {
    writeOption<TextForm, StoringOverEmpty, ComparingNilAsEmpty>(&entries, kKey, fallback, value);
  };
  Dictionary entries{{"key", Text("")}};
  set(entries, "default");
  EXPECT_FALSE(notifyAll);
  EXPECT_EQ(*entries.find("key"), Value(Text("default")));
  set(entries, "other");
  EXPECT_TRUE(notifyAll);
  EXPECT_EQ(*entries.find("key"), Value(Text("other")));
}

TEST_F(AccessorsTest, AStoreThatWasNeverLoadedKeepsNothing) {
  writeOption<TextForm, Storing, ComparingNilAsEmpty>(nullptr, kKey, fallback, "other");
  EXPECT_FALSE(notifyAll);
  EXPECT_EQ((readOption<TextForm, Storing>(nullptr, kKey, fallback)), Text("default"));
}

}  // namespace
}  // namespace qorvane
