#include "qorvane/preferences/LockedFolder.h"

#include "qorvane/preferences/FileException.h"

namespace qorvane::inline v1 {

namespace {

// Of the folder that was opened to save in it.
struct stat examined(SystemCalls& calls, const OpenFile& folder, const std::string& path) {
  struct stat status;
  if (!folder) throw FileException(FailureCode::cannotOpenFolder, {path}, errno);
  if (calls.fstat(folder.descriptor(), &status) != 0)
    throw FileException(FailureCode::cannotExamineFolder, {path}, errno);
  requirePrivateFolder(calls, path, status, FolderUse::Saving);
  return status;
}

}  // namespace

std::string folderOf(const std::string& path) {
  const std::size_t last = path.find_last_of('/');
  return last == path.npos ? "." : last == 0 ? "/" : path.substr(0, last);
}

void requirePrivateFolder(SystemCalls& calls, const std::string& folder, const struct stat& status,
                          FolderUse use) {
  const uid_t me = calls.geteuid();
  if (use == FolderUse::Reading && me == 0) return;
  if (status.st_uid != me && !(use == FolderUse::Reading && status.st_uid == 0))
    throw FileException(FailureCode::folderOfAnother, {folder, std::to_string(status.st_uid)}, EACCES);
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
    throw FileException(FailureCode::folderOpenToOthers, {folder}, EACCES);
}

LockedFolder::LockedFolder(SystemCalls& calls, const std::string& path, int waitMilliseconds)
    : calls_(calls),
      path_(path),
      folder_(calls, path, O_RDONLY | O_DIRECTORY),
      status_(examined(calls, folder_, path)),
      lock_(calls, path, waitMilliseconds) {}

void LockedFolder::list(const std::function<void(std::string_view name, unsigned char kind)>& tell) {
  // A listing goes on where the last one ended: another one needs the folder opened anew.
  if (!std::exchange(listed_, true) ? folder_.list(tell)
                                    : OpenFile(calls_, path_, O_RDONLY | O_DIRECTORY).list(tell))
    return;
  throw FileException(FailureCode::cannotListFolder, {path_}, errno);
}

void LockedFolder::sync() {
  if (!folder_.syncFolder()) throw FileException(FailureCode::cannotSyncFolder, {path_}, errno);
}

}  // namespace qorvane::inline v1
