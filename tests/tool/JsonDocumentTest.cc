// docs/json.md against what the tool prints.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

using nlohmann::json;
using Names = std::set<std::string>;

Names namesOf(const json& object) {
  Names names;
  for (const auto& [name, value] : object.items()) names.insert(name);
  return names;
}

// The fields of the table under that heading.
Names documented(const std::string& heading) {
  std::istringstream text(readFile(std::filesystem::path(TEST_DATA_DIR).parent_path() / "docs" / "json.md"));
  Names fields;
  bool inside = false;
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with("## ")) inside = line == "## " + heading;
    if (inside && line.starts_with("| `")) fields.insert(line.substr(3, line.find('`', 3) - 3));
  }
  return fields;
}

class JsonDocumentTest : public testing::Test {
 protected:
  static json answer(std::vector<std::string> words) {
    words.insert(words.begin(), {"--year", "2024", "--json"});
    return json::parse(optionsmgr(words).out);
  }
  TestHome home;
};

TEST_F(JsonDocumentTest, EveryOptionHasTheDocumentedFieldsInBothLanguages) {
  const Names fields = documented("An option");
  ASSERT_GT(fields.size(), 10u);
  for (const char* product : {"T1", "T2"}) {
    const json all = answer({"--product", product, "list"});
    ASSERT_GT(all.size(), 100u);
    for (const auto& [name, option] : all.items()) {
      EXPECT_EQ(namesOf(option), fields) << name;
      for (const char* text : {"label", "description"})
        EXPECT_EQ(namesOf(option[text]), (Names{"english", "french"})) << name;
      EXPECT_EQ(namesOf(option["group"]), (Names{"english", "french", "id"})) << name;
      EXPECT_FALSE(option["label"]["french"].get<std::string>().empty()) << name;
      const json choices = option["choices"].is_null() ? json::array() : option["choices"];
      for (const json& choice : choices)
        EXPECT_EQ(namesOf(choice), (Names{"neutral", "english", "french", "label", "offered", "default"}))
            << name;
    }
  }
}

TEST_F(JsonDocumentTest, DescribeAndSearchHaveTheSameFieldsAndTheName) {
  Names fields = documented("An option");
  fields.insert("name");
  EXPECT_EQ(namesOf(answer({"describe", "pName"})), fields);
  EXPECT_EQ(answer({"describe", "pName"})["sameEntry"], json::array({"preparerNameOfRepresentative"}));
  const json found = answer({"search", "ville"});
  ASSERT_TRUE(found.is_array());
  for (const json& option : found) EXPECT_EQ(namesOf(option), fields);
  EXPECT_EQ(found[0]["name"], "preparerCity");
}

TEST_F(JsonDocumentTest, ChangesAreToldAsDocumented) {
  ASSERT_EQ(optionsmgr({"--year", "2024", "set", "preparerCity", "Alma"}).exit, 0);
  EXPECT_EQ(
      answer({"set", "preparerCity=Laval", "--dry-run"}),
      (json{{"dryRun", true}, {"options", {{{"name", "preparerCity"}, {"from", "Alma"}, {"to", "Laval"}}}}}));
  EXPECT_EQ(answer({"get", "preparerCity", "zsupress"}),
            (json{{"preparerCity", "Alma"}, {"zsupress", true}}));
  EXPECT_EQ(namesOf(answer({"diff", "2024"})), (Names{"first", "second", "options", "leftOut"}));
  EXPECT_EQ(namesOf(answer({"carry-forward", "--from", "2024", "--to", "2025", "--dry-run"})),
            (Names{"from", "to", "dryRun", "unchangedPaths", "options"}));
}

}  // namespace
}  // namespace testing_support
