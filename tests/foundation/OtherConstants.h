// A constant that two sources of the test program use.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {

inline constexpr Text kShared = "Shared by two sources";

Text constantAsSeenElsewhere();
Text equalLiteralElsewhere();

}  // namespace qorvane
