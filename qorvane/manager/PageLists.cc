// The form pages and cells that need special treatment. The lists are kept for the life of the process, so
// that the destructors of static objects may still ask for them.
#include "qorvane/manager/OptionsMgr.h"

namespace qorvane {

const std::vector<Text>& OptionsMgr::pagesWithDecimal() {
  initialize();
  static const auto& pages = *new std::vector<Text>{
      "TP1079_6", "TP1029_8_36_EC", "TP1029_8_36_EC_2", "TP1012B_1", "TP1012B_2", "TP766_2", "TP766_2_2",
      "TPF_1_W",  "TPF_1_Y",        "TPF_1_X3",         "TPF_1_X2",  "TPF_1_X",   "TP_BCR",  "TP_BCR2",
  };
  return pages;
}

const std::vector<Text>& OptionsMgr::pagesWithMaskedSIN() {
  initialize();
  static const auto& pages = *new std::vector<Text>{"T183", "T1013_Signature"};
  return pages;
}

const std::vector<Text>& OptionsMgr::elementsToMasked() {
  initialize();
  static const auto& elements = *new std::vector<Text>{
      "sanCalc2244", "RepIDCancel", "sanCalc121", "sanCalc115", "sanCalc119",
  };
  return elements;
}

const std::vector<Text>& OptionsMgr::OptOverideableCells() {
  initialize();
  // The clients count the entries: the repeated ones stay.
  static const auto& cells = *new std::vector<Text>{
      "OverDonClaim",       "OverLine319", "OverRRSPClaim", "OverMedical", "OverFedMed",
      "OverFedCaregvr",     "OverFedDis",  "OverFedAdp",    "OverProvAdp", "OverHBP",
      "OverHomeRenovation", "OverLine319", "OverDonClaim",  "OverFedTut",  "OverProvTut",
      "OverRRSPClaim",      "OverFedFit",  "OverFedArts",   "OptFlag",
  };
  return cells;
}

}  // namespace qorvane
