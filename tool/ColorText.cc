#include "tool/ColorText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <vector>

#include "qorvane/desktop/ColorComponents.h"
#include "qorvane/foundation/Number.h"
#include "qorvane/store/NSColorHexadecimalValue.h"

namespace optionsmgr {

using qorvane::Color;
using qorvane::ColorSpace;
using qorvane::NSColorHexadecimalValue;
using qorvane::Text;

namespace {

struct Space {
  ColorSpace space;
  std::string_view name;
  std::size_t components;  // Alpha included; 0 for a space that cannot be typed in.
};
constexpr Space kSpaces[] = {
    {ColorSpace::CalibratedRGB, "calibrated RGB", 4},
    {ColorSpace::DeviceRGB, "device RGB", 4},
    {ColorSpace::SRGB, "sRGB", 4},
    {ColorSpace::CalibratedWhite, "calibrated white", 2},
    {ColorSpace::DeviceWhite, "device white", 2},
    {ColorSpace::DeviceCMYK, "device CMYK", 5},
    {ColorSpace::Named, "catalogue", 0},
    {ColorSpace::Pattern, "pattern", 0},
};

bool isHexCode(std::string_view words) {
  return words.size() == 7 && words[0] == '#' &&
         words.substr(1).find_first_not_of("0123456789abcdefABCDEF") == words.npos;
}

std::string_view afterBlanks(std::string_view words) {
  return words.substr(std::min(words.find_first_not_of(' '), words.size()));
}

}  // namespace

std::optional<Color> colorMeant(std::string_view words) {
  if (isHexCode(words)) {
    const Color transparent = *NSColorHexadecimalValue::nsColorFromHexadecimalValue(Text(words));
    const auto channels = transparent.components();
    return Color::colorWithCalibratedRed(channels[0], channels[1], channels[2], 1);
  }
  if (words.size() > 8 && words[7] == ' ' && isHexCode(words.substr(0, 7)))
    words = afterBlanks(words.substr(7));
  const auto* const space =
      std::ranges::find_if(kSpaces, [&](const Space& known) { return words.starts_with(known.name); });
  if (space == std::end(kSpaces) || space->components == 0) return std::nullopt;
  std::vector<double> components;
  for (words.remove_prefix(space->name.size()); !words.empty();) {
    const std::string_view number = afterBlanks(words);
    double component = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), component);
    if (number.size() == words.size() || error != std::errc() || !std::isfinite(component))
      return std::nullopt;
    components.push_back(component);
    words = number.substr(static_cast<std::size_t>(end - number.data()));
  }
  if (components.size() != space->components) return std::nullopt;
  return colorWithComponents(space->space, components);
}

std::string colorText(const Color& color) {
  const Text code = NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(color);
  std::string text = code.isNil() ? std::string() : code.string() + " ";
  text += spaceName(color.colorSpace());
  if (color.hasComponents())
    for (const double component : color.components())
      text.append(" ").append(qorvane::Number(component).stringValue().view());
  return text;
}

std::string_view spaceName(ColorSpace space) {
  return std::ranges::find(kSpaces, space, &Space::space)->name;
}

std::string swatch(const Color& color) {
  const Text code = NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(color);
  if (code.size() != 7) return {};
  std::string escape = "\x1b[48;2";
  for (const std::size_t at : {1u, 3u, 5u}) {
    unsigned channel = 0;
    std::from_chars(code.view().data() + at, code.view().data() + at + 2, channel, 16);
    escape += ";" + std::to_string(channel);
  }
  return escape + "m    \x1b[0m";
}

}  // namespace optionsmgr
