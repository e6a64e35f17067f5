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
void inTurn(benchmark::State& state, const std::vector<Text>& texts, LookUp lookUp) {
  std::size_t at = 0;
  for (auto _ : state) {
    auto found = lookUp(texts[at]);
    benchmark::DoNotOptimize(found);
    if (++at == texts.size()) at = 0;
  }
}

double bareNumber(const Text& name) {
  const auto found = numberTable.find(name);
  return found == numberTable.end() ? 0 : found->second;
}

Text bareNeutral(const Text& label) {
  const auto found = neutralTable.find(label);
  return found == neutralTable.end() ? "0" : found->second;
}

void bareNumberFound(benchmark::State& state) { inTurn(state, names, bareNumber); }
BENCHMARK(bareNumberFound);
void bareNumberMissed(benchmark::State& state) { inTurn(state, unknownNames, bareNumber); }
BENCHMARK(bareNumberMissed);
void numberFound(benchmark::State& state) {
  inTurn(state, names, ProvinceCodeMapping::getOurProvCodeFromProvName);
}
BENCHMARK(numberFound);
void numberMissed(benchmark::State& state) {
  inTurn(state, unknownNames, ProvinceCodeMapping::getOurProvCodeFromProvName);
}
BENCHMARK(numberMissed);

void bareNeutralFound(benchmark::State& state) { inTurn(state, labels, bareNeutral); }
BENCHMARK(bareNeutralFound);
void bareNeutralMissed(benchmark::State& state) { inTurn(state, unknownLabels, bareNeutral); }
BENCHMARK(bareNeutralMissed);
void neutralFound(benchmark::State& state) {
  inTurn(state, labels, NoticeOfAssAndRefundMapping::assAndRefundNeutralValue);
}
BENCHMARK(neutralFound);
void neutralMissed(benchmark::State& state) {
  inTurn(state, unknownLabels, NoticeOfAssAndRefundMapping::assAndRefundNeutralValue);
}
BENCHMARK(neutralMissed);

}  // namespace

int main(int argc, char** argv) {
  prepare();
  return ratios::run(argc, argv,
                     {{"numberFound", "bareNumberFound", 1.5},
                      {"numberMissed", "bareNumberMissed", 1.5},
                      {"neutralFound", "bareNeutralFound", 1.5},
                      {"neutralMissed", "bareNeutralMissed", 1.5}});
}
