// Province: the lists of provinces and territories that menus show, in the display language.
//
// Each call reads the language and makes a new list. English names are the neutral names that are stored;
// French names are for display, and those of Nova Scotia and Prince Edward Island lack their accented letter,
// so that ProvinceCodeMapping does not know them: convert such a choice by its position.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class Province {
 public:
  /// The ten provinces; in French followed by the non-resident entry.
  static std::vector<Text> provinces();
  /// The three territories.
  static std::vector<Text> territoires();
  /// All thirteen: in English sorted, in French the provinces before the territories.
  static std::vector<Text> provincesAndTerritories();
  /// All thirteen, then the non-resident entry.
  static std::vector<Text> provincesTerritoriesAndNonResident();
  /// The twelve other than Quebec, in the order of `provincesAndTerritories`.
  static std::vector<Text> provincesAndTerritoriesExceptQuebec();

  /// True for "Quebec", "QC" and "Québec", in any letter case, and nothing else; false for nil.
  static bool isQuebec(const Text& name);
  /// "Ontario", in both languages.
  static Text defaultProvince();
};

}  // namespace v1
}  // namespace qorvane
