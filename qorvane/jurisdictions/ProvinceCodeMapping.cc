#include "qorvane/jurisdictions/ProvinceCodeMapping.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "qorvane/jurisdictions/DisplayLanguage.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/siblings/Utils.h"

namespace qorvane::inline v1 {

namespace {

enum ProductIndex { kPersonal, kCorporate, kProducts };

ProductIndex product() { return QVSettings::isT2() ? kCorporate : kPersonal; }

constexpr int kOtherPicture = 14;
constexpr Text kSame = nullptr;
constexpr Text kNone = nullptr;

struct Jurisdiction {
  /// In the personal and in the corporate product; 0 where the product does not know the jurisdiction.
  int number[kProducts];
  Text code;
  Text english;
  Text french;
  int picture;
  /// The French form that has a number in the corporate product.
  Text corporateForm = kSame;
  /// A second French form that has a number in the personal product.
  Text personalForm = kNone;
  /// The full name that a number gives in French.
  Text frenchByNumber = kSame;
};

constexpr Jurisdiction unitedStates(int number, const Text& code, const Text& name) {
  return {{0, number}, code, name, name, kOtherPicture, kSame, kNone, ""};
}

// clang-format off
constexpr Jurisdiction kJurisdictions[] = {
    {{ 1,  1}, "NL", "Newfoundland and Labrador", "Terre-Neuve-et-Labrador",    0},
    {{ 2,  2}, "NS", "Nova Scotia",               "Nouvelle-Écosse",            1, "Nouvelle Ecosse"},
    {{ 3,  3}, "NB", "New Brunswick",             "Nouveau-Brunswick",          2, kSame, "Nouveau Brunswick"},
    {{ 4,  4}, "PE", "Prince Edward Island",      "Ile-du-Prince-Édouard",      3, "Ile-de-Prince-Edouard"},
    {{ 5,  5}, "ON", "Ontario",                   "Ontario",                    4},
    {{ 6,  6}, "MB", "Manitoba",                  "Manitoba",                   5},
    {{ 7,  7}, "SK", "Saskatchewan",              "Saskatchewan",               6},
    {{ 8,  8}, "AB", "Alberta",                   "Alberta",                    7},
    {{ 9,  9}, "BC", "British Columbia",          "Colombie-Britannique",       8, "Columbie-Britannique"},
    {{10, 10}, "YT", "Yukon",                     "Yukon",                      9},
    {{11, 11}, "NT", "Northwest Territories",     "Territoires du Nord-Ouest", 10, "Territoires Nord-Ouest"},
    {{13, 13}, "QC", "Quebec",                    "Québec",                    11, kSame, kNone, "Quebec"},
    {{19, 19}, "NU", "Nunavut",                   "Nunavut",                   12},
    {{12, 15}, "NR", "Non-Resident",              "Résident à l'étranger",     14, kSame, kNone, "Non-Resident"},
    {{14, 12}, "MJ", "Multiple Jurisdiction",     "Multiple Jurisdiction",     13},
    {{99, 99}, "FE", "Federal",                   "Federal",                   14},
    unitedStates(101, "AL", "Alabama"),
    unitedStates(102, "AK", "Alaska"),
    unitedStates(103, "AS", "American Samoa"),
    unitedStates(104, "AZ", "Arizona"),
    unitedStates(105, "AR", "Arkansas"),
    unitedStates(106, "CA", "California"),
    unitedStates(107, "CO", "Colorado"),
    unitedStates(108, "CT", "Connecticut"),
    unitedStates(109, "DC", "District of Columbia"),
    unitedStates(110, "DE", "Delaware"),
    unitedStates(111, "FM", "Federated Micronesia"),
    unitedStates(112, "FL", "Florida"),
    unitedStates(113, "GA", "Georgia"),
    unitedStates(114, "GU", "Guam"),
    unitedStates(115, "HI", "Hawaii"),
    unitedStates(116, "ID", "Idaho"),
    unitedStates(117, "IL", "Illinois"),
    unitedStates(118, "IN", "Indiana"),
    unitedStates(119, "IA", "Iowa"),
    unitedStates(120, "KS", "Kansas"),
    unitedStates(121, "KY", "Kentucky"),
    unitedStates(122, "LA", "Louisiana"),
    unitedStates(123, "ME", "Maine"),
    unitedStates(124, "MH", "Marshall Islands"),
    unitedStates(125, "MD", "Maryland"),
    unitedStates(126, "MA", "Massachusetts"),
    unitedStates(127, "MI", "Michigan"),
    unitedStates(128, "MN", "Minnesota"),
    unitedStates(129, "MS", "Mississippi"),
    unitedStates(130, "MO", "Missouri"),
    unitedStates(131, "MT", "Montana"),
    unitedStates(132, "NE", "Nebraska"),
    unitedStates(133, "NV", "Nevada"),
    unitedStates(134, "NH", "New Hampshire"),
    unitedStates(135, "NJ", "New Jersey"),
    unitedStates(136, "NM", "New Mexico"),
    unitedStates(137, "NY", "New York"),
    unitedStates(138, "NC", "North Carolina"),
    unitedStates(139, "ND", "North Dakota"),
    unitedStates(140, "MP", "North Mariana Island"),
    unitedStates(141, "OH", "Ohio"),
    unitedStates(142, "OK", "Oklahoma"),
    unitedStates(143, "OR", "Oregon"),
    unitedStates(144, "PA", "Pennsylvania"),
    unitedStates(145, "PR", "Puerto Rico"),
    unitedStates(146, "PW", "Pulau"),
    unitedStates(147, "RI", "Rhode Island"),
    unitedStates(148, "SC", "South Carolina"),
    unitedStates(149, "SD", "South Dakota"),
    unitedStates(150, "TN", "Tennessee"),
    unitedStates(151, "TX", "Texas"),
    unitedStates(152, "UT", "Utah"),
    unitedStates(153, "VT", "Vermont"),
    unitedStates(154, "VI", "Virgin Islands"),
    unitedStates(155, "VA", "Virginia"),
    unitedStates(156, "WA", "Washington"),
    unitedStates(157, "WV", "West Virginia"),
    unitedStates(158, "WI", "Wisconsin"),
    unitedStates(159, "WY", "Wyoming"),
};
// clang-format on

constexpr int kNumberLimit = 160;
constexpr std::uint8_t kNoRow = 0xFF;
static_assert(std::size(kJurisdictions) < kNoRow);

using RowsByNumber = std::array<std::uint8_t, kNumberLimit>;

constexpr auto kRowsByNumber = [] {
  std::array<RowsByNumber, kProducts> rows{};
  for (const ProductIndex in : {kPersonal, kCorporate}) {
    rows[in].fill(kNoRow);
    for (std::size_t row = 0; row < std::size(kJurisdictions); ++row)
      if (const int number = kJurisdictions[row].number[in]) {
        auto& entry = rows[in][static_cast<std::size_t>(number)];
        if (entry != kNoRow) throw "two jurisdictions have one number";
        entry = static_cast<std::uint8_t>(row);
      }
  }
  return rows;
}();

const Jurisdiction* numbered(double number, ProductIndex in) {
  if (!(number >= 0 && number < kNumberLimit)) return nullptr;
  const auto whole = static_cast<std::size_t>(number);
  if (static_cast<double>(whole) != number) return nullptr;
  const std::uint8_t row = kRowsByNumber[in][whole];
  return row == kNoRow ? nullptr : &kJurisdictions[row];
}

// A text that stands for a jurisdiction, and which conversions take it.
struct Form {
  std::string_view text;
  std::uint8_t row = kNoRow;
  bool hasNumber[kProducts] = {};
  bool hasName[kProducts] = {};
  bool hasPicture = false;
};

// The forms, hashed by their length and four of their bytes, with linear probing.
class Forms {
 public:
  constexpr Forms() {
    for (std::size_t row = 0; row < std::size(kJurisdictions); ++row)
      addFormsOf(static_cast<std::uint8_t>(row));
  }

