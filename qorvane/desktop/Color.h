// Color: a colour in the space in which it was made.
//
// A value: cheap to copy, never changed, free to share between threads. Components are doubles, usually from
// 0 to 1, and are kept exactly as given, whatever they are.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>

#include "qorvane/foundation/Shared.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

enum class ColorSpace : std::uint8_t {
  CalibratedRGB,    // red, green, blue, alpha
  DeviceRGB,        // red, green, blue, alpha
  SRGB,             // red, green, blue, alpha
  CalibratedWhite,  // white, alpha
  DeviceWhite,      // white, alpha
  DeviceCMYK,       // cyan, magenta, yellow, black, alpha
  Named,            // no components: a name in a catalogue, and the colour that it stands for
  Pattern,          // no components: an image to paint with
};

class Color {
 public:
  static Color colorWithCalibratedRed(double red, double green, double blue, double alpha);
  static Color colorWithDeviceRed(double red, double green, double blue, double alpha);
  static Color colorWithSRGBRed(double red, double green, double blue, double alpha);
  static Color colorWithCalibratedWhite(double white, double alpha);
  static Color colorWithDeviceWhite(double white, double alpha);
  static Color colorWithDeviceCyan(double cyan, double magenta, double yellow, double black, double alpha);
  /// The colour of this name in a catalogue; `color` is what it stands for. Throws Exception for a nil name,
  /// and where names stand for names more than kDeepestNames deep.
  static Color colorWithCatalogName(Text catalogName, Text colorName, const Color& color);
  /// A pattern. The image is the application's affair.
  static Color patternColor();

  static constexpr std::uint8_t kDeepestNames = 16;

  /// Calibrated white 1, alpha 1.
  static Color whiteColor() { return colorWithCalibratedWhite(1, 1); }
  /// Calibrated white 0.5, alpha 1.
  static Color grayColor() { return colorWithCalibratedWhite(0.5, 1); }
  /// Calibrated RGB 1, 1, 0, alpha 1.
  static Color yellowColor() { return colorWithCalibratedRed(1, 1, 0, 1); }
  /// Calibrated RGB 0, 1, 0, alpha 1.
  static Color greenColor() { return colorWithCalibratedRed(0, 1, 0, 1); }
  /// Calibrated RGB 1, 0, 0, alpha 1.
  static Color redColor() { return colorWithCalibratedRed(1, 0, 0, 1); }

  ColorSpace colorSpace() const noexcept { return space_; }

  /// False for named colours and patterns.
  bool hasComponents() const noexcept { return count_ != 0; }
  /// The number of components, alpha included: 4, 2 or 5. Throws Exception when there are none.
  std::size_t numberOfComponents() const { return components().size(); }
  /// The components in the order of the space, alpha last; valid as long as this colour lives. Throws
  /// Exception when there are none.
  std::span<const double> components() const {
    if (!hasComponents()) failWithoutComponents();
    return {components_.data(), count_};
  }

  /// Of a named colour: the catalogue, the name in it, the colour that it stands for. Nil and null otherwise.
  Text catalogName() const;
  Text colorName() const;
  const Color* namedColor() const noexcept;

  /// The colour in another space, by plain arithmetic on the components; alpha stays.
  ///   - The three RGB spaces share their values, and so do the two white ones.
  ///   - White w is red, green and blue w. CMYK c, m, y, k is (1-c)(1-k), (1-m)(1-k), (1-y)(1-k).
  ///   - RGB is white 0.299 red + 0.587 green + 0.114 blue, or exactly red where all three are equal.
  ///   - RGB is CMYK with black 1 - max, and (max - x) / max of each x for the others; 0 where max is 0.
  ///   - A named colour is what the colour that it stands for is.
  /// None from or to a pattern, and none to a name, but a colour in its own space is itself.
  std::optional<Color> colorUsingColorSpace(ColorSpace space) const;

  /// The same space, and equal components or names. A NaN equals nothing.
  friend bool operator==(const Color& a, const Color& b);
  /// As ==, by the bits of the components: what a loss-free copy must satisfy.
  friend bool isIdentical(const Color& a, const Color& b);

 private:
  struct Name;

  Color(ColorSpace space, std::initializer_list<double> components);
  [[noreturn]] static void failWithoutComponents();
  template <class Same>
  static bool same(const Color& a, const Color& b, Same sameNumber);

  ColorSpace space_;
  std::uint8_t count_;
  // One more than the names between this colour and one that is no name.
  std::uint8_t names_ = 0;
  std::array<double, 5> components_{};
  Shared<const Name> name_;
};

bool operator==(const Color& a, const Color& b);
bool isIdentical(const Color& a, const Color& b);

/// Prints the space and the components or names, for people.
std::ostream& operator<<(std::ostream& out, const Color& color);

}  // namespace v1
}  // namespace qorvane
