#include "qorvane/store/NSColorHexadecimalValue.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <array>
#include <cmath>
#include <string>

namespace qorvane {
namespace {

Text encoded(const Color& color) { return NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(color); }
std::optional<Color> decoded(const Text& text) {
  return NSColorHexadecimalValue::nsColorFromHexadecimalValue(text);
}

Text encodedRGB(double red, double green, double blue) {
  return encoded(Color::colorWithCalibratedRed(red, green, blue, 1));
}

/// The component that a code becomes: the quotient in single precision.
double component(int code) { return static_cast<float>(code) / 255.9999F; }

Color colorOfCodes(int red, int green, int blue) {
  return Color::colorWithCalibratedRed(component(red), component(green), component(blue), 0);
}

TEST(NSColorHexadecimalValueTest, Encodes) {
  EXPECT_EQ(encoded(Color::whiteColor()), Text("#FFFFFF"));
  EXPECT_EQ(encoded(Color::grayColor()), Text("#7F7F7F")) << "half is 7F";
  EXPECT_EQ(encoded(Color::yellowColor()), Text("#FFFF00"));
  EXPECT_EQ(encodedRGB(0, 0, 0), Text("#000000"));
  EXPECT_EQ(encodedRGB(1, 1, 1), Text("#FFFFFF"));
  EXPECT_EQ(encodedRGB(0.5, 0, 1), Text("#7F00FF"));
  EXPECT_EQ(encodedRGB(0.8, 1, 1), Text("#CCFFFF")) << "the main colour's default";
  EXPECT_EQ(encodedRGB(1, 182.0 / 255, 193.0 / 255), Text("#FFB6C1")) << "the spouse's";
  EXPECT_EQ(encodedRGB(0.04, 0.05, 0.06), Text("#0A0C0F")) << "two digits each";
  EXPECT_EQ(encoded(Color::colorWithCalibratedRed(1, 0, 0, 0)), Text("#FF0000")) << "no alpha";
}

TEST(NSColorHexadecimalValueTest, EncodesOtherSpacesThroughCalibratedRGB) {
  EXPECT_EQ(encoded(Color::colorWithDeviceRed(1, 0.5, 0, 1)), Text("#FF7F00"));
  EXPECT_EQ(encoded(Color::colorWithSRGBRed(1, 0.5, 0, 1)), Text("#FF7F00"));
  EXPECT_EQ(encoded(Color::colorWithDeviceWhite(0.5, 1)), Text("#7F7F7F"));
  EXPECT_EQ(encoded(Color::colorWithDeviceCyan(0, 0.5, 1, 0, 1)), Text("#FF7F00"));
  EXPECT_EQ(encoded(Color::colorWithCatalogName("System", "x", Color::redColor())), Text("#FF0000"));
}

TEST(NSColorHexadecimalValueTest, EncodesNilWithoutACalibratedForm) {
  EXPECT_TRUE(encoded(Color::patternColor()).isNil());
  EXPECT_TRUE(encoded(Color::colorWithCatalogName("a", "b", Color::patternColor())).isNil());
}

TEST(NSColorHexadecimalValueTest, EncodesComponentsOutsideTheRange) {
  EXPECT_EQ(encodedRGB(-0.1, -1000, std::nan("")), Text("#000000"));
  EXPECT_EQ(encodedRGB(2, 1, 1), Text("#1FFFFFF")) << "no digit is dropped";
  EXPECT_EQ(encodedRGB(HUGE_VAL, -HUGE_VAL, 1e300), Text("#FFFFFFFF00FFFFFFFF"));
}

TEST(NSColorHexadecimalValueTest, Decodes) {
  const auto color = decoded("#CCFFFF");
  ASSERT_TRUE(color);
  EXPECT_TRUE(isIdentical(*color, colorOfCodes(204, 255, 255)));
  EXPECT_EQ(color->components()[0], static_cast<double>(204 / 255.99989318847656F));
  EXPECT_EQ(color->components()[3], 0) << "fully transparent";
  EXPECT_EQ(decoded("#ccffff"), colorOfCodes(0xCC, 0xFF, 0xFF)) << "in either case";
  EXPECT_EQ(decoded("#0a1B2c"), colorOfCodes(0x0A, 0x1B, 0x2C));
}

TEST(NSColorHexadecimalValueTest, DoesNotLookAtTheFirstUnit) {
  const Color color = colorOfCodes(0xCC, 0xFF, 0xFF);
  for (const char* text : {"xCCFFFF", "0CCFFFF", " CCFFFF", "éCCFFFF", "日CCFFFF", "\uFFFDCCFFFF"})
    EXPECT_EQ(decoded(Text(std::string(text))), color) << text;
  EXPECT_EQ(decoded(Text(std::string("\0CCFFFF", 7))), color);
}

TEST(NSColorHexadecimalValueTest, WantsSevenUnits) {
  for (const char* text : {"", "#", "#CCFFF", "#CCFFFFF", "CCFFFF", "#CCFFFF ", "ééé", "éCCFFF"})
    EXPECT_EQ(decoded(Text(std::string(text))), std::nullopt) << text;
  EXPECT_EQ(decoded(nullptr), std::nullopt);
  // A character above U+FFFF is two units: the second is the first of the red pair, which holds no digits
  // then.
  EXPECT_EQ(decoded("\U0001F341CFFFF"), colorOfCodes(0, 0xFF, 0xFF));
  EXPECT_EQ(decoded("\U0001F341CCFFFF"), std::nullopt);
  EXPECT_EQ(decoded("#\U0001F341FF\U0001F341"), colorOfCodes(0, 0xFF, 0));
  EXPECT_EQ(decoded("#A\U0001F341ABB"), colorOfCodes(0xA, 0, 0xBB)) << "a character cut by two pairs";
  EXPECT_EQ(decoded(Text(std::string(1 << 20, 'F'))), std::nullopt);
}

TEST(NSColorHexadecimalValueTest, ScansPairsLeniently) {
  struct Case {
    const char* pair;
    int code;
  };
  for (const auto& [pair, code] : {Case{"G0", 0},
                                   {"0G", 0},
                                   {"1G", 1},
                                   {"F ", 0xF},
                                   {" F", 0xF},
                                   {"\nA", 0xA},
                                   {"\tb", 0xB},
                                   {"\u00A0C", 0xC},
                                   {"\u2003d", 0xD},
                                   {"  ", 0},
                                   {"0x", 0},
                                   {"0X", 0},
                                   {"x1", 0},
                                   {"-1", 0},
                                   {"+1", 0},
                                   {"#1", 0},
                                   {"\uFF11\uFF11", 0},
                                   {"é1", 0}}) {
    const std::string text = pair;
    EXPECT_EQ(decoded(Text("#" + text + "1234")), colorOfCodes(code, 0x12, 0x34)) << text;
    EXPECT_EQ(decoded(Text("#12" + text + "34")), colorOfCodes(0x12, code, 0x34)) << text;
    EXPECT_EQ(decoded(Text("#1234" + text)), colorOfCodes(0x12, 0x34, code)) << text;
  }
}

std::array<char, 7> textOfCodes(int red, int green, int blue) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  return {'#',
          kDigits[red >> 4],
          kDigits[red & 15],
          kDigits[green >> 4],
          kDigits[green & 15],
          kDigits[blue >> 4],
          kDigits[blue & 15]};
}

bool comesBack(int red, int green, int blue) {
  const std::array<char, 7> digits = textOfCodes(red, green, blue);
  const Text text(std::string_view(digits.data(), digits.size()));
  const auto color = decoded(text);
  return color && encoded(*color) == text;
}

TEST(NSColorHexadecimalValueTest, BringsBackEveryCodeOfEveryChannel) {
  for (int code = 0; code < 256; ++code) {
    EXPECT_TRUE(comesBack(code, 0, 255)) << code;
    EXPECT_TRUE(comesBack(255, code, 0)) << code;
    EXPECT_TRUE(comesBack(0, 255, code)) << code;
  }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)
constexpr int kStep = 97;  // A prime: the sample, for slow instrumented builds, is no plane of the cube.
#else
constexpr int kStep = 1;
#endif

TEST(NSColorHexadecimalValueSlowTest, BringsBackEveryText) {
  int lost = 0;
  for (int code = 0; code < 1 << 24; code += kStep)
    lost += !comesBack(code >> 16, code >> 8 & 255, code & 255);
  EXPECT_EQ(lost, 0);
}

// Those that ICU calls so.
TEST(NSColorHexadecimalValueTest, SkipsEveryWhiteSpaceAndNothingElse) {
  for (UChar32 unit = 1; unit <= 0xFFFF; ++unit) {
    if (U_IS_SURROGATE(static_cast<std::uint32_t>(unit)) || u_digit(unit, 16) >= 0) continue;
    std::string utf8;
    icu::UnicodeString(unit).toUTF8String(utf8);
    const int red = u_isUWhiteSpace(unit) ? 7 : 0;
    EXPECT_EQ(decoded(Text("#" + utf8 + "70000")), colorOfCodes(red, 0, 0)) << std::hex << unit;
  }
}

}  // namespace
}  // namespace qorvane
