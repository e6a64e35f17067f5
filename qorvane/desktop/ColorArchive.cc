#include "qorvane/desktop/ColorArchive.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "qorvane/desktop/ColorComponents.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane::inline v1 {

namespace {

constexpr std::uint8_t kStreamVersion = 4;
constexpr std::int32_t kSystemVersion = 1000;
constexpr std::string_view kLittleEndian = "streamtyped";
constexpr std::string_view kBigEndian = "typedstream";

enum Tag : std::uint8_t {
  kInteger2 = 0x81,
  kInteger4 = 0x82,
  kFloating = 0x83,
  kNew = 0x84,
  kNil = 0x85,
  kEnd = 0x86,
  kFirstReference = 0x92,
};

enum class Class : std::uint8_t { Object, Color, SRGBColor, String };

struct ClassRow {
  Class itself;
  std::string_view name;
  std::int32_t version;
};

constexpr std::array<ClassRow, 4> kClasses{{
    {Class::Object, "NSObject", 0},
    {Class::Color, "NSColor", 0},
    {Class::SRGBColor, "QVSRGBColor", 0},
    {Class::String, "NSString", 1},
}};

struct KindRow {
  std::uint8_t kind;
  ColorSpace space;
  std::size_t components;
};

constexpr std::array<KindRow, 5> kKinds{{
    {1, ColorSpace::CalibratedRGB, 4},
    {2, ColorSpace::DeviceRGB, 4},
    {3, ColorSpace::CalibratedWhite, 2},
    {4, ColorSpace::DeviceWhite, 2},
    {5, ColorSpace::DeviceCMYK, 5},
}};
constexpr std::uint8_t kNamedKind = 6;

constexpr std::string_view kColorGroup = "@";
constexpr std::string_view kKindGroup = "c";
constexpr std::string_view kNamedGroup = "@@@";
constexpr std::string_view kTextGroup = "+";
constexpr std::string_view kSingles = "fffff";
constexpr std::string_view kDoubles = "ddddd";

// ---- writing -----------------------------------------------------------------------------------------

/// Exactly a single: converting there and back keeps every bit. (A signalling NaN does not survive it.)
bool isSingle(double number) {
  if (std::isfinite(number) && std::abs(number) > std::numeric_limits<float>::max()) return false;
  return std::bit_cast<std::uint64_t>(static_cast<double>(static_cast<float>(number))) ==
         std::bit_cast<std::uint64_t>(number);
}

class Archiver {
 public:
  Data archive(const Color& color) {
    bytes_.reserve(128);
    putByte(kStreamVersion);
    putByte(kLittleEndian.size());
    bytes_ += kLittleEndian;
    putInteger(kSystemVersion);
    putString(kColorGroup);
    putColor(color);
    return Data(std::move(bytes_));
  }

 private:
  void putColor(const Color& color) {
    switch (color.colorSpace()) {
      case ColorSpace::Pattern:
        throw Exception({FailureCode::colorPatternUnwritable});
      case ColorSpace::SRGB:
        beginObject(Class::SRGBColor);
        putComponents(color);
        break;
      case ColorSpace::Named:
        beginObject(Class::Color);
        putString(kKindGroup);
        putByte(kNamedKind);
        putString(kNamedGroup);
        putText(color.catalogName());
        putText(color.colorName());
        putColor(*color.namedColor());
        break;
      default:
        beginObject(Class::Color);
        putString(kKindGroup);
        putByte(std::ranges::find(kKinds, color.colorSpace(), &KindRow::space)->kind);
        putComponents(color);
    }
    putByte(kEnd);
  }

  void putComponents(const Color& color) {
    const std::span<const double> components = color.components();
    const bool singles = std::ranges::all_of(components, isSingle);
    putString((singles ? kSingles : kDoubles).substr(0, components.size()));
    for (const double component : components) putFloating(component, singles);
  }

