#include "tool/Failure.h"

#include <algorithm>
#include <cerrno>
#include <iostream>

#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Text.h"
#include "tool/speech/Columns.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

Failure failureOf(const qorvane::FileException& error) {
  return {exitFor(error.systemError()), told(error.failure())};
}

void tell(std::string_view message) {
  // A report may have several lines, each of them without a character that steers the terminal.
  std::string text = qorvane::Text(message).string();
  std::string report;
  for (std::size_t at = 0, end = 0; at <= text.size(); at = end + 1) {
    end = std::min(text.find('\n', at), text.size());
    report += (at == 0 ? "" : "\n") + oneLine(text.substr(at, end - at), '?');
  }
  std::cerr << "optionsmgr: " << report << std::endl;
}

std::string systemReason(int systemError) { return qorvane::systemReason(systemError, language()).string(); }

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
