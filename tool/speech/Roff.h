// What the manual pages and the help of every program of ours share: a command line's tables as a person
// reads them.
#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tool/speech/Columns.h"

namespace optionsmgr {

/// "--year YEAR", "-m TEXT", "OPTION", "GLOB...". In a usage what need not be there stands in brackets.
std::string nameOf(const CLI::Option& option, bool inUsage);

/// "optionsmgr set OPTION VALUE": the verb with all that must be said, and what else has a place of its own.
std::string usageOf(const CLI::App& verb, const std::string& command);

/// The positional arguments or the options, each with its description in the language of the tool.
std::vector<Row> rowsOf(const CLI::App& app, bool positional);

/// Rows of two cells under a title, within 80 columns; nothing when there is none.
void printTitled(const std::string& title, const std::vector<Row>& rows, std::ostream& out);

/// A text as man's macros take it.
std::string roff(std::string_view text);
void printHeading(const std::string& title, std::ostream& out);
void printTerms(const std::vector<Row>& rows, std::ostream& out);
void printExamples(const std::string& examples, std::ostream& out);

}  // namespace optionsmgr
