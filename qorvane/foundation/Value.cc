#include "qorvane/foundation/Value.h"

#include <algorithm>
#include <bit>
#include <ostream>

#include "qorvane/foundation/Dictionary.h"

namespace qorvane::inline v1 {

namespace {

// Both of one kind: compares what they hold, numbers and dates by the given rules.
template <class Same, class SameNumber, class SameDate>
bool sameHeld(const Value& a, const Value& b, Same same, SameNumber sameNumber, SameDate sameDate) {
  switch (a.kind()) {
    case Value::Kind::Nil:
      return true;
    case Value::Kind::Text:
      return *a.asText() == *b.asText();
    case Value::Kind::Number:
      return sameNumber(*a.asNumber(), *b.asNumber());
    case Value::Kind::Data:
      return *a.asData() == *b.asData();
    case Value::Kind::Date:
      return sameDate(*a.asDate(), *b.asDate());
    case Value::Kind::Array:
      return std::equal(a.asArray()->begin(), a.asArray()->end(), b.asArray()->begin(), b.asArray()->end(),
                        same);
    case Value::Kind::Dictionary:
      break;
  }
  return same(*a.asDictionary(), *b.asDictionary());
}

}  // namespace

Value::Value(Dictionary dictionary) : held_(Shared<Dictionary>(std::move(dictionary))) {}

Dictionary Value::takeDictionary() && {
  const auto* held = std::get_if<Shared<Dictionary>>(&held_);
  if (!held) return {};
  // Only the last who has it may change it.
  return held->isOnlyOwner() ? std::move(**held) : **held;
}

Text Value::textValue() const {
  if (const Text* text = asText()) return *text;
  if (const Number* number = asNumber()) return number->stringValue();
  return nullptr;
}

int Value::intValue() const noexcept {
  if (const Number* number = asNumber()) return number->intValue();
  if (const Text* text = asText()) return text->intValue();
  return 0;
}

bool Value::boolValue() const noexcept {
  if (const Number* number = asNumber()) return number->boolValue();
  if (const Text* text = asText()) return text->boolValue();
  return false;
}

double Value::doubleValue() const noexcept {
  if (const Number* number = asNumber()) return number->doubleValue();
  if (const Text* text = asText()) return text->doubleValue();
  return 0;
}

bool operator==(const Value& a, const Value& b) {
  return a.kind() == b.kind() && sameHeld(
                                     a, b, [](const auto& x, const auto& y) { return x == y; },
                                     [](const Number& x, const Number& y) { return x == y; },
                                     [](const Date& x, const Date& y) { return x == y; });
}

bool isIdentical(const Value& a, const Value& b) {
  return a.kind() == b.kind() && sameHeld(
                                     a, b, [](const auto& x, const auto& y) { return isIdentical(x, y); },
                                     [](const Number& x, const Number& y) { return isIdentical(x, y); },
                                     [](const Date& x, const Date& y) {
                                       return std::bit_cast<std::uint64_t>(x.secondsSince2001) ==
                                              std::bit_cast<std::uint64_t>(y.secondsSince2001);
                                     });
}

const char* kindName(Value::Kind kind) {
  switch (kind) {
    case Value::Kind::Nil:
      return "nothing";
    case Value::Kind::Text:
      return "text";
    case Value::Kind::Number:
      return "number";
    case Value::Kind::Data:
      return "data";
    case Value::Kind::Date:
      return "date";
    case Value::Kind::Array:
      return "array";
    case Value::Kind::Dictionary:
      break;
  }
  return "dictionary";
}

std::ostream& operator<<(std::ostream& out, const Value& value) {
  switch (value.kind()) {
    case Value::Kind::Nil:
      return out << "(nil)";
    case Value::Kind::Text:
      return out << '"' << value.asText()->view() << '"';
    case Value::Kind::Number:
      return out << value.asNumber()->stringValue();
    case Value::Kind::Data: {
      out << '<';
      constexpr char kDigits[] = "0123456789abcdef";
      for (const char c : value.asData()->view())
        out << kDigits[static_cast<unsigned char>(c) >> 4] << kDigits[static_cast<unsigned char>(c) & 15];
      return out << '>';
    }
    case Value::Kind::Date:
      return out << "date " << Number(value.asDate()->secondsSince2001).stringValue();
    case Value::Kind::Array: {
      const char* separator = "[";
      for (const Value& element : *value.asArray()) {
        out << separator << element;
        separator = ", ";
      }
      return out << (value.asArray()->empty() ? "[]" : "]");
    }
    case Value::Kind::Dictionary:
      break;
  }
  const char* separator = "{";
  for (const Dictionary::Entry& entry : *value.asDictionary()) {
    out << separator << entry.key << ": " << entry.value;
    separator = ", ";
  }
  return out << (value.asDictionary()->empty() ? "{}" : "}");
}

}  // namespace qorvane::inline v1
