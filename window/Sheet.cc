#include "window/Sheet.h"

#include <algorithm>

#include "qorvane/foundation/Exception.h"

namespace optionsmgr::window {

using qorvane::OptionEdits;
using qorvane::Text;
using qorvane::Value;

Sheet::Sheet(qorvane::UserDefaults& store, const qorvane::Product& product)
    : product_(product), options_(store, product), edits_(options_), items_(itemsOf(product)) {
  options_.loadOptions();
}

QString Sheet::name() const {
  return QString("%1 %2").arg(product_.corporate ? "T2" : "T1").arg(product_.taxYear);
}

const Item* Sheet::itemOf(std::string_view option) const {
  for (const Item& item : items_) {
    if (item.row->name == option) return &item;
    for (const qorvane::OptionRow* alias : item.aliases)
      if (alias->name == option) return &item;
  }
  return nullptr;
}

void Sheet::reload() {
  options_.loadOptions();
  readings_.clear();
}

// ---- values -------------------------------------------------------------------------------------------

const Sheet::Reading& Sheet::reading(const Item& item) const {
  const auto [at, isNew] = readings_.try_emplace(item.row);
  Reading& reading = at->second;
  if (!isNew) return reading;
  // Both are read beside the store, which stays as it is.
  auto& store = const_cast<qorvane::Options&>(options_);
  try {
    reading.value = OptionEdits(store).value(item.row->name);
  } catch (const qorvane::Exception&) {
    reading.refused = true;
  }
  reading.lock = options_.origin(item.row->name).lock;
  // Under a lock, and for what cannot be set, nothing is ever reset.
  reading.fallback = item.row->fallback(product_);
  if (options_.layers() && item.canBeSet() && !reading.lock) {
    OptionEdits unset(store);
    unset.reset(item.row->name);
    reading.fallback = unset.value(item.row->name);
  }
  return reading;
}

Value Sheet::saved(const Item& item) const { return reading(item).value; }

bool Sheet::isUnreadable(const Item& item) const { return reading(item).refused; }

Value Sheet::value(const Item& item) const {
  const auto edit = edited_.find(item.row);
  if (edit == edited_.end()) return saved(item);
  return edit->second.reset ? fallback(item) : edit->second.value;
}

// ---- changes ------------------------------------------------------------------------------------------

std::optional<Edit> Sheet::edit(const Item& item) const {
  const auto edit = edited_.find(item.row);
  return edit == edited_.end() ? std::nullopt : std::optional(edit->second);
}

void Sheet::put(const Item& item, const std::optional<Edit>& edit) {
  refusals_.erase(item.row);
  const bool comesToNothing =
      !edit || (!isUnreadable(item) &&
                readSame(item, product_, edit->reset ? fallback(item) : edit->value, saved(item)));
  if (comesToNothing) {
    edited_.erase(item.row);
    conflicts_.erase(item.row);
    edits_.drop(item.row->name);
    return;
  }
  edited_[item.row] = *edit;
  if (edit->reset)
    edits_.reset(item.row->name);
  else
    edits_.set(item.row->name, edit->value);
}

void Sheet::judge() {
  refusals_.clear();
  for (OptionEdits::Refusal& refusal : edits_.check())
    refusals_[qorvane::findProperty(refusal.name)] = std::move(refusal);
}

const std::optional<OptionEdits::Refusal>& Sheet::refusal(const Item& item) const {
  static const std::optional<OptionEdits::Refusal> kNone;
  const auto refusal = refusals_.find(item.row);
  return refusal == refusals_.end() ? kNone : refusal->second;
}

void Sheet::keepAnyway(const Item& item) {
  edits_.keepAnyway(item.row->name);
  judge();
}

const Value* Sheet::conflict(const Item& item) const {
  const auto conflict = conflicts_.find(item.row);
  return conflict == conflicts_.end() ? nullptr : &conflict->second;
}

void Sheet::keepMine(const Item& item) {
  edits_.keepMine(item.row->name);
  conflicts_.erase(item.row);
}

State Sheet::state(const Item& item) const {
  if (conflict(item)) return State::Conflict;
  if (refusal(item)) return State::Refused;
  if (edited_.contains(item.row)) return State::Unsaved;
  if (isUnreadable(item)) return State::Refused;
  if (lock(item)) return State::Locked;
  return readSame(item, product_, saved(item), fallback(item)) ? State::Default : State::Changed;
}

// ---- saving, and what others save ---------------------------------------------------------------------

bool Sheet::apply() {
  judge();
  blocked_ = Blocked::Not;
  if (!refusals_.empty())
    blocked_ = Blocked::ByRefusal;
  else if (!conflicts_.empty())
    blocked_ = Blocked::ByConflict;
  if (blocked_ != Blocked::Not) return false;
  if (!edits_.apply()) {
    // Under the lock it may have found what another program saved a moment ago.
    if (edits_.failure()->code == qorvane::FailureCode::optionChangedMeanwhile) {
      static_cast<void>(refresh());
      blocked_ = Blocked::ByConflict;
    }
    return false;
  }
  edited_.clear();
  readings_.clear();
  return true;
}

std::vector<const Item*> Sheet::refresh() {
  std::map<const qorvane::OptionRow*, Value> before = conflicts_;
  const std::vector<Text> names = options_.refresh();
  std::vector<const Item*> changed;
  for (const Text& name : names) {
    const Item* item = itemOf(name);
    if (!item) continue;
    readings_.erase(item->row);
    if (std::ranges::find(changed, item) == changed.end()) changed.push_back(item);
  }
  forgetMovedLocks(changed);
  noteConflicts();
  for (const Item& item : items_)
    if (before.contains(item.row) != conflicts_.contains(item.row) &&
        std::ranges::find(changed, &item) == changed.end())
      changed.push_back(&item);
  return changed;
}

// A lock may come or go, and what a reset gives change, though the value stays as it was.
void Sheet::forgetMovedLocks(std::vector<const Item*>& changed) {
  if (!layers() && !layered_) return;
  layered_ = layers() != nullptr;
  std::map<const qorvane::OptionRow*, Reading> before;
  before.swap(readings_);
  for (const Item& item : items_) {
    const auto old = before.find(item.row);
    if (old == before.end()) continue;
    const Reading& now = reading(item);
    const bool same =
        now.lock.has_value() == old->second.lock.has_value() && now.fallback == old->second.fallback;
    if (!same && std::ranges::find(changed, &item) == changed.end()) changed.push_back(&item);
  }
}

void Sheet::noteConflicts() {
  for (const OptionEdits::Conflict& found : edits_.conflicts()) {
    const Item* item = itemOf(found.name);
    if (!item) continue;
    // Both wrote the same: there is nothing left to save or to ask.
    if (readSame(*item, product_, value(*item), found.theirs))
      put(*item, std::nullopt);
    else
      conflicts_[item->row] = found.theirs;
  }
  for (auto& [row, theirs] : conflicts_) theirs = saved(*itemOf(row->name));
}

}  // namespace optionsmgr::window