  void putText(const Text& text) {
    if (text.size() > std::numeric_limits<std::int32_t>::max())
      throw Exception({FailureCode::colorNameTooLong});
    beginObject(Class::String);
    putString(kTextGroup);
    putInteger(static_cast<std::int32_t>(text.size()));
    bytes_ += text.view();
    putByte(kEnd);
  }

  void beginObject(Class itsClass) {
    putByte(kNew);
    ++objects_;
    putClass(itsClass);
  }

  void putClass(Class wanted) {
    const auto known = std::ranges::find(classes_, wanted, &NumberedClass::itself);
    if (known != classes_.end()) {
      putReference(known->number);
      return;
    }
    const ClassRow& row = kClasses[static_cast<std::size_t>(wanted)];
    putByte(kNew);
    putString(row.name);
    putInteger(row.version);
    classes_.push_back({wanted, objects_++});
    if (wanted == Class::Object)
      putByte(kNil);
    else
      putClass(Class::Object);
  }

  void putString(std::string_view string) {
    const auto known = std::ranges::find(strings_, string);
    if (known != strings_.end()) {
      putReference(static_cast<std::size_t>(known - strings_.begin()));
      return;
    }
    strings_.push_back(string);
    putByte(kNew);
    putInteger(static_cast<std::int32_t>(string.size()));
    bytes_ += string;
  }

  void putByte(std::size_t byte) { bytes_ += static_cast<char>(byte); }
  // At most a few dozen objects are numbered, and a byte names more than a hundred.
  void putReference(std::size_t number) { putByte(kFirstReference + number); }

  void putInteger(std::int32_t number) {
    if (number >= -110 && number <= 127) {
      putByte(static_cast<std::uint8_t>(number));
    } else if (number >= std::numeric_limits<std::int16_t>::min() &&
               number <= std::numeric_limits<std::int16_t>::max()) {
      putByte(kInteger2);
      putBits(static_cast<std::uint16_t>(number), 2);
    } else {
      putByte(kInteger4);
      putBits(static_cast<std::uint32_t>(number), 4);
    }
  }

  void putFloating(double number, bool single) {
    // Written so that neither a NaN nor −0.0, which is 0 as a number, passes for an integer.
    if (number >= std::numeric_limits<std::int32_t>::min() &&
        number <= std::numeric_limits<std::int32_t>::max()) {
      const auto integer = static_cast<std::int32_t>(number);
      if (std::bit_cast<std::uint64_t>(static_cast<double>(integer)) ==
          std::bit_cast<std::uint64_t>(number)) {
        putInteger(integer);
        return;
      }
    }
    putByte(kFloating);
    if (single)
      putBits(std::bit_cast<std::uint32_t>(static_cast<float>(number)), 4);
    else
      putBits(std::bit_cast<std::uint64_t>(number), 8);
  }

  void putBits(std::uint64_t bits, std::size_t size) {
    for (; size > 0; --size, bits >>= 8) putByte(bits & 0xFF);
  }

  struct NumberedClass {
    Class itself;
    std::size_t number;
  };

  std::string bytes_;
  std::vector<std::string_view> strings_;
  std::vector<NumberedClass> classes_;
  /// Objects and classes so far: they are numbered together.
  std::size_t objects_ = 0;
};

// ---- reading -----------------------------------------------------------------------------------------

class Unarchiver {
 public:
  explicit Unarchiver(std::string_view bytes) : bytes_(bytes) {}

  Color unarchive() {
    if (takeByte() != kStreamVersion) fail(0, FailureCode::colorNoStream);
    const std::string_view signature = takeBytes(takeByte());
    if (signature != kLittleEndian && signature != kBigEndian) fail(1, FailureCode::colorNoStream);
    bigEndian_ = signature == kBigEndian;
    const std::size_t version = at_;
    if (takeInteger() != kSystemVersion) fail(version, FailureCode::colorVersion);
    expectGroup(kColorGroup);
    Color color = takeColor(0);
    if (at_ != bytes_.size()) fail(at_, FailureCode::colorAfterEnd);
    return color;
  }

