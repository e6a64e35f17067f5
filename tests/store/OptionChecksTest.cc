// The checks of the catalogue: which values that a person gives are accepted for which option, and why not.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/store/OptionTable.h"
#include "tests/store/ExpectedOptions.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::kProductKinds;
using testing_support::nameOf;
using testing_support::ProductKind;
using testing_support::StoreWorld;

constexpr Product kPersonal{.corporate = false};
constexpr Product kCorporate{.corporate = true};

std::optional<FailureCode> refusal(const char* option, const Value& value, const Product& product = kPersonal,
                                   Options* store = nullptr) {
  const auto failure = findProperty(option)->check(value, product, store);
  return failure ? std::optional(failure->code) : std::nullopt;
}

void expectAccepted(const char* option, const std::vector<Value>& values) {
  for (const Value& value : values)
    EXPECT_EQ(refusal(option, value), std::nullopt) << option << ": " << value;
}
void expectRefused(const char* option, FailureCode code, const std::vector<Value>& values) {
  for (const Value& value : values) EXPECT_EQ(refusal(option, value), code) << option << ": " << value;
}

TEST(OptionChecksTest, TakeDefaultsAndWhatClearsForEveryOption) {
  for (const ProductKind product : kProductKinds)
    for (const char* language : {"English", "French"}) {
      StoreWorld world(product, language);
      for (const OptionRow& row : optionTable()) {
        SCOPED_TRACE(std::string(nameOf(product)) + " " + language + " " + std::string(row.name));
        if (!row.write) continue;
        const Value read = row.read(world.store);
        for (const Value& value : {row.fallback(), read, Value(), Value("")})
          EXPECT_EQ(row.check(value, &world.store), std::nullopt) << value;
      }
    }
}

TEST(OptionChecksTest, TakeWhatTheChoicesOfAnOptionAre) {
  for (const ProductKind product : kProductKinds) {
    StoreWorld world(product);
    for (const OptionRow& row : optionTable()) {
      if (!row.choices) continue;
      SCOPED_TRACE(row.name);
      for (const Choice& choice : row.choices->choices) {
        if (!row.isLabel) {
          EXPECT_EQ(row.check(choice.neutral, nullptr), std::nullopt);
          continue;
        }
        EXPECT_EQ(row.check(choice.english, nullptr), std::nullopt);
        EXPECT_EQ(row.check(choice.french, nullptr), std::nullopt);
      }
      ASSERT_TRUE(row.check("none of them", nullptr));
      EXPECT_EQ(row.check("none of them", nullptr)->code, FailureCode::notAChoice);
    }
  }
  expectRefused("t1013LevelOfAuth", FailureCode::notAChoice, {"3", "Level-1 Disclose", " 1"});
  expectRefused("preparerModeOfDelivery", FailureCode::notAChoice, {"paper", "Téléphone", "0"});
}

TEST(OptionChecksTest, RefuseWhatCannotBeSet) {
  for (const OptionRow& row : optionTable())
    if (!row.write)
      for (const Value& value : {Value(), Value("2020")}) {
        ASSERT_TRUE(row.check(value, kPersonal, nullptr)) << row.name;
        EXPECT_EQ(*row.check(value, kPersonal, nullptr),
                  (Failure{FailureCode::optionReadOnly, {Text(row.name)}}));
      }
}

TEST(OptionChecksTest, TakeAnyTextWhereNoRuleIsKnown) {
  expectAccepted("preparerFirmName", {"Tremblay inc.", " ", "\u00E9", 5});
  expectAccepted("preparerCountry", {"Nowhere"});
  expectRefused("preparerFirmName", FailureCode::notAText, {Data("bytes"), Array{}});
}

TEST(OptionChecksTest, TakeTheJurisdictionsOfTheProduct) {
  for (const char* option : {"preparerProvince", "disc_Province"}) {
    expectAccepted(option, {"Quebec", "QC", "Québec", "Nouvelle-Écosse", "Non-Resident", "MJ", "FE"});
    expectRefused(option, FailureCode::notAJurisdiction,
                  {"quebec", "Nouvelle Ecosse", "Texas", "TX", "Québec ", "13", 13});
    for (const char* known : {"Texas", "TX", "Nouvelle Ecosse", "QC"})
      EXPECT_EQ(refusal(option, known, kCorporate), std::nullopt) << known;
    EXPECT_EQ(refusal(option, "Nouvelle-Écosse", kCorporate), FailureCode::notAJurisdiction);
  }
}

