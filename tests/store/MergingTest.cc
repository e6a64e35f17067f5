// The rule of merging, over dictionaries alone.
#include "qorvane/store/Merging.h"

#include <gtest/gtest.h>

#include <string>

namespace qorvane {
namespace {

Dictionary entries(std::initializer_list<std::pair<const char*, const char*>> pairs) {
  Dictionary made;
  for (const auto& [key, value] : pairs) made.set(Text(std::string(key)), Text(std::string(value)));
  return made;
}

class MergingTest : public testing::Test {
 protected:
  void fill(const char* key, const char* value) {
    const Key at{Text(std::string(key))};
    fills.note(at, now.find(at), base.find(at), Text(std::string(value)));
    now.set(at, Text(std::string(value)));
  }
  Dictionary merged(const Dictionary& theirs) const { return merge(base, now, fills, theirs); }

  Dictionary base, now;
  Fills fills;
};

TEST_F(MergingTest, OursIsWhatDiffersFromTheBase) {
  base = entries({{"same", "1"}, {"changed", "1"}, {"removed", "1"}});
  now = entries({{"same", "1"}, {"changed", "2"}, {"added", "1"}});
  const auto changes = changesOf(base, now, fills);
  ASSERT_EQ(changes.size(), 3u);
  EXPECT_EQ(changes[0].key, Text("changed"));
  EXPECT_EQ(changes[0].value, Value(Text("2")));
  EXPECT_EQ(changes[1].key, Text("added"));
  EXPECT_EQ(changes[2].key, Text("removed"));
  EXPECT_TRUE(changes[2].value.isNil());
}

TEST_F(MergingTest, EntriesAreComparedByTheirBits) {
  base.set(Text("n"), Number(1));
  now.set(Text("n"), Number(1.0));
  EXPECT_EQ(changesOf(base, now, fills).size(), 1u);
}

TEST_F(MergingTest, BothSidesStand) {
  base = entries({{"a", "1"}, {"b", "1"}, {"c", "1"}, {"d", "1"}});
  now = entries({{"a", "2"}, {"b", "1"}, {"c", "1"}});
  EXPECT_TRUE(isIdentical(merged(entries({{"a", "1"}, {"b", "2"}, {"d", "1"}, {"e", "1"}})),
                          entries({{"a", "2"}, {"b", "2"}, {"e", "1"}})))
      << "our change and removal, their change, removal and addition";
  EXPECT_TRUE(isIdentical(merged(entries({{"a", "3"}, {"d", "4"}})), entries({{"a", "2"}})))
      << "where both did something, ours";
}

TEST_F(MergingTest, AFillIsWrittenWhereTheyHaveWhatTheBaseHad) {
  base = entries({{"empty", ""}});
  now = base;
  fill("empty", "default");
  fill("missing", "default");
  EXPECT_TRUE(changesOf(base, now, fills).empty());
  EXPECT_TRUE(isIdentical(merged(entries({{"empty", ""}, {"other", "1"}})),
                          entries({{"empty", "default"}, {"other", "1"}, {"missing", "default"}})));
  EXPECT_TRUE(isIdentical(merged(entries({{"empty", "theirs"}, {"missing", "theirs"}})),
                          entries({{"empty", "theirs"}, {"missing", "theirs"}})));
  EXPECT_TRUE(isIdentical(merged({}), entries({{"missing", "default"}}))) << "they removed the empty one";
}

TEST_F(MergingTest, AFillThatWasChangedIsAChange) {
  fill("a", "default");
  now.set(Text("a"), Text("other"));
  EXPECT_EQ(changesOf(base, now, fills).size(), 1u);
  EXPECT_TRUE(isIdentical(merged(entries({{"a", "theirs"}})), entries({{"a", "other"}})));
}

TEST_F(MergingTest, AFillAfterOurRemovalLeavesItARemoval) {
  base = entries({{"a", "1"}});
  fill("a", "default");
  EXPECT_TRUE(isIdentical(merged(entries({{"a", "1"}, {"b", "1"}})), entries({{"b", "1"}})));
  EXPECT_TRUE(isIdentical(merged(entries({{"a", "2"}})), Dictionary()));
}

TEST_F(MergingTest, AFillOfAnEntryThatWeEmptiedIsOurs) {
  base = entries({{"a", "1"}});
  now = entries({{"a", ""}});
  fill("a", "default");
  EXPECT_TRUE(isIdentical(merged(entries({{"a", "2"}})), entries({{"a", "default"}})));
}

TEST_F(MergingTest, FillsThatTheNextBaseHasNoRoomForAreForgotten) {
  fill("taken", "default");
  fill("free", "default");
  const Dictionary theirs = entries({{"taken", "theirs"}});
  fills.rebase(base, theirs);
  base = theirs;
  EXPECT_EQ(changesOf(base, now, fills).size(), 1u) << "what stands there now is what was set over theirs";
  EXPECT_TRUE(isIdentical(merged(entries({{"taken", "theirs"}, {"other", "1"}})),
                          entries({{"taken", "default"}, {"other", "1"}, {"free", "default"}})));
}

TEST_F(MergingTest, AProvinceBringsItsCodeAndItsLine) {
  base = entries({{"PProv", "Quebec"}, {"PProvCode", "QC"}, {"PProvandPCode", "Quebec G1A"}});
  const Dictionary theirs =
      entries({{"PProv", "Ontario"}, {"PProvCode", "ON"}, {"PProvandPCode", "Ontario G1A"}});
  now = base;
  now.set(Text("x"), Text("1"));
  Dictionary expected = theirs;
  expected.set(Text("x"), Text("1"));
  EXPECT_TRUE(isIdentical(merged(theirs), expected)) << "all theirs";

  now.set(Text("PProv"), Text("Manitoba"));
  now.set(Text("PProvCode"), Text("MB"));
  EXPECT_TRUE(isIdentical(
      merged(theirs),
      entries({{"PProv", "Manitoba"}, {"PProvCode", "MB"}, {"PProvandPCode", "Quebec G1A"}, {"x", "1"}})))
      << "all ours, even what we left as it was";
}

TEST_F(MergingTest, TheLineAloneIsOursWhenOnlyWeChangedIt) {
  base = entries({{"PProv", "Quebec"}, {"PProvCode", "QC"}, {"PProvandPCode", "Quebec G1A"}});
  now = base;
  now.set(Text("PProvandPCode"), Text("Quebec (null)"));
  Dictionary theirs = base;
  theirs.set(Text("x"), Text("1"));
  EXPECT_EQ(*merged(theirs).find("PProvandPCode"), Value(Text("Quebec (null)")));
  theirs.set(Text("PProv"), Text("Ontario"));
  EXPECT_EQ(*merged(theirs).find("PProvandPCode"), Value(Text("Quebec (null)")));
  theirs.set(Text("PProvandPCode"), Text("Ontario G1A"));
  EXPECT_EQ(*merged(theirs).find("PProvandPCode"), Value(Text("Ontario G1A"))) << "both changed it";
  now.remove("PProvCode");
  EXPECT_EQ(merged(theirs).find("PProvCode"), nullptr) << "only we removed it";
}

}  // namespace
}  // namespace qorvane