 private:
  [[noreturn]] static void fail(std::size_t at, FailureCode why) {
    throw Exception({FailureCode::colorArchiveBad, {std::to_string(at)}, 0, {{why}}});
  }

  // ---- bytes and numbers ----

  std::string_view takeBytes(std::size_t count) {
    if (count > bytes_.size() - at_) fail(bytes_.size(), FailureCode::colorCutShort);
    at_ += count;
    return bytes_.substr(at_ - count, count);
  }

  std::uint8_t takeByte() { return static_cast<std::uint8_t>(takeBytes(1)[0]); }

  std::uint64_t takeBits(std::size_t size) {
    const std::string_view bytes = takeBytes(size);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < size; ++i)
      bits = bits << 8 | static_cast<std::uint8_t>(bytes[bigEndian_ ? i : size - 1 - i]);
    return bits;
  }

  std::int32_t takeInteger() {
    const std::size_t start = at_;
    return integerFrom(takeByte(), start);
  }

  std::int32_t integerFrom(std::uint8_t first, std::size_t start) {
    if (first == kInteger2) return static_cast<std::int16_t>(takeBits(2));
    if (first == kInteger4) return static_cast<std::int32_t>(takeBits(4));
    if (first >= 0x80 && first < kFirstReference) fail(start, FailureCode::colorNoInteger);
    return static_cast<std::int8_t>(first);
  }

  double takeFloating(char letter) {
    const std::size_t start = at_;
    const std::uint8_t first = takeByte();
    if (first != kFloating) {
      const std::int32_t integer = integerFrom(first, start);
      return letter == 'f' ? static_cast<double>(static_cast<float>(integer)) : integer;
    }
    if (letter == 'f') return std::bit_cast<float>(static_cast<std::uint32_t>(takeBits(4)));
    return std::bit_cast<double>(takeBits(8));
  }

  std::string_view takeCounted() {
    const std::size_t start = at_;
    const std::int32_t length = takeInteger();
    if (length < 0) fail(start, FailureCode::colorNegativeLength);
    return takeBytes(static_cast<std::size_t>(length));
  }

  // ---- shared things ----

  /// The number of a shared thing met before, if the tag is a reference to one of `count`.
  static std::size_t referenceTo(std::uint8_t tag, std::size_t start, std::size_t count) {
    if (tag < kFirstReference) fail(start, FailureCode::colorTag);
    const std::size_t number = tag - std::size_t{kFirstReference};
    if (number >= count) fail(start, FailureCode::colorReference);
    return number;
  }

  std::string_view takeString() {
    const std::size_t start = at_;
    const std::uint8_t tag = takeByte();
    if (tag != kNew) return strings_[referenceTo(tag, start, strings_.size())];
    const std::string_view string = takeCounted();
    strings_.push_back(string);
    return string;
  }

  void expectGroup(std::string_view letters) {
    const std::size_t start = at_;
    if (takeString() != letters) fail(start, FailureCode::colorGroup);
  }

  void expectEnd() {
    const std::size_t start = at_;
    if (takeByte() != kEnd) fail(start, FailureCode::colorNoEnd);
  }

  /// A class and its chain of superclasses. The chain is two long at most, and so is this recursion.
  Class takeClass(bool asSuperclass = false) {
    const std::size_t start = at_;
    const std::uint8_t tag = takeByte();
    if (tag != kNew) {
      const Class* known = std::get_if<Class>(&shared_[referenceTo(tag, start, shared_.size())]);
      if (!known || (asSuperclass && *known != Class::Object)) fail(start, FailureCode::colorOtherClass);
      return *known;
    }
    const std::string_view name = takeString();
    const auto row = std::ranges::find(kClasses, name, &ClassRow::name);
    if (row == kClasses.end()) fail(start, FailureCode::colorUnknownClass);
    if (asSuperclass && row->itself != Class::Object) fail(start, FailureCode::colorOtherClass);
    if (takeInteger() != row->version) fail(start, FailureCode::colorClassVersion);
    shared_.emplace_back(row->itself);
    const std::size_t end = at_;
    if (row->itself != Class::Object)
      takeClass(true);
    else if (takeByte() != kNil)
      fail(end, FailureCode::colorRootSuperclass);
    return row->itself;
  }

