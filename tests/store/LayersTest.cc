// What several layers come to: the table of the rule, row by row, on real files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/store/OptionEdits.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tests/Table.h"
#include "tests/TestHome.h"
#include "tests/store/LayeredDesk.h"

namespace qorvane {
namespace {

using testing_support::Desk;
using testing_support::Program;
using testing_support::split;

// A cell of the table: a value, a lock, both or neither.
struct Cell {
  explicit Cell(const std::string& text)
      : locked(text.ends_with('!')), value(text.substr(0, text.find('!'))) {}
  bool has() const { return !value.empty() && value != "-"; }
  bool locked;
  std::string value;
};

class TableRow {
 public:
  TableRow(const testing_support::Row& names, const testing_support::Row& cells) {
    for (std::size_t column = 0; column < cells.size(); ++column) cells_[names[column]] = cells[column];
    row_ = findProperty(cells_["option"]);
    entry_ = row_->personalKey;
  }

  const std::string& operator[](const std::string& column) { return cells_.at(column); }
  const OptionRow& option() const { return *row_; }
  const Text& entry() const { return entry_; }

  // The entry that stands for a value of the table.
  Value stored(const std::string& words) const {
    if (words == "''") return Text("");
    if (words == "T") return optsStr_DefaultDisclaimerTxt;
    return Text(words);
  }
  // What the setter takes.
  Value taken(const std::string& words) const {
    if (row_->type == OptionType::Flag) return Number(words == "YES");
    if (row_->type == OptionType::Integer) return Number(std::stoi(words));
    return stored(words);
  }
  std::string words(const Value& value) const {
    if (row_->type == OptionType::Flag) return value.boolValue() ? "YES" : "NO";
    const std::string text = value.textValue().string();
    if (text == optsStr_DefaultDisclaimerTxt.string()) return "T";
    return text.empty() ? "''" : text;
  }

 private:
  std::map<std::string, std::string> cells_;
  const OptionRow* row_;
  Text entry_;
};

std::string placeOf(const OptionOrigin& origin) {
  switch (origin.layer) {
    case OptionOrigin::Layer::Default:
      return "default";
    case OptionOrigin::Layer::User:
      return "user";
    case OptionOrigin::Layer::Machine:
      return origin.everyYear ? "machine_every" : "machine_year";
    case OptionOrigin::Layer::Firm:
      return origin.everyYear ? "firm_every" : "firm_year";
  }
  return {};
}

class LayersTableTest : public testing::Test {
 protected:
  void layer(TableRow& row, const std::string& name, const std::string& text) {
    const Cell cell(text);
    Dictionary entries;
    if (cell.has()) entries.set(row.entry(), row.stored(cell.value));
    desk_->setLayer(name, std::move(entries), cell.locked ? Array{row.entry()} : Array{});
  }

  void prepare(TableRow& row) {
    desk_.emplace();
    if (const Cell user(row["user"]); user.has())
      desk_->setUser({{row.entry(), row.stored(user.value)}},
                     row["user_in_Chosen"] == "1" ? Array{row.entry()} : Array{});
    for (const char* name : {"machine_year", "machine_every", "firm_year", "firm_every"})
      if (row[name] != "-") layer(row, name, row[name]);
  }

  void expectReading(TableRow& row, Program& program, const std::string& reads, const std::string& from,
                     const std::string& locked) {
    EXPECT_EQ(row.words(row.option().read(program.options())), reads);
    const OptionOrigin origin = program.options().origin(row.option().name);
    EXPECT_EQ(placeOf(origin), from);
    EXPECT_EQ(origin.lock ? "yes" : "no", locked);
    if (origin.layer != OptionOrigin::Layer::Default) {
      EXPECT_TRUE(std::filesystem::exists(origin.file)) << origin.file;
    }
  }

