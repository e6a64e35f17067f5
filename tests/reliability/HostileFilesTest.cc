// Files that were made to exhaust whoever imports them: refused as bad data, in little memory, with nothing
// changed. What the readers themselves do with such bytes is tested beside them.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLevels = 1'000'000;

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

class HostileFilesTest : public testing::Test {
 protected:
  void expectRefused(const std::string& bytes, const std::string& what) const {
    ASSERT_EQ(optionsmgr({"--year", "2020", "set", "preparerCity", "Alma"}).exit, 0);
    const fs::path stored = home.store() / "QorvaneT1Settings2020.plist";
    const std::string before = readFile(stored);
    const fs::path given = home.path() / "given";
    writeFile(given, bytes);
    const ToolResult result = optionsmgr({"import", given.string()});
    EXPECT_EQ(result.exit, 65) << what << ": " << result.err;
    EXPECT_LT(result.err.size(), 2000u) << what;
    EXPECT_EQ(readFile(stored), before) << what;
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    EXPECT_LT(used.ru_maxrss, 2L << 20) << what << " took more than two gigabytes";
  }

  TestHome home;
};

TEST_F(HostileFilesTest, AMillionLevels) {
  const std::string key = "QorvaneT1Settings2020";
  expectRefused("{\"" + key + "\":" + repeated("[", kLevels) + repeated("]", kLevels) + "}", "JSON arrays");
  expectRefused("{\"" + key + "\":" + repeated("[", kLevels), "JSON arrays without an end");
  expectRefused(repeated("{\"" + key + "\":", kLevels) + "1" + repeated("}", kLevels), "JSON objects");
  expectRefused("<plist><dict><key>" + key + "</key>" + repeated("<array>", kLevels) +
                    repeated("</array>", kLevels) + "</dict></plist>",
                "XML arrays");
  expectRefused(
      "<plist>" + repeated("<dict><key>a</key>", kLevels) + repeated("</dict>", kLevels) + "</plist>",
      "XML dictionaries");
}

TEST_F(HostileFilesTest, BombsLoopsAndAbsurdCounts) {
  const fs::path corpus = fs::path(FUZZ_CORPUS_DIR) / "plist";
  for (const char* name : {"bomb.bplist", "cycle.bplist", "deep.bplist", "deep.xml"})
    expectRefused(readFile(corpus / name), name);
  // A text, an array and a dictionary of 2^62 elements, and a table of as many offsets.
  const std::string count = "\x13" + std::string(1, '\x40') + std::string(7, '\0');
  const auto file = [](const std::string& object, const std::string& objects) {
    return "bplist00" + object + '\x08' + std::string(6, '\0') + "\x01\x01" + objects + std::string(8, '\0') +
           std::string(7, '\0') + static_cast<char>(8 + object.size());
  };
  const std::string one = std::string(7, '\0') + '\x01';
  for (const char marker : {'\x4F', '\x5F', '\x6F', '\xAF', '\xDF'})
    expectRefused(file(marker + count, one),
                  "a count, marker " + std::to_string(static_cast<unsigned char>(marker)));
  expectRefused(file("\x09", '\x40' + std::string(7, '\0')), "as many objects");
}

}  // namespace
}  // namespace testing_support
