// The tool without its process: what `main` calls, and whoever wants it in a process of his own.
#pragma once

#include <string>
#include <vector>

#include "tool/Failure.h"

namespace optionsmgr {

/// Does what the words behind the program's name say; answers go to std::cout, reports to std::cerr. Throws
/// Failure, and what the library throws where no verb foresaw it.
Exit runTool(const std::vector<std::string>& words);

}  // namespace optionsmgr
