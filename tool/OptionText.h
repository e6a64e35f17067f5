// Options as text: what a person types turned into an option's value, and its value turned into what is
// shown.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tool/Failure.h"

namespace optionsmgr {

/// The value that the words mean for an option of this type. Throws Failure (bad data) with the accepted
/// forms when they mean none, or are no well-formed UTF-8.
qorvane::Value parsedFor(const qorvane::OptionRow& row, std::string_view words);

/// The value on one line: flags as true or false, numbers in digits, fonts as "name, size", texts as they
/// are.
std::string shown(const qorvane::OptionRow& row, const qorvane::Value& value);

/// The same for JSON: flags and integers as such, nil as null.
nlohmann::json shownAsJson(const qorvane::OptionRow& row, const qorvane::Value& value);

/// What is shown in a secret's place.
inline constexpr const char* kMask = "********";

/// As `shown`, but a secret that is set is masked unless secrets are shown; one that is not hides nothing.
std::string masked(const qorvane::OptionRow& row, const qorvane::Value& value, bool showSecrets);
nlohmann::json maskedJson(const qorvane::OptionRow& row, const qorvane::Value& value, bool showSecrets);

/// The option's value in that store. The read that finds no entry may answer otherwise than all later ones,
/// which count. Throws Failure (bad data) for an entry that its own accessors refuse.
qorvane::Value readIn(qorvane::Options& store, const qorvane::OptionRow& row);

/// What to tell of such an entry: only a colour's can be so.
Failure unreadable(const qorvane::OptionRow& row, const qorvane::Exception& error);

/// The option's type as a word: "text", "choice", "flag", "integer", "date", "font".
const char* typeName(const qorvane::OptionRow& row);

}  // namespace optionsmgr
