#include "qorvane/store/Merging.h"

#include <algorithm>

namespace qorvane::inline v1 {

namespace {

bool isSame(const Value* a, const Value* b) { return a && b ? isIdentical(*a, *b) : !a && !b; }

bool holds(const Dictionary& entries, const Dictionary::Entry& entry) {
  const Value* found = entries.find(entry.key.view());
  return found && isIdentical(*found, entry.value);
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

const EntryChange* changeOf(const std::vector<EntryChange>& changes, std::string_view key) {
  const auto found =
      std::ranges::find(changes, key, [](const EntryChange& change) { return change.key.view(); });
  return found == changes.end() ? nullptr : &*found;
}

bool followerIsOurs(const Key& follower, const std::vector<EntryChange>& changes, const Dictionary& base,
                    const Dictionary& theirs) {
  return changeOf(changes, kProvinceEntry.text()) ||
         (changeOf(changes, follower.text()) && isSame(theirs.find(follower), base.find(follower)));
}

Dictionary merge(const Dictionary& base, const Dictionary& now, const Fills& fills, const Dictionary& theirs,
                 const IsBlocked& isBlocked) {
  Dictionary result = theirs;
  std::vector<EntryChange> changes = changesOf(base, now, fills);
  if (isBlocked) std::erase_if(changes, [&](const EntryChange& change) { return isBlocked(change.key); });
  for (const EntryChange& change : changes) result.set(change.key, change.value);
  for (const Dictionary::Entry& entry : now)
    if (fills.fillsBase(entry) && isSame(theirs.find(entry.key.view()), base.find(entry.key.view())))
      result.set(entry.key, entry.value);
  for (const Key& follower : kProvinceFollowers) {
    const Value* const value =
        (followerIsOurs(follower, changes, base, theirs) ? now : theirs).find(follower);
    result.set(follower, value ? *value : Value());
  }
  return result;
}

}  // namespace qorvane::inline v1
