// ColorComponents: the colour of a space and its components, where the space is known only as the program
// runs.
#pragma once

#include <span>

#include "qorvane/desktop/Color.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// The components in the order of the space, alpha last; one that is missing is 0. Throws Exception where the
/// space has none.
Color colorWithComponents(ColorSpace space, std::span<const double> components);

}  // namespace v1
}  // namespace qorvane