TEST(OptionChecksTest, AskTheRunningProductWhereNoneIsNamed) {
  StoreWorld world(ProductKind::Corporate);
  EXPECT_EQ(findProperty("preparerProvince")->check("Texas", nullptr), std::nullopt);
  StoreWorld::become(ProductKind::Personal);
  EXPECT_TRUE(findProperty("preparerProvince")->check("Texas", nullptr));
}

TEST(OptionChecksTest, TakeTheTwoLanguages) {
  for (const char* option : {"language", "languageOfCorrespondance"}) {
    expectAccepted(option, {"English", "French"});
    expectRefused(option, FailureCode::notALanguage, {"english", "Français", "fr", "Spanish", 1});
  }
}

TEST(OptionChecksTest, TakeTheMinutesOfADay) {
  expectAccepted("autoSaveAfter", {0, 1, 1440, 5.0});
  expectRefused("autoSaveAfter", FailureCode::notMinutes,
                {-1, 1441, 0.5, std::nan(""), std::numeric_limits<double>::infinity(), "5", "soon"});
}

TEST(OptionChecksTest, TakeCanadianPostalCodesOfCanadianAddresses) {
  for (const char* option : {"preparerPostalCode", "disc_PostalCode"}) {
    expectAccepted(option, {"K1A 0B1", "k1a0b1", "H2X-1Y4", "g0x 1a0"});
    expectRefused(
        option, FailureCode::notACanadianPostalCode,
        {"K1A  0B1", "K1A 0B", "K1A 0B11", "K1A_0B1", "KIA 0B1", "10115", "É1A 0B1", " K1A0B1", 10115});
  }
}

TEST(OptionChecksTest, TakeAnyPostalCodeOfAnotherCountry) {
  StoreWorld world;
  const auto check = [&](const char* option) { return refusal(option, "10115", kPersonal, &world.store); };
  world.start();
  EXPECT_EQ(check("preparerPostalCode"), FailureCode::notACanadianPostalCode);
  for (const char* country : {"", "Canada", "canada", "CANADA"}) {
    world.start({{"PracCountry", Text(std::string(country))}});
    EXPECT_EQ(check("preparerPostalCode"), FailureCode::notACanadianPostalCode) << country;
  }
  for (const char* country : {"Germany", "Canada East", "Kanada"}) {
    world.start({{"PracCountry", Text(std::string(country))}});
    EXPECT_EQ(check("preparerPostalCode"), std::nullopt) << country;
    // The discounter has no country of its own.
    EXPECT_EQ(check("disc_PostalCode"), FailureCode::notACanadianPostalCode) << country;
    EXPECT_EQ(world.entries().size(), 1u) << "a check stores nothing";
  }
  Options never;
  EXPECT_EQ(refusal("preparerPostalCode", "10115", kPersonal, &never), FailureCode::notACanadianPostalCode);
}

TEST(OptionChecksTest, TakeAddressesWithANameAndADomain) {
  for (const char* option : {"preparerEmail", "disc_Email", "act_Email"}) {
    expectAccepted(option, {"marie@example.ca", "a@b", "marie@home@example.ca", "zoë@exemple.québec"});
    expectRefused(option, FailureCode::notAnEmailAddress,
                  {"marie", "marie@", "@example.ca", "marie @example.ca", "marie@example.ca\n", 5});
  }
}

TEST(OptionChecksTest, TakeAbsoluteFolders) {
  expectAccepted("clientFileFolder", {"/", "/home/zoë/Clients 2020", "/a/../b"});
  expectRefused("clientFileFolder", FailureCode::notAnAbsoluteFolder,
                {"Clients", "~/Clients", " /home", "C:\\", Text(std::string("/a\0b", 4)), 5});
}

TEST(OptionChecksTest, TakeFiniteDates) {
  for (const char* option :
       {"t1013ExpiryDate", "t183AuthorizationExpiryDate", "mr69_AuthExpiryDate", "rc59_AuthExpiryDate"}) {
    expectAccepted(option, {0, 757382400.5, -1, 20201231});
    expectRefused(option, FailureCode::notAFiniteNumber,
                  {std::nan(""), std::numeric_limits<double>::infinity(), "20201231", "tomorrow", Date{5}});
  }
}

TEST(OptionChecksTest, TakeFlags) {
  for (const char* option : {"zsupress", "bDisclaimer", "isStepsMode", "qSalesRecModule"}) {
    expectAccepted(option, {true, false, 1, 0, "YES", "NO", "1", "0"});
    expectRefused(option, FailureCode::notAFlag, {2, -1, 0.5, "yes", "true", "2", Data("1")});
  }
}

