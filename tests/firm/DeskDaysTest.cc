// A desk's first day and its last, what its programs hear in between, and what tells an administrator how all
// is.
#include <poll.h>

#include <algorithm>
#include <string>

#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/preferences/PreferenceWatch.h"
#include "qorvane/store/Options.h"
#include "tests/firm/FirmProgram.h"

namespace {

namespace fs = std::filesystem;
using qorvane::Dictionary;
using qorvane::Text;
using testing_support::ToolResult;

class FirmDeskDaysTest : public testing_support::FirmProgram {
 protected:
  static constexpr const char* kKey = "QorvaneT1Settings2024";

  static void saveOwn(const Dictionary& entries) {
    qorvane::FileUserDefaults files;
    files.setObject(entries, kKey);
    ASSERT_TRUE(files.synchronize());
  }
  static std::string own(const char* key) {
    const qorvane::Value settings = qorvane::FileUserDefaults().objectForKey(kKey);
    const qorvane::Value* value = settings.asDictionary() ? settings.asDictionary()->find(key) : nullptr;
    return value ? value->textValue().string() : "-";
  }
};

TEST_F(FirmDeskDaysTest, OwnValuesThatEqualTheFirmsAreDroppedAndNothingReadsOtherwise) {
  done("postgres", {"set", "--place", "Firm", "preparerCity", "Laval", "preparerFirmName", "The firm"});
  done("one", {"sync"});
  saveOwn({{"PCity", Text("Laval")}, {"PreparerFirmName", Text("Mine")}, {"App.Mine", Text("x")}});
  const ToolResult result = done("one", {"--json", "adopt"});
  EXPECT_EQ(result.out, "{\"adopted\":1}\n");
  EXPECT_EQ(own("PCity"), "-");
  EXPECT_EQ(own("PreparerFirmName"), "Mine");
  EXPECT_EQ(own("App.Mine"), "x");
  qorvane::LayeredUserDefaults files;
  qorvane::Options options(files, {.taxYear = 2024});
  options.loadOptions();
  EXPECT_EQ(options.preparerCity().string(), "Laval");
  EXPECT_EQ(options.preparerFirmName().string(), "Mine");
  EXPECT_EQ(done("one", {"--json", "adopt"}).out, "{\"adopted\":0}\n");
}

TEST_F(FirmDeskDaysTest, ADeskThatLeavesReadsAsWithoutAFirm) {
  done("postgres", {"set", "--place", "Firm", "preparerCity", "Laval"});
  startAgent("one", "3600");
  await([&] { return fs::exists(states() / "current"); });
  EXPECT_EQ(as("one", {"leave"}).exit, 75) << "it was pulled from under its agent";
  await([&] { return owner_->ask("SELECT FROM optionsmgr.seen").size() == 1; });
  EXPECT_EQ(stopAgent(), 0);
  done("one", {"leave"});
  EXPECT_FALSE(fs::exists(states() / "current"));
  EXPECT_FALSE(fs::exists(states() / "states"));
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.seen").size(), 0U);
  qorvane::LayeredUserDefaults files;
  qorvane::Options options(files, {.taxYear = 2024});
  options.loadOptions();
  EXPECT_NE(options.preparerCity().string(), "Laval");
}

TEST_F(FirmDeskDaysTest, AChangeReachesAProgramThatWatchesAndSaysWhoMadeItWhere) {
  startAgent("one", "3600");
  await([&] { return fs::exists(states() / "current"); });
  qorvane::LayeredUserDefaults files;
  qorvane::Options options(files, {.taxYear = 2024});
  options.loadOptions();
  qorvane::PreferenceWatch watch(files);
  done("boss", {"set", "--place", "Laval", "preparerCity", "Laval"});
  std::vector<Text> heard;
  while (heard.empty()) {
    pollfd end{watch.descriptor(), POLLIN, 0};
    ASSERT_GT(poll(&end, 1, -1), 0);
    heard = watch.changedKeys();
  }
  EXPECT_NE(std::ranges::find(heard, Text(kKey)), heard.end());
  const auto changed = options.refresh();
  EXPECT_NE(std::ranges::find(changed, Text("preparerCity")), changed.end());
  EXPECT_EQ(options.preparerCity().string(), "Laval");
  const qorvane::OptionOrigin origin = options.origin("preparerCity");
  EXPECT_EQ(origin.layer, qorvane::OptionOrigin::Layer::Firm);
  ASSERT_TRUE(origin.record.asDictionary()) << "nothing says where it is from";
  EXPECT_EQ(origin.record.asDictionary()->find("Place")->textValue().string(), "Laval");
  EXPECT_EQ(origin.record.asDictionary()->find("Who")->textValue().string(), role("boss"));
  EXPECT_EQ(stopAgent(), 0);
}

TEST_F(FirmDeskDaysTest, WhatNobodyChoseAtADeskIsNotTakenIntoTheFirm) {
  saveOwn({});
  {
    qorvane::LayeredUserDefaults files;
    qorvane::Options options(files, {.taxYear = 2024});
    options.loadOptions();
    options.setPreparerCity("Laval");
    options.saveOptions();
  }
  const std::string file = (home_.path() / ".config/Qorvane" / (std::string(kKey) + ".plist")).string();
  ASSERT_TRUE(fs::exists(file));
  done("boss", {"import", "--place", "Laval", file});
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.settings s WHERE s.key = 'PCity' AND s.year = 2024").size(),
            1U);
  const std::size_t chosen = owner_->ask("SELECT FROM optionsmgr.settings").size();
  done("boss", {"import", "--place", "Laval", "--all", file});
  EXPECT_GT(owner_->ask("SELECT FROM optionsmgr.settings").size(), chosen)
      << "a load stored no default at all";
}

TEST_F(FirmDeskDaysTest, RoomAndStandbysAreTold) {
  const ToolResult result = done("postgres", {"--json", "status", "--all"});
  EXPECT_NE(result.out.find("\"allowed\": 197"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\"synchronousStandbys\": 0"), std::string::npos) << result.out;
  const ToolResult words = done("boss", {"status", "--all"});
  EXPECT_NE(words.out.find("connections left: "), std::string::npos) << words.out;
  EXPECT_NE(words.err.find("no synchronous standby"), std::string::npos) << words.err;
  // 200 connections, of which 3 are the superuser's, and more desks than that.
  EXPECT_EQ(done("postgres", {"init"}).err, "");
  owner_->ask(
      "INSERT INTO optionsmgr.grants (role, name, place, admin) SELECT 100000000 + n, 'r' || n, $1::bigint, "
      "false "
      "FROM generate_series(1, 190) AS n",
      {place("Firm/Alma/Desk")});
  EXPECT_NE(done("postgres", {"init"}).err.find("raise max_connections"), std::string::npos);
}

}  // namespace
