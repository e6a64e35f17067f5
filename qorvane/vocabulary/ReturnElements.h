// The keys of the elements of a personal (T1) return, one exported constant for each row of
// ReturnElements.def.
//
// Some names are very plain (Email, City, Sex). CurrentTime is also a macro of X11: a file that includes
// <X11/X.h> before this header undefines it first.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Owns the keys of T1 return elements; has no behaviour.
class ReturnElements {};

}  // namespace v1
}  // namespace qorvane

#define VOCABULARY_LIST "qorvane/vocabulary/ReturnElements.def"
#include "qorvane/vocabulary/Constants.def"
