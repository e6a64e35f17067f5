// Does one job a fixed number of times, for bench/guard to count the instructions: guard JOB
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "qorvane/formats/NumberFormatter.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/NSColorHexadecimalValue.h"
#include "qorvane/store/Options.h"

using namespace qorvane;

namespace {

template <class T>
void keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace

// Only what happens in here is counted.
extern "C" [[gnu::noinline]] void guarded(const std::function<void()>& job, int times) {
  for (int i = 0; i < times; ++i) job();
}

int main(int, char** arguments) {
  MemoryUserDefaults memory;
  UserDefaults::setStandardUserDefaults(&memory);
  QVSettings::setProduct({.taxYear = 2020});
  Options store;
  store.loadOptions();
  for (int i = static_cast<int>(store.options()->size()); i < 150; ++i)
    store.options()->set(Text("SomeOption" + std::to_string(i)),
                         Text("a value of usual length " + std::to_string(i)));
  store.saveOptions();
  const Value value = Dictionary{{"QorvaneT1Settings2020", Value(*store.options())}};
  const std::string binary = writePropertyList(value, PropertyListFormat::Binary);
  const std::string xml = writePropertyList(value, PropertyListFormat::Xml);
  const std::string newCities[] = {"Gaspé, in Quebec", "Alma, in Quebec"};
  const Text cities[] = {Text(newCities[0]), Text(newCities[1])};
  bool turn = false;
  NumberFormatter amounts;
  amounts.setLocale("fr_CA");
  amounts.setFormat("###,##0.00;-#####0.00");
  const Text amount = amounts.stringFromNumber(-1234567.89);
  const Text color = std::string("#336699");

  struct Job {
    int times;
    std::function<void()> once;
  };
  const std::map<std::string_view, Job> jobs = {
      {"read-text", {10'000, [&] { keep(OptionsMgr::language()); }}},
      {"read-flag", {10'000, [&] { keep(store.zsupress()); }}},
      {"set-text", {10'000, [&] { store.setPreparerCity(cities[turn = !turn]); }}},
      {"set-new-text", {10'000, [&] { store.setPreparerCity(Text(newCities[turn = !turn])); }}},
      {"set-flag", {10'000, [&] { store.setZsupress(turn = !turn); }}},
      {"load", {100, [&] { store.loadOptions(); }}},
      {"read-binary", {100, [&] { keep(readPropertyList(binary)); }}},
      {"write-binary", {100, [&] { keep(writePropertyList(value, PropertyListFormat::Binary)); }}},
      {"read-xml", {100, [&] { keep(readPropertyList(xml)); }}},
      {"write-xml", {100, [&] { keep(writePropertyList(value, PropertyListFormat::Xml)); }}},
      {"amount", {1'000, [&] { keep(amounts.stringFromNumber(-1234567.89)); }}},
      {"read-color", {1'000, [&] { keep(NSColorHexadecimalValue::nsColorFromHexadecimalValue(color)); }}},
  };
  const auto job = jobs.find(arguments[1] ? arguments[1] : "");
  if (job == jobs.end()) {
    for (const auto& [name, unused] : jobs) std::printf("%.*s\n", static_cast<int>(name.size()), name.data());
    return 0;
  }
  // Once before, so that what happens only the first time does not count.
  job->second.once();
  guarded(job->second.once, job->second.times);
}
