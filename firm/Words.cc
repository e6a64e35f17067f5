#include "firm/Words.h"

#include <array>

#include "tool/speech/Language.h"

namespace optionsmgr::firm {

namespace {

struct Row {
  std::string_view english;
  std::string_view french;
};

constexpr std::array kRows = {
#define WORD(code, english, french) Row{english, french},
#include "firm/words.def"
#undef WORD
};

constexpr int placesIn(std::string_view text) {
  int places = 0;
  for (; text.find("{}") != text.npos; ++places) text.remove_prefix(text.find("{}") + 2);
  return places;
}
constexpr bool complete() {
  for (const Row& row : kRows)
    if (row.english.empty() || row.french.empty() || placesIn(row.english) != placesIn(row.french))
      return false;
  return true;
}
static_assert(complete(), "a row lacks a language, or its two texts take different numbers of arguments");

}  // namespace

std::string said(Word word, std::initializer_list<std::string_view> arguments) {
  const Row& row = kRows[static_cast<std::size_t>(word)];
  return filled(speaksFrench() ? row.french : row.english, arguments);
}

}  // namespace optionsmgr::firm
