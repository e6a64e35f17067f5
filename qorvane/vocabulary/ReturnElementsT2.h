// The keys of the elements of a corporate (T2) return, one exported constant for each row of
// ReturnElementsT2.def.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Owns the keys of T2 return elements; has no behaviour.
class ReturnElementsT2 {};

}  // namespace v1
}  // namespace qorvane

#define VOCABULARY_LIST "qorvane/vocabulary/ReturnElementsT2.def"
#include "qorvane/vocabulary/Constants.def"
