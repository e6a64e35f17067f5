#include "qorvane/jurisdictions/ChoiceLists.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "qorvane/jurisdictions/AssessmentOptionsMapping.h"
#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/jurisdictions/CompanyTypeMapping.h"
#include "qorvane/jurisdictions/LevelOfAuthorizationMapping.h"
#include "qorvane/jurisdictions/MR69AuthoriztionOrPowerOfAttorneyMapping.h"
#include "qorvane/jurisdictions/MR69OptionsMapping.h"
#include "qorvane/jurisdictions/MethodOfContactMapping.h"
#include "qorvane/jurisdictions/ModeOfDelivery.h"
#include "qorvane/jurisdictions/NoticeOfAssAndRefundMapping.h"
#include "qorvane/jurisdictions/RC59OptionsMapping.h"
#include "qorvane/jurisdictions/TypeOfOrganizationMapping.h"
#include "qorvane/jurisdictions/UseAddressMapping.h"
#include "qorvane/vocabulary/ChoiceLabels.h"
#include "tests/foundation/Allocations.h"
#include "tests/jurisdictions/Tables.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::asRow;
using testing_support::lookalikes;
using testing_support::readTable;
using testing_support::Row;
using testing_support::StoreWorld;

// The columns of choices.tsv, and of choice-rules.tsv the English half; the French one is beside it.
enum : std::size_t { kClass, kNeutral, kEnglish, kFrench };
enum : std::size_t { kDefault = 1, kUnknownLabel = 3, kUnknownValue = 5 };

constexpr const char* kLanguages[] = {"English", "French"};

// What a cell of choice-rules.tsv means for this argument.
Text meant(const std::string& cell, const Text& argument) {
  return cell == "(argument)" ? argument : Text(cell);
}

std::map<std::string, std::vector<Row>> choicesByClass() {
  std::map<std::string, std::vector<Row>> lists;
  for (const Row& row : readTable("choices.tsv")) lists[row[kClass]].push_back(row);
  return lists;
}

struct List {
  Row rules;
  std::vector<Row> choices;
};

void PrintTo(const List& list, std::ostream* out) { *out << list.rules[kClass]; }

std::vector<List> allLists() {
  std::map<std::string, std::vector<Row>> choices = choicesByClass();
  std::vector<List> lists;
  for (const Row& rules : readTable("choice-rules.tsv")) lists.push_back({rules, choices.at(rules[kClass])});
  return lists;
}

class EveryListTest : public testing::TestWithParam<List> {
 protected:
  bool isLabel(const Text& text) const {
    for (const Row& row : GetParam().choices)
      if (text.view() == row[kEnglish] || text.view() == row[kFrench]) return true;
    return false;
  }
  bool isNeutral(const Text& text) const {
    for (const Row& row : GetParam().choices)
      if (text.view() == row[kNeutral]) return true;
    return false;
  }
  const std::string& rule(std::size_t column, std::size_t language) const {
    return GetParam().rules[column + language];
  }

  StoreWorld world;
  const ChoiceList& list = *choiceList(GetParam().rules[kClass]);
};

INSTANTIATE_TEST_SUITE_P(ChoiceLists, EveryListTest, testing::ValuesIn(allLists()),
                         [](const auto& test) { return test.param.rules[kClass]; });

TEST_P(EveryListTest, OffersItsLabelsInOrder) {
  for (const std::size_t language : {0u, 1u}) {
    world.speak(kLanguages[language]);
    Row expected;
    for (const Row& row : GetParam().choices) expected.push_back(row[kEnglish + language]);
    EXPECT_EQ(asRow(list.options()), expected);
  }
}

TEST_P(EveryListTest, ListsItsRows) {
  ASSERT_EQ(list.choices.size(), GetParam().choices.size());
  for (std::size_t i = 0; i < list.choices.size(); ++i) {
    EXPECT_EQ(list.choices[i].neutral.view(), GetParam().choices[i][kNeutral]);
    EXPECT_EQ(list.choices[i].english.view(), GetParam().choices[i][kEnglish]);
    EXPECT_EQ(list.choices[i].french.view(), GetParam().choices[i][kFrench]);
  }
}

