#include "tests/Golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/TestHome.h"

namespace testing_support {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

bool isRefreshing() { return std::getenv("OPTIONSMGR_REFRESH") != nullptr; }

void expectGolden(const fs::path& file, const std::string& now) {
  const fs::path golden = fs::path(TEST_DATA_DIR) / file;
  if (isRefreshing()) writeFile(golden, now);
  ASSERT_TRUE(fs::exists(golden)) << golden << ": " << kRefreshHint;
  const std::string before = readFile(golden);
  if (now == before) return;
  const auto was = linesOf(before);
  const auto is = linesOf(now);
  for (std::size_t i = 0; i < std::max(was.size(), is.size()); ++i)
    ASSERT_EQ(i < is.size() ? is[i] : "(the end)", i < was.size() ? was[i] : "(the end)")
        << golden << ":" << i + 1 << "; " << kRefreshHint;
  FAIL() << golden << " differs in its last line break; " << kRefreshHint;
}

void expectGoldenPart(const fs::path& document, const std::string& begin, const std::string& end,
                      const std::string& now) {
  const fs::path path = fs::path(TEST_DATA_DIR).parent_path() / document;
  std::string text = readFile(path);
  const std::size_t from = text.find(begin);
  ASSERT_NE(from, std::string::npos) << path << " has no line " << begin;
  const std::size_t first = from + begin.size();
  const std::size_t last = text.find(end, first);
  ASSERT_NE(last, std::string::npos) << path << " has no line " << end;
  if (isRefreshing() && text.substr(first, last - first) != now)
    writeFile(path, text.replace(first, last - first, now));
  else
    EXPECT_EQ(text.substr(first, last - first), now) << path << "; " << kRefreshHint;
}

}  // namespace testing_support
