#include "tool/Chosen.h"

#include <algorithm>

#include "qorvane/foundation/Value.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::Text;
using qorvane::Value;

namespace {

std::vector<Value> marks(const Dictionary& entries) {
  const Value* chosen = entries.find(kChosen);
  return chosen && chosen->asArray() ? *chosen->asArray() : std::vector<Value>();
}

}  // namespace

void takeOver(Dictionary& entries, const Dictionary& past, const std::vector<Text>& keys) {
  std::vector<Value> chosen = marks(entries);
  const std::vector<Value> chosenThen = marks(past);
  for (const Text& key : keys) {
    const Value* then = past.find(key.view());
    entries.set(key, then ? *then : Value());
    std::erase(chosen, Value(key));
    if (std::ranges::find(chosenThen, Value(key)) != chosenThen.end()) chosen.emplace_back(key);
  }
  entries.set(Text(kChosen), chosen.empty() ? Value() : Value(qorvane::Array(chosen)));
}

}  // namespace optionsmgr
