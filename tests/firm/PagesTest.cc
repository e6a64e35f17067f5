// Help, manual page and completion: no server is asked.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <string>

#include "tests/FrenchTypography.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace {

using testing_support::optionsmgr;

class FirmPagesTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("PGHOST", "/nonexistent", 1);
  }
  void TearDown() override { unsetenv("PGHOST"); }
  testing_support::TestHome home_;
};

TEST_F(FirmPagesTest, HelpSpeaksBothLanguages) {
  const std::string english = optionsmgr({"place", "add", "--help"}).out;
  EXPECT_NE(english.find("Usage: optionsmgr-firm place add name [options]"), std::string::npos) << english;
  const std::string french = optionsmgr({"--lang", "fr", "place", "add", "--help"}).out;
  EXPECT_NE(french.find("Usage\u00a0: optionsmgr-firm place add name [options]"), std::string::npos)
      << french;
  const std::string whole = optionsmgr({"--lang", "fr", "--help"}).out;
  EXPECT_NE(whole.find("Codes de sortie\u00a0:"), std::string::npos) << whole;
  EXPECT_EQ(whole.find("Print"), std::string::npos) << whole;
}

TEST_F(FirmPagesTest, EveryVerbHasItsPlaceInTheManual) {
  for (const char* language : {"en", "fr"}) {
    const std::string manual = optionsmgr({"--manual", "1", language}).out;
    for (const char* verb : {"init", "place add", "place list", "grant", "set", "undo", "status", "agent"})
      EXPECT_NE(manual.find(".SS optionsmgr\\-firm " + std::string(verb)), std::string::npos)
          << language << ' ' << verb;
    EXPECT_NE(manual.find("\n.SH DESCRIPTION"), std::string::npos);
  }
  const std::string french = optionsmgr({"--manual", "1", "fr"}).out;
  EXPECT_NE(french.find("\n.SH NOM\n"), std::string::npos);
  for (const char* english : {"done", "the command", "cannot", "Print"})
    EXPECT_EQ(french.find(english), std::string::npos) << english;
  // What a formatter of pages complains about.
  std::ofstream(home_.path() / "page.1") << french;
  const std::string page = (home_.path() / "page.1").string();
  EXPECT_EQ(std::system(("if command -v groff >/dev/null; then test -z \"$(groff -man -Kutf8 -Tutf8 -ww -z " +
                         page + " 2>&1)\"; fi")
                            .c_str()),
            0);
}

TEST_F(FirmPagesTest, CompletionKnowsVerbsOptionsAndValues) {
  const auto candidates = [](std::vector<std::string> words) {
    words.insert(words.begin(), "--complete");
    return optionsmgr(words).out;
  };
  EXPECT_EQ(candidates({"pla"}), "place\n");
  EXPECT_EQ(candidates({"place", "re"}), "remove\n");
  EXPECT_EQ(candidates({"set", "--place", "Laval", "preparerCit"}), "preparerCity\n");
  EXPECT_EQ(candidates({"set", "--place", "set", "zsupress", ""}), "false\ntrue\n");
  EXPECT_EQ(candidates({"set", "--place", "Laval", "preparerCity", "Laval", "zsupres"}), "zsupress\n");
  EXPECT_EQ(candidates({"set", "--product", ""}), "T1\nT2\n");
  EXPECT_EQ(candidates({"set", "--product=T2", "--place", ""}), "");
  EXPECT_EQ(candidates({"set", "--every"}), "--every-year\n");
  EXPECT_EQ(candidates({"completion", ""}), "bash\nfish\nzsh\n");
}

TEST_F(FirmPagesTest, TheScriptsAskThisProgram) {
  for (const char* shell : {"bash", "zsh", "fish"}) {
    const std::string script = optionsmgr({"completion", shell}).out;
    EXPECT_NE(script.find("optionsmgr-firm --complete"), std::string::npos) << script;
    EXPECT_EQ(script.find('@' + std::string("program")), std::string::npos) << script;
  }
  // Bash itself, with a stand-in for the program.
  EXPECT_EQ(std::system("bash -c 'eval \"$(" TOOL_PATH " completion bash)\"; optionsmgr-firm() { " TOOL_PATH
                        " \"$@\"; }; "
                        "COMP_WORDS=(optionsmgr-firm place re); COMP_CWORD=2; _optionsmgr_firm; "
                        "test \"${COMPREPLY[*]}\" = remove'"),
            0);
}

TEST_F(FirmPagesTest, FrenchIsWellSet) {
  for (const std::string_view french : {
#define WORD(code, english, french) std::string_view(french),
#include "firm/words.def"
#undef WORD
       })
    EXPECT_EQ(testing_support::faultInFrench(french), "") << french;
}

}  // namespace
