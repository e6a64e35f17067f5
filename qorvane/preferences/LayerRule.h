// LayerRule: what layers must know of the entries and cannot, since an entry's meaning is the store's to say.
#pragma once

#include <span>
#include <string_view>

#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class LayerRule {
 public:
  virtual ~LayerRule() = default;

  /// Whether the user's entry under that settings key tells by itself that it was set on purpose. Asks no
  /// language, year or folder, and reads no settings.
  virtual bool isChosen(std::string_view settingsKey, std::string_view entryKey,
                        const Value& value) const = 0;

  /// An entry that goes with others.
  struct Follower {
    Text entry;
    std::span<const Text> leaders;
    /// It comes from the layer that its only leader comes from, and from no other; otherwise it is the user's
    /// as long as one of them is.
    bool fromTheirLayer;
  };
  virtual std::span<const Follower> followers() const = 0;
};

/// That of the options. The preference stores stand below the options and ask it; the store, which stands
/// above, answers.
const LayerRule& optionLayerRule();

}  // namespace v1
}  // namespace qorvane
