// The store beside its floors (a bare hash table, a bare file read, a bare durable write) and beside other
// stores of settings, on the same entries.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "bench/Peers.h"
#include "bench/Ratios.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"

using namespace qorvane;
using ratios::keep;

namespace {

constexpr std::size_t kEntries = 150;

// The floor of a read: a hash table from text to shared text.
using Handle = std::shared_ptr<const std::string>;
using Bare = std::unordered_map<std::string, Handle>;

// A dictionary as an installed copy has it: the entries of a load, and more up to the number.
void fill(Dictionary& options, std::size_t entries) {
  for (std::size_t i = options.size(); i < entries; ++i)
    options.set(Text("SomeOption" + std::to_string(i)), Text("a value of usual length " + std::to_string(i)));
}

// A store, loaded and saved with so many entries, and a bare table of the same.
struct Scene {
  explicit Scene(std::size_t entries, int year = 2020) {
    QVSettings::setProduct({.taxYear = year});
    OptionsMgr::language();
    store.loadOptions();
    fill(*store.options(), entries);
    store.saveOptions();
    folder = FileUserDefaults::defaultFolder();
    file = folder + "/QorvaneT1Settings" + std::to_string(year) + ".plist";
    for (const auto& [key, value] : *store.options())
      bare[key.string()] = std::make_shared<const std::string>(value.textValue().string());
  }

