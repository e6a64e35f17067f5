// What the tool says: help, manual pages, both languages, and every verb's output against golden text.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/FrenchTypography.h"
#include "tests/Golden.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

const fs::path kSources = fs::path(TEST_DATA_DIR).parent_path();

// The columns that a line takes on a terminal; ICU tells them apart here as it does there, so these are told
// by hand: marks that stand on a letter take none, Chinese letters two, and colours none.
std::size_t columnsOf(std::string line) {
  static const std::regex kEscapes("\x1b\\[[0-9;]*m|\r|\xCC[\x80-\xBF]");
  line = std::regex_replace(line, kEscapes, "");
  std::size_t width = 0;
  for (const char c : line)
    if ((c & 0xC0) != 0x80) width += static_cast<unsigned char>(c) >= 0xE4 ? 2U : 1U;
  return width;
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
      EXPECT_NE(
          help.out.find(language == std::string("en") ? "Usage: optionsmgr" : "Usage\u00A0: optionsmgr"),
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

TEST_F(SpeechTest, TheLanguageIsTheStoresUnlessSaid) {
  ASSERT_EQ(optionsmgr({"--year", "2020", "set", "language", "French"}).exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2020", "get", "zsuppress"}).err,
            "optionsmgr: il n’y a pas d’option «\u00A0zsuppress\u00A0»; vouliez-vous dire "
            "«\u00A0zsupress\u00A0»?\n");
  EXPECT_EQ(optionsmgr({"--lang", "en", "--year", "2020", "get", "zsuppress"}).err,
            "optionsmgr: there is no option \"zsuppress\"; did you mean \"zsupress\"?\n");
  EXPECT_TRUE(optionsmgr({"--year", "2021", "get", "zsuppress"}).err.starts_with("optionsmgr: il n’y "))
      << "any settings of the store count";
  const auto under = [](const char* variable, const char* locale) {
    return run({"env", "-u", "LC_ALL", "-u", "LC_MESSAGES", "-u", "LANG",
                std::string(variable) + "=" + locale, TOOL_PATH, "get", "zsuppress"})
        .err.substr(12, 8);
  };
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    EXPECT_EQ(under(variable, "en_CA.UTF-8"), "there is");
    EXPECT_EQ(under(variable, "C.UTF-8").substr(0, 2), "il") << "neither: the store's";
  }
  ASSERT_EQ(optionsmgr({"--year", "2020", "set", "language", "English"}).exit, 0);
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    EXPECT_EQ(under(variable, "fr_CA.UTF-8").substr(0, 2), "il");
    EXPECT_EQ(under(variable, "de_DE.UTF-8"), "there is");
  }
  EXPECT_NE(optionsmgr({"--lang", "fr", "get"}).err.find("est obligatoire"), std::string::npos);
  EXPECT_NE(optionsmgr({"--lang=fr", "lisst"}).err.find("vouliez-vous dire «\u00A0list\u00A0»"),
            std::string::npos);
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

// What people type; FILE is a preferences file that another run has exported.
constexpr const char* kCommands[] = {
    "list prep*",
    "list --changed",
    "list *Color",
    "list nothing*",
    "get preparerCity",
    "get mainBackColor",
    "get zsuppress",
    "get preparerCity preparerPhone",
    "get preparerPassword",
    "list --group couleurs --labels",
    "list --unknown",
    "search telecopieur",
    "search nothing",
    "help reset",
    "set preparerCity=Alma autoSaveAfter=5 --dry-run",
    "set autoSaveAfter -5",
    "set preparerProvince Onario",
    "reset disc_* --dry-run",
    "set autoSaveAfter 5",
    "set autoSaveAfter x",
    "set zsupress maybe",
    "set preparerModeOfDelivery Pigeon",
    "set yor 2020",
    "reset autoSaveAfter",
    "reset yor",
    "describe preparerModeOfDelivery",
    "describe preparerNoticeOfAssAndTaxRefundOption",
    "describe preparerPassword",
    "describe preparerCity",
    "describe preparerProvince",
    "describe mainBackColor",
    "describe printFontForHeader",
    "describe clientFileFolder",
    "describe isStepsMode",
    "describe yor",
    "range preparerModeOfDelivery",
    "range zsupress",
    "range autoSaveAfter",
    "range printFontForHeader",
    "range mainBackColor",
    "range t1013ExpiryDate",
    "range cifFileFolder",
    "range preparerCity",
    "diff 2023 2024",
    "carry-forward --from 2023 --to 2024 --dry-run",
    "--quiet carry-forward --from 2023 --to 2024",
    "diff 2023 2024",
    "diff 2023",
    "carry-forward --from 2023 --to 2023",
    "export --format json",
    "export --all --force --format xml FILE",
    "export /nowhere/file",
    "import --dry-run FILE",
    "import FILE",
    "import --dry-run --replace FILE",
    "import nowhere",
    "why preparerCity",
    "why zsupress",
    "lock autoSaveAfter",
    "unlock autoSaveAfter",
    "--layer firm set autoSaveAfter 5",
    "doctor",
    "restore",
    "undo",
    "history --forget",
    "WATCH",
    "paths",
    "product",
    "--product T2 --release VER2023_2 product",
    "notice",
    "notice 2",
    "pages pagesWithMaskedSIN",
    "pages pagesWithDecimals",
    "choices ModeOfDelivery",
    "choices",
    "choices ModeOfDeliverie",
    "province QC",
    "province 'H2X 1Y4'",
    "province Nevada",
    "format 1234.5 -0.5",
    "format x",
    "vocabulary --search Firstnames",
    "vocabulary colours",
    "vocabulary colors",
    "completion bash",
    "completion csh",
    "lisst",
    "--year soon list",
    "get",
};

struct Way {
  std::string language;
  bool json;
  // "script" gives the tool a terminal of 80 columns, for what it says on standard output.
  bool terminal = false;
};

// Runs commands in a home that has something to show.
class Speaker {
 public:
  Way way;

  explicit Speaker(Way itsWay) : way(std::move(itsWay)) {
    // Editing formats follow the locale.
    setenv("LC_ALL", "C", 1);
    for (const auto& [option, value] : {std::pair{"language", "French"},
                                        {"preparerCity", "Gaspé"},
                                        {"preparerPassword", "hush"},
                                        {"disclaimerTxt", "Établi d'après les pièces remises par le client."},
                                        {"cifFileFolder", "/srv/2023/cif"}})
      optionsmgr({"--year", "2023", "set", option, value});
    optionsmgr({"--year", "2023", "export", file()});
  }

  ToolResult say(std::string words) const {
    // A later import is to have something to do.
    if (words.find("import") != words.npos) optionsmgr({"--year", "2023", "set", "preparerCity", "Matane"});
    replaceAll(words, "FILE", "\"" + file() + "\"");
    const std::string tool =
        std::string(TOOL_PATH) + " --year 2023 --lang " + way.language + (way.json ? " --json " : " ");
    std::string script = tool + words;
    if (words == "WATCH") {
      // Others change the settings while it watches.
      const auto set = [](const char* what) {
        return TOOL_PATH " --year 2023 set " + std::string(what) + "; ";
      };
      script = set("autoSaveAfter 0") + set("preparerPassword hush") + set("preparerCity Alma") +
               "rm -f \"$HOME/told\"; " + tool + "watch --count 3 2>\"$HOME/told\" & " +
               "until grep -qs . \"$HOME/told\"; do sleep 0.01; done; " + set("autoSaveAfter 7") +
               set("preparerPassword psst") + set("preparerCity ''") + "wait; cat \"$HOME/told\" >&2";
    }
    if (!way.terminal) return run({"bash", "-fc", script});
    return run({"script", "-qec", "stty cols 80; { " + script + "; } 2>/dev/null", "/dev/null"});
  }

  // The places of this home and build, which are others in each run, under one name.
  std::string neutral(std::string text) const {
    replaceAll(text, home_.path().string(), "$HOME");
    replaceAll(text, fs::path(TOOL_PATH).parent_path().string(), "$BUILD");
    return text;
  }

 private:
  std::string file() const { return (home_.path() / "other.plist").string(); }

  TestHome home_;
};

using SpeechGoldenTest = SpeechTest;

TEST_F(SpeechGoldenTest, EveryVerbSaysWhatItSaidBefore) {
  std::string all;
  for (const char* words : kCommands) all.append(" ").append(words == std::string("WATCH") ? "watch" : words);
  for (const std::string& verb : verbs())
    EXPECT_NE((all + " ").find(" " + verb + " "), std::string::npos) << verb << " is not among the commands";
  for (const Way& way : {Way{"en", false}, {"en", true}, {"fr", false}, {"fr", true}}) {
    const Speaker speaker(way);
    std::string told;
    for (const char* words : kCommands) {
      const ToolResult result = speaker.say(words);
      told += std::string("$ optionsmgr ") + (words == std::string("WATCH") ? "watch --count 3" : words) +
              "\n" + result.out + result.err +
              (result.exit == 0 ? "" : "[" + std::to_string(result.exit) + "]\n");
    }
    expectGolden("tool/golden/" + way.language + (way.json ? "-json" : "") + ".txt", speaker.neutral(told));
  }
}

TEST_F(SpeechGoldenTest, EveryVerbsHelpSaysWhatItSaidBefore) {
  for (const char* language : {"en", "fr"}) {
    std::string told = optionsmgr({"--lang", language, "--help"}).out;
    for (const std::string& verb : verbs())
      told += "\n$ optionsmgr " + verb + " --help\n" + optionsmgr({"--lang", language, verb, "--help"}).out;
    expectGolden(std::string("tool/golden/help-") + language + ".txt", told);
  }
}

TEST_F(SpeechGoldenTest, EveryVerbIsInTheManualAsBefore) {
  for (const std::string section : {"1", "5"})
    for (const std::string language : {"en", "fr"})
      expectGolden("tool/golden/optionsmgr-" + language + "." + section,
                   optionsmgr({"--manual", section, language}).out);
}

// ---- nothing English in French ----------------------------------------------------------------------------

struct Pair {
  std::string english;
  std::string french;
};
const Pair kTexts[] = {
#define FRENCH(english, french) {english, french},
#include "tool/speech/French.def"
#undef FRENCH
};

TEST_F(SpeechTest, FrenchIsWellSet) {
  EXPECT_NE(faultInFrench("a: b"), "");
  EXPECT_EQ(faultInFrench("T2:2024, 'preparer*', «\u00A0l’a\u00A0»\u00A0: b"), "");
  for (const Pair& text : kTexts) EXPECT_EQ(faultInFrench(text.french), "") << text.french;
}

// The words of a text: runs of letters, accented ones too, and of digits that begin with a letter.
std::set<std::string> wordsOf(std::string text) {
  for (const char* between : {"\u00A0", "«", "»", "’"}) replaceAll(text, between, " ");
  std::set<std::string> words;
  std::string word;
  for (const char c : text + " ") {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c & 0x80) != 0;
    if (letter || (!word.empty() && c >= '0' && c <= '9')) {
      word += c;
    } else {
      if (word.size() > 1) words.insert(word);
      word.clear();
    }
  }
  return words;
}

