// Text: an immutable, shared, nil-able UTF-8 text with an identity.
//
// Nil is not the empty text. A copy is the same object as its original; two texts made apart at run time are
// different objects even when they hold the same characters (`isSameObject` tells). A text made from a
// string literal allocates nothing and is a constant expression, so exported constants are plain
// `inline constexpr Text`; equal literals are one object, wherever they are written. The bytes are always
// well-formed UTF-8: a malformed literal does not compile, malformed bytes given at run time become U+FFFD,
// one for each maximal ill-formed sequence. Embedded NULs are characters like any other. Copies may be shared
// between threads.
#pragma once

#include <bit>
#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ext/atomicity.h>
#include <iosfwd>
#include <string>
#include <string_view>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

namespace detail {

/// The length in bytes of the well-formed UTF-8 sequence that starts at `at`, or 0 when none does.
constexpr std::size_t utf8SequenceLength(std::string_view bytes, std::size_t at);

constexpr bool isWellFormedUtf8(std::string_view bytes);

}  // namespace detail

class Text {
 public:
  /// Nil.
  constexpr Text() noexcept = default;
  /// Nil; a template, because a plain 0 would convert to it.
  template <std::same_as<std::nullptr_t> Nil>
  constexpr Text(Nil) noexcept {}

  /// A literal: no allocation, the same object wherever the same bytes are written as one. Where a template
  /// forwards it, as in std::map<Text, int>{{"a", 1}}, it is no literal any more: say Text("a").
  template <std::size_t N>
  consteval Text(const char (&literal)[N]) : data_(literal), size_(N - 1) {
    if (!detail::isWellFormedUtf8({literal, N - 1})) throw "a literal must be well-formed UTF-8";
  }

  /// A new object holding a copy of the bytes, ill-formed ones replaced. Never nil.
  Text(std::string_view bytes);
  Text(const std::string& bytes) : Text(std::string_view(bytes)) {}
  /// The same of the characters before a NUL; nil for null. A template, so that literals stay constants.
  template <class Pointer>
  requires(std::same_as<Pointer, const char*> || std::same_as<Pointer, char*>) Text(const Pointer& characters)
      : Text(characters ? Text(std::string_view(characters)) : Text()) {}
  /// The same of a buffer.
  template <std::size_t N>
  Text(char (&buffer)[N]) : Text(std::string_view(buffer)) {}
  /// The same of bytes that are known to be well-formed, unchecked.
  static Text fromWellFormed(std::string_view bytes);

