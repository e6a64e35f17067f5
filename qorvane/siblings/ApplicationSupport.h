// Where the suite keeps files that the user does not handle.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// The absolute path of the user's application-support folder: Qorvane below XDG_DATA_HOME, else below
/// .local/share in the home. Nil when there is neither. The folder may not exist yet; nothing is created.
Text applicationSupportDirectory();

}  // namespace v1
}  // namespace qorvane
