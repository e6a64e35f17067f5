// How much a test tries: a part in ./test, the whole in scripts/long.
#pragma once

#include <cstdlib>

namespace testing_support {

/// `whole` where OPTIONSMGR_LONG is set, as scripts/long does, else `part`. For tests that would need over a
/// minute.
inline int wholeOrPart(int whole, int part) { return std::getenv("OPTIONSMGR_LONG") ? whole : part; }

}  // namespace testing_support
