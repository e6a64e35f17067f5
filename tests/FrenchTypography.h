// What French typography, as it is set in Canada, forbids in a text that people read.
#pragma once

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <cctype>
#include <string>
#include <string_view>

namespace testing_support {

/// What is ill set in the text; empty when nothing is. A colon within a notation (T2:2024) and a quotation
/// mark of the shell ('preparer*') are no typography.
inline std::string faultInFrench(std::string_view french) {
  const std::string_view nbsp = "\u00A0";
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (!nfc->isNormalized(
          icu::UnicodeString::fromUTF8({french.data(), static_cast<std::int32_t>(french.size())}), status))
    return "it is not NFC";
  if (french.find('"') != french.npos) return "a straight quotation mark";
  const auto isLetter = [](char c) { return std::isalpha(static_cast<unsigned char>(c)) || (c & 0x80) != 0; };
  const auto isNotation = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
  for (std::size_t at = 0; at < french.size(); ++at) {
    const std::string_view before = french.substr(0, at);
    const std::string_view after = french.substr(at);
    const bool inside = at > 0 && after.size() > 1;
    if (after.starts_with("'") && inside && isLetter(before.back()) && isLetter(after[1]))
      return "a straight apostrophe";
    if (after.starts_with(":") && !before.ends_with(nbsp) &&
        !(inside && isNotation(before.back()) && isNotation(after[1])))
      return "no no-break space before ':'";
    if ((after.starts_with(";") || after.starts_with("?")) &&
        (before.ends_with(' ') || before.ends_with(nbsp)))
      return "a blank before ';' or '?'";
    if (after.starts_with("«") && !after.substr(std::string_view("«").size()).starts_with(nbsp))
      return "no no-break space after «";
    if (after.starts_with("»") && !before.ends_with(nbsp)) return "no no-break space before »";
  }
  return "";
}

}  // namespace testing_support
