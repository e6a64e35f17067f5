#include "tool/WholeFile.h"

#include "tool/Failure.h"

namespace optionsmgr {

void writeWholeFile(const std::string& path, std::string_view bytes, Existing existing, mode_t rights) try {
  qorvane::writeWholeFile(path, bytes, existing, rights, qorvane::SystemCalls::standard());
} catch (const qorvane::FileException& error) {
  throw failureOf(error);
}

}  // namespace optionsmgr
