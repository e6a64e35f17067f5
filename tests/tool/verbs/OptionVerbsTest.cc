// list, get, set, reset, describe and restore, as a person at a shell meets them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;

class OptionVerbsTest : public testing::Test {
 protected:
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }

  /// Runs the tool for the personal product of 2020.
  static ToolResult tool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--lang", "en", "--year", "2020"});
    return optionsmgr(arguments);
  }
  /// Expects one line on stderr, nothing on stdout, and this exit code.
  static void expectFailure(const ToolResult& result, int exit, const std::string& words) {
    EXPECT_EQ(result.exit, exit) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
  }

  TestHome home;
};

TEST_F(OptionVerbsTest, SetIsReadBackByAnotherProcess) {
  const ToolResult set = tool({"set", "autoSaveAfter", "5"});
  EXPECT_EQ(set.exit, 0) << set.err;
  EXPECT_EQ(set.out + set.err, "");
  const ToolResult got = tool({"get", "autoSaveAfter"});
  EXPECT_EQ(got.exit, 0);
  EXPECT_EQ(got.out, "5\n");
  EXPECT_EQ(got.err, "");
  EXPECT_EQ(optionsmgr({"--year", "2021", "get", "autoSaveAfter"}).out, "0\n") << "another year";
  EXPECT_EQ(optionsmgr({"--year", "2020", "--product", "T2", "get", "autoSaveAfter"}).out, "0\n")
      << "another product";
}

TEST_F(OptionVerbsTest, OptionsAreNamedByPropertyOrStoredKey) {
  EXPECT_EQ(tool({"set", "ZSuppress", "no"}).exit, 0);
  EXPECT_EQ(tool({"get", "zsupress"}).out, "false\n");
}

TEST_F(OptionVerbsTest, FlagsAreSaidInManyWays) {
  for (const char* word : {"true", "YES", "On", "1"}) {
    EXPECT_EQ(tool({"set", "encryptXml", word}).exit, 0) << word;
    EXPECT_EQ(tool({"get", "encryptXml"}).out, "true\n") << word;
    EXPECT_EQ(tool({"set", "encryptXml", "off"}).exit, 0);
  }
  for (const char* word : {"False", "no", "OFF", "0"}) {
    EXPECT_EQ(tool({"set", "encryptXml", "on"}).exit, 0);
    EXPECT_EQ(tool({"set", "encryptXml", word}).exit, 0) << word;
    EXPECT_EQ(tool({"get", "encryptXml"}).out, "false\n") << word;
  }
}

