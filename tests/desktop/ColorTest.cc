#include "qorvane/desktop/Color.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <vector>

#include "qorvane/desktop/ColorComponents.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane {
namespace {

std::vector<double> componentsOf(const Color& color) {
  const auto components = color.components();
  return {components.begin(), components.end()};
}

std::vector<double> converted(const Color& color, ColorSpace space) {
  const auto result = color.colorUsingColorSpace(space);
  if (!result) return {};
  EXPECT_EQ(result->colorSpace(), space);
  return componentsOf(*result);
}

using Components = std::vector<double>;

TEST(ColorTest, HasTheNamedColors) {
  EXPECT_EQ(Color::whiteColor(), Color::colorWithCalibratedWhite(1, 1));
  EXPECT_EQ(Color::grayColor(), Color::colorWithCalibratedWhite(0.5, 1));
  EXPECT_EQ(Color::yellowColor(), Color::colorWithCalibratedRed(1, 1, 0, 1));
  EXPECT_EQ(Color::greenColor(), Color::colorWithCalibratedRed(0, 1, 0, 1));
  EXPECT_EQ(Color::redColor(), Color::colorWithCalibratedRed(1, 0, 0, 1));
  EXPECT_EQ(Color::whiteColor().numberOfComponents(), 2U);
  EXPECT_EQ(Color::grayColor().numberOfComponents(), 2U);
  EXPECT_EQ(Color::redColor().numberOfComponents(), 4U);
}

TEST(ColorTest, KeepsItsSpaceAndComponents) {
  const Components four{0.1, 0.2, 0.3, 0.4};
  EXPECT_EQ(componentsOf(Color::colorWithCalibratedRed(0.1, 0.2, 0.3, 0.4)), four);
  EXPECT_EQ(componentsOf(Color::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4)), four);
  EXPECT_EQ(componentsOf(Color::colorWithSRGBRed(0.1, 0.2, 0.3, 0.4)), four);
  EXPECT_EQ(componentsOf(Color::colorWithCalibratedWhite(0.1, 0.2)), (Components{0.1, 0.2}));
  EXPECT_EQ(componentsOf(Color::colorWithDeviceWhite(0.1, 0.2)), (Components{0.1, 0.2}));
  EXPECT_EQ(componentsOf(Color::colorWithDeviceCyan(0.1, 0.2, 0.3, 0.4, 0.5)),
            (Components{0.1, 0.2, 0.3, 0.4, 0.5}));
  EXPECT_EQ(componentsOf(Color::colorWithCalibratedWhite(-3, 700)), (Components{-3, 700}));
  EXPECT_EQ(Color::colorWithCalibratedRed(0, 0, 0, 0).colorSpace(), ColorSpace::CalibratedRGB);
  EXPECT_EQ(Color::colorWithDeviceRed(0, 0, 0, 0).colorSpace(), ColorSpace::DeviceRGB);
  EXPECT_EQ(Color::colorWithSRGBRed(0, 0, 0, 0).colorSpace(), ColorSpace::SRGB);
  EXPECT_EQ(Color::colorWithCalibratedWhite(0, 0).colorSpace(), ColorSpace::CalibratedWhite);
  EXPECT_EQ(Color::colorWithDeviceWhite(0, 0).colorSpace(), ColorSpace::DeviceWhite);
  EXPECT_EQ(Color::colorWithDeviceCyan(0, 0, 0, 0, 0).colorSpace(), ColorSpace::DeviceCMYK);
}

TEST(ColorTest, RefusesComponentsOfCatalogueAndPatternColors) {
  const Color named = Color::colorWithCatalogName("System", "controlColor", Color::grayColor());
  for (const Color& color : {named, Color::patternColor()}) {
    EXPECT_FALSE(color.hasComponents());
    EXPECT_THROW(color.components(), Exception);
    EXPECT_THROW(color.numberOfComponents(), Exception);
  }
  EXPECT_EQ(named.colorSpace(), ColorSpace::Named);
  EXPECT_EQ(named.catalogName(), Text("System"));
  EXPECT_EQ(named.colorName(), Text("controlColor"));
  EXPECT_EQ(*named.namedColor(), Color::grayColor());
  EXPECT_TRUE(Color::redColor().catalogName().isNil());
  EXPECT_TRUE(Color::redColor().colorName().isNil());
  EXPECT_EQ(Color::redColor().namedColor(), nullptr);
}

