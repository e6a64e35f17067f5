#include "qorvane/desktop/BaseDirectories.h"

#include <cstdlib>
#include <string>
#include <string_view>

namespace qorvane::inline v1 {

namespace {

std::string variableOrBelowHome(const char* variable, std::string_view belowHome) {
  if (std::string path = pathInEnvironment(variable); !path.empty()) return path;
  const std::string home = homePath();
  return home.empty() ? home : pathBelow(home, belowHome);
}

}  // namespace

std::string pathBelow(const std::string& folder, std::string_view relativePath) {
  std::string path = folder;
  if (!path.ends_with('/')) path += '/';
  return path.append(relativePath);
}
Text pathBelow(const Text& folder, std::string_view relativePath) {
  return Text(pathBelow(folder.string(), relativePath));
}

Text textOfPath(const std::string& path) {
  return path.empty() || !detail::isWellFormedUtf8(path) ? Text() : Text::fromWellFormed(path);
}

std::string pathInEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  if (!value || *value != '/') return {};
  std::string_view path = value;
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return std::string(path);
}
Text absolutePathInEnvironment(const char* variable) { return textOfPath(pathInEnvironment(variable)); }

std::string homePath() { return pathInEnvironment("HOME"); }
std::string configPath() { return variableOrBelowHome("XDG_CONFIG_HOME", ".config"); }
std::string dataPath() { return variableOrBelowHome("XDG_DATA_HOME", ".local/share"); }
std::string statePath() { return variableOrBelowHome("XDG_STATE_HOME", ".local/state"); }

Text homeDirectory() { return textOfPath(homePath()); }
Text configDirectory() { return textOfPath(configPath()); }
Text dataDirectory() { return textOfPath(dataPath()); }

}  // namespace qorvane::inline v1