TEST_F(OptionVerbsTest, LabelsAreUnderstoodWithTheirAccents) {
  EXPECT_EQ(tool({"set", "preparerModeOfDelivery", "Téléphone"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerModeOfDelivery"}).out, "Phone\n");
  EXPECT_EQ(tool({"set", "t1013LevelOfAuth", "Niveau-2 Révéler et demander des changements"}).exit, 0);
  EXPECT_EQ(tool({"get", "t1013LevelOfAuth"}).out, "2\n");
  EXPECT_EQ(tool({"set", "preparerProvince", "Île-du-Prince-Édouard"}).exit, 0);
  EXPECT_EQ(tool({"get", "preparerProvince"}).out, "Prince Edward Island\n");
  EXPECT_EQ(tool({"set", "language", "français"}).exit, 0);
  EXPECT_EQ(tool({"get", "language"}).out, "French\n");
}

TEST_F(OptionVerbsTest, TextsKeepTheirCharacters) {
  const std::string text = "  L'été \xF0\x9F\x8D\x81 \t\"\\ ";
  EXPECT_EQ(tool({"set", "disclaimerTxt", text}).exit, 0);
  EXPECT_EQ(tool({"get", "disclaimerTxt"}).out, text + "\n");
  EXPECT_EQ(nlohmann::json::parse(tool({"--json", "get", "disclaimerTxt"}).out), text);
}

TEST_F(OptionVerbsTest, AValueThatBeginsWithADash) {
  EXPECT_EQ(tool({"set", "--force", "autoSaveAfter", "--", "-3"}).exit, 0);
  EXPECT_EQ(tool({"get", "autoSaveAfter"}).out, "-3\n");
}

TEST_F(OptionVerbsTest, ResetPutsTheDefaultBack) {
  EXPECT_EQ(tool({"set", "zsupress", "off"}).exit, 0);
  EXPECT_EQ(tool({"set", "language", "French"}).exit, 0);
  EXPECT_EQ(tool({"reset", "zsupress"}).exit, 0);
  EXPECT_EQ(tool({"get", "zsupress"}).out, "true\n");
  EXPECT_EQ(tool({"get", "language"}).out, "French\n") << "the others stay";
}

TEST_F(OptionVerbsTest, ListShowsWhatMatchesAndWhatChanged) {
  EXPECT_EQ(tool({"set", "language", "French"}).exit, 0);
  const ToolResult all = tool({"list"});
  EXPECT_EQ(all.exit, 0);
  EXPECT_NE(all.out.find("autoSaveAfter"), std::string::npos);
  EXPECT_EQ(tool({"list", "lang*", "--changed"}).out,
            "option    type  value   default\nlanguage  text  French  English\n");
  EXPECT_EQ(tool({"--quiet", "list", "--changed"}).out, "language  text  French  English\n");
  EXPECT_EQ(tool({"list", "auto*", "--changed"}).out, "");
  for (const char* glob : {"languag?", "*"}) {
    const auto told = nlohmann::json::parse(tool({"list", "--json", "--changed", glob}).out);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told["language"]["value"], "French");
    EXPECT_EQ(told["language"]["default"], "English");
    EXPECT_EQ(told["language"]["type"], "text");
    EXPECT_EQ(told["language"]["key"], "Language");
    EXPECT_EQ(told["language"]["choices"], nullptr);
  }
  expectFailure(tool({"list", "nothing*"}), 1, "nothing*");
  expectFailure(tool({"list", "nothing*", "--changed"}), 1, "nothing*");
}

TEST_F(OptionVerbsTest, DescribeTellsTheOption) {
  const nlohmann::json told = nlohmann::json::parse(tool({"--json", "describe", "zsupress"}).out);
  EXPECT_EQ(told["name"], "zsupress");
  EXPECT_EQ(told["key"], "ZSuppress");
  EXPECT_EQ(told["type"], "flag");
  EXPECT_EQ(told["default"], true);
  EXPECT_EQ(told["value"], true);
  EXPECT_EQ(told["stored"], "the text YES or NO");
  EXPECT_EQ(told["read"], "stores-default");
  EXPECT_EQ(told["set"], "announces-change");
  EXPECT_EQ(nlohmann::json::parse(tool({"--json", "describe", "yor"}).out)["key"], nullptr);
  EXPECT_NE(tool({"describe", "zsupress"}).out.find("ZSuppress"), std::string::npos);
}

TEST_F(OptionVerbsTest, EveryOptionIsDescribedInWords) {
  for (const char* product : {"T1", "T2"})
    for (const qorvane::OptionRow& row : qorvane::optionTable()) {
      const std::string name(row.name);
      const std::string told = tool({"--product", product, "describe", name}).out;
      EXPECT_EQ(told.find_first_of("<>"), std::string::npos) << told;
      // Only what is written by hand has a way of its own.
      const auto has = [&](const char* pattern) { return std::regex_search(told, std::regex(pattern)); };
      EXPECT_EQ(has("\nread +in a way of its own"), !row.key().isNil() && row.readKind.empty()) << told;
      EXPECT_EQ(has("\nsetting +in a way of its own"), row.write && row.writeKind.empty()) << told;
    }
}

TEST_F(OptionVerbsTest, UnknownOptionsGetASuggestion) {
  expectFailure(tool({"get", "zsuppress"}), 1, "did you mean \"zsupress\"");
  expectFailure(tool({"set", "langage", "French"}), 1, "language");
  EXPECT_FALSE(fs::exists(home.store())) << "nothing was made";
}

TEST_F(OptionVerbsTest, WrongValuesAreRefusedAndChangeNothing) {
  EXPECT_EQ(tool({"set", "language", "French"}).exit, 0);
  const std::string before = readFile(file());
  for (const char* words : {"x", "5x", "", " 5", "2147483648", "1.5"})
    expectFailure(tool({"set", "autoSaveAfter", words}), 65, "autoSaveAfter");
  expectFailure(tool({"set", "zsupress", "maybe"}), 65, "zsupress");
  expectFailure(tool({"set", "language",
                      "Fran\xE7"
                      "ais"}),
                65, "UTF-8");
  expectFailure(tool({"set", "yor", "2021"}), 65, "yor");
  EXPECT_EQ(readFile(file()), before);
}

TEST_F(OptionVerbsTest, UsageErrors) {
  expectFailure(optionsmgr({}), 2, "--help");
  expectFailure(optionsmgr({"lisst"}), 2, "did you mean \"list\"");
  expectFailure(optionsmgr({"get"}), 2, "OPTION");
  expectFailure(optionsmgr({"--product", "T3", "list"}), 2, "T3");
  expectFailure(optionsmgr({"--year", "soon", "list"}), 2, "soon");
  EXPECT_EQ(optionsmgr({"--help"}).exit, 0);
  EXPECT_EQ(optionsmgr({"set", "--help"}).exit, 0);
  EXPECT_EQ(optionsmgr({"--version"}).exit, 0);
}

TEST_F(OptionVerbsTest, ADamagedFileIsLeftAloneUntilRestored) {
  EXPECT_EQ(tool({"set", "language", "French"}).exit, 0);
  EXPECT_EQ(tool({"set", "autoSaveAfter", "5"}).exit, 0);
  std::string bytes = readFile(file());
  bytes[bytes.size() / 2] ^= 1;
  writeFile(file(), bytes);
  expectFailure(tool({"get", "language"}), 65, "optionsmgr restore");
  expectFailure(tool({"set", "language", "English"}), 65, "damaged");
  EXPECT_EQ(readFile(file()), bytes);
  const ToolResult restored = tool({"restore"});
  EXPECT_EQ(restored.exit, 0) << restored.err;
  EXPECT_NE(restored.err.find("last good copy"), std::string::npos) << restored.err;
  EXPECT_EQ(tool({"get", "language"}).out, "French\n");
  EXPECT_EQ(tool({"get", "autoSaveAfter"}).out, "0\n") << "the copy is the file before the last save";
  EXPECT_NE(tool({"restore"}).out.find("in order"), std::string::npos);
}

TEST_F(OptionVerbsTest, AReadOnlyStoreIsReadButNotChanged) {
  EXPECT_EQ(tool({"set", "language", "French"}).exit, 0);
  const std::string before = readFile(file());
  fs::permissions(home.path(), fs::perms::owner_all | fs::perms::others_exec | fs::perms::group_exec);
  fs::permissions(home.path() / ".config", fs::perms(0755));
  fs::permissions(home.store(), fs::perms(0555));
  fs::permissions(file(), fs::perms(0444));
  fs::permissions(home.store() / ".lock", fs::perms(0444));
  EXPECT_EQ(optionsmgr({"--year", "2020", "get", "language"}, true).out, "French\n");
  expectFailure(optionsmgr({"--year", "2020", "set", "language", "English"}, true), 77,
                "permission refusée; rien n’a été modifié");
  EXPECT_EQ(readFile(file()), before);
}

TEST_F(OptionVerbsTest, AnUnreadableFileIsSaid) {
  EXPECT_EQ(tool({"set", "language", "French"}).exit, 0);
  fs::permissions(home.path(), fs::perms(0755));
  fs::permissions(home.path() / ".config", fs::perms(0755));
  fs::permissions(home.store(), fs::perms(0755));
  fs::permissions(file(), fs::perms(0000));
  expectFailure(optionsmgr({"--lang", "en", "--year", "2020", "get", "language"}, geteuid() == 0), 77,
                "Permission denied");
}

TEST_F(OptionVerbsTest, NoHomeIsSaid) {
  unsetenv("HOME");
  expectFailure(tool({"get", "language"}), 73, "HOME");
  expectFailure(tool({"set", "language", "French"}), 73, "HOME");
  for (const char* verb : {"doctor", "watch", "list", "restore", "export"})
    expectFailure(tool({verb}), 73, "HOME");
}

TEST_F(OptionVerbsTest, AFileInTheFoldersPlaceIsSaid) {
  writeFile(home.path() / ".config", "not a folder");
  expectFailure(tool({"set", "language", "French"}), 73, ".config");
}

TEST_F(OptionVerbsTest, ALockedStoreIsSaidAfterTheWait) {
  qorvane::FileUserDefaults holder;
  const qorvane::FileUserDefaults::Lock lock(holder);
  expectFailure(tool({"--lock-wait", "0.05", "set", "language", "French"}), 75, "locked");
  EXPECT_EQ(tool({"get", "language"}).out, "English\n") << "reading needs no lock";
}

TEST_F(OptionVerbsTest, AnotherStoreFolderIsUsedWhenNamed) {
  const std::string folder = (home.path() / "à part" / "réglages").string();
  EXPECT_EQ(tool({"--store", folder, "set", "language", "French"}).exit, 0);
  EXPECT_TRUE(fs::exists(folder + "/QorvaneT1Settings2020.plist"));
  EXPECT_FALSE(fs::exists(home.store()));
}

TEST_F(OptionVerbsTest, FilesOfAnIndependentWriterKeepTheirUnknownEntries) {
  constexpr const char* kWrite =
      "import plistlib,datetime,sys,os\n"
      "os.makedirs(os.path.dirname(sys.argv[1]),exist_ok=True)\n"
      "all={'text':'L\\u00e9o','int':-7,'big':2**63+1,'real':0.1,'true':True,'data':b'\\0\\xff',"
      "'date':datetime.datetime(2020,3,1,12,0,1),'array':[1,'a',[]],'dict':{'in':{'deep':False}}}\n"
      "top={'QorvaneT1Settings2020':dict(all,Language='French'),'Somebody else':all}\n"
      "if sys.argv[2]=='write': plistlib.dump(top,open(sys.argv[1],'wb'),fmt=getattr(plistlib,sys.argv[3]))\n"
      "else:\n"
      "  now=plistlib.load(open(sys.argv[1],'rb'))\n"
      "  ours=now['QorvaneT1Settings2020']\n"
      "  same=lambda a,b: type(a)==type(b) and a==b\n"
      "  assert all.keys()<=ours.keys() and [same(ours[k],all[k]) for k in all]==[True]*len(all)\n"
      "  assert now['Somebody else']==all and ours['Language']=='French' and ours['PCity']=='Alma'\n";
  for (const char* format : {"FMT_BINARY", "FMT_XML"}) {
    const ToolResult written = run({"python3", "-c", kWrite, file().string(), "write", format});
    if (written.exit == 127) GTEST_SKIP() << "python3 is not installed";
    ASSERT_EQ(written.exit, 0) << written.err;
    EXPECT_EQ(tool({"get", "language"}).out, "French\n");
    EXPECT_EQ(tool({"set", "preparerCity", "Alma"}).exit, 0);
    const ToolResult read = run({"python3", "-c", kWrite, file().string(), "read"});
    EXPECT_EQ(read.exit, 0) << format << read.err;
  }
}

TEST_F(OptionVerbsTest, TheStoreOpensInAnIndependentReader) {
  EXPECT_EQ(tool({"set", "disclaimerTxt", "L'été"}).exit, 0);
  const ToolResult xml = run({"plistutil", "-i", file().string(), "-f", "xml"});
  if (xml.exit == 127) GTEST_SKIP() << "plistutil is not installed";
  EXPECT_EQ(xml.exit, 0) << xml.err;
  EXPECT_NE(xml.out.find("<key>QorvaneT1Settings2020</key>"), std::string::npos) << xml.out;
  EXPECT_NE(xml.out.find("<key>DisclaimerTxt</key>"), std::string::npos);
  EXPECT_NE(xml.out.find("<string>L'été</string>"), std::string::npos);
}

}  // namespace
}  // namespace testing_support