TEST(OptionChecksTest, TakeFontsAndColours) {
  expectAccepted("printFontForHeader", {"Helvetica-Bold, 12", "Courier, 9.5", "Courier,0"});
  expectRefused("printFontForHeader", FailureCode::notAFont,
                {"Helvetica", ", 12", "Helvetica, big", "Helvetica, -1", 12});
  expectAccepted("mainBackColor", {archiveColor(Color::redColor())});
  expectRefused("mainBackColor", FailureCode::notAColor, {"#FF0000", Data("no archive"), Data(), 1});
}

TEST(OptionChecksTest, TellTheRuleInBothLanguagesAndNothingOfTheValue) {
  const auto minutes = findProperty("autoSaveAfter")->check(98765, kPersonal, nullptr);
  ASSERT_TRUE(minutes);
  EXPECT_EQ(minutes->reason(Language::English), Text("only a whole number of minutes from 0 to 1440 fits"));
  EXPECT_EQ(minutes->reason(Language::French), Text("seul un nombre entier de minutes de 0 à 1440 convient"));
  for (const OptionRow& row : optionTable()) {
    const auto failure = row.check("swordfish", kPersonal, nullptr);
    if (!failure) continue;
    for (const Language language : {Language::English, Language::French})
      EXPECT_EQ(failure->reason(language).view().find("swordfish"), std::string_view::npos) << row.name;
  }
}

TEST(OptionMeantTest, TakesAChoiceByAnyOfItsTexts) {
  for (const char* language : {"English", "French"}) {
    StoreWorld world(ProductKind::Personal, language);
    const bool english = language == std::string("English");
    for (const char* typed : {"Phone", "Tlphone", "Téléphone"})
      EXPECT_EQ(findProperty("preparerModeOfDelivery")->meant(typed), english ? "Phone" : "Tlphone") << typed;
    for (const OptionRow& row : optionTable()) {
      if (!row.choices) continue;
      for (const Choice& choice : row.choices->choices)
        for (const Text& typed :
             {choice.neutral, choice.english, choice.french, choice.englishLabel, choice.frenchLabel}) {
          const Text meant = row.meant(typed);
          EXPECT_EQ(meant, !row.isLabel ? choice.neutral
                           : english    ? choice.english
                                        : choice.french)
              << row.name << ": " << typed;
          EXPECT_EQ(row.check(meant, nullptr), std::nullopt) << row.name << ": " << typed;
        }
      EXPECT_EQ(row.meant("none of them"), Text("none of them"));
      EXPECT_EQ(row.meant(""), Text(""));
    }
  }
}

TEST(OptionMeantTest, TakesJurisdictionsAndLanguagesByTheirLabels) {
  const OptionRow& province = *findProperty("preparerProvince");
  EXPECT_EQ(province.meant("Île-du-Prince-Édouard", kPersonal), Text("Prince Edward Island"));
  EXPECT_EQ(province.meant("Californie", kCorporate), Text("California"));
  // Not a place of the product, or a text that the store knows as it is.
  for (const char* asTyped : {"Californie", "Québec", "QC", "Quebec", "nowhere", ""})
    EXPECT_EQ(province.meant(Text(std::string(asTyped)), kPersonal), Text(std::string(asTyped)));
  const OptionRow& language = *findProperty("languageOfCorrespondance");
  for (const char* french : {"French", "french", "Français", "français", "francais"})
    EXPECT_EQ(language.meant(Text(std::string(french)), kPersonal), Text("French")) << french;
  EXPECT_EQ(language.meant("anglais", kPersonal), Text("English"));
  EXPECT_EQ(language.meant("allemand", kPersonal), Text("allemand"));
  EXPECT_EQ(findProperty("preparerCity")->meant("Français", kPersonal), Text("Français"));
}

TEST(OptionChecksTest, AreForPeopleAndNotForTheStore) {
  StoreWorld world;
  world.store.setPreparerPostalCode("nowhere");
  world.store.setLanguageOfCorrespondance("Spanish");
  world.store.setAutoSaveAfter(-5);
  EXPECT_EQ(world.store.preparerPostalCode(), Text("nowhere"));
  EXPECT_EQ(world.store.languageOfCorrespondance(), Text("Spanish"));
  EXPECT_EQ(world.store.autoSaveAfter(), -5);
}

}  // namespace
}  // namespace qorvane
