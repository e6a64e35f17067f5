#include "qorvane/propertylist/PropertyList.h"

#include <algorithm>
#include <vector>

#include "qorvane/propertylist/PropertyListParts.h"

namespace qorvane::inline v1 {

PropertyListFormat formatOf(std::string_view bytes) {
  if (bytes.starts_with("bplist")) return PropertyListFormat::Binary;
  for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFE\xFF", "\xFF\xFE"})
    if (bytes.starts_with(mark)) return PropertyListFormat::Xml;
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first != bytes.npos && bytes[first] == '<') return PropertyListFormat::Xml;
  throw Exception({bytes.empty() ? FailureCode::plistEmpty : FailureCode::plistUnrecognized});
}

Value readPropertyList(std::string_view bytes, const PropertyListLimits& limits) {
  if (bytes.size() > limits.size)
    throw Exception(
        {FailureCode::plistTooLarge, {std::to_string(bytes.size()), std::to_string(limits.size)}});
  return formatOf(bytes) == PropertyListFormat::Binary ? detail::readBinary(bytes, limits)
                                                       : detail::readXml(bytes, limits);
}

std::string writePropertyList(const Value& value, PropertyListFormat format) {
  return format == PropertyListFormat::Binary ? writeBinaryPropertyList(value) : detail::writeXml(value);
}

void detail::WriterBudget::fail(const KeyPath* path, FailureCode why) {
  std::vector<const KeyPath*> steps;
  for (; path; path = path->outer) steps.push_back(path);
  std::ranges::reverse(steps);
  std::string name;
  // A path is read by a person: the first of very many steps will do.
  constexpr std::size_t kLongest = 200;
  for (const KeyPath* step : steps) {
    if (name.size() > kLongest) {
      name += "…";
      break;
    }
    if (step->key) {
      if (!name.empty()) name += '.';
      name += step->key->view();
    } else {
      name += '[' + std::to_string(step->index) + ']';
    }
  }
  if (name.empty()) throw Exception({FailureCode::unwritableTop, {}, 0, {{why}}});
  throw Exception({FailureCode::unwritable, {name}, 0, {{why}}});
}

}  // namespace qorvane::inline v1
