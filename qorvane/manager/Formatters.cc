// The facade's formatters. A file of their own: a program that links the library statically and formats
// nothing needs no formatter, and then does not load what formatters stand on, which is most of ICU.
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/store/Options.h"

namespace qorvane::inline v1 {

NumberFormatter* OptionsMgr::numberFormatter() { return store().numberFormatter(); }
NumberFormatter* OptionsMgr::numberFormatterWithoutDollar() { return store().numberFormatterWithoutDollar(); }
NumberFormatter* OptionsMgr::numberFormatterForEditing() { return store().numberFormatterForEditing(); }
DateFormatter* OptionsMgr::yearMonthDateFormatter() { return store().yearMonthDateFormatter(); }

}  // namespace qorvane::inline v1
