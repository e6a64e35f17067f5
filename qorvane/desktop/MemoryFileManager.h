// MemoryFileManager: a file manager that remembers instead of touching the disk, and fails on demand. A
// double for tests; it is the default manager as long as it lives.
#pragma once

#include <cerrno>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/desktop/FileManager.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Paths are taken letter by letter: "." and ".." and doubled slashes have no meaning here.
class MemoryFileManager : public FileManager {
 public:
  /// What the making of a folder comes to.
  enum class Creation { Succeeds, Fails, Throws };

  void setCreation(Creation creation) { creation_ = creation; }
  /// Puts a plain file at the path.
  void addFile(const Text& path) { isDirectory_[path.string()] = false; }
  /// The paths that were asked to be made, in order, whatever it came to.
  const std::vector<Text>& asked() const { return asked_; }

  bool fileExistsAtPath(const Text& path, bool* isDirectory = nullptr) override {
    const auto found = isDirectory_.find(path.string());
    const bool exists = found != isDirectory_.end();
    if (isDirectory) *isDirectory = exists && found->second;
    return exists;
  }

  bool createDirectoryAtPath(const Text& path, bool withIntermediateDirectories) override {
    asked_.push_back(path);
    if (creation_ == Creation::Throws) throw Exception({FailureCode::cannotCreateFolder, {path}, EACCES});
    if (creation_ == Creation::Fails || !path.view().starts_with('/')) return false;
    const std::string_view whole = path.view();
    const std::string_view parent = whole.substr(0, whole.rfind('/'));
    if (!parent.empty() && !isFolder(parent) && !(withIntermediateDirectories && makeFolders(parent)))
      return false;
    return makeFolder(whole);
  }

 private:
  bool isFolder(std::string_view path) const {
    const auto found = isDirectory_.find(std::string(path));
    return found != isDirectory_.end() && found->second;
  }
  bool makeFolder(std::string_view path) {
    return isDirectory_.try_emplace(std::string(path), true).first->second;
  }
  bool makeFolders(std::string_view path) {
    const std::string_view parent = path.substr(0, path.rfind('/'));
    return (parent.empty() || makeFolders(parent)) && makeFolder(path);
  }

  std::map<std::string, bool> isDirectory_;
  std::vector<Text> asked_;
  Creation creation_ = Creation::Succeeds;
  ScopedFileManager scope_{this};
};

}  // namespace v1
}  // namespace qorvane
