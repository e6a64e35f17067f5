#include "qorvane/desktop/FontDescriptor.h"

#include <gtest/gtest.h>

namespace qorvane {
namespace {

TEST(FontDescriptorTest, KeepsWhatItIsGiven) {
  const FontDescriptor font("Helvetica-Bold", 12.5);
  EXPECT_EQ(font.postscriptName(), Text("Helvetica-Bold"));
  EXPECT_EQ(font.pointSize(), 12.5);
  EXPECT_TRUE(FontDescriptor(nullptr, 0).postscriptName().isNil());
}

TEST(FontDescriptorTest, ComparesNameAndSize) {
  EXPECT_EQ(FontDescriptor("Times", 12), FontDescriptor("Times", 12));
  EXPECT_FALSE(FontDescriptor("Times", 12) == FontDescriptor("Times", 13));
  EXPECT_FALSE(FontDescriptor("Times", 12) == FontDescriptor("Courier", 12));
}

}  // namespace
}  // namespace qorvane
