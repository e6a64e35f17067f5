// What the catalogue says of each option. The only source that expands its texts.
#include <algorithm>
#include <string>
#include <string_view>

#include "qorvane/jurisdictions/Jurisdictions.h"
#include "qorvane/store/OptionChecks.h"
#include "qorvane/store/OptionTable.h"

namespace qorvane::inline v1 {

namespace {

enum Group {
#define GROUP(id, english, french) k##id,
#include "qorvane/store/option-groups.def"
};

constexpr OptionGroup kGroups[] = {
#define GROUP(id, english, french) {#id, english, french},
#include "qorvane/store/option-groups.def"
};

// The places of the options in their table, and in the catalogue: a second row for an option does not
// compile.
enum class Place {
#define OPTION(getter, ...) getter,
#define GETTER OPTION
#define SPECIAL OPTION
#define READ_ONLY OPTION
#define DERIVED OPTION
#include "qorvane/store/options.def"
  kEnd
};
enum class CatalogPlace {
#define CATALOG(property, ...) property,
#include "qorvane/store/option-catalog.def"
  kEnd
};

consteval bool isText(std::string_view text) { return !text.empty(); }

#define CATALOG(property, group, englishLabel, frenchLabel, english, french, check)                         \
  static_assert(static_cast<int>(Place::property) == static_cast<int>(CatalogPlace::property),              \
                "option-catalog.def does not follow options.def: a row is missing, or stands elsewhere, at" \
                " or before " #property);                                                                   \
  static_assert(isText(englishLabel) && isText(frenchLabel) && isText(english) && isText(french),           \
                "option-catalog.def: a text is empty for " #property);
#include "qorvane/store/option-catalog.def"
static_assert(static_cast<int>(Place::kEnd) == static_cast<int>(CatalogPlace::kEnd),
              "option-catalog.def: the last rows are missing");

struct Words {
  Text englishLabel;
  Text frenchLabel;
  Text english;
  Text french;
  Group group;
  checks::Check check;
};

constexpr Words kWords[] = {
#define CATALOG(property, group, englishLabel, frenchLabel, english, french, check) \
  {englishLabel, frenchLabel, english, french, k##group, checks::is##check},
#include "qorvane/store/option-catalog.def"
};

const Words& wordsOf(const OptionRow& row) { return kWords[findProperty(row.name) - optionTable().data()]; }

}  // namespace

std::span<const OptionGroup> optionGroups() { return kGroups; }

Text OptionRow::label(Language language) const {
  const Words& words = wordsOf(*this);
  return language == Language::English ? words.englishLabel : words.frenchLabel;
}

Text OptionRow::description(Language language) const {
  const Words& words = wordsOf(*this);
  return language == Language::English ? words.english : words.french;
}

const OptionGroup& OptionRow::group() const { return kGroups[wordsOf(*this).group]; }

namespace {

// The language that a person names in either language, with its accents or without; nil for any other text.
Text languageMeant(std::string_view typed) {
  std::string low(typed);
  std::ranges::transform(low, low.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (low == "english" || low == "anglais") return "English";
  if (low == "french" || low == "français" || low == "francais") return "French";
  return nullptr;
}

}  // namespace

Text OptionRow::meant(const Text& typed, const Product& product) const {
  const checks::Check rule = wordsOf(*this).check;
  if (choices) {
    const Choice* choice = choices->meant(typed);
    if (choice) return isLabel ? choices->languageSpecificValue(choice->neutral) : choice->neutral;
  } else if (rule == checks::isJurisdiction && !isJurisdictionForm(typed, product)) {
    if (const Jurisdiction* place = jurisdictionMeant(typed, product)) return place->english;
  } else if (rule == checks::isEnglishOrFrench) {
    if (const Text language = languageMeant(typed); !language.isNil()) return language;
  }
  return typed;
}

Text OptionRow::meant(const Text& typed) const { return meant(typed, QVSettings::product()); }

std::optional<Failure> OptionRow::check(const Value& value, const Product& product, Options* store) const {
  if (!write) return Failure{FailureCode::optionReadOnly, {Text(name)}};
  const Text* text = value.asText();
  if (value.isNil() || (text && text->isNilOrEmpty())) return std::nullopt;
  return wordsOf(*this).check({*this, value, product, store});
}

std::optional<Failure> OptionRow::check(const Value& value, Options* store) const {
  return check(value, QVSettings::product(), store);
}

}  // namespace qorvane::inline v1
