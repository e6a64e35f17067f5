// Programs that edit, read, save, fail, load and refresh in random order, against a model that follows the
// rules entry by entry: in memory, and through files that another writer rewrites in between.
#include <gtest/gtest.h>
#ifdef HAVE_LIBPLIST
#include <plist/plist.h>
#endif

#include <cerrno>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tests/TestHome.h"
#include "tests/store/SharedStore.h"

namespace qorvane {
namespace {

using testing_support::Disk;
using testing_support::SharedUserDefaults;
using Map = std::map<std::string, std::string>;
using Entry = std::optional<std::string>;

constexpr Text kDomain = "QorvaneT1Settings2020";

// Entries that differ in what reading makes of them.
struct Tracked {
  std::string key;
  /// The option, and what reads it; none for an entry that no option names.
  std::string option;
  void (*read)(Options&);
  std::string fallback;
  bool emptyIsMissing;
  bool inLoadList;
};
const std::vector<Tracked>& tracked() {
  static const std::vector<Tracked> all = {
      {"App.a", "", nullptr, "", false, false},
      {"EncryptXml", "encryptXml", [](Options& store) { store.encryptXml(); }, "NO", false, false},
      {"DisclaimerTxt", "disclaimerTxt", [](Options& store) { store.disclaimerTxt(); },
       optsStr_DefaultDisclaimerTxt.string(), true, false},
      {"LanguageOfCorrespondance", "languageOfCorrespondance",
       [](Options& store) { store.languageOfCorrespondance(); }, "English", false, true},
      {"PCity", "preparerCity", [](Options& store) { store.preparerCity(); }, "", false, true},
  };
  return all;
}

Entry at(const Map& map, const std::string& key) {
  const auto found = map.find(key);
  return found == map.end() ? Entry() : found->second;
}
void put(Map& map, const std::string& key, const Entry& value) {
  if (value)
    map[key] = *value;
  else
    map.erase(key);
}
bool isMissing(const Tracked& entry, const Entry& value) {
  return !value || (entry.emptyIsMissing && value->empty());
}
Entry reading(const Tracked& entry, const Entry& value) {
  if (entry.option.empty()) return value;
  const std::string read = isMissing(entry, value) ? entry.fallback : *value;
  // A flag is on for exactly one text.
  return entry.option == "encryptXml" && read != "YES" ? "NO" : read;
}

// ---- the model ----------------------------------------------------------------------------------------

struct Side {
  Map base, view;
  /// Defaults that were stored; true where that was over our own removal.
  std::map<std::string, std::pair<std::string, bool>> fills;

  std::map<std::string, Entry> changes() const {
    std::map<std::string, Entry> all;
    for (const Tracked& entry : tracked()) {
      const Entry mine = at(view, entry.key);
      const Entry before = at(base, entry.key);
      const auto fill = fills.find(entry.key);
      if (mine == before) continue;
      if (mine && fill != fills.end() && fill->second.first == *mine) {
        if (fill->second.second) all[entry.key] = std::nullopt;
      } else {
        all[entry.key] = mine;
      }
    }
    return all;
  }
  bool isFill(const std::string& key) const {
    const auto fill = fills.find(key);
    return fill != fills.end() && !fill->second.second && at(view, key) == fill->second.first;
  }
  Map over(const Map& theirs) const {
    Map result = theirs;
    for (const auto& [key, value] : changes()) put(result, key, value);
    for (const Tracked& entry : tracked())
      if (isFill(entry.key) && at(theirs, entry.key) == at(base, entry.key))
        put(result, entry.key, at(view, entry.key));
    return result;
  }
  Map saved(const Map& disk) const {
    if (disk == base) return view;
    Map result = over(disk);
    for (const Tracked& entry : tracked())
      if (entry.inLoadList && at(view, entry.key) && !at(result, entry.key))
        result[entry.key] = entry.fallback;
    return result;
  }
  void read(const Tracked& entry) {
    const Entry mine = at(view, entry.key);
    if (!isMissing(entry, mine)) return;
    const auto fill = fills.find(entry.key);
    if (fill != fills.end() && mine == fill->second.first) return;
    if (mine == at(base, entry.key))
      fills[entry.key] = {entry.fallback, false};
    else if (!mine)
      fills[entry.key] = {entry.fallback, true};
    else
      fills.erase(entry.key);
    view[entry.key] = entry.fallback;
  }
};

struct ModelProgram : Side {
  /// What waits, in order; the last one is this program's last save when `owns`.
  std::vector<Side> waiting;
  bool owns = false;

