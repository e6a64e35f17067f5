// What several layers come to: the table of the rule, row by row, on real files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/desktop/LogCapture.h"
#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/FileException.h"
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

// ---- beyond the table -----------------------------------------------------------------------------------

class LayeredOptionsTest : public testing::Test {
 protected:
  static Text entry(Program& program, std::string_view key) {
    const Value* const found = program.options().options()->find(key);
    return found ? found->textValue() : Text();
  }
  Text userEntry(std::string_view key) const {
    const Settings user = desk_.user();
    const Value* const found = user.object.asDictionary() ? user.object.asDictionary()->find(key) : nullptr;
    return found ? found->textValue() : Text();
  }

  Desk desk_;
};

TEST_F(LayeredOptionsTest, WhatGoesWithAProvinceComesFromItsLayer) {
  desk_.setUser({{"PProv", ""}, {"PProvCode", "ON"}, {"PProvandPCode", "Ontario K1A"}});
  desk_.setLayer("machine_year", {{"PProv", "Quebec"}, {"PProvCode", "QC"}});
  Program program(desk_);
  EXPECT_EQ(entry(program, "PProv"), Text("Quebec"));
  EXPECT_EQ(entry(program, "PProvCode"), Text("QC"));
  EXPECT_TRUE(entry(program, "PProvandPCode").isNil());
  EXPECT_EQ(userEntry("PProvCode"), Text("ON")) << "hidden, and kept";

  program.options().setPreparerProvince("Alberta");
  program.options().saveOptions();
  EXPECT_EQ(userEntry("PProv"), Text("Alberta"));
  EXPECT_EQ(userEntry("PProvCode"), Text("AB"));
  Program next(desk_);
  EXPECT_EQ(entry(next, "PProvCode"), Text("AB"));
}

TEST_F(LayeredOptionsTest, TheSizeIsTheUsersAsLongAsAFontIs) {
  desk_.setLayer("machine_year",
                 {{optsStr_HeaderFontName, "Courier"}, {optsStr_HeaderFontSize, "10.000000"}});
  Program program(desk_);
  program.options().setPrintFontForFooter(FontDescriptor("Times", 14));
  program.options().saveOptions();
  Program next(desk_);
  EXPECT_EQ(entry(next, optsStr_HeaderFontSize), Text("14.000000"));
  EXPECT_EQ(entry(next, optsStr_HeaderFontName), Text("Courier"));

  OptionEdits edits(next.options());
  edits.reset("printFontForFooter");
  ASSERT_TRUE(edits.apply());
  EXPECT_TRUE(userEntry(optsStr_HeaderFontSize).isNil());
  EXPECT_EQ(entry(next, optsStr_HeaderFontSize), Text("10.000000"));
}

TEST_F(LayeredOptionsTest, EveryLockedSetterIsWithoutEffect) {
  const Product personal = Program::personal();
  for (const bool corporate : {false, true}) {
    const Text key = corporate ? Text("QorvaneT2Settings2020") : Desk::kKey;
    Product product = personal;
    product.corporate = corporate;
    Dictionary all;
    {
      MemoryUserDefaults nowhere;
      Options options(nowhere, product);
      options.loadOptions();
      all = *options.options();
      for (const OptionRow& row : optionTable())
        for (const Text& entryKey : row.entries(product))
          if (!all.find(entryKey.view())) all.set(entryKey, "farther");
    }
    testing_support::writeFile(
        desk_.machine() / (key.string() + ".plist"),
        writePropertyList(Dictionary{{key, all}, {"Locked", Array{"*"}}}, PropertyListFormat::Binary));
    Program program(desk_, product);
    Options& store = program.options();
    const Dictionary before = *store.options();
    for (const OptionRow& row : optionTable()) {
      if (!row.write) continue;
      SCOPED_TRACE(row.name);
      Value value = Text("another");
      if (row.type == OptionType::Flag) value = Number(!row.read(store).boolValue());
      if (row.type == OptionType::Integer || row.type == OptionType::Date) value = Number(77);
      if (row.type == OptionType::Font) value = Text("Times, 7");
      if (row.type == OptionType::Color)
        value = archiveColor(Color::colorWithCalibratedRed(0.1, 0.2, 0.3, 1));
      row.write(store, value);
      row.write(store, nullptr);
      EXPECT_TRUE(isIdentical(*store.options(), before));
      EXPECT_FALSE(store.isMarked());
      ASSERT_TRUE(store.origin(row.name).lock);
      EXPECT_EQ(store.origin(row.name).lock->layer, OptionOrigin::Layer::Machine);
      OptionEdits edits(store);
      edits.set(row.name, value);
      ASSERT_FALSE(edits.check().empty());
      EXPECT_FALSE(edits.check()[0].mayBeKept);
      edits.keepAnyway(row.name);
      EXPECT_FALSE(edits.apply());
      EXPECT_EQ(edits.failure()->code, FailureCode::optionLocked);
    }
    EXPECT_EQ(program.posts(), 0);
  }
}

