#include "qorvane/store/Sharing.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/store/LoadLists.h"
#include "qorvane/store/Locks.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/Reader.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

bool differs(const Dictionary& a, const Dictionary& b, const Text& key) {
  const Value* const one = a.find(key.view());
  const Value* const other = b.find(key.view());
  return one && other ? !isIdentical(*one, *other) : one != other;
}

bool isStoredDefault(const OptionRow& row) {
  // A folder's default is computed at each read, and asking for it would make the folder.
  return row.type != OptionType::Folder;
}

}  // namespace

const Dictionary& entriesOf(const Value& stored) {
  static const Dictionary none;
  const Dictionary* entries = stored.asDictionary();
  return entries ? *entries : none;
}

std::vector<Text> changedReadings(const Dictionary& before, const Dictionary& after, const Product& product) {
  std::vector<Text> names;
  const bool fontSize = differs(before, after, optsStr_HeaderFontSize);
  std::optional<std::pair<Reader, Reader>> readers;
  for (const OptionRow& row : optionTable()) {
    const Text key = row.key(product);
    if (key.isNil() || !(differs(before, after, key) || (fontSize && row.type == OptionType::Font))) continue;
    if (!readers)
      readers.emplace(std::piecewise_construct, std::forward_as_tuple(before, product),
                      std::forward_as_tuple(after, product));
    if (readers->first.reading(row) != readers->second.reading(row)) names.push_back(Text(row.name));
  }
  return names;
}

void fillTaken(Options& store, const Dictionary& before) {
  const Product product = store.product();
  const BulkSetting bulk(store);
  for (const std::string_view name : product.corporate ? corporateLoadList() : personalLoadList()) {
    const OptionRow& row = *findProperty(name);
    const Text key = row.key(product);
    if (key.isNil() || !isStoredDefault(row)) continue;
    if (!before.find(key.view()) || store.options()->find(key.view())) continue;
    try {
      static_cast<void>(row.read(store));
    } catch (const Exception&) {
      log("Could not load default options");
    }
  }
}

// ---- a save ---------------------------------------------------------------------------------------------

void StoreMerge::prepare(Changed changed) {
  changed_ = std::move(changed);
  answer_ = nullptr;
  layers_.reset();
  chosen_ = nullptr;
  refused_.reset();
  written_ = false;
}

std::vector<EntryChange> StoreMerge::changes() const {
  const Dictionary& now = entriesOf(changed_.now);
  std::vector<EntryChange> changes = changesOf(entriesOf(changed_.base), now, changed_.fills);
  const auto change = [&](const Text& key, const Value& value) {
    std::erase_if(changes, [&](const EntryChange& one) { return one.key == key; });
    changes.push_back({key, value});
  };
  for (const Text& pin : changed_.intent.pins)
    if (const Value* const value = now.find(pin.view())) change(pin, *value);
  for (const Text& reset : changed_.intent.resets) change(reset, nullptr);
  return changes;
}

Value StoreMerge::merged(const Value& standing) {
  const Dictionary& base = entriesOf(changed_.base);
  const Dictionary& now = entriesOf(changed_.now);
  const Dictionary& theirs = entriesOf(standing);
  const Intent& intent = changed_.intent;
  const bool removes = intent.removes && !intent.resets.empty();
  if (isIdentical(theirs, base) && !removes) return answer_ = changed_.now;
  Dictionary entries = isIdentical(theirs, base) ? now : merge(base, now, changed_.fills, theirs);
  const auto wasTaken = [&](const Dictionary::Entry& entry) { return !entries.find(entry.key.view()); };
  if (std::ranges::any_of(now, wasTaken)) {
    Reader reader(std::move(entries), changed_.product);
    fillTaken(reader.store(), now);
    entries = std::move(*reader.store().options());
  }
  for (const Text& pin : intent.pins)
    if (const Value* const value = now.find(pin.view())) entries.set(pin, *value);
  if (removes)
    for (const Text& reset : intent.resets) entries.remove(reset);
  return answer_ = Value(std::move(entries));
}

Settings StoreMerge::mergedSettings(const Settings& standing) {
  Value object = merged(standing.object);
  chosen_ = chosenAmong(standing.chosen, entriesOf(object));
  return {std::move(object), chosen_};
}

Settings StoreMerge::mergedLayers(const std::shared_ptr<const LayeredSettings>& standing) {
  const Layers& layers = standing->layers();
  refused_.reset();
  layers_.reset();
  if (layers.empty() && !changed_.layers) return mergedSettings(standing->own());
  std::vector<EntryChange> changes = this->changes();
  refused_ = Locks(layers, changed_.product).strike(changes);
  if (refused_ && changed_.intent.wholly) throw Exception(*refused_);
  Array chosen;
  if (const Array* const marks = standing->own().chosen.asArray()) chosen = *marks;
  for (const EntryChange& change : changes)
    if (!change.value.isNil() && layers.has(change.key) && !standing->isMarked(change.key) &&
        !standing->isChosenByItself(change.key, change.value))
      chosen.push_back(change.key);
  Dictionary own = mergedEntries(*standing, std::move(changes));
  chosen_ = chosenAmong(Value(std::move(chosen)), own);
  Settings settings{Value(std::move(own)), chosen_};
  layers_ = standing->with(settings);
  answer_ = layers_->effective();
  if (layers.empty()) layers_.reset();
  return settings;
}

// The user's own entries with the changes and what they leave room for.
Dictionary StoreMerge::mergedEntries(const LayeredSettings& standing,
                                     std::vector<EntryChange> changes) const {
  const Dictionary& base = entriesOf(changed_.base);
  const Dictionary& now = entriesOf(changed_.now);
  const Dictionary theirs = standing.effective();
  const auto isFollower = [](const Text& key) {
    return std::ranges::any_of(kProvinceFollowers,
                               [&](const Key& follower) { return follower.text() == key; });
  };
  Dictionary own = standing.ownEntries();
  for (const EntryChange& change : changes)
    if (!isFollower(change.key)) own.set(change.key, change.value);
  for (const Key& follower : kProvinceFollowers)
    if (followerIsOurs(follower, changes, base, theirs)) {
      // One that was reset is in the dictionary as the farther layer has it, and none of the user's.
      const auto changed = std::ranges::find(changes, follower.text(), &EntryChange::key);
      const Value* const value = changed == changes.end() ? now.find(follower) : &changed->value;
      own.set(follower, value ? *value : Value());
    }
  for (const Dictionary::Entry& entry : now) {
    if (!changed_.fills.fillsBase(entry) || standing.layers().has(entry.key)) continue;
    const Value* const before = base.find(entry.key.view());
    const Value* const there = theirs.find(entry.key.view());
    if (before && there ? !isIdentical(*before, *there) : before != there) continue;
    // In the place of what a farther layer had handed out it is no default of the user's.
    if (changed_.layers && changed_.layers->standing(entry.key).layer) continue;
    own.set(entry.key, entry.value);
  }
  return own;
}

void Sharing::settle() {
  if (!merge || !merge->isWritten()) return;
  Dictionary entries = entriesOf(base);
  for (const EntryChange& change : merge->changes()) {
    const Value* const there = entriesOf(merge->answer()).find(change.key.view());
    entries.set(change.key, there ? *there : Value());
    fills.settle(Key(change.key), there);
  }
  base = std::move(entries);
  chosen = merge->chosen();
  merge.reset();
}

}  // namespace qorvane::inline v1
