// The lines of options.txt.
#pragma once

#include <string>
#include <vector>

#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"
#include "tests/store/StoreWorld.h"

namespace testing_support {

struct ExpectedOption {
  std::string getter;
  std::string personalKey;
  std::string corporateKey;
  std::string form;
  std::string fallback;
  std::string reading;
  std::string setting;
  std::string nil;

  bool derived() const { return form == "derived"; }
  bool readOnly() const { return derived() || form.ends_with("read only"); }
  /// Colours and folders are tried by tests of their own.
  bool triedElsewhere() const { return derived() || form == "colour" || form.starts_with("folder"); }
  bool isText() const { return form == "text" || form == "translated"; }
  bool stores() const { return reading.starts_with("stores"); }
  bool overEmpty() const { return reading == "stores over empty"; }
  /// A setter that compares first, of whatever kind.
  bool compares() const { return setting.starts_with("comparing"); }
  /// The setter writes entries besides its own, which tests of their own look at.
  bool writesOthers() const {
    return setting == "comparing, province" || setting == "comparing, postal code" || form == "font";
  }
  qorvane::Text key(ProductKind product) const {
    return qorvane::Text(product == ProductKind::Corporate ? corporateKey : personalKey);
  }
  /// What the option reads as without an entry, in that language.
  qorvane::Value fallbackIn(std::string_view language) const;
  /// What `nil` is stored as; only where it is.
  qorvane::Value nilEntry() const;
  bool nilIsStored() const { return nil.starts_with('"'); }

  /// The entry that holds the value.
  qorvane::Value entryOf(const qorvane::Value& value) const;
  /// Two values that differ from each other and from the default, save for a flag, one of whose is its
  /// default.
  std::vector<qorvane::Value> samples() const;
};

const std::vector<ExpectedOption>& expectedOptions();

}  // namespace testing_support