TEST_F(LayeredOptionsTest, ALockedStepsModeIsNeitherStoredNorAnnounced) {
  testing_support::writeFile(
      desk_.machine() / "QorvaneT2Settings.plist",
      writePropertyList(Dictionary{{"QorvaneT2Settings", Dictionary{{"IsStepModeS", Number(false)}}},
                                   {"Locked", Array{"IsStepModeS"}}},
                        PropertyListFormat::Xml));
  Product product = Program::personal();
  product.corporate = true;
  Program program(desk_, product);
  int told = 0;
  const auto observer = NotificationCenter::defaultCenter().addObserver(
      kStepFormsModeChangeEvt, [&](const Notification&) { ++told; }, &program.options());
  program.options().setIsStepsMode(true);
  EXPECT_EQ(told, 0);
  EXPECT_FALSE(std::filesystem::exists(desk_.store() / "QorvaneT2Settings2020.plist"));
}

TEST_F(LayeredOptionsTest, AWindowsResetPutsTheFartherValueInItsPlace) {
  desk_.setUser({{"PCity", "Alma"}, {"PPhone", "418"}});
  desk_.setLayer("firm_every", {{"PCity", "Percé"}, {"PPhone", "418"}});
  Program program(desk_);
  OptionEdits edits(program.options());
  edits.reset("preparerCity");
  // It reads the same, and is the user's no longer.
  edits.reset("preparerPhone");
  EXPECT_EQ(edits.value("preparerCity").textValue(), Text("Percé"));
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(entry(program, "PCity"), Text("Percé"));
  EXPECT_TRUE(userEntry("PCity").isNil());
  EXPECT_TRUE(userEntry("PPhone").isNil());
  EXPECT_EQ(program.options().changedNames(), std::vector<Text>{"preparerCity"});
}

TEST_F(LayeredOptionsTest, AResetProvinceComesWithTheCodeOfItsLayerAlone) {
  desk_.setUser({{"PProv", "Alberta"}, {"PProvCode", "AB"}, {"PProvandPCode", "Alberta T5A"}});
  desk_.setLayer("machine_year", {{"PProv", "Quebec"}, {"PProvCode", "QC"}});
  desk_.setLayer("firm_every", {{"PProvandPCode", "Ontario K1A"}});
  Program program(desk_);
  OptionEdits edits(program.options());
  edits.reset("preparerProvince");
  ASSERT_TRUE(edits.apply());
  EXPECT_EQ(entry(program, "PProv"), Text("Quebec"));
  EXPECT_EQ(entry(program, "PProvCode"), Text("QC"));
  EXPECT_TRUE(entry(program, "PProvandPCode").isNil());
  for (const char* key : {"PProv", "PProvCode", "PProvandPCode"}) EXPECT_TRUE(userEntry(key).isNil()) << key;
}

TEST_F(LayeredOptionsTest, NoDefaultIsFilledInWhereAFartherLayerHasTheEntry) {
  desk_.setUser({{optsStr_DisclaimerTxt, ""}}, {optsStr_DisclaimerTxt});
  desk_.setLayer("machine_every", {{optsStr_DisclaimerTxt, "Ours"}, {optsStr_PreparerFirmName, ""}});
  Program program(desk_);
  // Both read their default over the empty text: what the user chose, and what the machine says.
  EXPECT_EQ(program.options().disclaimerTxt(), optsStr_DefaultDisclaimerTxt);
  EXPECT_EQ(program.options().preparerFirmName(), Text(""));
  program.options().saveOptions();
  EXPECT_EQ(userEntry(optsStr_DisclaimerTxt), Text(""));
  EXPECT_TRUE(userEntry(optsStr_PreparerFirmName).isNil());
  EXPECT_EQ(program.options().disclaimerTxt(), optsStr_DefaultDisclaimerTxt);
}

