#include "tests/foundation/OtherConstants.h"

namespace qorvane {

Text constantAsSeenElsewhere() { return kShared; }
Text equalLiteralElsewhere() { return "Shared by two sources"; }

}  // namespace qorvane
