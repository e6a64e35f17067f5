// Colours as text: "#CCFFFF", or with space and components "#CCFFFF calibrated RGB 0.8 1 1 1".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "qorvane/desktop/Color.h"

namespace optionsmgr {

/// The colour that the words mean, or none: "#RRGGBB" (opaque calibrated RGB), or a space and its components,
/// such as "calibrated RGB 0.8 1 1 1" or "device white 0.5 1", alpha last; what `colorText` prints is
/// accepted too.
std::optional<qorvane::Color> colorMeant(std::string_view words);

/// The colour's code, space and components; no code for a colour that has none.
std::string colorText(const qorvane::Color& color);

/// The space as `colorText` names it.
std::string_view spaceName(qorvane::ColorSpace space);

/// Escape codes that paint a patch of the colour on a terminal; empty for a colour without a code.
std::string swatch(const qorvane::Color& color);

}  // namespace optionsmgr
