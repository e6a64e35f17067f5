#include "qorvane/store/OptionEdits.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/store/Locks.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/Reader.h"
#include "qorvane/store/Sharing.h"
#include "qorvane/vocabulary/Notifications.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

constexpr std::string_view kStepsMode = "isStepsMode";

// Whether a value that the option's check refuses could be stored at all. Of the other types the check asks
// for nothing else.
bool isInForm(const OptionRow& row, const Value& value) {
  const Number* number = value.asNumber();
  switch (row.type) {
    case OptionType::Text:
    case OptionType::Folder:
      return !value.textValue().isNil();
    case OptionType::Integer:
      return number && *number == Number(value.intValue());
    case OptionType::Date:
      return number;
    case OptionType::Flag:
    case OptionType::Font:
    case OptionType::Color:
      break;
  }
  return false;
}

const OptionRow& rowOf(std::string_view name) {
  const OptionRow* row = findProperty(name);
  if (!row) throw Exception(Failure{FailureCode::noSuchOption, {Text(name)}});
  return *row;
}

// Removes the user's entry, and answers what went. A farther layer's value takes its place at once; the
// default, too, but that of a folder, which is computed at each read.
std::vector<Text> resetIn(Options& store, const OptionRow& row, const LayeredSettings* layers) {
  Dictionary& entries = *store.options();
  std::vector<Text> gone;
  const auto standing = [&](const Text& key) {
    return layers ? layers->layers().standing(key, nullptr, false) : Layers::Standing();
  };
  const auto put = [&](const Text& key, const Value* farther) {
    entries.set(key, farther ? *farther : Value());
    gone.push_back(key);
  };
  const auto remove = [&](const Text& key) { put(key, standing(key).value); };
  const auto isOwn = [&](const Text& key) {
    const Value* const now = entries.find(key.view());
    const Value* const farther = standing(key).value;
    return now && !(farther && isIdentical(*now, *farther));
  };
  const Text key = row.key(store.product());
  remove(key);
  // The province's code and line are nothing without it, and come from where it comes from.
  if (key == optsStr_PreparerProvince) {
    const Layer* const from = standing(key).layer;
    for (const Text& follower : {optsStr_PracPOCode, optsStr_PreparerProvinceAndPostalCode}) {
      const auto farther = from ? from->find(follower.view()) : std::nullopt;
      put(follower, farther ? farther->value : nullptr);
    }
  }
  // The size is both fonts', and means nothing without a font.
  if (row.type == OptionType::Font && !isOwn(optsStr_HeaderFontName) && !isOwn(optsStr_FooterFontName))
    remove(optsStr_HeaderFontSize);
  if (row.type != OptionType::Folder) static_cast<void>(row.read(store));
  return gone;
}

void writeIn(Options& store, const OptionRow& row, const Value& value) {
  // Its setter would save by itself.
  if (row.name == kStepsMode)
    store.options()->set(row.key(store.product()), Number(value.boolValue()));
  else
    row.write(store, value);
}

}  // namespace

// The store's entries with edits made, beside the store.
class OptionEdits::Trial {
 public:
  explicit Trial(Options& store)
      : reader_(store.options() ? *store.options() : Dictionary(), store.product()),
        layers_(store.layers()) {}

  void make(const OptionRow& row, const Edit& edit) try {
    const BulkSetting bulk(reader_.store());
    if (edit.reset)
      resetIn(reader_.store(), row, layers_.get());
    else
      writeIn(reader_.store(), row, edit.value);
  } catch (const Exception&) {
    // A value that its setter refuses is refused by the check as well.
  }
  std::optional<Value> reading(const OptionRow& row) { return reader_.reading(row); }
  Options& store() { return reader_.store(); }

 private:
  Reader reader_;
  std::shared_ptr<const LayeredSettings> layers_;
};