TEST_F(LayeredOptionsTest, AnEditThatIsLockedMeanwhileChangesNothing) {
  Program program(desk_);
  OptionEdits edits(program.options());
  edits.set("preparerCity", "Alma");
  edits.set("preparerPhone", "418");
  desk_.setLayer("machine_every", {{"PCity", "Percé"}}, {"PCity"});
  EXPECT_FALSE(edits.apply());
  EXPECT_EQ(edits.failure()->code, FailureCode::optionLocked);
  EXPECT_EQ(edits.failure()->arguments[0], Text("preparerCity"));
  EXPECT_TRUE(userEntry("PPhone").isNil());
}

TEST_F(LayeredOptionsTest, UnderAnotherYearWhatFartherLayersHandedOutIsLeftOut) {
  desk_.setUser({{"PCity", "Alma"}, {"PostAssessmentOption", "2"}}, {"PostAssessmentOption"});
  desk_.setLayer("machine_year",
                 {{optsStr_PreparerFirmEmail, "office@example.ca"}, {"PostAssessmentOption", "5"}});
  QVSettings::setProduct(Program::personal());
  LayeredUserDefaults files(desk_.store().string());
  const ScopedUserDefaults standard(&files);
  Options store;
  store.loadOptions();
  EXPECT_EQ(store.preparerEmail(), Text("office@example.ca"));
  Product next = Program::personal();
  next.taxYear = 2021;
  QVSettings::setProduct(next);
  store.saveOptions();
  const auto written = FileUserDefaults(desk_.store().string()).inspect("QorvaneT1Settings2021");
  QVSettings::setSource(nullptr);
  ASSERT_TRUE(written.object.asDictionary());
  EXPECT_EQ(written.object.asDictionary()->find(optsStr_PreparerFirmEmail), nullptr);
  EXPECT_EQ(written.object.asDictionary()->find("PCity")->textValue(), Text("Alma"));
  EXPECT_EQ(written.chosen, Value(Array{"PostAssessmentOption"})) << "a choice goes with its entry";
}

TEST_F(LayeredOptionsTest, AChangeThatWaitsIsJudgedByTheLayersOfItsSave) {
  const LogCapture log;
  Program program(desk_);
  program.options().setPreparerCity("Alma");
  program.options().setPreparerPhone("418");
  std::filesystem::create_directories(desk_.store());
  std::filesystem::permissions(desk_.store(), std::filesystem::perms(0777));
  program.options().saveOptions();
  ASSERT_TRUE(program.options().saveFailure());
  desk_.setLayer("firm_year", {{"PCity", "Percé"}}, {"PCity"});
  std::filesystem::permissions(desk_.store(), std::filesystem::perms(0700));
  EXPECT_TRUE(program.files().synchronize());
  EXPECT_TRUE(userEntry("PCity").isNil());
  EXPECT_EQ(userEntry("PPhone"), Text("418"));
  program.options().refresh();
  EXPECT_EQ(program.options().preparerCity(), Text("Percé"));
}

TEST_F(LayeredOptionsTest, WithoutFartherLayersFilesAreWhatTheyAlwaysWere) {
  Program layered(desk_);
  layered.options().setPreparerCity("Alma");
  layered.options().saveOptions();
  const std::string name = Desk::kKey.string() + ".plist";
  const std::string with = testing_support::readFile(desk_.store() / name);
  const Desk other;
  FileUserDefaults files(other.store().string());
  Options plain(files, Program::personal());
  plain.loadOptions();
  plain.setPreparerCity("Alma");
  plain.saveOptions();
  EXPECT_EQ(with, testing_support::readFile(other.store() / name));
}

// ---- layers that are not what they should be ------------------------------------------------------------

