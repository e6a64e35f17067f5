// What the four halves of the property list codec share. Internal.
#pragma once

#include <string>
#include <string_view>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::inline v1::detail {

inline constexpr std::string_view kBinaryMagic = "bplist00";
/// Five unused bytes, the sort version, the sizes of an offset and of a reference, and then, 8 bytes each,
/// the number of objects, the number of the top object and the offset of the table of offsets.
inline constexpr std::size_t kTrailerSize = 32;
/// The reference date of property lists, 2001-01-01, in days since 1970-01-01.
inline constexpr int kReferenceDay = 11323;

Value readBinary(std::string_view bytes, const PropertyListLimits& limits);
Value readXml(std::string_view bytes, const PropertyListLimits& limits);
std::string writeXml(const Value& value);

/// Where in a value a writer stands: a list from the inside out, made of the writer's own stack frames.
struct KeyPath {
  const KeyPath* outer = nullptr;
  /// The key in a dictionary; null in an array.
  const Text* key = nullptr;
  std::size_t index = 0;
};

/// Counts what a writer has met and refuses what a reader with the default limits would refuse.
class WriterBudget {
 public:
  void countObject(const KeyPath* path) {
    if (++objects_ > kLimits.objects) fail(path, FailureCode::valueTooMany);
  }
  void checkDepth(std::size_t depth, const KeyPath* path) const {
    if (depth > kLimits.depth) fail(path, FailureCode::valueTooDeep);
  }
  void checkSize(std::size_t size) const {
    if (size > kLimits.size) throw Exception({FailureCode::unwritableSize});
  }
  [[noreturn]] static void fail(const KeyPath* path, FailureCode why);

 private:
  static constexpr PropertyListLimits kLimits{};

  std::size_t objects_ = 0;
};

}  // namespace qorvane::detail