// All texts within the JSON, but for the names of its members.
void addTexts(const nlohmann::json& json, std::string& all) {
  if (json.is_string()) all += json.get<std::string>() + "\n";
  if (json.is_structured())
    for (const nlohmann::json& element : json) addTexts(element, all);
}

TEST_F(SpeechTest, NothingIsSaidInEnglishUnderFrench) {
  // What is the same in both languages: names, and the texts of the table.
  std::string common =
      optionsmgr({"--complete", "get", ""}).out + optionsmgr({"--complete", "choices", ""}).out +
      optionsmgr({"--complete", ""}).out + optionsmgr({"vocabulary"}).out + home.path().string() +
      " BUILD Colours TOPIC minutes SHELL OPTION NAME optionsmgr true false yes no on off TOOL HOME FILE "
      "csh soon x Pigeon maybe nowhere " +
      TOOL_PATH;
  for (const nlohmann::json& style : nlohmann::json::parse(optionsmgr({"--json", "format", "1"}).out))
    for (const auto& [name, value] : style.items()) common += " " + name;
  for (const nlohmann::json& constant : {nlohmann::json::parse(optionsmgr({"--json", "product"}).out)})
    for (const auto& [name, value] : constant.items()) common += " " + name;
  for (const nlohmann::json& list : {nlohmann::json::parse(optionsmgr({"--json", "pages"}).out)})
    for (const auto& [name, value] : list.items()) common += " " + name;
  std::set<std::string> known = wordsOf(common);
  std::set<std::string> onlyEnglish;
  for (const Pair& text : kTexts) known.merge(wordsOf(text.french));
  // A refusal names the choices as people see them.
  for (const qorvane::ChoiceList& list : qorvane::choiceLists())
    for (const qorvane::Choice& choice : list.choices) known.merge(wordsOf(choice.frenchLabel.string()));
  for (const Pair& text : kTexts)
    for (const std::string& word : wordsOf(text.english))
      if (!known.contains(word)) onlyEnglish.insert(word);
  ASSERT_TRUE(onlyEnglish.contains("folder"));

  Speaker speaker({"fr", false});
  for (const std::string command : kCommands) {
    // Scripts and data have no language.
    if (command.starts_with("completion bash") || command.starts_with("export --format") ||
        command.starts_with("help"))
      continue;
    speaker.way.json = false;
    const ToolResult result = speaker.say(command);
    speaker.way.json = true;
    const std::string told = speaker.say(command).out;
    std::string data = command + "\n";
    if (command == "WATCH")
      for (const std::string& line : linesOf(told)) addTexts(nlohmann::json::parse(line), data);
    else if (nlohmann::json::accept(told))
      addTexts(nlohmann::json::parse(told), data);
    const std::set<std::string> values = wordsOf(data);
    for (const std::string& word : wordsOf(speaker.neutral(result.out + "\n" + result.err))) {
      EXPECT_FALSE(onlyEnglish.contains(word) && !values.contains(word)) << command << ": " << word;
      EXPECT_TRUE(known.contains(word) || values.contains(word)) << command << ": " << word;
    }
    // A table's cell that is an English text of the tool's own must be a value.
    for (const std::string& line : linesOf(result.out))
      for (std::size_t at = 0, end = 0; at < line.size(); at = end + 2) {
        end = std::min(line.find("  ", at), line.size());
        const std::string cell = line.substr(at, end - at);
        for (const Pair& text : kTexts)
          if (cell == text.english && text.english != text.french) {
            EXPECT_NE(("\n" + data).find("\n" + cell + "\n"), std::string::npos) << command << ": " << line;
          }
      }
  }
  for (const std::string& verb : verbs())
    for (const std::string& line : linesOf(optionsmgr({"--lang", "fr", verb, "--help"}).out)) {
      if (line.starts_with("  optionsmgr") || line.starts_with("Usage")) continue;
      // Names of verbs and options are the same in every language.
      const std::string words = std::regex_replace(line, std::regex("--[a-z-]+"), "");
      for (const std::string& word : wordsOf(words))
        EXPECT_FALSE(onlyEnglish.contains(word)) << verb << " --help: " << line;
    }
}

