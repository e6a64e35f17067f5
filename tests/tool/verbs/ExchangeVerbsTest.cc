// export and import: settings handed over whole, and taken whole or not at all.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using qorvane::Data;
using qorvane::Date;
using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::Number;
using qorvane::PropertyListFormat;
using qorvane::Text;
using qorvane::Value;

class ExchangeVerbsTest : public testing::Test {
 protected:
  static void set(const char* year, const char* option, const char* value, const char* product = "T1") {
    const ToolResult result = optionsmgr({"--product", product, "--year", year, "set", option, "--", value});
    ASSERT_EQ(result.exit, 0) << result.err;
  }
  static std::string get(const char* year, const char* option, const char* product = "T1") {
    std::string out = optionsmgr({"--product", product, "--year", year, "get", option}).out;
    if (!out.empty()) out.pop_back();
    return out;
  }
  static void expectFailure(const ToolResult& result, int exit, const std::string& words) {
    EXPECT_EQ(result.exit, exit) << result.out;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
  }
  static ToolResult withInput(const std::string& input, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TOOL_PATH);
    return run(arguments, input);
  }
  std::string path(const char* name) const { return (home.path() / name).string(); }
  static Value entriesOf(const Text& key) { return FileUserDefaults().objectForKey(key); }
  // A preferences file with two years and one entry that is no settings.
  std::string twoYears() const {
    const Value top = Dictionary{
        {"QorvaneT1Settings2023", Dictionary{{"Language", Text("French")}, {"FutureOption", Number(7)}}},
        {"WindowPlace", Text("0 0 100 100")},
        {"QorvaneT2Settings2024", Dictionary{{"Language", Text("French")}}}};
    writeFile(home.path() / "all.plist", writePropertyList(top, PropertyListFormat::Xml));
    return path("all.plist");
  }

  TestHome home;
};

