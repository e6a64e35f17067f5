// What the firm's program says, in both languages: the rows of firm/words.def.
#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

namespace optionsmgr::firm {

enum class Word {
#define WORD(code, english, french) code,
#include "firm/words.def"
#undef WORD
};

/// The words in the language that is spoken now, their places filled.
std::string said(Word word, std::initializer_list<std::string_view> arguments);

template <class... Arguments>
std::string say(Word word, const Arguments&... arguments) {
  return said(word, {std::string_view(arguments)...});
}

/// The exit codes: the tool's, and 69 for a server that cannot be reached or did not wholly answer.
enum class Exit : int {
  Done = 0,
  NotFound = 1,
  Usage = 2,
  BadData = 65,
  Unavailable = 69,
  CannotCreate = 73,
  InputOutput = 74,
  TryAgain = 75,
  NoPermission = 77
};

/// Why a verb was not done.
class FirmFailure : public std::runtime_error {
 public:
  template <class... Arguments>
  FirmFailure(Exit exit, Word word, const Arguments&... arguments)
      : runtime_error(say(word, arguments...)), exit_(exit), word_(word) {}
  Exit exit() const noexcept { return exit_; }
  Word word() const noexcept { return word_; }

 private:
  Exit exit_;
  Word word_;
};

}  // namespace optionsmgr::firm
