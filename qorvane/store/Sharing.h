// Sharing: what a store keeps so that several programs may change one list of settings. Internal to the
// store.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
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

/// What edits by a person are beyond changes.
struct Intent {
  /// Entries that are to be written though they are what they were.
  std::vector<Text> pins;
  /// Entries that the user is to have none of.
  std::vector<Text> resets;
  /// Without farther layers too, where a reset otherwise writes the default.
  bool removes = false;
  /// A change that is locked by then fails the save.
  bool wholly = false;
};

/// What a store has to save.
struct Changed {
  /// Dictionaries: what it read, last wrote or took in, and what it holds now.
  Value base;
  Value now;
  Fills fills;
  Product product;
  /// All layers that the base was made of; null where there were no farther ones.
  std::shared_ptr<const LayeredSettings> layers;
  Intent intent;
};

/// A save that is merged with what others saved.
class StoreMerge : public UserDefaults::Merge {
 public:
  /// What is to be saved from now on.
  void prepare(Changed changed);

  Value merged(const Value& standing) override;
  Settings mergedSettings(const Settings& standing) override;
  Settings mergedLayers(const std::shared_ptr<const LayeredSettings>& standing) override;
  void written() override { written_ = true; }

  bool isWritten() const { return written_; }
  /// What all layers together are once it is written: the very object that was to be saved, unless others had
  /// changed theirs.
  const Value& answer() const { return answer_.isNil() ? changed_.now : answer_; }
  /// The layers of the answer; null where there are no farther ones.
  const std::shared_ptr<const LayeredSettings>& layers() const { return layers_; }
  /// What the user's own settings note as chosen once it is written.
  const Value& chosen() const { return chosen_; }
  /// Names the options whose change was not made because they were locked by then; none when all were.
  const std::optional<Failure>& refused() const { return refused_; }
  /// The changes that it was to bring there.
  std::vector<EntryChange> changes() const;

 private:
  Dictionary mergedEntries(const LayeredSettings& standing, std::vector<EntryChange> changes) const;

  Changed changed_;
  Value answer_;
  std::shared_ptr<const LayeredSettings> layers_;
  Value chosen_;
  std::optional<Failure> refused_;
  bool written_ = false;
};

/// What a loaded store knows of its key.
struct Sharing {
  Text key;
  /// The object as it was read, last written or taken in.
  Value base;
  /// What the base was made of, in a store with farther layers that have anything; else null.
  std::shared_ptr<const LayeredSettings> layers = nullptr;
  /// What the user's own settings note as chosen.
  Value chosen = nullptr;
  Fills fills = {};
  /// What of ours waits to be written, if anything does.
  std::shared_ptr<StoreMerge> merge = nullptr;
  /// What is meant by the changes that are being saved.
  Intent intent = {};

  /// When somebody else's `synchronize` has meanwhile written what waited, it is no change of ours any more.
  void settle();
};

}  // namespace qorvane::inline v1
