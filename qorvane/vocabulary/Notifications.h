// The names of the notifications that the suite posts, one exported constant for each row of
// Notifications.def. This library posts kPreferenceChangeEvt when changed settings were saved and
// kStepFormsModeChangeEvt when the step-forms mode is switched; the applications post the others.
#pragma once

#include "qorvane/foundation/Text.h"

#define VOCABULARY_LIST "qorvane/vocabulary/Notifications.def"
#include "qorvane/vocabulary/Constants.def"
