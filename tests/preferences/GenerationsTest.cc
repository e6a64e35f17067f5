// Generations: what each save keeps of the file before, how many, and under which names.
#include "qorvane/preferences/Generations.h"

#include <unistd.h>

#include <cerrno>
#include <set>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/Seal.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/preferences/FileStoreTest.h"

namespace qorvane {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr year_month_day kToday = 2026y / 3 / 1;

Value numbered(int number) { return Dictionary{{"Save", Number(number)}}; }

// ---- names ------------------------------------------------------------------------------------------------

TEST(GenerationNameTest, IsReadAsItIsWritten) {
  const GenerationName name{17, 2026y / 2 / 9};
  EXPECT_EQ(name.fileName("QorvaneT1Settings2020"), ".QorvaneT1Settings2020.17.20260209.plist");
  for (const char* key : {"QorvaneT1Settings2020", "a", "a.5", "été"}) {
    const auto read = GenerationName::read(name.fileName(key), key);
    ASSERT_TRUE(read) << key;
    EXPECT_EQ(read->number, 17u);
    EXPECT_EQ(read->day, name.day);
  }
}

TEST(GenerationNameTest, NothingElseIsOne) {
  for (const char* name :
       {"", ".", "a.plist", ".a.plist", ".a.1.plist", ".a.1.20260209", ".a.1.2026029.plist",
        ".a.-1.20260209.plist", ".a.1.20261301.plist", ".a.1.20260230.plist", ".a.1.20260209.plist.new",
        ".b.1.20260209.plist", ".a.5.1.20260209.plist", ".a.18446744073709551616.20260209.plist",
        ".a..20260209.plist"})
    EXPECT_FALSE(GenerationName::read(name, "a")) << name;
}

TEST(GenerationNameTest, StagingNamesAreOurs) {
  const std::string name = stagingName("a");
  EXPECT_TRUE(isStagingName(name, "a")) << name;
  EXPECT_NE(stagingName("a"), name);
  EXPECT_FALSE(isStagingName(name, "b"));
  EXPECT_TRUE(isStagingName("a.plist.new", "a")) << "of an earlier version";
  EXPECT_TRUE(isStagingName("a.plist.bak.new", "a"));
  for (const char* other :
       {"a.new", "clients.new", ".a.new", ".a.0123456789abcdeg.new", ".a.0123.new", "a.plist"})
    EXPECT_FALSE(isStagingName(other, "a")) << other;
}

// ---- which are kept ---------------------------------------------------------------------------------------

// The numbers that stay of so many, the newest first, each of the day that `dayOf` says.
std::vector<std::uint64_t> staying(std::size_t count, const std::function<sys_days(std::uint64_t)>& dayOf,
                                   std::uint64_t size = 100) {
  std::vector<KeptGeneration> all;
  for (std::uint64_t number = count; number > 0; --number) all.push_back({{number, dayOf(number)}, size});
  std::set<std::uint64_t> dropped;
  for (const GenerationName& name : superfluous(all, kToday)) dropped.insert(name.number);
  std::vector<std::uint64_t> found;
  for (const KeptGeneration& one : all)
    if (!dropped.contains(one.name.number)) found.push_back(one.name.number);
  return found;
}

TEST(ThinningTest, TheLastFiftyOfADayStay) {
  const auto found = staying(66, [](std::uint64_t) { return sys_days(kToday); });
  ASSERT_EQ(found.size(), 50u);
  EXPECT_EQ(found.back(), 17u);
}

TEST(ThinningTest, OfOtherDaysTheLastOneStaysForNinetyDays) {
  // Two a day, back from today: the last fifty are of 25 days.
  const auto found = staying(
      400, [](std::uint64_t number) { return sys_days(kToday) - std::chrono::days((400 - number) / 2); });
  ASSERT_EQ(found.size(), 50u + 66);
  EXPECT_EQ(found[49], 351u);
  EXPECT_EQ(found[50], 350u) << "25 days ago";
  EXPECT_EQ(found[51], 348u);
  EXPECT_EQ(found.back(), 220u) << "90 days ago";
}

TEST(ThinningTest, ADayOfTheLastFiftyHasNoOtherLast) {
  // The fifty-first is of the same day as the fiftieth.
  const auto found = staying(
      60, [](std::uint64_t number) { return sys_days(kToday) - std::chrono::days(number <= 15 ? 1 : 0); });
  EXPECT_EQ(found.size(), 50u);
}

TEST(ThinningTest, SixteenMebibytesAreTheMostButTheNewestAlwaysStays) {
  const auto today = [](std::uint64_t) { return sys_days(kToday); };
  EXPECT_EQ(staying(40, today, 1 << 20).size(), 16u);
  EXPECT_EQ(staying(3, today, 17 << 20), std::vector<std::uint64_t>{3});
}

TEST(ThinningTest, DaysOfAClockThatIsAheadAreDaysLikeOthers) {
  const auto found = staying(120, [](std::uint64_t number) {
    return sys_days(kToday) + std::chrono::days(1000) * int(number > 100);
  });
  EXPECT_EQ(found.size(), 50u);
}

// ---- as they are kept
// ---------------------------------------------------------------------------------------

using GenerationsTest = FileStoreTest;

TEST_F(GenerationsTest, EachSaveKeepsTheFileItReplaces) {
  for (int i = 1; i <= 5; ++i) save(numbered(i));
  const auto all = generations();
  ASSERT_EQ(all.size(), 4u);
  FileUserDefaults store;
  for (int i = 0; i < 4; ++i) {
    const auto& one = all[static_cast<std::size_t>(i)];
    EXPECT_EQ(one.number, static_cast<std::uint64_t>(5 - i));
    EXPECT_TRUE(isIdentical(store.objectOfGeneration(kKey, one.number), numbered(4 - i)));
    EXPECT_EQ(store.inspectGeneration(kKey, one.number).state, State::Good);
    EXPECT_TRUE(isIdentical(store.inspectGeneration(kKey, one.number).object,
                            store.objectOfGeneration(kKey, one.number)));
    EXPECT_EQ(modeOf(one.path), 0600u);
    EXPECT_EQ(one.size, fs::file_size(one.path));
    EXPECT_GT(one.written, 1'700'000'000);
  }
  EXPECT_THROW(store.objectOfGeneration(kKey, 1), FileException);
  EXPECT_EQ(store.inspectGeneration(kKey, 1).state, State::Missing);
  writeFile(all[0].path, "junk");
  EXPECT_THROW(store.objectOfGeneration(kKey, 5), Exception);
  EXPECT_EQ(store.newestGoodGeneration(kKey)->number, 4u);
}

TEST_F(GenerationsTest, TheDayIsTheDesksNotGreenwichs) {
  for (const auto& [zone, day] :
       {std::pair("America/Vancouver", "20330517"), std::pair("Asia/Tokyo", "20330518")}) {
    setenv("TZ", zone, 1);
    tzset();
    fs::remove_all(home.store());
    save(kOld);
    FaultInjectingSystemCalls calls;
    calls.setTime(2'000'000'000);  // 2033-05-18 03:33:20 UTC
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(kNew, kKey);
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(newest().filename(), ".QorvaneT1Settings2020.2." + std::string(day) + ".plist");
  }
  unsetenv("TZ");
  tzset();
}

TEST_F(GenerationsTest, ADayOfSavesKeepsFiftyToSixtySix) {
  CallsWithoutSync calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  for (int i = 1; i <= 80; ++i) {
    store.setObject(numbered(i), kKey);
    ASSERT_TRUE(store.synchronize());
    const std::size_t count = generations().size();
    EXPECT_LE(count, 66u);
    EXPECT_GE(count, std::min<std::size_t>(static_cast<std::size_t>(i) - 1, 50));
  }
  // What thinning cannot remove is no failure of the save.
  FaultInjectingSystemCalls failing;
  failing.setFault([](const std::string& name, int) { return name == "unlink" ? EACCES : 0; });
  FileUserDefaults other(FileUserDefaults::defaultFolder(), failing);
  for (int i = 81; i <= 100; ++i) {
    other.setObject(numbered(i), kKey);
    EXPECT_TRUE(other.synchronize());
  }
  EXPECT_EQ(generations().size(), 70u);
}

TEST_F(GenerationsTest, TenDamagedOnesArePassedOverAndTheEleventhServes) {
  CallsWithoutSync calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  for (int i = 1; i <= 80; ++i) {
    store.setObject(numbered(i), kKey);
    ASSERT_TRUE(store.synchronize());
  }
  writeFile(file(), "junk");
  const auto all = generations();
  for (std::size_t i = 0; i < 10; ++i) writeFile(all[i].path, std::string(i, 'x'));
  logged.clear();
  // The newest generation holds what the last save but one wrote.
  EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), numbered(80 - 11)));
  ASSERT_EQ(logged.lines().size(), 1u);
  for (const std::string& path : {file().string(), all[10].path})
    EXPECT_NE(logged.lines()[0].view().find(path), std::string_view::npos) << logged.lines()[0];
}

