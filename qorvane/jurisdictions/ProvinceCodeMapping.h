// ProvinceCodeMapping: the names, two-letter codes, numbers and pictures of jurisdictions, each from the
// others: Canadian provinces and territories, non-resident, federal, multiple jurisdictions and, in the
// corporate product only, US states and territories.
//
// A province number is 0 for none, 1 to 19 in Canada, 99 for federal, 101 to 159 in the US. The products
// number three cases differently: non-resident is 12 in the personal product and 15 in the corporate one,
// multiple jurisdictions 14 and 12. So a stored number must be read in the product that wrote it.
//
// The product and the display language are asked on every call. Names are compared exactly, letter case and
// accents included; which French forms are taken depends on the product. Nothing here fails, and look-ups
// of names and numbers do not allocate: results are constants, or the argument itself where that is said.
#pragma once

#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

struct Product;

class ProvinceCodeMapping {
 public:
  /// The 14 Canadian names in English, in either language, in a fixed order that is not sorted. The identical
  /// list on each call in one language.
  static const std::vector<Text>& provinceList();

  /// The number of a name or code; 0 when it is unknown, nil or empty.
  static double getOurProvCodeFromProvName(const Text& name);
  /// The two-letter code of a number; empty when it is unknown.
  static Text getShortProvNameFromOurCode(double number);
  /// The full name of a number in the display language; empty when it has none there: the federal level in
  /// English in the corporate product, US entries in French. French reads every number as the corporate
  /// product's.
  static Text getFullProvNameFromOurCode(double number);
  /// The two-letter code of a name or code; empty when it is unknown, nil or empty.
  static Text getProvinceCode(const Text& name);
  /// The same as if that product ran.
  static Text getProvinceCode(const Text& name, const Product& product);
  /// The full name, by its number, of a name or code; empty when it is unknown, nil or empty.
  static Text getProvinceFullName(const Text& name);
  /// The picture of a name or code, 0 to 14, the same in both products. 14 is the picture of all else: US
  /// entries, unknown texts, nil.
  static double getImageIndexFromProvince(const Text& name);

  /// The English full name, as it is stored, of a name or code; the argument itself when it is unknown.
  static Text getNeutralProvinceName(const Text& name);
  /// The same as `getNeutralProvinceName`.
  static Text getEngProvNameFromFrProvName(const Text& name);
  /// The French full name of a name or code; the argument itself when it is unknown.
  static Text getFrProvNameFromEngProvName(const Text& name);

  /// The two-letter code of the province in which a postal code lies, by its first letter in either case, and
  /// by its first three characters in the far north: X0A, X0B and X0C are Nunavut, all else under X, however
  /// short, is the Northwest Territories. Empty when the letter is not in use, and for nil and empty.
  static Text postalProvince(const Text& postalCode);
};

}  // namespace v1
}  // namespace qorvane
