// What each fuzz target does with its bytes. An ill turn throws std::logic_error, so that a fuzzer stops at
// it and a test that replays the corpus fails.
#pragma once

#include <string_view>

namespace qorvane::fuzzing {

/// Bytes as a colour archive: what reads must be written and read back identically.
void fuzzColorArchive(std::string_view bytes);

/// Bytes as a property list: what reads must be written and read back identically.
void fuzzPropertyList(std::string_view bytes);

}  // namespace qorvane::fuzzing
