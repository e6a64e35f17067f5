// Utils: the one operation that this library uses of the suite's utility library.
#pragma once

#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Utils {
 public:
  /// True for a missing text and for one of length zero.
  static bool isStringNilOrEmpty(const Text& text) { return text.isNilOrEmpty(); }
  /// The same of a stored entry, as it stands: an entry of another kind is neither missing nor an empty text.
  static bool isStringNilOrEmpty(const Value& entry) {
    const Text* text = entry.asText();
    return entry.isNil() || (text && text->isNilOrEmpty());
  }
};

}  // namespace v1
}  // namespace qorvane
