#include "qorvane/desktop/ColorArchive.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "tests/propertylist/PropertyListSamples.h"

namespace qorvane {
namespace {

using testing_support::fromHex;
using testing_support::toHex;

// Archives that existing installations hold.
const std::string kLightGreen =
    "040b73747265616d747970656481e803840140848484074e53436f6c6f72008484084e534f626a65637400858401630184046666"
    "666683cdcc4c3f0183cdcc4c3f0186";
const std::string kBlack =
    "040b73747265616d747970656481e803840140848484074e53436f6c6f72008484084e534f626a656374008584016303840266"
    "66000186";
const std::string kWhiteOfAnOldMachine =
    "040b747970656473747265616d8103e8840140848484074e53436f6c6f72008484084e534f626a656374008584016303840266"
    "66010186";

// What every archive of ours begins with: the stream, a group of one object, the class of colours.
const std::string kStream = "040b73747265616d747970656481e803840140";
const std::string kColor = "848484074e53436f6c6f72008484084e534f626a6563740085";

std::string hexOf(const Color& color) { return toHex(archiveColor(color).view()); }
Color colorOf(std::string_view hex) { return unarchiveColor(Data(fromHex(hex))); }

std::string refusal(const std::string& bytes) {
  try {
    unarchiveColor(Data(bytes));
  } catch (const Exception& exception) {
    return exception.what();
  }
  return "read without a word";
}

std::string refusalOfHex(std::string_view hex) { return refusal(fromHex(hex)); }

void expectRoundTrip(const Color& color) {
  const Color back = unarchiveColor(archiveColor(color));
  EXPECT_TRUE(isIdentical(back, color)) << back << " for " << color;
}

TEST(ColorArchiveTest, ReadsTheArchivesOfExistingInstallations) {
  const double light = 0.8F;
  EXPECT_TRUE(isIdentical(colorOf(kLightGreen), Color::colorWithCalibratedRed(light, 1, light, 1)));
  EXPECT_TRUE(isIdentical(colorOf(kBlack), Color::colorWithCalibratedWhite(0, 1)));
  EXPECT_TRUE(isIdentical(colorOf(kWhiteOfAnOldMachine), Color::whiteColor()));
}

TEST(ColorArchiveTest, WritesTheBytesThatExistingInstallationsWrite) {
  EXPECT_EQ(hexOf(Color::colorWithCalibratedRed(0.8F, 1, 0.8F, 1)), kLightGreen);
  EXPECT_EQ(hexOf(Color::colorWithCalibratedWhite(0, 1)), kBlack);
}

TEST(ColorArchiveTest, WritesTheseBytes) {
  const std::string kind = "840163";
  EXPECT_EQ(hexOf(Color::colorWithCalibratedRed(0.8, 1, 1, 1)),
            kStream + kColor + kind + "01" + "840464646464" + "839a9999999999e93f" + "010101" + "86");
  EXPECT_EQ(hexOf(Color::colorWithDeviceRed(1, 0, -1, 0.5)),
            kStream + kColor + kind + "02" + "840466666666" + "0100ff" + "830000003f" + "86");
  EXPECT_EQ(hexOf(Color::colorWithDeviceWhite(128, -111)),
            kStream + kColor + kind + "04" + "84026666" + "818000" + "8191ff" + "86");
  EXPECT_EQ(hexOf(Color::colorWithDeviceCyan(0, 1, 100000, -110, 127)),
            kStream + kColor + kind + "05" + "84056666666666" + "000182a0860100927f" + "86");
  EXPECT_EQ(hexOf(Color::colorWithSRGBRed(0, 0.5, 1, 1)), kStream + "84" + "84840b515653524742436f6c6f7200" +
                                                              "8484084e534f626a6563740085" + "840466666666" +
                                                              "00" + "830000003f" + "0101" + "86");
}

TEST(ColorArchiveTest, WritesCatalogueColorsWithBackReferences) {
  EXPECT_EQ(hexOf(Color::colorWithCatalogName("System", "é",
                                              Color::colorWithCatalogName("", "b", Color::whiteColor()))),
            kStream + kColor + "840163" + "06" + "8403404040"  // strings: @ NSColor NSObject c @@@
                + "84" + "8484084e53537472696e67" + "01" + "94" + "84012b" + "06" + "53797374656d" +
                "86"                                         // "System"
                + "84" + "96" + "98" + "02" + "c3a9" + "86"  // "é"
                + "84" + "93" + "95" + "06" + "96" +         // a name
                "84" + "96" + "98" + "00" + "86" +           // ""
                "84" + "96" + "98" + "01" + "62" + "86" +    // "b"
                "84" + "93" + "95" + "03" + "84026666" + "0101" + "86" + "86" + "86");
}

TEST(ColorArchiveTest, BringsBackEverySpace) {
  for (const Color& color :
       {Color::colorWithCalibratedRed(0.1, 0.2, 0.3, 0.4), Color::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4),
        Color::colorWithSRGBRed(0.1, 0.2, 0.3, 0.4), Color::colorWithCalibratedWhite(0.1, 0.2),
        Color::colorWithDeviceWhite(0.1, 0.2), Color::colorWithDeviceCyan(0.1, 0.2, 0.3, 0.4, 0.5),
        Color::whiteColor(), Color::grayColor(), Color::yellowColor(), Color::greenColor(),
        Color::redColor()}) {
    expectRoundTrip(color);
    expectRoundTrip(Color::colorWithCatalogName("Système", Text(std::string("n\0m", 3)), color));
  }
  expectRoundTrip(Color::colorWithCatalogName(Text(std::string(70000, 'x')), "", Color::redColor()));
  Color deep = Color::redColor();
  for (int i = 0; i < Color::kDeepestNames; ++i) {
    deep = Color::colorWithCatalogName(Text(std::to_string(i)), "n", deep);
    expectRoundTrip(deep);
  }
}

TEST(ColorArchiveTest, BringsBackEveryBitOfADouble) {
  std::vector<std::uint64_t> bits;
  for (int bit = 0; bit < 64; ++bit) {
    const std::uint64_t one = std::uint64_t{1} << bit;
    // Powers of two as bits; ones, infinities and NaNs with a bit changed.
    for (const std::uint64_t base : {std::uint64_t{0}, std::uint64_t{0x3FF0000000000000},
                                     std::uint64_t{0x7FF0000000000000}, std::uint64_t{0xFFF0000000000000}})
      bits.push_back(base ^ one);
    bits.push_back(std::bit_cast<std::uint64_t>(std::ldexp(1.0, bit)));
    bits.push_back(std::bit_cast<std::uint64_t>(-std::ldexp(1.0, bit)));
    bits.push_back(std::bit_cast<std::uint64_t>(std::ldexp(1.0, bit) - 1));
  }
  for (const double real : testing_support::awkwardReals())
    bits.push_back(std::bit_cast<std::uint64_t>(real));
  using Single = std::numeric_limits<float>;
  for (const float real :
       {Single::min(), Single::max(), Single::lowest(), Single::denorm_min(), Single::quiet_NaN(),
        -Single::quiet_NaN(), Single::infinity(), 0.1F, 16777216.0F, 2147483648.0F, -2147483648.0F})
    bits.push_back(std::bit_cast<std::uint64_t>(static_cast<double>(real)));
  std::mt19937_64 random(3);
  for (int i = 0; i < 20000; ++i) bits.push_back(random());
  for (const std::uint64_t pattern : bits) {
    const auto real = std::bit_cast<double>(pattern);
    expectRoundTrip(Color::colorWithCalibratedRed(real, 0.5, real, 1));
    expectRoundTrip(Color::colorWithCalibratedWhite(0.1, real));
  }
}

TEST(ColorArchiveTest, WritesWholeNumbersAsIntegersAndNothingElse) {
  const auto component = [](double number) {
    const std::string bytes = hexOf(Color::colorWithDeviceWhite(number, 0));
    const std::string before = kStream + kColor + "840163" + "04" + "84026666";
    return bytes.substr(before.size(), bytes.size() - before.size() - 4);
  };
  EXPECT_EQ(component(0.0), "00");
  EXPECT_EQ(component(-0.0), "8300000080");
  EXPECT_EQ(component(1), "01");
  EXPECT_EQ(component(127), "7f");
  EXPECT_EQ(component(128), "818000");
  EXPECT_EQ(component(-110), "92");
  EXPECT_EQ(component(-111), "8191ff");
  EXPECT_EQ(component(32767), "81ff7f");
  EXPECT_EQ(component(32768), "8200800000");
  EXPECT_EQ(component(-2147483648.0), "8200000080");
  EXPECT_EQ(component(2147483648.0), "830000004f");
  EXPECT_EQ(component(HUGE_VAL), "830000807f");
  EXPECT_EQ(component(std::numeric_limits<double>::quiet_NaN()), "830000c07f");
}

TEST(ColorArchiveTest, ReadsBothByteOrdersAndBothPrecisions) {
  const std::string big = "040b747970656473747265616d8103e8840140";
  const std::string little = "040b73747265616d747970656481e803840140";
  const Color color = Color::colorWithDeviceWhite(0.5, 1000);
  EXPECT_EQ(colorOf(little + kColor + "840163" + "04" + "84026666" + "830000003f" + "81e803" + "86"), color);
  EXPECT_EQ(colorOf(big + kColor + "840163" + "04" + "84026666" + "833f000000" + "8103e8" + "86"), color);
  EXPECT_EQ(
      colorOf(little + kColor + "840163" + "04" + "84026464" + "83000000000000e03f" + "82e8030000" + "86"),
      color);
  EXPECT_EQ(colorOf(big + kColor + "840163" + "04" + "84026464" + "833fe0000000000000" + "82000003e8" + "86"),
            color);
  // A catalogue colour of an old machine, its names one and the same object.
  EXPECT_EQ(colorOf(big + kColor + "840163" + "06" + "8403404040" + "848484084e53537472696e67" + "01" + "94" +
                    "84012b" + "0161" + "86" + "95" + "84" + "93" + "95" + "03" + "84026666" + "0001" + "86" +
                    "86"),
            Color::colorWithCatalogName("a", "a", Color::colorWithCalibratedWhite(0, 1)));
}

TEST(ColorArchiveTest, RefusesPatterns) {
  EXPECT_THROW(archiveColor(Color::patternColor()), Exception);
  EXPECT_THROW(archiveColor(Color::colorWithCatalogName("a", "b", Color::patternColor())), Exception);
}

TEST(ColorArchiveTest, SaysWhatIsWrongAndWhere) {
  const auto at = [](std::size_t byte, std::string_view why) {
    return "bad colour archive at byte " + std::to_string(byte) + ": " + std::string(why);
  };
  const std::string group = kStream + kColor + "840163";
  const std::size_t kindAt = group.size() / 2;
  EXPECT_EQ(refusal(""), at(0, "the archive is cut short"));
  EXPECT_EQ(refusal("not an archive"), at(0, "not a typed stream"));
  EXPECT_EQ(refusalOfHex("040b" + toHex("typedstreak")), at(1, "not a typed stream"));
  EXPECT_EQ(refusalOfHex("04ff" + toHex("typedstream")), at(13, "the archive is cut short"));
  EXPECT_EQ(refusalOfHex("040b" + toHex("streamtyped") + "81e703"), at(13, "an unknown version"));
  EXPECT_EQ(refusalOfHex("040b" + toHex("streamtyped") + "81e803840169"),
            at(16, "an unexpected group of values"));
  EXPECT_EQ(refusalOfHex(kStream + "85"), at(19, "a tag that does not belong here"));
  EXPECT_EQ(refusalOfHex(kStream + "92"), at(19, "a reference to something that has not been"));
  EXPECT_EQ(refusalOfHex(kStream + "848484064e53"), at(25, "the archive is cut short"));
  EXPECT_EQ(refusalOfHex(kStream + "848484064e53466f6e74" + "00"), at(20, "an unknown class"));
  EXPECT_EQ(refusalOfHex(kStream + "848484074e53436f6c6f7201"), at(20, "an unknown version of a class"));
  EXPECT_EQ(refusalOfHex(kStream + "848484074e53436f6c6f720085"), at(31, "a tag that does not belong here"));
  EXPECT_EQ(refusalOfHex(kStream + "848484074e53436f6c6f720093"), at(31, "another class was expected"));
  EXPECT_EQ(refusalOfHex(kStream + "848484074e53436f6c6f720084" + "84074e53436f6c6f720085"),
            at(31, "another class was expected"));
  EXPECT_EQ(refusalOfHex(kStream + "848484084e534f626a656374008484" + "00"),
            at(32, "the root class has a superclass"));
  EXPECT_EQ(refusalOfHex(kStream + "848484084e534f626a6563740085"), at(19, "a colour was expected"));
  EXPECT_EQ(refusalOfHex(kStream + "848484084e53537472696e67018484084e534f626a6563740085"),
            at(19, "a colour was expected"));
  EXPECT_EQ(refusalOfHex(group + "07"), at(kindAt, "an unknown kind of colour"));
  EXPECT_EQ(refusalOfHex(group + "00"), at(kindAt, "an unknown kind of colour"));
  EXPECT_EQ(refusalOfHex(group + "03" + "840466666666"), at(kindAt + 1, "an unexpected group of values"));
  EXPECT_EQ(refusalOfHex(group + "03" + "84026664"), at(kindAt + 1, "an unexpected group of values"));
  EXPECT_EQ(refusalOfHex(group + "03" + "95"), at(kindAt + 1, "an unexpected group of values"));
  EXPECT_EQ(refusalOfHex(group + "03" + "96"), at(kindAt + 1, "a reference to something that has not been"));
  EXPECT_EQ(refusalOfHex(group + "03" + "84ff"), at(kindAt + 2, "a negative length"));
  EXPECT_EQ(refusalOfHex(group + "03" + "8482ffffff7f"), at(kindAt + 7, "the archive is cut short"));
  EXPECT_EQ(refusalOfHex(group + "03" + "84026666" + "0084"), at(kindAt + 6, "an integer was expected"));
  EXPECT_EQ(refusalOfHex(group + "03" + "84026666" + "000185"),
            at(kindAt + 7, "the end of an object was expected"));
  EXPECT_EQ(refusalOfHex(kBlack + "00"), at(kBlack.size() / 2, "something follows the colour"));
}

TEST(ColorArchiveTest, RefusesBadCatalogueColors) {
  const std::string named = kStream + kColor + "840163" + "06" + "8403404040";
  const std::string text =
      "848484084e53537472696e67"
      "01"
      "94"
      "84012b";
  const auto says = [](const std::string& hex, std::string_view why) {
    return refusalOfHex(hex).find(why) != std::string::npos;
  };
  EXPECT_TRUE(says(named + "85", "a tag that does not belong here")) << "a nil name";
  EXPECT_TRUE(says(named + "92", "a text was expected")) << "itself as a name";
  EXPECT_TRUE(says(named + "93", "a text was expected")) << "a class as a name";
  EXPECT_TRUE(says(named + "8493", "a text was expected")) << "a colour as a name";
  EXPECT_TRUE(says(named + text +
                       "02"
                       "ffff"
                       "86",
                   "a text that is no UTF-8"));
  EXPECT_TRUE(says(named + text + "82ffffff7f", "the archive is cut short"));
  EXPECT_TRUE(says(named + text +
                       "0161"
                       "86"
                       "95"
                       "92",
                   "a colour was expected"))
      << "itself as its colour";
  EXPECT_TRUE(says(named + text +
                       "0161"
                       "86"
                       "95"
                       "95",
                   "a colour was expected"))
      << "a text as its colour";
  EXPECT_TRUE(says(named + text +
                       "0161"
                       "86"
                       "95"
                       "85",
                   "a tag that does not belong here"))
      << "no colour";
  // Names that stand for names, without end.
  std::string deep = named + text +
                     "0161"
                     "86"
                     "95";
  for (int i = 0; i < 100'000; ++i)
    deep +=
        "8493"
        "95"
        "06"
        "96"
        "95"
        "95";
  EXPECT_TRUE(says(deep, "names stand for names too deep"));
  std::string classes = kStream + "84";
  for (int i = 0; i < 100'000; ++i)
    classes +=
        "84"
        "84084e534f626a656374"
        "00";
  EXPECT_TRUE(says(classes, "the root class has a superclass"));
}

std::vector<std::string> samples() {
  std::vector<std::string> result{fromHex(kLightGreen), fromHex(kBlack), fromHex(kWhiteOfAnOldMachine)};
  for (const Color& color :
       {Color::colorWithSRGBRed(0.1, 0.2, 0.3, 0.4), Color::colorWithDeviceCyan(0.1, 0.2, 0.3, 0.4, 0.5),
        Color::colorWithCatalogName("System", "é", Color::colorWithCatalogName("a", "b", Color::redColor()))})
    result.emplace_back(archiveColor(color).view());
  return result;
}

TEST(ColorArchiveTest, RefusesEveryTruncation) {
  for (const std::string& sample : samples())
    for (std::size_t length = 0; length < sample.size(); ++length)
      EXPECT_THROW(unarchiveColor(Data(sample.substr(0, length))), Exception)
          << toHex(sample) << ' ' << length;
}

TEST(ColorArchiveTest, AnswersOrRefusesEveryFlippedBit) {
  int readable = 0;
  for (const std::string& sample : samples()) {
    for (std::size_t bit = 0; bit < sample.size() * 8; ++bit) {
      std::string changed = sample;
      changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
      try {
        expectRoundTrip(unarchiveColor(Data(changed)));
        ++readable;
      } catch (const Exception&) {
      }
    }
  }
  EXPECT_GT(readable, 100) << "a flipped bit of a component leaves a well-formed archive";
}

}  // namespace
}  // namespace qorvane
