// The preparer's and the authorizations' accessors that depart from the pattern. What they do looks odd, and
// is what the settings of installed copies rely on.
#include <string>

#include "qorvane/jurisdictions/ProvinceCodeMapping.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

constexpr Key kProvince{optsStr_PreparerProvince};
constexpr Key kProvinceCode{optsStr_PracPOCode};
constexpr Key kPostalCode{optsStr_PreparerPostalCode};
constexpr Key kProvinceAndPostalCode{optsStr_PreparerProvinceAndPostalCode};
constexpr Key kPhoneExt{optsStr_PreparerPhoneExt};
constexpr Key kTaxpayersSameName{optsStr_TaxpayersSameName};
constexpr Key kT1013ExpiryDate{optsStr_T1013ConsentED};
constexpr Key kT1013BusinessNo{optsStr_T1013BussinessNo};
constexpr Key kRC59RepID{optsStr_RC59RepID};

// The two in one line. A part that is missing reads "(null)", as it does in the settings of installed copies.
Text provinceAndPostalCode(const Text& province, const Text& postalCode) {
  const auto part = [](const Text& text) { return text.isNil() ? "(null)" : text.string(); };
  return Text(part(province) + " " + part(postalCode));
}

}  // namespace

// A province brings its code and the line of both with it; clearing it leaves those two as they were.
void Options::setPreparerProvince(Text province) {
  if (!opts_ || StoreAccess(*this).isLocked(kProvince, kProvinceCode, kProvinceAndPostalCode)) return;
  storeIfChanged(
      StoreAccess(*this), [&] { return !preparerProvince().isEqualTo(province); },
      [&] {
        opts_->set(kProvince, emptyIfNil(province));
        if (province.isNil()) return;
        opts_->set(kProvinceCode, ProvinceCodeMapping::getProvinceCode(
                                      province, {.corporate = StoreAccess(*this).running().isT2()}));
        opts_->set(kProvinceAndPostalCode, provinceAndPostalCode(province, preparerPostalCode()));
      });
}

// The other way round: a postal code leaves the line of both as it was; clearing it writes the line anew.
void Options::setPreparerPostalCode(Text postalCode) {
  if (!opts_ || StoreAccess(*this).isLocked(kPostalCode, kProvinceAndPostalCode)) return;
  storeIfChanged(
      StoreAccess(*this), [&] { return !preparerPostalCode().isEqualTo(postalCode); },
      [&] {
        opts_->set(kPostalCode, emptyIfNil(postalCode));
        if (!postalCode.isNil()) return;
        opts_->set(kProvinceAndPostalCode, provinceAndPostalCode(preparerProvince(), nullptr));
      });
}

// Not compared: setting what is there already is announced, too.
void Options::setPreparerPhoneExt(Text extension) {
  if (!opts_ || StoreAccess(*this).isLocked(kPhoneExt)) return;
  storeIfChanged(
      StoreAccess(*this), [] { return true; }, [&] { opts_->set(kPhoneExt, emptyIfNil(extension)); });
}

// Nil is announced as the change that it is not: the entry stays.
void Options::setPreparerTaxpyersNameAsLastYr(Text answer) {
  if (!opts_ || StoreAccess(*this).isLocked(kTaxpayersSameName)) return;
  storeIfChanged(
      StoreAccess(*this), [&] { return !preparerTaxpyersNameAsLastYr().isEqualTo(answer); },
      [&] {
        if (!answer.isNil()) opts_->set(kTaxpayersSameName, answer);
      });
}

// Nil keeps the date and empties the business number instead, in either product that of the personal one.
void Options::setT1013ExpiryDate(const Value& date) {
  if (!opts_ || StoreAccess(*this).isLocked(kT1013ExpiryDate, kT1013BusinessNo)) return;
  storeIfChanged(
      StoreAccess(*this), [&] { return !isSameNumber(t1013ExpiryDate(), date); },
      [&] {
        if (date.isNil())
          opts_->set(kT1013BusinessNo, Text(""));
        else
          opts_->set(kT1013ExpiryDate, date);
      });
}

// The personal product reads the T1013 identifier here and never writes it this way.
void Options::setRc59_RepID(Text id) {
  const StoreAccess store(*this);
  if (opts_ && store.running().isT2() && !store.isLocked(kRC59RepID)) opts_->set(kRC59RepID, emptyIfNil(id));
}

}  // namespace qorvane::inline v1
