// The texts of failures.def taken apart. Internal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qorvane::inline v1::detail {

/// What comes next in a text: characters to copy, or a place to fill.
struct PatternPiece {
  enum class Kind : std::uint8_t { End, Characters, Argument, Cause, Error, Malformed } kind;
  std::string_view characters;
  /// Of an argument or a cause: which one, from 0.
  std::size_t number = 0;
};

class PatternReader {
 public:
  explicit constexpr PatternReader(std::string_view pattern) : rest_(pattern) {}

  constexpr PatternPiece next() {
    using Kind = PatternPiece::Kind;
    if (rest_.empty()) return {Kind::End, {}};
    const std::size_t open = rest_.find('{');
    if (open != 0) return {Kind::Characters, take(open)};
    const std::size_t close = rest_.find('}');
    if (close == rest_.npos) return {Kind::Malformed, take(rest_.npos)};
    const std::string_view place = take(close + 1).substr(1, close - 1);
    if (place.empty()) return {Kind::Argument, {}, argument_++};
    if (place.size() == 1 && place[0] >= '1' && place[0] <= '9')
      return {Kind::Argument, {}, static_cast<std::size_t>(place[0] - '1')};
    if (place == "cause") return {Kind::Cause, {}, cause_++};
    if (place == "error") return {Kind::Error, {}};
    return {Kind::Malformed, place};
  }

 private:
  constexpr std::string_view take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view rest_;
  std::size_t argument_ = 0;
  std::size_t cause_ = 0;
};

/// What a text takes, a number that two texts of one row share: a bit for each argument and each cause told,
/// and one for the system's words. -1 when it is empty, malformed, leaves an argument out, or tells one
/// twice.
constexpr int placesOf(std::string_view pattern) {
  constexpr int kArguments = 0;
  constexpr int kCauses = 9;
  constexpr int kError = 18;
  if (pattern.empty()) return -1;
  int places = 0;
  const auto fill = [&](std::size_t at) {
    const int bit = 1 << at;
    const bool again = (places & bit) != 0;
    places |= bit;
    return !again;
  };
  PatternReader reader(pattern);
  for (;;) {
    const PatternPiece piece = reader.next();
    switch (piece.kind) {
      case PatternPiece::Kind::End: {
        const int arguments = places & 0x1FF;
        return (arguments & (arguments + 1)) == 0 ? places : -1;
      }
      case PatternPiece::Kind::Characters:
        break;
      case PatternPiece::Kind::Argument:
        if (piece.number >= 9 || !fill(kArguments + piece.number)) return -1;
        break;
      case PatternPiece::Kind::Cause:
        if (piece.number >= 9 || !fill(kCauses + piece.number)) return -1;
        break;
      case PatternPiece::Kind::Error:
        if (!fill(kError)) return -1;
        break;
      case PatternPiece::Kind::Malformed:
        return -1;
    }
  }
}

constexpr bool isWholeRow(std::string_view english, std::string_view french) {
  return placesOf(english) >= 0 && placesOf(english) == placesOf(french);
}

}  // namespace qorvane::inline v1::detail
