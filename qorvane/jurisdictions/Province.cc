#include "qorvane/jurisdictions/Province.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "qorvane/jurisdictions/DisplayLanguage.h"

namespace qorvane::inline v1 {

namespace {

std::vector<Text> inDisplayLanguage(std::vector<Text> english, std::vector<Text> french) {
  return displayLanguageIsEnglish() ? std::move(english) : std::move(french);
}

std::vector<Text> tenProvinces() {
  return inDisplayLanguage(
      {"Alberta", "British Columbia", "Manitoba", "New Brunswick", "Newfoundland and Labrador", "Nova Scotia",
       "Ontario", "Prince Edward Island", "Quebec", "Saskatchewan"},
      {"Alberta", "Colombie-Britannique", "Manitoba", "Nouveau-Brunswick", "Terre-Neuve-et-Labrador",
       "Nouvelle-cosse", "Ontario", "Ile-du-Prince-douard", "Québec", "Saskatchewan"});
}

// Lower case as far as the names of Quebec have letters: of the characters beyond ASCII only É is one of
// theirs.
std::string lowerCased(std::string_view text) {
  constexpr std::string_view kCapital = "É";
  std::string lower;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (text.substr(at).starts_with(kCapital)) {
      lower += "é";
      at += kCapital.size() - 1;
    } else {
      lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
  }
  return lower;
}

}  // namespace

std::vector<Text> Province::provinces() {
  std::vector<Text> names = tenProvinces();
  // Only French offers the non-resident among the provinces.
  if (!displayLanguageIsEnglish()) names.push_back("Résident à l'étranger");
  return names;
}

std::vector<Text> Province::territoires() {
  return inDisplayLanguage({"Northwest Territories", "Nunavut", "Yukon"},
                           {"Territoires du Nord-Ouest", "Nunavut", "Yukon"});
}

std::vector<Text> Province::provincesAndTerritories() {
  std::vector<Text> names = tenProvinces();
  std::ranges::copy(territoires(), std::back_inserter(names));
  if (displayLanguageIsEnglish()) std::ranges::sort(names, {}, &Text::view);
  return names;
}

std::vector<Text> Province::provincesTerritoriesAndNonResident() {
  std::vector<Text> names = provincesAndTerritories();
  names.push_back(displayLanguageIsEnglish() ? Text("Non-Resident") : Text("Rsident l'tranger"));
  return names;
}

std::vector<Text> Province::provincesAndTerritoriesExceptQuebec() {
  std::vector<Text> names = provincesAndTerritories();
  std::erase_if(names, isQuebec);
  return names;
}

bool Province::isQuebec(const Text& name) {
  const std::string lower = lowerCased(name);
  return lower == "quebec" || lower == "qc" || lower == "québec";
}

Text Province::defaultProvince() { return "Ontario"; }

}  // namespace qorvane::inline v1
