#include "tool/Failure.h"

#include <cerrno>

namespace optionsmgr {

Exit exitFor(int systemError) {
  switch (systemError) {
    case EAGAIN:
      return Exit::Locked;
    case EACCES:
    case EPERM:
    case EROFS:
      return Exit::NoPermission;
    case ENOENT:
    case ENOTDIR:
    case EISDIR:
    case EEXIST:
    case ELOOP:
    case ENAMETOOLONG:
      return Exit::CannotCreate;
    default:
      return Exit::InputOutput;
  }
}

}  // namespace optionsmgr
