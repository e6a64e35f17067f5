// The option table: every option of the store with what is known of it, for key-value coding and for tools
// that list, describe and set options by name. The rows are those of options.def.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "qorvane/desktop/FontDescriptor.h"
#include "qorvane/foundation/Failure.h"
#include "qorvane/foundation/Language.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/siblings/QVSettings.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Options;
struct Product;

/// What an option is to the program.
enum class OptionType : std::uint8_t { Text, Flag, Integer, Date, Folder, Font, Color };

/// A group of options that belong together on a form.
struct OptionGroup {
  /// "ElectronicFiling": the same in every language.
  std::string_view id;
  Text english;
  Text french;

  Text name(Language language) const { return language == Language::English ? english : french; }
};

/// All groups, in display order. The last, "Answers", holds what cannot be set.
std::span<const OptionGroup> optionGroups();

/// A name that an option has in the facade, OptionsMgr.
struct FacadeName {
  std::string_view getter;
  /// Empty where the facade only reads it under this name.
  std::string_view setter;
  /// A flag there, where the store keeps the text YES or NO.
  bool asFlag;
};

struct OptionRow {
  /// The property name, which is the getter's: "preparerCity".
  std::string_view name;
  /// The setter's name: "setPreparerCity". Empty for an answer that cannot be set.
  std::string_view setter;
  /// What the facade calls it; empty for the store's alone.
  std::span<const FacadeName> facadeNames;
  OptionType type;
  /// The stored form, read kind and write kind, as they are named in options.def; empty where a function of
  /// its own does the work.
  std::string_view form;
  std::string_view readKind;
  std::string_view writeKind;
  /// What the entry is, in words: "the text YES or NO". Empty for an answer without an entry.
  std::string_view stored;
  /// Not to be shown unasked.
  bool secret;
  /// Means something on this machine only, such as a printer or a folder: not to be carried to another.
  bool machineSpecific;
  /// The list that a text option takes its values from; null for any other option. The store itself takes
  /// every text.
  const ChoiceList* choices;
  /// The option's value is a label of that list in the display language; otherwise it is the neutral value.
  bool isLabel;
  /// The stored keys in the two products; nil for an answer without an entry.
  Text personalKey;
  Text corporateKey;
  /// The stored keys of other entries that the setter writes, sometimes or always.
  std::span<const Text> furtherKeys;
  /// What `fallback` asks; null is the product that runs.
  Value (*fallbackIn)(const Product* product);
  /// Runs the getter.
  Value (*read)(Options& store);
  /// Runs the setter with the value converted to the option's type. Null for an answer that cannot be set.
  void (*write)(Options& store, const Value& value);

  /// The stored key in that product, and in the running one; nil for an answer without an entry.
  Text key(const Product& product) const { return product.corporate ? corporateKey : personalKey; }
  Text key() const;
  /// What the option reads as when nobody has set it (a flag or an integer as a number, a font as its text);
  /// the one read that finds no entry may answer otherwise. Nil for a derived answer. Asked for the running
  /// product, the default of a folder makes the folder of the year; asked for another one, nothing.
  Value fallback() const { return fallbackIn(nullptr); }
  Value fallback(const Product& product) const { return fallbackIn(&product); }
  /// The stored keys of all entries that the setter writes, sometimes or always, in that product and in the
  /// running one: its own first. One that is another option's own belongs to that one, the others
  /// (`isDerivedEntry`) to no option. Empty for what cannot be set.
  std::vector<Text> entries(const Product& product) const;
  std::vector<Text> entries() const;

  /// For people: what a form shows beside the value, unique within its group; and one sentence on what the
  /// option is.
  Text label(Language language) const;
  Text description(Language language) const;
  const OptionGroup& group() const;

  /// What a person means who types that text: for a choice, a jurisdiction or a language given by any of its
  /// labels, the option's value in that product; every other text is meant as it stands.
  Text meant(const Text& typed, const Product& product) const;
  /// The same in the running product.
  Text meant(const Text& typed) const;

  /// Why a value that a person gives would be refused in that product, none when it is fine. For input, not
  /// for the store, which takes everything. The value is as `write` takes it. Whether a postal code is a
  /// Canadian one depends on the country in `store`, which stays as it is; null is a store without a country.
  /// Nil, the empty text and the option's default are fine for whatever can be set. The failure tells the
  /// rule and holds no piece of the value.
  std::optional<Failure> check(const Value& value, const Product& product, Options* store) const;
  /// The same in the running product.
  std::optional<Failure> check(const Value& value, Options* store) const;
};

/// An entry that setters write beside their own and that is no option's own: the code of the preparer's
/// province, the line of province and postal code, the size of the fonts.
bool isDerivedEntry(std::string_view key);

/// An entry of an option that a release took away: kept and carried, and never called unknown.
bool isRetiredEntry(std::string_view key);

/// An entry of the application's own, whose name begins with "App.": kept and carried like an option's, and
/// never called unknown.
constexpr bool isApplicationEntry(std::string_view key) { return key.starts_with("App."); }

/// A font as a text: "Helvetica-Bold, 12". Nil for none.
Text fontText(const std::optional<FontDescriptor>& font);
/// The font of such a text, none for any other: the name must not be empty, nor the size below zero.
std::optional<FontDescriptor> fontFromText(std::string_view text);

/// All rows, in the order of options.def.
std::span<const OptionRow> optionTable();

/// The row of the property, or null.
const OptionRow* findProperty(std::string_view name);

/// An option, and the name of the facade's under which it was found; null where that was the property's.
struct NamedOption {
  const OptionRow* row = nullptr;
  const FacadeName* facadeName = nullptr;
};

/// The option of that property, or else the one that the facade gives that name; no row for any other.
NamedOption findPropertyOrFacadeName(std::string_view name);

/// The row of the property, or else of the first one whose stored key in the running product it is, or null.
const OptionRow* findOption(std::string_view nameOrKey);

}  // namespace v1
}  // namespace qorvane