  constexpr Text(const Text& other) noexcept : data_(other.data_), size_(other.size_) { retain(); }
  constexpr Text(Text&& other) noexcept : data_(other.data_), size_(other.size_) { other.forget(); }
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): retained before released, it may be itself
  constexpr Text& operator=(const Text& other) noexcept {
    other.retain();
    release();
    data_ = other.data_;
    size_ = other.size_;
    return *this;
  }
  constexpr Text& operator=(Text&& other) noexcept {
    if (this != &other) {
      release();
      data_ = other.data_;
      size_ = other.size_;
      other.forget();
    }
    return *this;
  }
  constexpr ~Text() { release(); }

  constexpr bool isNil() const noexcept { return data_ == nullptr; }
  /// True for nil and for the text of length zero.
  constexpr bool isNilOrEmpty() const noexcept { return size() == 0; }
  /// The number of UTF-8 bytes; 0 for nil.
  constexpr std::size_t size() const noexcept { return static_cast<std::size_t>(size_ & ~kOwned); }
  /// The bytes; empty for nil. Valid as long as some copy of this text lives.
  constexpr std::string_view view() const noexcept { return {data_, size()}; }
  constexpr operator std::string_view() const noexcept { return view(); }
  operator std::string() const { return string(); }
  /// The bytes followed by a NUL; "" for nil.
  constexpr const char* c_str() const noexcept { return data_ ? data_ : ""; }
  std::string string() const { return std::string(view()); }

  /// True when both are one object: a copy and its original, two equal literals, or two nils.
  constexpr bool isSameObject(const Text& other) const noexcept {
    if (size_ != other.size_) return false;
    // Each translation unit and each shared library may keep the bytes of a literal at an address of its own,
    // or share them with another: only the bytes of a literal say which it is.
    if ((size_ & kOwned) || !data_ || !other.data_) return data_ == other.data_;
    return view() == other.view();
  }
  /// True when neither is nil and both hold the same bytes. Nil equals nothing, itself included.
  constexpr bool isEqualTo(const Text& other) const noexcept {
    return data_ && other.data_ && view() == other.view();
  }

  /// Equality of values for containers and tests: as `isEqualTo`, and nil equals nil.
  friend constexpr bool operator==(const Text& a, const Text& b) noexcept {
    return a.isNil() || b.isNil() ? a.isNil() && b.isNil() : a.view() == b.view();
  }
  template <class Bytes>
  requires(std::same_as<Bytes, std::string> || std::same_as<Bytes, std::string_view>)  //
      friend constexpr bool
      operator==(const Text& a, const Bytes& b) noexcept {
    return !a.isNil() && a.view() == std::string_view(b);
  }
  /// By bytes, which is by code point; nil comes before every text.
  friend constexpr std::strong_ordering operator<=>(const Text& a, const Text& b) noexcept {
    if (a.isNil() || b.isNil()) return !a.isNil() <=> !b.isNil();
    return a.view() <=> b.view();
  }

  /// One text behind the other, a new object; nil counts as the empty text.
  friend Text operator+(const Text& a, const Text& b) { return concatenated(a, b); }

  /// Reads a number from the front: blanks skipped, a sign and digits taken, the rest ignored,
  /// saturated at 32 bits; 0 when there is none.
  int intValue() const noexcept;
  /// As `intValue` for a decimal floating-point number; ±HUGE_VAL beyond the range. Never reads a locale.
  double doubleValue() const noexcept;
  /// True when the first character after blanks, one sign and zeros is y, Y, t, T or a digit.
  bool boolValue() const noexcept;

 private:
  // A text on the heap keeps its count of owners in front of its bytes; the flag tells it from a literal.
  static constexpr std::uint64_t kOwned = std::uint64_t{1} << 63;

  constexpr void retain() const noexcept {
    if (size_ & kOwned) addOwner();
  }
  constexpr void release() noexcept {
    if (size_ & kOwned) dropOwner();
  }
  constexpr void forget() noexcept {
    data_ = nullptr;
    size_ = 0;
  }
  // Counted as the standard library counts shared pointers: without a locked instruction while the process
  // has one thread.
  _Atomic_word* owners() const noexcept {
    return reinterpret_cast<_Atomic_word*>(const_cast<char*>(data_) - sizeof(_Atomic_word));
  }
  void addOwner() const noexcept { __gnu_cxx::__atomic_add_dispatch(owners(), 1); }
  static Text concatenated(std::string_view first, std::string_view second);
  // Not here: inlined, it makes g++ 12 warn of literals that it cannot tell from these texts.
  void dropOwner() noexcept;

  const char* data_ = nullptr;
  std::uint64_t size_ = 0;
};

/// Prints the bytes, or "(nil)".
std::ostream& operator<<(std::ostream& out, const Text& text);

namespace detail {

constexpr std::size_t utf8SequenceLength(std::string_view bytes, std::size_t at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
  const std::size_t left = bytes.size() - at;
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                             : lead >= 0xE0 && lead <= 0xEF ? 3
                             : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                            : 0;
  if (length == 0 || left < length) return 0;
  // The second byte's range rules out overlong forms, surrogates and code points above U+10FFFF.
  const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < low || byte(1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i)
    if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
  return length;
}

constexpr bool isWellFormedUtf8(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    // Eight ASCII characters at a time, which is what most texts are made of; the last eight again with those
    // that were seen shifted out.
    if (!std::is_constant_evaluated() && std::endian::native == std::endian::little && bytes.size() >= 8) {
      const std::size_t from = at < bytes.size() - 8 ? at : bytes.size() - 8;
      std::uint64_t word;
      std::memcpy(&word, bytes.data() + from, 8);
      const std::uint64_t high = word >> (at - from) * 8 & 0x8080808080808080;
      if (high == 0) {
        at = from + 8;
        continue;
      }
      at += static_cast<std::size_t>(std::countr_zero(high)) / 8;
    }
    const std::size_t length = utf8SequenceLength(bytes, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

}  // namespace detail

}  // namespace v1
}  // namespace qorvane

namespace std {
template <>
struct hash<qorvane::Text> {
  size_t operator()(const qorvane::Text& text) const noexcept { return hash<string_view>()(text.view()); }
};
}
