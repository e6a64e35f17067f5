// Runs the real tool in a process of its own.
#pragma once

#include <cstdint>
#include <functional>
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

/// Runs any program found on the path, with this on its standard input.
ToolResult run(const std::vector<std::string>& command, const std::string& input = "");

/// A call of the system that the traced tool is about to make.
enum class SystemCall : std::uint8_t { ChangesTheDisk, OpensOrReads, TakesMemory, Other };
/// What becomes of it: 0 lets it through, an errno is what it fails with.
using Fate = std::function<int(SystemCall)>;
inline constexpr int kKilled = -1;  ///< Instead, the tool is killed.

/// Runs the tool and asks before each of its calls of the system what becomes of it; while that is asked, the
/// tool stands still.
ToolResult optionsmgrTraced(const std::vector<std::string>& arguments, const Fate& fate);

/// Runs the tool and kills it before its call of the system that is the n-th, from 1, of those that change
/// what is on the disk. False when it ended before it made so many.
bool optionsmgrKilledBefore(int call, const std::vector<std::string>& arguments);

}  // namespace testing_support
