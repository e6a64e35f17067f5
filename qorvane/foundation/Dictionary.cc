#include "qorvane/foundation/Dictionary.h"

#include <sys/auxv.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "qorvane/foundation/Exception.h"

namespace qorvane::inline v1 {

namespace {

std::uint64_t processMultiplier() {
  static const std::uint64_t multiplier = [] {
    std::uint64_t random = 0x9e3779b97f4a7c15;
    // Sixteen random bytes that the kernel hands to every process.
    // NOLINTNEXTLINE(performance-no-int-to-ptr): getauxval hands addresses out as numbers
    if (const auto* bytes = reinterpret_cast<const char*>(getauxval(AT_RANDOM)))
      std::memcpy(&random, bytes, sizeof random);
    return random | 1;
  }();
  return multiplier;
}

constexpr std::size_t kFewestSlots = 16;

template <class Same>
bool sameEntries(const Dictionary& a, const Dictionary& b, Same same) {
  return a.size() == b.size() && std::ranges::all_of(a, [&](const Dictionary::Entry& entry) {
           const Value* other = b.find(entry.key);
           return other && same(entry.value, *other);
         });
}

}  // namespace

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  reserve(entries.size());
  for (const Entry& entry : entries) set(entry.key, entry.value);
}

void Dictionary::set(const Text& key, std::uint64_t hash, Value&& value) {
  if (key.isNil()) throw Exception({FailureCode::dictionaryKeyNil});
  if (value.isNil()) {
    remove(key);
    return;
  }
  if (const Slot* slot = slotOf(key, hash)) {
    entries_[slot->position - 1].value = std::move(value);
    return;
  }
  if (entries_.size() == std::numeric_limits<std::uint32_t>::max() - 1)
    throw std::length_error("a dictionary holds at most 2^32 - 2 entries");
  // The table first: if it cannot grow, nothing has changed.
  if ((entries_.size() + 1) * 2 > slots_.size()) rebuild(std::max(kFewestSlots, slots_.size() * 2));
  entries_.push_back({key, std::move(value)});
  place(hash, entries_.size() - 1);
}

bool Dictionary::remove(std::string_view key) {
  const Slot* slot = slotOf(key, Key::hashOf(key));
  if (!slot) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(slot->position - 1));
  // In place: removing needs no memory, so it cannot fail half-way.
  std::ranges::fill(slots_, Slot{});
  placeAll();
  return true;
}

void Dictionary::reserve(std::size_t count) {
  entries_.reserve(count);
  const std::size_t wanted = std::max(kFewestSlots, std::bit_ceil(count * 2));
  if (wanted > slots_.size()) rebuild(wanted);
}

void Dictionary::rebuild(std::size_t slotCount) {
  std::vector<Slot>(slotCount).swap(slots_);
  multiplier_ = processMultiplier();
  shift_ = 64 - std::countr_zero(slotCount);
  placeAll();
}

void Dictionary::placeAll() noexcept {
  for (std::size_t i = 0; i < entries_.size(); ++i) place(Key::hashOf(entries_[i].key), i);
}

void Dictionary::place(std::uint64_t hash, std::size_t position) noexcept {
  std::size_t at = homeOf(hash);
  while (slots_[at].position != 0) at = (at + 1) & (slots_.size() - 1);
  slots_[at] = {static_cast<std::uint32_t>(position + 1), tagOf(hash)};
}

bool operator==(const Dictionary& a, const Dictionary& b) {
  return sameEntries(a, b, [](const Value& x, const Value& y) { return x == y; });
}

bool isIdentical(const Dictionary& a, const Dictionary& b) {
  return sameEntries(a, b, [](const Value& x, const Value& y) { return isIdentical(x, y); });
}

}  // namespace qorvane::inline v1
