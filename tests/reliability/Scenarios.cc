#include "tests/reliability/Scenarios.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <memory>

#include "qorvane/preferences/Generations.h"

namespace testing_support {

namespace fs = std::filesystem;
using namespace qorvane;

namespace {

const Value kNone;
const Value kFirst = Dictionary{{"PCity", Text("Québec")}, {"Number", Number(1)}};
const Value kSecond = Dictionary{{"PCity", Text("Gaspé")}, {"Bytes", Data("x")}};
const Value kThird = Dictionary{{"PCity", Text("Alma")}};
const Dictionary kMine = {{"PCity", Text("Rimouski")}, {"Mine", Text("x")}};
const Value kFirstAndMine =
    Dictionary{{"PCity", Text("Rimouski")}, {"Number", Number(1)}, {"Mine", Text("x")}};
const Value kSecondAndMine =
    Dictionary{{"PCity", Text("Rimouski")}, {"Bytes", Data("x")}, {"Mine", Text("x")}};

// What the scenario makes stands still; how it got to the disk does not matter here.
class CallsWithoutSync : public SystemCalls {
  int fsync(int) override { return 0; }
};

bool saveWith(SystemCalls& calls, const Value& value) {
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.setObject(value, kKey);
  return store.synchronize();
}

// Puts entries over whatever stands there.
class SetEntries : public UserDefaults::Merge {
 public:
  explicit SetEntries(Dictionary entries) : entries_(std::move(entries)) {}
  Value merged(const Value& standing) override {
    Dictionary all = standing.asDictionary() ? *standing.asDictionary() : Dictionary();
    for (const auto& [key, value] : entries_) all.set(key, value);
    return all;
  }
  void written() override {}

 private:
  Dictionary entries_;
};

bool mergeWith(SystemCalls& calls, const Dictionary& entries) {
  FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
  store.update(entries, kKey, std::make_shared<SetEntries>(entries));
  return store.synchronize();
}

// The same bytes under so many further names.
void keepGenerations(const fs::path& folder, int count) {
  const auto newest = FileUserDefaults().generations(kKey).at(0);
  for (std::uint64_t number = kThinnedEvery * 4 - static_cast<std::uint64_t>(count);
       number < kThinnedEvery * 4; ++number)
    fs::create_hard_link(newest.path,
                         folder / GenerationName{number, deskDay(std::time(nullptr))}.fileName(kKey.view()));
}

FaultInjectingSystemCalls::Fault always(const std::string& call, int error) {
  return [call, error](const std::string& name, int) { return name == call ? error : 0; };
}

// The first read of the act, which is that of the file.
FaultInjectingSystemCalls::Fault firstReadFails() {
  return [read = false](const std::string& name, int) mutable {
    if (name != "read" || read) return 0;
    read = true;
    return EIO;
  };
}

// The second sync of a save is that of the folder; what is done about its failure is not synced again.
FaultInjectingSystemCalls::Fault folderSyncFails() {
  return
      [syncs = 0](const std::string& name, int) mutable { return name == "fsync" && ++syncs >= 2 ? EIO : 0; };
}

}  // namespace

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = {
      {.name = "FirstSave", .saves = kFirst, .allowed = {kNone, kFirst}, .finally = kFirst},
      {.name = "SecondSave",
       .before = {kFirst},
       .saves = kSecond,
       .allowed = {kFirst, kSecond},
       .finally = kSecond},
      {.name = "ThirdSave",
       .before = {kFirst, kSecond},
       .saves = kThird,
       .allowed = {kSecond, kThird},
       .finally = kThird},
      {.name = "Removal",
       .before = {kFirst, kSecond},
       .saves = kNone,
       .allowed = {kSecond, kNone},
       .finally = kNone},
      {.name = "SaveThroughALink",
       .before = {kFirst, kSecond},
       .linkTarget = "dotfiles/settings",
       .saves = kThird,
       .allowed = {kSecond, kThird},
       .finally = kThird},
      {.name = "SaveWithoutHardLinks",
       .before = {kFirst, kSecond},
       .saves = kThird,
       .fault = always("link", EPERM),
       .allowed = {kSecond, kThird},
       .finally = kThird},
      {.name = "SaveWithoutByteRangeLocks",
       .before = {kFirst, kSecond},
       .saves = kThird,
       .fault = always("tryLock", ENOLCK),
       .allowed = {kSecond, kThird},
       .finally = kThird},
      {.name = "SaveWhoseFolderCannotBeSynced",
       .before = {kFirst, kSecond},
       .saves = kThird,
       .fault = folderSyncFails(),
       .allowed = {kSecond, kThird},
       .finally = kSecond,
       .fails = true},
      {.name = "SaveOverDamage",
       .before = {kFirst, kSecond},
       .damage = "junk",
       .saves = kThird,
       .allowed = {kFirst, kThird},
       .finally = kThird},
      {.name = "SaveOverDamageWithoutHardLinks",
       .before = {kFirst, kSecond},
       .damage = "junk",
       .saves = kThird,
       .fault = always("link", EPERM),
       .allowed = {kFirst, kThird},
       .finally = kThird},
      {.name = "SaveOverWhatCannotBeRead",
       .before = {kFirst, kSecond},
       .saves = kThird,
       .fault = firstReadFails(),
       .allowed = {kSecond, kThird},
       .finally = kThird},
      {.name = "SaveThatThins",
       .before = {kFirst, kSecond},
       .generations = 51,
       .saves = kThird,
       .allowed = {kSecond, kThird},
       .finally = kThird},
      {.name = "MergedSave",
       .before = {kFirst, kSecond},
       .merges = kMine,
       .allowed = {kSecond, kSecondAndMine},
       .finally = kSecondAndMine},
      {.name = "MergedSaveWithoutAFile", .merges = kMine, .allowed = {kNone, Value(kMine)}, .finally = kMine},
      {.name = "MergedSaveThroughALink",
       .before = {kFirst, kSecond},
       .linkTarget = "dotfiles/settings",
       .merges = kMine,
       .allowed = {kSecond, kSecondAndMine},
       .finally = kSecondAndMine},
      {.name = "MergedSaveOverDamage",
       .before = {kFirst, kSecond},
       .damage = "junk",
       .merges = kMine,
       .allowed = {kFirst, kFirstAndMine},
       .finally = kFirstAndMine},
      {.name = "MergedSaveWhoseFolderCannotBeSynced",
       .before = {kFirst, kSecond},
       .merges = kMine,
       .fault = folderSyncFails(),
       .allowed = {kSecond, kSecondAndMine},
       .finally = kSecond,
       .fails = true},
      {.name = "LoadOfDamage",
       .before = {kFirst, kSecond},
       .damage = "junk",
       .allowed = {kFirst},
       .finally = kFirst},
      {.name = "LoadOfDamageThroughALink",
       .before = {kFirst, kSecond},
       .damage = "junk",
       .linkTarget = "dotfiles/settings",
       .allowed = {kFirst},
       .finally = kFirst},
      {.name = "LoadOfDamageWithoutACopy",
       .before = {kFirst},
       .damage = "junk",
       .allowed = {kNone},
       .finally = kNone},
  };
  return all;
}

