#include "qorvane/desktop/BaseDirectories.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "tests/TestHome.h"

namespace qorvane {
namespace {

TEST(BaseDirectoriesTest, AreBelowTheHome) {
  const testing_support::TestHome home;
  EXPECT_EQ(homeDirectory(), Text(home.path().string()));
  EXPECT_EQ(configDirectory(), Text((home.path() / ".config").string()));
  EXPECT_EQ(dataDirectory(), Text((home.path() / ".local/share").string()));
}

TEST(BaseDirectoriesTest, FollowTheEnvironmentWhenItIsAbsolute) {
  const testing_support::TestHome home;
  setenv("XDG_CONFIG_HOME", "/c//", 1);
  setenv("XDG_DATA_HOME", "/d", 1);
  EXPECT_EQ(configDirectory(), Text("/c"));
  EXPECT_EQ(dataDirectory(), Text("/d"));
  unsetenv("HOME");
  EXPECT_EQ(configDirectory(), Text("/c"));
  for (const char* odd : {"", "relative/c", "~/c"}) {
    setenv("XDG_CONFIG_HOME", odd, 1);
    EXPECT_TRUE(configDirectory().isNil()) << odd;
  }
}

TEST(BaseDirectoriesTest, AreNoneWithoutAHome) {
  const testing_support::TestHome home;
  for (const char* odd : {"", "relative"}) {
    setenv("HOME", odd, 1);
    EXPECT_TRUE(homeDirectory().isNil());
    EXPECT_TRUE(configDirectory().isNil());
    EXPECT_TRUE(dataDirectory().isNil());
  }
  setenv("HOME", "/", 1);
  EXPECT_EQ(homeDirectory(), Text("/"));
  EXPECT_EQ(configDirectory(), Text("/.config"));
}

// A text that were repaired would name another folder, and two such homes one.
TEST(BaseDirectoriesTest, PathsAreBytes) {
  const testing_support::TestHome home;
  setenv("HOME", "/\xe9t\xe9", 1);
  EXPECT_EQ(homePath(), "/\xe9t\xe9");
  EXPECT_EQ(configPath(), "/\xe9t\xe9/.config");
  EXPECT_EQ(dataPath(), "/\xe9t\xe9/.local/share");
  EXPECT_TRUE(homeDirectory().isNil());
  EXPECT_TRUE(configDirectory().isNil());
  EXPECT_TRUE(dataDirectory().isNil());
  unsetenv("HOME");
  EXPECT_EQ(homePath(), "");
  EXPECT_EQ(configPath(), "");
}

TEST(BaseDirectoriesTest, PathsAreJoinedByOneSlash) {
  EXPECT_EQ(pathBelow(Text("/a"), "b/c"), Text("/a/b/c"));
  EXPECT_EQ(pathBelow(Text("/"), "b"), Text("/b"));
  EXPECT_EQ(pathBelow(std::string("/"), "b"), "/b");
}

}  // namespace
}  // namespace qorvane
