#include <gtest/gtest.h>
#include <locale.h>

#include <cstdio>
#include <limits>

#include "qorvane/store/OptionTable.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::StoreWorld;

TEST(PrintOptionsTest, AFreshStore) {
  StoreWorld world;
  world.start();
  EXPECT_FALSE(world.store.printFooterOption());
  EXPECT_FALSE(world.store.printWaterMark());
  EXPECT_FALSE(world.store.printFontForHeader());
  EXPECT_FALSE(world.store.printFontForFooter());
  EXPECT_TRUE(world.store.printHeaderUserHeader().isNil());
  EXPECT_EQ(world.store.printFormatsSelected(), Text(""));
  EXPECT_TRUE(world.entries().empty());
  EXPECT_TRUE(world.store.printBarCode());
  EXPECT_EQ(world.entries(), (Dictionary{{"PrintBarCode", Text("1")}}));
}

TEST(PrintOptionsTest, TheFontsHaveNamesOfTheirOwnAndOneSize) {
  StoreWorld world;
  world.start();
  world.store.setPrintFontForHeader(FontDescriptor("Helvetica", 10));
  EXPECT_FALSE(world.store.printFontForFooter());
  world.store.setPrintFontForFooter(FontDescriptor("Courier-Bold", 14));
  EXPECT_EQ(world.store.printFontForHeader(), FontDescriptor("Helvetica", 14));
  EXPECT_EQ(world.store.printFontForFooter(), FontDescriptor("Courier-Bold", 14));
  world.store.setPrintFontForHeader(FontDescriptor("Times", 8));
  EXPECT_EQ(world.store.printFontForFooter(), FontDescriptor("Courier-Bold", 8));
  EXPECT_EQ(world.entries(), (Dictionary{{"HeaderFontName", Text("Times")},
                                         {"HeaderFontSize", Text("8.000000")},
                                         {"FooterFontName", Text("Courier-Bold")}}));
  EXPECT_FALSE(StoreWorld::announced());
}

TEST(PrintOptionsTest, NoFontAndAFontWithoutANameAreIgnored) {
  StoreWorld world;
  const Dictionary before{{"HeaderFontName", Text("Times")},
                          {"HeaderFontSize", Text("8.000000")},
                          {"FooterFontName", Text("Courier")}};
  world.start(before);
  for (const std::optional<FontDescriptor>& none :
       {std::optional<FontDescriptor>(), std::optional(FontDescriptor(nullptr, 12))}) {
    world.store.setPrintFontForFooter(none);
    world.store.setPrintFontForHeader(none);
    EXPECT_TRUE(isIdentical(world.entries(), before));
  }
}

TEST(PrintOptionsTest, AFontNeedsBothEntries) {
  StoreWorld world;
  world.start({{"HeaderFontName", Text("Times")}});
  EXPECT_FALSE(world.store.printFontForHeader());
  world.start({{"HeaderFontSize", Text("12.000000")}});
  EXPECT_FALSE(world.store.printFontForHeader());
  // The footer's own size is a key without an option.
  world.start({{"FooterFontName", Text("Times")}, {"FooterFontSize", Text("12.000000")}});
  EXPECT_FALSE(world.store.printFontForFooter());
}

TEST(PrintOptionsTest, ASizeIsReadInSinglePrecision) {
  struct SizeRow {
    Value entry;
    double size;
  };
  const SizeRow rows[] = {
      {Text("12.000000"), 12},
      {Text("10.100000"), static_cast<double>(10.1f)},
      {Text(" 9,5"), 9},
      {Text("twelve"), 0},
      {Text(""), 0},
      {Text("1e300"), std::numeric_limits<double>::infinity()},
      {Number(14), 14},
      {Number(0.1), static_cast<double>(0.1f)},
      {Array{}, 0},
      {Data("12"), 0},
  };
  StoreWorld world;
  for (const SizeRow& row : rows) {
    SCOPED_TRACE(row.entry);
    world.start({{"HeaderFontName", Text("Times")}, {"HeaderFontSize", row.entry}});
    const auto font = world.store.printFontForHeader();
    ASSERT_TRUE(font);
    EXPECT_EQ(font->pointSize(), row.size);
  }
}

