// What each fuzz target does with its bytes. An ill turn throws std::logic_error, so that a fuzzer stops at
// it and a test that replays the corpus fails.
#pragma once

#include <string_view>

namespace qorvane::fuzzing {

/// Bytes, each ended by a NUL, as the words behind the tool's name: it must end with a documented exit code.
void fuzzArguments(std::string_view bytes);

/// Bytes as a colour archive: what reads must be written and read back identically.
void fuzzColorArchive(std::string_view bytes);

/// Bytes as a preferences file that the tool imports: all of it must come to the store, or nothing.
void fuzzImport(std::string_view bytes);

/// Bytes as a property list: what reads must be written and read back identically.
void fuzzPropertyList(std::string_view bytes);

}  // namespace qorvane::fuzzing
