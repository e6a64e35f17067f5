// OptionOrigin: where the value of an option comes from, and who keeps it from being set.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct OptionOrigin {
  /// The nearest last: nobody's, the firm's, the machine's, the user's.
  enum class Layer : std::uint8_t { Default, Firm, Machine, User };
  Layer layer = Layer::Default;
  /// The file that holds the entry; empty for a default, and where the user's settings are in no file.
  std::string file;
  /// It is the file for every year.
  bool everyYear = false;
  /// The value was changed here and not saved yet; `file` is where it will be.
  bool unsaved = false;

  struct Lock {
    Layer layer;
    /// The layer's folder.
    std::string folder;
    /// The process's user cannot change that folder. Locks in one that he can bind programs only.
    bool enforced;
  };
  std::optional<Lock> lock;

  /// What the layer's file notes of the entry's own origin (its place, number, time and who), as it stands
  /// there; nil where it notes nothing.
  Value record;
};

}  // namespace v1
}  // namespace qorvane
