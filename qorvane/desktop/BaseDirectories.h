// Where the desktop keeps a user's files: the home and the XDG base directories.
//
// Read anew from the environment on each call. A variable that is empty or no absolute path counts as not
// set, as the XDG convention asks. Nothing is created or tested for.
//
// A path is bytes, in whatever encoding; a text is UTF-8. The forms that answer texts answer nil for a path
// that is none, for a text that were repaired would name another folder.
#pragma once

#include <string>
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

/// The same as bytes; empty where there is none.
std::string homePath();
std::string configPath();
std::string dataPath();
/// For what an application keeps from run to run, as bytes: XDG_STATE_HOME, else .local/state below the home;
/// empty where there is neither.
std::string statePath();

/// The path as a text; nil for the empty one and for bytes that are no UTF-8.
Text textOfPath(const std::string& path);

/// The folder, a slash and the relative path.
std::string pathBelow(const std::string& folder, std::string_view relativePath);
Text pathBelow(const Text& folder, std::string_view relativePath);

/// The environment variable when it holds an absolute path, without slashes at its end; else nil, or empty.
Text absolutePathInEnvironment(const char* variable);
std::string pathInEnvironment(const char* variable);

}  // namespace v1
}  // namespace qorvane
