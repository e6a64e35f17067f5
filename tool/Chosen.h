// The marks of entries that somebody chose, which travel with them.
#pragma once

#include <vector>

#include "qorvane/preferences/UserDefaults.h"

namespace optionsmgr {

/// Makes the entries under those keys, and their marks, what the past had.
void takeOver(qorvane::Settings& settings, const qorvane::Settings& past,
              const std::vector<qorvane::Text>& keys);

/// The entries; none of what is no dictionary.
qorvane::Dictionary entriesOf(const qorvane::Value& object);

}  // namespace optionsmgr
