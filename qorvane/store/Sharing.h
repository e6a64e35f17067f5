// Sharing: what a store keeps so that several programs may change one list of settings. Internal to the
// store.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Merging.h"

namespace qorvane::inline v1 {

class Options;

/// The entries of a stored object; none of one that is no dictionary.
const Dictionary& entriesOf(const Value& stored);

/// The options that read differently in the two dictionaries of a store for that product, in the order of the
/// table. An entry that appears or goes without changing a reading is no difference.
std::vector<Text> changedReadings(const Dictionary& before, const Dictionary& after, const Product& product);

/// Options of the load list that had an entry before and have none now get their stored default, in bulk
/// mode.
void fillTaken(Options& store, const Dictionary& before);

/// A save that is merged with what others saved.
class StoreMerge : public UserDefaults::Merge {
 public:
  /// What is to be saved from now on, a dictionary, and all that tells what of it is a change.
  void prepare(Value base, Value now, Fills fills, Product product);

  Value merged(const Value& standing) override;
  void written() override { written_ = true; }

  bool isWritten() const { return written_; }
  /// What stands on the disk once it is written: the very object that was to be saved, unless others had
  /// changed theirs.
  const Value& answer() const { return answer_.isNil() ? now_ : answer_; }
  /// The changes that it was to bring there.
  std::vector<EntryChange> changes() const { return changesOf(entriesOf(base_), entriesOf(now_), fills_); }

 private:
  Value base_;
  Value now_;
  Fills fills_;
  Product product_;
  Value answer_;
  bool written_ = false;
};

/// What a loaded store knows of its key.
struct Sharing {
  Text key;
  /// The object as it was read, last written or taken in.
  Value base;
  Fills fills;
  /// What of ours waits to be written, if anything does.
  std::shared_ptr<StoreMerge> merge;

  /// When somebody else's `synchronize` has meanwhile written what waited, it is no change of ours any more.
  void settle();
};

}  // namespace qorvane::inline v1
