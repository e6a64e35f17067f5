// FileManager: tests for and makes folders.
//
// The default one works on the file system; an application or a test may put another in its place. Main
// thread only.
#pragma once

#include "qorvane/foundation/Scoped.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class FileManager {
 public:
  virtual ~FileManager() = default;

  /// The manager that the library uses: the file system's, unless another was set.
  static FileManager& defaultManager();
  /// Uses this manager from now on; the caller keeps it alive. Null: the file system's again. Returns the one
  /// that was set until now, or null.
  static FileManager* setDefaultManager(FileManager* manager);

  /// True when a file, a folder or anything else is at the path. Symbolic links are followed: one that leads
  /// nowhere does not exist. Nil, the empty text and a text with a NUL are no paths; nothing exists there.
  /// isDirectory, when given, becomes true for a folder and false otherwise. Never throws.
  virtual bool fileExistsAtPath(const Text& path, bool* isDirectory = nullptr) = 0;

  /// Makes the folder, with those above it when asked, open to whom the umask allows. True when it is there
  /// as a folder afterwards, whoever made it. What fails is told by the answer; another manager may throw
  /// Exception.
  virtual bool createDirectoryAtPath(const Text& path, bool withIntermediateDirectories) = 0;
};

/// While it lives, the library uses another manager.
using ScopedFileManager = Scoped<&FileManager::setDefaultManager>;

}  // namespace v1
}  // namespace qorvane
