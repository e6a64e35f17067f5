// SipHash (J.-P. Aumasson, D. J. Bernstein, 2012), 64 bits, usable at compile time.
//
// It serves twice. The seal of a settings file is its 2-4 form, whose result is part of the persisted format.
// Dictionary keys are hashed with the 1-3 form, constants before the program starts: half the work, and still
// nobody can prepare keys that collide.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct HashKey {
  std::uint64_t k0;
  std::uint64_t k1;
};

namespace detail {

constexpr std::uint64_t loadLittleEndian(const char* bytes, std::size_t count) {
  if (!std::is_constant_evaluated() && std::endian::native == std::endian::little) {
    std::uint64_t word = 0;
    if (count > 0) std::memcpy(&word, bytes, count);
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

  template <int Rounds>
  constexpr void absorb(std::uint64_t word) {
    v3 ^= word;
    for (int i = 0; i < Rounds; ++i) round();
    v0 ^= word;
  }
};

}  // namespace detail

/// The SipHash of the bytes under the key, with so many rounds for each 8 bytes and so many at the end.
template <int EachRounds = 2, int LastRounds = 4>
constexpr std::uint64_t sipHash(std::string_view bytes, HashKey key) {
  detail::SipState state{key.k0 ^ 0x736f6d6570736575, key.k1 ^ 0x646f72616e646f6d,
                         key.k0 ^ 0x6c7967656e657261, key.k1 ^ 0x7465646279746573};
  const std::size_t whole = bytes.size() / 8 * 8;
  for (std::size_t i = 0; i < whole; i += 8)
    state.template absorb<EachRounds>(detail::loadLittleEndian(bytes.data() + i, 8));
  state.template absorb<EachRounds>(detail::loadLittleEndian(bytes.data() + whole, bytes.size() - whole) |
                                    static_cast<std::uint64_t>(bytes.size()) << 56);
  state.v2 ^= 0xff;
  for (int i = 0; i < LastRounds; ++i) state.round();
  return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace v1
}  // namespace qorvane