TEST(PrintOptionsTest, ASizeIsWrittenAsCWritesItWhateverTheLocale) {
  StoreWorld world;
  const locale_t c = newlocale(LC_ALL_MASK, "C", nullptr);
  for (const double size :
       {12.0, 0.0, -0.0, 9.5, 10.1, 0.0000005, 0.0000015, 2.5e-7, -7.25, 1e15, 1e22, 1234567.891,
        std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest(),
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity()}) {
    SCOPED_TRACE(size);
    world.store.setPrintFontForHeader(FontDescriptor("Times", size));
    const locale_t before = uselocale(c);
    char expected[400];
    std::snprintf(expected, sizeof expected, "%f", size);
    uselocale(before);
    EXPECT_EQ(world.entry("HeaderFontSize"), Value(Text(std::string(expected))));
  }
  freelocale(c);
}

TEST(PrintOptionsTest, TwelvePointsAreTwelveWithSixDecimals) {
  StoreWorld world;
  world.store.setPrintFontForFooter(FontDescriptor("Helvetica", 12));
  EXPECT_EQ(world.entry("HeaderFontSize"), Value(Text("12.000000")));
}

TEST(PrintOptionsTest, NoFormatsAreTheEmptyText) {
  StoreWorld world;
  for (const Text& nothing : {Text(), Text("")}) {
    world.start({{"PrintFormatsSelected", Text("A,B")}});
    world.store.setPrintFormatsSelected(nothing);
    EXPECT_EQ(world.entry("PrintFormatsSelected"), Value(Text("")));
  }
}

TEST(PrintOptionsTest, NoChangeOfAPrintSettingIsAnnounced) {
  StoreWorld world;
  world.store.setPrintBarCode(false);
  world.store.setDonotShowPDFValidityPage(true);
  world.store.setPrinterNameChosen("Laser");
  world.store.setPrintHeaderOption(true);
  world.store.setPrintFontForHeader(FontDescriptor("Times", 8));
  world.store.setPrintFontForFooter(FontDescriptor("Times", 9));
  world.store.setPrintFooterOption(true);
  world.store.setPrintWaterMark(true);
  world.store.setPrintHeaderUserHeader("Copy");
  world.store.setPrintFormatsSelected("A,B");
  EXPECT_FALSE(StoreWorld::announced());
  EXPECT_EQ(world.entry("PrintWaterMarkText"), Value(Text("1")));
}

TEST(PrintOptionsTest, AFontHasATextOfItsOwn) {
  struct FontRow {
    const char* text;
    const char* name;
    double size;
    const char* shown;
  };
  const FontRow rows[] = {
      {"Helvetica, 12", "Helvetica", 12, "Helvetica, 12"},
      {"Helvetica,12.50", "Helvetica", 12.5, "Helvetica, 12.5"},
      {"A, B,   0", "A, B", 0, "A, B, 0"},
      {"Times, 10.1", "Times", 10.1, "Times, 10.1"},
  };
  for (const FontRow& row : rows) {
    const auto font = fontFromText(row.text);
    ASSERT_TRUE(font) << row.text;
    EXPECT_EQ(font->postscriptName().view(), row.name);
    EXPECT_EQ(font->pointSize(), row.size);
    EXPECT_EQ(fontText(font).view(), row.shown);
  }
  EXPECT_EQ(fontText(FontDescriptor("Times", static_cast<double>(10.1f))), Text("Times, 10.1"));
  EXPECT_TRUE(fontText(std::nullopt).isNil());
  for (const char* none :
       {"", "Helvetica", ", 12", "Helvetica,", "Helvetica, ", "Helvetica, x", "Helvetica, 12pt",
        "Helvetica, -1", "Helvetica, inf", "Helvetica, nan", "Helvetica, 1e999"})
    EXPECT_FALSE(fontFromText(none)) << none;
}

}  // namespace
}  // namespace qorvane
