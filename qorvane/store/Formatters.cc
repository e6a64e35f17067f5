// The six shared formatters. Each is made on first use and kept for the life of the process; its variable is
// exported, so that other parts of the suite may read it without asking.
#include "qorvane/formats/DateFormatter.h"
#include "qorvane/formats/NumberFormatter.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/Options.h"

namespace qorvane::inline v1 {

constinit NumberFormatter* numberForm = nullptr;
constinit NumberFormatter* numberFormFr = nullptr;
constinit NumberFormatter* numberFormWithoutDollar = nullptr;
constinit NumberFormatter* numberFormWithoutDollarFr = nullptr;
constinit NumberFormatter* numberFormForEdt = nullptr;
constinit DateFormatter* yearMonthDateForm = nullptr;

namespace {

NumberFormatter* made(NumberFormatter*& kept, Text locale, Text format) {
  if (!kept) {
    kept = new NumberFormatter;
    kept->setLocale(locale);
    kept->setFormat(format);
  }
  return kept;
}

}  // namespace

NumberFormatter* Options::numberFormatter() {
  // Kept by language alone: a formatter made for one product serves on when the product changes.
  const Text format =
      StoreAccess(*this).running().isT2() ? Text("###,##0;-#####0") : Text("###,##0.00;-#####0.00");
  return language().isEqualTo("English") ? made(numberForm, "en_CA", format)
                                         : made(numberFormFr, "fr_CA", format);
}

NumberFormatter* Options::numberFormatterWithoutDollar() {
  constexpr Text kFormat = "#####0.00;(#####0.00)";
  return language().isEqualTo("English") ? made(numberFormWithoutDollar, "en_CA", kFormat)
                                         : made(numberFormWithoutDollarFr, "fr_CA", kFormat);
}

NumberFormatter* Options::numberFormatterForEditing() { return made(numberFormForEdt, nullptr, "#####0.00"); }

DateFormatter* Options::yearMonthDateFormatter() {
  if (!yearMonthDateForm) {
    yearMonthDateForm = new DateFormatter;
    yearMonthDateForm->setDateFormat("%Y/%m");
  }
  return yearMonthDateForm;
}

}  // namespace qorvane::inline v1
