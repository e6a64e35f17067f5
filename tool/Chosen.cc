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
  Dictionary entries = entriesOf(settings.object);
  const Dictionary pastEntries = entriesOf(past.object);
  Value chosen = settings.chosen;
  for (const Text& key : keys) {
    const Value* then = pastEntries.find(key.view());
    entries.set(key, then ? *then : Value());
    note(chosen, key, isNoted(past.chosen, key.view()));
  }
  settings = {Value(entries), chosen};
}

bool isNoted(const Value& chosen, std::string_view entryKey) {
  return chosen.asArray() && std::ranges::any_of(*chosen.asArray(), [&](const Value& name) {
           return name.asText() && name.asText()->view() == entryKey;
         });
}

void note(Value& chosen, const Text& entryKey, bool noted) {
  if (isNoted(chosen, entryKey.view()) == noted) return;
  Array names = chosen.asArray() ? *chosen.asArray() : Array();
  if (noted)
    names.emplace_back(entryKey);
  else
    std::erase(names, Value(entryKey));
  chosen = names.empty() ? Value() : Value(std::move(names));
}

Dictionary entriesOf(const Value& object) {
  return object.asDictionary() ? *object.asDictionary() : Dictionary();
}

}  // namespace optionsmgr
