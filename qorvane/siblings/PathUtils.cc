#include "qorvane/siblings/PathUtils.h"

#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Failure.h"

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
// quotes, which starts with "$HOME" or a slash. Empty when the line is no such one.
std::string folderOfLine(std::string_view line, const std::string& home) {
  skipBlanks(line);
  if (!take(line, kVariable)) return {};
  skipBlanks(line);
  if (!take(line, "=")) return {};
  skipBlanks(line);
  if (!take(line, "\"")) return {};
  const bool belowHome = take(line, "$HOME");
  if (!line.starts_with('/') && !(belowHome && line.starts_with('"'))) return {};
  std::string path;
  for (std::size_t i = 0; i < line.size() && line[i] != '"'; ++i) {
    if (line[i] == '\\' && i + 1 < line.size()) ++i;
    path += line[i];
  }
  const std::size_t last = path.find_last_not_of('/');
  path.erase(last == path.npos ? 0 : last + 1);
  if (belowHome) return path.empty() ? home : pathBelow(home, path.substr(path.find_first_not_of('/')));
  return path.empty() ? "/" : path;
}

std::string folderOfUserDirectories(const std::string& home) {
  std::ifstream file(pathBelow(configPath(), "user-dirs.dirs"));
  std::string folder;
  // As in a shell, the last assignment counts.
  for (std::string line; std::getline(file, line);)
    if (std::string found = folderOfLine(line, home); !found.empty()) folder = std::move(found);
  return folder;
}

std::string documentsPath() {
  const std::string home = homePath();
  if (home.empty()) return home;
  if (std::string folder = pathInEnvironment(kVariable); !folder.empty()) return folder;
  if (std::string folder = folderOfUserDirectories(home); !folder.empty()) return folder;
  return pathBelow(home, "Documents");
}

// One line of the log for each such folder, however often it is asked for.
void tellOnce(const std::string& path) {
  static std::string told;
  if (told == path) return;
  told = path;
  log(Failure{FailureCode::documentsNoText, {path}});
}

}  // namespace

Text PathUtils::userDocumentsPath() {
  const std::string path = documentsPath();
  Text text = textOfPath(path);
  if (text.isNil() && !path.empty()) tellOnce(path);
  return text;
}

bool PathUtils::hasNoWordsForDocuments() {
  const std::string path = documentsPath();
  return !path.empty() && textOfPath(path).isNil();
}

}  // namespace qorvane::inline v1
