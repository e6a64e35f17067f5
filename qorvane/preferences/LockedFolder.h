// LockedFolder: a folder in which this process saves, open, examined and locked as long as the object lives.
// Internal to the file store.
#pragma once

#include <string>

#include "qorvane/preferences/FolderLock.h"
#include "qorvane/preferences/OpenFile.h"

namespace qorvane::inline v1 {

/// The folder of a path, "." for one without a slash.
std::string folderOf(const std::string& path);

enum class FolderUse : std::uint8_t { Reading, Saving };

/// Throws FileException (EACCES) for a folder that another user could change, or owns: to save in it, it must
/// be ours; to read from it, ours or root's. Root reads in any, but files that it made for others they could
/// not read.
void requirePrivateFolder(SystemCalls& calls, const std::string& folder, const struct stat& status,
                          FolderUse use);

class LockedFolder {
 public:
  /// Throws FileException: the folder is not there (ENOENT), not ours, or locked by another for longer than
  /// the wait (EAGAIN).
  LockedFolder(SystemCalls& calls, const std::string& path, int waitMilliseconds);

  const std::string& path() const { return path_; }
  bool is(const struct stat& folder) const { return isSameFile(folder, status_); }

  /// Tells the names in it, as OpenFile::list.
  void list(const std::function<void(std::string_view name, unsigned char kind)>& tell);

  void requireHeld() const { lock_.requireHeld(); }
  /// Throws FileException.
  void sync();

 private:
  SystemCalls& calls_;
  std::string path_;
  OpenFile folder_;
  struct stat status_ = {};
  bool listed_ = false;
  FolderLock lock_;
};

}  // namespace qorvane::inline v1
