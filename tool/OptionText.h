// Options as text: what a person types turned into an option's value, and its value turned into what is
// shown.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "qorvane/foundation/Value.h"
#include "qorvane/store/OptionTable.h"

namespace optionsmgr {

/// The value that the words mean for an option of this type. Throws Failure (bad data) with the accepted
/// forms when they mean none, or are no well-formed UTF-8.
qorvane::Value parsedFor(const qorvane::OptionRow& row, std::string_view words);

/// The value on one line: flags as true or false, numbers in digits, fonts as "name, size", texts as they
/// are.
std::string shown(const qorvane::OptionRow& row, const qorvane::Value& value);

/// The same for JSON: flags and integers as such, nil as null.
nlohmann::json shownAsJson(const qorvane::OptionRow& row, const qorvane::Value& value);

/// The option's type as a word: "text", "choice", "flag", "integer", "date", "font".
const char* typeName(const qorvane::OptionRow& row);

}  // namespace optionsmgr
