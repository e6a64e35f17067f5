// What the tool answers to a command line that it cannot make sense of.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

using Words = std::vector<std::string>;

TEST(CommandLineTest, WhatIsWrongIsToldInBothLanguages) {
  const TestHome home;
  struct Case {
    Words words;
    std::string english;
    std::string french;
  };
  const Case cases[] = {
      {{}, "a verb is required", "il faut un verbe"},
      {{"--json"}, "a verb is required", "il faut un verbe"},
      {{"get"}, "OPTION is required", "OPTION est obligatoire"},
      {{"list", "--year"}, "--year takes a value", "--year exige une valeur"},
      {{"list", "--json=much"}, "--json takes no value", "--json ne prend pas de valeur"},
      {{"describe", "language", "b"}, "unexpected argument: b", "argument inattendu\u00A0: b"},
      {{"describe", "language", "z", "b", "c"},
       "unexpected arguments: z b c",
       "arguments inattendus\u00A0: z b c"},
      {{"describe", "autoSaveAfter", "-5", "z"},
       "unexpected arguments: -5 z",
       "arguments inattendus\u00A0: -5 z"},
      {{"--year", "abc", "list"},
       "--year takes a whole number from 1 to 9999, not \"abc\"",
       "--year exige un nombre entier de 1 à 9999, et non «\u00A0abc\u00A0»"},
      {{"--year", "0", "list"},
       "--year takes a whole number from 1 to 9999, not \"0\"",
       "--year exige un nombre entier de 1 à 9999, et non «\u00A00\u00A0»"},
      {{"--year=10000", "list"},
       "--year takes a whole number from 1 to 9999, not \"10000\"",
       "--year exige un nombre entier de 1 à 9999, et non «\u00A010000\u00A0»"},
      {{"--lock-wait", "nan", "list"},
       "--lock-wait takes a number of seconds from 0 to 86400, not \"nan\"",
       "--lock-wait exige un nombre de secondes de 0 à 86400, et non «\u00A0nan\u00A0»"},
      {{"--product", "T3", "list"},
       "--product takes one of T1, T2, all, not \"T3\"",
       "--product exige une valeur parmi T1, T2, all, et non «\u00A0T3\u00A0»"},
      {{"export", "--format", "JSON"},
       "--format takes one of binary, xml, json, not \"JSON\"",
       "--format exige une valeur parmi binary, xml, json, et non «\u00A0JSON\u00A0»"},
      {{"completion", "csh"},
       "SHELL takes one of bash, zsh, fish, not \"csh\"",
       "SHELL exige une valeur parmi bash, zsh, fish, et non «\u00A0csh\u00A0»"},
  };
  for (const Case& one : cases)
    for (const bool french : {false, true}) {
      Words words = one.words;
      words.insert(words.begin(), french ? "--lang=fr" : "--lang=en");
      const ToolResult result = optionsmgr(words);
      EXPECT_EQ(result.exit, 2);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, "optionsmgr: " + (french ? one.french : one.english) +
                                (french ? " (voir optionsmgr --help)\n" : " (see optionsmgr --help)\n"));
    }
}

TEST(CommandLineTest, TheOptionThatWasMeantIsNamed) {
  const TestHome home;
  for (const auto& [words, meant] : {std::pair{Words{"list", "--yeer", "2020"}, "--year"},
                                     {Words{"--yeer=2020", "list"}, "--year"},
                                     {Words{"list", "--chnged"}, "--changed"}}) {
    const ToolResult result = optionsmgr(words);
    EXPECT_EQ(result.exit, 2);
    EXPECT_NE(result.err.find(std::string("did you mean \"") + meant + "\"?"), std::string::npos)
        << result.err;
  }
}

TEST(CommandLineTest, GoodWordsPassTheChecks) {
  const TestHome home;
  EXPECT_EQ(
      optionsmgr({"--product", "t2", "--year", "9999", "--lock-wait", "0.5", "--lang", "en", "list"}).exit,
      0);
  EXPECT_EQ(optionsmgr({"--year", "2020", "--year", "1", "list"}).exit, 0);
}

}  // namespace
}  // namespace testing_support
