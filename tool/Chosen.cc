#include "tool/Chosen.h"

#include <algorithm>

#include "qorvane/foundation/Dictionary.h"

namespace optionsmgr {

using qorvane::Array;
using qorvane::Dictionary;
using qorvane::Settings;
using qorvane::Text;
using qorvane::Value;

void takeOver(Settings& settings, const Settings& past, const std::vector<Text>& keys) {
  const auto marks = [](const Settings& of) { return of.chosen.asArray() ? *of.chosen.asArray() : Array(); };
  Dictionary entries = entriesOf(settings.object);
  const Dictionary pastEntries = entriesOf(past.object);
  Array chosen = marks(settings);
  const Array chosenThen = marks(past);
  for (const Text& key : keys) {
    const Value* then = pastEntries.find(key.view());
    entries.set(key, then ? *then : Value());
    std::erase(chosen, Value(key));
    if (std::ranges::find(chosenThen, Value(key)) != chosenThen.end()) chosen.emplace_back(key);
  }
  settings = {Value(entries), chosen.empty() ? Value() : Value(chosen)};
}

Dictionary entriesOf(const Value& object) {
  return object.asDictionary() ? *object.asDictionary() : Dictionary();
}

}  // namespace optionsmgr
