// The program of firms, which is installed apart since nobody else needs what it is linked with.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace optionsmgr {

/// The words for that program, where the verb of these is `firm` and not its own help is asked for: all but
/// the verb itself.
std::optional<std::vector<std::string>> wordsForFirm(const CLI::App& app,
                                                     const std::vector<std::string>& words);

/// Becomes the program: the one beside this one, or else the first on the path. Returns where there is none,
/// or it cannot be run.
void becomeFirmProgram(const std::vector<std::string>& words);

}  // namespace optionsmgr
