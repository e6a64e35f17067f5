#include <optional>
#include <stdexcept>
#include <string>

#include "fuzz/FuzzTargets.h"
#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane::fuzzing {

namespace {

std::optional<Color> readIfWellFormed(std::string_view bytes) {
  try {
    return unarchiveColor(Data(std::string(bytes)));
  } catch (const Exception&) {
    return std::nullopt;
  }
}

}  // namespace

void fuzzColorArchive(std::string_view bytes) {
  const std::optional<Color> color = readIfWellFormed(bytes);
  if (!color) return;
  const Data archive = archiveColor(*color);
  const Color again = unarchiveColor(archive);
  if (!isIdentical(*color, again)) throw std::logic_error("the archive came back as another colour");
  if (archiveColor(again) != archive) throw std::logic_error("the archive is not stable");
}

}  // namespace qorvane::fuzzing
