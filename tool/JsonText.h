// Settings as JSON: the entries as they are stored. What JSON has no form for is an object of one member:
// {"$data": base64}, {"$date": seconds since 2001}, {"$real": "nan", "inf" or "-inf"}, and {"$dictionary":
// {…}} for a dictionary that itself begins with a "$".
//
// Reading and writing take time and memory that grow with the number of bytes, whatever they are.
#pragma once

#include <string>
#include <string_view>

#include "qorvane/foundation/Value.h"

namespace optionsmgr {

/// The value of the text; a byte order mark at its beginning is passed over. Throws Failure (bad data) with
/// line and column, and without a piece of the text, when it is malformed or holds more than a property list
/// may.
qorvane::Value valueFromJson(std::string_view text);

/// The value as JSON, indented. Nothing in it steers a terminal: such characters are escaped.
std::string jsonFromValue(const qorvane::Value& value);

/// The same without a line break or blank between its parts: one value has one text.
std::string jsonLineFromValue(const qorvane::Value& value);

/// JSON with those characters escaped that break a line or steer a terminal; they stand in its strings only.
std::string withoutControls(std::string_view json);

}  // namespace optionsmgr
