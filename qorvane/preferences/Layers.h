// Layers: what is set for many desks at once, beyond the user's own settings, as it stands in files.
//
// A layer is a folder that the library reads and never writes. For a key such as QorvaneT1Settings2025 it may
// hold two property lists, each with its name as the key of its dictionary:
//
//   QorvaneT1Settings2025.plist   the year's
//   QorvaneT1Settings.plist       for every year that has no entry of its own in the year's
//
// and in either a top-level array `Locked` of the entries that nearer layers may not set ("*": all). Whoever
// could change a folder or file decides what every desk reads, so one that anyone but those trusted could
// change is left out, with one line of the log. What is missing, damaged, huge or foreign is left out
// likewise; what is there and cannot be read just now (an input error, no descriptors, no memory) throws, for
// leaving it out would be an answer.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class SystemCalls;

/// Where a layer stands and who may have written it.
struct LayerFolder {
  enum class Kind : std::uint8_t { Machine, Firm };
  Kind kind;
  /// Absolute. The folder may be a link; its files may not.
  std::string path;
  /// Who is trusted besides root.
  uid_t owner;
};

/// The folders in force, the nearest first: Qorvane below each folder of XDG_CONFIG_DIRS (/etc/xdg where that
/// names none; what is no absolute path counts for nothing), then the firm's. The firm's is `current` in
/// Qorvane/firm below XDG_STATE_HOME, or in the folder that root's Firm.plist names together with its owner.
std::vector<LayerFolder> layerFolders(SystemCalls& calls);

/// What files of layers held when they were last read: the same bytes need not be understood again.
class KnownLayerFiles {
 public:
  /// What bytes of that file are known to hold; null when they are others than the last ones.
  const Value* find(const std::string& path, std::string_view bytes) const;
  void keep(const std::string& path, std::string bytes, Value top);

 private:
  struct Known {
    std::string bytes;
    Value top;
  };
  std::map<std::string, Known> files_;
};

/// What one folder says of a key.
class Layer {
 public:
  struct Entry {
    const Value* value;
    bool everyYear;
  };

  /// Reads the folder's two files; nothing when neither counts.
  static std::optional<Layer> read(const LayerFolder& folder, const Text& key, SystemCalls& calls,
                                   KnownLayerFiles* known = nullptr);

  const LayerFolder& folder() const { return folder_; }
  LayerFolder::Kind kind() const { return folder_.kind; }
  /// The process's user cannot change its files. Locks in a folder that he can change bind programs only.
  bool isEnforced() const { return enforced_; }
  /// The path of the year's file or of the one for every year, whether or not it stands there.
  std::string file(bool everyYear) const;
  /// The entry of that stored key, the year's before the one of every year; none when it has neither.
  std::optional<Entry> find(std::string_view entryKey) const;
  /// Whether one of its files locks the entry.
  bool locks(std::string_view entryKey) const { return locksAll_ || locked_.find(entryKey); }
  /// What it locks by name: the keys of this dictionary.
  const Dictionary& locked() const { return locked_; }
  bool locksAll() const { return locksAll_; }
  /// Neither entries nor locks.
  bool empty() const { return year().empty() && everyYear().empty() && locked_.empty() && !locksAll_; }
  const Dictionary& year() const { return *year_.asDictionary(); }
  const Dictionary& everyYear() const { return *everyYear_.asDictionary(); }
  /// What the file that has the entry says of where it came from, as it stands there; null when it does not
  /// say.
  const Value* origin(std::string_view entryKey) const {
    return (year().find(entryKey) ? origins_ : everyYearOrigins_).asDictionary()->find(entryKey);
  }

 private:
  Layer(const LayerFolder& folder, const Text& key) : folder_(folder), key_(key) {}

  LayerFolder folder_;
  Text key_;
  // Dictionaries.
  Value year_, everyYear_, origins_, everyYearOrigins_;
  Dictionary locked_;
  bool locksAll_ = false;
  bool enforced_ = false;
};

/// The farther layers of a key, the nearest first.
class Layers {
 public:
  Layers() = default;
  explicit Layers(std::vector<Layer> layers);
  /// Those of the folders that have anything for the key.
  static Layers read(const std::vector<LayerFolder>& folders, const Text& key, SystemCalls& calls,
                     KnownLayerFiles* known = nullptr);

  /// What counts for an entry: the value, null for none; the layer that it comes from, null for the user's
  /// own or none; the layer that locks it, null for none.
  struct Standing {
    const Value* value = nullptr;
    const Layer* layer = nullptr;
    bool everyYear = false;
    const Layer* lock = nullptr;
  };
  /// user: the user's entry, or null; chosen: it was set on purpose, and so does not yield to a farther
  /// value.
  Standing standing(std::string_view entryKey, const Value* user, bool chosen) const;

  bool empty() const { return layers_.empty(); }
  /// Whether any layer locks anything.
  bool lock() const { return lock_; }
  /// Whether any layer has the entry.
  bool has(std::string_view entryKey) const;
  /// The farthest layer that locks the entry and has it, or has one behind it that does; else null.
  const Layer* lockOf(std::string_view entryKey) const;
  auto begin() const { return layers_.begin(); }
  auto end() const { return layers_.end(); }

 private:
  std::vector<Layer> layers_;
  bool lock_ = false;
};

/// The key of every year: without its digits at the end.
std::string_view everyYearKey(std::string_view key);

}  // namespace v1
}  // namespace qorvane
