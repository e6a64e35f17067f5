#include "qorvane/formats/EverydayAmounts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace qorvane::inline v1 {

namespace {

constexpr double kTooLarge = 1e9;
constexpr int kMostDecimals = 3;
constexpr std::array kPowers = {1.0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6, 1e7,
                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14};
constexpr std::size_t kLongestPart = 8;

// Takes the part up to the digit from the front; false when the digit is not there or the part is too long.
bool takeUpTo(char digit, std::string_view& text, std::string& part) {
  const std::size_t at = text.find(digit);
  if (at > kLongestPart) return false;
  part = text.substr(0, at);
  text.remove_prefix(at);
  return true;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool take(std::string_view& text, std::string_view part) {
  if (part.empty() || !text.starts_with(part)) return false;
  text.remove_prefix(part.size());
  return true;
}

}  // namespace

EverydayAmounts::EverydayAmounts(const std::function<Text(double)>& write) {
  if (!learn(write(1234567))) return;
  zero_ = write(0);
  // What the one sample left open: roundings, multiples, a format's other groups and digits.
  for (const double sample :
       {0.0,   0.01,  0.02,    0.03,   0.1,    0.123456,  0.9999,   1.0,         7.25001,    12.0,
        99.99, 123.0, 999.994, 1000.0, 1234.0, 12345.678, 123456.0, 1234567.891, 12345678.9, 987654321.0}) {
    const Text known = text(sample);
    if (known.isNil() || known == write(sample)) continue;
    scale_ = 0;
    return;
  }
}

bool EverydayAmounts::learn(std::string_view sample) {
  if (!takeUpTo('1', sample, prefix_)) return false;
  sample.remove_prefix(1);
  if (!takeUpTo('2', sample, groupSeparator_) || !take(sample, "234")) return false;
  if (!groupSeparator_.empty() && !take(sample, groupSeparator_)) return false;
  if (!take(sample, "567")) return false;
  if (sample.find('0') != sample.npos && !takeUpTo('0', sample, decimalSeparator_)) return false;
  while (take(sample, "0")) ++decimals_;
  suffix_ = sample;
  const auto holdsDigit = [](const std::string& part) { return std::ranges::any_of(part, isDigit); };
  if (decimals_ > kMostDecimals || suffix_.size() > kLongestPart || holdsDigit(prefix_) ||
      holdsDigit(suffix_) ||
      (decimals_ > 0 && (decimalSeparator_.empty() || decimalSeparator_ == groupSeparator_)))
    return false;
  scale_ = kPowers[static_cast<std::size_t>(decimals_)];
  return true;
}

Text EverydayAmounts::text(double amount) const {
  // Not so for a NaN either.
  if (!(amount < kTooLarge) || scale_ == 0) return nullptr;
  const double scaled = amount * scale_;
  const double whole = std::floor(scaled);
  const double rest = scaled - whole;
  // ICU rounds the shortest decimal text of the number. That text, and our product, are off by less than
  // 0.0002 together; farther than that from the middle, both round alike.
  if (std::abs(rest - 0.5) < 0.001) return nullptr;
  auto left = static_cast<std::uint64_t>(whole) + (rest > 0.5 ? 1 : 0);

  if (left == 0) return zero_;

  std::array<char, 96> bytes;
  char* begin = bytes.data() + bytes.size();
  const auto put = [&](const std::string& part) {
    begin -= part.size();
    std::ranges::copy(part, begin);
  };
  const auto putDigit = [&] {
    *--begin = static_cast<char>('0' + left % 10);
    left /= 10;
  };
  put(suffix_);
  for (int i = 0; i < decimals_; ++i) putDigit();
  if (decimals_ > 0) put(decimalSeparator_);
  putDigit();
  int digits = 1;
  while (left > 0) {
    if (digits++ % 3 == 0) put(groupSeparator_);
    putDigit();
  }
  put(prefix_);
  return Text::fromWellFormed({begin, static_cast<std::size_t>(bytes.data() + bytes.size() - begin)});
}

std::optional<double> EverydayAmounts::amount(std::string_view text) const {
  if (scale_ == 0 || text.size() < prefix_.size() + suffix_.size() + 1 || !text.starts_with(prefix_) ||
      !text.ends_with(suffix_))
    return std::nullopt;
  text.remove_prefix(prefix_.size());
  text.remove_suffix(suffix_.size());
  if (text.starts_with('0') && text.size() > 1 && isDigit(text[1])) return std::nullopt;

  // As many digits as a double holds exactly, so that one division rounds them right.
  constexpr std::size_t kMostDigits = 15;
  std::uint64_t number = 0;
  std::size_t count = 0;
  const auto takeDigits = [&] {
    const std::size_t before = count;
    for (; !text.empty() && isDigit(text.front()) && count <= kMostDigits; ++count, text.remove_prefix(1))
      number = number * 10 + static_cast<std::uint64_t>(text.front() - '0');
    return count - before;
  };
  const std::size_t first = takeDigits();
  if (first == 0) return std::nullopt;
  while (take(text, groupSeparator_))
    if (first > 3 || takeDigits() != 3) return std::nullopt;
  std::size_t decimals = 0;
  if (take(text, decimalSeparator_) && (decimals = takeDigits()) == 0) return std::nullopt;
  if (!text.empty() || count > kMostDigits) return std::nullopt;
  return static_cast<double>(number) / kPowers[decimals];
}

}  // namespace qorvane::inline v1
