// The accessor pattern itself, in combinations that no option has today.
#include "qorvane/store/Accessors.h"

#include <gtest/gtest.h>

#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/store/StoredForms.h"

namespace qorvane {
namespace {

class AccessorsTest : public testing::Test {
 protected:
  static constexpr Key kKey = entryKey("key");
  static Text fallback(const Running&) { return "default"; }

  MemoryUserDefaults defaults;
  Options store{defaults, {.taxYear = 2020}};
};

// The read that the comparison makes stores the default over an empty text; so the default is no change then.
TEST_F(AccessorsTest, OverAnEmptyTextTheDefaultIsNoChange) {
  const auto set = [&](const Text& value) {
    writeOption<TextForm, StoringOverEmpty, ComparingNilAsEmpty>(store, kKey, fallback, value);
  };
  store.loadOptions();
  store.options()->set(kKey, Text(""));
  set("default");
  EXPECT_FALSE(store.isMarked());
  EXPECT_EQ(*store.options()->find("key"), Value(Text("default")));
  set("other");
  EXPECT_TRUE(store.isMarked());
  EXPECT_EQ(*store.options()->find("key"), Value(Text("other")));
}

TEST_F(AccessorsTest, AStoreThatWasNeverLoadedKeepsNothing) {
  writeOption<TextForm, Storing, ComparingNilAsEmpty>(store, kKey, fallback, "other");
  EXPECT_FALSE(store.isMarked());
  EXPECT_EQ((readOption<TextForm, Storing>(store, kKey, fallback)), Text("default"));
}

}  // namespace
}  // namespace qorvane