  constexpr const Form* find(std::string_view text) const {
    if (text.empty()) return nullptr;
    for (std::size_t slot = home(text);; slot = next(slot)) {
      if (slots_[slot].text == text) return &slots_[slot];
      if (slots_[slot].row == kNoRow) return nullptr;
    }
  }

 private:
  static constexpr std::size_t kSlots = 512;

  static constexpr std::size_t next(std::size_t slot) { return (slot + 1) % kSlots; }

  static constexpr std::size_t home(std::string_view text) {
    const auto byte = [&](std::size_t i) { return std::uint32_t{static_cast<unsigned char>(text[i])}; };
    const std::size_t size = text.size();
    const std::uint32_t mixed = byte(0) | byte(size / 4) << 8 | byte(size / 2) << 16 | byte(size - 1) << 24;
    return ((mixed ^ static_cast<std::uint32_t>(size)) * 0x9E3779B1u) >> 23;
  }

  constexpr void addFormsOf(std::uint8_t row) {
    const Jurisdiction& place = kJurisdictions[row];
    const bool personal = place.number[kPersonal] != 0;
    const bool corporate = place.number[kCorporate] != 0;
    add({place.english, row, {personal, corporate}, {personal, corporate}, true});
    // In the personal product "MJ" has a number and a picture, and yet no name.
    const bool named = personal && place.code.view() != "MJ";
    add({place.code, row, {personal, corporate}, {named, corporate}, true});
    if (place.french != place.english)
      add({place.french, row, {personal, place.corporateForm.isNil()}, {personal, corporate}, true});
    if (!place.personalForm.isNil()) add({place.personalForm, row, {true, false}, {}, false});
    if (!place.corporateForm.isNil()) add({place.corporateForm, row, {false, true}, {}, false});
  }

