// `optionsmgr firm`: another program does it, where it is installed.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <string>

#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace {

using testing_support::optionsmgr;
using testing_support::ToolResult;

class FirmProgramTest : public testing::Test {
 protected:
  void SetUp() override { setenv("PATH", home_.path().c_str(), 1); }
  void TearDown() override { setenv("PATH", path_.c_str(), 1); }
  // A program of that name, which tells what it was given.
  void install() {
    const auto program = home_.path() / "optionsmgr-firm";
    testing_support::writeFile(program, "#!/bin/sh\nfor word; do printf '<%s>' \"$word\"; done\nexit 42\n");
    chmod(program.c_str(), 0755);
  }

 private:
  testing_support::TestHome home_;
  std::string path_ = getenv("PATH");
};

TEST_F(FirmProgramTest, GetsEveryWordButTheVerbAndEndsAsItEnds) {
  install();
  const ToolResult result =
      optionsmgr({"--lang", "fr", "firm", "set", "--place", "firm", "-m", "two words", "--", "--odd"});
  EXPECT_EQ(result.out, "<--lang><fr><set><--place><firm><-m><two words><--><--odd>");
  EXPECT_EQ(result.exit, 42);
  EXPECT_EQ(optionsmgr({"--complete", "firm", "sta"}).out, "<--complete><sta>");
}

TEST_F(FirmProgramTest, SaysWhatToInstallWhereItIsNot) {
  const ToolResult result = optionsmgr({"firm", "status"});
  EXPECT_EQ(result.exit, 69);
  EXPECT_NE(result.err.find("optionsmgr-firm is not installed"), std::string::npos) << result.err;
  EXPECT_NE(optionsmgr({"--lang", "fr", "firm"}).err.find("pas installé"), std::string::npos);
  EXPECT_EQ(optionsmgr({"--complete", "firm", "sta"}).out, "");
}

}  // namespace