void ScenarioTest::prepare() {
  for (const auto& entry : fs::directory_iterator(home.path())) fs::remove_all(entry);
  if (!GetParam().linkTarget.empty()) {
    const fs::path target = home.path() / GetParam().linkTarget;
    fs::create_directories(target.parent_path());
    fs::create_directories(home.store());
    fs::create_symlink(target, file());
  }
  CallsWithoutSync calls;
  for (const Value& value : GetParam().before) ASSERT_TRUE(saveWith(calls, value));
  if (GetParam().generations != 0) keepGenerations(home.store(), GetParam().generations);
  if (!GetParam().damage.empty()) writeFile(file(), GetParam().damage);
  logged.clear();
}

bool ScenarioTest::act(SystemCalls& calls) {
  const Scenario& scenario = GetParam();
  if (scenario.saves) return saveWith(calls, *scenario.saves) != scenario.fails;
  if (scenario.merges) return mergeWith(calls, *scenario.merges) != scenario.fails;
  return isIdentical(FileUserDefaults(FileUserDefaults::defaultFolder(), calls).objectForKey(kKey),
                     scenario.finally);
}

void ScenarioTest::judge(bool ended, const std::string& what) {
  const Scenario& scenario = GetParam();
  CallsWithoutSync calls;

  // Nothing was lost: what stood there stands somewhere still, and the copy is good.
  const auto isKept = [&](const std::string& bytes) {
    return std::ranges::any_of(fs::recursive_directory_iterator(home.path()), [&](const auto& entry) {
      return entry.is_regular_file() && !entry.is_symlink() && readFile(entry.path()) == bytes;
    });
  };
  if (!scenario.damage.empty()) {
    EXPECT_TRUE(isKept(scenario.damage)) << "the damaged bytes are gone, " << what;
  }
  if (scenario.before.size() > 1) {
    EXPECT_TRUE(FileUserDefaults().newestGoodGeneration(kKey)) << what;
  }

  // However far the thinning came.
  if (scenario.generations != 0) {
    EXPECT_GE(FileUserDefaults().generations(kKey).size(), 50u) << what;
  }

  logged.clear();
  const Value found = FileUserDefaults(FileUserDefaults::defaultFolder(), calls).objectForKey(kKey);
  if (ended) {
    EXPECT_TRUE(isIdentical(found, scenario.finally)) << what;
  } else {
    EXPECT_TRUE(std::ranges::any_of(scenario.allowed, [&](const Value& v) { return isIdentical(v, found); }))
        << what;
  }
  if (scenario.damage.empty()) {
    EXPECT_TRUE(logged.lines().empty()) << what << ": " << logged.lines()[0];
  } else {
    EXPECT_TRUE(isKept(scenario.damage)) << "loading lost the damaged bytes, " << what;
  }

  // Whatever was left there, the next save works and tidies up.
  EXPECT_TRUE(saveWith(calls, kThird)) << what;
  EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), kThird)) << what;
  for (const auto& entry : fs::recursive_directory_iterator(home.path())) {
    EXPECT_NE(entry.path().extension(), ".new") << what;
  }
  if (!scenario.linkTarget.empty()) {
    EXPECT_TRUE(fs::is_symlink(file())) << what;
  }
}

}  // namespace testing_support
