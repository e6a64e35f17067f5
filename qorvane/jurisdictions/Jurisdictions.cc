#include "qorvane/jurisdictions/Jurisdictions.h"

#include "qorvane/jurisdictions/JurisdictionTable.h"

namespace qorvane::inline v1 {

using namespace places;

std::span<const Jurisdiction> jurisdictions() { return kJurisdictions; }
std::span<const JurisdictionForm> jurisdictionForms() { return kForms; }

bool isJurisdictionForm(std::string_view text, const Product& product) {
  const Found found = kFormIndex.find(text);
  return found.form && isIn(found.form->number, product.corporate);
}

const Jurisdiction* jurisdictionMeant(std::string_view typed, const Product& product) {
  if (isJurisdictionForm(typed, product)) return kFormIndex.find(typed).place;
  for (const Jurisdiction& place : kJurisdictions)
    if (place.number(product) != 0 &&
        (place.englishLabel.view() == typed || place.frenchLabel.view() == typed))
      return &place;
  return nullptr;
}

}  // namespace qorvane::inline v1
