// LayeredUserDefaults: the user's own settings, with what is set for many desks over and under them.
//
// An entry is looked for in layers, the nearest first: the user's file, the machine's folders, the firm's
// (Layers.h). Every load stores defaults among the user's entries, so an entry of the user's counts before a
// farther one only when it was *chosen*: when the array `Chosen` beside the entries names it, or when it
// tells so by itself (LayerRule). A lock makes what its folder or a farther one has count before everything
// nearer.
//
// What is read is all layers together; what is written is the user's file alone, by the rule of the merge
// that was given (UserDefaults::Merge::mergedLayers). Layers are read anew at each load and, under the lock,
// at each save. Where no farther layer has anything, it is the user's store and nothing else. Main thread
// only.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/LayerRule.h"
#include "qorvane/preferences/Layers.h"
#include "qorvane/preferences/UserDefaults.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// All layers of a key at one moment. Does not change.
class LayeredSettings {
 public:
  /// own: the user's; layers: the farther ones. The rule outlives it.
  LayeredSettings(Text key, Settings own, std::shared_ptr<const Layers> layers, const LayerRule& rule);
  /// The same layers with other settings of the user's.
  std::shared_ptr<const LayeredSettings> with(Settings own) const;

  const Text& key() const { return key_; }
  const Settings& own() const { return own_; }
  const Dictionary& ownEntries() const;
  const Layers& layers() const { return *layers_; }

  /// What counts for an entry, and from where; a value without a layer is the user's own.
  Layers::Standing standing(std::string_view entryKey) const;
  /// Whether the user's entry counts before a farther one that is not locked; false where there is none.
  bool isChosen(std::string_view entryKey) const;
  /// Whether `Chosen` names it.
  bool isMarked(std::string_view entryKey) const { return marks_.find(entryKey); }
  /// Whether the value would count as chosen without a mark.
  bool isChosenByItself(std::string_view entryKey, const Value& value) const {
    return rule_.isChosen(key_, entryKey, value);
  }
  /// What counts of all layers: the user's entries in their order, and farther ones in their places or behind
  /// them.
  Dictionary effective() const;

 private:
  Layers::Standing standingApart(std::string_view entryKey) const;
  void put(const Text& entryKey, Dictionary& effective) const;

  Text key_;
  Settings own_;
  Dictionary marks_;
  std::shared_ptr<const Layers> layers_;
  const LayerRule& rule_;
};

/// The names in such an array that are keys of those entries, in its order; nil when there are none. What is
/// no array of texts names nothing.
Value chosenAmong(const Value& chosen, const Dictionary& entries);

class LayeredUserDefaults : public FileUserDefaults {
 public:
  /// The user's files in that folder. The rule and the system calls outlive the store and every save of it.
  explicit LayeredUserDefaults(std::string folder = defaultFolder(),
                               const LayerRule& rule = optionLayerRule(),
                               SystemCalls& calls = SystemCalls::standard());
  ~LayeredUserDefaults() override;

  /// The farther layers of the key as they stand now. Throws FileException for what is there and cannot be
  /// read just now.
  Layers layers(const Text& key) const;
  /// These settings of the user's with the farther layers as they stand now, whether or not there are any.
  std::shared_ptr<const LayeredSettings> over(const Text& key, Settings own) const;

  // What is set whole is the user's own.
  Value objectForKey(const Text& key) override { return load(key).object; }
  Loaded load(const Text& key) override;
  void update(const Value& whole, const Text& key, std::shared_ptr<Merge> merge) override;

 private:
  friend class PreferenceWatch;
  class OverLayers;

  const LayerRule& rule_;
  SystemCalls& calls_;
  /// Shared with saves that wait, which may outlive the store.
  std::shared_ptr<KnownLayerFiles> known_ = std::make_shared<KnownLayerFiles>();
  /// The merges that were handed on and may wait.
  std::vector<std::weak_ptr<OverLayers>> handed_;
  /// The keys that were ever loaded.
  std::set<std::string, std::less<>> loaded_;
};

}  // namespace v1
}  // namespace qorvane