TEST(ColorTest, RefusesNamesWithoutEnd) {
  EXPECT_THROW(Color::colorWithCatalogName(nullptr, "a", Color::redColor()), Exception);
  EXPECT_THROW(Color::colorWithCatalogName("a", nullptr, Color::redColor()), Exception);
  Color color = Color::redColor();
  for (int i = 0; i < Color::kDeepestNames; ++i) color = Color::colorWithCatalogName("a", "b", color);
  EXPECT_THROW(Color::colorWithCatalogName("a", "b", color), Exception);
}

TEST(ColorTest, ConvertsByPlainArithmetic) {
  const Color rgb = Color::colorWithCalibratedRed(0.25, 0.5, 0.125, 0.75);
  EXPECT_EQ(converted(rgb, ColorSpace::CalibratedRGB), (Components{0.25, 0.5, 0.125, 0.75}));
  EXPECT_EQ(converted(rgb, ColorSpace::DeviceRGB), (Components{0.25, 0.5, 0.125, 0.75}));
  EXPECT_EQ(converted(rgb, ColorSpace::SRGB), (Components{0.25, 0.5, 0.125, 0.75}));
  EXPECT_EQ(converted(rgb, ColorSpace::DeviceWhite),
            (Components{0.299 * 0.25 + 0.587 * 0.5 + 0.114 * 0.125, 0.75}));
  EXPECT_EQ(converted(rgb, ColorSpace::DeviceCMYK), (Components{0.5, 0, 0.75, 0.5, 0.75}));
  EXPECT_EQ(converted(Color::colorWithCalibratedRed(0.5, 0.5, 0, 1), ColorSpace::DeviceWhite),
            (Components{0.299 * 0.5 + 0.587 * 0.5, 1}));

  const Color white = Color::colorWithCalibratedWhite(0.3, 0.6);
  EXPECT_EQ(converted(white, ColorSpace::CalibratedRGB), (Components{0.3, 0.3, 0.3, 0.6}));
  EXPECT_EQ(converted(white, ColorSpace::DeviceWhite), (Components{0.3, 0.6}));
  EXPECT_EQ(converted(white, ColorSpace::DeviceCMYK), (Components{0, 0, 0, 0.7, 0.6}));
  // There and back it is the same gray, to the last bit.
  EXPECT_EQ(white.colorUsingColorSpace(ColorSpace::SRGB)->colorUsingColorSpace(ColorSpace::CalibratedWhite),
            white);

  const Color cmyk = Color::colorWithDeviceCyan(0.5, 0, 1, 0.25, 0.5);
  EXPECT_EQ(converted(cmyk, ColorSpace::SRGB), (Components{0.375, 0.75, 0, 0.5}));
  EXPECT_EQ(converted(cmyk, ColorSpace::CalibratedWhite), (Components{0.299 * 0.375 + 0.587 * 0.75, 0.5}));
  EXPECT_EQ(converted(Color::colorWithDeviceRed(0, 0, 0, 1), ColorSpace::DeviceCMYK),
            (Components{0, 0, 0, 1, 1}));
}

TEST(ColorTest, ConvertsACatalogueColorThroughTheColorThatItNames) {
  const Color inner = Color::colorWithCatalogName("a", "b", Color::grayColor());
  const Color named = Color::colorWithCatalogName("System", "controlColor", inner);
  EXPECT_EQ(converted(named, ColorSpace::CalibratedRGB), (Components{0.5, 0.5, 0.5, 1}));
  EXPECT_EQ(converted(named, ColorSpace::CalibratedWhite), (Components{0.5, 1}));
  EXPECT_EQ(named.colorUsingColorSpace(ColorSpace::Named), named);
  EXPECT_EQ(
      Color::colorWithCatalogName("a", "b", Color::patternColor()).colorUsingColorSpace(ColorSpace::SRGB),
      std::nullopt);
}

