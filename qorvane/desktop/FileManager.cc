#include "qorvane/desktop/FileManager.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace qorvane::inline v1 {

namespace fs = std::filesystem;

namespace {

bool isPath(const Text& path) {
  return !path.isNilOrEmpty() && path.view().find('\0') == std::string_view::npos;
}

class SystemFileManager : public FileManager {
 public:
  bool fileExistsAtPath(const Text& path, bool* isDirectory) override {
    std::error_code ignored;
    const fs::file_status status = isPath(path) ? fs::status(path.string(), ignored) : fs::file_status();
    if (isDirectory) *isDirectory = fs::is_directory(status);
    return fs::exists(status);
  }

  bool createDirectoryAtPath(const Text& path, bool withIntermediateDirectories) override {
    if (!isPath(path)) return false;
    // The error does not tell whether the folder is there: another process may have made it meanwhile.
    std::error_code ignored;
    if (withIntermediateDirectories)
      fs::create_directories(path.string(), ignored);
    else
      fs::create_directory(path.string(), ignored);
    bool isDirectory = false;
    return fileExistsAtPath(path, &isDirectory) && isDirectory;
  }
};

FileManager*& chosenManager() {
  static FileManager* manager = nullptr;
  return manager;
}

}  // namespace

FileManager& FileManager::defaultManager() {
  static SystemFileManager system;
  return chosenManager() ? *chosenManager() : system;
}

FileManager* FileManager::setDefaultManager(FileManager* manager) {
  return std::exchange(chosenManager(), manager);
}

}  // namespace qorvane::inline v1
