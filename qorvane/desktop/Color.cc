#include "qorvane/desktop/Color.h"

#include <algorithm>
#include <bit>
#include <ostream>
#include <utility>

#include "qorvane/desktop/ColorComponents.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Number.h"

namespace qorvane::inline v1 {

struct Color::Name {
  Text catalog;
  Text name;
  Color color;
};

namespace {

enum class Family : std::uint8_t { RGB, White, CMYK, None };

Family familyOf(ColorSpace space) {
  switch (space) {
    case ColorSpace::CalibratedRGB:
    case ColorSpace::DeviceRGB:
    case ColorSpace::SRGB:
      return Family::RGB;
    case ColorSpace::CalibratedWhite:
    case ColorSpace::DeviceWhite:
      return Family::White;
    case ColorSpace::DeviceCMYK:
      return Family::CMYK;
    case ColorSpace::Named:
    case ColorSpace::Pattern:
      break;
  }
  return Family::None;
}

struct RGB {
  double red, green, blue;
};

RGB rgbOf(Family family, std::span<const double> components) {
  if (family == Family::RGB) return {components[0], components[1], components[2]};
  if (family == Family::White) return {components[0], components[0], components[0]};
  const double light = 1 - components[3];
  return {(1 - components[0]) * light, (1 - components[1]) * light, (1 - components[2]) * light};
}

double whiteOf(const RGB& rgb) {
  if (rgb.red == rgb.green && rgb.green == rgb.blue) return rgb.red;
  return 0.299 * rgb.red + 0.587 * rgb.green + 0.114 * rgb.blue;
}

}  // namespace

Color::Color(ColorSpace space, std::initializer_list<double> components)
    : space_(space), count_(static_cast<std::uint8_t>(components.size())) {
  std::ranges::copy(components, components_.begin());
}

Color Color::colorWithCalibratedRed(double red, double green, double blue, double alpha) {
  return {ColorSpace::CalibratedRGB, {red, green, blue, alpha}};
}

Color Color::colorWithDeviceRed(double red, double green, double blue, double alpha) {
  return {ColorSpace::DeviceRGB, {red, green, blue, alpha}};
}

Color Color::colorWithSRGBRed(double red, double green, double blue, double alpha) {
  return {ColorSpace::SRGB, {red, green, blue, alpha}};
}

Color Color::colorWithCalibratedWhite(double white, double alpha) {
  return {ColorSpace::CalibratedWhite, {white, alpha}};
}

Color Color::colorWithDeviceWhite(double white, double alpha) {
  return {ColorSpace::DeviceWhite, {white, alpha}};
}

Color Color::colorWithDeviceCyan(double cyan, double magenta, double yellow, double black, double alpha) {
  return {ColorSpace::DeviceCMYK, {cyan, magenta, yellow, black, alpha}};
}

Color Color::colorWithCatalogName(Text catalogName, Text colorName, const Color& color) {
  if (catalogName.isNil() || colorName.isNil()) throw Exception({FailureCode::catalogColorNameless});
  if (color.names_ == kDeepestNames) throw Exception({FailureCode::catalogColorTooDeep});
  Color named(ColorSpace::Named, {});
  named.names_ = static_cast<std::uint8_t>(color.names_ + 1);
  named.name_ = Shared<const Name>(Name{std::move(catalogName), std::move(colorName), color});
  return named;
}

Color Color::patternColor() { return {ColorSpace::Pattern, {}}; }

void Color::failWithoutComponents() { throw Exception({FailureCode::colorWithoutComponents}); }

Color colorWithComponents(ColorSpace space, std::span<const double> components) {
  std::array<double, 5> c{};
  std::ranges::copy(components.first(std::min(components.size(), c.size())), c.begin());
  switch (space) {
    case ColorSpace::CalibratedRGB:
      return Color::colorWithCalibratedRed(c[0], c[1], c[2], c[3]);
    case ColorSpace::DeviceRGB:
      return Color::colorWithDeviceRed(c[0], c[1], c[2], c[3]);
    case ColorSpace::SRGB:
      return Color::colorWithSRGBRed(c[0], c[1], c[2], c[3]);
    case ColorSpace::CalibratedWhite:
      return Color::colorWithCalibratedWhite(c[0], c[1]);
    case ColorSpace::DeviceWhite:
      return Color::colorWithDeviceWhite(c[0], c[1]);
    case ColorSpace::DeviceCMYK:
      return Color::colorWithDeviceCyan(c[0], c[1], c[2], c[3], c[4]);
    case ColorSpace::Named:
    case ColorSpace::Pattern:
      break;
  }
  throw Exception({FailureCode::colorWithoutComponents});
}

Text Color::catalogName() const { return name_ ? name_->catalog : nullptr; }
Text Color::colorName() const { return name_ ? name_->name : nullptr; }
const Color* Color::namedColor() const noexcept { return name_ ? &name_->color : nullptr; }

std::optional<Color> Color::colorUsingColorSpace(ColorSpace space) const {
  if (space == space_) return *this;
  if (name_) return name_->color.colorUsingColorSpace(space);
  const Family from = familyOf(space_);
  const Family to = familyOf(space);
  if (from == Family::None || to == Family::None) return std::nullopt;
  if (from == to) {
    Color converted = *this;
    converted.space_ = space;
    return converted;
  }
  const RGB rgb = rgbOf(from, components());
  const double alpha = components().back();
  switch (to) {
    case Family::RGB:
      return Color(space, {rgb.red, rgb.green, rgb.blue, alpha});
    case Family::White:
      return Color(space, {whiteOf(rgb), alpha});
    default:
      break;
  }
  const double light = std::max({rgb.red, rgb.green, rgb.blue});
  const auto ink = [&](double part) { return light == 0 ? 0 : (light - part) / light; };
  return Color(space, {ink(rgb.red), ink(rgb.green), ink(rgb.blue), 1 - light, alpha});
}

template <class Same>
bool Color::same(const Color& a, const Color& b, Same sameNumber) {
  if (a.space_ != b.space_) return false;
  if (a.name_)
    return a.name_->catalog == b.name_->catalog && a.name_->name == b.name_->name &&
           same(a.name_->color, b.name_->color, sameNumber);
  return std::equal(a.components_.begin(), a.components_.begin() + a.count_, b.components_.begin(),
                    sameNumber);
}

bool operator==(const Color& a, const Color& b) {
  return Color::same(a, b, [](double x, double y) { return x == y; });
}

bool isIdentical(const Color& a, const Color& b) {
  return Color::same(a, b, [](double x, double y) {
    return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y);
  });
}

std::ostream& operator<<(std::ostream& out, const Color& color) {
  constexpr const char* kSpaces[] = {"calibrated RGB", "device RGB",  "sRGB",      "calibrated white",
                                     "device white",   "device CMYK", "catalogue", "pattern"};
  out << kSpaces[static_cast<std::size_t>(color.colorSpace())];
  if (color.hasComponents())
    for (const double component : color.components()) out << ' ' << Number(component).stringValue();
  if (const Color* named = color.namedColor())
    out << " \"" << color.catalogName() << "\" \"" << color.colorName() << "\" (" << *named << ')';
  return out;
}

}  // namespace qorvane::inline v1
