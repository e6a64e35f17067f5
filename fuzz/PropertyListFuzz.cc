#include <optional>
#include <stdexcept>
#include <string>

#include "fuzz/FuzzTargets.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::fuzzing {

namespace {

void require(bool truth, const char* what) {
  if (!truth) throw std::logic_error(what);
}

std::optional<Value> readIfWellFormed(std::string_view bytes) {
  // Small limits: what matters lies around them, and a run stays short.
  constexpr PropertyListLimits kLimits{.depth = 64, .objects = 20'000, .size = std::size_t{1} << 20};
  try {
    return readPropertyList(bytes, kLimits);
  } catch (const Exception&) {
    return std::nullopt;
  }
}

std::optional<std::string> writeXmlIfPossible(const Value& value) {
  try {
    return writePropertyList(value, PropertyListFormat::Xml);
  } catch (const Exception&) {
    return std::nullopt;
  }
}

}  // namespace

void fuzzPropertyList(std::string_view bytes) {
  const std::optional<Value> value = readIfWellFormed(bytes);
  if (!value) return;

  const std::string binary = writePropertyList(*value, PropertyListFormat::Binary);
  const Value again = readPropertyList(binary);
  require(isIdentical(*value, again), "the binary form came back as another value");
  require(writePropertyList(again, PropertyListFormat::Binary) == binary, "the binary form is not stable");

  const std::optional<std::string> xml = writeXmlIfPossible(*value);
  if (!xml) return;
  const Value fromXml = readPropertyList(*xml);
  require(writePropertyList(fromXml, PropertyListFormat::Xml) == *xml, "the XML form is not stable");
  // What a document held, a document holds: only NaN bits and fractions of seconds are lost, and XML has
  // neither.
  if (formatOf(bytes) == PropertyListFormat::Xml)
    require(isIdentical(*value, fromXml), "the XML form came back as another value");
}

}  // namespace qorvane::fuzzing
