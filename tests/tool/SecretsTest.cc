// Secrets do not leave the tool unasked, and nothing that it prints steers the terminal.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

using Words = std::vector<std::string>;

class SecretsTest : public testing::Test {
 protected:
  static ToolResult tool(Words words, const std::string& input = "") {
    words.insert(words.begin(), {TOOL_PATH, "--lang", "en", "--year", "2024"});
    return run(words, input);
  }
  std::string path(const char* name) const { return (home.path() / name).string(); }

  TestHome home;
};

TEST_F(SecretsTest, DamagedJsonIsRefusedWithItsPlaceAndWithoutAPieceOfIt) {
  const std::string good =
      "{\"QorvaneT1Settings2024\":\n {\"PreparerPassword\": \"hush-hush\", \"PCity\": \"Alma\"}}";
  const auto expectSilence = [&](const std::string& json) {
    for (const char* verb : {"import", "diff"}) {
      writeFile(path("x.json"), json);
      const ToolResult result = tool({verb, path("x.json")});
      // A text that is still good has the password under a name that is no secret's.
      if (result.exit != 65) continue;
      EXPECT_EQ((result.out + result.err).find("hush"), std::string::npos) << json << "\n" << result.err;
      EXPECT_EQ(result.err.find("json.exception"), std::string::npos) << result.err;
      if (json.starts_with('{')) {
        EXPECT_NE(result.err.find("line "), std::string::npos) << json << result.err;
      }
    }
  };
  for (std::size_t at = 0; at < good.size(); ++at) {
    expectSilence(good.substr(0, at));
    std::string other = good;
    other[at] = at % 3 == 0 ? '\xE9' : at % 3 == 1 ? '\x01' : '\\';
    expectSilence(other);
  }
}

TEST_F(SecretsTest, TheLineAndTheColumnAreTheEditors) {
  const ToolResult result =
      tool({"import", "-"}, "{\n  \"QorvaneT1Settings2024\": {\n    \"PCity\": Alma\n  }\n}\n");
  EXPECT_EQ(result.exit, 65);
  EXPECT_NE(result.err.find("line 3, column 14"), std::string::npos) << result.err;
}

TEST_F(SecretsTest, ASecretIsPrintedOnlyWhenAskedFor) {
  for (const char* secret : {"preparerPassword", "que_AccessNumber"}) {
    ASSERT_EQ(tool({"set", secret, "-"}, "hush-hush\n").exit, 0);
    for (const Words& words :
         {Words{"get", secret}, {"--json", "get", secret}, {"get", "preparerCity", secret}}) {
      const ToolResult refused = tool(words);
      EXPECT_EQ(refused.exit, 2);
      EXPECT_EQ(refused.out, "");
      EXPECT_NE(refused.err.find("--show-secrets"), std::string::npos) << refused.err;
    }
    EXPECT_EQ(tool({"get", "--show-secrets", secret}).out, "hush-hush\n");
    for (const Words& words : {Words{"list"},
                               {"--json", "list"},
                               {"describe", secret},
                               {"export"},
                               {"search", secret},
                               {"diff", "2024"}})
      EXPECT_EQ(tool(words).out.find("hush"), std::string::npos) << words[0];
    EXPECT_EQ(tool({"search", "hush"}).exit, 1) << "search does not look into it";
  }
}

TEST_F(SecretsTest, AValueIsReadFromStandardInput) {
  const auto read = [&](const std::string& input) {
    EXPECT_EQ(tool({"set", "disclaimerTxt", "-"}, input).exit, 0);
    return tool({"get", "disclaimerTxt"}).out;
  };
  EXPECT_EQ(read("one\n"), "one\n");
  EXPECT_EQ(read("one\r\n"), "one\n");
  EXPECT_EQ(read("one\ntwo\n\n"), "one\ntwo\n\n") << "only the last line break goes";
  EXPECT_EQ(tool({"set", "disclaimerTxt", "--", "-"}, "unread").exit, 0);
  EXPECT_EQ(tool({"get", "disclaimerTxt"}).out, "-\n");
  EXPECT_EQ(tool({"set", "disclaimerTxt", "-"}, std::string("a\0b", 3)).exit, 65);
  EXPECT_EQ(tool({"set", "disclaimerTxt", "-"}, "\xE9t\xE9").exit, 65);
  EXPECT_EQ(tool({"get", "disclaimerTxt"}).out, "-\n");
}

TEST_F(SecretsTest, WhatIsTypedAtATerminalIsNotShown) {
  if (run({"sh", "-c", "command -v script"}).exit != 0) GTEST_SKIP() << "script is not installed";
  const std::string command = std::string(TOOL_PATH) + " --lang en --year 2024 set preparerPassword -";
  const ToolResult typed =
      run({"sh", "-c", "(sleep 1; echo hush-hush) | script -qec '" + command + "' /dev/null"});
  EXPECT_EQ(typed.out.find("hush"), std::string::npos) << typed.out;
  EXPECT_EQ(tool({"get", "--show-secrets", "preparerPassword"}).out, "hush-hush\n");
}

TEST_F(SecretsTest, ARefusedSecretIsNotRepeated) {
  const ToolResult result = tool({"set", "preparerPassword", "hush\xE9"});
  EXPECT_EQ(result.exit, 65);
  EXPECT_EQ(result.err.find("hush"), std::string::npos) << result.err;
}

TEST_F(SecretsTest, NothingSteersTheTerminal) {
  // Escape, a bell, a C1 control, a direction override, a line separator: in a key and in a value.
  const std::string odd = "\\u001b]0;x\\u0007\\u009b2J\\u202e\\u2028";
  writeFile(path("x.json"), "{\"QorvaneT1Settings2024\": {\"" + odd + "key\": \"" + odd +
                                "v\", \"PCity\": \"" + odd + "\"}, \"" + odd + "top\": {}}");
  ASSERT_EQ(tool({"import", path("x.json")}).exit, 0);
  for (const Words& words : {Words{"import", "--dry-run", "--replace", path("x.json")},
                             {"--json", "import", "--dry-run", path("x.json")},
                             {"list", "--unknown"},
                             {"--json", "list", "--unknown"},
                             {"list"},
                             {"--json", "list"},
                             {"diff", "2024", path("x.json")},
                             {"--json", "get", "preparerCity"},
                             {"export", "--format", "json"},
                             {"describe", "preparerCity"},
                             {"carry-forward", "--all", "--from", "2024", "--to", "2025"},
                             {"reset", "--unknown", "--dry-run"},
                             {"get", "\x1b[2J"},
                             {"\x1b[2J"},
                             {"--\x1b[2J", "list"},
                             {"list", "\x1b[2J"},
                             {"import", path("no\x1b[2J")}}) {
    const ToolResult result = tool(words);
    for (const char* steering : {"\x1b", "\x07", "\xC2\x9B", "\xE2\x80\xAE", "\xE2\x80\xA8"})
      EXPECT_EQ((result.out + result.err).find(steering), std::string::npos)
          << words[0] << " " << words.back();
  }
}

}  // namespace
}  // namespace testing_support
