// Constants as another translation unit sees them.
#pragma once

#include "qorvane/foundation/Text.h"

namespace elsewhere {

qorvane::Text preparerCity();
qorvane::Text surname();
qorvane::Text federal();

/// What a static object of that unit read while it was initialised.
qorvane::Text readAtLoad();

}  // namespace elsewhere
