// The rows that the window makes of the catalogue.
#include "window/Items.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {
namespace {

using qorvane::OptionRow;
using qorvane::Product;
using qorvane::Text;

const Product kPersonal{.taxYear = 2025};
const Product kCorporate{.corporate = true, .taxYear = 2025};

const Item* find(const std::vector<Item>& items, std::string_view option) {
  const auto found = std::ranges::find(items, option, [](const Item& item) { return item.row->name; });
  return found == items.end() ? nullptr : &*found;
}

TEST(ItemsTest, HaveOneRowForEachStoredEntry) {
  for (const Product& product : {kPersonal, kCorporate}) {
    const std::vector<Item> items = itemsOf(product);
    std::set<Text> keys;
    std::set<std::string_view> options;
    for (const Item& item : items) {
      EXPECT_TRUE(keys.insert(item.row->key(product)).second) << item.row->name;
      options.insert(item.row->name);
      for (const OptionRow* alias : item.aliases) {
        EXPECT_EQ(alias->key(product), item.row->key(product)) << alias->name;
        options.insert(alias->name);
      }
    }
    for (const OptionRow& row : qorvane::optionTable()) {
      if (row.key(product).isNil() || (product.corporate && row.name == "isStepsMode")) continue;
      EXPECT_TRUE(options.contains(row.name)) << row.name;
    }
    EXPECT_FALSE(options.contains("yor"));
  }
}

TEST(ItemsTest, NameWhatTheRunningProductShares) {
  const auto personal = itemsOf(kPersonal);
  const auto corporate = itemsOf(kCorporate);
  EXPECT_FALSE(find(personal, "pName"));
  EXPECT_TRUE(find(personal, "repFirstName"));
  EXPECT_FALSE(find(corporate, "repFirstName"));
  EXPECT_EQ(find(corporate, "preparerNameOfRepresentative")->aliases.size(), 2u);
  EXPECT_TRUE(find(personal, "isStepsMode"));
  EXPECT_FALSE(find(corporate, "isStepsMode"));
}

TEST(ItemsTest, KeepGroupsTogetherInTheOrderOfTheCatalogue) {
  const auto groups = qorvane::optionGroups();
  std::ptrdiff_t last = 0;
  for (const Item& item : itemsOf(kPersonal)) {
    const std::ptrdiff_t at = &item.row->group() - groups.data();
    EXPECT_GE(at, last) << item.row->name;
    last = at;
  }
}

// The table of pages names each row of the window once, and nothing else.
TEST(ItemsTest, HaveEachOptionInTheTableOfPagesOnce) {
  std::map<std::string_view, int> named;
#define ROW(option, width) ++named[#option];
#include "window/pages.def"
  for (const auto& [option, count] : named) {
    EXPECT_TRUE(qorvane::findProperty(option)) << option;
    EXPECT_EQ(count, 1) << option;
  }
  for (const Product& product : {kPersonal, kCorporate})
    for (const Item& item : itemsOf(product)) EXPECT_TRUE(named.contains(item.row->name)) << item.row->name;
}

TEST(ItemsTest, TakeTheControlThatTheCatalogueSays) {
  const auto items = itemsOf(kPersonal);
  const std::map<std::string_view, Control> expected = {
      {"preparerCity", Control::Text},       {"disclaimerTxt", Control::Lines},
      {"zsupress", Control::Flag},           {"preparerTaxpyersNameAsLastYr", Control::Flag},
      {"language", Control::List},           {"preparerProvince", Control::List},
      {"mr69_AuthType", Control::List},      {"autoSaveAfter", Control::Number},
      {"t1013ExpiryDate", Control::Date},    {"printFontForFooter", Control::Font},
      {"mainBackColor", Control::Color},     {"pdfFileFolder", Control::Folder},
      {"preparerPassword", Control::Secret}, {"que_AccessNumber", Control::Secret},
  };
  for (const auto& [option, control] : expected) EXPECT_EQ(find(items, option)->control, control) << option;
  EXPECT_FALSE(find(items, "efileDataBaseFolder")->canBeSet());
}

TEST(ItemsTest, TellValuesInThePersonsWords) {
  const auto items = itemsOf(kPersonal);
  const auto words = [&](std::string_view option, const qorvane::Value& value) {
    return inWords(*find(items, option), kPersonal, value).toStdString();
  };
  EXPECT_EQ(words("zsupress", true), "Yes");
  EXPECT_EQ(words("preparerTaxpyersNameAsLastYr", "NO"), "No");
  EXPECT_EQ(words("preparerPassword", "geheim"), "hidden");
  EXPECT_EQ(words("preparerPassword", ""), "empty");
  EXPECT_EQ(words("t1013ExpiryDate", 0.0), "No date");
  EXPECT_EQ(words("preparerProvince", "QC"), "Quebec");
  EXPECT_EQ(words("preparerProvince", nullptr), "(none)");
  EXPECT_EQ(words("preparerCity", ""), "empty");
  EXPECT_EQ(words("printFontForHeader", nullptr), "Not set");
  EXPECT_EQ(words("mainBackColor", find(items, "mainBackColor")->row->fallback(kPersonal)), "#CCFFFF");
  speakFrench(true);
  EXPECT_EQ(words("preparerProvince", "QC"), "Québec");
  EXPECT_EQ(words("language", "French"), "Français");
  speakFrench(false);
}

}  // namespace
}  // namespace optionsmgr::window
