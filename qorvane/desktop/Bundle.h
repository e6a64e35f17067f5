// Bundle: where the running application stands on disk.
#pragma once

#include <string>

#include "qorvane/foundation/Scoped.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Bundle {
 public:
  /// A bundle whose program is what the symbolic link points to.
  explicit Bundle(std::string programLink = "/proc/self/exe");

  /// The bundle of the running program.
  static Bundle& mainBundle();
  /// Answers this bundle as the main one from now on; the caller keeps it alive. Null: the running program's
  /// again. Returns the one that was set until now, or null.
  static Bundle* setMainBundle(Bundle* bundle);

  /// The absolute path of the folder that holds the program, without a slash at its end (but "/" for the
  /// root), or the path that the application set. Throws Exception when the program cannot be found.
  Text bundlePath() const;
  /// Answers this path from now on, as it is given; nil: the program's folder again.
  void setBundlePath(Text path);

 private:
  std::string programLink_;
  Text path_;
};

/// While it lives, another bundle is the main one.
using ScopedBundle = Scoped<&Bundle::setMainBundle>;

}  // namespace v1
}  // namespace qorvane
