// The languages of the tool: every text is written in English where it is said, and French.def holds its
// French.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>

#include "qorvane/foundation/Failure.h"

namespace optionsmgr {

/// The language of help and messages from now on; English at first.
void speakFrench(bool french);
bool speaksFrench();
qorvane::Language language();

#ifdef OPTIONSMGR_CHECKED_PHRASES
// Only for the test that every phrase has its French: the table is no part of what the tool's sources are
// compiled from, so that a new row compiles nothing but Language.cc.
inline constexpr std::string_view kEnglishOfRows[] = {
#define FRENCH(english, french) english,
#include "tool/speech/French.def"
#undef FRENCH
};
#endif

/// A text that the tool says, as a literal. One that French.def does not hold fails the test "phrases".
class Phrase {
 public:
  // Implicit, so that a phrase is written like any other text.
  consteval Phrase(const char* english) : english_(english) {
#ifdef OPTIONSMGR_CHECKED_PHRASES
    if (std::ranges::find(kEnglishOfRows, english_) == std::end(kEnglishOfRows))
      throw "this text has no row in French.def";
#endif
  }
  /// The text in the language of the tool.
  std::string_view text() const;
  std::string_view english() const { return english_; }
  /// The English text, for the parser's tables; help translates what it takes from them.
  operator std::string() const { return std::string(english_); }

 private:
  std::string_view english_;
};

/// The text with each "{}" replaced by the next argument.
std::string filled(std::string_view pattern, std::initializer_list<std::string_view> arguments);

/// The phrase in the language of the tool, with each "{}" replaced by the next argument.
template <class... Arguments>
std::string say(const Phrase& phrase, const Arguments&... arguments) {
  return filled(phrase.text(), {std::string_view(arguments)...});
}

/// Somebody's words or a value, in the language's quotation marks.
std::string inQuotes(std::string_view words);

/// A text that comes from a table of the library or of the parser, in the language of the tool. One that
/// French.def does not hold stays.
std::string_view translated(std::string_view english);
std::string_view translated(std::string_view english, qorvane::Language language);

/// What the library tells of a failure, in the language of the tool.
std::string told(const qorvane::Failure& failure);

}  // namespace optionsmgr
