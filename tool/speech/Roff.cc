#include "tool/speech/Roff.h"

#include <algorithm>

#include "tool/speech/Language.h"

namespace optionsmgr {

std::string nameOf(const CLI::Option& option, bool inUsage) {
  if (option.get_positional()) {
    std::string name = option.get_name(true);
    if (option.get_items_expected_max() > 1) name += "...";
    return inUsage && !option.get_required() ? "[" + name + "]" : name;
  }
  std::string name;
  for (const std::string& shortName : option.get_snames()) name += (name.empty() ? "-" : ", -") + shortName;
  for (const std::string& longName : option.get_lnames()) name += (name.empty() ? "--" : ", --") + longName;
  if (option.get_items_expected_max() == 0) return name;
  std::string value = name.substr(name.find_last_of(' ') + 1);
  value.erase(0, value.find_first_not_of('-'));
  if (value.size() == 1) value = "text";
  std::ranges::transform(value, value.begin(),
                         [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return name + " " + value;
}

std::string usageOf(const CLI::App& verb, const std::string& command) {
  std::string usage = command;
  for (const CLI::Option* option : verb.get_options())
    if (!option->get_positional() && option->get_required()) usage += " " + nameOf(*option, true);
  for (const CLI::Option* option : verb.get_options())
    if (option->get_positional()) usage += " " + nameOf(*option, true);
  return usage;
}

std::vector<Row> rowsOf(const CLI::App& app, bool positional) {
  std::vector<Row> rows;
  for (const CLI::Option* option : app.get_options())
    if (option->get_positional() == positional && !option->get_group().empty())
      rows.push_back({nameOf(*option, false), std::string(translated(option->get_description()))});
  return rows;
}

void printTitled(const std::string& title, const std::vector<Row>& rows, std::ostream& out) {
  if (rows.empty()) return;
  out << '\n' << title << '\n';
  std::vector<Row> indented = rows;
  for (Row& row : indented) row[0].insert(0, "  ");
  printColumns(indented, out, {.overlong = Overlong::Wrapped});
}

std::string roff(std::string_view text) {
  std::string safe;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool first = i == 0 || text[i - 1] == '\n';
    if (first && (text[i] == '.' || text[i] == '\'')) safe += "\\&";
    if (text[i] == '\\')
      safe += "\\e";
    else if (text[i] == '-')
      safe += "\\-";
    else
      safe += text[i];
  }
  return safe;
}

void printHeading(const std::string& title, std::ostream& out) { out << ".SH " << title << '\n'; }

void printTerms(const std::vector<Row>& rows, std::ostream& out) {
  for (const auto& row : rows) out << ".TP\n.B " << roff(row[0]) << '\n' << roff(row[1]) << '\n';
}

void printExamples(const std::string& examples, std::ostream& out) {
  out << ".nf\n" << roff(examples) << (examples.ends_with('\n') ? "" : "\n") << ".fi\n";
}

}  // namespace optionsmgr
