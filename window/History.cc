#include "window/History.h"

#include "qorvane/foundation/Exception.h"
#include "window/Source.h"

namespace optionsmgr::window {

using qorvane::Value;

namespace {

std::optional<Value> valueIn(const qorvane::FileUserDefaults& files,
                             const qorvane::FileUserDefaults::Generation& one, const Item& item,
                             Sheet& sheet) {
  try {
    const Value object = files.objectOfGeneration(sheet.key(), one.number);
    const qorvane::Dictionary* entries = object.asDictionary();
    return entries ? Source({}, sheet.product(), *entries).value(item) : std::nullopt;
  } catch (const qorvane::Exception&) {
    return std::nullopt;
  }
}

}  // namespace

std::vector<Former> formerValues(const Item& item, Sheet& sheet, qorvane::FileUserDefaults& files) {
  std::vector<Former> values;
  std::vector<qorvane::FileUserDefaults::Generation> generations;
  try {
    generations = files.generations(sheet.key());
  } catch (const qorvane::Exception&) {
    return values;
  }
  Value newer = sheet.saved(item);
  for (const auto& generation : generations) {
    const auto value = valueIn(files, generation, item, sheet);
    if (!value) continue;
    if (!readSame(item, sheet.product(), *value, newer))
      values.push_back({*value, generation.written});
    else if (!values.empty())
      values.back().since = generation.written;
    newer = *value;
  }
  return values;
}

}  // namespace optionsmgr::window
