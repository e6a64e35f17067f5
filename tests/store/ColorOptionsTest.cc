// The six background colours.
#include <cmath>
#include <limits>
#include <optional>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/store/OptionTable.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

// One line for each colour: its accessors, its key and its default.
struct ColorCase {
  Color (Options::*get)();
  void (Options::*set)(const std::optional<Color>&);
  const char* key;
  Color fallback;
};
const ColorCase kColors[] = {
    {&Options::mainBackColor, &Options::setMainBackColor, "MainBackColor",
     Color::colorWithCalibratedRed(0.8, 1.0, 1.0, 1.0)},
    {&Options::spouseBackColor, &Options::setSpouseBackColor, "SpouseBackColor",
     Color::colorWithCalibratedRed(1.0, 0.7137254901960784, 0.7568627450980392, 1.0)},
    {&Options::dataEntryCellBackColor, &Options::setDataEntryCellBackColor, "DataEntryCellBackColor",
     Color::colorWithCalibratedWhite(1, 1)},
    {&Options::calculatedCellBackColor, &Options::setCalculatedCellBackColor, "CalculatedCellBackColor",
     Color::colorWithCalibratedRed(1, 1, 0, 1)},
    {&Options::legtimateOverridenBackColor, &Options::setLegtimateOverridenBackColor,
     "LegtimateOverridenBackColor", Color::colorWithCalibratedRed(0, 1, 0, 1)},
    {&Options::illegtimateOverridenBackColor, &Options::setIllegtimateOverridenBackColor,
     "IllegtimateOverridenBackColor", Color::colorWithCalibratedRed(1, 0, 0, 1)},
};

class ColorOptionsTest : public testing_support::StoreTest {
 protected:
  ColorOptionsTest() { store.loadOptions(); }

  Options store;
};

TEST_F(ColorOptionsTest, LoadingReadsNoColour) {
  for (const ColorCase& color : kColors) EXPECT_EQ(entry(store, color.key), Value()) << color.key;
}

TEST_F(ColorOptionsTest, TheFirstReadStoresTheArchiveOfTheDefault) {
  for (const ColorCase& color : kColors) {
    const Color first = (store.*color.get)();
    EXPECT_EQ(entry(store, color.key), Value(archiveColor(color.fallback))) << color.key;
    EXPECT_EQ((store.*color.get)(), color.fallback) << color.key;
    const bool grey = std::string_view(color.key) == "DataEntryCellBackColor";
    EXPECT_EQ(first, grey ? Color::grayColor() : color.fallback) << color.key;
    EXPECT_FALSE(notifyAll);
  }
}

TEST_F(ColorOptionsTest, ASameColourIsNoChangeAndTheSmallestStepIsOne) {
  for (const ColorCase& color : kColors) {
    (store.*color.get)();
    (store.*color.set)(color.fallback);
    EXPECT_FALSE(notifyAll) << color.key;
    const Color before = Color::colorWithCalibratedRed(0.25, 0.5, 0.75, 1);
    (store.*color.set)(before);
    EXPECT_TRUE(notifyAll) << color.key;
    notifyAll = false;
    (store.*color.set)(before);
    EXPECT_FALSE(notifyAll) << color.key;
    const Color after = Color::colorWithCalibratedRed(0.25, 0.5, std::nextafter(0.75, 1.0), 1);
    (store.*color.set)(after);
    EXPECT_TRUE(notifyAll) << color.key;
    EXPECT_EQ((store.*color.get)(), after) << "bit for bit";
    notifyAll = false;
  }
}

TEST_F(ColorOptionsTest, NilChangesNothing) {
  for (const ColorCase& color : kColors) {
    (store.*color.set)(std::nullopt);
    EXPECT_EQ(entry(store, color.key), Value()) << "not even the default is stored";
    const BulkSetting bulk;
    (store.*color.set)(std::nullopt);
    EXPECT_EQ(entry(store, color.key), Value());
  }
  EXPECT_FALSE(notifyAll);
}

TEST_F(ColorOptionsTest, InBulkModeTheArchiveIsStoredAtOnce) {
  for (const ColorCase& color : kColors) {
    const BulkSetting bulk;
    (store.*color.set)(color.fallback);
    EXPECT_EQ(entry(store, color.key), Value(archiveColor(color.fallback)));
  }
  EXPECT_FALSE(notifyAll);
}

