// The help and the manual pages, made from the same tables that parse the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>

#include "tool/verbs/Verbs.h"

namespace optionsmgr {

/// The help of a verb, or of the tool with all its verbs when there is none: examples first, then usage,
/// arguments and options, within 80 columns, in the language of the tool.
void printHelp(const CLI::App& app, const Verbs& verbs, const CLI::App* verb, std::ostream& out);

/// The manual page of that section, as man's own macros: 1 tells the tool, 5 the preference files with every
/// key that the suite stores.
void printManual(const CLI::App& app, const Verbs& verbs, int section, std::ostream& out);

}  // namespace optionsmgr
