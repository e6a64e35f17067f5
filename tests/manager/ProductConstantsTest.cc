// Product, year, release and file-name constants, for every product, edition, year and release.
#include <gtest/gtest.h>

#include <set>

#include "qorvane/manager/OptionsMgr.h"
#include "tests/Table.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using testing_support::Row;
using testing_support::table;
using testing_support::words;

Row strings(const std::vector<Text>& texts) {
  Row all;
  for (const Text& text : texts) all.push_back(text.string());
  return all;
}

class ProductConstantsTest : public testing_support::StoreTest {
 protected:
  static void use(bool corporate, int year, const std::string& release = "", bool professional = true) {
    QVSettings::setProduct({.corporate = corporate,
                            .professional = professional,
                            .taxYear = year,
                            .release = Text(release == "-" ? "" : release)});
  }

  /// Runs the check for each year, edition and release of the product.
  template <class Check>
  static void forEach(bool corporate, const std::string& years, std::size_t columns, Check check) {
    for (const Row& year : table("manager/" + years, columns))
      for (const bool professional : {true, false})
        for (const Row& release : table("manager/releases.tsv", 4)) {
          SCOPED_TRACE((corporate ? "T2 " : "T1 ") + year[0] + " " + release[0] +
                       (professional ? " professional" : " single-filer"));
          use(corporate, std::stoi(year[0]), release[0], professional);
          check(year, release);
        }
  }
};

TEST_F(ProductConstantsTest, TheTablesCoverTheYearsFrom2007To2027) {
  for (const auto& [file, columns] : {std::pair{"manager/years-t1.tsv", 8}, {"manager/years-t2.tsv", 9}}) {
    int year = 2007;
    for (const Row& row : table(file, static_cast<std::size_t>(columns)))
      EXPECT_EQ(row[0], std::to_string(year++)) << file;
    EXPECT_EQ(year, 2028) << file;
  }
}

TEST_F(ProductConstantsTest, ThePersonalProductByYear) {
  forEach(false, "years-t1.tsv", 8, [](const Row& year, const Row&) {
    EXPECT_EQ(strings(OptionsMgr::fileExtension()), Row{year[1]});
    EXPECT_EQ(strings(OptionsMgr::fileExtensionPreviousYear()), Row{year[2]});
    EXPECT_EQ(OptionsMgr::taxRatesFileName().view(), year[3]);
    EXPECT_EQ(OptionsMgr::formsVersion().view(), year[4]);
    EXPECT_EQ(strings(OptionsMgr::formsVersions()), words(year[5]));
    EXPECT_EQ(OptionsMgr::qProductVersion().view(), year[6]);
    EXPECT_EQ(OptionsMgr::productIDUpdateCheck().view(), year[7]);
    EXPECT_EQ(OptionsMgr::federalApprovalNumber(), Text("QV39")) << "no T2 release runs";
  });
}

TEST_F(ProductConstantsTest, TheCorporateProductByYearAndRelease) {
  forEach(true, "years-t2.tsv", 9, [](const Row& year, const Row& release) {
    const std::string& label = year[release[3] == "yes" ? 5 : 4];
    Row offered = words(year[7]);
    for (const std::string& more : words(release[2] == "-" ? year[8] : release[2])) offered.push_back(more);
    EXPECT_EQ(strings(OptionsMgr::fileExtension()), Row{year[1]});
    EXPECT_EQ(strings(OptionsMgr::fileExtensionPreviousYear()), words(year[2]));
    EXPECT_EQ(OptionsMgr::taxRatesFileName().view(), year[3]);
    EXPECT_EQ(OptionsMgr::formsVersion().view(), label);
    EXPECT_EQ(strings(OptionsMgr::formsVersions()), offered);
    EXPECT_EQ(OptionsMgr::qProductVersion().view(), year[6]);
    EXPECT_EQ(OptionsMgr::productIDUpdateCheck().view(), label);
    EXPECT_EQ(OptionsMgr::federalApprovalNumber().view(), release[1]);
  });
}

