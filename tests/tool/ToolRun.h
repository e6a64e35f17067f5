// Runs the real tool in a process of its own.
#pragma once

#include <string>
#include <vector>

namespace testing_support {

struct ToolResult {
  int exit = -1;
  std::string out;
  std::string err;
};

/// Runs optionsmgr with these arguments in the environment as it is; as the user "nobody" when asked and
/// able, so that file permissions count even where the tests run as root.
ToolResult optionsmgr(const std::vector<std::string>& arguments, bool asNobody = false);

/// Runs any program found on the path.
ToolResult run(const std::vector<std::string>& command);

}  // namespace testing_support
