// The names of the provinces, one exported constant for each row of ProvinceNames.def. For the
// applications; the conversions of ProvinceCodeMapping do not read them.
#pragma once

#include "qorvane/foundation/Text.h"

#define VOCABULARY_LIST "qorvane/vocabulary/ProvinceNames.def"
#include "qorvane/vocabulary/Constants.def"
