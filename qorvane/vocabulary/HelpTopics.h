// The help topics of the dialogs, one exported constant for each row of HelpTopics.def: numbers of the
// help file, as texts.
#pragma once

#include "qorvane/foundation/Text.h"

#define VOCABULARY_LIST "qorvane/vocabulary/HelpTopics.def"
#include "qorvane/vocabulary/Constants.def"
