// The form pages and cells that need special treatment.
#include <iterator>

#include "qorvane/manager/OptionsMgr.h"

namespace qorvane::inline v1 {

namespace {

// clang-format off
constexpr Text kPagesWithDecimal[] = {
    "TP1079_6", "TP1029_8_36_EC", "TP1029_8_36_EC_2", "TP1012B_1", "TP1012B_2", "TP766_2", "TP766_2_2",
    "TPF_1_W", "TPF_1_Y", "TPF_1_X3", "TPF_1_X2", "TPF_1_X", "TP_BCR", "TP_BCR2",
};

constexpr Text kPagesWithMaskedSIN[] = {
    "T183", "T1013_Signature",
};

constexpr Text kElementsToMasked[] = {
    "sanCalc2244", "RepIDCancel", "sanCalc121", "sanCalc115", "sanCalc119",
};

// The clients count the entries: the repeated ones stay.
constexpr Text kOverideableCells[] = {
    "OverDonClaim", "OverLine319", "OverRRSPClaim", "OverMedical", "OverFedMed", "OverFedCaregvr",
    "OverFedDis", "OverFedAdp", "OverProvAdp", "OverHBP", "OverHomeRenovation", "OverLine319",
    "OverDonClaim", "OverFedTut", "OverProvTut", "OverRRSPClaim", "OverFedFit", "OverFedArts", "OptFlag",
};
// clang-format on

// Kept for the life of the process: the destructors of static objects may still ask for a list.
template <const auto& Entries>
const std::vector<Text>& listOf() {
  static const auto& list = *new std::vector<Text>(std::begin(Entries), std::end(Entries));
  return list;
}

}  // namespace

const std::vector<Text>& OptionsMgr::pagesWithDecimal() {
  initialize();
  return listOf<kPagesWithDecimal>();
}

const std::vector<Text>& OptionsMgr::pagesWithMaskedSIN() {
  initialize();
  return listOf<kPagesWithMaskedSIN>();
}

const std::vector<Text>& OptionsMgr::elementsToMasked() {
  initialize();
  return listOf<kElementsToMasked>();
}

const std::vector<Text>& OptionsMgr::OptOverideableCells() {
  initialize();
  return listOf<kOverideableCells>();
}

}  // namespace qorvane::inline v1
