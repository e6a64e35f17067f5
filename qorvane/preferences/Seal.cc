#include "qorvane/preferences/Seal.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "qorvane/foundation/Hash.h"
#include "qorvane/propertylist/PropertyList.h"

namespace qorvane::inline v1 {

namespace {

constexpr std::string_view kMagic = "QVSEAL01";
constexpr std::array<std::uint8_t, 5> kTrailerMark = {'Q', 'V', 'S', '0', '1'};
constexpr std::size_t kTrailerSize = 32;
constexpr std::size_t kSealSize = 32;
constexpr HashKey kSealKey = {0x5156207365616c20, 0x6f662073657474};

void putBigEndian(char* at, std::uint64_t number) {
  for (int shift = 56; shift >= 0; shift -= 8) *at++ = static_cast<char>(number >> shift);
}

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes.substr(0, 8)) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

}  // namespace

std::string sealedPropertyList(const Value& value, std::uint64_t generation) {
  std::size_t at = 0;
  std::string bytes =
      writeBinaryPropertyList(value, {.reservedBytes = kSealSize, .trailerBytes = kTrailerMark}, &at);
  kMagic.copy(&bytes[at], kMagic.size());
  putBigEndian(&bytes[at + 8], generation);
  putBigEndian(&bytes[at + 16], bytes.size());
  putBigEndian(&bytes[at + 24], sipHash(bytes, kSealKey));
  return bytes;
}

SealCheck checkSeal(std::string_view bytes) {
  if (bytes.size() < kSealSize + kTrailerSize) return {};
  const std::string_view trailer = bytes.substr(bytes.size() - kTrailerSize);
  // The trailer ends with the place of the table of offsets; the seal stands before the table.
  const std::uint64_t table = bigEndian(trailer.substr(24));
  const bool room = table >= kSealSize && table <= bytes.size() - kTrailerSize;
  const std::string_view seal =
      room ? bytes.substr(static_cast<std::size_t>(table) - kSealSize, kSealSize) : std::string_view();
  if (!seal.starts_with(kMagic)) {
    const bool marked =
        std::equal(kTrailerMark.begin(), kTrailerMark.end(), trailer.begin(),
                   [](std::uint8_t mark, char byte) { return static_cast<char>(mark) == byte; });
    return {marked ? SealState::Broken : SealState::Unsealed};
  }
  std::string unsealed(bytes);
  unsealed.replace(static_cast<std::size_t>(table) - 8, 8, 8, '\0');
  if (bigEndian(seal.substr(16)) != bytes.size() || bigEndian(seal.substr(24)) != sipHash(unsealed, kSealKey))
    return {SealState::Broken};
  return {SealState::Intact, bigEndian(seal.substr(8))};
}

}  // namespace qorvane::inline v1
