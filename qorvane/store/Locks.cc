#include "qorvane/store/Locks.h"

#include <algorithm>

#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

const Layer* lockOf(const Layers& layers, const OptionRow& row, const Product& product) {
  if (!layers.lock()) return nullptr;
  const Text own = row.key(product);
  if (own.isNil()) return nullptr;
  if (const Layer* const lock = layers.lockOf(own)) return lock;
  for (const Text& further : row.furtherKeys)
    if (const Layer* const lock = layers.lockOf(further)) return lock;
  return nullptr;
}

Failure lockedFailure(const Text& names, const Layer& lock) {
  return {FailureCode::optionLocked, {names, Text(lock.folder().path)}};
}

Locks::Locks(const Layers& layers, const Product& product) : layers_(layers) {
  if (!layers.lock()) return;
  for (const OptionRow& row : optionTable())
    if (lockOf(layers, row, product)) own_.set(row.key(product), Text(row.name));
  // Apart from it they would tell of another province.
  if (own_.find(kProvinceEntry))
    for (const Key& follower : kProvinceFollowers) own_.set(follower, Text("preparerProvince"));
}

std::optional<Failure> Locks::strike(std::vector<EntryChange>& changes) const {
  if (!layers_.lock()) return std::nullopt;
  std::string names;
  const Layer* by = nullptr;
  bool font = false;
  std::erase_if(changes, [&](const EntryChange& change) {
    if (!isLocked(change.key)) return false;
    font = font || change.key == optsStr_HeaderFontName || change.key == optsStr_FooterFontName;
    const Value* const option = own_.find(change.key.view());
    const std::string name = (option ? option->textValue() : change.key).string();
    if (names.find(name) == names.npos) names += (names.empty() ? "" : ", ") + name;
    const OptionRow* const row = option ? findProperty(option->textValue()) : nullptr;
    if (const Layer* const lock = layers_.lockOf(change.key)) by = lock;
    for (const Text& further : row ? row->furtherKeys : std::span<const Text>())
      if (!by) by = layers_.lockOf(further);
    return true;
  });
  // A size that came with such a font, and with no other.
  if (font && !changeOf(changes, optsStr_HeaderFontName) && !changeOf(changes, optsStr_FooterFontName))
    std::erase_if(changes, [](const EntryChange& change) { return change.key == optsStr_HeaderFontSize; });
  if (!by) return std::nullopt;
  return lockedFailure(Text(names), *by);
}

}  // namespace qorvane::inline v1
