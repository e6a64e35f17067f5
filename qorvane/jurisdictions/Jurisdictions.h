// Jurisdictions: the provinces, territories, states and other places of taxation as data, with the names that
// people see, and every text that the conversions of ProvinceCodeMapping accept for one.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "qorvane/foundation/Language.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/siblings/QVSettings.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct Jurisdiction {
  /// In the personal and in the corporate product; 0 where the product does not know the jurisdiction.
  int personalNumber;
  int corporateNumber;
  /// Two letters.
  Text code;
  /// The names as they are stored and converted.
  Text english;
  Text french;
  /// 0 to 14.
  int picture;
  /// The names for people, correct and with all accents.
  Text englishLabel;
  Text frenchLabel;
  /// The full name that its number gives in French, where that is another than `french`.
  Text frenchByNumber = nullptr;

  int number(const Product& product) const { return product.corporate ? corporateNumber : personalNumber; }
  Text label(Language language) const { return language == Language::English ? englishLabel : frenchLabel; }
};

/// In which of the products something is so.
enum class In : std::uint8_t { None = 0, Personal = 1, Corporate = 2, Both = 3 };

/// A text that stands for a jurisdiction, and which conversions take it.
struct JurisdictionForm {
  std::string_view text;
  /// The jurisdiction's.
  std::string_view code;
  /// Where it gives a number, with the code and the full name that the number gives.
  In number;
  /// Where it gives the neutral and the French name.
  In name;
  /// It gives a picture of its own, in either product.
  bool picture;
};

std::span<const Jurisdiction> jurisdictions();
std::span<const JurisdictionForm> jurisdictionForms();

/// The text is a form that has a number in that product.
bool isJurisdictionForm(std::string_view text, const Product& product);

/// The jurisdiction that a person means in that product: by a form that has a number there, or by its label
/// in either language, exactly. Null for any other text.
const Jurisdiction* jurisdictionMeant(std::string_view typed, const Product& product);

}  // namespace v1
}  // namespace qorvane
