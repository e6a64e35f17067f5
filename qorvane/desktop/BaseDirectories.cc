#include "qorvane/desktop/BaseDirectories.h"

#include <cstdlib>
#include <string>
#include <string_view>

namespace qorvane::inline v1 {

namespace {

Text variableOrBelowHome(const char* variable, std::string_view belowHome) {
  if (Text path = absolutePathInEnvironment(variable); !path.isNil()) return path;
  const Text home = homeDirectory();
  return home.isNil() ? Text() : pathBelow(home, belowHome);
}

}  // namespace

Text pathBelow(const Text& folder, std::string_view relativePath) {
  std::string path = folder.string();
  if (!path.ends_with('/')) path += '/';
  return Text(path.append(relativePath));
}

Text absolutePathInEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  if (!value || *value != '/') return nullptr;
  std::string_view path = value;
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return Text(path);
}

Text homeDirectory() { return absolutePathInEnvironment("HOME"); }
Text configDirectory() { return variableOrBelowHome("XDG_CONFIG_HOME", ".config"); }
Text dataDirectory() { return variableOrBelowHome("XDG_DATA_HOME", ".local/share"); }

}  // namespace qorvane::inline v1
