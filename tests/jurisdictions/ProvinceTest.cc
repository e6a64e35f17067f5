#include "qorvane/jurisdictions/Province.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "qorvane/jurisdictions/ProvinceCodeMapping.h"
#include "tests/jurisdictions/Tables.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::asRow;
using testing_support::readTable;
using testing_support::Row;
using testing_support::StoreWorld;

using List = std::vector<Text> (*)();

const std::map<std::string, List> kLists = {
    {"provinces", Province::provinces},
    {"territoires", Province::territoires},
    {"provincesAndTerritories", Province::provincesAndTerritories},
    {"provincesTerritoriesAndNonResident", Province::provincesTerritoriesAndNonResident},
    {"provincesAndTerritoriesExceptQuebec", Province::provincesAndTerritoriesExceptQuebec},
    {"provinceList", [] { return ProvinceCodeMapping::provinceList(); }}};

TEST(ProvinceTest, ListsTheNamesOfTheTable) {
  StoreWorld world;
  const std::vector<Row> rows = readTable("province-lists.tsv");
  ASSERT_EQ(rows.size(), 2 * kLists.size());
  for (const Row& row : rows) {
    SCOPED_TRACE(row[0] + " " + row[1]);
    world.speak(row[1] == "en" ? "English" : "French");
    EXPECT_EQ(asRow(kLists.at(row[0])()), Row(row.begin() + 2, row.end()));
  }
}

TEST(ProvinceTest, HasTenProvincesInEnglishAndElevenEntriesInFrench) {
  StoreWorld world;
  EXPECT_EQ(Province::provinces().size(), 10u);
  EXPECT_EQ(Province::provincesTerritoriesAndNonResident().back(), Text("Non-Resident"));
  world.speak("French");
  EXPECT_EQ(Province::provinces().size(), 11u);
  EXPECT_EQ(Province::provinces().back(), Text("Résident à l'étranger"));
  EXPECT_EQ(Province::provincesTerritoriesAndNonResident().back(), Text("Rsident l'tranger"));
}

TEST(ProvinceTest, LeavesNothingOfQuebecBetweenItsNeighbours) {
  StoreWorld world;
  world.speak("French");
  const std::vector<Text> names = Province::provincesAndTerritoriesExceptQuebec();
  ASSERT_EQ(names.size(), 12u);
  EXPECT_EQ(names[7], Text("Ile-du-Prince-douard"));
  EXPECT_EQ(names[8], Text("Saskatchewan"));
}

TEST(ProvinceTest, MakesANewListOnEachCall) {
  StoreWorld world;
  for (const auto& [name, list] : kLists) {
    std::vector<Text> mine = list();
    const std::vector<Text> untouched = list();
    EXPECT_EQ(mine, untouched) << name;
    EXPECT_NE(mine.data(), untouched.data()) << name;
    mine.clear();
    EXPECT_EQ(list(), untouched) << name;
  }
}

TEST(ProvinceTest, SpeaksTheLanguageOfTheMoment) {
  StoreWorld world;
  EXPECT_EQ(Province::territoires()[0], Text("Northwest Territories"));
  world.speak("French");
  EXPECT_EQ(Province::territoires()[0], Text("Territoires du Nord-Ouest"));
  world.speak("english");
  EXPECT_EQ(Province::territoires()[0], Text("Territoires du Nord-Ouest"));
}

TEST(ProvinceTest, RecognisesQuebecInAnyCase) {
  for (const Text& name : std::vector<Text>{"Quebec", "quebec", "QUEBEC", "qUEBEc", "QC", "qc", "Qc",
                                            "Québec", "québec", "QUÉBEC", "quÉbec"})
    EXPECT_TRUE(Province::isQuebec(name)) << name;
}

// ICU's small letters of every character.
TEST(ProvinceTest, NoOtherCharacterIsALetterOfQuebec) {
  const icu::UnicodeString letters = u"quebecé";
  for (UChar32 character = 0x80; character <= 0x10FFFF; ++character) {
    if (U_IS_SURROGATE(static_cast<std::uint32_t>(character))) continue;
    icu::UnicodeString lower(character);
    lower.toLower(icu::Locale::getRoot());
    const bool isLetter = lower.length() == 1 && letters.indexOf(lower) >= 0;
    EXPECT_EQ(isLetter, character == U'é' || character == U'É') << std::hex << character;
  }
}

TEST(ProvinceTest, TakesNothingElseForQuebec) {
  for (const Text& name : std::vector<Text>{nullptr, "", "PQ", "Q", "QCC", "Québec ", " Québec", "Quebec ",
                                            "Province of Quebec", "Québec City", "Que\u0301bec",
                                            "QUE\u0301BEC", "Quèbec", "Q\u0421", "\uFF31\uFF23", "Ontario"})
    EXPECT_FALSE(Province::isQuebec(name)) << name;
  EXPECT_FALSE(Province::isQuebec(Text(std::string("qc\0", 3))));
}

TEST(ProvinceTest, PreparesReturnsInOntarioByDefault) {
  StoreWorld world;
  EXPECT_EQ(Province::defaultProvince(), Text("Ontario"));
  world.speak("French");
  EXPECT_EQ(Province::defaultProvince(), Text("Ontario"));
}

}  // namespace
}  // namespace qorvane