TEST_F(SpeechTest, EveryOptionIsDescribedInFrench) {
  std::set<std::string> french;
  for (const Pair& text : kTexts) french.insert(text.french);
  for (const std::string& name : linesOf(optionsmgr({"--complete", "describe", ""}).out)) {
    // The words of these rows fit into a line each, but for one, whose beginning is enough.
    for (const std::string& line : linesOf(optionsmgr({"--lang", "fr", "describe", name}).out))
      for (const char* field : {"type ", "forme enregistrée ", "lecture ", "définition "}) {
        if (!line.starts_with(field)) continue;
        const std::string words = line.substr(line.find_first_not_of(' ', std::strlen(field)));
        EXPECT_TRUE(
            std::ranges::any_of(french, [&](const std::string& text) { return text.starts_with(words); }))
            << name << ": " << line;
      }
  }
}

TEST_F(SpeechTest, EveryTextOfTheTableIsSaidSomewhere) {
  std::string sources;
  for (const char* folder : {"tool", "qorvane"})
    for (const auto& file : fs::recursive_directory_iterator(kSources / folder))
      if (file.path().extension() == ".cc" || file.path().extension() == ".h")
        sources += readFile(file.path());
  // Literals that stand side by side are one.
  for (std::size_t at = 0; (at = sources.find('"', at)) != sources.npos;) {
    const std::size_t next = sources.find_first_not_of(" \n", at + 1);
    if (next != sources.npos && next > at + 1 && sources[next] == '"' && sources[at - 1] != '\\' &&
        sources.substr(at + 1, next - at - 1).find('\n') != std::string::npos)
      sources.erase(at, next - at + 1);
    else
      ++at;
  }
  for (const Pair& text : kTexts) {
    std::string literal = text.english;
    replaceAll(literal, "\\", "\\\\");
    replaceAll(literal, "\"", "\\\"");
    EXPECT_TRUE(sources.find(literal) != sources.npos || sources.find(text.english) != sources.npos)
        << text.english;
  }
}

