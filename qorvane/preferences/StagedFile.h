// StagedFile: a file's next contents, before they take its place. Internal to the file stores.
#pragma once

#include <string>
#include <string_view>

#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/OpenFile.h"

namespace qorvane::inline v1 {

/// A new file in the folder of the one that it is to replace: written and synced, removed again unless
/// published.
class StagedFile {
 public:
  /// When it gets its name: at once, or only when it is whole, so that nothing is left of it when the process
  /// is killed before. Not every file system has files without a name.
  enum class Named : bool { AtOnce, WhenWhole };

  /// rights: of the file, whatever the umask. Throws FileException.
  StagedFile(SystemCalls& calls, std::string path, std::string target, std::string_view bytes,
             mode_t rights = kPrivateFile, Named named = Named::AtOnce);
  ~StagedFile() {
    if (!published_) calls_.unlink(path_.c_str());
  }
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  /// Puts the file in its target's place; not yet synced to the folder. Throws FileException.
  void publish();
  /// The same, but throws FileException (EEXIST) when the target is there.
  void publishNew();
  ino_t file() const { return status_.st_ino; }

 private:
  void fill(OpenFile& file, std::string_view bytes, mode_t rights);

  SystemCalls& calls_;
  std::string path_;
  std::string target_;
  struct stat status_ = {};
  bool published_ = false;
};

}  // namespace qorvane::inline v1
