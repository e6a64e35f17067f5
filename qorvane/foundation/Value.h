// Value: what a property list holds, or nil.
//
// Values are cheap to copy and never change once made: texts, blocks of bytes, arrays and dictionaries
// are shared between copies.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <utility>
#include <variant>
#include <vector>

#include "qorvane/foundation/Data.h"
#include "qorvane/foundation/Number.h"
#include "qorvane/foundation/Shared.h"
#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Dictionary;
class Value;

/// What a value is. Stands before Array, which one of its names would hide.
enum class ValueKind : std::uint8_t { Nil, Text, Number, Data, Date, Array, Dictionary };

using Array = std::vector<Value>;

/// A moment, in seconds since 2001-01-01 00:00:00 UTC (the reference date of property lists).
struct Date {
  double secondsSince2001 = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

class Value {
 public:
  using Kind = ValueKind;

  /// Nil.
  Value() = default;
  /// Nil; a template, because a plain 0 would convert to it.
  template <std::same_as<std::nullptr_t> Nil>
  Value(Nil) {}

  /// A nil text makes a nil value.
  Value(Text text) {
    if (!text.isNil()) held_.emplace<Text>(std::move(text));
  }
  /// A text; null makes a nil value.
  template <class Characters>
  requires(std::same_as<Characters, std::string> || std::same_as<Characters, std::string_view> ||
           std::same_as<Characters, const char*> || std::same_as<Characters, char*>)  //
      Value(const Characters& text)
      : Value(Text(text)) {}
  template <std::size_t N>
  Value(const char (&literal)[N]) : Value(Text(std::string_view(literal))) {}
  template <std::same_as<Number> N>
  Value(N number) : held_(number) {}
  /// A number: a flag of exactly `bool`, so that no pointer becomes one; no single character counts as one.
  template <class N>
  requires(std::same_as<N, float> || std::same_as<N, double> ||
           (std::integral<N> && !std::same_as<N, char> && !std::same_as<N, wchar_t> &&
            !std::same_as<N, char8_t> && !std::same_as<N, char16_t> && !std::same_as<N, char32_t>))  //
      Value(N number)
      : held_(Number(number)) {}
  Value(Data data) : held_(std::move(data)) {}
  Value(Date date) : held_(date) {}
  Value(Array array) : held_(Shared<const Array>(std::move(array))) {}
  Value(Dictionary dictionary);

  Value(const Value&) = default;
  Value(Value&&) noexcept = default;
  Value& operator=(const Value&) = default;
  Value& operator=(Value&&) noexcept = default;
  /// As from Value(text), but in the place of a text, which is what nearly every entry is, without a detour.
  template <std::same_as<Text> T>
  Value& operator=(T text) {
    if (Text* const mine = std::get_if<Text>(&held_); mine && !text.isNil())
      *mine = std::move(text);
    else
      *this = Value(std::move(text));
    return *this;
  }
  ~Value() = default;

  Kind kind() const noexcept { return static_cast<Kind>(held_.index()); }
  bool isNil() const noexcept { return kind() == Kind::Nil; }

  /// The value as what it is: null when it is of another kind. Valid as long as this value lives.
  const Text* asText() const noexcept { return std::get_if<Text>(&held_); }
  const Number* asNumber() const noexcept { return std::get_if<Number>(&held_); }
  const Data* asData() const noexcept { return std::get_if<Data>(&held_); }
  const Date* asDate() const noexcept { return std::get_if<Date>(&held_); }
  const Array* asArray() const noexcept {
    const auto* held = std::get_if<Shared<const Array>>(&held_);
    return held ? held->get() : nullptr;
  }
  const Dictionary* asDictionary() const noexcept {
    const auto* held = std::get_if<Shared<Dictionary>>(&held_);
    return held ? held->get() : nullptr;
  }

  /// The dictionary that this value is, taken out of it: without a copy when no other value shares it. Empty
  /// for every other kind.
  Dictionary takeDictionary() &&;

  /// The value as a text: a text itself, a number's decimal text; nil for every other kind.
  Text textValue() const;
  /// The value as a 32-bit integer: a number's or a text's `intValue`; 0 for every other kind.
  int intValue() const noexcept;
  /// The value as a truth: a number's or a text's `boolValue`; false for every other kind.
  bool boolValue() const noexcept;
  /// The value as a double: a number's or a text's `doubleValue`; 0 for every other kind.
  double doubleValue() const noexcept;

  /// Equality in depth: numbers by numeric value, dictionaries whatever their order; nil equals nil.
  friend bool operator==(const Value& a, const Value& b);
  /// As ==, and numbers must agree in kind and bits: what a loss-free copy must satisfy.
  friend bool isIdentical(const Value& a, const Value& b);

 private:
  // In the order of Kind.
  std::variant<std::monostate, Text, Number, Data, Date, Shared<const Array>, Shared<Dictionary>> held_;
};

bool operator==(const Value& a, const Value& b);
bool isIdentical(const Value& a, const Value& b);

/// The kind as a word for messages: "text", "number", … ; "nothing" for nil.
const char* kindName(Value::Kind kind);

/// Prints a description for people and test failures; not a persisted form.
std::ostream& operator<<(std::ostream& out, const Value& value);

}  // namespace v1
}  // namespace qorvane