// ---- eighty columns ---------------------------------------------------------------------------------------

// These print what they were asked for, byte for byte.
bool printsAsItIs(const std::string& command) {
  for (const char* verb : {"get ", "export ", "notice", "vocabulary ", "completion ", "pages "})
    if (command.starts_with(verb)) return true;
  return false;
}

TEST_F(SpeechTest, OnATerminalNoLineIsWiderThanIt) {
  if (run({"sh", "-c", "command -v script"}).exit != 0) GTEST_SKIP() << "script is not installed";
  for (const char* language : {"en", "fr"}) {
    const Speaker speaker({language, false, true});
    // Composed and decomposed accents, wide letters, line breaks.
    const std::string accents = "ÉéèàE\u0301e\u0301日本ÉéèàÉéèàÉéèàÉéèà";
    for (const char* year : {"2022", "2023"})
      optionsmgr({"--year", year, "set", "disclaimerTxt", year + accents + "\n" + accents + accents});
    for (std::string command : {"list", "diff 2022", "--quiet list", "describe disclaimerTxt"}) {
      const ToolResult result = speaker.say(command);
      EXPECT_GT(linesOf(result.out).size(), 1u) << command;
      for (const std::string& line : linesOf(result.out))
        EXPECT_LE(columnsOf(line), 80u) << command << ": " << line;
    }
    for (const std::string command : kCommands) {
      if (printsAsItIs(command)) continue;
      for (const std::string& line : linesOf(speaker.say(command).out))
        EXPECT_LE(columnsOf(line), 80u) << command << ": " << line;
    }
  }
}

