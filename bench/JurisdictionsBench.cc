// The conversions of jurisdictions and choice labels beside a bare hash look-up of the same texts.
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/Ratios.h"
#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/jurisdictions/NoticeOfAssAndRefundMapping.h"
#include "qorvane/jurisdictions/ProvinceCodeMapping.h"
#include "qorvane/siblings/QVSettings.h"

using namespace qorvane;

namespace {

// Texts as a store holds them: none is the constant that it equals.
std::vector<Text> names;
std::vector<Text> unknownNames;
std::vector<Text> labels;
std::vector<Text> unknownLabels;
std::unordered_map<std::string_view, double> numberTable;
std::unordered_map<std::string_view, Text> neutralTable;

void prepare() {
  QVSettings::setProduct({.corporate = true, .taxYear = 2020});
  for (const char* name : {"Ontario", "QC", "Québec", "Newfoundland and Labrador", "British Columbia", "AB",
                           "Columbie-Britannique", "Nevada", "NY", "District of Columbia", "Non-Resident"}) {
    names.emplace_back(std::string(name));
    unknownNames.emplace_back(std::string(name) + "?");
    numberTable[names.back()] = ProvinceCodeMapping::getOurProvCodeFromProvName(names.back());
  }
  for (const Choice& choice : choiceList("NoticeOfAssAndRefundMapping")->choices)
    for (const Text& label : {choice.english, choice.french}) {
      labels.emplace_back(label.string());
      unknownLabels.emplace_back(label.string() + "?");
      neutralTable[labels.back()] = choice.neutral;
    }
}

// Asks for one text after the other.
template <class LookUp>
auto inTurn(const std::vector<Text>& texts, LookUp lookUp) {
  return [&texts, lookUp](std::size_t count) {
    for (std::size_t at = 0; count-- > 0; at = at + 1 == texts.size() ? 0 : at + 1)
      ratios::keep(lookUp(texts[at]));
  };
}

double bareNumber(const Text& name) {
  const auto found = numberTable.find(name);
  return found == numberTable.end() ? 0 : found->second;
}

Text bareNeutral(const Text& label) {
  const auto found = neutralTable.find(label);
  return found == neutralTable.end() ? "0" : found->second;
}

}  // namespace

int main() {
  prepare();
  ratios::Table table("Jurisdictions and choice labels, from texts to what is kept");
  const auto number = ProvinceCodeMapping::getOurProvCodeFromProvName;
  const auto neutral = NoticeOfAssAndRefundMapping::assAndRefundNeutralValue;
  table.time("hash look-up of a name", inTurn(names, bareNumber));
  table.time("hash look-up of an unknown name", inTurn(unknownNames, bareNumber));
  table.time("number of a jurisdiction", inTurn(names, number));
  table.time("number of an unknown name", inTurn(unknownNames, number));
  table.time("hash look-up of a label", inTurn(labels, bareNeutral));
  table.time("hash look-up of an unknown label", inTurn(unknownLabels, bareNeutral));
  table.time("neutral value of a label", inTurn(labels, neutral));
  table.time("neutral value of an unknown label", inTurn(unknownLabels, neutral));
  table.compare("number of a jurisdiction", "hash look-up of a name", 1.5);
  table.compare("number of an unknown name", "hash look-up of an unknown name", 1.5);
  table.compare("neutral value of a label", "hash look-up of a label", 1.5);
  table.compare("neutral value of an unknown label", "hash look-up of an unknown label", 1.5);
  table.run();
}
