// Random office life against a model of the rule: what counts is what somebody chose, what a farther layer
// says otherwise, and a lock before either. The model remembers choices, not files.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "qorvane/store/OptionEdits.h"
#include "qorvane/store/OptionTable.h"
#include "tests/store/LayeredDesk.h"

namespace qorvane {
namespace {

using testing_support::Desk;
using testing_support::Program;

struct Option {
  const char* name;
  const char* byDefault;
  /// Another than the default.
  std::array<const char*, 3> values;
};
// Getters that store their default, also over the empty text, and one that does not.
constexpr Option kOptions[] = {
    {"preparerPostAssessmentReview", "2", {"3", "9", "5"}},
    {"preparerFirmName", "", {"Alma", "Percé", "Gaspé"}},
    {"preparerCity", "", {"Alma", "Percé", "Gaspé"}},
    {"disc_FirmName", "", {"Alma", "Percé", "Gaspé"}},
};
constexpr std::size_t kCount = std::size(kOptions);

struct LayerModel {
  std::optional<std::string> year, every;
  bool locks = false;
  bool has() const { return year || every; }
};

struct OptionModel {
  std::optional<std::string> choice;
  /// Noted: whatever it becomes, it stays a choice until it is reset.
  bool noted = false;
  /// The nearest first: the machine's, the firm's.
  std::array<LayerModel, 2> layers;

  int lock() const {
    bool held = false;
    for (int at = 1, found = -1;; --at) {
      held = held || layers[static_cast<std::size_t>(at)].has();
      if (held && layers[static_cast<std::size_t>(at)].locks) found = at;
      if (found >= 0 || at == 0) return found;
    }
  }
  bool fartherHas() const { return layers[0].has() || layers[1].has(); }
  std::string reads(const Option& option) const {
    if (lock() < 0 && choice) return *choice;
    for (std::size_t at = static_cast<std::size_t>(std::max(lock(), 0)); at < 2; ++at) {
      if (layers[at].year) return *layers[at].year;
      if (layers[at].every) return *layers[at].every;
    }
    return option.byDefault;
  }
};

class LayersModelTest : public testing::TestWithParam<unsigned> {
 protected:
  std::size_t any(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }
  std::string anyValue(std::size_t option) {
    return any(4) == 0 ? kOptions[option].byDefault : kOptions[option].values[any(3)];
  }
  static const OptionRow& row(std::size_t option) { return *findProperty(kOptions[option].name); }
  static std::string reading(Program& program, std::size_t option) {
    return row(option).read(program.options()).textValue().string();
  }

  void writeLayer(std::size_t at) {
    for (const bool every : {false, true}) {
      Dictionary entries;
      Array locked;
      for (std::size_t i = 0; i < kCount; ++i) {
        const LayerModel& layer = options_[i].layers[at];
        if (const auto& value = every ? layer.every : layer.year)
          entries.set(row(i).personalKey, Text(*value));
        if (every && layer.locks) locked.push_back(row(i).personalKey);
      }
      desk_.setLayer(std::string(at == 0 ? "machine" : "firm") + (every ? "_every" : "_year"), entries,
                     locked);
    }
  }

  void changeLayer() {
    const std::size_t at = any(2), option = any(kCount);
    LayerModel& layer = options_[option].layers[at];
    // A farther empty text would count as missing where a getter says so, which is another rule's test.
    std::optional<std::string> value;
    if (any(3) != 0) value = kOptions[option].values[any(3)];
    (any(2) == 0 ? layer.year : layer.every) = value;
    if (any(3) == 0) layer.locks = !layer.locks;
    writeLayer(at);
  }

