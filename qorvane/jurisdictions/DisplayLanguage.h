// The language in which labels and names are shown. The choice lists ask it on every call; the facade,
// which stands above them, answers it from the store's language option.
#pragma once

namespace qorvane::inline v1 {

/// True when labels are to be shown in English, false for French.
bool displayLanguageIsEnglish();

}  // namespace qorvane::inline v1
