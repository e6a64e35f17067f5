// Property lists: values as bytes, in the binary ("bplist00") and the XML form, both read and written.
//
// Nothing here reads a locale, a clock or a file. The binary form is exact: every value comes back with kind
// and bits, 64-bit integers of either sign, -0.0 and the bits of a NaN included. The XML form is exact but
// for two things: a date keeps whole seconds only, and a NaN loses its bits. Both keep the order of a
// dictionary.
//
// Bytes of unknown origin are safe to read: the result is a value or an Exception, in time and memory that
// grow with the number of bytes given, whatever they are.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

enum class PropertyListFormat : std::uint8_t { Binary, Xml };

/// How much a property list may hold. What the writers write stays within the default limits.
struct PropertyListLimits {
  /// Containers within containers. Each level costs stack, here and when the value is destroyed: keep it to
  /// hundreds.
  std::size_t depth = 512;
  /// Values and dictionary keys, each counted wherever it appears: an array that appears twice counts twice,
  /// with all it holds, even if the bytes hold it once.
  std::size_t objects = 10'000'000;
  /// Bytes.
  std::size_t size = std::size_t{1} << 28;
};

/// The form that the bytes begin like; Exception when they begin like neither. Says nothing about the rest.
PropertyListFormat formatOf(std::string_view bytes);

/// The value that the bytes hold, in whichever form. Throws Exception, saying at which byte (binary) or line
/// and column (XML, both from 1), when they are no well-formed property list or exceed the limits.
///
/// Binary: the places that no object covers, the order of the objects and the five unused bytes of the
/// trailer are free. Half a surrogate pair reads as U+FFFD. Sets, archiver references (UIDs) and null objects
/// are refused. XML: UTF-8, or UTF-16 with a byte order mark. A DTD is skipped unread; one with declarations
/// inside the document is refused, so that no entity is ever expanded but the five of XML itself. Carriage
/// returns read as line feeds unless written as references. A real beyond the range of a double reads as an
/// infinity. Both: of two values under one key in a dictionary the last counts, in the place of the first.
Value readPropertyList(std::string_view bytes, const PropertyListLimits& limits = {});

/// The value as a property list. Throws Exception, naming the key path, for nil anywhere, for more than the
/// default limits allow, and in XML for what it cannot hold: control characters other than tab, line feed and
/// carriage return, U+FFFE and U+FFFF, and dates outside the years 1 to 9999. XML drops a date's fraction of
/// a second: the moment moves back to the whole second before it.
std::string writePropertyList(const Value& value, PropertyListFormat format);

/// What a writer of binary files may add that readers pass over.
struct BinaryPropertyListOptions {
  /// This many zero bytes are left between the objects and the table of their offsets.
  std::size_t reservedBytes = 0;
  /// The five bytes at the start of the 32-byte trailer.
  std::array<std::uint8_t, 5> trailerBytes{};
};

/// As writePropertyList in binary. Where the reserved bytes begin is stored through `reservedOffset` unless
/// null.
std::string writeBinaryPropertyList(const Value& value, const BinaryPropertyListOptions& options = {},
                                    std::size_t* reservedOffset = nullptr);

}  // namespace v1
}  // namespace qorvane
