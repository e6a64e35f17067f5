// The files that a desk reads: which place's value counts, and how they are kept.
#include "firm/Desk.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "firm/TaggedJson.h"
#include "firm/Words.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"

namespace {

namespace fs = std::filesystem;
using namespace optionsmgr::firm;
using qorvane::Dictionary;
using qorvane::Number;
using qorvane::Text;
using qorvane::Value;

// A place's rows for one key: "2024:one" a value of the year, "0!" a lock alone for every year, "0!:one"
// both.
PlaceState placeWith(const std::string& name, const std::vector<std::string>& rows) {
  PlaceState place{name, name, name, {}};
  for (const std::string& row : rows) {
    Setting setting;
    setting.domain.year = std::stoi(row);
    setting.key = "City";
    setting.locked = row.find('!') != row.npos;
    if (const auto colon = row.find(':'); colon != row.npos)
      setting.value = '"' + row.substr(colon + 1) + '"';
    setting.number = "7";
    place.settings.push_back(setting);
  }
  return place;
}

// What the file says: the value, "!" where it is locked, and the place that it is from; "-" for nothing.
std::string told(const std::map<std::string, Value>& files, const std::string& domain) {
  const auto file = files.find(domain + ".plist");
  if (file == files.end()) return "no file";
  const Dictionary& top = *file->second.asDictionary();
  const Value* city = top.find(domain)->asDictionary()->find("City");
  if (!city) return "-";
  const Value* locked = top.find("Locked");
  const Dictionary& origin = *top.find("Origins")->asDictionary()->find("City")->asDictionary();
  return city->textValue().string() + (locked ? "!" : "") + " " + origin.find("Place")->textValue().string();
}

struct Case {
  const char* name;
  std::vector<std::string> desk;
  std::vector<std::string> office;
  std::vector<std::string> firm;
  const char* year;   // QorvaneT1Settings2024
  const char* every;  // QorvaneT1Settings
};

// clang-format off
const Case kCases[] = {
    {"nothing",                                  {},                  {},           {},                   "no file",       "no file"},
    {"the firm's alone",                         {},                  {},           {"0:f"},              "no file",       "f firm"},
    {"the nearest counts",                       {"0:d"},             {"0:o"},      {"0:f"},              "no file",       "d desk"},
    {"between them",                             {},                  {"0:o"},      {"0:f"},              "no file",       "o office"},
    {"places before years",                      {"0:d"},             {},           {"2024:f"},           "d desk",        "d desk"},
    {"within a place the year before every year",{},                  {"2024:o", "0:p"}, {"0:f"},         "o office",      "p office"},
    {"a year's file is complete",                {"2024:d"},          {},           {"0:f"},              "d desk",        "f firm"},
    {"a lock holds from its place",              {"0:d"},             {"0!:o"},     {"0:f"},              "no file",       "o! office"},
    {"the farthest lock decides",                {"0!:d"},            {"0!:o"},     {"0!:f"},             "no file",       "f! firm"},
    {"a lock without a value locks what is behind it", {"0:d"},       {"0!"},       {"0:f"},              "no file",       "f! firm"},
    {"a lock with nothing behind it holds nothing",    {"0:d"},       {},           {"0!"},               "no file",       "d desk"},
    {"nor does it hide a nearer lock",           {"0:d"},             {"0!:o"},     {"0!"},               "no file",       "o! office"},
    {"a year's lock is the year's",              {"0:d"},             {},           {"2024!", "0:f"},     "f! firm",       "d desk"},
    {"every year's lock is the year's too",      {"2024:d"},          {},           {"0!:f"},             "f! firm",       "f! firm"},
    {"a locked place's year goes before its every year", {"0:d"},     {},           {"0!:f", "2024:g"},   "g! firm",       "f! firm"},
};
// clang-format on

TEST(FirmDeskTest, PlacesThenYearsThenLocks) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.name);
    const auto files =
        filesOf({placeWith("desk", row.desk), placeWith("office", row.office), placeWith("firm", row.firm)});
    EXPECT_EQ(told(files, "QorvaneT1Settings2024"), row.year);
    EXPECT_EQ(told(files, "QorvaneT1Settings"), row.every);
  }
}

TEST(FirmDeskTest, AStarLocksEveryKeyThatThePlaceOrAFartherOneHas) {
  PlaceState firm = placeWith("firm", {"0:f"});
  Setting all;
  all.key = "*";
  all.locked = true;
  firm.settings.push_back(all);
  EXPECT_EQ(told(filesOf({placeWith("desk", {"0:d"}), firm}), "QorvaneT1Settings"), "f! firm");
}

TEST(FirmDeskTest, ProductsDoNotMix) {
  PlaceState place = placeWith("firm", {"0:f"});
  place.settings[0].domain.corporate = true;
  const auto files = filesOf({place});
  EXPECT_EQ(files.size(), 1U);
  EXPECT_EQ(told(files, "QorvaneT2Settings"), "f firm");
}

TEST(FirmDeskTest, AValueThatCannotBeReadIsPassedOver) {
  PlaceState place = placeWith("firm", {"0:f"});
  place.settings[0].value = "\"half";
  EXPECT_EQ(told(filesOf({place}), "QorvaneT1Settings"), "-");
}

