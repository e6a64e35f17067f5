// What a store may be doing when it is stopped: each scenario prepares a folder and acts on it, and says what
// may be found there afterwards.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "tests/TestHome.h"

namespace testing_support {

inline constexpr qorvane::Text kKey = "QorvaneT1Settings2020";

struct Scenario {
  std::string name;
  /// What the file and its copy held before: saves of these values, one after the other.
  std::vector<qorvane::Value> before = {};
  /// These bytes stand in the file's place then; none when empty.
  std::string damage = {};
  /// The file is a symbolic link to this path below the home; none when empty.
  std::string linkTarget = {};
  /// So many generations are kept already, besides those of `before`, up to the number before one that thins.
  int generations = 0;
  /// Sets this value and synchronizes; when none is said, and nothing is merged, loads.
  std::optional<qorvane::Value> saves = {};
  /// Puts these entries over what stands there, and synchronizes.
  std::optional<qorvane::Dictionary> merges = {};
  /// Before each call of the act: the errno that it fails with, 0 to let it through.
  qorvane::FaultInjectingSystemCalls::Fault fault = {};
  /// What a load may find when it was stopped half-way, and what it must find when it ran to its end.
  std::vector<qorvane::Value> allowed = {};
  qorvane::Value finally = {};
  /// The act ends with `synchronize` answering false.
  bool fails = false;

  friend void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }
};

const std::vector<Scenario>& scenarios();

/// A home in which a scenario is played.
class ScenarioTest : public testing::TestWithParam<Scenario> {
 protected:
  std::filesystem::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }

  void prepare();
  /// True when the act came to the end that its scenario foresees.
  static bool act(qorvane::SystemCalls& calls);
  /// Judges what was left behind: by an act that came to its end, or one that was stopped.
  void judge(bool ended, const std::string& what);

  TestHome home;
  qorvane::LogCapture logged;
};

}  // namespace testing_support
