// Every exported constant string with its name and group: the vocabulary as data, for listings and searches.
#pragma once

#include <span>
#include <string_view>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct VocabularyEntry {
  /// The list, such as "option-keys".
  std::string_view list;
  /// The group inside the list, such as "Colours".
  std::string_view group;
  /// The constant's name, such as "optsStr_PreparerCity".
  std::string_view name;
  /// The constant itself, such as "PCity".
  Text string;
};

/// All constants: list by list, and in each list in the order of its rows.
std::span<const VocabularyEntry> vocabulary();

}  // namespace v1
}  // namespace qorvane
