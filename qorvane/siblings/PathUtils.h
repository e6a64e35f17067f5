// PathUtils: the one operation that this library uses of the suite's path library.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class PathUtils {
 public:
  /// The absolute path of the user's documents folder, whether or not it exists, without a slash at its end;
  /// read anew on each call. Nil without a home (HOME not set, or no absolute path), and when its path is no
  /// UTF-8: one line of the log says so then.
  ///
  /// It is the first of: XDG_DOCUMENTS_DIR in the environment, when that is an absolute path; the entry of
  /// that name in user-dirs.dirs in the user's configuration folder, when it is one or starts with "$HOME";
  /// Documents below the home. A user who wants no documents folder points the entry at the home itself, by
  /// the desktop's convention: the home is the answer then.
  static Text userDocumentsPath();
  /// True when there is a documents folder, but its path is no UTF-8.
  static bool hasNoWordsForDocuments();
};

}  // namespace v1
}  // namespace qorvane
