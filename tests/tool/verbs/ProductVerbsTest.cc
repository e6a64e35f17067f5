// product, notice and pages, as a person at a shell meets them.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

using Json = nlohmann::ordered_json;

class ProductVerbsTest : public testing::Test {
 protected:
  static std::string notice(const std::string& name) {
    return readFile(std::string(TEST_DATA_DIR) + "/profile/notices/" + name + ".txt") + "\n";
  }
  static Json json(std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    const ToolResult result = optionsmgr(arguments);
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return Json::parse(result.out);
  }

  TestHome home;
};

TEST_F(ProductVerbsTest, ProductShowsEveryConstant) {
  const ToolResult shown =
      optionsmgr({"--product", "T2", "--year", "2021", "--release", "VER2021_2", "product"});
  EXPECT_EQ(shown.exit, 0) << shown.err;
  EXPECT_EQ(shown.err, "");
  EXPECT_EQ(shown.out,
            "productVersion             T2\n"
            "productName                T2Pro\n"
            "productType                Professional\n"
            "isNetFile                  false\n"
            "yor                        2021\n"
            "fileExtension              t221\n"
            "fileExtensionPreviousYear  t220 t219 t221\n"
            "taxRatesFileName           TaxRates2021.xml\n"
            "formsVersion               2021.2\n"
            "formsVersions              2021.2\n"
            "formsBuild                 01\n"
            "qProductVersion            07\n"
            "federalApprovalNumber      QV35\n"
            "productIDUpdateCheck       2021.2\n"
            "softwareDeveloperCode\n"
            "dotMRQFilesPath\n"
            "efileNumber\n"
            "transmitterEFileNumber\n");
}

TEST_F(ProductVerbsTest, ProductAsJson) {
  EXPECT_EQ(optionsmgr({"--year", "2020", "set", "preparerEfileNumber", "A1234"}).exit, 0);
  EXPECT_EQ(json({"--year", "2020", "--single-filer", "product"}),
            Json::parse(R"({"productVersion": "T1", "productName": "T1", "productType": "NetFile",
                            "isNetFile": true, "yor": 2020, "fileExtension": ["t20"],
                            "fileExtensionPreviousYear": ["t19"], "taxRatesFileName": "TaxRates2020.xml",
                            "formsVersion": "2020_9", "formsVersions": ["2020_1", "2020_2"],
                            "formsBuild": "01", "qProductVersion": "10", "federalApprovalNumber": "QV39",
                            "productIDUpdateCheck": "2020", "softwareDeveloperCode": "",
                            "dotMRQFilesPath": "", "efileNumber": "A1234",
                            "transmitterEFileNumber": "A1234"})"));
}

TEST_F(ProductVerbsTest, NoticeFollowsTheStoredLanguage) {
  EXPECT_EQ(optionsmgr({"--year", "2020", "notice"}).out, notice("printing-english"));
  EXPECT_EQ(optionsmgr({"--year", "2020", "notice", "1"}).out, notice("printing-english"));
  EXPECT_EQ(optionsmgr({"--year", "2020", "notice", "5"}).out, notice("start-english"));
  EXPECT_EQ(optionsmgr({"--year", "2020", "notice", "-1"}).out, notice("start-english"));
  EXPECT_EQ(optionsmgr({"--year", "2020", "set", "language", "French"}).exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2020", "notice"}).out, notice("printing-french"));
  EXPECT_EQ(optionsmgr({"--year", "2020", "notice", "2"}).out, notice("start-french"));
  EXPECT_EQ(optionsmgr({"--year", "2021", "notice"}).out, notice("printing-english")) << "another year";

  const Json shown = json({"--year", "2020", "notice", "0"});
  EXPECT_EQ(shown["notice"], 0);
  EXPECT_EQ(shown["text"].get<std::string>() + "\n", notice("printing-french"));
}

TEST_F(ProductVerbsTest, NoticeTakesANumber) {
  const ToolResult result = optionsmgr({"notice", "soon"});
  EXPECT_EQ(result.exit, 2);
  EXPECT_EQ(result.out, "");
}

TEST_F(ProductVerbsTest, PagesShowsTheLists) {
  const Json all = json({"pages"});
  const char* const kLists[] = {"pagesWithDecimal", "pagesWithMaskedSIN", "elementsToMasked",
                                "OptOverideableCells"};
  EXPECT_EQ(all.size(), std::size(kLists));
  std::string shown;
  for (const std::string list : kLists) {
    const std::string published = readFile(std::string(TEST_DATA_DIR) + "/manager/pages/" + list + ".txt");
    EXPECT_EQ(optionsmgr({"pages", list}).out, published);
    std::string entries;
    shown += list + "\n";
    for (const Json& entry : all[list]) {
      entries += entry.get<std::string>() + "\n";
      shown += "  " + entry.get<std::string>() + "\n";
    }
    EXPECT_EQ(entries, published);
  }
  EXPECT_EQ(optionsmgr({"pages"}).out, shown);
}

TEST_F(ProductVerbsTest, PagesKnowsItsLists) {
  const ToolResult result = optionsmgr({"pages", "pagesWithDecimals"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("did you mean \"pagesWithDecimal\""), std::string::npos) << result.err;
}

TEST_F(ProductVerbsTest, NothingIsWritten) {
  for (const char* verb : {"product", "notice", "pages"})
    EXPECT_EQ(optionsmgr({"--product", "T2", "--year", "2021", verb}).exit, 0) << verb;
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

TEST_F(ProductVerbsTest, ADamagedFileIsToldAndLeftAlone) {
  EXPECT_EQ(optionsmgr({"--year", "2020", "set", "language", "French"}).exit, 0);
  const auto file = home.store() / "QorvaneT1Settings2020.plist";
  const std::string damaged = readFile(file).substr(0, 20);
  writeFile(file, damaged);
  for (const char* verb : {"product", "notice", "pages"}) {
    const ToolResult result = optionsmgr({"--year", "2020", verb});
    EXPECT_EQ(result.exit, 65) << verb;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(readFile(file), damaged);
  }
}

}  // namespace
}  // namespace testing_support
