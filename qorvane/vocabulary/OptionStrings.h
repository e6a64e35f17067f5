// The keys of the options, each an exported constant optsStr_…: the rows of OptionStrings.def.
// Keys are compared as strings, case included, never by identity.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Owns the option keys; has no behaviour.
class OptionStrings {};

}  // namespace v1
}  // namespace qorvane

#define VOCABULARY_LIST "qorvane/vocabulary/OptionStrings.def"
#include "qorvane/vocabulary/Constants.def"