  Map withWaiting(Map disk) const {
    for (const Side& side : waiting) disk = side.saved(disk);
    return disk;
  }
  void load(const Map& disk) {
    base = disk;
    view = withWaiting(disk);
    fills.clear();
    owns = view != base;
    if (owns) waiting = {Side{base, view, {}}};
    for (const Tracked& entry : tracked())
      if (entry.inLoadList) read(entry);
  }
  void wait() {
    if (owns) waiting.pop_back();
    waiting.push_back(*this);
    owns = true;
  }
  void written(Map& disk, std::map<std::string, Entry>& acknowledged) {
    for (const Side& side : waiting) {
      for (const auto& [key, value] : side.changes()) acknowledged[key] = value;
      disk = side.saved(disk);
    }
    if (owns)
      for (const auto& [key, value] : waiting.back().changes()) {
        put(base, key, at(disk, key));
        if (const auto fill = fills.find(key); fill != fills.end())
          fill->second.second = at(base, key).has_value();
      }
    waiting.clear();
    owns = false;
  }
  /// The options that read differently.
  std::set<std::string> refresh(const Map& disk) {
    if (disk == base) return {};
    const Map before = view;
    view = over(disk);
    std::erase_if(fills, [&](const auto& fill) {
      return fill.second.second || at(base, fill.first) != at(disk, fill.first);
    });
    base = disk;
    std::set<std::string> names;
    for (const Tracked& entry : tracked()) {
      if (entry.inLoadList && at(before, entry.key) && !at(view, entry.key)) read(entry);
      if (!entry.option.empty() &&
          reading(entry, at(before, entry.key)) != reading(entry, at(view, entry.key)))
        names.insert(entry.option);
    }
    return names;
  }
};

// ---- the two side by side -----------------------------------------------------------------------------

// Where the programs meet.
class Place {
 public:
  virtual ~Place() = default;
  virtual Value standing() = 0;
  /// Another writer, which knows no locks and no seals, writes the entry in a form of its own; nil removes
  /// it.
  virtual void rewrite(const Text& key, const Value& value, bool binary) = 0;
};

// A program's own access to it.
class Access {
 public:
  virtual ~Access() = default;
  virtual UserDefaults& defaults() = 0;
  virtual void setFailing(bool failing) = 0;
};

class MemoryPlace : public Place {
 public:
  Disk disk;
  Value standing() override { return disk[kDomain.string()]; }
  void rewrite(const Text& key, const Value& value, bool) override {
    Dictionary entries = *standing().asDictionary();
    entries.set(key, value);
    disk[kDomain.string()] = entries;
  }
};
class MemoryAccess : public Access {
 public:
  explicit MemoryAccess(Disk& disk) : defaults_(disk) {}
  UserDefaults& defaults() override { return defaults_; }
  void setFailing(bool failing) override { defaults_.failing = failing; }

 private:
  SharedUserDefaults defaults_;
};

class FilePlace : public Place {
 public:
  Value standing() override { return FileUserDefaults().inspect(kDomain).object; }
  void rewrite(const Text& key, const Value& value, bool binary) override {
    const std::string path = FileUserDefaults().pathForKey(kDomain);
    // Beside it and then in its place, as a careful editor does.
    testing_support::writeFile(path + "~", rewritten(testing_support::readFile(path), key, value, binary));
    std::filesystem::rename(path + "~", path);
  }