TEST_F(LayeredOptionsTest, FromHostileLayersOnlyWhatIsSoundCounts) {
  namespace fs = std::filesystem;
  const LogCapture log;
  std::string folders;
  const auto folder = [&](const std::string& name) {
    folders += (desk_.home().path() / name).string() + ":";
    const fs::path path = desk_.home().path() / name / "Qorvane";
    fs::create_directories(path);
    return path;
  };
  const std::string bytes =
      writePropertyList(Dictionary{{Desk::kKey, Dictionary{{"PCity", "Hostile"}}}, {"Locked", Array{"*"}}},
                        PropertyListFormat::Xml);
  const std::string file = Desk::kKey.string() + ".plist";
  testing_support::writeFile(folder("writable") / file, bytes);
  fs::permissions(desk_.home().path() / "writable/Qorvane" / file, fs::perms(0666));
  testing_support::writeFile(folder("open") / file, bytes);
  fs::permissions(desk_.home().path() / "open/Qorvane", fs::perms(0777));
  testing_support::writeFile(desk_.home().path() / "elsewhere.plist", bytes);
  fs::create_symlink(desk_.home().path() / "elsewhere.plist", folder("link") / file);
  testing_support::writeFile(folder("damaged") / file, bytes.substr(0, bytes.size() / 2));
  testing_support::writeFile(folder("huge") / file, bytes);
  fs::resize_file(desk_.home().path() / "huge/Qorvane" / file, std::uintmax_t{17} << 20);
  ASSERT_EQ(mkfifo((folder("pipe") / file).c_str(), 0644), 0);
  fs::create_directories(folder("folder") / file);
  folders += "relative::";
  testing_support::writeFile(
      folder("sound") / file,
      writePropertyList(Dictionary{{Desk::kKey, Dictionary{{"PPhone", "418"}}}}, PropertyListFormat::Xml));
  for (int i = 0; i < 1'000; ++i) folders += "/nowhere/" + std::to_string(i) + ":";
  setenv("XDG_CONFIG_DIRS", folders.c_str(), 1);
  desk_.setUser({{"PCity", "Alma"}});
  for (int load = 0; load < 3; ++load) {
    Program program(desk_);
    EXPECT_EQ(program.options().loadFailure(), std::nullopt);
    EXPECT_EQ(program.options().preparerCity(), Text("Alma"));
    EXPECT_EQ(program.options().preparerPhone(), Text("418"));
    EXPECT_FALSE(program.options().origin("preparerCity").lock);
    program.options().refresh();
  }
  EXPECT_EQ(log.lines().size(), 8u) << "one line each for what was left out, the thousand folders in one";
  EXPECT_EQ(testing_support::readFile(desk_.home().path() / "damaged/Qorvane" / file),
            bytes.substr(0, bytes.size() / 2));
  std::size_t beside = 0;
  for (const char* name : {"writable", "open", "link", "damaged", "huge", "pipe", "folder", "sound"})
    for (const auto& entry : fs::directory_iterator(desk_.home().path() / name / "Qorvane"))
      beside += static_cast<std::size_t>(entry.path().filename() != file);
  EXPECT_EQ(beside, 0u) << "nothing was written";
}

TEST_F(LayeredOptionsTest, ATurnedLinkOfTheFirmInAnOpenFolderIsNotFollowed) {
  const LogCapture log;
  desk_.setLayer("firm_year", {{"PCity", "Percé"}});
  std::filesystem::permissions(desk_.firm().parent_path(), std::filesystem::perms(0777));
  Program program(desk_);
  EXPECT_EQ(program.options().preparerCity(), Text(""));
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(LayeredOptionsTest, ALayerThatCannotBeReadJustNowFailsTheLoadAndTheSave) {
  const LogCapture log;
  desk_.setLayer("machine_year", {{"PCity", "Percé"}}, {"PCity"});
  FaultInjectingSystemCalls calls;
  bool failing = false;
  calls.setFault([&](const std::string& name, int) { return failing && name == "openat" ? EIO : 0; });
  LayeredUserDefaults files(desk_.store().string(), optionLayerRule(), calls);
  Options store(files, Program::personal());
  store.loadOptions();
  EXPECT_EQ(store.preparerCity(), Text("Percé"));
  store.setPreparerPhone("418");
  failing = true;
  store.saveOptions();
  ASSERT_TRUE(store.saveFailure());
  EXPECT_EQ(store.saveFailure()->systemError, EIO);
  EXPECT_TRUE(desk_.user().object.isNil());
  EXPECT_FALSE(store.reload());
  EXPECT_EQ(store.preparerCity(), Text("Percé")) << "the dictionary is the one from before";
  EXPECT_TRUE(store.refresh().empty());
  failing = false;
  Options fresh(files, Program::personal());
  failing = true;
  fresh.loadOptions();
  EXPECT_TRUE(fresh.loadFailure());
}

}  // namespace
}  // namespace qorvane
