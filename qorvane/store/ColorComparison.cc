#include "qorvane/store/ColorComparison.h"

#include <algorithm>
#include <optional>

namespace qorvane::inline v1 {

bool areDifferentColors(const Color& first, const Color& second) {
  if (first.hasComponents() && second.hasComponents())
    return !std::ranges::equal(first.components(), second.components());
  const std::optional<Color> firstRGB = first.colorUsingColorSpace(ColorSpace::SRGB);
  const std::optional<Color> secondRGB = second.colorUsingColorSpace(ColorSpace::SRGB);
  if (!firstRGB || !secondRGB) return true;
  return !std::ranges::equal(firstRGB->components().first(3), secondRGB->components().first(3));
}

}  // namespace qorvane::inline v1
