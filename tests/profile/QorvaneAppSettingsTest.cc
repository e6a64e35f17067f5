#include "qorvane/profile/QorvaneAppSettings.h"

#include <gtest/gtest.h>

#include "qorvane/siblings/QVSettings.h"

namespace qorvane {
namespace {

void expectReleaseBuild() {
  EXPECT_FALSE(QorvaneAppSettings::isDEVVERBuild());
  EXPECT_FALSE(QorvaneAppSettings::isDEBUGBuild());
  EXPECT_FALSE(QorvaneAppSettings::isTestingBuild());
  EXPECT_TRUE(QorvaneAppSettings::isSENDApproved());
  EXPECT_TRUE(QorvaneAppSettings::enableOptimization());
  EXPECT_TRUE(QorvaneAppSettings::isEFileApproved());
  EXPECT_TRUE(QorvaneAppSettings::isNetFileApproved());
  EXPECT_TRUE(QorvaneAppSettings::isMRQApproved());
}

TEST(QorvaneAppSettingsTest, FollowsTheRunningProductAndNothingElse) {
  for (const bool corporate : {false, true})
    for (const bool professional : {false, true})
      for (const bool second : {false, true}) {
        QVSettings::setProduct({.corporate = corporate,
                                .professional = professional,
                                .taxYear = 2021,
                                .release = second ? Text("VER2021_2") : Text("VER2021_1")});
        EXPECT_EQ(QorvaneAppSettings::isT2(), corporate);
        EXPECT_EQ(QorvaneAppSettings::isPROVERBuild(), professional);
        EXPECT_EQ(QorvaneAppSettings::isT2VesrionTwo(), second);
        expectReleaseBuild();
      }
  QVSettings::setSource(nullptr);
}

// Fails when it is asked anything.
class Silent : public QVSettings::Source {
 public:
  bool isT2() const override { return asked(); }
  int YOR() const override { return asked(); }
  bool isPROVER() const override { return asked(); }
  bool isT2_VER2() const override { return asked(); }
  bool isT2VER(const Text&) const override { return asked(); }

 private:
  static bool asked() {
    ADD_FAILURE() << "asked";
    return false;
  }
};

TEST(QorvaneAppSettingsTest, TheFixedAnswersAskNobody) {
  const Silent silent;
  QVSettings::setSource(&silent);
  QorvaneAppSettings::initialize();
  expectReleaseBuild();
  QVSettings::setSource(nullptr);
}

}  // namespace
}  // namespace qorvane
