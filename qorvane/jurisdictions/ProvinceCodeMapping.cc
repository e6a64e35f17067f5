#include "qorvane/jurisdictions/ProvinceCodeMapping.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "qorvane/jurisdictions/DisplayLanguage.h"
#include "qorvane/jurisdictions/JurisdictionTable.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/siblings/Utils.h"

namespace qorvane::inline v1 {

using namespace places;

namespace {

bool isCorporate() { return QVSettings::isT2(); }

constexpr int kNumberLimit = 160;
using PlacesByNumber = std::array<std::uint8_t, kNumberLimit>;

consteval PlacesByNumber placesByNumber(int Jurisdiction::*numberIn) {
  PlacesByNumber places{};
  places.fill(kNone);
  for (std::uint8_t place = 0; place < std::size(kJurisdictions); ++place)
    if (const int number = kJurisdictions[place].*numberIn) {
      auto& entry = places[static_cast<std::size_t>(number)];
      if (entry != kNone) throw "two jurisdictions have one number";
      entry = place;
    }
  return places;
}
constexpr PlacesByNumber kByNumber[] = {placesByNumber(&Jurisdiction::personalNumber),
                                        placesByNumber(&Jurisdiction::corporateNumber)};

const Jurisdiction* numbered(double number, bool corporate) {
  if (!(number >= 0 && number < kNumberLimit)) return nullptr;
  const auto whole = static_cast<std::size_t>(number);
  if (static_cast<double>(whole) != number) return nullptr;
  const std::uint8_t place = kByNumber[corporate][whole];
  return place == kNone ? nullptr : &kJurisdictions[place];
}

// The jurisdiction that a text names in the running product, or null.
const Jurisdiction* named(const Text& name) {
  const Found found = kFormIndex.find(name);
  return found.form && isIn(found.form->name, isCorporate()) ? found.place : nullptr;
}

constexpr struct {
  std::string_view letters;
  int number;
} kPostalDistricts[] = {{"A", 1}, {"B", 2}, {"C", 4}, {"E", 3}, {"GHJ", 13}, {"KLMNP", 5},
                        {"R", 6}, {"S", 7}, {"T", 8}, {"V", 9}, {"Y", 10}};

constexpr struct {
  char16_t character;
  char low;
} kCapitals[] = {
#define CAPITAL(character, low) {character, low},
#include "qorvane/jurisdictions/postal-capitals.def"
#undef CAPITAL
};
static_assert(std::ranges::is_sorted(kCapitals, {}, [](const auto& row) { return row.character; }));

// Of a text that is not empty.
char32_t firstCharacter(std::string_view utf8) {
  const auto lead = static_cast<unsigned char>(utf8[0]);
  const std::size_t more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  char32_t character = more == 0 ? lead : lead & (0x3FU >> more);
  for (std::size_t at = 1; at <= more; ++at)
    character = character << 6 | (static_cast<unsigned char>(utf8[at]) & 0x3FU);
  return character;
}

// The low eight bits of the first UTF-16 unit of the upper-cased text, as far as they are a letter of a
// postal code. The whole text need not be upper-cased for it, and ICU not be loaded.
char postalLetter(std::string_view text) {
  const char32_t first = firstCharacter(text);
  if (first < 0x80) return static_cast<char>(first >= 'a' && first <= 'z' ? first - 'a' + 'A' : first);
  // No capital beyond the basic plane begins with another unit than its small letter.
  const auto unit = static_cast<char16_t>(first < 0x10000 ? first : 0xD800 + ((first - 0x10000) >> 10));
  const auto found =
      std::ranges::lower_bound(kCapitals, unit, {}, [](const auto& row) { return row.character; });
  return found != std::end(kCapitals) && found->character == unit ? found->low
                                                                  : static_cast<char>(unit & 0xFF);
}

// X0A, X0B or X0C, in either case. One character beyond ASCII has a capital that begins so: U+1E9A.
bool isOfNunavut(std::string_view text) {
  if (text.size() < 3 || (text[0] | 0x20) != 'x' || text[1] != '0') return false;
  return std::string_view("ABCabc").find(text[2]) != text.npos || text.substr(2).starts_with("\xE1\xBA\x9A");
}

double numberOfPostalDistrict(std::string_view postalCode) {
  if (postalCode.empty()) return 0;
  // Only the low eight bits of the first character count, so a letter beyond Latin-1 passes for another one.
  const char letter = postalLetter(postalCode);
  if (letter == 'X') return isOfNunavut(postalCode) ? 19 : 11;
  for (const auto& district : kPostalDistricts)
    if (letter != 0 && district.letters.find(letter) != std::string_view::npos) return district.number;
  return 0;
}

int numberIn(bool corporate, const Found& found) {
  if (!isIn(found.form->number, corporate)) return 0;
  return corporate ? found.place->corporateNumber : found.place->personalNumber;
}

Text codeOf(double number, bool corporate) {
  const Jurisdiction* place = numbered(number, corporate);
  return place ? place->code : "";
}

}  // namespace

const std::vector<Text>& ProvinceCodeMapping::provinceList() {
  static constexpr Text kNames[] = {"Alberta",
                                    "New Brunswick",
                                    "Quebec",
                                    "Non-Resident",
                                    "Prince Edward Island",
                                    "Northwest Territories",
                                    "Manitoba",
                                    "British Columbia",
                                    "Yukon",
                                    "Nova Scotia",
                                    "Newfoundland and Labrador",
                                    "Nunavut",
                                    "Saskatchewan",
                                    "Ontario"};
  // A list for each language, which callers may tell apart; the French one holds English names on purpose.
  // Kept for the life of the process: destructors of static objects may still ask.
  static const std::vector<Text>& english = *new std::vector<Text>(std::begin(kNames), std::end(kNames));
  static const std::vector<Text>& french = *new std::vector<Text>(english);
  return displayLanguageIsEnglish() ? english : french;
}

double ProvinceCodeMapping::getOurProvCodeFromProvName(const Text& name) {
  if (Utils::isStringNilOrEmpty(name)) return 0;
  const Found found = kFormIndex.find(name);
  return found.form ? numberIn(isCorporate(), found) : 0;
}

Text ProvinceCodeMapping::getShortProvNameFromOurCode(double number) { return codeOf(number, isCorporate()); }

Text ProvinceCodeMapping::getFullProvNameFromOurCode(double number) {
  if (!displayLanguageIsEnglish()) {
    // French reads the number as the corporate product's even in the personal one, where a non-resident thus
    // comes out as taxed in multiple jurisdictions.
    const Jurisdiction* place = numbered(number, true);
    if (!place) return "";
    return place->frenchByNumber.isNil() ? place->french : place->frenchByNumber;
  }
  const bool corporate = isCorporate();
  // The corporate product has no English name for the federal level.
  if (corporate && number == 99) return "";
  const Jurisdiction* place = numbered(number, corporate);
  return place ? place->english : "";
}

Text ProvinceCodeMapping::getProvinceCode(const Text& name) {
  return getShortProvNameFromOurCode(getOurProvCodeFromProvName(name));
}

Text ProvinceCodeMapping::getProvinceCode(const Text& name, const Product& product) {
  if (Utils::isStringNilOrEmpty(name)) return "";
  const Found found = kFormIndex.find(name);
  return found.form ? codeOf(numberIn(product.corporate, found), product.corporate) : "";
}

Text ProvinceCodeMapping::getProvinceFullName(const Text& name) {
  return getFullProvNameFromOurCode(getOurProvCodeFromProvName(name));
}

double ProvinceCodeMapping::getImageIndexFromProvince(const Text& name) {
  const Found found = kFormIndex.find(name);
  return found.form && found.form->picture ? found.place->picture : kOtherPicture;
}

Text ProvinceCodeMapping::getNeutralProvinceName(const Text& name) {
  const Jurisdiction* place = named(name);
  return place ? place->english : name;
}

Text ProvinceCodeMapping::getEngProvNameFromFrProvName(const Text& name) {
  return getNeutralProvinceName(name);
}

Text ProvinceCodeMapping::getFrProvNameFromEngProvName(const Text& name) {
  const Jurisdiction* place = named(name);
  return place ? place->french : name;
}

Text ProvinceCodeMapping::postalProvince(const Text& postalCode) {
  if (Utils::isStringNilOrEmpty(postalCode)) return "";
  return getShortProvNameFromOurCode(numberOfPostalDistrict(postalCode));
}

}  // namespace qorvane::inline v1
