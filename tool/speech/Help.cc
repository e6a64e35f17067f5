#include "tool/speech/Help.h"

#include <string_view>
#include <utility>
#include <vector>

#include "qorvane/foundation/Version.h"
#include "qorvane/siblings/QVSettings.h"
#include "tool/EntryForm.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/speech/Columns.h"
#include "tool/speech/Language.h"
#include "tool/speech/Roff.h"

namespace optionsmgr {

using qorvane::OptionRow;

namespace {

constexpr std::size_t kWidth = 80;

struct ExitRow {
  Exit code;
  Phrase meaning;
};
constexpr ExitRow kExits[] = {{Exit::Done, "done"},
                              {Exit::NotFound, "not found, or different"},
                              {Exit::Usage, "the command line cannot be understood"},
                              {Exit::BadData, "a value, or the data in a file, is bad"},
                              {Exit::Unavailable, "a program that is needed is not installed"},
                              {Exit::CannotCreate, "a file or folder cannot be created"},
                              {Exit::InputOutput, "input/output error"},
                              {Exit::Locked, "locked by another program"},
                              {Exit::NoPermission, "no permission"}};

std::string usageOf(const CLI::App& verb) {
  return optionsmgr::usageOf(verb, "optionsmgr " + verb.get_name());
}

// ---- manual pages ---------------------------------------------------------------------------------------

void printToolManual(const CLI::App& app, const Verbs& verbs, std::ostream& out) {
  out << ".TH OPTIONSMGR 1 \"" OPTIONSMGR_DATE "\" \"OptionsMgr " OPTIONSMGR_VERSION "\"\n";
  printHeading(say("NAME"), out);
  out << "optionsmgr \\- " << roff(say("show and change the settings of the tax suite")) << '\n';
  printHeading(say("SYNOPSIS"), out);
  out << ".B optionsmgr\n[" << roff(say("common options")) << "] " << roff(say("VERB")) << " ...\n";
  printHeading(say("DESCRIPTION"), out);
  out << roff(say(
             "Reads and changes the settings that the tax suite keeps in the user's preference files, for "
             "one "
             "product and tax year or several. Reading changes nothing and waits for nobody; what is changed "
             "is on the disk when the tool ends with 0."))
      << '\n';
  printHeading(say("EXAMPLES"), out);
  printExamples(verbs.examples(nullptr), out);
  printHeading(say("COMMON OPTIONS"), out);
  printTerms(rowsOf(app, false), out);
  printHeading(say("VERBS"), out);
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    out << ".SS " << roff(usageOf(*verb)) << '\n'
        << roff(std::string(translated(verb->get_description()))) << ".\n";
    if (const std::string examples = verbs.examples(verb); !examples.empty()) printExamples(examples, out);
    printTerms(rowsOf(*verb, true), out);
    std::vector<Row> options = rowsOf(*verb, false);
    std::erase_if(options, [](const auto& row) { return row[0].starts_with("-h"); });
    printTerms(options, out);
  }
  printHeading(say("EXIT STATUS"), out);
  for (const ExitRow& row : kExits)
    out << ".TP\n.B " << static_cast<int>(row.code) << '\n' << roff(say(row.meaning)) << '\n';
  printHeading(say("FILES"), out);
  out << ".I $XDG_CONFIG_HOME/Qorvane/*.plist\n"
      << roff(say("the preference files; see")) << "\n.BR optionsmgr (5).\n";
  printHeading(say("ENVIRONMENT"), out);
  printTerms(
      {{"HOME, XDG_CONFIG_HOME", say("where the preference files are, unless --store says so")},
       {"LC_ALL, LC_MESSAGES, LANG",
        say("the language of help and messages, where they name French or English and --lang is not given")},
       {"NO_COLOR, TERM", say("no colours when the one is set or the other is dumb")}},
      out);
  printHeading(say("SEE ALSO"), out);
  out << ".BR optionsmgr (5)\n";
}

// What a manual page says of an option's entry in one product.
struct EntryLine {
  std::string key, fallback;
};

EntryLine entryLine(const OptionRow& row, const qorvane::Product& product) {
  const bool computed = row.type == qorvane::OptionType::Folder;
  return {row.key(product).string(), computed ? say("(a folder of the year)") : storedDefault(row, product)};
}

void printEntries(std::ostream& out) {
  // Twice through the table, since keys and defaults are a product's.
  std::vector<EntryLine> lines;
  for (const bool corporate : {false, true}) {
    const qorvane::Product product{.corporate = corporate, .taxYear = 2024};
    std::size_t at = 0;
    for (const OptionRow& row : qorvane::optionTable()) {
      const EntryLine line = entryLine(row, product);
      if (!corporate) {
        lines.push_back(line);
        continue;
      }
      EntryLine& both = lines[at++];
      if (both.key != line.key) both.key += " / " + line.key;
      if (both.fallback != line.fallback) both.fallback += " / " + line.fallback;
    }
  }
  for (const qorvane::OptionGroup& group : qorvane::optionGroups()) {
    bool first = true;
    std::size_t at = 0;
    for (const OptionRow& row : qorvane::optionTable()) {
      const EntryLine& line = lines[at++];
      if (&row.group() != &group || line.key.empty()) continue;
      if (std::exchange(first, false)) out << ".SS " << roff(group.name(language()).string()) << '\n';
      out << ".TP\n.B " << roff(line.key) << '\n'
          << roff(row.description(language()).string()) << "\n.br\n"
          << roff(row.name) << ", " << roff(translated(row.stored)) << ", " << roff(line.fallback) << '\n';
    }
  }
  out << ".SS " << roff(say("Entries that follow others")) << '\n';
  printTerms({{"PProvCode", say("the code of the preparer's province")},
              {"PProvandPCode", say("the preparer's province and postal code on one line")},
              {"HeaderFontSize", say("the size of both fonts in points, with six decimals")},
              {"App.*", say("the application's own, which the suite keeps and never reads")}},
             out);
}

void printFormatManual(std::ostream& out) {
  out << ".TH OPTIONSMGR 5 \"" OPTIONSMGR_DATE "\" \"OptionsMgr " OPTIONSMGR_VERSION "\"\n";
  printHeading(say("NAME"), out);
  out << "optionsmgr \\- " << roff(say("the preference files of the tax suite")) << '\n';
  printHeading(say("DESCRIPTION"), out);
  out << roff(
             say("Each product and tax year has a file of its own in $XDG_CONFIG_HOME/Qorvane, or "
                 "~/.config/Qorvane when that is not set. It is a binary property list: a dictionary whose "
                 "entry under the file's own name is the dictionary of the settings. An XML property list is "
                 "read as well. Other entries are kept."))
      << '\n';
  printTerms({{"QorvaneT1Settings2024.plist", say("the personal product, tax year 2024")},
              {"QorvaneT2Settings2024.plist", say("the corporate product, tax year 2024")},
              {".*.plist", say("generations: what a file held before each save")},
              {"*.plist.damaged-TIME", say("a damaged file, set aside as it was")},
              {"*.plist.unreadable-TIME", say("a file that could not be read when a save replaced it")},
              {".lock", say("locked by whoever saves; always empty")},
              {".unfinished/", say("what an import that is under way puts back if it fails")}},
             out);
  printHeading(say("SEAL"), out);
  out << roff(say("Between its objects and the table of their offsets the file has 32 bytes that readers of "
                  "property lists pass over: the letters QVSEAL01, the number of saves, the length of the "
                  "file and a SipHash-2-4 of the file, each of 8 bytes, the first byte the highest. A file "
                  "that another program wrote has none."))
      << '\n';
  printHeading(say("ENTRIES"), out);
  out << roff(say("Each option with its stored key, form and default, as it is stored. Where the products "
                  "differ, the "
                  "personal one's is shown first."))
      << '\n';
  printEntries(out);
  printHeading(say("ENVIRONMENT"), out);
  printTerms({{"HOME, XDG_CONFIG_HOME", say("where the preference files are, unless --store says so")}}, out);
  printHeading(say("SEE ALSO"), out);
  out << ".BR optionsmgr (1)\n";
}
}  // namespace