TEST_P(EveryListTest, ShowsLabelsThatAreProperAndDifferFromEachOther) {
  for (const Language language : {Language::English, Language::French}) {
    std::set<std::string> labels;
    for (const Choice& choice : list.choices) {
      const Text label = choice.label(language);
      ASSERT_FALSE(label.isNilOrEmpty());
      EXPECT_EQ(label.view().find_first_of("'\"&"), std::string_view::npos) << label;
      EXPECT_TRUE(labels.insert(label.string()).second) << label;
    }
  }
}

TEST_P(EveryListTest, KnowsEachChoiceByAnyOfItsTexts) {
  for (const Choice& choice : list.choices) {
    for (const Text& text :
         {choice.neutral, choice.english, choice.french, choice.englishLabel, choice.frenchLabel})
      EXPECT_EQ(list.meant(text), &choice) << text;
    for (const Text& text : lookalikes(choice.frenchLabel.view()))
      EXPECT_EQ(list.meant(text), nullptr) << text;
  }
  EXPECT_EQ(list.meant(""), nullptr);
  EXPECT_EQ(list.meant("none of them"), nullptr);
}

TEST_P(EveryListTest, OffersInEachYearWhatItsClassOffers) {
  for (int year = 2009; year < 2025; ++year)
    for (const bool corporate : {false, true}) {
      const Product product{.corporate = corporate, .taxYear = year};
      QVSettings::setProduct(product);
      Row rows;
      for (const Choice& choice : list.currentRows(product)) rows.push_back(choice.english.string());
      EXPECT_EQ(rows, asRow(list.options())) << year;
      EXPECT_EQ(list.currentRows().data(), list.currentRows(product).data()) << year;
      EXPECT_EQ(list.currentRows().size(), rows.size()) << year;
    }
}

TEST(ChoiceTest, IsStillReadByAFormerLabel) {
  constexpr Choice kRenamed[] = {{"1", "Now", "Maintenant", "Now", "Maintenant", {"Then", "Alors"}},
                                 {"2", "Never", "Jamais", "Never", "Jamais"}};
  for (const char* former : {"Then", "Alors"})
    EXPECT_EQ(choices::withLabel(kRenamed, Text(std::string(former))), &kRenamed[0]);
  EXPECT_EQ(choices::withLabel(kRenamed, "Jamais"), &kRenamed[1]);
  EXPECT_EQ(choices::withLabel(kRenamed, nullptr), nullptr);
  EXPECT_EQ(choices::withLabel(kRenamed, ""), nullptr);
}

TEST(ChoiceTest, IsShownWithTheAccentsThatItsStoredLabelLacks) {
  const auto shown = [](const char* list, std::size_t choice) {
    return choiceList(list)->choices[choice].label(Language::French);
  };
  EXPECT_EQ(shown("ModeOfDelivery", 1), Text("Téléphone"));
  EXPECT_EQ(shown("MethodOfContactMapping", 0), Text("Télécopie"));
  EXPECT_EQ(shown("LevelOfAuthorizationMapping", 0), Text("Niveau-1 Révéler"));
  EXPECT_EQ(shown("NoticeOfAssAndRefundMapping", 1), Text("ADC et remboursement – Adresse du préparateur"));
  EXPECT_EQ(choiceList("ModeOfDelivery")->choices[1].french, Text("Tlphone")) << "stored as ever";
}

TEST_P(EveryListTest, MakesANewListOnEachCall) {
  std::vector<Text> mine = list.options();
  const std::vector<Text> untouched = list.options();
  EXPECT_NE(mine.data(), untouched.data());
  mine.clear();
  EXPECT_EQ(list.options(), untouched);
}

