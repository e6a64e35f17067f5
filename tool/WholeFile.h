// The library's writer of whole files, failing as the tool does.
#pragma once

#include "qorvane/preferences/WholeFile.h"

namespace optionsmgr {

using qorvane::Existing;
using qorvane::syncFolder;

/// As qorvane::writeWholeFile; throws Failure.
void writeWholeFile(const std::string& path, std::string_view bytes, Existing existing, mode_t rights = 0600);

}  // namespace optionsmgr