TEST_F(ExchangeVerbsTest, WhatIsExportedIsTakenBackUnchangedInEachForm) {
  set("2020", "preparerCity", "Gaspé");
  set("2020", "mainBackColor", "#0080FF");
  set("2020", "rc59_AuthExpiryDate", "20211231");
  const Value before = entriesOf("QorvaneT1Settings2020");
  for (const char* name : {"x.plist", "x.xml", "x.json"}) {
    EXPECT_EQ(optionsmgr({"--year", "2020", "export", "--machine", "--show-secrets", path(name)}).exit, 0);
    fs::remove_all(home.store());
    const ToolResult imported = optionsmgr({"import", path(name)});
    EXPECT_EQ(imported.exit, 0) << imported.err;
    EXPECT_TRUE(isIdentical(entriesOf("QorvaneT1Settings2020"), before)) << name;
  }
  EXPECT_EQ(readFile(path("x.plist")).substr(0, 8), "bplist00");
  EXPECT_EQ(readFile(path("x.xml")).substr(0, 5), "<?xml");
  struct stat status;
  ASSERT_EQ(stat(path("x.json").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(ExchangeVerbsTest, PipesServeAsFiles) {
  set("2020", "preparerCity", "Gaspé");
  for (const char* form : {"binary", "xml", "json"}) {
    const ToolResult out = optionsmgr({"--year", "2020", "export", "--format", form});
    EXPECT_EQ(out.exit, 0);
    fs::remove_all(home.store());
    EXPECT_EQ(withInput(out.out, {"import", "-"}).exit, 0) << form;
    EXPECT_EQ(get("2020", "preparerCity"), "Gaspé");
  }
  EXPECT_EQ(json::parse(optionsmgr({"--year", "2020", "export", "--format", "json"})
                            .out)["QorvaneT1Settings2020"]["ZSuppress"],
            true);
}

TEST_F(ExchangeVerbsTest, JsonHoldsEveryKindOfValue) {
  const Value entries = Dictionary{{"a", Number(true)},
                                   {"b", Number(std::uint64_t{1} << 63)},
                                   {"c", Number(-5)},
                                   {"d", Number(1.0)},
                                   {"e", Number(-0.0)},
                                   {"f", Number(HUGE_VAL)},
                                   {"g", Data(std::string("\0\xFF\x10", 3))},
                                   {"h", Data(std::string("\x01\x02", 2))},
                                   {"i", Data("")},
                                   {"j", Date{0.5}},
                                   {"k", qorvane::Array{Text("x"), Dictionary{}}},
                                   {"l", Dictionary{{"$data", Text("no data")}}},
                                   {"m", Number(0.1)}};
  FileUserDefaults store;
  store.setObject(entries, "QorvaneT1Settings2020");
  ASSERT_TRUE(store.synchronize());
  EXPECT_EQ(optionsmgr({"--year", "2020", "export", path("x.json")}).exit, 0);
  fs::remove_all(home.store());
  EXPECT_EQ(optionsmgr({"import", path("x.json")}).exit, 0);
  EXPECT_TRUE(isIdentical(entriesOf("QorvaneT1Settings2020"), entries)) << readFile(path("x.json"));
}

TEST_F(ExchangeVerbsTest, SecretsAreLeftOutUnlessAskedFor) {
  set("2020", "preparerPassword", "hush");
  const ToolResult without = optionsmgr({"--year", "2020", "export"});
  EXPECT_EQ(without.out.find("hush"), std::string::npos);
  EXPECT_NE(without.err.find("1 left out"), std::string::npos) << without.err;
  EXPECT_EQ(optionsmgr({"--year", "2020", "--quiet", "export"}).err, "");
  const ToolResult with = optionsmgr({"--year", "2020", "export", "--show-secrets"});
  EXPECT_NE(with.out.find("hush"), std::string::npos);
  EXPECT_EQ(with.err, "");
}

TEST_F(ExchangeVerbsTest, AWholeStoreIsExportedAndImported) {
  set("2020", "language", "French");
  set("2021", "preparerCity", "Laval", "T2");
  EXPECT_EQ(optionsmgr({"export", "--all", path("all.plist")}).exit, 0);
  fs::remove_all(home.store());
  const ToolResult imported = optionsmgr({"import", path("all.plist")});
  EXPECT_EQ(imported.exit, 0) << imported.err;
  EXPECT_EQ(imported.out.substr(0, 8), "T1 2020\n");
  EXPECT_EQ(get("2020", "language"), "French");
  EXPECT_EQ(get("2021", "preparerCity", "T2"), "Laval");
  EXPECT_FALSE(fs::exists(home.store() / ".unfinished"));
}

TEST_F(ExchangeVerbsTest, UnknownEntriesAreKeptAndSaid) {
  const ToolResult result = optionsmgr({"import", twoYears()});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out,
            "T1 2023\n"
            "  language      new      French\n"
            "  FutureOption  unknown  7\n"
            "T2 2024\n"
            "  language  new  French\n"
            "WindowPlace: left out, for it is no product's settings\n");
  EXPECT_TRUE(isIdentical(entriesOf("QorvaneT1Settings2023"),
                          Value(Dictionary{{"Language", Text("French")}, {"FutureOption", Number(7)}})));
  EXPECT_EQ(optionsmgr({"--lang", "en", "import", twoYears()}).out.substr(0, 27),
            "T1 2023: nothing to change\n");
}

TEST_F(ExchangeVerbsTest, OneProductOrYearMayBeChosen) {
  EXPECT_EQ(optionsmgr({"--product", "T2", "import", twoYears()}).exit, 0);
  EXPECT_FALSE(fs::exists(home.store() / "QorvaneT1Settings2023.plist"));
  EXPECT_TRUE(fs::exists(home.store() / "QorvaneT2Settings2024.plist"));
  EXPECT_EQ(optionsmgr({"--year", "2023", "import", twoYears()}).exit, 0);
  EXPECT_TRUE(fs::exists(home.store() / "QorvaneT1Settings2023.plist"));
  expectFailure(optionsmgr({"--lang", "en", "--year", "1999", "import", twoYears()}), 1,
                "no settings of that product");
}

TEST_F(ExchangeVerbsTest, APreviewChangesNothing) {
  const ToolResult result = optionsmgr({"--json", "import", "--dry-run", twoYears()});
  EXPECT_EQ(result.exit, 0);
  const json told = json::parse(result.out);
  EXPECT_EQ(told["settings"]["T2 2024"][0],
            (json{{"name", "language"}, {"action", "new"}, {"from", "English"}, {"to", "French"}}));
  EXPECT_EQ(told["leftOut"], json::array({"WindowPlace"}));
  EXPECT_FALSE(fs::exists(home.store()));
}

TEST_F(ExchangeVerbsTest, OthersStayUnlessReplaced) {
  set("2023", "preparerCity", "Gaspé");
  EXPECT_EQ(optionsmgr({"import", twoYears()}).exit, 0);
  EXPECT_EQ(get("2023", "preparerCity"), "Gaspé");
  const ToolResult replaced = optionsmgr({"--lang", "en", "import", "--replace", twoYears()});
  EXPECT_NE(replaced.out.find("preparerCity"), std::string::npos) << replaced.out;
  EXPECT_NE(replaced.out.find("removed"), std::string::npos);
  EXPECT_EQ(get("2023", "preparerCity"), "");
}

TEST_F(ExchangeVerbsTest, AWrongEntryAnywhereRefusesTheWhole) {
  const Value top = Dictionary{{"QorvaneT1Settings2023", Dictionary{{"Language", Text("French")}}},
                               {"QorvaneT1Settings2024", Dictionary{{"MainBackColor", Text("red")},
                                                                    {"CIFFileFolder", Text("not absolute")},
                                                                    {"ZSuppress", Data("x")}}}};
  writeFile(home.path() / "bad.plist", writePropertyList(top, PropertyListFormat::Binary));
  const ToolResult result = optionsmgr({"import", path("bad.plist")});
  expectFailure(result, 65, "nothing was changed");
  for (const char* key : {"MainBackColor", "ZSuppress", "T1 2024"})
    EXPECT_NE(result.err.find(key), std::string::npos) << result.err;
  EXPECT_FALSE(fs::exists(home.store()));
}

TEST_F(ExchangeVerbsTest, WhatIsNoPreferencesFileIsRefused) {
  expectFailure(withInput("", {"import", "-"}), 65, "no property list");
  expectFailure(withInput("{\"a\": ", {"import", "-"}), 65, "no property list and no JSON");
  expectFailure(withInput("{\"a\": null}", {"import", "-"}), 65, "null");
  expectFailure(withInput("{\"a\": {\"$data\": \"AB=C\"}}", {"import", "-"}), 65, "base64");
  expectFailure(withInput("{\"a\": {\"$odd\": 1}}", {"import", "-"}), 65, "no form of a value");
  expectFailure(withInput("{\"a\": 1}", {"import", "-"}), 65, "no settings of a product and year");
  expectFailure(withInput("{\"a\":" + std::string(600, '[') + std::string(600, ']') + "}", {"import", "-"}),
                65, "deep");
  expectFailure(optionsmgr({"import", path("none")}), 1, "none");
  expectFailure(optionsmgr({"--year", "2020", "export"}), 1, "there are no T1 2020 settings");
  expectFailure(optionsmgr({"export", "--all"}), 1, "there are no settings");
  set("2020", "language", "French");
  expectFailure(optionsmgr({"--year", "2020", "export", path("no/such/folder/x")}), 73, "no/such/folder");
  expectFailure(optionsmgr({"--year", "2020", "export", "/dev/full"}), 74, "/dev/full");
}

TEST_F(ExchangeVerbsTest, AYearThatCannotBeWrittenPutsTheOthersBack) {
  set("2023", "language", "English");
  const Value before = entriesOf("QorvaneT1Settings2023");
  // The second file cannot be written: it is a link to a folder that is not there.
  fs::create_symlink("nowhere/settings", home.store() / "QorvaneT2Settings2024.plist");
  const ToolResult result = optionsmgr({"import", twoYears()});
  EXPECT_NE(result.exit, 0);
  EXPECT_TRUE(isIdentical(entriesOf("QorvaneT1Settings2023"), before));
  EXPECT_FALSE(fs::exists(home.store() / "QorvaneT2Settings2024.plist"));
  EXPECT_FALSE(fs::exists(home.store() / ".unfinished"));
}

// ---- what is taken, and in which form ---------------------------------------------------------------------

TEST_F(ExchangeVerbsTest, EntriesAreTakenInTheFormOfTheirOption) {
  const std::string text =
      R"({"QorvaneT1Settings2024": {"EncryptXml": true, "ZSuppress": "no", "bDisclaimer": false,
    "AllowOverriding": 1, "QSolidarityTaxCredit": true, "IsStepModeS": "yes", "AutoSaveFileAfterEvery": 7,
    "PreparerDefaultDelMode": "Phone", "MainBackColor": "#0080FF", "T1013ConsentED": "20261231", "PCity": 12}})";
  const ToolResult result = withInput(text, {"--lang", "en", "import", "-"});
  ASSERT_EQ(result.exit, 0) << result.err;
  const Dictionary entries = *entriesOf("QorvaneT1Settings2024").asDictionary();
  const auto expect = [&](const char* key, const Value& value) {
    const Value* entry = entries.find(key);
    ASSERT_TRUE(entry) << key;
    EXPECT_TRUE(isIdentical(*entry, value)) << key << " " << *entry;
  };
  expect("EncryptXml", Text("YES"));
  expect("ZSuppress", Text("NO"));
  expect("bDisclaimer", Text("0"));
  expect("AllowOverriding", Text("YES"));
  expect("IsStepModeS", Number(true));
  expect("AutoSaveFileAfterEvery", Text("7"));
  expect("PCity", Text("12"));
  EXPECT_EQ(get("2024", "mainBackColor").substr(0, 7), "#0080FF");
}

