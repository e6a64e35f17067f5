// The values that a setting had before, as the generations of its file hold them.
#pragma once

#include <ctime>
#include <vector>

#include "qorvane/preferences/FileUserDefaults.h"
#include "window/Sheet.h"

namespace optionsmgr::window {

struct Former {
  qorvane::Value value;
  /// When it was saved, as far back as is kept.
  std::time_t since = 0;
};

/// The newest first, without the one that stands; each run of saves that left the value as it was is one.
/// Generations that cannot be read now are passed over.
std::vector<Former> formerValues(const Item& item, Sheet& sheet, qorvane::FileUserDefaults& files);

}  // namespace optionsmgr::window
