#include "qorvane/jurisdictions/Jurisdictions.h"
#include "qorvane/jurisdictions/ProvinceCodeMapping.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/foundation/Allocations.h"
#include "tests/jurisdictions/Tables.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::kProductKinds;
using testing_support::lookalikes;
using testing_support::nameOf;
using testing_support::ProductKind;
using testing_support::readTable;
using testing_support::Row;
using testing_support::StoreWorld;
using Map = ProvinceCodeMapping;

// Columns that differ by product come in pairs, the personal product's first.
std::size_t of(ProductKind product, std::size_t column) {
  return column + (product == ProductKind::Corporate ? 1 : 0);
}

double number(const std::string& cell) { return Text(cell).doubleValue(); }

// The columns of names.tsv.
enum : std::size_t {
  kForm,
  kNumber,
  kCode = 3,
  kEnglishFull = 5,
  kFrenchFull = 7,
  kImage = 9,
  kNeutral,
  kFrench = 12
};

class BothProductsTest : public testing::TestWithParam<ProductKind> {
 protected:
  StoreWorld world{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(ProvinceCodeMapping, BothProductsTest, testing::ValuesIn(kProductKinds),
                         [](const auto& test) { return nameOf(test.param); });

TEST_P(BothProductsTest, ConvertEveryFormAsTheTableSays) {
  for (const char* language : {"English", "French"}) {
    world.speak(language);
    const std::size_t full = language == std::string("English") ? kEnglishFull : kFrenchFull;
    for (const Row& row : readTable("names.tsv")) {
      SCOPED_TRACE(row[kForm] + " in " + language);
      const Text form(row[kForm]);
      EXPECT_EQ(Map::getOurProvCodeFromProvName(form), number(row[of(GetParam(), kNumber)]));
      EXPECT_EQ(Map::getProvinceCode(form).view(), row[of(GetParam(), kCode)]);
      EXPECT_EQ(Map::getProvinceFullName(form).view(), row[of(GetParam(), full)]);
      EXPECT_EQ(Map::getImageIndexFromProvince(form), number(row[kImage]));
      EXPECT_EQ(Map::getNeutralProvinceName(form).view(), row[of(GetParam(), kNeutral)]);
      EXPECT_EQ(Map::getEngProvNameFromFrProvName(form).view(), row[of(GetParam(), kNeutral)]);
      EXPECT_EQ(Map::getFrProvNameFromEngProvName(form).view(), row[of(GetParam(), kFrench)]);
    }
  }
}

TEST_P(BothProductsTest, ConvertEveryNumberAsTheTableSays) {
  for (const Row& row : readTable("numbers.tsv")) {
    SCOPED_TRACE(row[0]);
    const double given = number(row[0]);
    for (const char* language : {"English", "French"}) {
      world.speak(language);
      EXPECT_EQ(Map::getShortProvNameFromOurCode(given).view(), row[of(GetParam(), 1)]);
      const std::size_t full = language == std::string("English") ? 3 : 5;
      EXPECT_EQ(Map::getFullProvNameFromOurCode(given).view(), row[of(GetParam(), full)]) << language;
    }
  }
}

TEST_P(BothProductsTest, KnowNoNumberBesideTheWholeOnes) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double strange : {-0.0, std::nextafter(5.0, 6.0), std::nextafter(5.0, 4.0), -5.0, 261.0,
                               4294967301.0, kInfinity, -kInfinity, std::nan("")}) {
    EXPECT_EQ(Map::getShortProvNameFromOurCode(strange), Text("")) << strange;
    EXPECT_EQ(Map::getFullProvNameFromOurCode(strange), Text("")) << strange;
  }
}

