// SipHash-2-4 (J.-P. Aumasson, D. J. Bernstein, 2012), 64 bits, usable at compile time.
//
// It serves twice: dictionary keys are hashed with it, constants before the program starts; and the
// seal of a settings file is computed with it, so its result is part of the persisted format.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace qorvane {

struct HashKey {
  std::uint64_t k0;
  std::uint64_t k1;
};

namespace detail {

constexpr std::uint64_t loadLittleEndian(const char* bytes, std::size_t count) {
  if (!std::is_constant_evaluated() && count == 8 && std::endian::native == std::endian::little) {
    std::uint64_t word;
    std::memcpy(&word, bytes, 8);
    return word;
  }
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < count; ++i)
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return word;
}

struct SipState {
  std::uint64_t v0, v1, v2, v3;

  constexpr void round() {
    v0 += v1;
    v2 += v3;
    v1 = std::rotl(v1, 13) ^ v0;
    v3 = std::rotl(v3, 16) ^ v2;
    v0 = std::rotl(v0, 32);
    v2 += v1;
    v0 += v3;
    v1 = std::rotl(v1, 17) ^ v2;
    v3 = std::rotl(v3, 21) ^ v0;
    v2 = std::rotl(v2, 32);
  }

  constexpr void absorb(std::uint64_t word) {
    v3 ^= word;
    round();
    round();
    v0 ^= word;
  }
};

}  // namespace detail

/// The SipHash-2-4 of the bytes under the key.
constexpr std::uint64_t sipHash(std::string_view bytes, HashKey key) {
  detail::SipState state{key.k0 ^ 0x736f6d6570736575, key.k1 ^ 0x646f72616e646f6d,
                         key.k0 ^ 0x6c7967656e657261, key.k1 ^ 0x7465646279746573};
  const std::size_t whole = bytes.size() / 8 * 8;
  for (std::size_t i = 0; i < whole; i += 8) state.absorb(detail::loadLittleEndian(bytes.data() + i, 8));
  state.absorb(detail::loadLittleEndian(bytes.data() + whole, bytes.size() - whole) |
               static_cast<std::uint64_t>(bytes.size()) << 56);
  state.v2 ^= 0xff;
  for (int i = 0; i < 4; ++i) state.round();
  return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace qorvane
