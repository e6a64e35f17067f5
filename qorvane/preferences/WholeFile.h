// WholeFile: a file that is written wholly or not at all.
#pragma once

#include <string>
#include <string_view>

#include "qorvane/preferences/SystemCalls.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// What becomes of a file that is there.
enum class Existing : bool { Refused, Replaced };

/// Writes the bytes beside the file under a name that no other process has, with these rights, syncs them,
/// and puts them in the file's place; then syncs the folder. A link's target is replaced, not the link; a
/// pipe or a terminal is written to. What a process that was killed left of such a write is removed; a signal
/// that ends this one takes it along. Throws FileException (cannotWrite) with the path as it was given, and
/// the file as it was. Any thread, but for one path one thread at a time.
void writeWholeFile(const std::string& path, std::string_view bytes, Existing existing, mode_t rights,
                    SystemCalls& calls);

/// Syncs the names in the folder. False, with errno, when it could not be done; a file system that cannot do
/// so for a folder writes them in order by itself.
bool syncFolder(const std::string& folder, SystemCalls& calls = SystemCalls::standard());

}  // namespace v1
}  // namespace qorvane
