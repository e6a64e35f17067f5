// The tables behind ProvinceCodeMapping and Jurisdictions.h, and their look-ups. Internal to jurisdictions/.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "qorvane/jurisdictions/Jurisdictions.h"

namespace qorvane::inline v1::places {

inline constexpr int kOtherPicture = 14;

consteval Jurisdiction state(int number, Text code, Text name, Text englishLabel, Text frenchLabel) {
  return {0, number, code, name, name, kOtherPicture, englishLabel, frenchLabel, ""};
}
consteval Jurisdiction state(int number, Text code, Text name, Text frenchLabel) {
  return state(number, code, name, name, frenchLabel);
}
consteval Jurisdiction state(int number, Text code, Text name) {
  return state(number, code, name, name, name);
}

// clang-format off
inline constexpr Jurisdiction kJurisdictions[] = {
    // numbers, code, names as stored, picture, names as shown, name by number
    { 1,  1, "NL", "Newfoundland and Labrador", "Terre-Neuve-et-Labrador",    0, "Newfoundland and Labrador", "Terre-Neuve-et-Labrador"},
    { 2,  2, "NS", "Nova Scotia",               "Nouvelle-Écosse",            1, "Nova Scotia",               "Nouvelle-Écosse"},
    { 3,  3, "NB", "New Brunswick",             "Nouveau-Brunswick",          2, "New Brunswick",             "Nouveau-Brunswick"},
    { 4,  4, "PE", "Prince Edward Island",      "Ile-du-Prince-Édouard",      3, "Prince Edward Island",      "Île-du-Prince-Édouard"},
    { 5,  5, "ON", "Ontario",                   "Ontario",                    4, "Ontario",                   "Ontario"},
    { 6,  6, "MB", "Manitoba",                  "Manitoba",                   5, "Manitoba",                  "Manitoba"},
    { 7,  7, "SK", "Saskatchewan",              "Saskatchewan",               6, "Saskatchewan",              "Saskatchewan"},
    { 8,  8, "AB", "Alberta",                   "Alberta",                    7, "Alberta",                   "Alberta"},
    { 9,  9, "BC", "British Columbia",          "Colombie-Britannique",       8, "British Columbia",          "Colombie-Britannique"},
    {10, 10, "YT", "Yukon",                     "Yukon",                      9, "Yukon",                     "Yukon"},
    {11, 11, "NT", "Northwest Territories",     "Territoires du Nord-Ouest", 10, "Northwest Territories",     "Territoires du Nord-Ouest"},
    {13, 13, "QC", "Quebec",                    "Québec",                    11, "Quebec",                    "Québec", "Quebec"},
    {19, 19, "NU", "Nunavut",                   "Nunavut",                   12, "Nunavut",                   "Nunavut"},
    {12, 15, "NR", "Non-Resident",              "Résident à l'étranger",     14, "Non-resident",              "Résident à l’étranger", "Non-Resident"},
    {14, 12, "MJ", "Multiple Jurisdiction",     "Multiple Jurisdiction",     13, "Multiple jurisdictions",    "Administrations multiples"},
    {99, 99, "FE", "Federal",                   "Federal",                   14, "Federal",                   "Fédéral"},
    state(101, "AL", "Alabama"),
    state(102, "AK", "Alaska"),
    state(103, "AS", "American Samoa", "Samoa américaines"),
    state(104, "AZ", "Arizona"),
    state(105, "AR", "Arkansas"),
    state(106, "CA", "California", "Californie"),
    state(107, "CO", "Colorado"),
    state(108, "CT", "Connecticut"),
    state(109, "DC", "District of Columbia", "District de Columbia"),
    state(110, "DE", "Delaware"),
    state(111, "FM", "Federated Micronesia", "Federated States of Micronesia", "États fédérés de Micronésie"),
    state(112, "FL", "Florida", "Floride"),
    state(113, "GA", "Georgia", "Géorgie"),
    state(114, "GU", "Guam"),
    state(115, "HI", "Hawaii", "Hawaï"),
    state(116, "ID", "Idaho"),
    state(117, "IL", "Illinois"),
    state(118, "IN", "Indiana"),
    state(119, "IA", "Iowa"),
    state(120, "KS", "Kansas"),
    state(121, "KY", "Kentucky"),
    state(122, "LA", "Louisiana", "Louisiane"),
    state(123, "ME", "Maine"),
    state(124, "MH", "Marshall Islands", "Îles Marshall"),
    state(125, "MD", "Maryland"),
    state(126, "MA", "Massachusetts"),
    state(127, "MI", "Michigan"),
    state(128, "MN", "Minnesota"),
    state(129, "MS", "Mississippi"),
    state(130, "MO", "Missouri"),
    state(131, "MT", "Montana"),
    state(132, "NE", "Nebraska"),
    state(133, "NV", "Nevada"),
    state(134, "NH", "New Hampshire"),
    state(135, "NJ", "New Jersey"),
    state(136, "NM", "New Mexico", "Nouveau-Mexique"),
    state(137, "NY", "New York"),
    state(138, "NC", "North Carolina", "Caroline du Nord"),
    state(139, "ND", "North Dakota", "Dakota du Nord"),
    state(140, "MP", "North Mariana Island", "Northern Mariana Islands", "Îles Mariannes du Nord"),
    state(141, "OH", "Ohio"),
    state(142, "OK", "Oklahoma"),
    state(143, "OR", "Oregon"),
    state(144, "PA", "Pennsylvania", "Pennsylvanie"),
    state(145, "PR", "Puerto Rico", "Porto Rico"),
    state(146, "PW", "Pulau", "Palau", "Palaos"),
    state(147, "RI", "Rhode Island"),
    state(148, "SC", "South Carolina", "Caroline du Sud"),
    state(149, "SD", "South Dakota", "Dakota du Sud"),
    state(150, "TN", "Tennessee"),
    state(151, "TX", "Texas"),
    state(152, "UT", "Utah"),
    state(153, "VT", "Vermont"),
    state(154, "VI", "Virgin Islands", "Îles Vierges"),
    state(155, "VA", "Virginia", "Virginie"),
    state(156, "WA", "Washington"),
    state(157, "WV", "West Virginia", "Virginie-Occidentale"),
    state(158, "WI", "Wisconsin"),
    state(159, "WY", "Wyoming"),
};

// A state is known by its name and its code alone, to the corporate product alone.
inline constexpr JurisdictionForm kCanadianForms[] = {
    // text, jurisdiction, number, name, picture
    {"Newfoundland and Labrador", "NL", In::Both,      In::Both,      true},
    {"NL",                        "NL", In::Both,      In::Both,      true},
    {"Terre-Neuve-et-Labrador",   "NL", In::Both,      In::Both,      true},
    {"Nova Scotia",               "NS", In::Both,      In::Both,      true},
    {"NS",                        "NS", In::Both,      In::Both,      true},
    {"Nouvelle-Écosse",           "NS", In::Personal,  In::Both,      true},
    {"Nouvelle Ecosse",           "NS", In::Corporate, In::None,      false},
    {"New Brunswick",             "NB", In::Both,      In::Both,      true},
    {"NB",                        "NB", In::Both,      In::Both,      true},
    {"Nouveau-Brunswick",         "NB", In::Both,      In::Both,      true},
    {"Nouveau Brunswick",         "NB", In::Personal,  In::None,      false},
    {"Prince Edward Island",      "PE", In::Both,      In::Both,      true},
    {"PE",                        "PE", In::Both,      In::Both,      true},
    {"Ile-du-Prince-Édouard",     "PE", In::Personal,  In::Both,      true},
    {"Ile-de-Prince-Edouard",     "PE", In::Corporate, In::None,      false},
    {"Ontario",                   "ON", In::Both,      In::Both,      true},
    {"ON",                        "ON", In::Both,      In::Both,      true},
    {"Manitoba",                  "MB", In::Both,      In::Both,      true},
    {"MB",                        "MB", In::Both,      In::Both,      true},
    {"Saskatchewan",              "SK", In::Both,      In::Both,      true},
    {"SK",                        "SK", In::Both,      In::Both,      true},
    {"Alberta",                   "AB", In::Both,      In::Both,      true},
    {"AB",                        "AB", In::Both,      In::Both,      true},
    {"British Columbia",          "BC", In::Both,      In::Both,      true},
    {"BC",                        "BC", In::Both,      In::Both,      true},
    {"Colombie-Britannique",      "BC", In::Personal,  In::Both,      true},
    {"Columbie-Britannique",      "BC", In::Corporate, In::None,      false},
    {"Yukon",                     "YT", In::Both,      In::Both,      true},
    {"YT",                        "YT", In::Both,      In::Both,      true},
    {"Northwest Territories",     "NT", In::Both,      In::Both,      true},
    {"NT",                        "NT", In::Both,      In::Both,      true},
    {"Territoires du Nord-Ouest", "NT", In::Personal,  In::Both,      true},
    {"Territoires Nord-Ouest",    "NT", In::Corporate, In::None,      false},
    {"Quebec",                    "QC", In::Both,      In::Both,      true},
    {"QC",                        "QC", In::Both,      In::Both,      true},
    {"Québec",                    "QC", In::Both,      In::Both,      true},
    {"Nunavut",                   "NU", In::Both,      In::Both,      true},
    {"NU",                        "NU", In::Both,      In::Both,      true},
    {"Non-Resident",              "NR", In::Both,      In::Both,      true},
    {"NR",                        "NR", In::Both,      In::Both,      true},
    {"Résident à l'étranger",     "NR", In::Both,      In::Both,      true},
    {"Multiple Jurisdiction",     "MJ", In::Both,      In::Both,      true},
    // In the personal product it has a number and a picture, and yet no name.
    {"MJ",                        "MJ", In::Both,      In::Corporate, true},
    {"Federal",                   "FE", In::Both,      In::Both,      true},
    {"FE",                        "FE", In::Both,      In::Both,      true},
};
// clang-format on

inline constexpr std::size_t kStates = [] {
  std::size_t states = 0;
  for (const Jurisdiction& place : kJurisdictions) states += place.personalNumber == 0;
  return states;
}();

inline constexpr auto kForms = [] {
  std::array<JurisdictionForm, std::size(kCanadianForms) + 2 * kStates> forms{};
  std::size_t count = 0;
  for (const JurisdictionForm& form : kCanadianForms) forms[count++] = form;
  for (const Jurisdiction& place : kJurisdictions) {
    if (place.personalNumber != 0) continue;
    for (const Text* text : {&place.english, &place.code})
      forms[count++] = {text->view(), place.code.view(), In::Corporate, In::Corporate, true};
  }
  return forms;
}();

constexpr bool isIn(In where, bool corporate) {
  return (static_cast<unsigned>(where) & static_cast<unsigned>(corporate ? In::Corporate : In::Personal)) !=
         0;
}

inline constexpr std::uint8_t kNone = 0xFF;
static_assert(kForms.size() < kNone);

/// A form with its jurisdiction.
struct Found {
  const JurisdictionForm* form = nullptr;
  const Jurisdiction* place = nullptr;
};

// The forms, hashed by their length and four of their bytes, with linear probing.
class FormIndex {
 public:
  consteval FormIndex() {
    slots_.fill({kNone, kNone});
    for (std::size_t form = 0; form < kForms.size(); ++form) add(static_cast<std::uint8_t>(form));
  }

