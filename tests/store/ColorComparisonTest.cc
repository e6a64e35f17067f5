#include "qorvane/store/ColorComparison.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qorvane {
namespace {

TEST(ColorComparisonTest, HasNoTolerance) {
  const Color color = Color::colorWithCalibratedRed(0.8, 1, 1, 1);
  EXPECT_FALSE(areDifferentColors(color, color));
  EXPECT_FALSE(areDifferentColors(color, Color::colorWithCalibratedRed(0.8, 1, 1, 1)));
  const double up = std::nextafter(0.8, 1.0);
  const double down = std::nextafter(1.0, 0.0);
  EXPECT_TRUE(areDifferentColors(color, Color::colorWithCalibratedRed(up, 1, 1, 1)));
  EXPECT_TRUE(areDifferentColors(color, Color::colorWithCalibratedRed(0.8, down, 1, 1)));
  EXPECT_TRUE(areDifferentColors(color, Color::colorWithCalibratedRed(0.8, 1, down, 1)));
  EXPECT_TRUE(areDifferentColors(color, Color::colorWithCalibratedRed(0.8, 1, 1, down))) << "alpha counts";
}

TEST(ColorComparisonTest, TakesComponentsAsNumbers) {
  EXPECT_FALSE(
      areDifferentColors(Color::colorWithCalibratedWhite(0.0, 1), Color::colorWithCalibratedWhite(-0.0, 1)));
  const Color nan = Color::colorWithCalibratedWhite(std::nan(""), 1);
  EXPECT_TRUE(areDifferentColors(nan, nan));
}

TEST(ColorComparisonTest, DoesNotAskForTheSpace) {
  EXPECT_FALSE(areDifferentColors(Color::redColor(), Color::colorWithDeviceRed(1, 0, 0, 1)));
  EXPECT_FALSE(areDifferentColors(Color::redColor(), Color::colorWithSRGBRed(1, 0, 0, 1)));
  EXPECT_FALSE(areDifferentColors(Color::whiteColor(), Color::colorWithDeviceWhite(1, 1)));
}

TEST(ColorComparisonTest, CallsOtherCountsOfComponentsDifferent) {
  const Color white = Color::colorWithCalibratedRed(1, 1, 1, 1);
  const Color cmyk = Color::colorWithDeviceCyan(1, 1, 1, 1, 1);
  for (const Color& first : {Color::whiteColor(), white, cmyk})
    for (const Color& second : {Color::whiteColor(), white, cmyk})
      EXPECT_EQ(areDifferentColors(first, second), first.colorSpace() != second.colorSpace())
          << first << second;
}

TEST(ColorComparisonTest, ComparesACatalogueColorByRedGreenAndBlue) {
  const auto named = [](const Color& color) { return Color::colorWithCatalogName("System", "x", color); };
  const Color red = named(Color::redColor());
  EXPECT_FALSE(areDifferentColors(red, Color::redColor()));
  EXPECT_FALSE(areDifferentColors(Color::redColor(), red));
  EXPECT_FALSE(areDifferentColors(red, red));
  EXPECT_FALSE(areDifferentColors(red, Color::colorWithDeviceRed(1, 0, 0, 0.25)))
      << "alpha does not count here";
  EXPECT_FALSE(areDifferentColors(named(Color::grayColor()), Color::colorWithSRGBRed(0.5, 0.5, 0.5, 1)));
  EXPECT_TRUE(areDifferentColors(red, Color::colorWithCalibratedRed(std::nextafter(1.0, 0.0), 0, 0, 1)));
  EXPECT_TRUE(areDifferentColors(red, Color::colorWithCalibratedRed(1, 0.1, 0, 1)));
  EXPECT_TRUE(areDifferentColors(Color::colorWithCalibratedRed(1, 0, 0.1, 1), red));
}

TEST(ColorComparisonTest, CallsAPatternDifferent) {
  EXPECT_TRUE(areDifferentColors(Color::patternColor(), Color::redColor()));
  EXPECT_TRUE(areDifferentColors(Color::redColor(), Color::patternColor()));
  EXPECT_TRUE(areDifferentColors(Color::patternColor(), Color::patternColor()));
}

}  // namespace
}  // namespace qorvane
