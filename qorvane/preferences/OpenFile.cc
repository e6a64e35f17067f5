#include "qorvane/preferences/OpenFile.h"

#include <dirent.h>

namespace qorvane::inline v1 {

bool OpenFile::read(std::string& bytes, std::size_t count) {
  const std::size_t before = bytes.size();
  bytes.resize(before + count);
  std::size_t have = before;
  while (have < bytes.size()) {
    const ssize_t got = calls_.read(descriptor_, bytes.data() + have, bytes.size() - have);
    if (got == 0) break;
    if (got > 0)
      have += static_cast<std::size_t>(got);
    else if (errno != EINTR)
      return false;
  }
  bytes.resize(have);
  return true;
}

bool OpenFile::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = calls_.write(descriptor_, bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0) {
      errno = ENOSPC;
      return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool OpenFile::setRights(mode_t rights, struct stat* found) {
  struct stat status;
  const bool examined = calls_.fstat(descriptor_, &status) == 0;
  if (examined && found) *found = status;
  return (examined && (status.st_mode & kRights) == rights) || calls_.fchmod(descriptor_, rights) == 0;
}

bool OpenFile::list(const std::function<void(std::string_view name, unsigned char kind)>& tell) {
  alignas(dirent64) char entries[32768];
  for (;;) {
    const ssize_t size = calls_.getdents(descriptor_, entries, sizeof entries);
    if (size == 0) return true;
    if (size < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    for (const char* at = entries; at < entries + size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(at);
      tell(entry->d_name, entry->d_type);
      at += entry->d_reclen;
    }
  }
}

bool OpenFile::sync() {
  int result;
  do result = calls_.fsync(descriptor_);
  while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace qorvane::inline v1
