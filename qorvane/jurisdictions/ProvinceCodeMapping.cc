#include "qorvane/jurisdictions/ProvinceCodeMapping.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
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

// The first characters of the upper-cased text, up to three.
std::u16string upperCasedStart(std::string_view text) {
  std::u16string start;
  for (const char c : text.substr(0, 3)) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      icu::UnicodeString upper =
          icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int>(text.size())));
      upper.toUpper(icu::Locale::getRoot()).truncate(3);
      return {upper.getBuffer(), static_cast<std::size_t>(upper.length())};
    }
    start += static_cast<char16_t>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  }
  return start;
}

double numberOfPostalDistrict(std::string_view postalCode) {
  const std::u16string start = upperCasedStart(postalCode);
  if (start.empty()) return 0;
  // Only the low eight bits of the first character count, so a letter beyond Latin-1 passes for another one.
  const char letter = static_cast<char>(start.front() & 0xFF);
  if (letter == 'X') return start == u"X0A" || start == u"X0B" || start == u"X0C" ? 19 : 11;
  for (const auto& district : kPostalDistricts)
    if (district.letters.find(letter) != std::string_view::npos) return district.number;
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
