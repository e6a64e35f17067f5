// The window's own texts, in the language that it speaks (optionsmgr::language).
#pragma once

#include <QString>
#include <cstdint>
#include <string_view>

#include "qorvane/foundation/Language.h"
#include "qorvane/foundation/Text.h"

namespace optionsmgr::window {

enum class Word : std::uint8_t {
#define WORD(name, english, french) name,
#include "window/words.def"
};

/// The text, and the text with "%1", "%2" … replaced.
QString said(Word word);
QString said(Word word, qorvane::Language language);
template <class... Arguments>
QString said(Word word, const Arguments&... arguments) requires(sizeof...(arguments) > 0 &&
                                                                (std::same_as<Arguments, QString> && ...)) {
  return said(word).arg(arguments...);
}

/// "1 unsaved change" or "3 unsaved changes"; in French nothing is singular as well.
QString counted(std::size_t count, Word one, Word many);

/// Texts across the border between library and Qt; nil is the empty string.
inline QString shown(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline qorvane::Text typed(const QString& text) { return qorvane::Text(text.toStdString()); }

}  // namespace optionsmgr::window
