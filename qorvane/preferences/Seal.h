// The seal of a settings file: a checksum over all its bytes, its length and its generation, kept where
// readers of binary property lists look past it.
//
// A binary property list may hold bytes between its objects and its table of offsets that nothing refers to,
// and five bytes of its trailer are unused. The seal stands in the first place, a mark that there is a seal
// in the second, so no single damaged byte can hide both. A file rewritten by another program loses both and
// counts as unsealed; that is not damage.
//
// The seal, 32 bytes directly before the table of offsets, numbers big-endian:
//   8 bytes  "QVSEAL01"
//   8 bytes  generation: 1 for the first save of a file, one more with each save
//   8 bytes  length of the file in bytes
//   8 bytes  SipHash-2-4 of the file with these last 8 bytes zero
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "qorvane/foundation/Value.h"

namespace qorvane::inline v1 {

/// The value as a sealed binary property list. Throws as the property-list writer does.
std::string sealedPropertyList(const Value& value, std::uint64_t generation);

enum class SealState {
  Unsealed,  ///< Written by another program: nothing can be said.
  Intact,
  Broken
};

struct SealCheck {
  SealState state = SealState::Unsealed;
  /// Of an intact seal; 0 otherwise.
  std::uint64_t generation = 0;
};

SealCheck checkSeal(std::string_view bytes);

}  // namespace qorvane::inline v1
