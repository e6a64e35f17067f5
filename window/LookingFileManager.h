// A file manager that makes no folders: whoever only shows where a folder is must not make it.
#pragma once

#include "qorvane/desktop/FileManager.h"

namespace optionsmgr::window {

class LookingFileManager : public qorvane::FileManager {
 public:
  bool fileExistsAtPath(const qorvane::Text& path, bool* isDirectory) override {
    // The file system's own manager, for as long as the question takes.
    const qorvane::ScopedFileManager real(nullptr);
    return defaultManager().fileExistsAtPath(path, isDirectory);
  }
  bool createDirectoryAtPath(const qorvane::Text&, bool) override { return false; }
};

}  // namespace optionsmgr::window