TEST_P(EveryListTest, HasItsDefault) {
  for (const std::size_t language : {0u, 1u}) {
    world.speak(kLanguages[language]);
    EXPECT_EQ(list.defaultValue().view(), rule(kDefault, language));
  }
}

TEST_P(EveryListTest, ConvertsLabelsOfBothLanguagesInEitherLanguage) {
  const bool identity = rule(kUnknownLabel, 0) == "(argument)";
  for (const char* language : kLanguages) {
    world.speak(language);
    for (const Row& row : GetParam().choices)
      for (const std::size_t label : {kEnglish, kFrench})
        EXPECT_EQ(list.neutralValue(Text(row[label])).view(), identity ? row[label] : row[kNeutral])
            << row[label] << " in " << language;
  }
}

TEST_P(EveryListTest, ShowsNeutralValuesInTheDisplayLanguage) {
  EXPECT_EQ(list.languageSpecificValue == nullptr, rule(kUnknownValue, 0) == "(none)");
  if (!list.languageSpecificValue) return;
  for (const std::size_t language : {0u, 1u}) {
    world.speak(kLanguages[language]);
    for (const Row& row : GetParam().choices)
      EXPECT_EQ(list.languageSpecificValue(Text(row[kNeutral])).view(), row[kEnglish + language]);
  }
}

TEST_P(EveryListTest, KnowsNoLabelInAnotherSpelling) {
  for (const std::size_t language : {0u, 1u}) {
    world.speak(kLanguages[language]);
    std::vector<Text> unknown = {nullptr, "", "no such choice", "9", "Level"};
    for (const Row& row : GetParam().choices)
      for (const std::size_t label : {kEnglish, kFrench})
        for (const Text& text : lookalikes(row[label]))
          if (!isLabel(text)) unknown.push_back(text);
    for (const Text& text : unknown)
      EXPECT_EQ(list.neutralValue(text), meant(rule(kUnknownLabel, language), text)) << text;
  }
}

TEST_P(EveryListTest, KnowsNoNeutralValueInAnotherSpelling) {
  if (!list.languageSpecificValue) return;
  for (const std::size_t language : {0u, 1u}) {
    world.speak(kLanguages[language]);
    std::vector<Text> unknown = {nullptr, "", "no such choice", "9", "-1", "1.0"};
    for (const Row& row : GetParam().choices)
      for (const Text& text : lookalikes(row[kNeutral]))
        if (!isNeutral(text)) unknown.push_back(text);
    for (const Text& text : unknown)
      EXPECT_EQ(list.languageSpecificValue(text), meant(rule(kUnknownValue, language), text)) << text;
  }
}

TEST_P(EveryListTest, ConvertsWithoutAllocating) {
  const Text texts[] = {GetParam().choices.back()[kFrench], GetParam().choices.back()[kNeutral], "unknown"};
  const std::size_t before = testing_support::allocations();
  for (const Text& text : texts) {
    list.neutralValue(text);
    list.defaultValue();
    if (list.languageSpecificValue) list.languageSpecificValue(text);
  }
  EXPECT_EQ(testing_support::allocations(), before);
}

TEST(ChoiceListsTest, AreEleven) {
  EXPECT_EQ(choiceLists().size(), 11u);
  EXPECT_EQ(allLists().size(), 11u);
  EXPECT_EQ(choicesByClass().size(), 11u);
  for (const ChoiceList& list : choiceLists()) EXPECT_EQ(choiceList(list.name), &list);
  EXPECT_EQ(choiceList("NoSuchMapping"), nullptr);
}

// ---- what is particular to one list ---------------------------------------------------------------------

class YearOfReturnTest : public testing::TestWithParam<int> {};