TEST_F(ProductConstantsTest, TheEditions) {
  for (const Row& row : table("manager/editions.tsv", 6))
    for (const int year : {2007, 2020, 2027})
      for (const char* release : {"", "VER2021_2"}) {
        SCOPED_TRACE(row[0] + " " + row[1]);
        use(row[0] == "T2", year, release, row[1] == "yes");
        EXPECT_EQ(OptionsMgr::productVersion().view(), row[2]);
        EXPECT_EQ(OptionsMgr::productName().view(), row[3]);
        EXPECT_EQ(OptionsMgr::productType().view(), row[4]);
        EXPECT_EQ(OptionsMgr::isNetFile(), row[5] == "yes");
      }
}

TEST_F(ProductConstantsTest, TheSameForEveryProductAndYear) {
  for (const bool corporate : {false, true})
    for (const int year : {2007, 2020, 2027}) {
      use(corporate, year);
      EXPECT_EQ(OptionsMgr::formsBuild(), Text("01"));
      EXPECT_EQ(OptionsMgr::softwareDeveloperCode(), Text("")) << "empty, not nil";
      EXPECT_EQ(OptionsMgr::dotMRQFilesPath(), Text("")) << "empty, not nil";
    }
}

TEST_F(ProductConstantsTest, YearsWithoutFormsOfTheirOwn) {
  use(false, 2021);
  EXPECT_EQ(OptionsMgr::formsVersion(), Text("2009_1"));
  EXPECT_TRUE(OptionsMgr::formsVersions().empty());
}

TEST_F(ProductConstantsTest, TheYearsFormsStandBeforeTheReleases) {
  use(true, 2011, "VER2012_2");
  EXPECT_EQ(strings(OptionsMgr::formsVersions()), (Row{"2011.2", "2012.2"}));
}

TEST_F(ProductConstantsTest, LastYearsCorporateExtensionsEndWithThisYears) {
  use(true, 2021);
  EXPECT_EQ(strings(OptionsMgr::fileExtensionPreviousYear()), (Row{"t220", "t219", "t221"}));
}

TEST_F(ProductConstantsTest, QuebecNumbersYearsFrom2013To2025) {
  for (const bool corporate : {false, true})
    for (const int year : {2012, 2026, 0, -2020, 20200}) {
      use(corporate, year);
      EXPECT_EQ(OptionsMgr::qProductVersion(), Text("01")) << year;
    }
}

TEST_F(ProductConstantsTest, ExtensionsDropTheFirstTwoCharactersOfAnyYear) {
  const std::pair<int, const char*> kYears[] = {{99, "t"},       {5, "t"},       {0, "t"},      {-5, "t"},
                                                {101, "t1"},     {2000, "t00"},  {2009, "t09"}, {-12, "t2"},
                                                {-2020, "t020"}, {12345, "t345"}};
  for (const auto& [year, extension] : kYears) {
    use(false, year);
    EXPECT_EQ(strings(OptionsMgr::fileExtension()), Row{extension}) << year;
  }
  use(false, 2000);
  EXPECT_EQ(strings(OptionsMgr::fileExtensionPreviousYear()), Row{"t99"});
}

TEST_F(ProductConstantsTest, ListsAreNewOnEachCall) {
  use(true, 2021);
  OptionsMgr::fileExtension().push_back("more");
  auto offered = OptionsMgr::formsVersions();
  offered.push_back("more");
  EXPECT_EQ(OptionsMgr::fileExtension().size(), 1u);
  EXPECT_TRUE(OptionsMgr::formsVersions().empty());
}

// A program that answers to several releases at once, and remembers what it was asked.
class ManyReleases : public QVSettings::Source {
 public:
  bool isT2() const override { return true; }
  int YOR() const override { return 2012; }
  bool isPROVER() const override { return true; }
  bool isT2_VER2() const override { return false; }
  bool isT2VER(const Text& release) const override {
    asked.push_back(release.string());
    return releases.contains(release.string());
  }

