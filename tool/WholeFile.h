// The one way in which the tool writes a file: wholly or not at all.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace optionsmgr {

/// What becomes of a file that is there.
enum class Existing : bool { Refused, Replaced };

/// Writes the bytes beside the file under a name that no other run has, with that mode, syncs them, and puts
/// them in the file's place; then syncs the folder. A link's target is replaced, not the link; a pipe or a
/// terminal is written to. What a run that was killed left of such a write is removed; a signal that ends
/// this one takes it along. Throws Failure, with the file as it was.
void writeWholeFile(const std::string& path, std::string_view bytes, Existing existing, mode_t mode = 0600);

/// Syncs the names in the folder. False, with errno, when it could not be done; a file system that cannot do
/// so for a folder writes them in order by itself.
bool syncFolder(const std::string& folder);

}  // namespace optionsmgr
