#include "qorvane/profile/PreReleaseDia.h"

#include <gtest/gtest.h>

#include <climits>

#include "qorvane/manager/OptionsMgr.h"
#include "tests/TestHome.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

class PreReleaseDiaTest : public testing_support::StoreTest {
 protected:
  static std::string published(const std::string& notice) {
    return testing_support::readFile(std::string(TEST_DATA_DIR) + "/profile/notices/" + notice + ".txt");
  }
  static std::string shown(int notice) { return PreReleaseDia::getMessageToDisplay(notice).string(); }
};

TEST_F(PreReleaseDiaTest, ThePrintingNotice) {
  for (const int notice : {0, 1}) EXPECT_EQ(shown(notice), published("printing-english"));
  OptionsMgr::setLanguage("French");
  for (const int notice : {0, 1}) EXPECT_EQ(shown(notice), published("printing-french"));
}

TEST_F(PreReleaseDiaTest, TheNoticeOfTheAgenciesStart) {
  const int others[] = {2, 5, -1, INT_MAX, INT_MIN};
  for (const int notice : others) EXPECT_EQ(shown(notice), published("start-english"));
  OptionsMgr::setLanguage("French");
  for (const int notice : others) EXPECT_EQ(shown(notice), published("start-french"));
}

TEST_F(PreReleaseDiaTest, ThePlacesAreFilled) {
  EXPECT_TRUE(shown(0).ends_with(" prior to February 23, 2026."));
  EXPECT_NE(shown(5).find("tax returns on February 23, 2026, all"), std::string::npos);
  EXPECT_NE(shown(5).find("that day.\n\nAn update will be available prior to February 23, 2026 to"),
            std::string::npos);
  EXPECT_TRUE(shown(5).ends_with("QorvaneMac 2026 menu."));
  OptionsMgr::setLanguage("French");
  EXPECT_TRUE(shown(1).ends_with(" le 23 février, 2026."));
  EXPECT_NE(shown(5).find("de revenus le 23 février, 2026 et"), std::string::npos);
  EXPECT_NE(shown(5).find("ce jour-là.\n\nUne mise à jour sera disponible avant le 23 février, 2026 pour"),
            std::string::npos);
  EXPECT_TRUE(shown(5).ends_with("QorvaneMac 2026"));
}

TEST_F(PreReleaseDiaTest, TheLanguageIsAskedOnEachCall) {
  EXPECT_EQ(shown(0), published("printing-english"));
  OptionsMgr::setLanguage("english");
  EXPECT_EQ(shown(0), published("printing-french")) << "any language but exactly English";
  OptionsMgr::setLanguage("English");
  EXPECT_EQ(shown(0), published("printing-english"));
}

TEST_F(PreReleaseDiaTest, EachNoticeIsANewText) {
  EXPECT_FALSE(PreReleaseDia::getMessageToDisplay(0).isSameObject(PreReleaseDia::getMessageToDisplay(0)));
}

}  // namespace
}  // namespace qorvane
