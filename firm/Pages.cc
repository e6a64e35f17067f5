#include "firm/Pages.h"

#include <utility>

#include "firm/Words.h"
#include "qorvane/foundation/Version.h"
#include "qorvane/manager/OptionsMgr.h"
#include "tool/speech/Columns.h"
#include "tool/speech/Completion.h"
#include "tool/speech/Language.h"
#include "tool/speech/Roff.h"

namespace optionsmgr::firm {

namespace {

constexpr std::size_t kWidth = 80;

std::vector<const CLI::App*> verbsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

// "optionsmgr-firm place add".
std::string commandOf(const CLI::App& verb) {
  return verb.get_parent() ? commandOf(*verb.get_parent()) + " " + verb.get_name() : verb.get_name();
}

std::vector<Row> exitRows() {
  const std::vector<std::pair<Exit, std::string>> exits = {
      {Exit::Done, optionsmgr::say("done")},
      {Exit::NotFound, say(Word::exitNotFound)},
      {Exit::Usage, optionsmgr::say("the command line cannot be understood")},
      {Exit::BadData, optionsmgr::say("a value, or the data in a file, is bad")},
      {Exit::Unavailable, say(Word::exitUnavailable)},
      {Exit::CannotCreate, optionsmgr::say("a file or folder cannot be created")},
      {Exit::InputOutput, optionsmgr::say("input/output error")},
      {Exit::TryAgain, say(Word::exitTryAgain)},
      {Exit::NoPermission, say(Word::exitNoPermission)}};
  std::vector<Row> rows;
  rows.reserve(exits.size());
  for (const auto& [exit, meaning] : exits) rows.push_back({std::to_string(static_cast<int>(exit)), meaning});
  return rows;
}

std::vector<Row> verbRows(const CLI::App& app) {
  std::vector<Row> rows;
  for (const CLI::App* verb : verbsOf(app)) rows.push_back({verb->get_name(), verb->get_description()});
  return rows;
}

// ---- the manual page ------------------------------------------------------------------------------------

std::vector<Row> withoutHelp(std::vector<Row> rows) {
  std::erase_if(rows, [](const Row& row) { return row[0].starts_with("-h"); });
  return rows;
}

void printVerbs(const CLI::App& app, std::ostream& out) {
  for (const CLI::App* verb : verbsOf(app)) {
    printVerbs(*verb, out);
    if (verb->get_require_subcommand_min() > 0) continue;
    out << ".SS " << roff(usageOf(*verb, commandOf(*verb))) << '\n' << roff(verb->get_description()) << ".\n";
    printTerms(rowsOf(*verb, true), out);
    printTerms(withoutHelp(rowsOf(*verb, false)), out);
  }
}

void printFiles(std::ostream& out) {
  printTerms({{"$XDG_CONFIG_DIRS/Qorvane/Firm.plist, $XDG_CONFIG_HOME/Qorvane/Firm.plist",
               say(Word::manualConfiguration)},
              {"$XDG_STATE_HOME/Qorvane/firm/current", say(Word::manualStates)},
              {"pg_service.conf, .pgpass", say(Word::manualServices)}},
             out);
}

}  // namespace

void printHelp(const CLI::App& app, std::ostream& out) {
  const CLI::App* verb = &app;
  while (!verb->get_subcommands().empty()) verb = verb->get_subcommands().front();
  for (const std::string& line : wrapped(verb->get_description(), kWidth, LongWords::Whole))
    out << line << '\n';
  if (verb == &app) out << '\n' << optionsmgr::say("Examples:") << '\n' << say(Word::manualExamples);
  const bool deeper = !verbsOf(*verb).empty();
  const std::string usage = usageOf(*verb, commandOf(*verb)) +
                            (deeper ? " " + std::string(optionsmgr::say("VERB")) + " ..." : std::string());
  out << '\n' << optionsmgr::say("Usage: {} [options]", usage) << '\n';
  printTitled(optionsmgr::say("Verbs:"), verbRows(*verb), out);
  printTitled(optionsmgr::say("Arguments:"), rowsOf(*verb, true), out);
  printTitled(optionsmgr::say("Options:"), rowsOf(*verb, false), out);
  if (verb == &app) printTitled(optionsmgr::say("Exit codes:"), exitRows(), out);
}

void printManual(const CLI::App& app, std::ostream& out) {
  out << ".TH OPTIONSMGR\\-FIRM 1 \"" OPTIONSMGR_DATE "\" \"OptionsMgr " OPTIONSMGR_VERSION "\"\n";
  printHeading(optionsmgr::say("NAME"), out);
  out << "optionsmgr\\-firm \\- " << roff(say(Word::manualName)) << '\n';
  printHeading(optionsmgr::say("SYNOPSIS"), out);
  out << ".B optionsmgr\\-firm\n[" << roff(optionsmgr::say("common options")) << "] "
      << roff(optionsmgr::say("VERB")) << " ...\n";
  printHeading(optionsmgr::say("DESCRIPTION"), out);
  out << roff(app.get_description()) << '\n' << ".P\n" << roff(say(Word::manualDescription)) << '\n';
  printHeading(optionsmgr::say("EXAMPLES"), out);
  printExamples(say(Word::manualExamples), out);
  printHeading(optionsmgr::say("COMMON OPTIONS"), out);
  printTerms(rowsOf(app, false), out);
  printHeading(optionsmgr::say("VERBS"), out);
  printVerbs(app, out);
  printHeading(optionsmgr::say("EXIT STATUS"), out);
  printTerms(exitRows(), out);
  printHeading(optionsmgr::say("FILES"), out);
  printFiles(out);
  printHeading(optionsmgr::say("ENVIRONMENT"), out);
  printTerms({{"PGHOST, PGSERVICE, PGUSER ...", say(Word::manualEnvironment)},
              {"HOME, XDG_CONFIG_HOME, XDG_CONFIG_DIRS, XDG_STATE_HOME", say(Word::manualFolders)},
              {"LC_ALL, LC_MESSAGES, LANG", say(Word::manualLocale)}},
             out);
  printHeading(optionsmgr::say("SEE ALSO"), out);
  out << ".BR optionsmgr (1),\n.BR optionsmgr (5),\n.BR psql (1)\n";
}

// ---- completion -----------------------------------------------------------------------------------------

namespace {

const CLI::Option* optionNamed(const CLI::App* verb, const std::string& word) {
  for (; verb; verb = verb->get_parent())
    if (const CLI::Option* option = verb->get_option_no_throw(word)) return option;
  return nullptr;
}

const CLI::App* verbNamed(const CLI::App& app, const std::string& word) {
  for (const CLI::App* verb : verbsOf(app))
    if (verb->get_name() == word) return verb;
  return nullptr;
}

// Where the words have led.
struct Reached {
  const CLI::App* verb;
  const CLI::Option* asking = nullptr;  ///< Its value would be the next word.
  std::vector<std::string> values = {};
};

Reached reachedBy(const CLI::App& app, const std::vector<std::string>& words) {
  Reached at{&app};
  for (const std::string& word : words) {
    if (std::exchange(at.asking, nullptr)) continue;
    if (word.starts_with("-")) {
      const CLI::Option* option = optionNamed(at.verb, word.substr(0, word.find('=')));
      if (option && option->get_items_expected_max() > 0 && word.find('=') == word.npos) at.asking = option;
    } else if (const CLI::App* deeper = verbNamed(*at.verb, word)) {
      at.verb = deeper;
    } else {
      at.values.push_back(word);
    }
  }
  return at;
}

std::vector<std::string> optionNames() {
  std::vector<std::string> names;
  for (const qorvane::OptionRow& row : qorvane::optionTable()) names.emplace_back(row.name);
  return names;
}

}  // namespace

std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words) {
  if (words.empty()) return {};
  const Reached at = reachedBy(app, {words.begin(), words.end() - 1});
  std::vector<std::string> all;
  if (at.asking) {
    if (at.asking->get_name() == "--product") all = {"T1", "T2"};
    if (at.asking->get_name() == "--lang") all = {"en", "fr"};
  } else if (words.back().starts_with("-")) {
    for (const CLI::App* verb = at.verb; verb; verb = verb->get_parent())
      for (const CLI::Option* option : verb->get_options())
        for (const std::string& name : option->get_lnames()) all.push_back("--" + name);
  } else if (!verbsOf(*at.verb).empty()) {
    for (const CLI::App* verb : verbsOf(*at.verb)) all.push_back(verb->get_name());
  } else if (at.verb->get_option_no_throw("options")) {
    const bool paired = at.verb->get_name() == "set" && at.values.size() % 2 == 1;
    all = paired ? valuesOfOption(at.values.back()) : optionNames();
  } else if (at.verb->get_option_no_throw("shell")) {
    all = {"bash", "zsh", "fish"};
  }
  return beginningWith(words.back(), std::move(all));
}

}  // namespace optionsmgr::firm
