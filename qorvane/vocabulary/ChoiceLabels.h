// The labels of the choice lists, two exported constants (…Eng, …Fr) for each choice: the rows of
// ChoiceLabels.def. The choice-list classes say which neutral value each label stands for.
#pragma once

#include "qorvane/foundation/Text.h"

#define VOCABULARY_LIST "qorvane/vocabulary/ChoiceLabels.def"
#include "qorvane/vocabulary/Constants.def"