// A rewrite by another program, or a removal, restarts what the seal counts.
TEST_F(GenerationsTest, NoNumberIsUsedTwice) {
  save(numbered(1));
  save(numbered(2));
  writeFile(file(), writePropertyList(Dictionary{{kKey, numbered(3)}}, PropertyListFormat::Xml));
  save(numbered(4));
  save(nullptr);
  save(numbered(5));
  save(numbered(6));
  std::vector<std::uint64_t> numbers;
  for (const auto& one : generations()) numbers.push_back(one.number);
  EXPECT_EQ(numbers, (std::vector<std::uint64_t>{6, 4, 3, 2}));
  EXPECT_EQ(checkSeal(readFile(file())).generation, 6u);
}

// Somebody puts an old generation back by hand, under a store that wrote those very bytes.
TEST_F(GenerationsTest, WhatWasPutBackByHandGetsANewNumber) {
  CallsWithoutSync calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(numbered(1), kKey);
  ASSERT_TRUE(store.synchronize());
  save(numbered(2));
  save(numbered(3));
  const auto all = generations();
  ASSERT_EQ(all.size(), 2u);
  usleep(50'000);  // The file system's clock goes in steps.
  fs::rename(all[1].path, file());
  store.setObject(numbered(4), kKey);
  ASSERT_TRUE(store.synchronize());
  EXPECT_EQ(generations()[0].number, 4u) << "after 3";
  EXPECT_EQ(generations()[1].number, 3u);
}

TEST_F(GenerationsTest, TheCopyOfAnEarlierVersionIsTakenIn) {
  save(numbered(1));
  save(numbered(2));
  fs::rename(newest(), file().string() + ".bak");
  writeFile(file().string() + ".new", "of a save that was killed");
  EXPECT_EQ(generations().size(), 1u) << "it is one already";
  EXPECT_EQ(generations()[0].number, 0u);
  EXPECT_TRUE(isIdentical(FileUserDefaults().objectOfGeneration(kKey, 0), numbered(1)));
  save(numbered(3));
  EXPECT_EQ(names(), std::vector<std::string>{file().filename()});
  const auto all = generations();
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].number, 4u);
  EXPECT_EQ(all[1].number, 3u);
  EXPECT_TRUE(isIdentical(FileUserDefaults().objectOfGeneration(kKey, 3), numbered(1)));
}

