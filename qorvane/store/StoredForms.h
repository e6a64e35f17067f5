// The stored forms: how an option's value in the program and its entry in the dictionary turn into each
// other.
//
// A form is a type with `Type` (the value in the program), `Argument` (how a setter takes it), `decode` (from
// an entry of whatever kind: an entry written by another program converts as the desktop's text and number
// classes convert, and never fails), `encode`, and `kStored`, which says for people what the entry is.
#pragma once

#include <optional>
#include <string_view>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/desktop/FontDescriptor.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/jurisdictions/AssessmentOptionsMapping.h"
#include "qorvane/jurisdictions/ChoiceTables.h"
#include "qorvane/jurisdictions/CompanyTypeMapping.h"
#include "qorvane/jurisdictions/LevelOfAuthorizationMapping.h"
#include "qorvane/jurisdictions/MR69AuthoriztionOrPowerOfAttorneyMapping.h"
#include "qorvane/jurisdictions/MR69OptionsMapping.h"
#include "qorvane/jurisdictions/MethodOfContactMapping.h"
#include "qorvane/jurisdictions/ModeOfDelivery.h"
#include "qorvane/jurisdictions/NoticeOfAssAndRefundMapping.h"
#include "qorvane/jurisdictions/RC59OptionsMapping.h"
#include "qorvane/jurisdictions/TypeOfOrganizationMapping.h"
#include "qorvane/jurisdictions/UseAddressMapping.h"

namespace qorvane::inline v1 {

/// A text kept as it is. A number reads as its decimal text, any other kind as nil.
struct TextForm {
  static constexpr std::string_view kStored = "a text";
  using Type = Text;
  using Argument = Text;
  static Text decode(const Value& entry) { return entry.textValue(); }
  static Value encode(const Text& value) { return value; }
  /// The text in its place, which is also what would be stored for it; null in an entry of another kind.
  static const Text* textIn(const Value& entry) { return entry.asText(); }
};

/// A text that must not be shown unasked: a password.
struct SecretForm : TextForm {
  static constexpr bool kIsSecret = true;
};

/// A text that means something on this machine only: a printer.
struct MachineForm : TextForm {
  static constexpr bool kIsMachineSpecific = true;
};

/// The rows and operations of a choice-list class.
template <class List>
constexpr const ChoiceList& choicesOf() = delete;
#define LIST(Class, ...)                              \
  template <>                                         \
  constexpr const ChoiceList& choicesOf<Class>() {    \
    return choices::kLists[choices::kPlaceOf##Class]; \
  }
#include "qorvane/jurisdictions/choice-lists.def"

/// A choice of a list, as its neutral value in the program and in the entry. Any other text is kept, too.
template <class List>
struct ChoiceForm : TextForm {
  static constexpr std::string_view kStored = "a text, the neutral value of a choice";
  using Choices = List;
  static constexpr bool kIsLabel = false;
};

/// A choice of a list, as its label in the program and in the entry: it stays in the language in which it was
/// set. Any other text is kept, too.
template <class List>
struct LabelForm : TextForm {
  static constexpr std::string_view kStored = "a text, the label of a choice";
  using Choices = List;
  static constexpr bool kIsLabel = true;
};

/// A choice of a list, as its label in the display language in the program and as its neutral value in the
/// entry. An empty label is kept as the empty text, any other unknown one as the list's neutral value for it.
template <class List>
struct TranslatedForm {
  static constexpr std::string_view kStored = "a text, the neutral value of a choice";
  using Choices = List;
  static constexpr bool kIsLabel = true;

  using Type = Text;
  using Argument = Text;
  static Text decode(const Value& entry) {
    return choicesOf<List>().languageSpecificValue(entry.textValue());
  }
  static Value encode(const Text& label) {
    return label.isNilOrEmpty() ? Text("") : choicesOf<List>().neutralValue(label);
  }
};

/// A flag kept as one of two texts, true on exactly the first.
template <const Text& True, const Text& False>
struct FlagForm {
  using Type = bool;
  using Argument = bool;
  static bool decode(const Value& entry) {
    const Text* text = entry.asText();
    return text && text->isEqualTo(True);
  }
  static Value encode(bool value) { return value ? True : False; }
};

inline constexpr Text kYes = "YES";
inline constexpr Text kNo = "NO";
inline constexpr Text kOne = "1";
inline constexpr Text kZero = "0";

struct YesNoForm : FlagForm<kYes, kNo> {
  static constexpr std::string_view kStored = "the text YES or NO";
};
struct OneZeroForm : FlagForm<kOne, kZero> {
  static constexpr std::string_view kStored = "the text 1 or 0";
};

/// A flag kept as the number 1 or 0, true when the entry's integer value, a text's too, is exactly 1.
struct IntegerFlagForm {
  static constexpr std::string_view kStored = "the number 1 or 0";
  using Type = bool;
  using Argument = bool;
  static bool decode(const Value& entry) { return entry.intValue() == 1; }
  static Value encode(bool value) { return Number(value ? 1 : 0); }
};

/// A flag kept as a boolean number, true for whatever reads as a truth.
struct BooleanNumberForm {
  static constexpr std::string_view kStored = "a boolean";
  using Type = bool;
  using Argument = bool;
  static bool decode(const Value& entry) { return entry.boolValue(); }
  static Value encode(bool value) { return Number(value); }
};

/// A 32-bit integer kept as its decimal text. A text without leading digits reads as 0.
struct IntegerForm {
  static constexpr std::string_view kStored = "a text, a decimal integer";
  using Type = int;
  using Argument = int;
  static int decode(const Value& entry) { return entry.intValue(); }
  static Value encode(int value) { return Number(value).stringValue(); }
};

/// A date kept as a number, whose quantity is the caller's choice; a cleared date is the empty text. The
/// entry is answered as it stands.
struct DateForm {
  static constexpr std::string_view kStored = "a number, or the empty text once cleared";
  using Type = Value;
  using Argument = const Value&;
  static Value decode(const Value& entry) { return entry; }
  static Value encode(const Value& value) { return value; }
};

/// A font, kept as two entries, which its own accessors read and write: its PostScript name, and its size in
/// points with six decimals.
struct FontForm {
  static constexpr std::string_view kStored = "two texts, the name and the size in points with six decimals";
  using Type = std::optional<FontDescriptor>;
  using Argument = const Type&;
};

/// A colour, kept as its archive. What is no archive is handed to the unarchiver as it is, which throws
/// Exception.
struct ColorForm {
  static constexpr std::string_view kStored = "bytes, a colour archive";
  using Type = Color;
  using Argument = const std::optional<Color>&;
  static Color decode(const Value& entry) {
    const Data* archive = entry.asData();
    return unarchiveColor(archive ? *archive : Data());
  }
  static Value encode(const std::optional<Color>& color) { return archiveColor(*color); }
};

}  // namespace qorvane::inline v1
