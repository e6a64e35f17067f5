// What the tool says: help, manual pages, both languages, and every verb's output against golden text.
//
// The golden files are rewritten, to be looked at with `git diff`, by
//   UPDATE_GOLDEN=1 build/dev/tests/test_tool --gtest_filter='SpeechTest.*'
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "qorvane/platform/FileUserDefaults.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

const fs::path kSources = fs::path(TEST_DATA_DIR).parent_path();

std::size_t columnsOf(const std::string& line) {
  return static_cast<std::size_t>(std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; }));
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
    text.replace(at, from.size(), to);
}

Words linesOf(const std::string& text) {
  Words lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

class SpeechTest : public testing::Test {
 protected:
  // The verbs, as the tool itself lists them.
  static Words verbs() { return linesOf(optionsmgr({"--complete", ""}).out); }

  TestHome home;
};

// ---- help -------------------------------------------------------------------------------------------------

TEST_F(SpeechTest, HelpFitsIntoEightyColumnsInBothLanguages) {
  Words verbsAndNone = verbs();
  ASSERT_GT(verbsAndNone.size(), 15u);
  verbsAndNone.emplace_back();
  for (const char* language : {"en", "fr"})
    for (const std::string& verb : verbsAndNone) {
      const ToolResult help = verb.empty() ? optionsmgr({"--lang", language, "--help"})
                                           : optionsmgr({"--lang", language, verb, "--help"});
      EXPECT_EQ(help.exit, 0) << help.err;
      EXPECT_NE(help.out.find(language == std::string("en") ? "Usage: optionsmgr" : "Usage : optionsmgr"),
                std::string::npos);
      for (const std::string& line : linesOf(help.out)) EXPECT_LE(columnsOf(line), 80u) << line;
    }
}

TEST_F(SpeechTest, HelpBeginsWithExamplesAndNamesEveryVerb) {
  const std::string help = optionsmgr({"--help"}).out;
  EXPECT_EQ(help.substr(0, 9), "Examples:");
  for (const std::string& verb : verbs())
    EXPECT_NE(help.find("\n  " + verb + " "), std::string::npos) << verb;
}

TEST_F(SpeechTest, EveryMessageHasItsFrench) {
  const std::string french = readFile(kSources / "tool" / "French.def");
  int messages = 0;
  for (const auto& file : fs::directory_iterator(kSources / "tool")) {
    if (file.path().extension() != ".cc") continue;
    // Literals that stand side by side are one.
    std::string source = readFile(file.path());
    for (std::size_t at = 0; (at = source.find('"', at)) != source.npos;) {
      const std::size_t next = source.find_first_not_of(" \n", at + 1);
      if (next != source.npos && next > at + 1 && source[next] == '"' && source[at - 1] != '\\' &&
          source.substr(at + 1, next - at - 1).find('\n') != std::string::npos)
        source.erase(at, next - at + 1);
      else
        ++at;
    }
    for (std::size_t at = 0; (at = source.find("say(", at)) != source.npos; at += 4) {
      // The text is the first argument, or the two that a condition chooses from.
      std::size_t literal = source.find_first_of("\",;{)", at + 4);
      while (literal != source.npos && source[literal] == '"') {
        std::size_t end = literal + 1;
        while (source[end] != '"') end += source[end] == '\\' ? 2U : 1U;
        const std::string text = source.substr(literal, end + 1 - literal);
        if (text != "\"\"") {
          ++messages;
          EXPECT_NE(french.find("FRENCH(" + text + ","), std::string::npos)
              << file.path().filename() << ": " << text;
        }
        const std::size_t after = source.find_first_not_of(" \n", end + 1);
        literal = source[after] == ':' ? source.find('"', after) : source.npos;
      }
    }
  }
  EXPECT_GT(messages, 100);
}

TEST_F(SpeechTest, TheLanguageIsTheStoresUnlessSaid) {
  ASSERT_EQ(optionsmgr({"--year", "2020", "set", "language", "French"}).exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2020", "get", "zsuppress"}).err,
            "optionsmgr: il n'y a pas d'option « zsuppress »; vouliez-vous dire \"zsupress\" ?\n");
  EXPECT_EQ(optionsmgr({"--lang", "en", "--year", "2020", "get", "zsuppress"}).err,
            "optionsmgr: there is no option \"zsuppress\"; did you mean \"zsupress\"?\n");
  EXPECT_EQ(optionsmgr({"--year", "2021", "get", "zsuppress"}).err.substr(0, 20), "optionsmgr: there is");
  EXPECT_NE(optionsmgr({"--lang", "fr", "get"}).err.find("est obligatoire"), std::string::npos);
  EXPECT_NE(optionsmgr({"--lang=fr", "lisst"}).err.find("vouliez-vous dire \"list\""), std::string::npos);
  EXPECT_EQ(optionsmgr({"--lang", "de", "list"}).exit, 2);
}

// ---- manual pages -----------------------------------------------------------------------------------------

TEST_F(SpeechTest, TheManualTellsEveryVerbAndEveryKey) {
  for (const char* language : {"en", "fr"}) {
    const std::string tool = optionsmgr({"--manual", "1", language}).out;
    for (const std::string& verb : verbs()) {
      std::string escaped = verb;
      replaceAll(escaped, "-", "\\-");
      EXPECT_NE(tool.find(".SS optionsmgr " + escaped), std::string::npos) << verb;
    }
    const std::string format = optionsmgr({"--manual", "5", language}).out;
    for (const char* key : {"ZSuppress", "MainBackColor", "PreparerPovinceAsDefault"})
      EXPECT_NE(format.find(std::string(".B ") + key), std::string::npos) << key;
    for (const auto& [name, text] : {std::pair{"1", tool}, {"5", format}}) {
      const std::string page = (home.path() / (std::string("optionsmgr.") + name)).string();
      writeFile(page, text);
      const ToolResult shown =
          run({"sh", "-c",
               "command -v man groff >/dev/null || exit 127; MANWIDTH=80 man --warnings -E UTF-8 -l " + page +
                   " >/dev/null"});
      if (shown.exit == 127) continue;
      EXPECT_EQ(shown.err, "") << page;
    }
  }
}

// ---- every verb against golden text -----------------------------------------------------------------------

struct GoldenRun {
  std::string language;
  bool json;
};

std::string golden(const GoldenRun& how, const fs::path& home) {
  const std::string json = how.json ? "--json " : "";
  const std::string file = (home / "other.plist").string();
  optionsmgr({"--year", "2023", "set", "language", "French"});
  optionsmgr({"--year", "2023", "set", "preparerCity", "Gaspé"});
  optionsmgr({"--year", "2023", "set", "preparerPassword", "hush"});
  optionsmgr({"--year", "2023", "set", "cifFileFolder", "/srv/2023/cif"});
  optionsmgr({"--year", "2023", "export", file});
  std::string all;
  for (const char* words : {"list prep*",
                            "list --changed",
                            "list nothing*",
                            "get preparerCity",
                            "get zsuppress",
                            "set autoSaveAfter 5",
                            "set autoSaveAfter x",
                            "set zsupress maybe",
                            "set preparerModeOfDelivery Pigeon",
                            "set yor 2020",
                            "reset autoSaveAfter",
                            "describe preparerModeOfDelivery",
                            "describe preparerPassword",
                            "range preparerModeOfDelivery",
                            "range printFontForHeader",
                            "range mainBackColor",
                            "diff 2023 2024",
                            "carry-forward --from 2023 --to 2024 --dry-run",
                            "--quiet carry-forward --from 2023 --to 2024",
                            "diff 2023 2024",
                            "carry-forward --from 2023 --to 2023",
                            "export --format json",
                            "export --all --format xml FILE",
                            "import --dry-run FILE",
                            "import FILE",
                            "import nowhere",
                            "doctor",
                            "restore",
                            "paths",
                            "choices ModeOfDelivery",
                            "province QC",
                            "province Nevada",
                            "format 1234.5",
                            "vocabulary --search Firstnames",
                            "completion bash",
                            "completion csh",
                            "lisst",
                            "list --help",
                            "carry-forward --help",
                            "import --help"}) {
    std::string command = "optionsmgr --lang " + how.language + " --year 2023 " + json + words;
    if (how.json && command.find("--help") != command.npos) continue;
    all += "$ " + command + "\n";
    // A later import is to have something to do.
    replaceAll(command, "FILE", "\"" + file + "\"");
    if (command.find("import") != command.npos)
      optionsmgr({"--year", "2023", "set", "preparerCity", "Matane"});
    const std::string tool = TOOL_PATH;
    const ToolResult result =
        run({"bash", "-fc", tool + command.substr(std::string("optionsmgr").size()) + " 2>&1"});
    all += result.out + (result.exit == 0 ? "" : "[" + std::to_string(result.exit) + "]\n");
  }
  replaceAll(all, home.string(), "$HOME");
  replaceAll(all, fs::path(TOOL_PATH).parent_path().string(), "$BUILD");
  return all;
}

TEST_F(SpeechTest, EveryVerbSaysWhatItSaidBefore) {
  for (const GoldenRun& how : {GoldenRun{"en", false}, {"en", true}, {"fr", false}, {"fr", true}}) {
    const TestHome ownHome;
    const fs::path expected =
        fs::path(TEST_DATA_DIR) / "tool" / "golden" / (how.language + (how.json ? "-json" : "") + ".txt");
    // The system's own messages would come in the language of the locale.
    setenv("LC_ALL", "C", 1);  // Editing formats and the system's own messages follow the locale.
    const std::string now = golden(how, ownHome.path());
    if (std::getenv("UPDATE_GOLDEN")) {
      fs::create_directories(expected.parent_path());
      writeFile(expected, now);
    }
    ASSERT_TRUE(fs::exists(expected)) << expected;
    EXPECT_EQ(now, readFile(expected)) << expected;
  }
}

TEST_F(SpeechTest, OnATerminalNoLineIsWiderThanIt) {
  if (run({"sh", "-c", "command -v script"}).exit != 0) GTEST_SKIP() << "script is not installed";
  const std::string accents = "ÉéèàÉéèàÉéèàÉéèàÉéèàÉéèàÉéèà";
  optionsmgr({"--year", "2023", "set", "disclaimerTxt", accents + "\n" + accents + accents});
  optionsmgr({"--year", "2024", "set", "disclaimerTxt", accents + accents + accents + accents});
  for (const char* words : {"list", "diff 2023 2024", "carry-forward --dry-run --from 2023 --to 2024",
                            "doctor", "paths", "choices", "province QC", "range mr69_Authorization"}) {
    const ToolResult result = run(
        {"script", "-qec", std::string("stty cols 80; ") + TOOL_PATH + " --year 2023 " + words, "/dev/null"});
    EXPECT_NE(result.out, "") << words;
    for (std::string line : linesOf(result.out)) {
      if (line.ends_with('\r')) line.pop_back();
      EXPECT_LE(columnsOf(line), 80u) << words << ": " << line;
    }
  }
}

// ---- the exit codes ---------------------------------------------------------------------------------------

TEST_F(SpeechTest, EachExitCodeThatIsDocumentedIsReached) {
  const auto exitOf = [](Words words) {
    words.insert(words.begin(), {"--year", "2020"});
    return optionsmgr(words).exit;
  };
  EXPECT_EQ(exitOf({"set", "autoSaveAfter", "5"}), 0);
  EXPECT_EQ(exitOf({"get", "nothing"}), 1);
  EXPECT_EQ(exitOf({"get"}), 2);
  EXPECT_EQ(exitOf({"set", "autoSaveAfter", "x"}), 65);
  EXPECT_EQ(exitOf({"export", "/no/such/folder/file"}), 73);
  EXPECT_EQ(exitOf({"export", "/dev/full"}), 74);
  {
    qorvane::FileUserDefaults holder;
    const qorvane::FileUserDefaults::Lock lock(holder);
    EXPECT_EQ(exitOf({"--lock-wait", "0", "set", "autoSaveAfter", "6"}), 75);
  }
  fs::permissions(home.path(), fs::perms(0700));
  EXPECT_EQ(optionsmgr({"--store", home.store().string(), "--year", "2020", "get", "language"}, true).exit,
            geteuid() == 0 ? 77 : 0);
}

// ---- the README -------------------------------------------------------------------------------------------

TEST_F(SpeechTest, TheSessionOfTheReadmeIsTrue) {
  const Words lines = linesOf(readFile(kSources / "README.md"));
  auto line = std::ranges::find(lines, "## Ten lines of shell");
  ASSERT_NE(line, lines.end());
  const std::string prompt = "    $ ";
  line = std::find_if(line, lines.end(), [&](const std::string& l) { return l.starts_with(prompt); });
  int commands = 0;
  while (line != lines.end() && line->starts_with(prompt)) {
    const std::string command = line->substr(prompt.size());
    std::string expected;
    for (++line; line != lines.end() && line->starts_with("    ") && !line->starts_with(prompt); ++line)
      expected += line->substr(4) + "\n";
    const std::string folder = fs::path(TOOL_PATH).parent_path();
    EXPECT_EQ(run({"sh", "-c", "PATH=" + folder + ":$PATH; " + command + " 2>&1"}).out, expected) << command;
    ++commands;
  }
  EXPECT_GE(commands, 5);
}

}  // namespace
}  // namespace testing_support
