#include "qorvane/vocabulary/Vocabulary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "qorvane/vocabulary/ChoiceLabels.h"
#include "qorvane/vocabulary/HelpTopics.h"
#include "qorvane/vocabulary/Notifications.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "qorvane/vocabulary/ProvinceNames.h"
#include "qorvane/vocabulary/ReturnElements.h"
#include "qorvane/vocabulary/ReturnElementsT2.h"
#include "tests/Golden.h"
#include "tests/TestHome.h"
#include "tests/vocabulary/Constants.h"

namespace qorvane {
namespace {

using Strings = std::map<std::string, std::string>;

// The constants of a list as the library exports them.
Strings exported(std::string_view list) {
  Strings strings;
  for (const VocabularyEntry& entry : vocabulary())
    if (entry.list == list) strings.emplace(entry.name, entry.string.view());
  return strings;
}

// The same list as it was published: name=string, a line each.
Strings published(const std::string& list) {
  Strings strings;
  std::istringstream lines(
      testing_support::readFile(std::string(TEST_DATA_DIR) + "/vocabulary/" + list + ".txt"));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t equals = line.find('=');
    strings.emplace(line.substr(0, equals), line.substr(equals + 1));
  }
  return strings;
}

class PublishedListGoldenTest : public testing::TestWithParam<const char*> {};

// A list's lines, in the order in which the library has them.
std::string linesOf(std::string_view list) {
  std::string lines;
  for (const VocabularyEntry& entry : vocabulary())
    if (entry.list == list) lines += std::string(entry.name) + "=" + entry.string.string() + "\n";
  return lines;
}

TEST_P(PublishedListGoldenTest, HoldsExactlyTheStringsThatFilesAndSettingsHold) {
  const Strings now = exported(GetParam());
  if (testing_support::isRefreshing())
    testing_support::writeFile(std::string(TEST_DATA_DIR) + "/vocabulary/" + GetParam() + ".txt",
                               linesOf(GetParam()));
  const Strings then = published(GetParam());
  ASSERT_FALSE(then.empty());
  for (const auto& [name, string] : then) {
    const auto found = now.find(name);
    if (found == now.end())
      ADD_FAILURE() << name << " is no longer exported: programs that use it stop building";
    else
      EXPECT_EQ(found->second, string)
          << "the persisted string of " << name << " changed: what was saved under the old one is lost";
  }
  for (const auto& [name, string] : now)
    EXPECT_TRUE(then.contains(name)) << name << "=" << string
                                     << " is exported but not in the published list; "
                                     << testing_support::kRefreshHint;
}

INSTANTIATE_TEST_SUITE_P(Vocabulary, PublishedListGoldenTest,
                         testing::Values("option-keys", "return-elements", "return-elements-t2",
                                         "notifications", "help-topics", "province-names", "choice-labels"));

TEST(VocabularyTest, NamesEachConstantOnce) {
  std::set<std::string_view> names;
  for (const VocabularyEntry& entry : vocabulary()) {
    EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
    EXPECT_FALSE(entry.group.empty()) << entry.name;
    EXPECT_FALSE(entry.string.isNilOrEmpty()) << entry.name;
  }
}

TEST(VocabularyTest, ListsTheConstantsThemselves) {
  const auto found = [](std::string_view name) {
    return std::ranges::find(vocabulary(), name, &VocabularyEntry::name)->string;
  };
  EXPECT_TRUE(found("optsStr_PreparerCity").isSameObject(optsStr_PreparerCity));
  EXPECT_TRUE(found("T2BN").isSameObject(T2BN));
}

TEST(VocabularyTest, IsTheSameObjectInEveryTranslationUnit) {
  EXPECT_TRUE(elsewhere::preparerCity().isSameObject(optsStr_PreparerCity));
  EXPECT_TRUE(elsewhere::surname().isSameObject(Surname));
  EXPECT_TRUE(elsewhere::federal().isSameObject(Federal));
}

// Read by a constant expression, so readable before any code of the program runs.
constinit Text keptFromLoad = optsStr_ZSuppress;
static_assert(T2CompanyName.view() == "CompanyName");

TEST(VocabularyTest, IsReadableFromTheMomentOfLoading) {
  EXPECT_TRUE(keptFromLoad.isSameObject(optsStr_ZSuppress));
  EXPECT_EQ(elsewhere::readAtLoad(), Text("preparer"));
}

TEST(OptionKeysTest, ShareAnEntryInFourPlacesOnly) {
  std::map<std::string, std::set<std::string>> names;
  for (const auto& [name, string] : exported("option-keys")) names[string].insert(name);
  std::erase_if(names, [](const auto& row) { return row.second.size() == 1; });
  const std::map<std::string, std::set<std::string>> shared = {
      {"PName", {"optsStr_PreparerRepresentativeName", "optsStr_RepFirstName_T2"}},
      {"RepBN", {"optsStr_RC59BusNo", "optsStr_T1013BussinessNo_T2"}},
      {"RepID", {"optsStr_RC59RepID", "optsStr_T1013RepID_T2"}},
      {"T1013OnlineAuthorization",
       {"optsStr_RC59OnlineAuthorization_T2", "optsStr_T1013OnlineAuthorization"}}};
  EXPECT_EQ(names, shared);
}

TEST(OptionKeysTest, LeadFromOneNameOfASharedEntryToTheOther) {
  std::map<std::string_view, int> settings;
  settings[optsStr_RC59RepID] = 1;
  settings[optsStr_PreparerRepresentativeName] = 2;
  settings[optsStr_RC59BusNo] = 3;
  settings[optsStr_T1013OnlineAuthorization] = 4;
  EXPECT_EQ(settings[optsStr_T1013RepID_T2], 1);
  EXPECT_EQ(settings[optsStr_RepFirstName_T2], 2);
  EXPECT_EQ(settings[optsStr_T1013BussinessNo_T2], 3);
  EXPECT_EQ(settings[optsStr_RC59OnlineAuthorization_T2], 4);
  EXPECT_FALSE(settings.contains(optsStr_T1013RepID));
  EXPECT_FALSE(settings.contains(optsStr_RepFirstName));
  EXPECT_FALSE(settings.contains(optsStr_T1013BussinessNo));
}

TEST(OptionKeysTest, KeepTheirOddStrings) {
  EXPECT_EQ(optsStr_UseDefaultLegacyFileName, Text("optsStr_UseDefaultLegacyFileName"));
  EXPECT_EQ(optsStr_PreparerEfileNumber, Text("preparer"));
  EXPECT_EQ(optsStr_T4AP, Text("T4A(P)"));
  EXPECT_EQ(optsStr_T4PS, Text("T4(PS)"));
  EXPECT_EQ(optsStr_Help, Text("Help"));
  EXPECT_EQ(optsStr_MRQAuthOfFuelTaxRetuns, Text("MRQAuthOfFuelTaxRetuns"));
  EXPECT_EQ(optsStr_PreparerPostOfficeBOx, Text("PreparerPostOfficeBOx"));
  EXPECT_EQ(
      optsStr_DefaultDisclaimerTxt,
      Text("Prepared solely for income tax purposes without audit or review from information provided by the "
           "taxpayer."));
}

TEST(ReturnElementsTest, KeepTheirOddStrings) {
  EXPECT_EQ(FirstName, Text("Firstnames"));
  EXPECT_EQ(IsQDisabled, Text("qDisabled"));
  EXPECT_EQ(LogEntryPreviousAmtOwing, Text("prevamtOwing"));
}

TEST(ReturnElementsT2Test, ShareTwoElements) {
  EXPECT_EQ(T2S21ForeignBusinessIncome, Text("S21"));
  EXPECT_EQ(T2S21ForeignNonBusinessIncome, Text("S21"));
  EXPECT_EQ(T2CorpEmail, Text("AuthorizedEmailId"));
  EXPECT_EQ(T2AuthorizedEmailId, Text("AuthorizedEmailId"));
  EXPECT_EQ(T2IDCorpEmail, Text("CorpEmail"));
}

TEST(HelpTopicsTest, ShareATopicOnPurpose) {
  for (const Text& topic :
       {helpPrintFormatEditID, helpRRSPcalculatorID, helpDiagnosticsID, helpViewOverridenCellsDiaID})
    EXPECT_EQ(topic, Text("1910105"));
  EXPECT_EQ(helpPrintDialogID, helpPrintFormatUseID);
}

TEST(ProvinceNamesTest, WriteNonResidentWithABlank) { EXPECT_EQ(Non_Resident, Text("Non Resident")); }

TEST(ChoiceLabelsTest, KeepTheirOddNames) {
  EXPECT_EQ(useaAddress_ForAllEng, Text("For all purposes"));
  EXPECT_EQ(assesmentOpts_FaxToPreFr, Text("1-Télécopie au préparateur"));
  EXPECT_EQ(rc69Opts_AccViewEng, Text("1-Allow View only"));
}

TEST(VocabularyTest, OwnsItsGroupsByEmptyClasses) {
  EXPECT_TRUE(std::is_empty_v<OptionStrings>);
  EXPECT_TRUE(std::is_empty_v<ReturnElements>);
  EXPECT_TRUE(std::is_empty_v<ReturnElementsT2>);
}

}  // namespace
}  // namespace qorvane
