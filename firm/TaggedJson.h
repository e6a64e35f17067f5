// Values as the store keeps them: JSON text, with an object of one member for what JSON has no form for, as
// in the tool's own files: {"$data": base64}, {"$date": seconds since 2001}, {"$real": "nan", "inf" or
// "-inf"}, and
// {"$dictionary": {…}} for a dictionary that itself begins with a "$".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "qorvane/foundation/Value.h"

namespace optionsmgr::firm {

/// The value's text. A flag is written as 1 or 0. Nil, or nil within, throws qorvane::Exception.
std::string jsonOf(const qorvane::Value& value);

/// The value that the text says; none when it says none.
std::optional<qorvane::Value> valueOf(std::string_view json);

}  // namespace optionsmgr::firm
