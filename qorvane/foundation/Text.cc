#include "qorvane/foundation/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <string>
#include <system_error>

namespace qorvane::inline v1 {

namespace {

// The number of bytes that one U+FFFD stands for: the longest start of a sequence that could have
// gone on well-formed, at least one.
std::size_t illFormedLength(std::string_view bytes, std::size_t at) {
  const std::size_t left = bytes.size() - at;
  for (std::size_t length = 3; length > 1; --length) {
    if (length > left) continue;
    // A proper prefix is well-formed so far when completing it gives a whole sequence.
    const char trial[] = {bytes[at], bytes[at + 1], length > 2 ? bytes[at + 2] : '\x80', '\x80'};
    if (detail::utf8SequenceLength({trial, sizeof trial}, 0) > length) return length;
  }
  return 1;
}

std::string repaired(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    if (const std::size_t length = detail::utf8SequenceLength(bytes, at)) {
      result.append(bytes.substr(at, length));
      at += length;
    } else {
      result.append("\xEF\xBF\xBD");
      at += illFormedLength(bytes, at);
    }
  }
  return result;
}

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view withoutLeadingBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

bool takeSign(std::string_view& text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  return negative;
}

int leadingInteger(std::string_view text) {
  std::string_view rest = withoutLeadingBlanks(text);
  const bool negative = takeSign(rest);
  std::int64_t number = 0;
  for (const char c : rest) {
    if (!isDigit(c)) break;
    number = number * 10 + (c - '0');
    if (number > std::int64_t{std::numeric_limits<int>::max()} + 1) break;
  }
  if (negative) number = -number;
  if (number > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  if (number < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(number);
}

}  // namespace

Text::Text(std::string_view bytes)
    : Text(detail::isWellFormedUtf8(bytes) ? fromWellFormed(bytes) : fromWellFormed(repaired(bytes))) {}

Text Text::fromWellFormed(std::string_view bytes) {
  char* block = static_cast<char*>(::operator new(sizeof(_Atomic_word) + bytes.size() + 1));
  new (block) _Atomic_word(1);
  char* data = block + sizeof(_Atomic_word);
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  data[bytes.size()] = '\0';
  Text text;
  text.data_ = data;
  text.size_ = bytes.size() | kOwned;
  return text;
}

Text Text::concatenated(std::string_view first, std::string_view second) {
  std::string both;
  both.reserve(first.size() + second.size());
  return fromWellFormed(both.append(first).append(second));
}

void Text::dropOwner() noexcept {
  // A lone owner cannot be joined by another meanwhile, so it needs no locked instruction to be the last.
  if (__atomic_load_n(owners(), __ATOMIC_ACQUIRE) == 1 ||
      __gnu_cxx::__exchange_and_add_dispatch(owners(), -1) == 1)
    ::operator delete(owners());
}

int Text::intValue() const noexcept { return leadingInteger(view()); }

double Text::doubleValue() const noexcept {
  std::string_view rest = withoutLeadingBlanks(view());
  const bool negative = takeSign(rest);
  // Only digits start a number here: "inf" and "nan" are words.
  const std::size_t digits = rest.starts_with('.') ? 1 : 0;
  if (rest.size() <= digits || !isDigit(rest[digits])) return 0;
  double number = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error == std::errc::result_out_of_range) {
    // Too large or too small: the place of the first digit that counts, moved by the exponent, tells.
    const std::string_view taken(rest.data(), static_cast<std::size_t>(end - rest.data()));
    const std::size_t point = std::min(taken.find_first_of(".eE"), taken.size());
    const std::size_t mark = taken.find_first_of("eE");
    const std::int64_t exponent = mark == taken.npos ? 0 : leadingInteger(taken.substr(mark + 1));
    const bool tiny = static_cast<std::int64_t>(point) -
                          static_cast<std::int64_t>(taken.find_first_not_of("0.")) + exponent <
                      0;
    number = tiny ? 0 : HUGE_VAL;
  }
  return negative ? -number : number;
}

bool Text::boolValue() const noexcept {
  std::string_view rest = withoutLeadingBlanks(view());
  takeSign(rest);
  while (rest.starts_with('0')) rest.remove_prefix(1);
  return !rest.empty() &&
         (std::string_view("yYtT").find(rest.front()) != std::string_view::npos || isDigit(rest.front()));
}

std::ostream& operator<<(std::ostream& out, const Text& text) {
  return text.isNil() ? out << "(nil)" : out << text.view();
}

}  // namespace qorvane::inline v1