TEST(FirmJsonTest, EveryKindComesBackWithKindAndBits) {
  const std::vector<Value> values = {Text("Qu\xc3\xa9"
                                          "bec \"1\""),
                                     Text(""),
                                     Number(std::int64_t{-5}),
                                     Number(std::uint64_t{18446744073709551615U}),
                                     Number(0.1),
                                     Number(1e300),
                                     qorvane::Data(std::string("\0\xff\x80z", 4)),
                                     qorvane::Data(std::string()),
                                     qorvane::Date{123.25},
                                     qorvane::Array{Text("a"), Number(std::int64_t{1})},
                                     Dictionary{{"$data", Text("x")}},
                                     Dictionary{{"a", Text("b")}, {"c", qorvane::Array{}}}};
  for (const Value& value : values) {
    const auto back = valueOf(jsonOf(value));
    ASSERT_TRUE(back) << jsonOf(value);
    EXPECT_TRUE(isIdentical(*back, value)) << jsonOf(value);
  }
  EXPECT_EQ(jsonOf(Number(true)), "1");
  for (const char* const bad : {"", "nonsense", "null", "{\"$data\":\"x\"}", "{\"$other\":1}", "[null]"})
    EXPECT_FALSE(valueOf(bad)) << bad;
}

TEST(FirmHistoryTest, ADeskFollowsOneHistoryForward) {
  const History followed{.system = 1, .timeline = 2, .restored = 5, .number = 10};
  EXPECT_EQ(standingOf(followed, std::nullopt), Standing::Same);
  EXPECT_EQ(standingOf({1, 2, 5, 10}, followed), Standing::Same);
  EXPECT_EQ(standingOf({1, 2, 5, 11}, followed), Standing::Same);
  EXPECT_EQ(standingOf({1, 2, 5, 9}, followed), Standing::Lagging);    // A standby behind.
  EXPECT_EQ(standingOf({1, 1, 5, 99}, followed), Standing::Older);     // The old primary, back.
  EXPECT_EQ(standingOf({1, 3, 5, 8}, followed), Standing::TakenOver);  // A standby promoted.
  EXPECT_EQ(standingOf({1, 2, 6, 3}, followed), Standing::TakenOver);  // Restored from a backup.
  EXPECT_EQ(standingOf({1, 2, 4, 99}, followed), Standing::Older);
  EXPECT_EQ(standingOf({7, 1, 0, 1}, followed), Standing::TakenOver);  // Another server.
}

class FirmStatesTest : public testing::Test {
 protected:
  std::string folder() const { return (home_.path() / "state").string(); }
  std::string target() const { return fs::read_symlink(folder() + "/current"); }
  static std::map<std::string, Value> files(const std::string& city) {
    return filesOf({placeWith("firm", {"0:" + city})});
  }
  std::string current() const {
    const Value top =
        qorvane::readPropertyList(testing_support::readFile(folder() + "/current/QorvaneT1Settings.plist"));
    return top.asDictionary()->find("QorvaneT1Settings")->asDictionary()->find("City")->textValue().string();
  }

 private:
  testing_support::TestHome home_;
};

TEST_F(FirmStatesTest, AStateIsAFolderOfItsOwnAndTheLinkMoves) {
  States states(folder());
  EXPECT_FALSE(states.followed());
  states.publish(files("one"), {1, 1, 0, 4});
  EXPECT_EQ(target(), "states/1");
  EXPECT_EQ(current(), "one");
  states.publish(files("two"), {1, 1, 0, 5});
  EXPECT_EQ(target(), "states/2");
  EXPECT_EQ(current(), "two");
  ASSERT_TRUE(states.followed());
  EXPECT_EQ(states.followed()->number, 5);
  // One that opened the state before goes on reading it whole.
  EXPECT_TRUE(fs::exists(folder() + "/states/1/QorvaneT1Settings.plist"));
}

TEST_F(FirmStatesTest, WhatIsThereAlreadyIsNotWrittenAgain) {
  States states(folder());
  states.publish(files("one"), {1, 1, 0, 4});
  states.publish(files("one"), {1, 1, 0, 5});
  EXPECT_EQ(target(), "states/1");
  // Another history is remembered even when it says the same.
  states.publish(files("one"), {1, 2, 0, 5});
  EXPECT_EQ(target(), "states/2");
  EXPECT_EQ(states.followed()->timeline, 2);
}

TEST_F(FirmStatesTest, OldStatesGo) {
  States states(folder());
  for (int i = 1; i <= 6; ++i) states.publish(files(std::to_string(i)), {1, 1, 0, i});
  std::size_t left = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder() + "/states")) ++left;
  EXPECT_EQ(left, 3U);
  EXPECT_EQ(current(), "6");
}

TEST_F(FirmStatesTest, AStateThatCannotBeWrittenLeavesTheOneBefore) {
  States states(folder());
  states.publish(files("one"), {1, 1, 0, 4});
  // In the way of the next link: a folder that no link can replace.
  fs::create_directory(folder() + "/current.new");
  testing_support::writeFile(folder() + "/current.new/x", "");
  EXPECT_THROW(states.publish(files("two"), {1, 1, 0, 5}), FirmFailure);
  EXPECT_EQ(current(), "one");
  EXPECT_FALSE(fs::exists(folder() + "/states/2"));
  fs::remove_all(folder() + "/current.new");
  states.publish(files("two"), {1, 1, 0, 5});
  EXPECT_EQ(current(), "two");
}

TEST_F(FirmStatesTest, AFolderHasOneAgent) {
  States states(folder());
  try {
    const States second(folder());
    FAIL() << "two agents keep one folder";
  } catch (const FirmFailure& failure) {
    EXPECT_EQ(failure.word(), Word::agentRuns);
  }
}

}  // namespace
