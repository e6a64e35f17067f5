// What may stand in the next place of a command line, for the shells' completion.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tool/Session.h"

namespace optionsmgr {

/// The candidates for the last of the words, which may be empty or half written; the words before it are
/// those behind the program's name. In order, without repetition; none where anything may stand.
std::vector<std::string> completions(const CLI::App& app, Session& session,
                                     const std::vector<std::string>& words);

}  // namespace optionsmgr
