// The facade's formatters. A file of their own: a program that links the library statically and formats
// nothing needs no formatter, and then does not load what formatters stand on, which is most of ICU.
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/store/Options.h"

namespace qorvane::inline v1 {

#define FORWARD(...)
#define READ_ONLY(...)
#define FORMATTER(getter, storeGetter) \
  decltype(OptionsMgr::getter()) OptionsMgr::getter() { return store().storeGetter(); }
#include "qorvane/manager/forwarders.def"

}  // namespace qorvane::inline v1