void printHelp(const CLI::App& app, const Verbs& verbs, const CLI::App* verb, std::ostream& out) {
  const std::string examples = verbs.examples(verb);
  if (verb) {
    for (const std::string& line : wrapped(translated(verb->get_description()), kWidth, LongWords::Whole))
      out << line << '\n';
    if (!examples.empty()) out << '\n' << say("Examples:") << '\n' << examples;
    out << '\n' << say("Usage: {} [options]", usageOf(*verb)) << '\n';
    printTitled(say("Arguments:"), rowsOf(*verb, true), out);
    printTitled(say("Options:"), rowsOf(*verb, false), out);
    out << '\n' << say("Options of every verb: optionsmgr --help") << '\n';
    return;
  }
  out << say("Examples:") << '\n' << examples << '\n';
  out << say("Usage: {} [options]", "optionsmgr [options] VERB ...") << '\n';
  std::vector<Row> rows;
  for (const CLI::App* known : app.get_subcommands([](const CLI::App*) { return true; }))
    rows.push_back({known->get_name(), std::string(translated(known->get_description()))});
  printTitled(say("Verbs:"), rows, out);
  printTitled(say("Options:"), rowsOf(app, false), out);
  rows.clear();
  for (const ExitRow& row : kExits)
    rows.push_back({std::to_string(static_cast<int>(row.code)), say(row.meaning)});
  printTitled(say("Exit codes:"), rows, out);
}

void printManual(const CLI::App& app, const Verbs& verbs, int section, std::ostream& out) {
  section == 5 ? printFormatManual(out) : printToolManual(app, verbs, out);
}

}  // namespace optionsmgr
