// What layers ask of the entries: when one of the user's counts as chosen, and which go with others.
#include <algorithm>
#include <array>
#include <iterator>

#include "qorvane/preferences/LayerRule.h"
#include "qorvane/siblings/Utils.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/Folders.h"
#include "qorvane/store/StoredForms.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

template <class Form>
constexpr bool isTranslated = false;
template <class List>
constexpr bool isTranslated<TranslatedForm<List>> = true;

// The place of the choice that the text reads as in any language: an unknown one reads as the first.
template <class List>
std::size_t placeOf(TranslatedForm<List>, const Text& neutral) {
  const auto& choices = choicesOf<List>().choices;
  const auto found = std::ranges::find(choices, neutral, &Choice::neutral);
  return found == choices.end() ? 0 : static_cast<std::size_t>(found - choices.begin());
}

template <class Form, class Fallback>
bool readsOtherwise(const Value& entry, Fallback fallback) {
  if constexpr (isTranslated<Form>) {
    return placeOf(Form{}, entry.textValue()) != 0;
  } else {
    const typename Form::Type byDefault = defaultOf<Form>(fallback(Running()));
    if constexpr (std::is_same_v<Form, ColorForm>) try {
        return areDifferentColors(Form::decode(entry), byDefault);
      } catch (const Exception&) {
        return true;
      }
    else
      return !(Form::decode(entry) == byDefault);
  }
}

// A getter that stores its default leaves it behind wherever it ran, so the default tells nothing.
template <class Form, class Read, class Fallback>
bool tells(const Value& entry, Fallback fallback) {
  if constexpr (requires { Read::kStores; }) {
    if (Read::misses(&entry)) return false;
    if constexpr (Read::kStores) return readsOtherwise<Form>(entry, fallback);
  }
  return !Utils::isStringNilOrEmpty(entry);
}
bool isNotEmpty(const Value& entry) { return !Utils::isStringNilOrEmpty(entry); }

struct Keys {
  Text personal;
  Text corporate;
};
consteval Keys keysOf(Text both) { return {both, both}; }
consteval Keys keysOf(Text personal, Text corporate) { return {personal, corporate}; }

struct EntryRule {
  Keys keys;
  bool (*tells)(const Value& entry);
};

#define OPTION(getter, setter, entry, Form, fallback, Read, Write, facade)                          \
  {keysOf entry, [](const Value& value) {                                                           \
     return tells<Form, Read>(value, []([[maybe_unused]] const Running& now) { return fallback; }); \
   }},
#define GETTER(getter, setter, entry, Form, fallback, Read, others, facade) \
  OPTION(getter, setter, entry, Form, fallback, Read, , facade)
#define READ_ONLY(getter, entry, Form, fallback, Read, facade) \
  OPTION(getter, , entry, Form, fallback, Read, , facade)
#define SPECIAL(getter, setter, entry, ...) {keysOf entry, isNotEmpty},
#define DERIVED(...)
constexpr EntryRule kRules[] = {
#include "qorvane/store/options.def"
};

struct Place {
  std::uint64_t hash;
  std::uint16_t rule;
  friend constexpr auto operator<=>(const Place&, const Place&) = default;
};

// The rules by the hash of their keys; of several options of one entry the first stands first.
consteval auto placesBy(Text Keys::*key) {
  std::array<Place, std::size(kRules)> places{};
  for (std::size_t i = 0; i < places.size(); ++i)
    places[i] = {Key::hashOf(kRules[i].keys.*key), static_cast<std::uint16_t>(i)};
  std::ranges::sort(places);
  return places;
}
constexpr auto kPersonal = placesBy(&Keys::personal);
constexpr auto kCorporate = placesBy(&Keys::corporate);

constexpr std::array kProvince = {optsStr_PreparerProvince};
constexpr std::array kFonts = {optsStr_HeaderFontName, optsStr_FooterFontName};
constexpr LayerRule::Follower kFollowers[] = {
    {optsStr_PracPOCode, kProvince, true},
    {optsStr_PreparerProvinceAndPostalCode, kProvince, true},
    {optsStr_HeaderFontSize, kFonts, false},
};

class OptionLayerRule : public LayerRule {
 public:
  bool isChosen(std::string_view settingsKey, std::string_view entryKey, const Value& value) const override {
    const bool corporate = settingsKey.starts_with("QorvaneT2");
    const auto& places = corporate ? kCorporate : kPersonal;
    const auto found = std::ranges::lower_bound(places, Key::hashOf(entryKey), {}, &Place::hash);
    if (found == places.end()) return true;
    const EntryRule& rule = kRules[found->rule];
    const Text& key = corporate ? rule.keys.corporate : rule.keys.personal;
    return key.view() != entryKey || rule.tells(value);
  }
  std::span<const Follower> followers() const override { return kFollowers; }
};

}  // namespace

const LayerRule& optionLayerRule() {
  static const OptionLayerRule rule;
  return rule;
}

}  // namespace qorvane::inline v1