// Elsewhere a line is wider only where it has a value, such as a path, that is longer than the narrowest
// place that a table has for one.
TEST_F(SpeechTest, InAPipeOnlyLongValuesMakeALineWider) {
  constexpr std::size_t kNarrowestPlace = 12;
  for (const char* language : {"en", "fr"}) {
    const Speaker speaker({language, false});
    std::string values;
    addTexts(nlohmann::json::parse(optionsmgr({"--year", "2023", "--json", "paths"}).out), values);
    values += optionsmgr({"--year", "2023", "--quiet", "get", "disclaimerTxt"}).out;
    for (const char* color :
         {"mainBackColor", "spouseBackColor", "dataEntryCellBackColor", "calculatedCellBackColor",
          "legtimateOverridenBackColor", "illegtimateOverridenBackColor"})
      values += optionsmgr({"--year", "2023", "get", color}).out;
    values += home.path().parent_path().string() + "/optionsmgr-test-\n";
    const Words known = linesOf(values);
    for (const std::string command : kCommands) {
      if (printsAsItIs(command)) continue;
      for (const std::string& line : linesOf(speaker.say(command).out))
        EXPECT_TRUE(columnsOf(line) <= 80 || std::ranges::any_of(known,
                                                                 [&](const std::string& value) {
                                                                   return columnsOf(value) >
                                                                              kNarrowestPlace &&
                                                                          line.find(value) != line.npos;
                                                                 }))
            << command << ": " << line;
    }
  }
}

