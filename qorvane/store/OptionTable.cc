#include "qorvane/store/OptionTable.h"

#include <algorithm>
#include <array>
#include <type_traits>

#include "qorvane/store/Accessors.h"
#include "qorvane/store/Folders.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/StoredForms.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane {

namespace {

// How a value of each type travels through a Value.
template <class T>
Value boxed(const T& value) {
  if constexpr (std::is_arithmetic_v<T>)
    return Number(value);
  else
    return value;
}

template <class T>
T unboxed(const Value& value) {
  if constexpr (std::is_same_v<T, Text>)
    return value.textValue();
  else if constexpr (std::is_same_v<T, bool>)
    return value.boolValue();
  else if constexpr (std::is_same_v<T, int>)
    return value.intValue();
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
  else
    return OptionType::Date;
}

template <class Form>
consteval OptionType typeOfForm() {
  return std::is_same_v<Form, FolderForm> ? OptionType::Folder : typeOf<typename Form::Type>();
}

template <class Form>
constexpr bool isSecret = std::is_base_of_v<SecretForm, Form>;

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

#define KEY_OF(entry)                           \
  [] {                                          \
    static constexpr auto key = entryKey entry; \
    return keyNow(key).text();                  \
  }
#define FALLBACK_OF(Form, fallback) [] { return boxed(defaultOf<Form>(fallback)); }
#define OPTION(getter, setter, entry, Form, fallback, Read, Write) \
  OptionRow{#getter,                                               \
            #setter,                                               \
            typeOfForm<Form>(),                                    \
            #Form,                                                 \
            #Read,                                                 \
            #Write,                                                \
            isSecret<Form>,                                        \
            KEY_OF(entry),                                         \
            FALLBACK_OF(Form, fallback),                           \
            readBy<&Options::getter>,                              \
            writeBy<Form, &Options::setter>},
#define SPECIAL(getter, setter, entry, Form, fallback) \
  OptionRow{#getter,                                   \
            #setter,                                   \
            typeOfForm<Form>(),                        \
            #Form,                                     \
            "",                                        \
            "",                                        \
            isSecret<Form>,                            \
            KEY_OF(entry),                             \
            FALLBACK_OF(Form, fallback),               \
            readBy<&Options::getter>,                  \
            writeBy<Form, &Options::setter>},
#define READ_ONLY(getter, entry, Form, fallback, Read) \
  OptionRow{#getter,                                   \
            "",                                        \
            typeOfForm<Form>(),                        \
            #Form,                                     \
            #Read,                                     \
            "",                                        \
            isSecret<Form>,                            \
            KEY_OF(entry),                             \
            FALLBACK_OF(Form, fallback),               \
            readBy<&Options::getter>,                  \
            nullptr},
#define DERIVED(getter)                           \
  OptionRow{#getter,                              \
            "",                                   \
            typeOf<AnswerOf<&Options::getter>>(), \
            "",                                   \
            "",                                   \
            "",                                   \
            false,                                \
            noKey,                                \
            noFallback,                           \
            readBy<&Options::getter>,             \
            nullptr},

constexpr OptionRow kRows[] = {
#include "qorvane/store/options.def"
};

#undef KEY_OF
#undef FALLBACK_OF

// The rows by name, for look-ups.
constexpr auto kByName = [] {
  std::array<std::uint16_t, std::size(kRows)> order{};
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::uint16_t>(i);
  std::ranges::sort(order, {}, [](std::uint16_t i) { return kRows[i].name; });
  return order;
}();
static_assert(std::ranges::adjacent_find(kByName, {}, [](std::uint16_t i) { return kRows[i].name; }) ==
                  kByName.end(),
              "two options of one name");

}  // namespace

std::span<const OptionRow> optionTable() { return kRows; }

const OptionRow* findProperty(std::string_view name) {
  const auto found =
      std::ranges::lower_bound(kByName, name, {}, [](std::uint16_t i) { return kRows[i].name; });
  return found != kByName.end() && kRows[*found].name == name ? &kRows[*found] : nullptr;
}

const OptionRow* findOption(std::string_view nameOrKey) {
  if (const OptionRow* row = findProperty(nameOrKey)) return row;
  const auto found = std::ranges::find_if(kRows, [&](const OptionRow& row) {
    const Text key = row.key();
    return !key.isNil() && key.view() == nameOrKey;
  });
  return found == std::end(kRows) ? nullptr : found;
}

}  // namespace qorvane
