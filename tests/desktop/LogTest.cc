#include "qorvane/desktop/Log.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "qorvane/desktop/LogCapture.h"
#include "tests/TestHome.h"

namespace {

struct SystemLine {
  int priority;
  std::string text;
};

std::vector<SystemLine>& systemLines() {
  static std::vector<SystemLine> lines;
  return lines;
}

}  // namespace

// Stands in for the C library's function in this program: the machine that runs the tests may have no log.
extern "C" void syslog(int priority, const char* format, ...) {
  char text[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  systemLines().push_back({priority, text});
}

namespace qorvane {
namespace {

// What the action writes to the standard error stream.
template <class Action>
std::string standardErrorOf(Action action) {
  testing_support::TestHome home;
  const std::filesystem::path file = home.path() / "stderr";
  std::fflush(stderr);
  const int kept = dup(STDERR_FILENO);
  FILE* out = std::fopen(file.c_str(), "w");
  dup2(fileno(out), STDERR_FILENO);
  action();
  std::fflush(stderr);
  dup2(kept, STDERR_FILENO);
  close(kept);
  std::fclose(out);
  return testing_support::readFile(file);
}

class LogTest : public testing::Test {
 protected:
  void SetUp() override { systemLines().clear(); }
  void TearDown() override { setLogSink(nullptr); }
};

std::vector<Text> captured(const Text& message) {
  const LogCapture capture;
  log(message);
  return capture.lines();
}

TEST_F(LogTest, GoesToTheSystemLogAndToStandardErrorUnderTheProgramsName) {
  const std::string program = program_invocation_short_name;
  const std::string err = standardErrorOf([] { log("Could not load default options"); });
  EXPECT_EQ(err, program + ": Could not load default options\n");
  ASSERT_EQ(systemLines().size(), 1u);
  EXPECT_EQ(systemLines()[0].priority, LOG_USER | LOG_NOTICE);
  EXPECT_EQ(systemLines()[0].text, "Could not load default options");
}

TEST_F(LogTest, PercentSignsAreNoFormat) {
  const std::string err = standardErrorOf([] { log("100 %s %n"); });
  EXPECT_TRUE(err.ends_with(": 100 %s %n\n")) << err;
  ASSERT_EQ(systemLines().size(), 1u);
  EXPECT_EQ(systemLines()[0].text, "100 %s %n");
}

TEST_F(LogTest, NilAndEmptyLogNothing) {
  EXPECT_EQ(standardErrorOf([] {
              log(nullptr);
              log("");
            }),
            "");
  EXPECT_TRUE(systemLines().empty());
  EXPECT_TRUE(captured(nullptr).empty());
  EXPECT_TRUE(captured("").empty());
}

TEST_F(LogTest, ASinkReceivesTheMessageByteForByte) {
  for (const Text& message : {Text("Could n't create directory for Client FileFolder"),
                              Text("Options couldn't be loaded"), Text("Québec — \\n “déjà” 🍁 \u00A0")}) {
    const std::vector<Text> lines = captured(message);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].isSameObject(message));
  }
}

TEST_F(LogTest, ControlsAndLineBreaksAreWrittenOut) {
  const struct {
    Text message;
    Text line;
  } rows[] = {
      {"two\nlines", "two\\nlines"},
      {"\r\n", "\\r\\n"},
      {"a\tb", "a\\tb"},
      {Text(std::string_view("nul\0!", 5)), "nul\\u0000!"},
      {"\u001b[31mred\u007f", "\\u001b[31mred\\u007f"},
      {"é\u0080é\u0085\u009fé", "é\\u0080é\\u0085\\u009fé"},
      {"\u2027\u2028\u2029\u202a", "\u2027\\u2028\\u2029\u202a"},
      {"🍁\n🍁", "🍁\\n🍁"},
      {Text(std::string_view("\xFF\n")), "\uFFFD\\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(captured(row.message), std::vector<Text>{row.line});
}

TEST_F(LogTest, TheSinkIsExchangedAndTheUsualOneReturns) {
  std::vector<Text> first;
  EXPECT_FALSE(setLogSink([&](const Text& line) { first.push_back(line); }));
  log("one");
  LogSink before = setLogSink([](const Text&) {});
  log("two");
  EXPECT_TRUE(before);
  setLogSink(std::move(before));
  log("three");
  EXPECT_EQ(first, (std::vector<Text>{"one", "three"}));
  EXPECT_TRUE(systemLines().empty());
  EXPECT_TRUE(setLogSink(nullptr));
  standardErrorOf([] { log("four"); });
  EXPECT_EQ(systemLines().size(), 1u);
}

TEST_F(LogTest, ASinkThatThrowsLosesTheMessageOnly) {
  setLogSink([](const Text&) { throw std::runtime_error("full"); });
  EXPECT_NO_THROW(log("lost"));
}

TEST_F(LogTest, CapturesNest) {
  LogCapture outer;
  log("outer 1");
  {
    const LogCapture inner;
    log("inner");
    EXPECT_EQ(inner.lines(), std::vector<Text>{"inner"});
  }
  log("outer 2");
  EXPECT_EQ(outer.lines(), (std::vector<Text>{"outer 1", "outer 2"}));
  outer.clear();
  EXPECT_TRUE(outer.lines().empty());
}

}  // namespace
}  // namespace qorvane
