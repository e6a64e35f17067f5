#include "qorvane/siblings/PathUtils.h"

#include <fstream>
#include <string>
#include <string_view>

#include "qorvane/desktop/BaseDirectories.h"

namespace qorvane::inline v1 {

namespace {

constexpr char kVariable[] = "XDG_DOCUMENTS_DIR";

void skipBlanks(std::string_view& line) {
  const std::size_t start = line.find_first_not_of(" \t");
  line.remove_prefix(start == line.npos ? line.size() : start);
}

bool take(std::string_view& line, std::string_view token) {
  if (!line.starts_with(token)) return false;
  line.remove_prefix(token.size());
  return true;
}

// The folder that a line of user-dirs.dirs gives for documents: a shell's assignment of a text in double
// quotes, which starts with "$HOME" or a slash. Nil when the line is no such one.
Text folderOfLine(std::string_view line, const Text& home) {
  skipBlanks(line);
  if (!take(line, kVariable)) return nullptr;
  skipBlanks(line);
  if (!take(line, "=")) return nullptr;
  skipBlanks(line);
  if (!take(line, "\"")) return nullptr;
  const bool belowHome = take(line, "$HOME");
  if (!line.starts_with('/') && !(belowHome && line.starts_with('"'))) return nullptr;
  std::string path;
  for (std::size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
    if (line[i] == '\\' && i + 1 < line.size()) ++i;
    path += line[i];
  }
  const std::size_t last = path.find_last_not_of('/');
  path.erase(last == path.npos ? 0 : last + 1);
  if (belowHome) return path.empty() ? home : pathBelow(home, path.substr(path.find_first_not_of('/')));
  return Text(path.empty() ? "/" : path);
}

Text folderOfUserDirectories(const Text& home) {
  std::ifstream file(pathBelow(configDirectory(), "user-dirs.dirs").string());
  Text folder;
  // As in a shell, the last assignment counts.
  for (std::string line; std::getline(file, line);)
    if (const Text found = folderOfLine(line, home); !found.isNil()) folder = found;
  return folder;
}

}  // namespace

Text PathUtils::userDocumentsPath() {
  const Text home = homeDirectory();
  if (home.isNil()) return nullptr;
  if (Text folder = absolutePathInEnvironment(kVariable); !folder.isNil()) return folder;
  if (Text folder = folderOfUserDirectories(home); !folder.isNil()) return folder;
  return pathBelow(home, "Documents");
}

}  // namespace qorvane::inline v1
