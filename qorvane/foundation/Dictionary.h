// Dictionary: values under text keys, in the order in which the keys came.
//
// The keys are compared byte by byte. A look-up by `Key` costs one probe of a flat table: the hash of a
// constant key is computed when the program is compiled.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "qorvane/foundation/Hash.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// A dictionary key and its hash.
class Key {
 public:
  explicit constexpr Key(Text text) : text_(std::move(text)), hash_(hashOf(text_)) {}

  constexpr const Text& text() const noexcept { return text_; }
  constexpr std::uint64_t hash() const noexcept { return hash_; }

  static constexpr std::uint64_t hashOf(std::string_view text) noexcept {
    return sipHash<1, 3>(text, {0x516f7276616e6531, 0x6f7074696f6e6b65});
  }

 private:
  Text text_;
  std::uint64_t hash_;
};

class Dictionary {
 public:
  struct Entry {
    Text key;
    Value value;
  };

  Dictionary() = default;
  /// The pairs in order; a later pair replaces an earlier one of the same key.
  Dictionary(std::initializer_list<Entry> entries);

  std::size_t size() const noexcept { return entries_.size(); }
  bool empty() const noexcept { return entries_.empty(); }
  auto begin() const noexcept { return entries_.begin(); }
  auto end() const noexcept { return entries_.end(); }

  /// The value under the key, or null. Valid until the dictionary next changes.
  const Value* find(const Key& key) const noexcept { return find(key.text(), key.hash()); }
  const Value* find(std::string_view key) const noexcept { return find(key, Key::hashOf(key)); }

  /// Puts the value under the key; a nil value removes the entry. A new key goes to the end. A nil key throws
  /// Exception.
  void set(const Key& key, Value value) { set(key.text(), key.hash(), std::move(value)); }
  void set(const Text& key, Value value) { set(key, Key::hashOf(key), std::move(value)); }

  /// Puts the text, which may not be nil, in the place of a value that `find` answered and that is still
  /// valid.
  void replace(const Value& found, Text text) { const_cast<Value&>(found) = std::move(text); }

  /// Removes the entry; the order of the others stays. Returns whether there was one.
  bool remove(std::string_view key);

  void reserve(std::size_t count);

  /// Equal keys with equal values, in whatever order.
  friend bool operator==(const Dictionary& a, const Dictionary& b);
  friend bool isIdentical(const Dictionary& a, const Dictionary& b);

 private:
  // A place in the table: where the entry stands in entries_, plus one, and the upper half of its hash,
  // so that a miss seldom touches the entry. Zero is an empty place.
  struct Slot {
    std::uint32_t position = 0;
    std::uint32_t tag = 0;
  };

  static std::uint32_t tagOf(std::uint64_t hash) noexcept { return static_cast<std::uint32_t>(hash >> 32); }
  std::size_t homeOf(std::uint64_t hash) const noexcept {
    return static_cast<std::size_t>((hash * multiplier_) >> shift_);
  }

  const Value* find(std::string_view key, std::uint64_t hash) const noexcept {
    const Slot* slot = slotOf(key, hash);
    return slot ? &entries_[slot->position - 1].value : nullptr;
  }
  /// The key's slot, or null.
  const Slot* slotOf(std::string_view key, std::uint64_t hash) const noexcept {
    if (slots_.empty()) return nullptr;
    const Slot* const first = slots_.data();
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = homeOf(hash);; at = (at + 1) & mask) {
      const Slot& slot = first[at];
      if (slot.position == 0) return nullptr;
      if (slot.tag == tagOf(hash) && entries_[slot.position - 1].key.view() == key) return &slot;
    }
  }
  void set(const Text& key, std::uint64_t hash, Value&& value);
  void rebuild(std::size_t slotCount);
  void placeAll() noexcept;
  void place(std::uint64_t hash, std::size_t position) noexcept;

  std::vector<Entry> entries_;
  std::vector<Slot> slots_;
  // An odd number of the process's own choosing, so that nobody can prepare keys that crowd one place.
  std::uint64_t multiplier_ = 0;
  int shift_ = 0;
};

bool operator==(const Dictionary& a, const Dictionary& b);
bool isIdentical(const Dictionary& a, const Dictionary& b);

}  // namespace v1
}  // namespace qorvane
