// The tool while the system fails: at each call that opens, reads or takes memory. It never answers what is
// not so, never says that something was saved that was not, and leaves the settings whole.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <map>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"
#include "tests/tool/ToolRun.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::Text;
using qorvane::Value;

class FaultsTest : public testing::Test {
 protected:
  void SetUp() override {
#if !defined(__x86_64__)
    GTEST_SKIP() << "the tests do not know how to make this processor's calls of the system fail";
#endif
  }

  static constexpr Text kSettings = "QorvaneT1Settings2022";

  static void store() {
    FileUserDefaults files;
    files.setObject(Dictionary{{"PCity", Text("Alma")}, {"App.page", Text("3")}}, kSettings);
    ASSERT_TRUE(files.synchronize());
  }

  // The city as its file has it; nil when there is none.
  static Value city() {
    const auto found = FileUserDefaults().inspect(kSettings);
    const Dictionary* entries = found.object.asDictionary();
    const Value* entry = entries ? entries->find("PCity") : nullptr;
    return entry ? *entry : Value();
  }

  std::map<std::string, std::string> files() const {
    std::map<std::string, std::string> all;
    for (const auto& file : fs::directory_iterator(home.store()))
      all[file.path().filename().string()] = readFile(file.path());
    return all;
  }

  // Runs the tool again and again, each time with the next of its calls of that kind failing, until it makes
  // no more of them.
  static void atEachCall(SystemCall failing, int error, const std::vector<std::string>& arguments,
                         const std::function<void(const ToolResult&)>& judge) {
    std::vector<std::string> words{"--lang", "en", "--year", "2022"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    for (int call = 1;; ++call) {
      int made = 0;
      const ToolResult result = optionsmgrTraced(words, [&](SystemCall kind) {
        if (kind != failing || ++made < call) return 0;
        return made == call || failing == SystemCall::TakesMemory ? error : 0;
      });
      SCOPED_TRACE("call " + std::to_string(call) + " fails with " + std::to_string(error) + ", exit " +
                   std::to_string(result.exit) + ", " + result.err);
      judge(result);
      if (HasFailure()) return;
      if (made >= call) continue;
      EXPECT_EQ(result.exit, 0) << "nothing failed";
      EXPECT_GT(call, 1) << "a tool that makes no such call";
      return;
    }
  }

  static void atEachCall(const std::vector<std::string>& arguments,
                         const std::function<void(const ToolResult&)>& judge) {
    for (const int error : {EIO, EMFILE, ENOMEM}) {
      atEachCall(SystemCall::OpensOrReads, error, arguments, judge);
      if (HasFailure()) return;
    }
    atEachCall(SystemCall::TakesMemory, ENOMEM, arguments, judge);
  }

  TestHome home;
};

TEST_F(FaultsTest, WhatIsReadIsRightOrIsNotAnswered) {
  store();
  const auto before = files();
  const std::map<std::vector<std::string>, std::string> answers = {
      {{"get", "preparerCity"}, "Alma\n"},
      {{"--json", "get", "preparerCity"}, "\"Alma\"\n"},
      {{"--quiet", "list", "preparerCity"}, "preparerCity  text  Alma\n"}};
  for (const auto& [words, answer] : answers)
    atEachCall(words, [&, &answer = answer](const ToolResult& result) {
      EXPECT_EQ(result.out, result.exit == 0 ? answer : "");
      EXPECT_LT(result.exit, 128);
      EXPECT_TRUE(result.exit == 0 || !result.err.empty());
      EXPECT_EQ(files(), before) << "whoever reads changes nothing";
    });
}

TEST_F(FaultsTest, WhatIsSetIsSavedOrItIsSaidThatItIsNot) {
  store();
  atEachCall({"set", "preparerCity", "Chambly"}, [](const ToolResult& result) {
    EXPECT_LT(result.exit, 128);
    EXPECT_EQ(city(), result.exit == 0 ? Value(Text("Chambly")) : Value(Text("Alma")));
    EXPECT_TRUE(result.exit == 0 || result.err.find("was saved") == std::string::npos);
    store();
  });
}

TEST_F(FaultsTest, WhatIsResetIsGoneOrItIsSaidThatItIsNot) {
  store();
  atEachCall({"reset", "preparerCity"}, [](const ToolResult& result) {
    EXPECT_LT(result.exit, 128);
    EXPECT_EQ(city(), result.exit == 0 ? Value() : Value(Text("Alma")));
    EXPECT_TRUE(result.exit == 0 || result.err.find("was saved") == std::string::npos);
    store();
  });
}

}  // namespace
}  // namespace testing_support