  constexpr void add(const Form& form) {
    std::size_t slot = home(form.text);
    for (; slots_[slot].row != kNoRow; slot = next(slot))
      if (slots_[slot].text == form.text) throw "a form stands for two jurisdictions";
    slots_[slot] = form;
  }

  std::array<Form, kSlots> slots_{};
};

constexpr Forms kForms;

// The jurisdiction that a text names in the running product, or null.
const Jurisdiction* named(const Text& name) {
  const Form* form = kForms.find(name);
  return form && form->hasName[product()] ? &kJurisdictions[form->row] : nullptr;
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
  const Form* form = kForms.find(name);
  if (!form) return 0;
  const ProductIndex in = product();
  return form->hasNumber[in] ? kJurisdictions[form->row].number[in] : 0;
}

Text ProvinceCodeMapping::getShortProvNameFromOurCode(double number) {
  const Jurisdiction* place = numbered(number, product());
  return place ? place->code : "";
}

Text ProvinceCodeMapping::getFullProvNameFromOurCode(double number) {
  if (!displayLanguageIsEnglish()) {
    // French reads the number as the corporate product's even in the personal one, where a non-resident thus
    // comes out as taxed in multiple jurisdictions.
    const Jurisdiction* place = numbered(number, kCorporate);
    if (!place) return "";
    return place->frenchByNumber.isNil() ? place->french : place->frenchByNumber;
  }
  const ProductIndex in = product();
  // The corporate product has no English name for the federal level.
  if (in == kCorporate && number == 99) return "";
  const Jurisdiction* place = numbered(number, in);
  return place ? place->english : "";
}

Text ProvinceCodeMapping::getProvinceCode(const Text& name) {
  return getShortProvNameFromOurCode(getOurProvCodeFromProvName(name));
}

Text ProvinceCodeMapping::getProvinceFullName(const Text& name) {
  return getFullProvNameFromOurCode(getOurProvCodeFromProvName(name));
}

double ProvinceCodeMapping::getImageIndexFromProvince(const Text& name) {
  const Form* form = kForms.find(name);
  return form && form->hasPicture ? kJurisdictions[form->row].picture : kOtherPicture;
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
