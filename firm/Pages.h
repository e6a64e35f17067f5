// Help, manual page and completion, from the tables that parse the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace optionsmgr::firm {

/// The help of the verb that was said, or of the program, within 80 columns.
void printHelp(const CLI::App& app, std::ostream& out);

/// The page of section 1, as man's own macros, in the language that is spoken.
void printManual(const CLI::App& app, std::ostream& out);

/// The candidates for the last of the words, which may be empty or half written; the words before it are
/// those behind the program's name. No server is asked.
std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace optionsmgr::firm
