// Whether two colours differ, as the setters of the colour options ask.
#pragma once

#include "qorvane/desktop/Color.h"

namespace qorvane::inline v1 {

/// True when the colours differ. The components are compared as they are, alpha included, without a tolerance
/// and whatever the spaces: a NaN differs from everything, and other counts of components differ.
///
/// Where one of the two has no components, both are compared in sRGB: red, green and blue, not alpha. A
/// colour that has no form there (a pattern) differs from every other, itself included.
bool areDifferentColors(const Color& first, const Color& second);

}  // namespace qorvane::inline v1
