#include "qorvane/siblings/PathUtils.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <string_view>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/siblings/ApplicationSupport.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

class PathUtilsTest : public testing::Test {
 protected:
  void writeUserDirectories(std::string_view lines) {
    testing_support::writeFile(home.path() / ".config" / "user-dirs.dirs", lines);
  }
  Text below(const char* relative) const { return Text((home.path() / relative).string()); }

  testing_support::TestHome home;
};

TEST_F(PathUtilsTest, IsDocumentsBelowTheHomeWhenNothingIsSaid) {
  EXPECT_EQ(PathUtils::userDocumentsPath(), below("Documents"));
  setenv("HOME", "/", 1);
  EXPECT_EQ(PathUtils::userDocumentsPath(), Text("/Documents"));
}

TEST_F(PathUtilsTest, ThereIsNoneWithoutAHome) {
  setenv("XDG_CONFIG_HOME", (home.path() / ".config").c_str(), 1);
  writeUserDirectories("XDG_DOCUMENTS_DIR=\"/docs\"\n");
  for (const char* none : {"", "relative"}) {
    setenv("HOME", none, 1);
    EXPECT_TRUE(PathUtils::userDocumentsPath().isNil());
  }
  unsetenv("HOME");
  EXPECT_TRUE(PathUtils::userDocumentsPath().isNil());
  setenv("XDG_DOCUMENTS_DIR", "/docs", 1);
  EXPECT_TRUE(PathUtils::userDocumentsPath().isNil());
}

TEST_F(PathUtilsTest, TheEnvironmentComesFirst) {
  writeUserDirectories("XDG_DOCUMENTS_DIR=\"$HOME/file\"\n");
  setenv("XDG_DOCUMENTS_DIR", "/from/environment/", 1);
  EXPECT_EQ(PathUtils::userDocumentsPath(), Text("/from/environment"));
  for (const char* missing : {"", "relative", "$HOME/x"}) {
    setenv("XDG_DOCUMENTS_DIR", missing, 1);
    EXPECT_EQ(PathUtils::userDocumentsPath(), below("file")) << missing;
  }
}

TEST_F(PathUtilsTest, TheFileStandsInTheConfigurationFolder) {
  testing_support::writeFile(home.path() / "elsewhere/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"/elsewhere\"\n");
  writeUserDirectories("XDG_DOCUMENTS_DIR=\"/config\"\n");
  EXPECT_EQ(PathUtils::userDocumentsPath(), Text("/config"));
  setenv("XDG_CONFIG_HOME", (home.path() / "elsewhere").c_str(), 1);
  EXPECT_EQ(PathUtils::userDocumentsPath(), Text("/elsewhere"));
}

TEST_F(PathUtilsTest, ReadsTheEntryAsAShellWould) {
  const struct {
    const char* lines;
    const char* belowHome;  // null: `absolute` instead
    const char* absolute = nullptr;
  } rows[] = {
      {"XDG_DOCUMENTS_DIR=\"$HOME/Mes documents\"\n", "Mes documents"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/Dossiers d'été\"", "Dossiers d'été"},
      {"XDG_DOCUMENTS_DIR=\"/srv/docs\"\n", nullptr, "/srv/docs"},
      {"XDG_DOCUMENTS_DIR=\"/srv/docs///\"\n", nullptr, "/srv/docs"},
      {"XDG_DOCUMENTS_DIR=\"/\"\n", nullptr, "/"},
      {" \tXDG_DOCUMENTS_DIR = \"$HOME/D\" # mine\n", "D"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/a\\\"b\\\\c\\$d\\`e\"\n", "a\"b\\c$d`e"},
      {"XDG_DOCUMENTS_DIR=\"/a\\\"b\"\n", nullptr, "/a\"b"},
      {"XDG_DOCUMENTS_DIR=\"$HOME//D\"\n", "D"},
      {"XDG_DESKTOP_DIR=\"$HOME/Bureau\"\nXDG_DOCUMENTS_DIR=\"$HOME/D\"\nXDG_MUSIC_DIR=\"$HOME/M\"\n", "D"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/first\"\nXDG_DOCUMENTS_DIR=\"$HOME/last\"\n", "last"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/good\"\nXDG_DOCUMENTS_DIR=\"relative\"\n", "good"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/D\"\r\n", "D"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/cut off", "cut off"},
      {"XDG_DOCUMENTS_DIR=\"$HOME/cut off\\", "cut off\\"},
      // What is no such entry leaves the default.
      {"# XDG_DOCUMENTS_DIR=\"$HOME/D\"\n", "Documents"},
      {"XDG_DOCUMENTS_DIR=\"relative/D\"\n", "Documents"},
      {"XDG_DOCUMENTS_DIR=\"$HOMELESS/D\"\n", "Documents"},
      {"XDG_DOCUMENTS_DIR=\"\"\n", "Documents"},
      {"XDG_DOCUMENTS_DIR=$HOME/D\n", "Documents"},
      {"XDG_DOCUMENTS_DIR\n", "Documents"},
      {"XDG_DOCUMENTS_DIRECTORY=\"$HOME/D\"\n", "Documents"},
      {"MY_XDG_DOCUMENTS_DIR=\"$HOME/D\"\n", "Documents"},
      {"", "Documents"},
  };
  for (const auto& row : rows) {
    writeUserDirectories(row.lines);
    EXPECT_EQ(PathUtils::userDocumentsPath(),
              row.belowHome ? below(row.belowHome) : Text(std::string(row.absolute)))
        << row.lines;
  }
}

TEST_F(PathUtilsTest, TheHomeItselfMeansNoFolderOfItsOwn) {
  for (const char* line : {"XDG_DOCUMENTS_DIR=\"$HOME/\"\n", "XDG_DOCUMENTS_DIR=\"$HOME\"\n"}) {
    writeUserDirectories(line);
    EXPECT_EQ(PathUtils::userDocumentsPath(), Text(home.path().string())) << line;
  }
}

TEST_F(PathUtilsTest, AFolderThatIsNoUtf8CountsAsNoneAndIsToldOnce) {
  qorvane::LogCapture logged;
  setenv("XDG_DOCUMENTS_DIR", (home.path().string() + "/\xe9t\xe9").c_str(), 1);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(PathUtils::userDocumentsPath().isNil());
  EXPECT_TRUE(PathUtils::hasNoWordsForDocuments());
  EXPECT_EQ(logged.lines().size(), 1u);
  setenv("XDG_DOCUMENTS_DIR", "/documents", 1);
  EXPECT_FALSE(PathUtils::hasNoWordsForDocuments());
}

TEST_F(PathUtilsTest, AFolderInPlaceOfTheFileIsNoMatter) {
  std::filesystem::create_directories(home.path() / ".config" / "user-dirs.dirs");
  EXPECT_EQ(PathUtils::userDocumentsPath(), below("Documents"));
}

TEST_F(PathUtilsTest, ApplicationSupportIsBelowTheDataFolder) {
  EXPECT_EQ(applicationSupportDirectory(), below(".local/share/Qorvane"));
  setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(applicationSupportDirectory(), Text("/data/Qorvane"));
  unsetenv("HOME");
  EXPECT_EQ(applicationSupportDirectory(), Text("/data/Qorvane"));
  setenv("XDG_DATA_HOME", "data", 1);
  EXPECT_TRUE(applicationSupportDirectory().isNil());
}

}  // namespace
}  // namespace qorvane