TEST_F(GenerationsTest, ForgettingKeepsTheNewestGoodOne) {
  for (int i = 1; i <= 5; ++i) save(numbered(i));
  writeFile(newest(), "junk");
  FileUserDefaults store;
  EXPECT_EQ(store.forgetGenerations(kKey), 3u);
  ASSERT_EQ(generations().size(), 1u);
  EXPECT_TRUE(isIdentical(store.objectOfGeneration(kKey, 4), numbered(3)));
  EXPECT_EQ(store.forgetGenerations(kKey), 0u);
}

TEST_F(GenerationsTest, DamagedOnesAreQuarantinedOnRequest) {
  for (int i = 1; i <= 3; ++i) save(numbered(i));
  writeFile(newest(), "junk");
  FileUserDefaults store;
  const auto quarantined = store.quarantineDamagedGenerations(kKey);
  ASSERT_EQ(quarantined.size(), 1u);
  EXPECT_EQ(readFile(quarantined[0]), "junk");
  EXPECT_EQ(generations().size(), 1u);
  EXPECT_TRUE(store.quarantineDamagedGenerations(kKey).empty());
}

TEST_F(GenerationsTest, AnotherKeysAreNoConcernOfOurs) {
  CallsWithoutSync calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  for (int i = 1; i <= 3; ++i)
    for (const Text& key : {kKey, Text("QorvaneT1Settings2020.1"), Text("QorvaneT1Settings202")}) {
      store.setObject(numbered(i), key);
      ASSERT_TRUE(store.synchronize());
    }
  EXPECT_EQ(store.generations(kKey).size(), 2u);
  EXPECT_EQ(store.generations("QorvaneT1Settings2020.1").size(), 2u);
}

// What a save of a store that has saved before asks of the system: no call that earns nothing.
TEST_F(GenerationsTest, ASaveMakesTwentyCalls) {
  FaultInjectingSystemCalls calls;
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  for (int i = 1; i <= 4; ++i) {
    store.setObject(numbered(i), kKey);
    calls.forgetCalls();
    ASSERT_TRUE(store.synchronize());
    std::string made;
    for (const std::string& name : calls.calls()) made += name + " ";
    if (i > 1) {
      EXPECT_EQ(calls.calls().size(), 20u) << made;
    }
  }
  EXPECT_EQ(store.generations(kKey).size(), 3u);
  // The first save looks through the folder, too.
  FileUserDefaults other(FileUserDefaults::defaultFolder(), calls);
  other.setObject(numbered(5), kKey);
  calls.forgetCalls();
  ASSERT_TRUE(other.synchronize());
  std::string made;
  for (const std::string& name : calls.calls()) made += name + " ";
  EXPECT_EQ(calls.calls().size(), 22u) << made;
}

}  // namespace
}  // namespace qorvane
