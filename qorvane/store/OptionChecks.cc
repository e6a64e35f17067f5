#include "qorvane/store/OptionChecks.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/jurisdictions/Jurisdictions.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/StoredForms.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1::checks {

namespace {

Answer unless(bool fine, FailureCode code) { return fine ? Answer() : Answer(Failure{code}); }

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isCanadianPostalCode(std::string_view code) {
  const bool parted = code.size() == 7 && (code[3] == ' ' || code[3] == '-');
  if (code.size() != 6 && !parted) return false;
  const std::string bare = std::string(code.substr(0, 3)).append(code.substr(parted ? 4 : 3));
  for (std::size_t i = 0; i < bare.size(); ++i)
    if (!(i % 2 == 0 ? isLetter(bare[i]) : isDigit(bare[i]))) return false;
  return true;
}

// Only the preparer's address has a country of its own; the discounter's lies in Canada.
bool liesInCanada(const Question& asked) {
  if (!asked.store || asked.row.key(asked.product) != optsStr_PreparerPostalCode) return true;
  Dictionary* entries = asked.store->options();
  const Value* country = entries ? entries->find(optsStr_PreparerCountry.view()) : nullptr;
  if (!country) return true;
  const Text name = country->textValue();
  return name.isNilOrEmpty() || std::ranges::equal(name.view(), std::string_view("canada"), {},
                                                   [](char c) { return isLetter(c) ? c | 0x20 : c; });
}

}  // namespace

Answer isAnyText(const Question& asked) {
  return unless(!asked.value.textValue().isNil(), FailureCode::notAText);
}

Answer isChoice(const Question& asked) {
  const Text text = asked.value.textValue();
  const auto& all = asked.row.choices->choices;
  const bool known = asked.row.isLabel ? choices::withLabel(all, text) != nullptr
                                       : choices::withNeutralValue(all, text) != nullptr;
  return unless(known, FailureCode::notAChoice);
}

Answer isJurisdiction(const Question& asked) {
  const Text name = asked.value.textValue();
  return unless(isJurisdictionForm(name, asked.product), FailureCode::notAJurisdiction);
}

Answer isEnglishOrFrench(const Question& asked) {
  const Text language = asked.value.textValue();
  return unless(language == "English" || language == "French", FailureCode::notALanguage);
}

Answer isMinutes(const Question& asked) {
  constexpr int kDay = 24 * 60;
  const Number* number = asked.value.asNumber();
  const double minutes = number ? number->doubleValue() : -1;
  if (minutes >= 0 && minutes <= kDay && minutes == std::floor(minutes)) return std::nullopt;
  return Failure{FailureCode::notMinutes, {"0", Text(std::to_string(kDay))}};
}

Answer isPostalCode(const Question& asked) {
  const Text code = asked.value.textValue();
  return unless(!code.isNil() && (!liesInCanada(asked) || isCanadianPostalCode(code)),
                FailureCode::notACanadianPostalCode);
}

Answer isEmail(const Question& asked) {
  const Text text = asked.value.textValue();
  const std::string_view address = text.view();
  const std::size_t at = address.rfind('@');
  const bool whole = at != address.npos && at > 0 && at + 1 < address.size();
  const bool blank =
      std::ranges::any_of(address, [](char c) { return static_cast<unsigned char>(c) <= ' '; });
  return unless(whole && !blank, FailureCode::notAnEmailAddress);
}

Answer isAbsoluteFolder(const Question& asked) {
  const Text path = asked.value.textValue();
  return unless(path.view().starts_with('/') && path.view().find('\0') == std::string_view::npos,
                FailureCode::notAnAbsoluteFolder);
}

Answer isFiniteNumber(const Question& asked) {
  const Number* number = asked.value.asNumber();
  return unless(number && std::isfinite(number->doubleValue()), FailureCode::notAFiniteNumber);
}

Answer isFlag(const Question& asked) {
  if (const Number* number = asked.value.asNumber())
    return unless(*number == Number(0) || *number == Number(1), FailureCode::notAFlag);
  const Text text = asked.value.textValue();
  return unless(text == kYes || text == kNo || text == kOne || text == kZero, FailureCode::notAFlag);
}

Answer isFont(const Question& asked) {
  return unless(fontFromText(asked.value.textValue()).has_value(), FailureCode::notAFont);
}

Answer isColor(const Question& asked) try {
  const Data* archive = asked.value.asData();
  if (archive) unarchiveColor(*archive);
  return unless(archive, FailureCode::notAColor);
} catch (const Exception&) {
  return Failure{FailureCode::notAColor};
}

Answer isDerived(const Question& asked) {
  return Failure{FailureCode::optionReadOnly, {Text(asked.row.name)}};
}

}  // namespace qorvane::checks
