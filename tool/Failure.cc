#include "tool/Failure.h"

#include <cerrno>
#include <iostream>
#include <system_error>

#include "qorvane/foundation/Text.h"
#include "tool/Language.h"

namespace optionsmgr {

void tell(std::string_view message) {
  std::string line = qorvane::Text(message).string();
  for (char& c : line)
    if ((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F) c = '?';
  std::cerr << "optionsmgr: " << line << std::endl;
}

std::string systemReason(int systemError) { return retold(std::generic_category().message(systemError)); }

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