TEST_F(ColorOptionsTest, AChangeIsAnnouncedByTheNextSaveAndByNothingElse) {
  store.setMainBackColor(Color::redColor());
  EXPECT_EQ(takePosted(), std::vector<std::string>());
  store.saveOptions();
  EXPECT_EQ(takePosted(), std::vector<std::string>{"kPreferenceChangeEvt"});
  Options later;
  later.loadOptions();
  EXPECT_EQ(later.mainBackColor(), Color::redColor());
}

TEST_F(ColorOptionsTest, ColoursOfEverySpaceAreKept) {
  for (const Color& color :
       {Color::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4), Color::colorWithDeviceWhite(0.5, 1),
        Color::colorWithCalibratedWhite(0.1, 0.2), Color::colorWithDeviceCyan(0.1, 0.2, 0.3, 0.4, 0.5),
        Color::colorWithCatalogName("System", "controlColor", Color::colorWithCalibratedWhite(0.9, 1))}) {
    store.setMainBackColor(color);
    EXPECT_EQ(store.mainBackColor(), color);
  }
}

TEST_F(ColorOptionsTest, AColourThatCannotBeArchivedPassesItsExceptionOnAndChangesNothing) {
  store.setMainBackColor(Color::redColor());
  notifyAll = false;
  EXPECT_THROW(store.setMainBackColor(Color::patternColor()), Exception);
  EXPECT_EQ(store.mainBackColor(), Color::redColor());
  EXPECT_FALSE(notifyAll);
}

TEST_F(ColorOptionsTest, AnEntryThatIsNoArchiveThrowsThroughTheGetterAndTheComparison) {
  for (const Value& wrong :
       {Value(Text("#CCFFFF")), Value(Number(1)), Value(Number(true)), Value(Data("junk")), Value(Data()),
        Value(Date{0}), Value(Array()), Value(Dictionary())}) {
    for (const ColorCase& color : kColors) {
      store.options()->set(Text(std::string(color.key)), wrong);
      EXPECT_THROW((store.*color.get)(), Exception) << wrong;
      EXPECT_THROW((store.*color.set)(Color::redColor()), Exception) << wrong;
      EXPECT_EQ(entry(store, color.key), wrong);
      const BulkSetting bulk;
      (store.*color.set)(Color::redColor());
      EXPECT_EQ((store.*color.get)(), Color::redColor()) << "bulk mode compares nothing";
    }
  }
}

TEST_F(ColorOptionsTest, ArchivesOfExistingInstallationsOpen) {
  // Calibrated RGB 0.8f, 1, 0.8f, 1, as an installed copy of the suite wrote it.
  constexpr std::string_view kHex =
      "040b73747265616d747970656481e803840140848484074e53436f6c6f72008484084e534f626a656374008584016301840466"
      "66666683cd"
      "cc4c3f0183cdcc4c3f0186";
  std::string bytes;
  for (std::size_t i = 0; i < kHex.size(); i += 2)
    bytes.push_back(static_cast<char>(std::stoi(std::string(kHex.substr(i, 2)), nullptr, 16)));
  store.options()->set(Text("MainBackColor"), Data(bytes));
  EXPECT_EQ(store.mainBackColor(), Color::colorWithCalibratedRed(0.8F, 1, 0.8F, 1));
}

TEST_F(ColorOptionsTest, TheComparisonIsTheStoresOwnOperation) {
  EXPECT_FALSE(store.areDifferentColors(Color::redColor(), Color::redColor()));
  EXPECT_TRUE(store.areDifferentColors(Color::redColor(), Color::greenColor()));
  EXPECT_TRUE(store.areDifferentColors(Color::whiteColor(), Color::colorWithCalibratedRed(1, 1, 1, 1)))
      << "two components and four";
  const Color nan = Color::colorWithCalibratedWhite(std::numeric_limits<double>::quiet_NaN(), 1);
  EXPECT_TRUE(store.areDifferentColors(nan, nan));
}

TEST_F(ColorOptionsTest, AnUnloadedStoreAnswersDefaults) {
  Options fresh;
  fresh.setMainBackColor(Color::redColor());
  EXPECT_EQ(fresh.mainBackColor(), kColors[0].fallback);
  EXPECT_EQ(fresh.dataEntryCellBackColor(), Color::grayColor());
  EXPECT_EQ(fresh.dataEntryCellBackColor(), Color::grayColor()) << "nothing could be stored";
  EXPECT_FALSE(notifyAll);
}

}  // namespace
}  // namespace qorvane
