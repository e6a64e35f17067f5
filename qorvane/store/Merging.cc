#include "qorvane/store/Merging.h"

#include <algorithm>
#include <array>

#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

constexpr Key kProvince{optsStr_PreparerProvince};
// What setting the province writes beside it.
constexpr std::array kProvinceFollowers{Key{optsStr_PracPOCode}, Key{optsStr_PreparerProvinceAndPostalCode}};

bool isSame(const Value* a, const Value* b) { return a && b ? isIdentical(*a, *b) : !a && !b; }

bool holds(const Dictionary& entries, const Dictionary::Entry& entry) {
  const Value* found = entries.find(entry.key.view());
  return found && isIdentical(*found, entry.value);
}

const EntryChange* changeOf(const std::vector<EntryChange>& changes, const Key& key) {
  const auto found = std::ranges::find(changes, key.text().view(),
                                       [](const EntryChange& change) { return change.key.view(); });
  return found == changes.end() ? nullptr : &*found;
}

// Apart they would tell of two provinces.
void placeProvince(const std::vector<EntryChange>& changes, const Dictionary& base, const Dictionary& now,
                   const Dictionary& theirs, Dictionary& result) {
  const bool provinceIsOurs = changeOf(changes, kProvince);
  for (const Key& key : kProvinceFollowers) {
    const bool onlyOurs = changeOf(changes, key) && isSame(theirs.find(key), base.find(key));
    const Value* const value = (provinceIsOurs || onlyOurs ? now : theirs).find(key);
    result.set(key, value ? *value : Value());
  }
}

}  // namespace

void Fills::note(const Key& key, const Value* before, const Value* inBase, const Value& value) {
  // A default over a default of ours, the empty text, stays what that one was.
  const bool ofBase = isSame(before, inBase) || (before && fillsBase({key.text(), *before}));
  const bool ofRemoval = !ofBase && (!before || fillsRemoval({key.text(), *before}));
  ofBase_.set(key, ofBase ? value : Value());
  ofRemovals_.set(key, ofRemoval ? value : Value());
}

void Fills::rebase(const Dictionary& base, const Dictionary& next) {
  Dictionary kept;
  for (const Dictionary::Entry& fill : ofBase_)
    if (isSame(base.find(fill.key.view()), next.find(fill.key.view()))) kept.set(fill.key, fill.value);
  ofBase_ = std::move(kept);
  ofRemovals_ = {};
}

void Fills::settle(const Key& key, const Value* inBase) {
  Dictionary& from = inBase ? ofBase_ : ofRemovals_;
  Dictionary& to = inBase ? ofRemovals_ : ofBase_;
  const Value* const fill = from.find(key);
  if (!fill) return;
  to.set(key, *fill);
  from.set(key, nullptr);
}

bool Fills::fillsBase(const Dictionary::Entry& entry) const { return holds(ofBase_, entry); }
bool Fills::fillsRemoval(const Dictionary::Entry& entry) const { return holds(ofRemovals_, entry); }

std::vector<EntryChange> changesOf(const Dictionary& base, const Dictionary& now, const Fills& fills) {
  std::vector<EntryChange> changes;
  for (const Dictionary::Entry& entry : now) {
    if (holds(base, entry) || fills.fillsBase(entry)) continue;
    changes.push_back({entry.key, fills.fillsRemoval(entry) ? Value() : entry.value});
  }
  for (const Dictionary::Entry& entry : base)
    if (!now.find(entry.key.view())) changes.push_back({entry.key, nullptr});
  return changes;
}

Dictionary merge(const Dictionary& base, const Dictionary& now, const Fills& fills,
                 const Dictionary& theirs) {
  Dictionary result = theirs;
  const std::vector<EntryChange> changes = changesOf(base, now, fills);
  for (const EntryChange& change : changes) result.set(change.key, change.value);
  for (const Dictionary::Entry& entry : now)
    if (fills.fillsBase(entry) && isSame(theirs.find(entry.key.view()), base.find(entry.key.view())))
      result.set(entry.key, entry.value);
  placeProvince(changes, base, now, theirs, result);
  return result;
}

}  // namespace qorvane::inline v1