void expectUnknown(const Text& text) {
  SCOPED_TRACE(text.isNil() ? "nil" : "\"" + text.string() + "\"");
  EXPECT_EQ(Map::getOurProvCodeFromProvName(text), 0);
  EXPECT_EQ(Map::getProvinceCode(text), Text(""));
  EXPECT_EQ(Map::getProvinceFullName(text), Text(""));
  EXPECT_EQ(Map::getImageIndexFromProvince(text), 14);
  EXPECT_TRUE(Map::getNeutralProvinceName(text).isSameObject(text));
  EXPECT_TRUE(Map::getEngProvNameFromFrProvName(text).isSameObject(text));
  EXPECT_TRUE(Map::getFrProvNameFromEngProvName(text).isSameObject(text));
}

TEST_P(BothProductsTest, TakeNoFormInAnotherSpelling) {
  for (const Row& row : readTable("names.tsv"))
    for (const Text& text : lookalikes(row[kForm])) expectUnknown(text);
}

TEST_P(BothProductsTest, TakeNilAndTheEmptyTextForUnknown) {
  expectUnknown(nullptr);
  expectUnknown("");
  expectUnknown(Text(std::string()));
  EXPECT_EQ(Map::postalProvince(nullptr), Text(""));
  EXPECT_EQ(Map::postalProvince(""), Text(""));
}

TEST_P(BothProductsTest, FindEveryPostalLetterInEitherCase) {
  for (const Row& row : readTable("postal-codes.tsv")) {
    const Text code(row[0]);
    EXPECT_EQ(Map::postalProvince(code).view(), row[1]) << code;
    const Text lower = lookalikes(row[0]).front();
    ASSERT_EQ(lower.size(), code.size());
    EXPECT_EQ(Map::postalProvince(lower).view(), row[1]) << lower;
  }
}

TEST_P(BothProductsTest, CountOnlyTheLowBitsOfThePostalLetter) {
  const auto of = [](const char* text) { return Map::postalProvince(Text(std::string(text))).string(); };
  EXPECT_EQ(of("\u0141odz"), "NL");   // U+0141 as A
  EXPECT_EQ(of("\u0142odz"), "NL");   // upper-cased to U+0141
  EXPECT_EQ(of("\u0147A1"), "QC");    // U+0147 as G
  EXPECT_EQ(of("\u0158A1"), "NT");    // U+0158 as X
  EXPECT_EQ(of("\u01580A"), "NT");    // and yet no X0A
  EXPECT_EQ(of("\u0159"), "NT");      // upper-cased to U+0158, and short
  EXPECT_EQ(of("ß"), "SK");           // upper-cased to SS
  EXPECT_EQ(of("\uFB00"), "");        // a ligature, upper-cased to FF
  EXPECT_EQ(of("\u00C9"), "");        // U+00C9: nothing in A to Y
  EXPECT_EQ(of("\U00020400"), "NL");  // its first unit is U+D841
  EXPECT_EQ(of("x0\u1E9A"), "NU");    // upper-cased to X0A and a modifier
  EXPECT_EQ(of("x0\u00E9"), "NT");
  EXPECT_EQ(of("h\u00E9"), "QC");
  EXPECT_EQ(of("X0a"), "NU");
  EXPECT_EQ(of("x0B 1H0"), "NU");
  EXPECT_EQ(of(" H1A"), "");
  EXPECT_EQ(of("1"), "");
  EXPECT_EQ(of("["), "");
  EXPECT_EQ(of("@"), "");
  EXPECT_EQ(of("{"), "");
  EXPECT_EQ(of("~H1"), "");
}

// What ICU upper-cases, told by the rule as it was always written down.
std::string districtByICU(const std::string& code) {
  icu::UnicodeString upper = icu::UnicodeString::fromUTF8(code);
  upper.toUpper(icu::Locale::getRoot()).truncate(3);
  const char letter = static_cast<char>(upper.charAt(0) & 0xFF);
  if (letter == 'X') return upper == u"X0A" || upper == u"X0B" || upper == u"X0C" ? "NU" : "NT";
  for (const auto& [letters, province] : std::map<std::string, std::string>{{"A", "NL"},
                                                                            {"B", "NS"},
                                                                            {"C", "PE"},
                                                                            {"E", "NB"},
                                                                            {"GHJ", "QC"},
                                                                            {"KLMNP", "ON"},
                                                                            {"R", "MB"},
                                                                            {"S", "SK"},
                                                                            {"T", "AB"},
                                                                            {"V", "BC"},
                                                                            {"Y", "YT"}})
    if (letters.find(letter) != std::string::npos) return province;
  return "";
}

