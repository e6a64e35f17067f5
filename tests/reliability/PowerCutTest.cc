// The power is cut at each moment of a save or a load, and the disk keeps as little as it may.
#include "tests/reliability/ModelDisk.h"
#include "tests/reliability/Scenarios.h"

namespace testing_support {
namespace {

class PowerCutTest : public ScenarioTest {};

TEST_P(PowerCutTest, AtAnyMoment) {
  prepare();
  ModelDisk disk(home.path());
  disk.setFault(GetParam().fault);
  ASSERT_TRUE(act(disk));
  // A save that failed promises neither: nobody knows what reached the disk.
  disk.atEachPowerCut([&](bool ended) {
    if (!HasFailure())
      judge(ended && !GetParam().fails, "combination " + std::to_string(disk.combinations()));
  });
  EXPECT_GE(disk.states(), 4);
  RecordProperty("combinations", disk.combinations());
  RecordProperty("states", disk.states());
}

INSTANTIATE_TEST_SUITE_P(During, PowerCutTest, testing::ValuesIn(scenarios()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace testing_support
