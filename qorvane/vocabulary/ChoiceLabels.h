// The labels of the choice lists, two exported constants (…Eng, …Fr) for each choice: the stored labels of
// the rows of ChoiceLabels.def.
#pragma once

#include "qorvane/foundation/Text.h"

#define VOCABULARY_LIST "qorvane/vocabulary/ChoiceLabels.def"
#define CHOICE(neutral, englishName, english, frenchName, french, ...) \
  CONSTANT(englishName, english) CONSTANT(frenchName, french)
#define CHOICE_IN_ENGLISH(neutral, name, english, ...) CONSTANT(name, english)
#include "qorvane/vocabulary/Constants.def"