TEST(ColorTest, IsMadeOfASpaceAndItsComponents) {
  for (const Color& color :
       {Color::colorWithCalibratedRed(0.1, 0.2, 0.3, 0.4), Color::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4),
        Color::colorWithSRGBRed(0.1, 0.2, 0.3, 0.4), Color::colorWithCalibratedWhite(0.1, 0.2),
        Color::colorWithDeviceWhite(0.1, 0.2), Color::colorWithDeviceCyan(0.1, 0.2, 0.3, 0.4, 0.5)})
    EXPECT_TRUE(isIdentical(colorWithComponents(color.colorSpace(), color.components()), color)) << color;
  const double one[] = {1};
  EXPECT_EQ(colorWithComponents(ColorSpace::DeviceWhite, one), Color::colorWithDeviceWhite(1, 0));
  EXPECT_THROW(colorWithComponents(ColorSpace::Pattern, one), Exception);
  EXPECT_THROW(colorWithComponents(ColorSpace::Named, one), Exception);
}

TEST(ColorTest, HasNoConversionFromOrToPatterns) {
  for (const ColorSpace space : {ColorSpace::CalibratedRGB, ColorSpace::SRGB, ColorSpace::DeviceWhite,
                                 ColorSpace::DeviceCMYK, ColorSpace::Named})
    EXPECT_EQ(Color::patternColor().colorUsingColorSpace(space), std::nullopt);
  EXPECT_EQ(Color::redColor().colorUsingColorSpace(ColorSpace::Pattern), std::nullopt);
  EXPECT_EQ(Color::redColor().colorUsingColorSpace(ColorSpace::Named), std::nullopt);
  EXPECT_EQ(Color::patternColor().colorUsingColorSpace(ColorSpace::Pattern), Color::patternColor());
}

TEST(ColorTest, ComparesSpacesComponentsAndNames) {
  EXPECT_FALSE(Color::colorWithCalibratedRed(1, 0, 0, 1) == Color::colorWithDeviceRed(1, 0, 0, 1));
  EXPECT_FALSE(Color::colorWithCalibratedRed(1, 0, 0, 1) == Color::colorWithCalibratedRed(1, 0, 0, 0.5));
  EXPECT_FALSE(Color::colorWithCatalogName("a", "b", Color::redColor()) ==
               Color::colorWithCatalogName("a", "c", Color::redColor()));
  EXPECT_FALSE(Color::colorWithCatalogName("a", "b", Color::redColor()) ==
               Color::colorWithCatalogName("a", "b", Color::greenColor()));
  EXPECT_FALSE(Color::colorWithCatalogName("a", "b", Color::redColor()) ==
               Color::colorWithCatalogName("c", "b", Color::redColor()));
  const Color nan = Color::colorWithCalibratedWhite(std::nan(""), 1);
  EXPECT_FALSE(nan == nan);
  EXPECT_TRUE(isIdentical(nan, nan));
  EXPECT_TRUE(Color::colorWithCalibratedWhite(0.0, 1) == Color::colorWithCalibratedWhite(-0.0, 1));
  EXPECT_FALSE(
      isIdentical(Color::colorWithCalibratedWhite(0.0, 1), Color::colorWithCalibratedWhite(-0.0, 1)));
}

TEST(ColorTest, Prints) {
  std::ostringstream out;
  out << Color::colorWithCatalogName("System", "x", Color::grayColor());
  EXPECT_EQ(out.str(), "catalogue \"System\" \"x\" (calibrated white 0.5 1)");
}

}  // namespace
}  // namespace qorvane
