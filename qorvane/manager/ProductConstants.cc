// What the running product is, and the labels, names and numbers that go with its year and release.
//
// The tables hold what the agencies and the form sets were given, year by year; odd entries among them are
// what was shipped. The rows of releases are asked from the first to the last.
#include <algorithm>
#include <iterator>
#include <string>

#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"

namespace qorvane::inline v1 {

namespace {

struct YearRow {
  int year;
  Text answer;
};

struct ReleaseRow {
  Text release;
  Text answer;
};

struct Edition {
  bool corporate;
  bool professional;
  Text version;
  Text name;
  Text type;
};

// clang-format off

constexpr Edition kEditions[] = {
    // corporate, professional, version, name, type
    {true,  true,  "T2", "T2Pro", "Professional"},
    {true,  false, "T2", "T2",    "NETFILE"},
    {false, true,  "T1", "T1Pro", "EOL"},
    {false, false, "T1", "T1",    "NetFile"},
};

// The T1 form set to load.
constexpr YearRow kFormsToLoad[] = {
    {2022, "2022_7"},
    {2020, "2020_9"},
    {2019, "2019_4"},
    {2018, "2018_6"},
    {2017, "2017_1"},
    {2016, "2016_3"},
    {2015, "2015_1"},
    {2014, "2014_1"},
    {2013, "2013_1"},
    {2012, "2012_1"},
    {2011, "2011_1"},
    {2010, "2010_2"},
    {2008, "2008_3"},
};
constexpr Text kFormsOfOtherYears = "2009_1";

// The T1 form sets to offer: every row of the year.
constexpr YearRow kFormsToOffer[] = {
    {2020, "2020_1"},
    {2020, "2020_2"},
    {2018, "2018_1"},
    {2018, "2018_2"},
    {2017, "2017_1"},
    {2016, "2016_1"},
    {2014, "2014_1"},
    {2013, "2013_1"},
    {2012, "2012_1"},
    {2011, "2011_1"},
    {2011, "2011_2"},
    {2010, "2010_2"},
    {2009, "2009_1"},
    {2008, "2008_3"},
};

// The T2 form sets to offer: that of the year, that of the release, and where the release has none, that of
// the year's first release.
constexpr YearRow kCorporateFormsOfYear[] = {
    {2011, "2011.2"},
};
constexpr ReleaseRow kCorporateFormsOfRelease[] = {
    {"VER2012_2", "2012.2"},
    {"VER2014_1", "2014.1"},
    {"VER2014_2", "2014.2"},
    {"VER2021_1", "2021.1"},
    {"VER2021_2", "2021.2"},
};
constexpr YearRow kCorporateFormsOfFirstRelease[] = {
    {2012, "2012.1"},
    {2013, "2013.1"},
};

// The version number for the Quebec agency.
constexpr YearRow kQuebecVersions[] = {
    {2013, "09"},
    {2014, "04"},
    {2015, "07"},
    {2016, "07"},
    {2017, "06"},
    {2018, "07"},
    {2019, "07"},
    {2020, "10"},
    {2021, "07"},
    {2022, "08"},
    {2023, "13"},
    {2024, "13"},
    {2025, "08"},
};
constexpr Text kQuebecVersionOfOtherYears = "01";

// The federal agency's approval of each T2 release. VER2019_2 and VER2020_1 were approved under one number.
constexpr ReleaseRow kFederalApprovals[] = {
    {"VER2026_1", "QV44"},
    {"VER2025_2", "QV43"},
    {"VER2025_1", "QV42"},
    {"VER2024_2", "QV41"},
    {"VER2024_1", "QV40"},
    {"VER2023_2", "QV39"},
    {"VER2023_1", "QV38"},
    {"VER2022_2", "QV37"},
    {"VER2022_1", "QV36"},
    {"VER2021_2", "QV35"},
    {"VER2021_1", "QV34"},
    {"VER2020_2", "QV33"},
    {"VER2019_2", "QV32"},
    {"VER2020_1", "QV32"},
    {"VER2019_1", "QV31"},
    {"VER2018_2", "QV30"},
    {"VER2018_1", "QV29"},
    {"VER2017_2", "QV28"},
    {"VER2017_1", "QV27"},
    {"VER2016_2", "QV26"},
    {"VER2016_1", "QV25"},
    {"VER2015_2", "QV24"},
    {"VER2015_1", "QV23"},
    {"VER2014_2", "QV22"},
    {"VER2014_1", "QV21"},
    {"VER2013_2", "QV20"},
    {"VER2013_1", "QV19"},
};
constexpr Text kFederalApprovalOtherwise = "QV39";

// clang-format on

const Edition& running() {
  const bool corporate = QVSettings::isT2();
  const bool professional = QVSettings::isPROVER();
  return *std::ranges::find_if(kEditions, [&](const Edition& edition) {
    return edition.corporate == corporate && edition.professional == professional;
  });
}

// The answer of the year's row, or the other one.
Text answerOf(int year, const auto& rows, const Text& otherwise) {
  const auto found = std::ranges::find(rows, year, &YearRow::year);
  return found == std::end(rows) ? otherwise : found->answer;
}

// The answer of the first row whose release is the running one, or the other one.
Text answerOfRelease(const auto& rows, const Text& otherwise) {
  const auto found = std::ranges::find_if(rows, &QVSettings::isT2VER, &ReleaseRow::release);
  return found == std::end(rows) ? otherwise : found->answer;
}

void addAllOf(int year, const auto& rows, std::vector<Text>& labels) {
  for (const YearRow& row : rows)
    if (row.year == year) labels.push_back(row.answer);
}

// The year and the release of the year: "2021.2".
Text yearAndRelease() {
  return Text(std::to_string(QVSettings::YOR()) + (QVSettings::isT2_VER2() ? ".2" : ".1"));
}

// The file extension of a year's returns: the digits of the year but the first two.
Text extensionOf(int year) {
  const std::string digits = std::to_string(year);
  return Text((QVSettings::isT2() ? "t2" : "t") + (digits.size() > 2 ? digits.substr(2) : ""));
}

}  // namespace

Text OptionsMgr::productVersion() {
  initialize();
  return running().version;
}

Text OptionsMgr::productName() {
  initialize();
  return running().name;
}

Text OptionsMgr::productType() {
  initialize();
  return running().type;
}

bool OptionsMgr::isNetFile() {
  initialize();
  return !QVSettings::isPROVER();
}

std::vector<Text> OptionsMgr::fileExtension() { return {extensionOf(yor())}; }

std::vector<Text> OptionsMgr::fileExtensionPreviousYear() {
  const int year = yor();
  if (!QVSettings::isT2()) return {extensionOf(year - 1)};
  // In the order in which the corporate product looks for them, this year's last.
  return {extensionOf(year - 1), extensionOf(year - 2), extensionOf(year)};
}

Text OptionsMgr::taxRatesFileName() { return Text("TaxRates" + std::to_string(yor()) + ".xml"); }

Text OptionsMgr::formsVersion() {
  const int year = yor();
  return QVSettings::isT2() ? yearAndRelease() : answerOf(year, kFormsToLoad, kFormsOfOtherYears);
}

std::vector<Text> OptionsMgr::formsVersions() {
  const int year = yor();
  std::vector<Text> labels;
  if (!QVSettings::isT2()) {
    addAllOf(year, kFormsToOffer, labels);
    return labels;
  }
  addAllOf(year, kCorporateFormsOfYear, labels);
  if (const Text label = answerOfRelease(kCorporateFormsOfRelease, nullptr); !label.isNil())
    labels.push_back(label);
  else
    addAllOf(year, kCorporateFormsOfFirstRelease, labels);
  return labels;
}

Text OptionsMgr::formsBuild() {
  initialize();
  return "01";
}

Text OptionsMgr::qProductVersion() {
  initialize();
  return answerOf(QVSettings::YOR(), kQuebecVersions, kQuebecVersionOfOtherYears);
}

Text OptionsMgr::federalApprovalNumber() {
  initialize();
  return answerOfRelease(kFederalApprovals, kFederalApprovalOtherwise);
}

Text OptionsMgr::productIDUpdateCheck() {
  initialize();
  return QVSettings::isT2() ? yearAndRelease() : Text(std::to_string(QVSettings::YOR()));
}

Text OptionsMgr::softwareDeveloperCode() {
  initialize();
  return "";
}

Text OptionsMgr::dotMRQFilesPath() { return softwareDeveloperCode(); }

Calendar OptionsMgr::gregorianCalendar() {
  initialize();
  return Calendar(0);
}

Value OptionsMgr::appConstantValue(const Text& key) {
  const Dictionary* options = store().options();
  const Value* entry = options && !key.isNil() ? options->find(key) : nullptr;
  if (!entry) return Text("");
  if (const Number* number = entry->asNumber()) return number->stringValue();
  return *entry;
}

}  // namespace qorvane::inline v1
