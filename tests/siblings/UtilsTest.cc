#include "qorvane/siblings/Utils.h"

#include <gtest/gtest.h>

#include "qorvane/foundation/Dictionary.h"

namespace qorvane {
namespace {

TEST(UtilsTest, NilAndTheEmptyTextAreNothing) {
  EXPECT_TRUE(Utils::isStringNilOrEmpty(Text()));
  EXPECT_TRUE(Utils::isStringNilOrEmpty(Text("")));
  EXPECT_FALSE(Utils::isStringNilOrEmpty(Text(" ")));
  EXPECT_TRUE(Utils::isStringNilOrEmpty(Value()));
  EXPECT_TRUE(Utils::isStringNilOrEmpty(Value(Text(""))));
  EXPECT_FALSE(Utils::isStringNilOrEmpty(Value(Text("x"))));
}

TEST(UtilsTest, AnEntryOfAnotherKindIsSomething) {
  for (const Value& entry : {Value(Number(0)), Value(Data("")), Value(Array()), Value(Dictionary())})
    EXPECT_FALSE(Utils::isStringNilOrEmpty(entry));
}

}  // namespace
}  // namespace qorvane
