// Eight processes change settings at once with the real tool, 500 times each; every change is there
// afterwards.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::OptionRow;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

constexpr std::size_t kWriters = 8;
constexpr std::size_t kChanges = 500;

// The options that keep any text as it is given, each under a key of its own.
std::vector<const OptionRow*> textOptions() {
  std::vector<const OptionRow*> found;
  std::vector<Text> keys;
  for (const OptionRow& row : qorvane::optionTable()) {
    if (row.type != OptionType::Text || !row.write || row.form != "TextForm") continue;
    const Text key = row.key();
    if (key.isNil() || std::ranges::find(keys, key) != keys.end()) continue;
    keys.push_back(key);
    found.push_back(&row);
  }
  return found;
}

// The change of that number: the writers take turns at the options of one year, so that all are at the same
// file most of the time, and no two make the same change.
struct Change {
  const OptionRow* option;
  int year;
  std::string value;
};
Change change(const std::vector<const OptionRow*>& options, std::size_t writer, std::size_t number) {
  const std::size_t place = number * kWriters + writer;
  return {options[place % options.size()], 1990 + static_cast<int>(place / options.size()),
          "writer " + std::to_string(writer) + ", change " + std::to_string(number)};
}

TEST(ManyWritersSlowTest, LoseNothing) {
  const TestHome home;
  const auto options = textOptions();
  ASSERT_GT(options.size(), 2 * kWriters);
  for (std::size_t writer = 0; writer < kWriters; ++writer) {
    if (fork() != 0) continue;
    int failures = 0;
    for (std::size_t number = 0; number < kChanges; ++number) {
      const Change next = change(options, writer, number);
      const ToolResult set = optionsmgr({"--lock-wait", "300", "--year", std::to_string(next.year), "set",
                                         "--force", std::string(next.option->name), next.value});
      if (set.exit == 0) continue;
      std::cerr << set.err;
      ++failures;
    }
    _exit(failures == 0 ? 0 : 1);
  }
  for (std::size_t writer = 0; writer < kWriters; ++writer) {
    int status = -1;
    wait(&status);
    EXPECT_EQ(status, 0);
  }
  std::size_t right = 0;
  for (std::size_t writer = 0; writer < kWriters; ++writer)
    for (std::size_t number = 0; number < kChanges; ++number) {
      const Change made = change(options, writer, number);
      FileUserDefaults store;
      const Value settings = store.objectForKey(Text("QorvaneT1Settings" + std::to_string(made.year)));
      const Value* kept =
          settings.asDictionary() ? settings.asDictionary()->find(made.option->key()) : nullptr;
      if (kept && *kept == Value(Text(made.value))) ++right;
    }
  EXPECT_EQ(right, kWriters * kChanges);
}

}  // namespace
}  // namespace testing_support