TEST_P(YearOfReturnTest, DecidesOverTheFax) {
  StoreWorld world;
  const int year = GetParam();
  QVSettings::setProduct({.taxYear = year});
  const bool withdrawn = year == 2012 || year == 2013 || year == 2014 || year == 2015;
  EXPECT_EQ(asRow(AssessmentOptionsMapping::assessmentOptions()),
            withdrawn ? (Row{"2-MailToPreparer", "3-TaxPayer"})
                      : (Row{"1-FaxToPreparer", "2-MailToPreparer", "3-TaxPayer"}));
  const Text english = withdrawn ? assesmentOpts_FaxToPreEng : assesmentOpts_MailToPreEng;
  EXPECT_EQ(AssessmentOptionsMapping::defaultValue(), english);
  EXPECT_EQ(AssessmentOptionsMapping::languageSpecificValue("1"), Text("1-FaxToPreparer"));
  EXPECT_EQ(AssessmentOptionsMapping::languageSpecificValue("2"), Text("2-MailToPreparer"));
  EXPECT_EQ(AssessmentOptionsMapping::languageSpecificValue("3"), Text("3-TaxPayer"));
  EXPECT_EQ(AssessmentOptionsMapping::languageSpecificValue("4"), english);
  EXPECT_EQ(AssessmentOptionsMapping::assessmentOptionNeutralValue("1-FaxToPreparer"), Text("1"));
  EXPECT_EQ(AssessmentOptionsMapping::assessmentOptionNeutralValue("no label"), Text("1"));
  world.speak("French");
  EXPECT_EQ(asRow(AssessmentOptionsMapping::assessmentOptions()),
            withdrawn ? (Row{"2-Courrier au préparateur", "3-Contribuable"})
                      : (Row{"1-Télécopie au préparateur", "2-Courrier au préparateur", "3-Contribuable"}));
  EXPECT_EQ(AssessmentOptionsMapping::defaultValue(),
            withdrawn ? Text("1-Télécopie au préparateur") : Text("2-Courrier au préparateur"));
  EXPECT_EQ(AssessmentOptionsMapping::languageSpecificValue("1"), Text("1-Télécopie au préparateur"));
}

INSTANTIATE_TEST_SUITE_P(AssessmentOptionsMapping, YearOfReturnTest, testing::Range(2008, 2028));

TEST(AssessmentOptionsMappingTest, TakesAnyYear) {
  StoreWorld world;
  for (const int year : {std::numeric_limits<int>::min(), -2012, 0, std::numeric_limits<int>::max()}) {
    QVSettings::setProduct({.taxYear = year});
    EXPECT_EQ(AssessmentOptionsMapping::assessmentOptions().size(), 3u) << year;
  }
}

TEST(LevelOfAuthorizationMappingTest, FallsBackOnTheFirstChoiceBothWays) {
  StoreWorld world;
  EXPECT_EQ(LevelOfAuthorizationMapping::levelOfAuthorizationNeutralValue("level-2 disclose/request changes"),
            Text("1"));
  EXPECT_EQ(
      LevelOfAuthorizationMapping::levelOfAuthorizationNeutralValue(" Level-2 Disclose/Request Changes"),
      Text("1"));
  EXPECT_EQ(
      LevelOfAuthorizationMapping::levelOfAuthorizationNeutralValue("Niveau-2 Rvler/Demande changements"),
      Text("2"));
  EXPECT_EQ(LevelOfAuthorizationMapping::languageSpecificValue("3"), Text("Level-1 Disclose"));
}

TEST(UseAddressMappingTest, ConvertsAnUnknownLabelToNothingAtAll) {
  StoreWorld world;
  EXPECT_EQ(UseAddressMapping::useAddressNeutralValue("aucun"), Text(""));
  EXPECT_EQ(UseAddressMapping::useAddressNeutralValue("Aucun "), Text(""));
  EXPECT_EQ(UseAddressMapping::useAddressNeutralValue("Aucun"), Text("Nothing"));
}

TEST(RC59OptionsMappingTest, HasOneTextForBothLanguages) {
  StoreWorld world;
  for (const char* language : kLanguages) {
    world.speak(language);
    EXPECT_EQ(RC59OptionsMapping::accessOptionNeutralValue("2-Allow Update & View"), Text("02"));
  }
}

