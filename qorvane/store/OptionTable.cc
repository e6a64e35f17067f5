#include "qorvane/store/OptionTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <type_traits>

#include "qorvane/jurisdictions/LevelOfAuthorizationMapping.h"
#include "qorvane/jurisdictions/MR69AuthoriztionOrPowerOfAttorneyMapping.h"
#include "qorvane/jurisdictions/MR69OptionsMapping.h"
#include "qorvane/jurisdictions/ModeOfDelivery.h"
#include "qorvane/jurisdictions/NoticeOfAssAndRefundMapping.h"
#include "qorvane/jurisdictions/RC59OptionsMapping.h"
#include "qorvane/jurisdictions/TypeOfOrganizationMapping.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/Folders.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/StoredForms.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

// How a value of each type travels through a Value.
template <class T>
Value boxed(const T& value) {
  if constexpr (std::is_arithmetic_v<T>)
    return Number(value);
  else if constexpr (std::is_same_v<T, std::optional<FontDescriptor>>)
    return fontText(value);
  else if constexpr (std::is_same_v<T, Color>)
    return archiveColor(value);
  else
    return value;
}

template <class T>
auto unboxed(const Value& value) {
  if constexpr (std::is_same_v<T, Text>)
    return value.textValue();
  else if constexpr (std::is_same_v<T, bool>)
    return value.boolValue();
  else if constexpr (std::is_same_v<T, int>)
    return value.intValue();
  else if constexpr (std::is_same_v<T, std::optional<FontDescriptor>>)
    return fontFromText(value.textValue());
  else if constexpr (std::is_same_v<T, Color>)
    return value.asData() ? std::optional(unarchiveColor(*value.asData())) : std::nullopt;
  else
    return value;
}

template <class T>
consteval OptionType typeOf() {
  if constexpr (std::is_same_v<T, Text>)
    return OptionType::Text;
  else if constexpr (std::is_same_v<T, bool>)
    return OptionType::Flag;
  else if constexpr (std::is_same_v<T, int>)
    return OptionType::Integer;
  else if constexpr (std::is_same_v<T, std::optional<FontDescriptor>>)
    return OptionType::Font;
  else if constexpr (std::is_same_v<T, Color>)
    return OptionType::Color;
  else
    return OptionType::Date;
}

template <class Form>
consteval OptionType typeOfForm() {
  return std::is_same_v<Form, FolderForm> ? OptionType::Folder : typeOf<typename Form::Type>();
}

template <class Form>
constexpr bool isSecret = std::is_base_of_v<SecretForm, Form>;

template <class Form>
const ChoiceList* choices() {
  if constexpr (requires { typename Form::Choices; })
    return &choicesOf<typename Form::Choices>();
  else
    return nullptr;
}

template <class Form>
consteval bool isLabel() {
  if constexpr (requires { Form::kIsLabel; })
    return Form::kIsLabel;
  else
    return false;
}

template <auto Getter>
Value readBy(Options& store) {
  return boxed((store.*Getter)());
}

template <class Form, auto Setter>
void writeBy(Options& store, const Value& value) {
  (store.*Setter)(unboxed<typename Form::Type>(value));
}

template <auto Getter>
using AnswerOf = std::remove_cvref_t<decltype((std::declval<Options&>().*Getter)())>;

Text noKey() { return nullptr; }
Value noFallback() { return nullptr; }

// A derived answer has its type, and nothing of an entry.
template <class T>
struct NoForm {
  using Type = T;
  static constexpr std::string_view kStored = "";
};

#define KEY_OF(entry)                           \
  [] {                                          \
    static constexpr auto key = entryKey entry; \
    return keyNow(key).text();                  \
  }
#define FALLBACK_OF(Form, fallback) [] { return boxed(defaultOf<Form>(fallback)); }
#define ROW(getter, setterName, Form, formName, readKind, writeKind, key, fallback, write)      \
  OptionRow{#getter,   setterName,    typeOfForm<Form>(),       formName,      readKind,        \
            writeKind, Form::kStored, isSecret<Form>,           choices<Form>, isLabel<Form>(), \
            key,       fallback,      readBy<&Options::getter>, write},
#define OPTION(getter, setter, entry, Form, fallback, Read, Write)                             \
  ROW(getter, #setter, Form, #Form, #Read, #Write, KEY_OF(entry), FALLBACK_OF(Form, fallback), \
      (writeBy<Form, &Options::setter>))
#define GETTER(getter, setter, entry, Form, fallback, Read)                                \
  ROW(getter, #setter, Form, #Form, #Read, "", KEY_OF(entry), FALLBACK_OF(Form, fallback), \
      (writeBy<Form, &Options::setter>))
#define SPECIAL(getter, setter, entry, Form, fallback)                                  \
  ROW(getter, #setter, Form, #Form, "", "", KEY_OF(entry), FALLBACK_OF(Form, fallback), \
      (writeBy<Form, &Options::setter>))
#define READ_ONLY(getter, entry, Form, fallback, Read) \
  ROW(getter, "", Form, #Form, #Read, "", KEY_OF(entry), FALLBACK_OF(Form, fallback), nullptr)
#define DERIVED(getter) \
  ROW(getter, "", NoForm<AnswerOf<&Options::getter>>, "", "", "", noKey, noFallback, nullptr)

constexpr OptionRow kRows[] = {
#include "qorvane/store/options.def"
};

#undef KEY_OF
#undef FALLBACK_OF
#undef ROW

// The rows by the hash of their names, for look-ups: a load makes some fifty.
struct NamedRow {
  std::uint64_t hash;
  std::uint16_t row;
};
constexpr auto kByName = [] {
  std::array<NamedRow, std::size(kRows)> order{};
  for (std::size_t i = 0; i < order.size(); ++i)
    order[i] = {Key::hashOf(kRows[i].name), static_cast<std::uint16_t>(i)};
  std::ranges::sort(order, {}, &NamedRow::hash);
  return order;
}();
static_assert(std::ranges::adjacent_find(kByName, {}, &NamedRow::hash) == kByName.end(),
              "two options of one name");

}  // namespace

Text fontText(const std::optional<FontDescriptor>& font) {
  if (!font) return nullptr;
  // As many digits as the size had when it was set: it is kept in single precision.
  char size[32];
  char* const end = std::to_chars(size, size + sizeof size, static_cast<float>(font->pointSize())).ptr;
  return Text(font->postscriptName().string() + ", " + std::string(size, end));
}

std::optional<FontDescriptor> fontFromText(std::string_view text) {
  const std::size_t comma = text.rfind(',');
  if (comma == 0 || comma == text.npos) return std::nullopt;
  std::string_view digits = text.substr(comma + 1);
  digits.remove_prefix(std::min(digits.find_first_not_of(' '), digits.size()));
  double size = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), size);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  if (!std::isfinite(size) || size < 0) return std::nullopt;
  return FontDescriptor(Text(text.substr(0, comma)), size);
}

std::span<const OptionRow> optionTable() { return kRows; }

const OptionRow* findProperty(std::string_view name) {
  const auto found = std::ranges::lower_bound(kByName, Key::hashOf(name), {}, &NamedRow::hash);
  return found != kByName.end() && kRows[found->row].name == name ? &kRows[found->row] : nullptr;
}

const OptionRow* findOption(std::string_view nameOrKey) {
  if (const OptionRow* row = findProperty(nameOrKey)) return row;
  const auto found = std::ranges::find_if(kRows, [&](const OptionRow& row) {
    const Text key = row.key();
    return !key.isNil() && key.view() == nameOrKey;
  });
  return found == std::end(kRows) ? nullptr : found;
}

}  // namespace qorvane::inline v1
