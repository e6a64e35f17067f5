// Failure: what went wrong, as a code with what it names; told in English or French when a person asks.
//
// The codes and their texts are the rows of foundation/failures.def. A failure that comes of another one
// holds it as its cause, and its text tells both.
#pragma once

#include <cstdint>
#include <vector>

#include "qorvane/foundation/Language.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// Grows at any place of its list: a number of it is nothing to keep in a file.
enum class FailureCode : std::uint16_t {
#define FAILURE(code, english, french) code,
#include "qorvane/foundation/failures.def"
#undef FAILURE
};

struct Failure {
  FailureCode code = {};
  /// What the code's text names in its places: paths, keys, names and numbers, never a piece of a value.
  std::vector<Text> arguments = {};
  /// The errno of the call that failed; EAGAIN when another process holds the lock; 0 when there was none.
  int systemError = 0;
  /// The failures behind this one, in the order in which the text tells them: nearly always one or none.
  std::vector<Failure> causes = {};

  /// One sentence for a person: what failed, where, why. It begins with a small letter and ends without a
  /// period.
  Text reason(Language language) const;

  friend bool operator==(const Failure&, const Failure&) = default;
};

/// The failure that the exception being handled tells: an Exception's own; "there is not enough memory"; for
/// any other, a failed store's with the exception's sentence. Only inside a catch block.
Failure currentFailure();

/// The system's words for an error (errno), whatever the process's locale; one that is not known, 4711 for
/// instance, as "system error 4711".
Text systemReason(int systemError, Language language);

}  // namespace v1
}  // namespace qorvane