  // The event, and what it came to in the words of the table.
  std::string happen(TableRow& row, Program& program) {
    const testing_support::Row words = split(row["event"], ' ');
    const std::string& event = words[0];
    Options& store = program.options();
    const auto set = [&](Options& options, const std::string& value) {
      row.option().write(options, row.taken(value));
    };
    if (event == "save") {
      store.saveOptions();
    } else if (event == "set") {
      const Value before = row.option().read(store);
      const Dictionary entries = *store.options();
      set(store, words[1]);
      const bool locked = store.origin(row.option().name).lock.has_value();
      const bool changed = !isIdentical(*store.options(), entries);
      if (locked) {
        EXPECT_FALSE(changed || store.isMarked());
      }
      store.saveOptions();
      EXPECT_EQ(store.saveFailure(), std::nullopt);
      return locked ? "no effect (locked; tool: exit 77)" : changed ? "done" : "no change";
    } else if (event == "pin" || event == "reset") {
      Program tool(*desk_);
      OptionEdits edits(tool.options());
      edits.setPinning(true);
      if (event == "pin")
        edits.set(row.option().name, row.taken(words[1]));
      else
        edits.reset(row.option().name);
      const bool applied = edits.apply();
      if (!applied) {
        EXPECT_EQ(edits.failure()->code, FailureCode::optionLocked);
        EXPECT_EQ(edits.failure()->arguments[0], Text(row.option().name));
      }
      store.refresh();
      if (!applied) return "refused by name (exit 77)";
    } else if (event == "foreign" || event == "conflict") {
      Program other(*desk_);
      set(other.options(), words[1]);
      other.options().saveOptions();
      if (event == "conflict") set(store, "9");
      store.saveOptions();
    } else if (event == "layer") {
      layer(row, words[1] + "_" + words[2], words[3]);
      store.refresh();
    } else if (event == "setlayer") {
      set(store, "9");
      layer(row, words[1] + "_" + words[2], words[3]);
      store.saveOptions();
      if (store.saveFailure()) {
        EXPECT_EQ(store.saveFailure()->code, FailureCode::optionLocked);
        EXPECT_EQ(store.saveFailure()->arguments[0], Text(row.option().name));
        return "refused at the save: locked meanwhile";
      }
    } else {
      ADD_FAILURE() << "no such event: " << event;
    }
    return "done";
  }

  std::optional<Desk> desk_;
};

TEST_F(LayersTableTest, EveryRowComesToWhatItSays) {
  const std::vector<testing_support::Row> table = testing_support::table("preferences/layers.tsv", 22);
  EXPECT_EQ(table.size(), 201u);
  for (auto line = table.begin() + 1; line != table.end(); ++line) {
    TableRow row(table.front(), *line);
    SCOPED_TRACE("row " + row["id"] + ": " + row["event"]);
    prepare(row);
    Program program(*desk_);
    expectReading(row, program, row["loaded_reads"], row["loaded_from"], row["loaded_locked"]);
    program.forgetPosts();

    EXPECT_EQ(happen(row, program), row["outcome"]);

    EXPECT_EQ(std::to_string(program.posts()), row["posts"]);
    const Settings user = desk_->user();
    const Value* const after =
        user.object.asDictionary() ? user.object.asDictionary()->find(row.entry()) : nullptr;
    const Cell wanted(row["user_after"]);
    EXPECT_EQ(after ? row.words(row.option().type == OptionType::Flag ? Number(after->textValue() == "YES")
                                                                      : *after)
                    : "-",
              row["user_after"]);
    const bool marked =
        user.chosen.asArray() &&
        std::ranges::find(*user.chosen.asArray(), Value(row.entry())) != user.chosen.asArray()->end();
    EXPECT_EQ(marked ? "1" : "0", row["user_in_Chosen_after"]);
    expectReading(row, program, row["reads_after"], row["from_after"], row["locked_after"]);
    Program next(*desk_);
    expectReading(row, next, row["reads_after"], row["from_after"], row["locked_after"]);
  }
}

}  // namespace
}  // namespace qorvane
