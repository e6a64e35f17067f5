// Values as the store keeps them: the JSON of preference files (tool/JsonText.h) on one line, without truths.
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