TEST_F(ExchangeVerbsTest, WhatAnOptionDoesNotKnowIsRefusedUnlessForced) {
  for (const char* entry :
       {R"("T1013LevelOfAuthorization": "7")", R"("PreparerDefaultDelMode": "Pigeon")",
        R"("Language": "Klingon")", R"("PProv": "Narnia")", R"("PDFFileFolder": "Clients/PDF")"}) {
    const std::string text = std::string(R"({"QorvaneT1Settings2024": {"PCity": "Alma", )") + entry + "}}";
    expectFailure(withInput(text, {"--lang", "en", "import", "-"}), 65, "T1 2024, ");
    EXPECT_EQ(get("2024", "preparerCity"), "");
    const ToolResult rest = withInput(text, {"--lang", "en", "import", "--skip-bad", "-"});
    EXPECT_EQ(rest.exit, 0) << rest.err;
    EXPECT_NE(rest.out.find("refused"), std::string::npos) << rest.out;
    EXPECT_EQ(get("2024", "preparerCity"), "Alma");
    EXPECT_EQ(withInput(text, {"import", "--force", "-"}).exit, 0) << entry;
    EXPECT_EQ(withInput(text, {"import", "-"}).exit, 0) << "what is there already is nobody's mistake now";
    fs::remove_all(home.store());
  }
  for (const char* entry :
       {R"("ZSuppress": "maybe")", R"("T1013ConsentED": "2026-12-31")", R"("PCity": {"$data": "AA=="})",
        R"("T1013ConsentED": {"$date": 5})", R"("T183AuthorisationExpiryDate": {"$real": "nan"})"}) {
    const std::string text = std::string(R"({"QorvaneT1Settings2024": {)") + entry + "}}";
    for (const char* option : {"--dry-run", "--force"})
      expectFailure(withInput(text, {"--lang", "en", "import", option, "-"}), 65, "T1 2024, ");
  }
  expectFailure(withInput(R"({"QorvaneT1Settings2024": "text"})", {"--lang", "en", "import", "-"}), 65,
                "no dictionary");
  EXPECT_EQ(
      withInput(R"({"QorvaneT1Settings2024": {"ZSuppress": "", "T1013ConsentED": ""}})", {"import", "-"})
          .exit,
      0);
}

