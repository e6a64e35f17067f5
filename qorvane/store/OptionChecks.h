// The checks of the option catalogue: what a value that a person gives has to be. Internal to the store.
//
// A check is named in the catalogue without its `is`. It is asked for a value that is neither nil nor the
// empty text, of an option that can be set, and answers why the value is refused, or none. A rule that no
// document states is no rule: such an option takes any text.
#pragma once

#include <optional>

#include "qorvane/foundation/Failure.h"
#include "qorvane/store/OptionTable.h"

namespace qorvane::inline v1::checks {

struct Question {
  const OptionRow& row;
  const Value& value;
  const Product& product;
  /// Where the options stand that the answer depends on; null for none.
  Options* store;
};

using Answer = std::optional<Failure>;
using Check = Answer (*)(const Question&);

/// A text, or a number, which reads as one.
Answer isAnyText(const Question& asked);
/// A choice of the option's list: its neutral value, or its stored label in either language where the
/// option's value is a label.
Answer isChoice(const Question& asked);
/// A name or code that the product has a number for.
Answer isJurisdiction(const Question& asked);
/// "English" or "French".
Answer isEnglishOrFrench(const Question& asked);
/// A whole number from 0 to 1440, a day.
Answer isMinutes(const Question& asked);
/// A Canadian postal code in either case, with a blank or a hyphen in its middle or without; anything where
/// the address lies in another country.
Answer isPostalCode(const Question& asked);
/// A name, "@" and a domain, without blanks.
Answer isEmail(const Question& asked);
/// A path that begins with "/".
Answer isAbsoluteFolder(const Question& asked);
/// A number that is neither infinite nor NaN.
Answer isFiniteNumber(const Question& asked);
/// A flag: 1 or 0 as a number, or one of the texts that flags are stored as.
Answer isFlag(const Question& asked);
/// A font as fontFromText reads it.
Answer isFont(const Question& asked);
/// The archive of a colour.
Answer isColor(const Question& asked);
/// Nothing: it is worked out, and cannot be set.
Answer isDerived(const Question& asked);

}  // namespace qorvane::checks
