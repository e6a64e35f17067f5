// Options by name as the entries that are stored for them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "firm/Desk.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/store/OptionTable.h"

namespace optionsmgr::firm {

/// The option of that property name, which a firm may set. Throws FirmFailure: none, secret, of one machine
/// only, or one that cannot be set.
const qorvane::OptionRow& settableOption(std::string_view name);

/// The entries that the option's own setter stores for what a person wrote, in the words that the tool takes
/// at a desk. Throws optionsmgr::Failure or FirmFailure when it means no value of the option.
qorvane::Dictionary entriesFor(const qorvane::OptionRow& row, std::string_view words, const Domain& domain,
                               bool force);

/// What of somebody's entries a firm may take, in the stored forms of their options.
struct Taken {
  qorvane::Dictionary entries;
  std::vector<std::string> leftOut;  ///< Options that are secret or one machine's, by name.
  std::string objections;            ///< A line each for what is no entry of its option.
};
/// `force` passes rules about values, never about forms.
Taken takenFrom(const qorvane::Dictionary& given, const Domain& domain, bool force);

/// The stored keys that belong to the option in that domain.
std::vector<std::string> keysOf(const qorvane::OptionRow& row, const Domain& domain);

/// The option's name for a stored key, or else the key itself.
std::string nameOfKey(const std::string& key, bool corporate);

}  // namespace optionsmgr::firm
