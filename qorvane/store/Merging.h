// Merging: what a store's entries become when others saved theirs meanwhile. A rule over dictionaries alone,
// which knows neither options nor files. Internal to the store.
//
// The *base* is what the store read, last wrote or took in; the *fills* are defaults that reading put into
// its dictionary since. Ours is what differs from the base and is no fill; everything else is theirs. Entries
// are compared with isIdentical.
#pragma once

#include <array>
#include <functional>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

/// Defaults that getters stored. They are known by their value: an entry that holds another one is no fill.
class Fills {
 public:
  /// Notes that the default is about to be stored in the place of `before` (null: no entry), where the base
  /// holds `inBase`.
  void note(const Key& key, const Value* before, const Value* inBase, const Value& value);
  void clear() { *this = Fills(); }
  /// Forgets those that the next base no longer has room for: where it differs from the one they were noted
  /// with.
  void rebase(const Dictionary& base, const Dictionary& next);

  /// The base took an entry of ours, null for a removal, while we went on: a default that stands there now is
  /// one over the removal of what we wrote, or over nothing.
  void settle(const Key& key, const Value* inBase);

  /// The entry is a default in the place of what the base holds.
  bool fillsBase(const Dictionary::Entry& entry) const;
  /// The entry is a default in the place of one that we had removed: that stays a removal.
  bool fillsRemoval(const Dictionary::Entry& entry) const;

 private:
  Dictionary ofBase_;
  Dictionary ofRemovals_;
};

/// What we did to one entry.
struct EntryChange {
  Text key;
  /// Nil: removed.
  Value value;
};

/// What of `now` is ours, in its order; removals come last.
std::vector<EntryChange> changesOf(const Dictionary& base, const Dictionary& now, const Fills& fills);

/// Whether a change of the entry must not be made.
using IsBlocked = std::function<bool(const Text& key)>;

/// Our changes over theirs, which is what stands there now, and a fill where theirs still holds what the base
/// does. The code and the line of a province come from the side that the province comes from, unless only we
/// changed them. Where theirs still is the base, nothing is to be merged: `now` as a whole is to be written.
/// Changes that are blocked are none.
Dictionary merge(const Dictionary& base, const Dictionary& now, const Fills& fills, const Dictionary& theirs,
                 const IsBlocked& isBlocked = {});

/// The change of the entry, null where there is none.
const EntryChange* changeOf(const std::vector<EntryChange>& changes, std::string_view key);

/// The province's entry, and what setting it writes beside it. Apart they would tell of two provinces.
inline constexpr Key kProvinceEntry{optsStr_PreparerProvince};
inline constexpr std::array kProvinceFollowers{Key{optsStr_PracPOCode},
                                               Key{optsStr_PreparerProvinceAndPostalCode}};
/// Whether what `now` holds for a follower is to be written over theirs: where the province's change is ours,
/// and where only we changed the follower.
bool followerIsOurs(const Key& follower, const std::vector<EntryChange>& changes, const Dictionary& base,
                    const Dictionary& theirs);

}  // namespace qorvane::inline v1
