// The marks of entries that somebody chose, which travel with them.
#pragma once

#include <string_view>
#include <vector>

#include "qorvane/preferences/UserDefaults.h"

namespace optionsmgr {

/// Makes the entries under those keys, and their marks, what the past had.
void takeOver(qorvane::Settings& settings, const qorvane::Settings& past,
              const std::vector<qorvane::Text>& keys);

/// Whether such an array names the entry.
bool isNoted(const qorvane::Value& chosen, std::string_view entryKey);
/// Adds the entry to such an array, or takes it out.
void note(qorvane::Value& chosen, const qorvane::Text& entryKey, bool noted);

/// The entries; none of what is no dictionary.
qorvane::Dictionary entriesOf(const qorvane::Value& object);

}  // namespace optionsmgr
