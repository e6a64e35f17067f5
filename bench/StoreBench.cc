// The store beside its floors: what a bare hash table, a bare file read and a bare durable write cost.
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>

#include "bench/Ratios.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/platform/FileUserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"

using namespace qorvane;

namespace {

constexpr int kEntries = 150;

// The floor of a read: a hash table from text to shared text.
using Handle = std::shared_ptr<const std::string>;
std::unordered_map<std::string, Handle> table;

std::string folder;
std::string file;

void prepare() {
  QVSettings::setProduct({.taxYear = 2020});
  Options store;
  store.loadOptions();
  for (int i = static_cast<int>(store.options()->size()); i < kEntries; ++i)
    store.options()->set(Text("Some option " + std::to_string(i)),
                         Text("a value of usual length " + std::to_string(i)));
  store.saveOptions();
  for (const auto& [key, value] : *store.options())
    table[key.string()] = std::make_shared<const std::string>(value.textValue().string());
}

void bareLookUp(benchmark::State& state) {
  const std::string key = "Language";
  for (auto _ : state) {
    Handle handle = table.find(key)->second;
    benchmark::DoNotOptimize(handle);
  }
}
BENCHMARK(bareLookUp);

void readText(benchmark::State& state) {
  for (auto _ : state) {
    Text text = OptionsMgr::language();
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(readText);

void readFlag(benchmark::State& state) {
  for (auto _ : state) {
    bool flag = OptionsMgr::zsupress();
    benchmark::DoNotOptimize(flag);
  }
}
BENCHMARK(readFlag);

void bareAssignment(benchmark::State& state) {
  const std::string key = "PCity";
  const Handle values[] = {std::make_shared<const std::string>("Gaspé, in Quebec"),
                           std::make_shared<const std::string>("Alma, in Quebec")};
  table[key];
  bool turn = false;
  for (auto _ : state) table.find(key)->second = values[turn = !turn];
}
BENCHMARK(bareAssignment);

void setChanged(benchmark::State& state) {
  const Text values[] = {Text(std::string("Gaspé, in Quebec")), Text(std::string("Alma, in Quebec"))};
  bool turn = false;
  for (auto _ : state) OptionsMgr::setPreparerCity(values[turn = !turn]);
}
BENCHMARK(setChanged);

void setSame(benchmark::State& state) {
  const Text value = std::string("Gaspé, in Quebec");
  for (auto _ : state) OptionsMgr::setPreparerCity(value);
}
BENCHMARK(setSame);

std::string readWhole(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  fstat(descriptor, &status);
  std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
  if (read(descriptor, bytes.data(), bytes.size()) < 0) abort();
  close(descriptor);
  return bytes;
}

// Raw file and hash table: as many lines of key and value, split and put in a table.
void bareLoad(benchmark::State& state) {
  const std::string path = folder + "/lines";
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  for (const auto& [key, value] : table) {
    const std::string line = key + "=" + (value ? *value : "") + "\n";
    if (write(descriptor, line.data(), line.size()) < 0) abort();
  }
  close(descriptor);
  for (auto _ : state) {
    const std::string bytes = readWhole(path);
    std::unordered_map<std::string, Handle> loaded;
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t end = bytes.find('\n', at);
      const std::size_t equals = bytes.find('=', at);
      loaded[bytes.substr(at, equals - at)] =
          std::make_shared<const std::string>(bytes.substr(equals + 1, end - equals - 1));
      at = end + 1;
    }
    benchmark::DoNotOptimize(loaded);
  }
}
BENCHMARK(bareLoad);

void bareRead(benchmark::State& state) {
  for (auto _ : state) {
    std::string bytes = readWhole(file);
    benchmark::DoNotOptimize(bytes);
  }
}
BENCHMARK(bareRead);

void loadOptions(benchmark::State& state) {
  Options store;
  for (auto _ : state) store.loadOptions();
}
BENCHMARK(loadOptions);

void bareDurableWrite(benchmark::State& state) {
  const std::string bytes = readWhole(file);
  const std::string target = folder + "/floor.plist";
  const std::string staged = target + ".new";
  for (auto _ : state) {
    const int descriptor = open(staged.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (write(descriptor, bytes.data(), bytes.size()) < 0) abort();
    fsync(descriptor);
    close(descriptor);
    rename(staged.c_str(), target.c_str());
    const int directory = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fsync(directory);
    close(directory);
  }
}
BENCHMARK(bareDurableWrite)->UseRealTime();

void saveOptions(benchmark::State& state) {
  for (auto _ : state) OptionsMgr::saveOptions();
}
BENCHMARK(saveOptions)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  // On a disk, not in memory: what a save costs is mostly what the disk takes.
  std::string home = "build/bench-home-XXXXXX";
  if (!mkdtemp(home.data())) home = "/tmp";
  home = realpath(home.c_str(), nullptr);
  setenv("HOME", home.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  prepare();
  folder = FileUserDefaults::defaultFolder();
  file = folder + "/QorvaneT1Settings2020.plist";
  const int result = ratios::run(argc, argv,
                                 {{"readText", "bareLookUp", 1.5},
                                  {"readFlag", "bareLookUp", 1.5},
                                  {"setChanged", "bareAssignment", 1.0},
                                  {"setSame", "bareAssignment", 1.0},
                                  {"loadOptions", "bareLoad", 1.5},
                                  {"loadOptions", "bareRead", 0},
                                  {"saveOptions", "bareDurableWrite", 1.2}});
  return result | std::system(("rm -rf '" + home + "'").c_str());
}
