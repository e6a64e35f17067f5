// The choice lists as data: every list under the name of its class, with its rows and its operations. For
// listings, and for describing an option whose values are the choices of a list.
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Language.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/siblings/QVSettings.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct Choice {
  /// What is stored: a digit text, or the English label.
  Text neutral;
  /// The labels of the published operations: what menus showed, and what a store holds that keeps labels.
  /// Some of the French ones lack their accented letters.
  Text english;
  Text french;
  /// What people see and may type.
  Text englishLabel;
  Text frenchLabel;
  /// Labels that were given out before, and are still read as this choice; nil for none.
  std::array<Text, 2> former = {};

  Text label(Language language) const { return language == Language::English ? englishLabel : frenchLabel; }
};

struct ChoiceList {
  /// The class's name, such as "ModeOfDelivery".
  std::string_view name;
  /// All choices in display order.
  std::span<const Choice> choices;
  /// The operations of the class. `languageSpecificValue` is null where the class has none.
  std::vector<Text> (*options)();
  Text (*defaultValue)();
  Text (*neutralValue)(const Text& label);
  Text (*languageSpecificValue)(const Text& neutralValue);
  /// The choices that are offered in a tax year; null where these are always all.
  std::span<const Choice> (*offeredIn)(int taxYear);

  /// The choices that are offered in that product and year, and in the running ones. Fewer than all for the
  /// assessment options alone.
  std::span<const Choice> currentRows(const Product& product) const {
    return offeredIn ? offeredIn(product.taxYear) : choices;
  }
  std::span<const Choice> currentRows() const;

  /// The choice that a person means: by its neutral value, or by a label of any kind in either language,
  /// exactly. Null for any other text.
  const Choice* meant(std::string_view typed) const;
};

/// All eleven lists.
std::span<const ChoiceList> choiceLists();

/// The list of that class, or null.
const ChoiceList* choiceList(std::string_view name);

}  // namespace v1
}  // namespace qorvane