TEST(PostalCapitalsTest, AreThoseOfICUForEveryCharacter) {
  constexpr std::uint8_t kLatest = 15;  // What came into Unicode later has no row.
  const StoreWorld world;
  int compared = 0;
  for (UChar32 character = 1; character <= 0x10FFFF; ++character) {
    UVersionInfo age;
    u_charAge(character, age);
    if (U_IS_SURROGATE(static_cast<std::uint32_t>(character)) || age[0] == 0 || age[0] > kLatest) continue;
    std::string utf8;
    icu::UnicodeString(character).toUTF8String(utf8);
    for (const std::string& code : {utf8, utf8 + "0A", "x" + utf8 + "a", "x0" + utf8}) {
      ++compared;
      ASSERT_EQ(Map::postalProvince(Text(code)).string(), districtByICU(code)) << std::hex << character;
    }
  }
  EXPECT_GT(compared, 4 * 140'000);
}

TEST_P(BothProductsTest, AskTheProductOnEveryCall) {
  const Text nonResident = "Non-Resident";
  StoreWorld::become(ProductKind::Personal);
  EXPECT_EQ(Map::getOurProvCodeFromProvName(nonResident), 12);
  StoreWorld::become(ProductKind::Corporate);
  EXPECT_EQ(Map::getOurProvCodeFromProvName(nonResident), 15);
}

TEST_P(BothProductsTest, ConvertWithoutAllocating) {
  const Text names[] = {"Quebec", "Québec",         "Nouvelle-Écosse",
                        "NV",     "nowhere at all", Text(std::string("Ontario"))};
  Map::provinceList();
  const std::size_t before = testing_support::allocations();
  for (const Text& name : names) {
    Map::getOurProvCodeFromProvName(name);
    Map::getProvinceCode(name);
    Map::getProvinceFullName(name);
    Map::getImageIndexFromProvince(name);
    Map::getNeutralProvinceName(name);
    Map::getFrProvNameFromEngProvName(name);
    Map::postalProvince(name);
  }
  Map::provinceList();
  EXPECT_EQ(testing_support::allocations(), before);
}

TEST(ProvinceCodeMappingTest, ListsTheSameProvincesInTheSameObjectEachTime) {
  StoreWorld world;
  const std::vector<Text>& english = Map::provinceList();
  world.speak("French");
  const std::vector<Text>& french = Map::provinceList();
  EXPECT_NE(&english, &french);
  EXPECT_EQ(english, french);
  EXPECT_EQ(&french, &Map::provinceList());
  world.speak("English");
  EXPECT_EQ(&english, &Map::provinceList());
}

TEST(ProvinceCodeMappingTest, KeepsItsOddities) {
  StoreWorld world;
  for (const ProductKind product : kProductKinds) {
    world.become(product);
    const bool corporate = product == ProductKind::Corporate;
    EXPECT_EQ(Map::getProvinceCode("Québec"), Text("QC"));
    EXPECT_EQ(Map::getProvinceCode("quebec"), Text(""));
    EXPECT_EQ(Map::getProvinceCode("Non-Resident"), Text("NR"));
    EXPECT_EQ(Map::getOurProvCodeFromProvName("Nevada"), corporate ? 133 : 0);
    EXPECT_EQ(Map::getOurProvCodeFromProvName("Colombie-Britannique"), corporate ? 0 : 9);
    EXPECT_EQ(Map::getOurProvCodeFromProvName("Columbie-Britannique"), corporate ? 9 : 0);
    EXPECT_EQ(Map::getFullProvNameFromOurCode(99), corporate ? Text("") : Text("Federal"));
    EXPECT_EQ(Map::postalProvince("h2x 1y4"), Text("QC"));
    EXPECT_EQ(Map::postalProvince("X0A 0H0"), Text("NU"));
    EXPECT_EQ(Map::postalProvince("X1A 2P7"), Text("NT"));
    EXPECT_EQ(Map::postalProvince("D1A 1A1"), Text(""));
    EXPECT_EQ(Map::getImageIndexFromProvince(""), 14);
    EXPECT_EQ(Map::getImageIndexFromProvince("Federal"), 14);
    world.speak("French");
    EXPECT_EQ(Map::getFullProvNameFromOurCode(99), Text("Federal"));
    // The numbers of the corporate product, in the personal one too.
    EXPECT_EQ(Map::getProvinceFullName("Non-Resident"),
              corporate ? Text("Non-Resident") : Text("Multiple Jurisdiction"));
    EXPECT_EQ(Map::provinceList().front(), Text("Alberta"));
    EXPECT_EQ(Map::provinceList()[7], Text("British Columbia"));
    world.speak("English");
  }
}

TEST(JurisdictionsTest, AreAcceptedInNoFormThatTheTruthTableDoesNotName) {
  std::set<std::string> named;
  std::set<std::string> numbered;
  for (const Row& row : readTable("names.tsv")) {
    named.insert(row[kForm]);
    if (row[kNumber] != "0" || row[kNumber + 1] != "0") numbered.insert(row[kForm]);
  }
  std::set<std::string> accepted;
  for (const JurisdictionForm& form : jurisdictionForms()) {
    accepted.emplace(form.text);
    EXPECT_TRUE(named.contains(std::string(form.text))) << form.text << " is no row of names.tsv";
  }
  EXPECT_EQ(accepted, numbered);
  std::set<std::string> codes;
  std::set<std::string> places;
  for (const JurisdictionForm& form : jurisdictionForms()) codes.emplace(form.code);
  for (const Jurisdiction& place : jurisdictions()) places.insert(place.code.string());
  EXPECT_EQ(codes, places);
}

TEST(JurisdictionsTest, AreKnownByEveryFormOfTheProductAndByTheirLabels) {
  for (const bool corporate : {false, true}) {
    const Product product{.corporate = corporate};
    for (const Row& row : readTable("names.tsv")) {
      const std::string& code = row[kCode + corporate];
      const bool accepted = row[kNumber + corporate] != "0";
      EXPECT_EQ(isJurisdictionForm(row[kForm], product), accepted) << row[kForm];
      if (!accepted) continue;
      ASSERT_TRUE(jurisdictionMeant(row[kForm], product)) << row[kForm];
      EXPECT_EQ(jurisdictionMeant(row[kForm], product)->code.view(), code) << row[kForm];
    }
    for (const Jurisdiction& place : jurisdictions())
      for (const Language language : {Language::English, Language::French}) {
        const Text label = place.label(language);
        ASSERT_FALSE(label.isNilOrEmpty()) << place.code;
        EXPECT_EQ(label.view().find('\''), std::string_view::npos) << label;
        EXPECT_EQ(jurisdictionMeant(label, product), place.number(product) != 0 ? &place : nullptr) << label;
      }
  }
  EXPECT_EQ(jurisdictionMeant("Île-du-Prince-Édouard", {})->english, Text("Prince Edward Island"));
  EXPECT_EQ(jurisdictionMeant("Californie", {.corporate = true})->code, Text("CA"));
  EXPECT_EQ(jurisdictionMeant("", {}), nullptr);
  EXPECT_EQ(jurisdictionMeant("Atlantis", {}), nullptr);
}

}  // namespace
}  // namespace qorvane
