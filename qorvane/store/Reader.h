// Reader: what entries read as, without touching them. Internal to the store.
#pragma once

#include <optional>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"

namespace qorvane::inline v1 {

/// A store for that product that only holds entries, for its accessors' sake: nothing is saved, nothing is
/// announced and no folder is made.
class Reader {
 public:
  Reader(Dictionary entries, const Product& product) : store_(nowhere_, product) {
    StoreAccess(store_).take(std::move(entries));
  }

  Options& store() { return store_; }

  /// What the option reads, with the default in the place of a missing entry; none for an entry that the
  /// getter refuses.
  std::optional<Value> reading(const OptionRow& row) try {
    // The first read of an entry that is missing may answer otherwise than every read after it.
    static_cast<void>(row.read(store_));
    return row.read(store_);
  } catch (const Exception&) {
    return std::nullopt;
  }

 private:
  MemoryUserDefaults nowhere_;
  Options store_;
};

}  // namespace qorvane::inline v1