  // ---- objects ----

  Text takeText() {
    const std::size_t start = at_;
    const std::uint8_t tag = takeByte();
    if (tag != kNew) {
      const Text* known = std::get_if<Text>(&shared_[referenceTo(tag, start, shared_.size())]);
      if (!known) fail(start, FailureCode::colorNoText);
      return *known;
    }
    const std::size_t number = newObject();
    if (takeClass() != Class::String) fail(start, FailureCode::colorNoText);
    expectGroup(kTextGroup);
    const std::string_view bytes = takeCounted();
    if (!detail::isWellFormedUtf8(bytes)) fail(start, FailureCode::colorTextEncoding);
    Text text(bytes);
    expectEnd();
    shared_[number] = text;
    return text;
  }

  Color takeColor(std::size_t names) {
    const std::size_t start = at_;
    const std::uint8_t tag = takeByte();
    if (tag != kNew) {
      const Color* known = std::get_if<Color>(&shared_[referenceTo(tag, start, shared_.size())]);
      if (!known) fail(start, FailureCode::colorNoColor);
      return *known;
    }
    const std::size_t number = newObject();
    Color color = takeColorContents(takeClass(), start, names);
    expectEnd();
    shared_[number] = color;
    return color;
  }

  Color takeColorContents(Class itsClass, std::size_t start, std::size_t names) {
    if (itsClass == Class::SRGBColor) return takeComponents(ColorSpace::SRGB, 4);
    if (itsClass != Class::Color) fail(start, FailureCode::colorNoColor);
    expectGroup(kKindGroup);
    const std::size_t kindAt = at_;
    const std::uint8_t kind = takeByte();
    if (kind != kNamedKind) {
      const auto row = std::ranges::find(kKinds, kind, &KindRow::kind);
      if (row == kKinds.end()) fail(kindAt, FailureCode::colorUnknownKind);
      return takeComponents(row->space, row->components);
    }
    if (names == Color::kDeepestNames) fail(start, FailureCode::colorNamesDeep);
    expectGroup(kNamedGroup);
    Text catalogName = takeText();
    Text colorName = takeText();
    return Color::colorWithCatalogName(std::move(catalogName), std::move(colorName), takeColor(names + 1));
  }

  Color takeComponents(ColorSpace space, std::size_t count) {
    const std::size_t start = at_;
    const std::string_view letters = takeString();
    if (letters != kSingles.substr(0, count) && letters != kDoubles.substr(0, count))
      fail(start, FailureCode::colorGroup);
    std::array<double, 5> c{};
    for (std::size_t i = 0; i < count; ++i) c[i] = takeFloating(letters[0]);
    return colorWithComponents(space, c);
  }

  /// Numbers an object; it can be referred to when it is whole.
  std::size_t newObject() {
    shared_.emplace_back();
    return shared_.size() - 1;
  }

  const std::string_view bytes_;
  std::size_t at_ = 0;
  bool bigEndian_ = false;
  std::vector<std::string_view> strings_;
  /// Objects and classes, numbered together; nothing for an object that is not whole yet.
  std::vector<std::variant<std::monostate, Class, Text, Color>> shared_;
};

}  // namespace

Data archiveColor(const Color& color) { return Archiver().archive(color); }

Color unarchiveColor(const Data& archive) { return Unarchiver(archive.view()).unarchive(); }

}  // namespace qorvane::inline v1
