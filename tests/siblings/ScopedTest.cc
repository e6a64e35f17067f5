// Each part that can be replaced, by the one manner there is: it serves for a while, and what was there
// before serves again.
#include "qorvane/foundation/Scoped.h"

#include <gtest/gtest.h>

#include <vector>

#include "qorvane/desktop/Bundle.h"
#include "qorvane/desktop/FileManager.h"
#include "qorvane/desktop/Log.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

TEST(ScopedTest, ThePreferenceStore) {
  MemoryUserDefaults outer, inner;
  const ScopedUserDefaults first(&outer);
  {
    const ScopedUserDefaults second(&inner);
    EXPECT_EQ(&UserDefaults::standardUserDefaults(), &inner);
    UserDefaults::setStandardUserDefaults(nullptr);
  }
  EXPECT_EQ(&UserDefaults::standardUserDefaults(), &outer);
  EXPECT_EQ(UserDefaults::setStandardUserDefaults(&inner), &outer) << "the setter is a thin form of it";
}

TEST(ScopedTest, TheFileManager) {
  struct Nothing : FileManager {
    bool fileExistsAtPath(const Text&, bool*) override { return false; }
    bool createDirectoryAtPath(const Text&, bool) override { return false; }
  } nothing;
  const FileManager* const before = &FileManager::defaultManager();
  {
    const ScopedFileManager scope(&nothing);
    EXPECT_EQ(&FileManager::defaultManager(), &nothing);
  }
  EXPECT_EQ(&FileManager::defaultManager(), before);
}

TEST(ScopedTest, TheBundle) {
  Bundle other;
  const Bundle* const before = &Bundle::mainBundle();
  {
    const ScopedBundle scope(&other);
    EXPECT_EQ(&Bundle::mainBundle(), &other);
  }
  EXPECT_EQ(&Bundle::mainBundle(), before);
}

TEST(ScopedTest, TheSinkOfTheLog) {
  std::vector<Text> outer, inner;
  const ScopedLogSink first([&](const Text& line) { outer.push_back(line); });
  {
    const ScopedLogSink second([&](const Text& line) { inner.push_back(line); });
    log("in");
  }
  log("out");
  EXPECT_EQ(inner, std::vector<Text>{"in"});
  EXPECT_EQ(outer, std::vector<Text>{"out"});
}

TEST(ScopedTest, TheProduct) {
  const ScopedProduct first({.corporate = true, .taxYear = 2019, .release = "VER2019_2"});
  {
    const ScopedProduct second({.taxYear = 2020});
    EXPECT_FALSE(QVSettings::isT2());
    // Whatever is said meanwhile is over with it, too.
    QVSettings::setProduct({.corporate = false, .taxYear = 1999});
    EXPECT_EQ(QVSettings::YOR(), 1999);
  }
  EXPECT_TRUE(QVSettings::isT2());
  EXPECT_EQ(QVSettings::YOR(), 2019);
  const Product now = QVSettings::product();
  EXPECT_TRUE(now.corporate);
  EXPECT_EQ(now.taxYear, 2019);
  EXPECT_EQ(now.release, Text("VER2019_2"));
}

TEST(ScopedTest, TheSystemCalls) {
  const testing_support::TestHome home;
  FaultInjectingSystemCalls counting;
  {
    const ScopedSystemCalls scope(&counting);
    EXPECT_EQ(FileUserDefaults().objectForKey("key"), Value());
  }
  const std::size_t calls = counting.calls().size();
  EXPECT_GT(calls, 0u);
  EXPECT_EQ(FileUserDefaults().objectForKey("key"), Value());
  EXPECT_EQ(counting.calls().size(), calls);
}

}  // namespace
}  // namespace qorvane
