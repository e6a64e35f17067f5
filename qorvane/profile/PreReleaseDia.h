// PreReleaseDia: the notice that the applications show before the agencies open their filing season. It makes
// the text only; showing it is the application's work.
#pragma once

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class PreReleaseDia {
 public:
  PreReleaseDia() = delete;

  /// The notice in the display language (OptionsMgr::isEnglish): for 0 and 1 that a pre-release does not
  /// print certified returns, for any other number when the agencies start to accept returns.
  static Text getMessageToDisplay(int notice);
};

}  // namespace v1
}  // namespace qorvane
