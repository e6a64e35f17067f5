// The catalogue: every option in words, in both languages, as a person reads them.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/store/OptionTable.h"

namespace qorvane {
namespace {

constexpr Language kLanguages[] = {Language::English, Language::French};

void forEveryOption(const std::function<void(const OptionRow&, Language)>& body) {
  for (const OptionRow& row : optionTable())
    for (const Language language : kLanguages) {
      SCOPED_TRACE(std::string(row.name) + (language == Language::English ? " in English" : " in French"));
      body(row, language);
    }
}

std::size_t characters(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

bool holds(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

// What no text may have in either language.
void expectProper(std::string_view text) {
  ASSERT_FALSE(text.empty());
  EXPECT_FALSE(text.starts_with(' ') || text.ends_with(' ') || holds(text, "  "));
  for (const char* straight : {"'", "\"", "..."}) EXPECT_FALSE(holds(text, straight)) << straight;
  for (const char* mark : {" ;", " ?", " !", " ,", " ."}) EXPECT_FALSE(holds(text, mark)) << mark;
  // Accents are part of their letters.
  for (const char* combining : {"\u0300", "\u0301", "\u0302", "\u0308", "\u0327"})
    EXPECT_FALSE(holds(text, combining));
}

constexpr std::string_view kNoBreak = "\u00A0";

// Whether each of the marks has a no-break space on that side, and no other blank.
bool isSetApart(std::string_view text, std::string_view mark, bool before) {
  for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at + mark.size())) {
    const std::string_view beside = before ? text.substr(0, at) : text.substr(at + mark.size());
    if (before ? !beside.ends_with(kNoBreak) : !beside.starts_with(kNoBreak)) return false;
  }
  return true;
}

void expectProperFrench(std::string_view text) {
  EXPECT_TRUE(isSetApart(text, ":", true));
  EXPECT_TRUE(isSetApart(text, "»", true));
  EXPECT_TRUE(isSetApart(text, "«", false));
  for (const char* mark : {"\u00A0;", "\u00A0?", "\u00A0!"}) EXPECT_FALSE(holds(text, mark)) << mark;
}

TEST(OptionCatalogTest, HasALabelForEveryOptionInBothLanguages) {
  std::map<std::pair<std::string_view, Language>, std::set<std::string>> labels;
  forEveryOption([&](const OptionRow& row, Language language) {
    const Text label = row.label(language);
    expectProper(label);
    if (language == Language::French) expectProperFrench(label);
    EXPECT_LE(characters(label), 40u) << label;
    EXPECT_FALSE((label.view().ends_with('.') && !label.view().ends_with("etc.")) ||
                 label.view().ends_with(':'))
        << label;
    EXPECT_TRUE((labels[{row.group().id, language}].insert(label.string()).second))
        << label << " stands twice in " << row.group().id;
  });
}

TEST(OptionCatalogTest, DescribesEveryOptionInOneSentence) {
  forEveryOption([](const OptionRow& row, Language language) {
    const Text description = row.description(language);
    expectProper(description);
    if (language == Language::French) expectProperFrench(description);
    EXPECT_TRUE(description.view().ends_with('.')) << description;
    EXPECT_FALSE(holds(description, ". ")) << description;
    EXPECT_NE(description, row.label(language));
  });
}

TEST(OptionCatalogTest, SaysEachOptionInItsOwnWordsInEachLanguage) {
  EXPECT_EQ(findProperty("preparerCity")->label(Language::English), Text("City"));
  EXPECT_EQ(findProperty("preparerCity")->label(Language::French), Text("Ville"));
  EXPECT_EQ(findProperty("zsupress")->description(Language::French),
            Text("Laisser en blanc les montants égaux à zéro."));
}

TEST(OptionCatalogTest, GroupsStandInTheirOrderWithNamesInBothLanguages) {
  std::vector<std::string_view> ids;
  std::set<Text> english;
  std::set<Text> french;
  for (const OptionGroup& group : optionGroups()) {
    ids.push_back(group.id);
    expectProper(group.name(Language::English));
    expectProper(group.name(Language::French));
    expectProperFrench(group.name(Language::French));
    EXPECT_TRUE(english.insert(group.name(Language::English)).second) << group.id;
    EXPECT_TRUE(french.insert(group.name(Language::French)).second) << group.id;
    EXPECT_TRUE(
        std::ranges::any_of(optionTable(), [&](const OptionRow& row) { return &row.group() == &group; }))
        << group.id << " is empty";
  }
  EXPECT_EQ(ids,
            (std::vector<std::string_view>{"General", "Preparer", "ElectronicFiling", "FederalAuthorizations",
                                           "BusinessAuthorization", "Quebec", "QuebecScope", "Alberta",
                                           "Discounter", "Printing", "Colours", "Folders", "Answers"}));
}

TEST(OptionCatalogTest, WhatCannotBeSetIsNoRowOfAForm) {
  for (const OptionRow& row : optionTable()) {
    const bool readOnlyFolder = row.name == "efileDataBaseFolder" || row.name == "mrqDataBaseFolder";
    EXPECT_EQ(row.group().id == "Answers", !row.write && !readOnlyFolder) << row.name;
  }
}

}  // namespace
}  // namespace qorvane
