#include "tests/vocabulary/Constants.h"

#include "qorvane/vocabulary/OptionStrings.h"
#include "qorvane/vocabulary/ProvinceNames.h"
#include "qorvane/vocabulary/ReturnElements.h"

namespace elsewhere {

namespace {
const qorvane::Text read = qorvane::Text(qorvane::optsStr_PreparerEfileNumber.string());
}

qorvane::Text preparerCity() { return qorvane::optsStr_PreparerCity; }
qorvane::Text surname() { return qorvane::Surname; }
qorvane::Text federal() { return qorvane::Federal; }
qorvane::Text readAtLoad() { return read; }

}  // namespace elsewhere