  Options store;
  Bare bare;
  std::string folder;
  std::string file;
};

std::string readWhole(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  fstat(descriptor, &status);
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  if (read(descriptor, bytes.data(), bytes.size()) < 0) abort();
  close(descriptor);
  return bytes;
}

void writeDurably(const std::string& folder, const std::string& name, std::string_view bytes) {
  const std::string target = folder + "/" + name;
  const std::string staged = target + ".new";
  const int descriptor = open(staged.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (write(descriptor, bytes.data(), bytes.size()) < 0) abort();
  fsync(descriptor);
  close(descriptor);
  rename(staged.c_str(), target.c_str());
  const int directory = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  fsync(directory);
  close(directory);
}

// The floor of a load: as many lines of key and value, split and put in a table.
void writeLines(const Bare& bare, const std::string& path) {
  std::string lines;
  for (const auto& [key, value] : bare) {
    // A value of several lines takes one here.
    std::string line = key + "=" + *value;
    for (char& c : line) c = c == '\n' ? ' ' : c;
    lines += line + "\n";
  }
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (write(descriptor, lines.data(), lines.size()) < 0) abort();
  close(descriptor);
}

Bare readLines(const std::string& path) {
  const std::string bytes = readWhole(path);
  Bare loaded;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = bytes.find('\n', at);
    const std::size_t equals = bytes.find('=', at);
    loaded[bytes.substr(at, equals - at)] =
        std::make_shared<const std::string>(bytes.substr(equals + 1, end - equals - 1));
    at = end + 1;
  }
  return loaded;
}

template <class Step>
auto repeated(Step step) {
  return [step](std::size_t count) mutable {
    while (count-- > 0) step();
  };
}

peers::Entries entriesOf(const Bare& bare) {
  peers::Entries entries{{"Language", *bare.at("Language")}};
  for (const auto& [key, value] : bare)
    if (key != "Language") entries.emplace_back(key, *value);
  return entries;
}

void readAndSet(Scene& scene, const std::vector<peers::Store>& stores) {
  ratios::Table table("Reading and setting, 150 options in memory");
  const std::string text = "Language";
  const std::string flag = "ZSuppress";
  const std::string city = "PCity";
  table.time("hash look-up of the text", repeated([&] { keep(Handle(scene.bare.find(text)->second)); }));
  table.time("hash look-up of the flag", repeated([&] { keep(Handle(scene.bare.find(flag)->second)); }));
  table.time("reading a text, OptionsMgr", repeated([] { keep(OptionsMgr::language()); }));
  table.time("reading a flag, OptionsMgr", repeated([] { keep(OptionsMgr::zsupress()); }));

  // A new value comes with each set, as from a window; or one of two that are there already.
  const std::string cities[] = {"Gaspé, in Quebec", "Alma, in Quebec"};
  const Handle handles[] = {std::make_shared<const std::string>(cities[0]),
                            std::make_shared<const std::string>(cities[1])};
  const Text texts[] = {Text(cities[0]), Text(cities[1])};
  table.time("hash look-up and assignment of a new value", repeated([&, turn = false]() mutable {
               scene.bare.find(city)->second = std::make_shared<const std::string>(cities[turn = !turn]);
             }));
  table.time("setting a new text", repeated([&, turn = false]() mutable {
               scene.store.setPreparerCity(Text(cities[turn = !turn]));
             }));
  table.time("hash look-up and assignment", repeated([&, turn = false]() mutable {
               scene.bare.find(city)->second = handles[turn = !turn];
             }));
  table.time("setting a text made before",
             repeated([&, turn = false]() mutable { scene.store.setPreparerCity(texts[turn = !turn]); }));
  table.time("setting the same text", repeated([&] { scene.store.setPreparerCity(texts[0]); }));
  table.time("setting a changed flag",
             repeated([&, turn = false]() mutable { scene.store.setZsupress(turn = !turn); }));

  table.compare("reading a text, OptionsMgr", "hash look-up of the text", 0.7);
  table.compare("reading a flag, OptionsMgr", "hash look-up of the flag", 0.7);
  table.compare("setting a new text", "hash look-up and assignment of a new value", 1);
  table.compare("setting a text made before", "hash look-up and assignment");
  table.compare("setting the same text", "hash look-up and assignment", 1);
  table.compare("setting a changed flag", "hash look-up and assignment", 1);
  for (const peers::Store& peer : stores) {
    table.time("reading a text, " + peer.name, peer.read);
    table.compare("reading a text, OptionsMgr", "reading a text, " + peer.name, 0.1);
    // The keyfile store of GSettings writes its file at each change.
    if (peer.name == "GSettings") continue;
    table.time("setting a text, " + peer.name, peer.set);
    table.compare("setting a new text", "setting a text, " + peer.name, 1);
  }
  table.run();
}

void load(const Scene& scene, const std::vector<peers::Store>& stores) {
  ratios::Table table("Loading 150 options from the disk, integrity checked, defaults walked");
  const std::string lines = scene.folder + "/lines";
  writeLines(scene.bare, lines);
  table.time("reading the bytes only", repeated([&] { keep(readWhole(scene.file)); }));
  table.time("lines into a hash table", repeated([&] { keep(readLines(lines)); }));
  Options store;
  table.time("loading", repeated([&] { store.loadOptions(); }));
  table.compare("loading", "lines into a hash table", 1.5);
  table.compare("loading", "reading the bytes only");
  for (const peers::Store& peer : stores) {
    table.time("loading, " + peer.name, peer.load);
    table.compare("loading", "loading, " + peer.name, 1);
  }
  table.run();
}

void save(Scene& scene, const std::vector<peers::Store>& stores) {
  ratios::Table table("Saving 150 options, durably: with checksum, lock and last good copy",
                      ratios::Clock::Wall, 0.002, 101);
  const std::string bytes = readWhole(scene.file);
  table.time("write, sync, rename, sync",
             repeated([&] { writeDurably(scene.folder, "floor.plist", bytes); }));
  const Text texts[] = {Text(std::string("Gaspé, in Quebec")), Text(std::string("Alma, in Quebec"))};
  table.time("saving", repeated([&, turn = false]() mutable {
               scene.store.setPreparerCity(texts[turn = !turn]);
               scene.store.saveOptions();
             }));
  table.compare("saving", "write, sync, rename, sync", 1.3);
  for (const peers::Store& peer : stores) {
    if (!peer.save) continue;
    table.time("saving, " + peer.name, peer.save);
    // GKeyFile syncs file and folder as we do, without a lock or a copy: it is the aim. The others sync at
    // most the file.
    const bool careless = peer.name == "GSettings" || peer.name == "KConfig";
    table.compare("saving", "saving, " + peer.name, careless ? 0 : 1);
  }
  table.run();
}

// The processor's part of a load and a save, for each entry: with more entries it must not grow.
void growth() {
  QVSettings::setProduct({.taxYear = 2020});
  ratios::Table table("Growth: each beside the same with 150 entries, loads and saves for each entry",
                      ratios::Clock::Processor, 0.002, 7);
  std::vector<std::unique_ptr<Scene>> scenes;
  const auto add = [&](std::size_t entries, int year, const std::string& many) {
    Scene& scene = *scenes.emplace_back(std::make_unique<Scene>(entries, year));
    table.time("a read among " + many, repeated([&] { keep(scene.store.language()); }));
    table.time("loading an entry of " + many, repeated([&scene, year] {
                 QVSettings::setProduct({.taxYear = year});
                 scene.store.loadOptions();
               }),
               static_cast<double>(entries));
    table.time("saving an entry of " + many, repeated([&scene, year] {
                 QVSettings::setProduct({.taxYear = year});
                 scene.store.saveOptions();
               }),
               static_cast<double>(entries));
  };
  add(kEntries, 2021, "150");
  add(10'000, 2022, "10,000");
  add(1'000'000, 2023, "1,000,000");
  for (const std::string many : {"10,000", "1,000,000"}) {
    table.compare("a read among " + many, "a read among 150", 1.2);
    // A step that sorts would show 2.8 at a million, a quadratic one thousands; small caches show less.
    table.compare("loading an entry of " + many, "loading an entry of 150", 2);
    table.compare("saving an entry of " + many, "saving an entry of 150", 2);
  }
  table.run();
}

}  // namespace

int main() {
  // On a disk, not in memory: what a save costs is mostly what the disk takes.
  std::string home = "build/bench-home-XXXXXX";
  if (!mkdtemp(home.data())) {
    home = "/tmp/bench-home-XXXXXX";
    if (!mkdtemp(home.data())) return 1;
  }
  home = realpath(home.c_str(), nullptr);
  setenv("HOME", home.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  {
    Scene scene(kEntries);
    const std::vector<peers::Store> stores = peers::stores(entriesOf(scene.bare), scene.folder);
    readAndSet(scene, stores);
    load(scene, stores);
    save(scene, stores);
  }
  growth();
  return std::system(("rm -rf '" + home + "'").c_str()) != 0;
}
