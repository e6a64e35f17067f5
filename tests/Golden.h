// Golden files: what was said or written before, to be compared with what is now. scripts/refresh writes them
// anew.
#pragma once

#include <filesystem>
#include <string>

namespace testing_support {

/// Whether golden files and generated parts of documents are to be written anew (OPTIONSMGR_REFRESH is set).
bool isRefreshing();

/// What to say when something golden or generated differs.
constexpr const char* kRefreshHint = "where that is meant: scripts/refresh, and look at it with git diff";

/// Expects the file, below tests/ unless absolute, to hold `now`; names the first line that differs.
void expectGolden(const std::filesystem::path& file, const std::string& now);

/// Expects what stands between two lines of a document, below the project's root, to be `now`.
void expectGoldenPart(const std::filesystem::path& document, const std::string& begin, const std::string& end,
                      const std::string& now);

}  // namespace testing_support