  // As somebody at the desk does: sets, and saves.
  void set(Program& program) {
    const std::size_t option = any(kCount);
    const std::string value = anyValue(option);
    const bool changes = reading(program, option) != value;
    const bool locked = program.options().origin(kOptions[option].name).lock.has_value();
    row(option).write(program.options(), Text(value));
    if (changes && locked) {
      EXPECT_NE(reading(program, option), value);
    }
    program.options().saveOptions();
    OptionModel& model = options_[option];
    if (!changes || locked) return;
    if (model.lock() >= 0) {
      ASSERT_TRUE(program.options().saveFailure());
      EXPECT_EQ(program.options().saveFailure()->arguments[0], Text(kOptions[option].name));
      return;
    }
    choose(option, value);
  }
  void choose(std::size_t option, const std::string& value) {
    OptionModel& model = options_[option];
    const bool tells = value != kOptions[option].byDefault;
    model.noted = model.noted || (!tells && model.fartherHas());
    model.choice = tells || model.noted ? std::optional(value) : std::nullopt;
  }

  // As the tool does.
  void edit() {
    const std::size_t option = any(kCount);
    OptionModel& model = options_[option];
    Program tool(desk_);
    OptionEdits edits(tool.options());
    edits.setPinning(true);
    const bool reset = any(3) == 0;
    const std::string value = anyValue(option);
    if (reset)
      edits.reset(kOptions[option].name);
    else
      edits.set(kOptions[option].name, Text(value));
    const bool locked = model.lock() >= 0;
    EXPECT_EQ(edits.apply(), !locked);
    if (locked) {
      EXPECT_EQ(edits.failure()->code, FailureCode::optionLocked);
    } else if (reset) {
      model.choice.reset();
      model.noted = false;
    } else {
      choose(option, value);
    }
  }

  void expectModel(Program& program, const std::string& who) {
    for (std::size_t i = 0; i < kCount; ++i) {
      EXPECT_EQ(reading(program, i), options_[i].reads(kOptions[i])) << who << ": " << kOptions[i].name;
      EXPECT_EQ(program.options().origin(kOptions[i].name).lock.has_value(), options_[i].lock() >= 0)
          << who << ": " << kOptions[i].name;
    }
  }

  Desk desk_;
  std::mt19937 random_{GetParam()};
  std::array<OptionModel, kCount> options_;
};

TEST_P(LayersModelTest, ChoicesCountAndLocksBeforeThem) {
  std::array<std::unique_ptr<Program>, 2> programs = {std::make_unique<Program>(desk_),
                                                      std::make_unique<Program>(desk_)};
  const int steps = std::getenv("OPTIONSMGR_LONG") ? 20'000 : 120;
  for (int step = 0; step < steps && !HasFailure(); ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    Program& program = *programs[any(2)];
    switch (any(6)) {
      case 0:
      case 1:
        changeLayer();
        break;
      case 2:
        edit();
        break;
      case 3:
        program.options().refresh();
        expectModel(program, "refreshed");
        break;
      case 4:
        programs[any(2)] = std::make_unique<Program>(desk_);
        break;
      default:
        // A program that sees what is: what one does that does not is the later save's, in SharingModelTest.
        program.options().refresh();
        if (any(2) == 0) changeLayer();
        set(program);
    }
    Program fresh(desk_);
    expectModel(fresh, "loaded");
  }

  // Without anything new, saves and refreshes come to rest.
  for (const auto& program : programs) program->options().saveOptions();
  const Settings rest = desk_.user();
  for (const auto& program : programs) program->forgetPosts();
  for (int round = 0; round < 3; ++round)
    for (const auto& program : programs) {
      program->options().saveOptions();
      program->options().refresh();
      expectModel(*program, "at rest");
    }
  EXPECT_TRUE(isIdentical(desk_.user().object, rest.object));
  EXPECT_EQ(desk_.user().chosen, rest.chosen);
  // One of them may have heard the other's last save.
  EXPECT_LE(programs[0]->posts(), 1);
  EXPECT_EQ(programs[1]->posts(), 0);

  // Without layers everybody has what was chosen, and else the default.
  for (OptionModel& option : options_) option.layers = {};
  writeLayer(0);
  writeLayer(1);
  Program alone(desk_);
  expectModel(alone, "without layers");
}

INSTANTIATE_TEST_SUITE_P(Seeds, LayersModelTest, testing::Range(1U, 7U));

}  // namespace
}  // namespace qorvane
