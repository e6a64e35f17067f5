// What stands at the path of a key's file, and beside it. Internal to the file store.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qorvane/desktop/Log.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/Generations.h"
#include "qorvane/preferences/OpenFile.h"

namespace qorvane::inline v1 {

/// The end of the name that an earlier version of the library gave to what a file held before the last save.
inline constexpr std::string_view kEarlierCopy = ".plist.bak";

/// Whether the file itself is what cannot be read, rather than this process that cannot read just now.
inline bool isTroubleOfTheFile(int error) {
  return error == EIO || error == EACCES || error == EPERM || error == EINVAL || error == EFBIG;
}

/// A line that there is no memory for is lost, as one that the system does not take. By then the files are
/// what the line would tell, and nothing may pretend otherwise.
template <class Made>
void logFailure(const Made& made) noexcept try {
  log(made());
} catch (const std::bad_alloc&) {
}

/// Where a file notes what was chosen.
inline constexpr std::string_view kChosen = "Chosen";

/// What a top-level dictionary notes; nil unless it is an array.
inline Value chosenIn(const Value& top) {
  const Dictionary* const entries = top.asDictionary();
  const Value* const chosen = entries ? entries->find(kChosen) : nullptr;
  return chosen && chosen->asArray() ? *chosen : Value();
}

struct FileUserDefaults::Contents : FileUserDefaults::Inspection {
  Contents() = default;
  explicit Contents(std::string path) : target(std::move(path)) {}

  /// Where the file is: the path, or where it points when it is a link.
  std::string target;
  bool linked = false;
  bool wasRead = false;
  struct stat status = {};
  std::string bytes;
  /// The top-level dictionary of a good file.
  Value top;
  /// A damaged file that could not even be read.
  bool unreadable = false;

  bool isGood() const { return state == State::Good; }
  bool isPrivate() const { return (status.st_mode & kRights) == kPrivateFile; }
  const Value& object(const Text& key) const { return *top.asDictionary()->find(key.view()); }
  Settings settings(const Text& key) const { return {object(key), chosenIn(top)}; }
  Known known() const {
    Known known;
    known.bytes = bytes;
    known.top = top;
    known.generation = generation;
    known.sealed = sealed;
    return known;
  }
};

struct FileUserDefaults::Listing {
  std::vector<GenerationName> generations;
  std::vector<std::string> leftovers;
  bool earlierCopy = false;

  void sort() {
    std::ranges::sort(generations, [](const GenerationName& a, const GenerationName& b) {
      return a.number != b.number ? a.number > b.number : a.day > b.day;
    });
  }
};

}  // namespace qorvane::inline v1
