// The choice lists as data: every list under the name of its class, with its rows and its operations. For
// listings, and for describing an option whose values are the choices of a list.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct Choice {
  /// What is stored: a digit text, or the English label.
  Text neutral;
  /// What menus show.
  Text english;
  Text french;
};

struct ChoiceList {
  /// The class's name, such as "ModeOfDelivery".
  std::string_view name;
  /// All choices in display order. `options` may offer fewer: the assessment options depend on the tax year.
  std::span<const Choice> choices;
  /// The operations of the class. `languageSpecificValue` is null where the class has none.
  std::vector<Text> (*options)();
  Text (*defaultValue)();
  Text (*neutralValue)(const Text& label);
  Text (*languageSpecificValue)(const Text& neutralValue);
};

/// All eleven lists.
std::span<const ChoiceList> choiceLists();

/// The list of that class, or null.
const ChoiceList* choiceList(std::string_view name);

}  // namespace v1
}  // namespace qorvane