TEST_F(SpeechTest, ColumnsAreAlignedBehindAccents) {
  optionsmgr({"--year", "2023", "set", "preparerCity", "Gaspe\u0301"});
  optionsmgr({"--year", "2023", "set", "preparerFirmName", "Gaspé"});
  optionsmgr({"--year", "2023", "set", "pName", "日本"});
  for (const std::string& line : linesOf(optionsmgr({"--year", "2023", "diff", "2023", "2023"}).out))
    ADD_FAILURE() << line;
  optionsmgr({"--year", "2024", "set", "preparerCity", "A"});
  optionsmgr({"--year", "2024", "set", "preparerFirmName", "A"});
  optionsmgr({"--year", "2024", "set", "pName", "A"});
  for (const std::string& line : linesOf(optionsmgr({"--year", "2023", "diff", "2023", "2024"}).out)) {
    const std::size_t at = line.rfind("  ");
    EXPECT_EQ(columnsOf(line.substr(0, at + 2)), 39u) << line;
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

TEST_F(SpeechTest, StreamsThatAreClosedOrFullAreSaidAndHarmNothing) {
  const std::string tool = std::string(TOOL_PATH) + " --lang en --year 2020 ";
  const auto shell = [&](const std::string& words) { return run({"bash", "-c", tool + words}); };
  EXPECT_EQ(shell("set language French >&- 2>&- <&-").exit, 0);
  EXPECT_EQ(optionsmgr({"--year", "2020", "get", "language"}).out, "French\n");
  for (const char* words : {"list", "get language", "--json describe language", "--help", "--version",
                            "completion bash", "export", "watch", "doctor"})
    for (const char* stream : {" >&-", " >/dev/full"}) {
      if (words == std::string("watch") && stream == std::string(" >/dev/full")) continue;
      const ToolResult result = shell(words + std::string(stream));
      EXPECT_EQ(result.exit, 74) << words << stream;
      EXPECT_EQ(result.err, "optionsmgr: the answer could not be written\n") << words << stream;
    }
  EXPECT_EQ(shell("import - <&-").exit, 74);
  const ToolResult full = run({"bash", "-c", "ulimit -f 0; " + tool + "set language English"});
  EXPECT_EQ(full.exit, 74) << full.err;
  EXPECT_EQ(optionsmgr({"--year", "2020", "get", "language"}).out, "French\n");
  EXPECT_EQ(shell("get nothing 2>&-").exit, 1);
  EXPECT_EQ(optionsmgr({"--year", "2020", "doctor"}).exit, 0);
}

TEST_F(SpeechTest, OddWordsAreRefusedWithADocumentedExitCode) {
  // Some of the words are names of a store's folder.
  std::filesystem::current_path(home.path());
  const std::string file = (home.path() / "file").string();
  writeFile(file, "[[[[");
  const Words odd = {
      "",   "\xFF\xFE", std::string(100000, 'a'), "-", "--", "-1", "%s%n", "../../etc/passwd", "\x1b[31m",
      "[!", file,       "99999999999999999999"};
  for (const std::string& verb : verbs()) {
    if (verb == "watch") continue;
    for (const std::string& word : odd)
      for (const Words& words : {Words{verb, word}, {"--json", verb, word, word}, {"--store", word, verb}}) {
        const ToolResult result = optionsmgr(words);
        const Words documented = {"0", "1", "2", "65", "69", "73", "74", "75", "77"};
        EXPECT_NE(std::ranges::find(documented, std::to_string(result.exit)), documented.end())
            << verb << " " << word.substr(0, 40) << ": " << result.exit;
        EXPECT_EQ(result.err.find('\x1b'), std::string::npos) << "nothing steers the terminal";
      }
  }
}

}  // namespace
}  // namespace testing_support
