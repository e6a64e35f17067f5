// Other libraries that do the same jobs, as far as they are installed, behind one face: the benchmarks know
// no peer by name.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace peers {

using Entries = std::vector<std::pair<std::string, std::string>>;

/// A store of settings that holds the entries in a file of its own. Each operation is done `count` times;
/// one that the library has no counterpart for is empty.
struct Store {
  std::string name;
  /// Reads the text under the first entry's key.
  std::function<void(std::size_t count)> read;
  /// Sets the first entry to two texts in turn, in memory.
  std::function<void(std::size_t count)> set;
  /// Reads and decodes the whole file.
  std::function<void(std::size_t count)> load;
  /// Changes an entry and brings all of them to the disk, in the library's own most careful way.
  std::function<void(std::size_t count)> save;
};

/// The two texts that changes take in turn.
inline constexpr const char* kTexts[] = {"Gaspé, in Quebec", "Alma, in Quebec"};

/// `set` and `save` of a store from what the library does for one of them: `change(i)` sets the first entry
/// to kTexts[i].
template <class Change>
auto setBy(Change change) {
  return [change](std::size_t count) {
    while (count-- > 0) change(count % 2);
  };
}
template <class Change, class Sync>
auto saveBy(Change change, Sync sync) {
  // The turn goes on from call to call: a library may see that nothing changed, and save nothing.
  return [change, sync, turn = std::size_t{0}](std::size_t count) mutable {
    while (count-- > 0) {
      change(turn = 1 - turn);
      sync();
    }
  };
}

/// The stores of the libraries that are installed, each holding the entries in a file in the folder.
std::vector<Store> stores(const Entries& entries, const std::string& folder);

/// Writes an amount with two decimals and grouped thousands, and reads one; empty without a library for it.
extern const std::function<void(double)> formatAmount;
extern const std::function<void(std::string_view)> parseAmount;

// What each library adds; defined only where it is installed.
void addQtStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder);
void addGlibStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder);
void addKdeStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder);
void addBoostStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder);
void formatAmountByQt(double amount);
void parseAmountByQt(std::string_view text);

}  // namespace peers
