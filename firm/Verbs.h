// The verbs of optionsmgr-firm.
#pragma once

#include <string>
#include <vector>

#include "firm/Words.h"

namespace optionsmgr::firm {

/// Does what the words behind the program's name say. Throws FirmFailure, or CLI::ParseError for words that
/// say nothing.
Exit runFirm(const std::vector<std::string>& words);

}  // namespace optionsmgr::firm