  std::set<std::string> releases;
  mutable Row asked;
};

TEST_F(ProductConstantsTest, ReleasesAreAskedInTheirOrderUntilOneAnswers) {
  Row approvals;
  for (const Row& row : table("manager/releases.tsv", 4))
    if (approvals.size() < 27) approvals.push_back(row[0]);
  ManyReleases source;
  QVSettings::setSource(&source);

  EXPECT_EQ(OptionsMgr::federalApprovalNumber(), Text("QV39"));
  EXPECT_EQ(source.asked, approvals);
  source.asked.clear();
  EXPECT_EQ(strings(OptionsMgr::formsVersions()), Row{"2012.1"});
  EXPECT_EQ(source.asked, (Row{"VER2012_2", "VER2014_1", "VER2014_2", "VER2021_1", "VER2021_2"}));

  source.releases = {"VER2021_1", "VER2014_2", "VER2020_1"};
  source.asked.clear();
  EXPECT_EQ(strings(OptionsMgr::formsVersions()), Row{"2014.2"});
  EXPECT_EQ(source.asked, (Row{"VER2012_2", "VER2014_1", "VER2014_2"}));
  EXPECT_EQ(OptionsMgr::federalApprovalNumber(), Text("QV34"));
  QVSettings::setSource(nullptr);
}

TEST_F(ProductConstantsTest, ACalendarInTheZoneOfGmt) {
  Calendar first = OptionsMgr::gregorianCalendar();
  EXPECT_EQ(first.secondsFromGMT(), 0);
  EXPECT_EQ(first.fieldsFromDate(Date{0}), (CalendarFields{.year = 2001}));
  first = Calendar(3600);
  EXPECT_EQ(OptionsMgr::gregorianCalendar().secondsFromGMT(), 0) << "a new one each time";
}

TEST_F(ProductConstantsTest, AnyEntryCanBeRead) {
  const Value list = Array{Value(Text("a")), Value(Number(1))};
  defaults.setObject(Dictionary{{"five", Number(5)},
                                {"half", Number(0.5)},
                                {"yes", Number(true)},
                                {"word", Text("w")},
                                {"empty", Text("")},
                                {"", Text("nameless")},
                                {"list", list},
                                {"bytes", Data("ab")},
                                {"when", Date{5}}},
                     "QorvaneT1Settings2020");
  EXPECT_EQ(OptionsMgr::appConstantValue("five"), Value(Text("5")));
  EXPECT_EQ(OptionsMgr::appConstantValue("half"), Value(Text("0.5")));
  EXPECT_EQ(OptionsMgr::appConstantValue("yes"), Value(Text("1")));
  EXPECT_EQ(OptionsMgr::appConstantValue("word"), Value(Text("w")));
  EXPECT_EQ(OptionsMgr::appConstantValue("empty"), Value(Text("")));
  EXPECT_EQ(OptionsMgr::appConstantValue(""), Value(Text("nameless")));
  EXPECT_EQ(OptionsMgr::appConstantValue("list"), list);
  EXPECT_EQ(OptionsMgr::appConstantValue("bytes"), Value(Data("ab")));
  EXPECT_EQ(OptionsMgr::appConstantValue("when"), Value(Date{5}));
  EXPECT_EQ(OptionsMgr::appConstantValue("missing"), Value(Text(""))) << "empty, not nil";
  EXPECT_EQ(OptionsMgr::appConstantValue(nullptr), Value(Text("")));
}

TEST_F(ProductConstantsTest, AStoreWithoutADictionaryHasNoEntries) {
  const OptionsMgr unloaded;
  EXPECT_EQ(OptionsMgr::appConstantValue("Language"), Value(Text("")));
}

}  // namespace
}  // namespace qorvane
