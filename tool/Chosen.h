// The marks of entries that somebody chose: the array `Chosen` among a user's entries, which travels with
// them.
#pragma once

#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"

namespace optionsmgr {

inline constexpr std::string_view kChosen = "Chosen";

/// Makes the entries under those keys, and their marks, what the past had.
void takeOver(qorvane::Dictionary& entries, const qorvane::Dictionary& past,
              const std::vector<qorvane::Text>& keys);

}  // namespace optionsmgr
