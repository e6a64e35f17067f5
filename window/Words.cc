#include "window/Words.h"

#include <array>

#include "tool/speech/Language.h"

namespace optionsmgr::window {

namespace {

struct InBoth {
  const char* english;
  const char* french;
};

constexpr std::array kWords = {
#define WORD(name, english, french) InBoth{english, french},
#include "window/words.def"
};

}  // namespace

QString said(Word word, qorvane::Language language) {
  const InBoth& texts = kWords[static_cast<std::size_t>(word)];
  return QString::fromUtf8(language == qorvane::Language::English ? texts.english : texts.french);
}

QString said(Word word) { return said(word, language()); }

QString counted(std::size_t count, Word one, Word many) {
  const bool single = count == 1 || (count == 0 && speaksFrench());
  return single ? said(one) : said(many, QString::number(count));
}

}  // namespace optionsmgr::window
