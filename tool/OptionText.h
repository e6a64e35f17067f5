// Options as text: what a person types turned into an option's value, and its value turned into what is
// shown.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tool/Failure.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

/// The truth that the words are, in English or French, in digits or as a switch, whatever their case.
std::optional<bool> flagMeant(std::string_view words);
/// The finite number that the words are, wholly.
std::optional<double> numberMeant(std::string_view words);

/// The value that the words mean for an option of this type; forced, also one that it does not know. Throws
/// Failure (bad data) with the accepted forms when they mean none, or are no well-formed UTF-8.
qorvane::Value parsedFor(const qorvane::OptionRow& row, std::string_view words, bool forced = false);

/// The value on one line: flags as true or false, numbers in digits, fonts as "name, size", texts as they
/// are.
std::string shown(const qorvane::OptionRow& row, const qorvane::Value& value);

/// The same for JSON: flags and integers as such, nil as null.
Json shownAsJson(const qorvane::OptionRow& row, const qorvane::Value& value);

/// What an entry without an option shows: its text, or its kind in brackets; nothing for null.
std::string plainEntry(const qorvane::Value* entry);

/// What is shown in a secret's place.
inline constexpr const char* kMask = "********";

/// As `shown`, but a secret that is set is masked unless secrets are shown; one that is not hides nothing.
std::string masked(const qorvane::OptionRow& row, const qorvane::Value& value, bool showSecrets);
Json maskedJson(const qorvane::OptionRow& row, const qorvane::Value& value, bool showSecrets);

/// The option's value in that store. The read that finds no entry may answer otherwise than all later ones,
/// which count. Throws Failure (bad data) for an entry that its own accessors refuse.
qorvane::Value readIn(qorvane::Options& store, const qorvane::OptionRow& row);

/// What to tell of such an entry: only a colour's can be so.
Failure unreadable(const qorvane::OptionRow& row, const qorvane::Exception& error);

/// The value on one line, with words in the place of nil and of the empty text.
std::string inWords(const std::string& shown, bool isNil = false);

/// The option's type in a word: "text", "choice", "flag", "integer", "date", "folder", "font", "colour".
Phrase typeName(const qorvane::OptionRow& row);

/// How an option is read or set.
struct Policy {
  std::string_view kind;  // As options.def names it; empty for an option that does it in a way of its own.
  const char* code;       // For programs.
  Phrase words;
};
const Policy& readPolicy(const qorvane::OptionRow& row);
const Policy& writePolicy(const qorvane::OptionRow& row);

/// The rule that the option's check holds its values to; none where any value of its type will do.
std::optional<qorvane::Failure> ruleOf(const qorvane::OptionRow& row);
/// What a value must be, in words: its check's rule, or what values of its type are. For an option without a
/// list of choices.
std::string rangeOf(const qorvane::OptionRow& row, qorvane::Language language);

/// The right values that are nearest to words which an option's check refused, such as `; did you mean "x"?`;
/// empty when none is near.
std::string nearestRight(std::string_view words, const qorvane::Failure& refusal);

/// The option's names in the facade, each once.
std::vector<std::string> facadeNamesOf(const qorvane::OptionRow& row);
/// The other options that are the same entry in the running product.
std::vector<std::string> relatedTo(const qorvane::OptionRow& row);

/// Everything about the option but its name, for programs, as docs/json.md tells it. What it does not have is
/// null.
Json factsAsJson(const qorvane::OptionRow& row, const qorvane::Value& value, bool showSecrets);

}  // namespace optionsmgr