TEST(NoticeOfAssAndRefundMappingTest, AnswersAnUnknownValueWithANeutralOne) {
  StoreWorld world;
  EXPECT_EQ(NoticeOfAssAndRefundMapping::languageSpecificValue("9"), Text("0"));
  EXPECT_EQ(NoticeOfAssAndRefundMapping::languageSpecificValue("3"),
            Text("NOA Refund-Preparer business address"));
}

TEST(ModeOfDeliveryTest, ConvertsAnUnknownLabelToALabelOfTheLanguage) {
  StoreWorld world;
  EXPECT_EQ(ModeOfDelivery::modeOfDeliveryNeutralValue("Pigeon"), Text("Paper"));
  EXPECT_EQ(ModeOfDelivery::languageSpecificValue("Pigeon"), Text("Pigeon"));
  world.speak("French");
  EXPECT_EQ(ModeOfDelivery::modeOfDeliveryNeutralValue("Pigeon"), Text("Papier"));
  EXPECT_EQ(ModeOfDelivery::languageSpecificValue("Pigeon"), Text("Papier"));
}

TEST(MethodOfContactMappingTest, ReturnsItsVeryArgumentInEnglish) {
  StoreWorld world;
  const Text anything = Text(std::string("Smoke"));
  EXPECT_TRUE(MethodOfContactMapping::languageSpecificValue(anything).isSameObject(anything));
  EXPECT_TRUE(MethodOfContactMapping::languageSpecificValue(nullptr).isNil());
  world.speak("French");
  EXPECT_EQ(MethodOfContactMapping::languageSpecificValue(anything), Text(""));
  EXPECT_EQ(MethodOfContactMapping::languageSpecificValue("Tlcopie"), Text(""));
}

TEST(MR69MappingsTest, ConvertTheirFrenchLabelsInEnglish) {
  StoreWorld world;
  EXPECT_EQ(MR69OptionsMapping::assessmentOptionNeutralValue("3-L'année courante et les années suivantes"),
            Text("3"));
  EXPECT_EQ(MR69AuthoriztionOrPowerOfAttorneyMapping::mr69AuthOrPowerOfAttNeutralValue("2-Procuration"),
            Text("2"));
}

TEST(CompanyTypeMappingTest, NumbersItsTypes) {
  StoreWorld world;
  const std::vector<Row> types = choicesByClass().at("CompanyTypeMapping");
  for (const std::size_t language : {0u, 1u}) {
    world.speak(kLanguages[language]);
    for (int code = 1; code <= 6; ++code) {
      const Row& type = types[static_cast<std::size_t>(code) - 1];
      EXPECT_EQ(CompanyTypeMapping::companyTypeCodeFromCoType(Text(type[kEnglish])), code);
      EXPECT_EQ(CompanyTypeMapping::companyTypeCodeFromCoType(Text(type[kFrench])), code);
      EXPECT_EQ(CompanyTypeMapping::companyTypeFromCompTypeCode(code).view(), type[kEnglish + language]);
    }
    for (const int code : {0, 7, -1, 8, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
      EXPECT_EQ(CompanyTypeMapping::companyTypeFromCompTypeCode(code), Text("")) << code;
  }
  EXPECT_EQ(CompanyTypeMapping::companyTypeCodeFromCoType("Publique"), 3);
  for (const Text& unknown : std::vector<Text>{nullptr, "", "publique", "Publique ", "3"})
    EXPECT_EQ(CompanyTypeMapping::companyTypeCodeFromCoType(unknown), 0) << unknown;
}

TEST(TypeOfOrganizationMappingTest, ReturnsItsVeryArgument) {
  StoreWorld world;
  const Text anything = Text(std::string("Cooperative"));
  EXPECT_TRUE(TypeOfOrganizationMapping::organizationTypeNeutralValue(anything).isSameObject(anything));
  EXPECT_TRUE(TypeOfOrganizationMapping::organizationTypeNeutralValue(nullptr).isNil());
}

}  // namespace
}  // namespace qorvane
