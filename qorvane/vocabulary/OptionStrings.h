// The keys of the options, each an exported constant optsStr_…: the rows of OptionStrings.def.
// Keys are compared as strings, case included, never by identity.
#pragma once

#include "qorvane/foundation/Text.h"

namespace [[gnu::visibility("default")]] qorvane {

/// Owns the option keys; has no behaviour.
class OptionStrings {};

}  // namespace qorvane

#define VOCABULARY_LIST "qorvane/vocabulary/OptionStrings.def"
#include "qorvane/vocabulary/Constants.def"
