// The option table: every option of the store with what is known of it, for key-value coding and for tools
// that list, describe and set options by name. The rows are those of options.def.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "qorvane/desktop/FontDescriptor.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/jurisdictions/ChoiceLists.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Options;

/// What an option is to the program.
enum class OptionType : std::uint8_t { Text, Flag, Integer, Date, Folder, Font, Color };

struct OptionRow {
  /// The property name, which is the getter's: "preparerCity".
  std::string_view name;
  /// The setter's name: "setPreparerCity". Empty for an answer that cannot be set.
  std::string_view setter;
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
  /// The list that a text option takes its values from; null for any other option. The store itself takes
  /// every text.
  const ChoiceList* (*choices)();
  /// The option's value is a label of that list in the display language; otherwise it is the neutral value.
  bool isLabel;
  /// The stored key in the running product; nil for an answer without an entry.
  Text (*key)();
  /// What the option reads as when nobody has set it (a flag or an integer as a number, a font as its text);
  /// the one read that finds no entry may answer otherwise. Nil for a derived answer.
  Value (*fallback)();
  /// Runs the getter.
  Value (*read)(Options& store);
  /// Runs the setter with the value converted to the option's type. Null for an answer that cannot be set.
  void (*write)(Options& store, const Value& value);
};

/// A font as a text: "Helvetica-Bold, 12". Nil for none.
Text fontText(const std::optional<FontDescriptor>& font);
/// The font of such a text, none for any other: the name must not be empty, nor the size below zero.
std::optional<FontDescriptor> fontFromText(std::string_view text);

/// All rows, in the order of options.def.
std::span<const OptionRow> optionTable();

/// The row of the property, or null.
const OptionRow* findProperty(std::string_view name);

/// The row of the property, or else of the first one whose stored key in the running product it is, or null.
const OptionRow* findOption(std::string_view nameOrKey);

}  // namespace v1
}  // namespace qorvane
