#include "qorvane/store/OptionTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <type_traits>
#include <utility>

#include "qorvane/siblings/QVSettings.h"
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
constexpr bool isSecret = requires {
  Form::kIsSecret;
};
template <class Form>
constexpr bool isMachineSpecific = requires {
  Form::kIsMachineSpecific;
};

template <class Form>
constexpr const ChoiceList* choices() {
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

Value noFallback(const Product*) { return nullptr; }

// A derived answer has its type, and nothing of an entry.
template <class T>
struct NoForm {
  using Type = T;
  static constexpr std::string_view kStored{};
};

struct Keys {
  Text personal;
  Text corporate;
};
consteval Keys keysOf(Text both) { return {both, both}; }
consteval Keys keysOf(Text personal, Text corporate) { return {personal, corporate}; }

template <const Text&... Strings>
struct Further {
  static constexpr std::array<Text, sizeof...(Strings)> strings = {Strings...};
};

// The facade's names, option by option, and beside them the options that they are names of.
constexpr FacadeName kFacadeNames[] = {
#define FORWARD(name, setterName, getter, setter) {#name, #setterName, false},
#define FORWARD_FLAG(name, setterName, getter, setter) {#name, #setterName, true},
#define FORWARD_READ(name, getter) {#name, "", false},
#define FORWARD_BY_HAND(name, getter) {#name, "", false},
#include "qorvane/store/facade-names.def"
};
constexpr std::string_view kNamedOptions[] = {
#define FORWARD(name, setterName, getter, setter) #getter,
#define FORWARD_FLAG(name, setterName, getter, setter) #getter,
#define FORWARD_READ(name, getter) #getter,
#define FORWARD_BY_HAND(name, getter) #getter,
#include "qorvane/store/facade-names.def"
};

consteval std::span<const FacadeName> facadeNamesOf(std::string_view option) {
  const auto first = std::ranges::find(kNamedOptions, option);
  const auto last = std::find_if(first, std::end(kNamedOptions), [&](auto name) { return name != option; });
  return std::span(kFacadeNames)
      .subspan(static_cast<std::size_t>(first - kNamedOptions), static_cast<std::size_t>(last - first));
}

#define UNWRAPPED(...) __VA_ARGS__
#define FALLBACK_OF(Form, fallback)              \
  [](const Product* product) {                   \
    [[maybe_unused]] const Running now(product); \
    return boxed(defaultOf<Form>(fallback));     \
  }
#define ROW(getter, setterName, Form, formName, readKind, writeKind, keys, further, fallback, write) \
  OptionRow{#getter,                                                                                 \
            setterName,                                                                              \
            facadeNamesOf(#getter),                                                                  \
            typeOfForm<Form>(),                                                                      \
            formName,                                                                                \
            readKind,                                                                                \
            writeKind,                                                                               \
            Form::kStored,                                                                           \
            isSecret<Form>,                                                                          \
            isMachineSpecific<Form>,                                                                 \
            choices<Form>(),                                                                         \
            isLabel<Form>(),                                                                         \
            keys.personal,                                                                           \
            keys.corporate,                                                                          \
            Further<UNWRAPPED further>::strings,                                                     \
            fallback,                                                                                \
            readBy<&Options::getter>,                                                                \
            write},
#define OPTION(getter, setter, entry, Form, fallback, Read, Write, facade)                        \
  ROW(getter, #setter, Form, #Form, #Read, #Write, keysOf entry, (), FALLBACK_OF(Form, fallback), \
      (writeBy<Form, &Options::setter>))
#define GETTER(getter, setter, entry, Form, fallback, Read, further, facade)                       \
  ROW(getter, #setter, Form, #Form, #Read, "", keysOf entry, further, FALLBACK_OF(Form, fallback), \
      (writeBy<Form, &Options::setter>))
#define SPECIAL(getter, setter, entry, Form, fallback, further, facade)                         \
  ROW(getter, #setter, Form, #Form, "", "", keysOf entry, further, FALLBACK_OF(Form, fallback), \
      (writeBy<Form, &Options::setter>))
#define READ_ONLY(getter, entry, Form, fallback, Read, facade) \
  ROW(getter, "", Form, #Form, #Read, "", keysOf entry, (), FALLBACK_OF(Form, fallback), nullptr)
#define DERIVED(getter, facade) \
  ROW(getter, "", NoForm<AnswerOf<&Options::getter>>, "", "", "", Keys{}, (), noFallback, nullptr)

constexpr OptionRow kRows[] = {
#include "qorvane/store/options.def"
};

#undef UNWRAPPED
#undef FALLBACK_OF
#undef ROW

// The keys of the retired options, behind those of none.
#define OPTION(...)
#define GETTER(...)
#define SPECIAL(...)
#define READ_ONLY(...)
#define DERIVED(...)
#define RETIRED(getter, setter, entry, ...) keysOf entry,
constexpr Keys kRetired[] = {
    {nullptr, nullptr},
#include "qorvane/store/options.def"
};

// A name that stands elsewhere than behind its option would be lost.
static_assert([] {
  std::size_t names = 0;
  for (const OptionRow& row : kRows) names += row.facadeNames.size();
  return names == std::size(kFacadeNames);
}());

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

Text OptionRow::key() const { return key(QVSettings::product()); }

std::vector<Text> OptionRow::entries(const Product& product) const {
  std::vector<Text> all;
  if (!write) return all;
  all.push_back(key(product));
  all.insert(all.end(), furtherKeys.begin(), furtherKeys.end());
  return all;
}
std::vector<Text> OptionRow::entries() const { return entries(QVSettings::product()); }

bool isDerivedEntry(std::string_view key) {
  const auto isKey = [&](const Text& text) { return text.view() == key; };
  return std::ranges::any_of(
             kRows, [&](const OptionRow& row) { return std::ranges::any_of(row.furtherKeys, isKey); }) &&
         std::ranges::none_of(kRows, [&](const OptionRow& row) {
           return !row.personalKey.isNil() && (isKey(row.personalKey) || isKey(row.corporateKey));
         });
}

std::span<const OptionRow> optionTable() { return kRows; }

const OptionRow* findProperty(std::string_view name) {
  const auto found = std::ranges::lower_bound(kByName, Key::hashOf(name), {}, &NamedRow::hash);
  return found != kByName.end() && kRows[found->row].name == name ? &kRows[found->row] : nullptr;
}

bool isRetiredEntry(std::string_view key) {
  return std::ranges::any_of(std::span(kRetired).subspan(1), [&](const Keys& keys) {
    return keys.personal.view() == key || keys.corporate.view() == key;
  });
}

NamedOption findPropertyOrFacadeName(std::string_view name) {
  if (const OptionRow* row = findProperty(name)) return {row, nullptr};
  for (const OptionRow& row : kRows) {
    const auto found = std::ranges::find(row.facadeNames, name, &FacadeName::getter);
    if (found != row.facadeNames.end()) return {&row, &*found};
  }
  return {};
}

const OptionRow* findOption(std::string_view nameOrKey) {
  if (const OptionRow* row = findProperty(nameOrKey)) return row;
  const Product product = QVSettings::product();
  const auto found = std::ranges::find_if(kRows, [&](const OptionRow& row) {
    const Text key = row.key(product);
    return !key.isNil() && key.view() == nameOrKey;
  });
  return found == std::end(kRows) ? nullptr : found;
}

}  // namespace qorvane::inline v1