  constexpr Found find(std::string_view text) const {
    if (text.empty()) return {};
    for (std::size_t slot = home(text);; slot = next(slot)) {
      const Slot& found = slots_[slot];
      if (found.form == kNone) return {};
      if (kForms[found.form].text == text) return {&kForms[found.form], &kJurisdictions[found.place]};
    }
  }

 private:
  struct Slot {
    std::uint8_t form;
    std::uint8_t place;
  };
  static constexpr std::size_t kSlots = 512;

  static constexpr std::size_t next(std::size_t slot) { return (slot + 1) % kSlots; }

  static constexpr std::size_t home(std::string_view text) {
    const auto byte = [&](std::size_t i) { return std::uint32_t{static_cast<unsigned char>(text[i])}; };
    const std::size_t size = text.size();
    const std::uint32_t mixed = byte(0) | byte(size / 4) << 8 | byte(size / 2) << 16 | byte(size - 1) << 24;
    return ((mixed ^ static_cast<std::uint32_t>(size)) * 0x9E3779B1u) >> 23;
  }

  consteval void add(std::uint8_t form) {
    std::size_t slot = home(kForms[form].text);
    for (; slots_[slot].form != kNone; slot = next(slot))
      if (kForms[slots_[slot].form].text == kForms[form].text) throw "a form stands for two jurisdictions";
    slots_[slot] = {form, placeOf(kForms[form].code)};
  }

  static consteval std::uint8_t placeOf(std::string_view code) {
    for (std::size_t place = 0; place < std::size(kJurisdictions); ++place)
      if (kJurisdictions[place].code.view() == code) return static_cast<std::uint8_t>(place);
    throw "a form stands for no jurisdiction";
  }

  std::array<Slot, kSlots> slots_{};
};

inline constexpr FormIndex kFormIndex;

}  // namespace qorvane::places
