#include "qorvane/preferences/WholeFile.h"

#include <signal.h>
#include <stdlib.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "qorvane/preferences/LockedFolder.h"
#include "qorvane/preferences/StagedFile.h"

namespace qorvane::inline v1 {

namespace fs = std::filesystem;

// ---- StagedFile -----------------------------------------------------------------------------------------

StagedFile::StagedFile(SystemCalls& calls, std::string path, std::string target, std::string_view bytes,
                       mode_t rights, Named named)
    : calls_(calls), path_(std::move(path)), target_(std::move(target)) {
  if (named == Named::WhenWhole)
    if (OpenFile file(calls_, folderOf(path_), O_TMPFILE | O_WRONLY, kPrivateFile); file) {
      fill(file, bytes, rights);
      if (calls_.linkOpen(file.descriptor(), path_.c_str()) == 0) return;
    }
  OpenFile file(calls_, path_, O_WRONLY | O_CREAT | O_EXCL, kPrivateFile);
  if (!file) throw FileException(FailureCode::cannotCreate, {path_}, errno);
  try {
    fill(file, bytes, rights);
    if (!file.close()) throw FileException(FailureCode::cannotClose, {path_}, errno);
  } catch (...) {
    calls_.unlink(path_.c_str());
    throw;
  }
}

void StagedFile::fill(OpenFile& file, std::string_view bytes, mode_t rights) {
  if (!file.setRights(rights, &status_)) throw FileException(FailureCode::cannotMakePrivate, {path_}, errno);
  if (!file.write(bytes)) throw FileException(FailureCode::cannotWrite, {path_}, errno);
  if (!file.sync()) throw FileException(FailureCode::cannotSync, {path_}, errno);
}

void StagedFile::publish() {
  if (calls_.rename(path_.c_str(), target_.c_str()) != 0)
    throw FileException(FailureCode::cannotReplace, {path_, target_}, errno);
  published_ = true;
}

void StagedFile::publishNew() {
  // A second name is given only where there is none; the first goes with this object.
  if (calls_.link(path_.c_str(), target_.c_str()) == 0) return;
  struct stat status;
  if (errno != EEXIST && calls_.lstat(target_.c_str(), &status) != 0)
    return publish();  // No hard links here.
  throw FileException(FailureCode::cannotReplace, {path_, target_}, EEXIST);
}

// ---- writeWholeFile -------------------------------------------------------------------------------------

namespace {

// What processes that were killed left in the folder under names that begin so and end in their number.
void removeAbandoned(SystemCalls& calls, const std::string& folder, std::string_view prefix) {
  std::error_code error;
  for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error)) {
    const std::string name = file->path().filename().string();
    if (!name.starts_with(prefix)) continue;
    pid_t process = 0;
    const char* const stop = name.data() + name.size();
    const auto [at, bad] = std::from_chars(name.data() + prefix.size(), stop, process);
    if (bad == std::errc() && at == stop && process > 0 &&
        (process == calls.getpid() || (kill(process, 0) != 0 && errno == ESRCH)))
      calls.unlink(file->path().c_str());
  }
}

std::string realPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  return real ? real.get() : path;
}

}  // namespace

void writeWholeFile(const std::string& path, std::string_view bytes, Existing existing, mode_t rights,
                    SystemCalls& calls) try {
  struct stat status;
  const bool exists = calls.stat(path.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) {
    OpenFile file(calls, path, O_WRONLY);
    if (!file || !file.write(bytes) || !file.close())
      throw FileException(FailureCode::cannotWrite, {path}, errno);
    return;
  }
  const std::string target = exists ? realPath(path) : path;
  const std::string folder = folderOf(target);
  const std::string prefix = "." + fs::path(target).filename().string() + ".optionsmgr-";
  removeAbandoned(calls, folder, prefix);
  StagedFile staged(calls, folder + "/" + prefix + std::to_string(calls.getpid()), target, bytes, rights,
                    StagedFile::Named::WhenWhole);
  if (existing == Existing::Replaced)
    staged.publish();
  else
    staged.publishNew();
  if (!syncFolder(folder, calls)) throw FileException(FailureCode::cannotWrite, {path}, errno);
} catch (const FileException& error) {
  throw FileException(FailureCode::cannotWrite, {path}, error.systemError());
}

bool syncFolder(const std::string& folder, SystemCalls& calls) {
  OpenFile opened(calls, folder, O_RDONLY | O_DIRECTORY);
  return opened && opened.syncFolder();
}

}  // namespace qorvane::inline v1
