// What the window is opened with.
#include "window/Arguments.h"

#include "tests/window/WindowTest.h"

namespace {

using testing_support::WindowTest;
using namespace optionsmgr::window;

class ArgumentsTest : public WindowTest {
 protected:
  static Arguments read(const QStringList& words) {
    return readArguments(QStringList{"optionsmgr-window"} + words);
  }
};

TEST_F(ArgumentsTest, SayWhatIsOpened) {
  const Arguments arguments = read({"--product", "t2", "--year", "2021", "--store", "/x/../y", "--search",
                                    "ville", "--lang", "fr", "firmName"});
  EXPECT_EQ(arguments.answer, "");
  EXPECT_TRUE(arguments.start.corporate);
  EXPECT_EQ(arguments.start.year, 2021);
  EXPECT_EQ(arguments.start.folder, "/y");
  EXPECT_EQ(arguments.start.search, "ville");
  EXPECT_EQ(arguments.start.option, "preparerFirmName");
  EXPECT_TRUE(optionsmgr::speaksFrench());
}

TEST_F(ArgumentsTest, AreRefusedInTheLanguageAskedFor) {
  for (const QStringList& words : {QStringList{"--product", "T3"},
                                   {"--year", "soon"},
                                   {"--lang", "de"},
                                   {"--no"},
                                   {"noSuchOption"},
                                   {"preparerCity", "preparerFax"}}) {
    const Arguments arguments = read(words);
    EXPECT_TRUE(arguments.isWrong) << words.join(' ').toStdString();
    EXPECT_FALSE(arguments.answer.isEmpty());
  }
  EXPECT_EQ(read({"--lang", "fr", "--year", "x"}).answer, "« x » n’est pas une année d’imposition");
  EXPECT_FALSE(read({"--help"}).isWrong);
  EXPECT_TRUE(read({"--help"}).answer.startsWith("optionsmgr-window"));
}

TEST_F(ArgumentsTest, LeaveTheLanguageToTheDesktopAndThenToTheSettings) {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) unsetenv(variable);
  read({"--year", "2025"});
  EXPECT_FALSE(optionsmgr::speaksFrench());
  elsewhere([](qorvane::Options& there) { there.setLanguage("French"); });
  read({"--year", "2025"});
  EXPECT_TRUE(optionsmgr::speaksFrench());
  setenv("LANG", "en_CA.UTF-8", 1);
  read({"--year", "2025"});
  EXPECT_FALSE(optionsmgr::speaksFrench());
}

}  // namespace