// What a failed `apply` puts back.
class OptionEdits::Rollback {
 public:
  explicit Rollback(Options& store)
      : store_(store),
        entries_(*store.opts_),
        sharing_(*store.sharing_),
        changed_(*store.changed_),
        names_(store.changedNames_) {
    if (sharing_.merge) waiting_ = *sharing_.merge;
  }
  ~Rollback() {
    if (released_) return;
    *store_.opts_ = std::move(entries_);
    if (sharing_.merge) *sharing_.merge = std::move(waiting_);
    *store_.sharing_ = std::move(sharing_);
    *store_.changed_ = changed_;
    store_.changedNames_ = std::move(names_);
  }
  Rollback(const Rollback&) = delete;
  Rollback& operator=(const Rollback&) = delete;

  const Dictionary& entries() const { return entries_; }
  void release() { released_ = true; }

 private:
  Options& store_;
  Dictionary entries_;
  Sharing sharing_;
  StoreMerge waiting_;
  bool changed_;
  std::vector<Text> names_;
  bool released_ = false;
};

// ---- collecting ---------------------------------------------------------------------------------------

const OptionRow& OptionEdits::settable(std::string_view name) const {
  const OptionRow& row = rowOf(name);
  if (!row.write) throw Exception(Failure{FailureCode::optionReadOnly, {Text(name)}});
  return row;
}

std::optional<Value> OptionEdits::reading(const OptionRow& row) const { return Trial(store_).reading(row); }

Value OptionEdits::value(std::string_view name) const {
  const OptionRow& row = rowOf(name);
  Trial trial(store_);
  if (const auto edit = edits_.find(&row); edit != edits_.end()) {
    if (!edit->second.reset) return edit->second.value;
    trial.make(row, edit->second);
  }
  static_cast<void>(trial.reading(row));
  return row.read(trial.store());
}

void OptionEdits::set(std::string_view name, const Value& value) {
  const OptionRow& row = settable(name);
  edits_[&row] = {.value = value, .seen = reading(row)};
}

void OptionEdits::reset(std::string_view name) {
  const OptionRow& row = settable(name);
  edits_[&row] = {.value = nullptr, .reset = true, .seen = reading(row)};
}

void OptionEdits::drop(std::string_view name) { edits_.erase(&rowOf(name)); }

std::vector<Text> OptionEdits::names() const {
  std::vector<Text> names;
  for (const auto& [row, edit] : edits_) names.push_back(Text(row->name));
  return names;
}

// ---- what stands in the way ---------------------------------------------------------------------------

std::vector<OptionEdits::Refusal> OptionEdits::check() const {
  const Product product = store_.product();
  Trial all(store_);
  for (const auto& [row, edit] : edits_) all.make(*row, edit);
  std::vector<Refusal> refusals;
  for (const auto& [row, edit] : edits_) {
    if (const Layer* const lock = store_.lockOf(*row)) {
      refusals.push_back({Text(row->name), lockedFailure(Text(row->name), *lock), false});
      continue;
    }
    if (const auto refused = edit.reset ? std::nullopt : row->check(edit.value, product, &all.store())) {
      const bool mayBeKept = isInForm(*row, edit.value);
      if (!(mayBeKept && edit.keptAnyway)) refusals.push_back({Text(row->name), *refused, mayBeKept});
      if (!mayBeKept) continue;
    }
    // Made after the others' edits or alone, it is to come to the same.
    Trial alone(store_);
    alone.make(*row, edit);
    if (alone.reading(*row) != all.reading(*row))
      refusals.push_back(
          {Text(row->name), Failure{FailureCode::twoValuesOfOneEntry, {Text(row->name)}}, false});
  }
  return refusals;
}

void OptionEdits::keepAnyway(std::string_view name) {
  if (const auto edit = edits_.find(&rowOf(name)); edit != edits_.end()) edit->second.keptAnyway = true;
}

