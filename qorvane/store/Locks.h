// Locks: which options the layers of a store lock. Internal to the store.
#pragma once

#include <string>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Failure.h"
#include "qorvane/preferences/Layers.h"
#include "qorvane/store/Merging.h"
#include "qorvane/store/OptionTable.h"

namespace qorvane::inline v1 {

/// The layer that locks an entry which the option's setter writes in that product, null when none does.
const Layer* lockOf(const Layers& layers, const OptionRow& row, const Product& product);

/// That the options, named, are locked by the layer.
Failure lockedFailure(const Text& names, const Layer& lock);

/// The entries that may not be changed: those that are locked, and those of options that are.
class Locks {
 public:
  Locks(const Layers& layers, const Product& product);

  bool isLocked(const Text& entryKey) const { return own_.find(entryKey.view()) || layers_.lockOf(entryKey); }
  /// Takes the changes that may not be made out of the list. Answers the failure that names their options,
  /// none when all may be made.
  std::optional<Failure> strike(std::vector<EntryChange>& changes) const;

 private:
  const Layers& layers_;
  /// The own entries of locked options, with the options' names.
  Dictionary own_;
};

}  // namespace qorvane::inline v1
