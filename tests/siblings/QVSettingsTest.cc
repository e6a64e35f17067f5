#include "qorvane/siblings/QVSettings.h"

#include <gtest/gtest.h>

#include <ctime>

namespace qorvane {
namespace {

int thisYear() {
  const std::time_t now = std::time(nullptr);
  std::tm today{};
  localtime_r(&now, &today);
  return today.tm_year + 1900;
}

TEST(QVSettingsTest, WithNothingSaidItIsTheProfessionalPersonalProductOfTheSeason) {
  const int before = thisYear();
  const int season = QVSettings::YOR();
  EXPECT_TRUE(season == before - 1 || season == thisYear() - 1) << season;
  EXPECT_FALSE(QVSettings::isT2());
  EXPECT_TRUE(QVSettings::isPROVER());
  EXPECT_FALSE(QVSettings::isT2_VER2());
  EXPECT_FALSE(QVSettings::isT2VER(""));
}

TEST(QVSettingsTest, ASourceOfItsOwnIsAskedEachTimeUntilItIsTakenAway) {
  class Counting : public QVSettings::Source {
   public:
    bool isT2() const override { return true; }
    int YOR() const override { return ++asked; }
    bool isPROVER() const override { return false; }
    bool isT2_VER2() const override { return true; }
    bool isT2VER(const Text& release) const override { return release == "VER2021_2"; }
    mutable int asked = 0;
  };
  const Counting source;
  QVSettings::setSource(&source);
  EXPECT_EQ(QVSettings::YOR(), 1);
  EXPECT_EQ(QVSettings::YOR(), 2);
  EXPECT_TRUE(QVSettings::isT2());
  EXPECT_FALSE(QVSettings::isPROVER());
  EXPECT_TRUE(QVSettings::isT2_VER2());
  EXPECT_TRUE(QVSettings::isT2VER("VER2021_2"));
  QVSettings::setSource(nullptr);
  EXPECT_FALSE(QVSettings::isT2());
  EXPECT_GE(QVSettings::YOR(), thisYear() - 2);
}

}  // namespace
}  // namespace qorvane