std::vector<OptionEdits::Conflict> OptionEdits::conflicts() const {
  std::vector<Conflict> found;
  Trial now(store_);
  for (const auto& [row, edit] : edits_) {
    const std::optional<Value> theirs = now.reading(*row);
    if (theirs == edit.seen) continue;
    found.push_back({Text(row->name), value(row->name), theirs.value_or(Value())});
  }
  return found;
}

void OptionEdits::keepMine(std::string_view name) {
  const OptionRow& row = rowOf(name);
  if (const auto edit = edits_.find(&row); edit != edits_.end()) edit->second.seen = reading(row);
}

std::optional<Failure> OptionEdits::obstacle() const {
  if (!store_.opts_ || !store_.sharing_ || store_.sharing_->key != store_.settingsDomainKey())
    return Failure{FailureCode::notLoaded};
  if (const auto refusals = check(); !refusals.empty())
    return refusals[0].failure.code == FailureCode::optionLocked
               ? refusals[0].failure
               : Failure{FailureCode::valueRefused, {refusals[0].name}, 0, {refusals[0].failure}};
  if (const auto open = conflicts(); !open.empty())
    return Failure{FailureCode::optionChangedMeanwhile, {open[0].name}};
  return std::nullopt;
}

// ---- applying -----------------------------------------------------------------------------------------

bool OptionEdits::apply() {
  failure_ = obstacle();
  if (failure_) return false;
  Rollback before(store_);
  const bool steps = store_.isStepsMode();
  try {
    if (!writeAll()) return false;
  } catch (const Exception&) {
    failure_ = currentFailure();
    return false;
  }
  before.release();
  edits_.clear();
  const bool stepsChanged = store_.isStepsMode() != steps;
  std::vector<Text> names = changedReadings(before.entries(), *store_.opts_, store_.product());
  if (!names.empty() || *store_.changed_) store_.announce(std::move(names));
  *store_.changed_ = false;
  if (stepsChanged)
    NotificationCenter::defaultCenter().postNotificationName(kStepFormsModeChangeEvt, &store_);
  return true;
}

bool OptionEdits::writeAll() {
  UserDefaults& defaults = store_.defaults();
  const Text key = store_.sharing_->key;
  const UserDefaults::Lock lock(defaults);
  const UserDefaults::Loaded found = defaults.load(key);
  static_cast<void>(store_.takeIn(found));
  failure_ = obstacle();
  if (failure_) return false;
  Trial now(store_);
  Trial then(store_);
  for (const auto& [row, edit] : edits_) then.make(*row, edit);
  Intent intent;
  intent.removes = pinning_;
  intent.wholly = true;
  const LayeredSettings* const layers = store_.sharing_->layers.get();
  for (const auto& [row, edit] : edits_) {
    // The user's entry goes, though a farther layer may say the same.
    const Text own = row->key(store_.product());
    const bool goes = edit.reset && layers && layers->ownEntries().find(own.view());
    if (!pinning_ && !goes && now.reading(*row) == then.reading(*row)) continue;
    const BulkSetting bulk(store_);
    if (edit.reset) {
      std::ranges::move(resetIn(store_, *row, layers), std::back_inserter(intent.resets));
    } else {
      writeIn(store_, *row, edit.value);
      if (pinning_) intent.pins.push_back(own);
      if (pinning_ && row->type == OptionType::Font) intent.pins.push_back(optsStr_HeaderFontSize);
    }
  }
  store_.sharing_->intent = std::move(intent);
  const auto forget = [&] {
    // Where nothing waited before, nothing does now; what waited of others waits on.
    if (isIdentical(found.stored, found.object))
      defaults.forget(key);
    else if (store_.sharing_->merge)
      *store_.sharing_->merge = StoreMerge();
  };
  try {
    if (const auto saved = store_.writeDictionary(); saved && saved->written) {
      store_.sharing_->intent = {};
      return true;
    }
  } catch (...) {
    forget();
    throw;
  }
  forget();
  failure_ = store_.saveFailure_;
  return false;
}

}  // namespace qorvane::inline v1
