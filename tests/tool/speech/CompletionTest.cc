// completion: the scripts in the shells they are for.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

class CompletionTest : public testing::Test {
 protected:
  static Words linesOf(const std::string& text) {
    Words lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
  // What the tool answers the scripts.
  static Words candidates(Words words) {
    words.insert(words.begin(), "--complete");
    const ToolResult result = optionsmgr(words);
    EXPECT_EQ(result.exit, 0) << result.err;
    return linesOf(result.out);
  }
  static bool has(const Words& words, const char* word) {
    return std::ranges::find(words, word) != words.end();
  }

  // The candidates in each shell, for a script that sources the completion and asks for them.
  void expectInShell(const Words& shell, const std::string& script, const Words& expected) {
    const fs::path folder = fs::path(TOOL_PATH).parent_path();
    Words command = shell;
    command.push_back("PATH=" + folder.string() + ":$PATH; " + script);
    const ToolResult result = run(command);
    if (result.exit == 127) GTEST_SKIP() << shell[0] << " is not installed";
    EXPECT_EQ(result.exit, 0) << result.err;
    Words found = linesOf(result.out);
    std::ranges::sort(found);
    EXPECT_EQ(found, expected) << result.err;
  }

  TestHome home;
};

TEST_F(CompletionTest, VerbsOptionsChoicesAndYearsAreKnown) {
  EXPECT_EQ(candidates({"re"}), (Words{"reset", "restore"}));
  EXPECT_TRUE(has(candidates({""}), "carry-forward"));
  EXPECT_TRUE(has(candidates({"--year", "2020", ""}), "list")) << "an option's value is no verb";
  EXPECT_EQ(candidates({"get", "zs"}), Words{"zsupress"});
  EXPECT_EQ(candidates({"set", "zsupress", ""}), (Words{"false", "true"}));
  EXPECT_EQ(candidates({"set", "preparerModeOfDelivery", "P"}), (Words{"Paper", "Phone"}));
  EXPECT_EQ(candidates({"set", "preparerModeOfDelivery", "E"}), Words{"Efile Plus"});
  EXPECT_EQ(candidates({"set", "preparerCity", ""}), Words{});
  EXPECT_EQ(candidates({"--product", ""}), (Words{"T1", "T2"}));
  EXPECT_EQ(candidates({"list", "--cha"}), Words{"--changed"});
  EXPECT_EQ(candidates({"list", "--ye"}), Words{"--year"});
  EXPECT_EQ(candidates({"choices", "Mode"}), Words{"ModeOfDelivery"});
  EXPECT_EQ(candidates({"completion", ""}), (Words{"bash", "fish", "zsh"}));
  EXPECT_EQ(candidates({"export", "--format", ""}), (Words{"binary", "json", "xml"}));
  EXPECT_EQ(candidates({"nonsense", ""}), Words{});
  EXPECT_EQ(candidates({"describe", "zsupress", ""}), Words{}) << "there is no second place";
  EXPECT_EQ(candidates({"--year", ""}), Words{});
  for (const char* year : {"2020", "2021"}) optionsmgr({"--year", year, "set", "language", "French"});
  EXPECT_EQ(candidates({"--year", ""}), (Words{"2020", "2021"}));
  EXPECT_EQ(candidates({"diff", "2021", "20"}), (Words{"2020", "2021"}));
}

TEST_F(CompletionTest, Bash) {
  const auto asks = [](const std::string& words, int at) {
    return "source <(optionsmgr completion bash); COMP_WORDS=(optionsmgr " + words +
           "); COMP_CWORD=" + std::to_string(at) + "; _optionsmgr; ((${#COMPREPLY[@]})) && printf '%s\\n' " +
           "\"${COMPREPLY[@]}\"; complete -p optionsmgr >/dev/null";
  };
  const Words bash{"bash", "--norc", "-c"};
  expectInShell(bash, asks("re", 1), {"reset", "restore"});
  expectInShell(bash, asks("set zsupress ''", 3), {"false", "true"});
  expectInShell(bash, asks("set preparerModeOfDelivery E", 3), {"Efile\\ Plus"});
}

TEST_F(CompletionTest, Zsh) {
  const auto asks = [](const std::string& words, int at) {
    return "autoload -Uz compinit; compinit -u -D; source <(optionsmgr completion zsh); "
           "[[ $_comps[optionsmgr] == _optionsmgr ]] || exit 1; "
           "compadd() { shift; print -rl -- \"$@\"; }; words=(optionsmgr " +
           words + "); CURRENT=" + std::to_string(at + 1) + "; _optionsmgr";
  };
  const Words zsh{"zsh", "-f", "-c"};
  expectInShell(zsh, asks("re", 1), {"reset", "restore"});
  expectInShell(zsh, asks("set zsupress ''", 3), {"false", "true"});
  expectInShell(zsh, asks("set preparerModeOfDelivery E", 3), {"Efile Plus"});
}

TEST_F(CompletionTest, Fish) {
  const auto asks = [](const std::string& line) {
    return "optionsmgr completion fish | source; complete -C '" + line + "'";
  };
  const auto expect = [&](const std::string& line, const Words& expected) {
    const std::string folder = fs::path(TOOL_PATH).parent_path();
    const ToolResult result =
        run({"fish", "--no-config", "-c", "set -x PATH " + folder + " $PATH; " + asks(line)});
    if (result.exit == 127) GTEST_SKIP() << "fish is not installed";
    EXPECT_EQ(linesOf(result.out), expected) << result.err;
  };
  expect("optionsmgr re", {"reset", "restore"});
  expect("optionsmgr set zsupress ", {"false", "true"});
  expect("optionsmgr set preparerModeOfDelivery E", {"Efile Plus"});
}

TEST_F(CompletionTest, AnotherShellIsRefused) { EXPECT_EQ(optionsmgr({"completion", "csh"}).exit, 2); }

}  // namespace
}  // namespace testing_support
