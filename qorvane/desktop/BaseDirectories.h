// Where the desktop keeps a user's files: the home and the XDG base directories.
//
// Read anew from the environment on each call. A variable that is empty or no absolute path counts as not
// set, as the XDG convention asks. Nothing is created or tested for.
#pragma once

#include <string_view>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// The user's home: HOME. Nil when it is not set.
Text homeDirectory();
/// For settings: XDG_CONFIG_HOME, else .config below the home; nil when there is neither.
Text configDirectory();
/// For an application's own files: XDG_DATA_HOME, else .local/share below the home; nil when there is
/// neither.
Text dataDirectory();

/// The folder, a slash and the relative path.
Text pathBelow(const Text& folder, std::string_view relativePath);

/// The environment variable when it holds an absolute path, else nil.
Text absolutePathInEnvironment(const char* variable);

}  // namespace v1
}  // namespace qorvane
