#include "qorvane/jurisdictions/UseAddressMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> UseAddressMapping::useAddressOptions() { return labels(kUseAddress); }

Text UseAddressMapping::defaultValue() { return label(kUseAddress[1]); }

Text UseAddressMapping::useAddressNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kUseAddress, label);
  return choice ? choice->neutral : "";
}

}  // namespace qorvane::inline v1
