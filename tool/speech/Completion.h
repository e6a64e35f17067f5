// What may stand in the next place of a command line, for the shells' completion.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tool/Session.h"

namespace optionsmgr {

/// The candidates for the last of the words, which may be empty or half written; the words before it are
/// those behind the program's name. In order, without repetition; none where anything may stand.
std::vector<std::string> completions(const CLI::App& app, Session& session,
                                     const std::vector<std::string>& words);

/// What an option's value may be, by its name; none where it may be anything.
std::vector<std::string> valuesOfOption(const std::string& name);

/// Those that begin with the last word, in order and without repetition.
std::vector<std::string> beginningWith(const std::string& last, std::vector<std::string> candidates);

/// The script that has bash, zsh or fish ask the program (`PROGRAM --complete WORDS...`) for candidates.
std::string completionScript(std::string_view shell, std::string_view program);

}  // namespace optionsmgr