TEST_F(ExchangeVerbsTest, WhatIsLeftOutOfAnExportSurvivesItsImport) {
  set("2024", "preparerPassword", "hush");
  set("2024", "printerNameChosen", "Laser");
  set("2024", "pdfFileFolder", "/srv/pdf");
  set("2024", "preparerCity", "Alma");
  const ToolResult exported = optionsmgr({"--lang", "en", "--year", "2024", "export", path("x.json")});
  EXPECT_NE(exported.err.find("1 left out, being secret"), std::string::npos) << exported.err;
  EXPECT_NE(exported.err.find("2 left out, being this machine's"), std::string::npos) << exported.err;
  const ToolResult same = optionsmgr({"--lang", "en", "--year", "2024", "diff", path("x.json")});
  EXPECT_EQ(same.exit, 0) << same.out;
  EXPECT_EQ(same.out, "");
  EXPECT_NE(same.err.find("preparerPassword"), std::string::npos) << same.err;
  const ToolResult replaced = optionsmgr({"--lang", "en", "import", "--replace", path("x.json")});
  EXPECT_EQ(replaced.exit, 0) << replaced.err;
  EXPECT_NE(replaced.out.find("preparerPassword"), std::string::npos) << "said per entry: " << replaced.out;
  EXPECT_EQ(optionsmgr({"--year", "2024", "get", "--show-secrets", "preparerPassword"}).out, "hush\n");
  EXPECT_EQ(get("2024", "printerNameChosen"), "Laser");
  EXPECT_EQ(optionsmgr({"import", "--replace", "--secrets", "--machine", path("x.json")}).exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2024", "get", "--show-secrets", "preparerPassword"}).out, "\n");
  EXPECT_EQ(get("2024", "printerNameChosen"), "");
}

TEST_F(ExchangeVerbsTest, AProvinceThatIsImportedAloneLeavesNoStaleCode) {
  set("2024", "preparerProvince", "Quebec");
  ASSERT_EQ(withInput(R"({"QorvaneT1Settings2024": {"PProv": "Ontario"}})", {"import", "-"}).exit, 0);
  const Value entries = entriesOf("QorvaneT1Settings2024");
  EXPECT_EQ(*entries.asDictionary()->find("PProvCode"), Value(Text("ON")));
  EXPECT_EQ(entries.asDictionary()->find("PProvandPCode")->textValue().view().substr(0, 7), "Ontario");
  const ToolResult taken =
      withInput(R"({"QorvaneT1Settings2024": {"PProv": "Ontario", "PProvCode": "XX"}})", {"import", "-"});
  EXPECT_EQ(taken.out.find("unknown"), std::string::npos) << taken.out;
  EXPECT_EQ(*entriesOf("QorvaneT1Settings2024").asDictionary()->find("PProvCode"), Value(Text("XX")))
      << "a file that has it is taken as it is";
}

TEST_F(ExchangeVerbsTest, JsonUnderTheNamesOfOptionsIsTakenForTheYearAsked) {
  const ToolResult result = withInput(
      "\xEF\xBB\xBF{\"preparerCity\": \"Alma\", \"zsupress\": false, \"autoSaveAfter\": 5, "
      "\"preparerProvince\": "
      "\"Quebec\"}",
      {"--lang", "en", "--year", "2024", "import", "-"});
  ASSERT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(get("2024", "preparerCity"), "Alma");
  EXPECT_EQ(get("2024", "zsupress"), "false");
  EXPECT_EQ(get("2024", "autoSaveAfter"), "5");
  EXPECT_EQ(*entriesOf("QorvaneT1Settings2024").asDictionary()->find("PProvCode"), Value(Text("QC")));
  expectFailure(
      withInput(R"({"preparerCity": "Gaspé", "zsupress": "maybe"})", {"--year", "2024", "import", "-"}), 65,
      "zsupress");
  EXPECT_EQ(get("2024", "preparerCity"), "Alma");
}

// ---- what an export writes over ---------------------------------------------------------------------------

TEST_F(ExchangeVerbsTest, AFileThatExistsIsReplacedOnlyWhenForced) {
  set("2024", "preparerCity", "Alma");
  writeFile(path("x.json"), "mine");
  expectFailure(optionsmgr({"--lang", "en", "--year", "2024", "export", path("x.json")}), 73, "--force");
  EXPECT_EQ(readFile(path("x.json")), "mine");
  EXPECT_EQ(optionsmgr({"--year", "2024", "export", "--force", path("x.json")}).exit, 0);
  EXPECT_NE(readFile(path("x.json")), "mine");
  const std::string own = (home.store() / "QorvaneT1Settings2024.plist").string();
  const std::string before = readFile(own);
  for (const std::string& file : {own, own + ".bak", (home.store() / "new.json").string()})
    EXPECT_EQ(optionsmgr({"--year", "2024", "export", "--force", file}).exit, 2) << file;
  EXPECT_EQ(readFile(own), before);
  EXPECT_FALSE(fs::exists(home.store() / "new.json"));
}

TEST_F(ExchangeVerbsTest, NamesFilterAndAnUnknownOneIsNoFile) {
  set("2024", "preparerCity", "Alma");
  set("2024", "preparerProvince", "Quebec");
  set("2024", "zsupress", "no");
  const json some = json::parse(
      optionsmgr({"--year", "2024", "--json", "export", "preparerC*", "PProv"}).out)["QorvaneT1Settings2024"];
  EXPECT_EQ(some["PCity"], "Alma");
  EXPECT_EQ(some["PProvCode"], "QC");
  EXPECT_FALSE(some.contains("ZSuppress"));
  fs::current_path(home.path());
  expectFailure(optionsmgr({"--lang", "en", "--year", "2024", "export", "preparerCty"}), 1, "preparerCity");
  EXPECT_FALSE(fs::exists(home.path() / "preparerCty"));
  EXPECT_EQ(optionsmgr({"--year", "2024", "export", "preparer*"}).exit, 0);
  EXPECT_FALSE(fs::exists(home.path() / "preparer*"));
  fs::current_path("/");
}

TEST_F(ExchangeVerbsTest, OneBadYearDoesNotStopTheOthers) {
  set("2023", "preparerCity", "Alma");
  set("2024", "preparerCity", "Gaspé");
  writeFile(home.store() / "QorvaneT1Settings2023.plist", "rubbish");
  const ToolResult result = optionsmgr({"--lang", "en", "export", "--all", "--format", "json"});
  EXPECT_EQ(result.exit, 65);
  EXPECT_TRUE(json::parse(result.out).contains("QorvaneT1Settings2024"));
  EXPECT_NE(result.err.find("T1 2023 is left out"), std::string::npos) << result.err;
}

TEST_F(ExchangeVerbsTest, JsonIsReadAndWrittenInTimeThatGrowsWithIt) {
  // Depth and size are bounded; a hundred thousand entries are no burden.
  expectFailure(withInput("{\"a\":" + std::string(2'000'000, '['), {"import", "-"}), 65, "line 1");
  std::string many = "{\"QorvaneT1Settings2024\": {\"a\": 1";
  for (int i = 0; i < 100'000; ++i) many += ",\"key" + std::to_string(i) + "\": \"x\"";
  ASSERT_EQ(withInput(many + "}}", {"--quiet", "import", "-"}).exit, 0);
  EXPECT_EQ(
      json::parse(optionsmgr({"--year", "2024", "--json", "export"}).out)["QorvaneT1Settings2024"].size(),
      100'001u);
}

using KilledExportSlowTest = ExchangeVerbsTest;

TEST_F(KilledExportSlowTest, NothingIsLeftOfAnExportThatWasKilled) {
  set("2024", "preparerCity", "Alma");
  const fs::path folder = home.path() / "out";
  for (int call = 1;; ++call) {
    fs::remove_all(folder);
    fs::create_directory(folder);
    const std::string file = (folder / "x.json").string();
    const bool killed = optionsmgrKilledBefore(call, {"--year", "2024", "export", file});
    if (fs::exists(file)) {
      EXPECT_TRUE(json::parse(readFile(file)).contains("QorvaneT1Settings2024"));
    }
    EXPECT_EQ(optionsmgr({"--year", "2024", "export", "--force", file}).exit, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "the next run removes what is left";
    if (!killed) break;
  }
}

// ---- killed at every call that changes the disk -----------------------------------------------------

using KilledSlowTest = ExchangeVerbsTest;

TEST_F(KilledSlowTest, AnImportOfSeveralYearsIsWholeOrNotAtAll) {
  const std::string file = twoYears();
  const Text first = "QorvaneT1Settings2023";
  const Text second = "QorvaneT2Settings2024";
  int wholes = 0;
  for (int call = 1;; ++call) {
    SCOPED_TRACE(call);
    fs::remove_all(home.store());
    set("2023", "preparerCity", "Gaspé");
    const Value before = entriesOf(first);
    const bool killed = optionsmgrKilledBefore(call, {"import", file});
    // Whoever reads then is answered for all years from before it, or for all from after it.
    EXPECT_EQ(get("2023", "preparerCity"), "Gaspé");
    EXPECT_EQ(get("2023", "language"), get("2024", "language", "T2"));
    // The next change mends what there is to mend.
    set("2019", "preparerCity", "Alma");
    EXPECT_FALSE(fs::exists(home.store() / ".unfinished"));
    const bool changed = !isIdentical(entriesOf(first), before);
    EXPECT_EQ(!entriesOf(second).isNil(), changed) << "half an import";
    wholes += changed;
    if (!killed) {
      EXPECT_TRUE(changed);
      EXPECT_GT(call, 20) << "it made fewer calls than an import takes";
      break;
    }
  }
  EXPECT_GT(wholes, 1) << "the last calls only tidy up";
}

TEST_F(KilledSlowTest, ACarryForwardIsWholeOrNotAtAll) {
  for (int call = 1;; ++call) {
    SCOPED_TRACE(call);
    fs::remove_all(home.store());
    set("2024", "preparerCity", "Gaspé");
    set("2024", "language", "French");
    const bool killed = optionsmgrKilledBefore(call, {"carry-forward", "--from", "2024", "--to", "2025"});
    EXPECT_EQ(get("2025", "preparerCity") == "Gaspé", get("2025", "language") == "French");
    if (!killed) {
      EXPECT_EQ(get("2025", "language"), "French");
      EXPECT_GT(call, 5);
      break;
    }
  }
}

TEST_F(KilledSlowTest, WhatSomebodyChangedAfterTheKillStays) {
  const std::string file = twoYears();
  set("2023", "preparerCity", "Gaspé");
  // The last moment at which both files are changed and the note still stands.
  int call = 1;
  for (;; ++call) {
    ASSERT_TRUE(optionsmgrKilledBefore(call, {"import", file}));
    if (fs::exists(home.store() / ".unfinished" / "Changes.plist") &&
        !entriesOf("QorvaneT2Settings2024").isNil())
      break;
    set("2019", "preparerCity", "Alma");
    ASSERT_EQ(get("2023", "preparerCity"), "Gaspé");
  }
  FileUserDefaults program;
  program.setObject(Dictionary{{"Language", Text("Newer")}}, "QorvaneT1Settings2023");
  ASSERT_TRUE(program.synchronize());
  EXPECT_EQ(get("2023", "language"), "Newer");
  EXPECT_EQ(get("2024", "language", "T2"), "English");
  const ToolResult next = optionsmgr({"--lang", "en", "--year", "2019", "set", "preparerCity", "Alma"});
  EXPECT_NE(next.err.find("T1 2023 was changed since"), std::string::npos) << next.err;
  EXPECT_TRUE(entriesOf("QorvaneT2Settings2024").isNil());
}

}  // namespace
}  // namespace testing_support