 private:
#ifdef HAVE_LIBPLIST
  static std::string rewritten(const std::string& bytes, const Text& key, const Value& value, bool binary) {
    plist_t top = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &top);
    const plist_t entries = plist_dict_get_item(top, kDomain.string().c_str());
    if (value.isNil())
      plist_dict_remove_item(entries, key.string().c_str());
    else
      plist_dict_set_item(entries, key.string().c_str(),
                          plist_new_string(value.textValue().string().c_str()));
    char* made = nullptr;
    std::uint32_t size = 0;
    binary ? plist_to_bin(top, &made, &size) : plist_to_xml(top, &made, &size);
    std::string answer(made, size);
    std::free(made);
    plist_free(top);
    return answer;
  }
#else
  static std::string rewritten(const std::string& bytes, const Text& key, const Value& value, bool binary) {
    Dictionary top = *readPropertyList(bytes).asDictionary();
    Dictionary entries = *top.find(kDomain.view())->asDictionary();
    entries.set(key, value);
    top.set(kDomain, entries);
    return writePropertyList(top, binary ? PropertyListFormat::Binary : PropertyListFormat::Xml);
  }
#endif
};
class FileAccess : public Access {
 public:
  FileAccess() { calls_.setSyncing(false); }
  UserDefaults& defaults() override { return defaults_; }
  void setFailing(bool failing) override {
    calls_.forgetCalls();
    calls_.setFault(
        [failing](const std::string& name, int) { return failing && name == "tryLock" ? EIO : 0; });
  }

 private:
  FaultInjectingSystemCalls calls_;
  FileUserDefaults defaults_{FileUserDefaults::defaultFolder(), calls_};
};

struct Program {
  explicit Program(std::unique_ptr<Access> way)
      : access(std::move(way)), store(access->defaults(), {.taxYear = 2020}) {
    observer = NotificationCenter::defaultCenter().addObserver(
        kPreferenceChangeEvt, [this](const Notification&) { ++announced; }, &store);
  }

  std::unique_ptr<Access> access;
  Options store;
  Observer observer;
  int announced = 0;
  ModelProgram model;
};

Map entriesOf(const Dictionary* dictionary) {
  Map entries;
  for (const Tracked& entry : tracked())
    if (const Value* value = dictionary ? dictionary->find(entry.key) : nullptr)
      entries[entry.key] = value->textValue().string();
  return entries;
}

class World {
 public:
  World(unsigned seed, int programs, bool inFiles) : random_(seed) {
    if (inFiles) {
      home_.emplace();
      place_ = std::make_unique<FilePlace>();
    } else {
      place_ = std::make_unique<MemoryPlace>();
    }
    for (int i = 0; i < programs; ++i) programs_.push_back(std::make_unique<Program>(newAccess()));
    // All entries that a load fills stand on the disk from the start, so that the others stay out of it.
    programs_[0]->store.loadOptions();
    programs_[0]->store.saveOptions();
    modelDisk_ = entriesOf(place_->standing().asDictionary());
    for (const auto& program : programs_) load(*program);
  }

  void step() {
    Program& program = *programs_[below(programs_.size())];
    program.announced = 0;
    const Tracked& entry = tracked()[below(tracked().size())];
    switch (below(13)) {
      case 12:
        rewrite(entry);
        break;
      case 0:
      case 1:
      case 2:
      case 3: {
        static const std::string values[] = {"", "NO", "YES", "English", "French"};
        edit(program, entry, values[below(5)]);
        break;
      }
      case 4:
        edit(program, entry, std::nullopt);
        break;
      case 5:
      case 6:
        if (!entry.read) break;
        entry.read(program.store);
        program.model.read(entry);
        break;
      case 7:
      case 8:
        save(program);
        break;
      case 9:
        failToSave(program);
        break;
      case 10:
        below(4) == 0 ? load(program) : synchronize(program);
        break;
      default:
        refresh(program);
    }
    check(program);
  }

 private:
  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }

  static void edit(Program& program, const Tracked& entry, const Entry& value) {
    const Text key(entry.key);
    program.store.options()->set(key, value ? Value(Text(*value)) : Value());
    put(program.model.view, entry.key, value);
  }
  std::unique_ptr<Access> newAccess() {
    if (home_) return std::make_unique<FileAccess>();
    return std::make_unique<MemoryAccess>(static_cast<MemoryPlace&>(*place_).disk);
  }
  void rewrite(const Tracked& entry) {
    const bool removes = below(4) == 0;
    const Entry value = removes ? Entry() : Entry(below(2) == 0 ? "YES" : "French");
    place_->rewrite(Text(entry.key), value ? Value(Text(*value)) : Value(), below(2) == 0);
    put(modelDisk_, entry.key, value);
    acknowledged_[entry.key] = value;
  }
  void load(Program& program) {
    program.store.loadOptions();
    program.model.load(modelDisk_);
  }
  void save(Program& program) {
    ModelProgram& model = program.model;
    const Map before = model.view;
    model.wait();
    model.written(modelDisk_, acknowledged_);
    // The answer of its own save, which came last, is all that it knows.
    model.view = model.base = modelDisk_;
    model.fills.clear();
    bool readsOtherwise = false;
    for (const Tracked& entry : tracked())
      readsOtherwise |= !entry.option.empty() &&
                        reading(entry, at(before, entry.key)) != reading(entry, at(model.view, entry.key));
    program.store.saveOptions();
    EXPECT_EQ(program.announced, readsOtherwise ? 1 : 0);
  }
  void failToSave(Program& program) {
    program.access->setFailing(true);
    program.store.saveOptions();
    program.access->setFailing(false);
    EXPECT_EQ(program.announced, 0);
    program.model.wait();
  }
  void synchronize(Program& program) {
    EXPECT_TRUE(program.access->defaults().synchronize());
    program.model.written(modelDisk_, acknowledged_);
  }
  void refresh(Program& program) {
    std::set<std::string> names;
    for (const Text& name : program.store.refresh()) names.insert(name.string());
    EXPECT_EQ(names, program.model.refresh(modelDisk_));
    EXPECT_EQ(program.announced, names.empty() ? 0 : 1);
  }
  void check(const Program& program) {
    const Value standing = place_->standing();
    ASSERT_EQ(entriesOf(standing.asDictionary()), modelDisk_);
    ASSERT_EQ(entriesOf(const_cast<Options&>(program.store).options()), program.model.view);
    for (const Tracked& entry : tracked()) {
      const auto found = acknowledged_.find(entry.key);
      if (found == acknowledged_.end()) continue;
      ASSERT_EQ(reading(entry, at(modelDisk_, entry.key)), reading(entry, found->second))
          << entry.key << ": every acknowledged change is there, or a later one";
    }
  }

  std::mt19937 random_;
  std::optional<testing_support::TestHome> home_;
  std::unique_ptr<Place> place_;
  Map modelDisk_;
  std::map<std::string, Entry> acknowledged_;
  std::vector<std::unique_ptr<Program>> programs_;
};

void play(int steps, unsigned firstSeed, bool inFiles = false) {
  const LogCapture unheard;
  constexpr int kStepsInAWorld = 200;
  for (unsigned world = 0; world < static_cast<unsigned>(steps / kStepsInAWorld); ++world) {
    SCOPED_TRACE("world " + std::to_string(firstSeed + world));
    World random(firstSeed + world, 2 + static_cast<int>(world % 2), inFiles);
    for (int i = 0; i < kStepsInAWorld; ++i) {
      ASSERT_NO_FATAL_FAILURE(random.step()) << "step " << i;
      ASSERT_FALSE(testing::Test::HasFailure()) << "step " << i;
    }
  }
}

TEST(SharingModelTest, RandomProgramsDoWhatTheModelSays) { play(10'000, 0); }

TEST(SharingModelTest, ThroughFilesToo) { play(2'000, 2'000'000, true); }

TEST(SharingModelSlowTest, ThroughFilesToo) {
  play(std::getenv("OPTIONSMGR_LONG") ? 200'000 : 10'000, 3'000'000, true);
}

// With OPTIONSMGR_LONG set, a million steps.
TEST(SharingModelSlowTest, RandomProgramsDoWhatTheModelSays) {
  play(std::getenv("OPTIONSMGR_LONG") ? 1'000'000 : 50'000, 1'000'000);
}

}  // namespace
}  // namespace qorvane
