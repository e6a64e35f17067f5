#include "qorvane/jurisdictions/NoticeOfAssAndRefundMapping.h"

#include "qorvane/jurisdictions/ChoiceTables.h"

namespace qorvane::inline v1 {

using namespace choices;

std::vector<Text> NoticeOfAssAndRefundMapping::assessmentAndRefundOptions() {
  return labels(kNoticeOfAssAndRefund);
}

Text NoticeOfAssAndRefundMapping::defaultValue() { return "0"; }

Text NoticeOfAssAndRefundMapping::assAndRefundNeutralValue(const Text& label) {
  const Choice* choice = withLabel(kNoticeOfAssAndRefund, label);
  return choice ? choice->neutral : "0";
}

Text NoticeOfAssAndRefundMapping::languageSpecificValue(const Text& neutralValue) {
  const Choice* choice = withNeutralValue(kNoticeOfAssAndRefund, neutralValue);
  return choice ? label(*choice) : defaultValue();
}

}  // namespace qorvane::inline v1
