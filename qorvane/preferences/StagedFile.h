// StagedFile: a file's next contents, before they take its place. Internal to the file stores.
#pragma once

#include <fcntl.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/OpenFile.h"

namespace qorvane::inline v1 {

/// A new file in the folder of the one that it is to replace: written and synced, removed again unless
/// published. Throws FileException.
class StagedFile {
 public:
  /// rights: of the file, whatever the umask.
  StagedFile(SystemCalls& calls, const std::string& path, const std::string& target, std::string_view bytes,
             mode_t rights = kPrivateFile)
      : calls_(calls), path_(path), target_(target) {
    OpenFile file(calls_, path_, O_WRONLY | O_CREAT | O_EXCL, kPrivateFile);
    if (!file) throw FileException(FailureCode::cannotCreate, {path_}, errno);
    try {
      if (!file.setRights(rights, &status_))
        throw FileException(FailureCode::cannotMakePrivate, {path_}, errno);
      if (!file.write(bytes)) throw FileException(FailureCode::cannotWrite, {path_}, errno);
      if (!file.sync()) throw FileException(FailureCode::cannotSync, {path_}, errno);
      if (!file.close()) throw FileException(FailureCode::cannotClose, {path_}, errno);
    } catch (...) {
      discard();
      throw;
    }
  }
  ~StagedFile() {
    if (!published_) discard();
  }
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  /// Puts the file in its target's place; not yet synced to the folder.
  void publish() {
    if (calls_.rename(path_.c_str(), target_.c_str()) != 0)
      throw FileException(FailureCode::cannotReplace, {path_, target_}, errno);
    published_ = true;
  }
  ino_t file() const { return status_.st_ino; }

 private:
  void discard() noexcept { calls_.unlink(path_.c_str()); }

  SystemCalls& calls_;
  std::string path_;
  std::string target_;
  struct stat status_ = {};
  bool published_ = false;
};

}  // namespace qorvane::inline v1
