#include "tool/speech/Plain.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace optionsmgr {

std::string plainLetters(std::string_view text) {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* const decomposed = icu::Normalizer2::getNFKDInstance(error);
  icu::UnicodeString letters =
      icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  if (decomposed && U_SUCCESS(error)) letters = decomposed->normalize(letters, error);
  letters.foldCase();
  icu::UnicodeString plain;
  for (int32_t at = 0; at < letters.length(); at = letters.moveIndex32(at, 1)) {
    const UChar32 code = letters.char32At(at);
    if (u_charType(code) == U_NON_SPACING_MARK) continue;
    if (code == 0x153)
      plain.append(icu::UnicodeString("oe"));
    else if (code == 0xE6)
      plain.append(icu::UnicodeString("ae"));
    else if (code == '\'' || code == 0x2019)
      plain.append(static_cast<UChar32>('\''));
    else
      plain.append(u_isalnum(code) ? code : static_cast<UChar32>(' '));
  }
  std::string result;
  plain.trim().toUTF8String(result);
  return result;
}

}  // namespace optionsmgr
