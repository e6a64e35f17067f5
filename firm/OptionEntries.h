// Options by name as the entries that are stored for them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/OptionTable.h"

namespace optionsmgr::firm {

/// The option of that property name, which a firm may set. Throws FirmFailure: none, secret, of one machine
/// only, or one that cannot be set.
const qorvane::OptionRow& settableOption(std::string_view name);

/// The entries that the option's own setter stores for what a person wrote: true or false, yes or no, digits,
/// a font as "name, size", a colour as "#RRGGBB", a choice by its neutral word or a label in either language.
/// Throws FirmFailure when it means no value of the option.
qorvane::Dictionary entriesFor(const qorvane::OptionRow& row, std::string_view words,
                               const qorvane::Product& product, bool force);

/// The stored keys that belong to the option in that product.
std::vector<std::string> keysOf(const qorvane::OptionRow& row, const qorvane::Product& product);

/// The option's name for a stored key, or else the key itself.
std::string nameOfKey(const std::string& key, bool corporate);

}  // namespace optionsmgr::firm
