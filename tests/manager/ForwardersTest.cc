// The facade's settings: every published operation is there, under its own name, and does to the facade's
// store what the store's operation does to any store.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <variant>

#include "qorvane/desktop/MemoryFileManager.h"
#include "qorvane/manager/OptionsMgr.h"
#include "tests/Table.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using testing_support::Row;
using testing_support::table;

using Answer = std::variant<Text, bool, int, Value, Color, std::optional<FontDescriptor>, NumberFormatter*,
                            DateFormatter*, std::monostate>;
// In the order of Answer, as the published list calls them.
constexpr const char* kTypes[] = {
    "text", "flag", "integer", "date", "colour", "font", "number formatter", "date formatter", "-"};

// A value to set, another for each number: 1 is true, 2 is false.
template <class T>
T sample(int number) {
  if constexpr (std::is_same_v<T, bool>)
    return number == 1;
  else if constexpr (std::is_same_v<T, int>)
    return number;
  else if constexpr (std::is_same_v<T, Text>)
    return Text("sample " + std::to_string(number));
  else if constexpr (std::is_same_v<T, Value>)
    return Number(number + 0.5);
  else if constexpr (std::is_same_v<T, std::optional<Color>>)
    return number == 1 ? Options().illegtimateOverridenBackColor() : Options().calculatedCellBackColor();
  else
    return FontDescriptor(sample<Text>(number), number + 0.5);
}

struct Operation {
  /// The place of its value's type in Answer.
  std::size_t type;
  std::function<Answer(Options&)> get;
  std::function<void(Options&, int)> set;
};
using Operations = std::map<std::string, Operation>;

template <class T>
Answer asAnswer(T value) {
  return Answer(std::in_place_type<T>, std::move(value));
}

template <class T>
const std::size_t kTypeOf = Answer(std::in_place_type<T>).index();
template <>
const std::size_t kTypeOf<Color> = 4;
template <>
const std::size_t kTypeOf<std::optional<Color>> = 4;

// An operation of the facade, which works on the facade's store, whatever store it is given here.
template <class T>
Operation operation(T (*getter)()) {
  return {kTypeOf<T>, [getter](Options&) { return asAnswer(getter()); }, nullptr};
}
template <class T>
Operation operation(void (*setter)(T)) {
  using Plain = std::remove_cvref_t<T>;
  return {kTypeOf<Plain>, nullptr, [setter](Options&, int number) { setter(sample<Plain>(number)); }};
}
// An operation of the store.
template <class T>
Operation operation(T (Options::*getter)()) {
  return {kTypeOf<T>, [getter](Options& store) { return asAnswer((store.*getter)()); }, nullptr};
}
template <class T>
Operation operation(void (Options::*setter)(T)) {
  using Plain = std::remove_cvref_t<T>;
  return {kTypeOf<Plain>, nullptr,
          [setter](Options& store, int number) { (store.*setter)(sample<Plain>(number)); }};
}

// Not options, and of one name in the facade and in the store.
#define FORMATTERS                        \
  FORMATTER(numberFormatter)              \
  FORMATTER(numberFormatterWithoutDollar) \
  FORMATTER(numberFormatterForEditing) FORMATTER(yearMonthDateFormatter)

const Operations& facadeOperations() {
  static const Operations operations = {
#define FORWARD(getter, setter, storeGetter, storeSetter) \
  {#getter, operation(&OptionsMgr::getter)}, {#setter, operation(&OptionsMgr::setter)},
#define FORWARD_READ(getter, storeGetter) {#getter, operation(&OptionsMgr::getter)},
#define FORWARD_FLAG FORWARD
#include "qorvane/store/facade-names.def"
#define FORMATTER(getter) {#getter, operation(&OptionsMgr::getter)},
      FORMATTERS
#undef FORMATTER
  };
  return operations;
}

const Operations& storeOperations() {
  static const Operations operations = {
#define FORWARD(getter, setter, storeGetter, storeSetter) \
  {#storeGetter, operation(&Options::storeGetter)}, {#storeSetter, operation(&Options::storeSetter)},
#define FORWARD_READ(getter, storeGetter) {#storeGetter, operation(&Options::storeGetter)},
#include "qorvane/store/facade-names.def"
#define FORMATTER(getter) {#getter, operation(&Options::getter)},
      FORMATTERS
#undef FORMATTER
      {"preparerTaxpyersNameAsLastYr",
       {1, [](Options& store) { return asAnswer(store.preparerTaxpyersNameAsLastYr() == Text("YES")); },
        nullptr}},
      {"setPreparerTaxpyersNameAsLastYr",
       {1, nullptr,
        [](Options& store, int number) {
          store.setPreparerTaxpyersNameAsLastYr(number == 1 ? Text("YES") : Text("NO"));
        }}},
  };
  return operations;
}

// The published list: facade operation, store operation, type. Those that are not in the tables above have
// tests of their own.
std::vector<Row> published() {
  std::vector<Row> rows = table("manager/facade.tsv", 3);
  std::erase_if(rows, [](const Row& row) { return row[0] == "saveOptions" || row[0] == "-helpFilePath"; });
  return rows;
}

class ForwardersTest : public testing_support::StoreTest {
 protected:
  // The folder getters make what the sample texts name.
  MemoryFileManager folders;
};

TEST_F(ForwardersTest, AreThePublishedOperationsAndNoOthers) {
  std::set<std::string> names;
  for (const Row& row : published()) {
    EXPECT_TRUE(names.insert(row[0]).second) << row[0] << " is listed twice";
    const auto here = facadeOperations().find(row[0]);
    if (here == facadeOperations().end()) {
      ADD_FAILURE() << row[0] << " is gone: programs that use it stop building";
      continue;
    }
    EXPECT_STREQ(kTypes[here->second.type], row[2].c_str()) << row[0];
    EXPECT_TRUE(storeOperations().contains(row[1])) << row[1];
    EXPECT_EQ(here->second.set != nullptr, row[0].starts_with("set")) << row[0];
  }
  for (const auto& [name, operation] : facadeOperations())
    EXPECT_TRUE(names.contains(name)) << name << " is not published";
}

class ReachTest : public ForwardersTest, public testing::WithParamInterface<bool> {
 protected:
  bool corporate() const { return GetParam(); }
  Text domain() const { return corporate() ? Text("QorvaneT2Settings2020") : Text("QorvaneT1Settings2020"); }

  // All getters of the facade answer what the named ones of the other store answer.
  void expectTheSameAnswers() {
    for (const Row& row : getters)
      EXPECT_TRUE(facadeOperations().at(row[0]).get(other) == storeOperations().at(row[1]).get(other))
          << row[0];
  }
  void expectTheSameEntries() {
    OptionsMgr::saveOptions();
    const Value saved = defaults.objectForKey(domain());
    EXPECT_TRUE(isIdentical(saved, Value(*other.options()))) << saved << "\n" << Value(*other.options());
  }

  std::vector<Row> getters;
  Options other;
};

TEST_P(ReachTest, EachOperationDoesWhatTheStoresDoes) {
  useProduct(corporate(), 2020);
  std::vector<Row> setters;
  for (const Row& row : published()) (row[0].starts_with("set") ? setters : getters).push_back(row);
  OptionsMgr::isEnglish();
  other.loadOptions();
  expectTheSameAnswers();
  expectTheSameEntries();

  std::set<std::string> withoutEffect;
  for (const Row& row : setters) {
    SCOPED_TRACE(row[0]);
    const Dictionary before = *other.options();
    bool changed = false;
    for (const int number : {1, 2}) {
      storeOperations().at(row[1]).set(other, number);
      facadeOperations().at(row[0]).set(other, number);
      changed = changed || !isIdentical(Value(before), Value(*other.options()));
      expectTheSameEntries();
      expectTheSameAnswers();
    }
    if (!changed) withoutEffect.insert(row[0]);
  }
  // The corporate identifier of the representative is not the personal product's to set.
  EXPECT_EQ(withoutEffect, corporate() ? std::set<std::string>{} : std::set<std::string>{"setRc59RepID"});
}

INSTANTIATE_TEST_SUITE_P(OptionsMgr, ReachTest, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& corporate) {
                           return std::string(corporate.param ? "T2" : "T1");
                         });

TEST_F(ForwardersTest, TheNamesAsLastYearAreAFlagKeptAsAText) {
  OptionsMgr::setPrepTaxpyersNameAsLastYr(true);
  EXPECT_TRUE(OptionsMgr::prepTaxpyersNameAsLastYr());
  EXPECT_EQ(OptionsMgr::appConstantValue("TaxpayersSameName"), Value(Text("YES")));
  OptionsMgr::setPrepTaxpyersNameAsLastYr(false);
  EXPECT_FALSE(OptionsMgr::prepTaxpyersNameAsLastYr());
  EXPECT_EQ(OptionsMgr::appConstantValue("TaxpayersSameName"), Value(Text("NO")));
}

struct StoredText {
  const char* name;
  const char* text;
  bool on;
  friend std::ostream& operator<<(std::ostream& out, const StoredText& stored) { return out << stored.text; }
};

class StoredNamesTest : public ForwardersTest, public testing::WithParamInterface<StoredText> {};

TEST_P(StoredNamesTest, AreTrueOnExactlyYes) {
  defaults.setObject(Dictionary{{"TaxpayersSameName", Text(std::string(GetParam().text))}},
                     "QorvaneT1Settings2020");
  EXPECT_EQ(OptionsMgr::prepTaxpyersNameAsLastYr(), GetParam().on);
}

INSTANTIATE_TEST_SUITE_P(OptionsMgr, StoredNamesTest,
                         testing::Values(StoredText{"Yes", "YES", true}, StoredText{"No", "NO", false},
                                         StoredText{"One", "1", false}, StoredText{"LowerCase", "yes", false},
                                         StoredText{"Capital", "Yes", false},
                                         StoredText{"Blank", "YES ", false},
                                         StoredText{"True", "true", false}, StoredText{"Empty", "", false}),
                         [](const testing::TestParamInfo<StoredText>& stored) {
                           return std::string(stored.param.name);
                         });

TEST_F(ForwardersTest, TheFilingNumberIsReadUnderThreeNamesAndWrittenUnderOne) {
  OptionsMgr::setEfileNumber("A1234");
  EXPECT_EQ(OptionsMgr::efileNumber(), Text("A1234"));
  EXPECT_EQ(OptionsMgr::transmitterEFileNumber(), Text("A1234"));
  EXPECT_EQ(OptionsMgr::preparerEfileNumber(), Text("A1234"));
}

TEST_F(ForwardersTest, TheFootersFontIsTheStoresPrintFontForFooter) {
  const FontDescriptor font("Courier-Bold", 14);
  OptionsMgr::setPrintFontForHeader(FontDescriptor("Helvetica", 10));
  OptionsMgr::setPrintFontFotFooter(font);
  EXPECT_EQ(OptionsMgr::printFontFotFooter(), font);
  OptionsMgr::saveOptions();
  Options store;
  store.loadOptions();
  EXPECT_EQ(store.printFontForFooter(), font);
  EXPECT_EQ(store.printFontForHeader(), FontDescriptor("Helvetica", 14)) << "they share their size";
}

TEST_F(ForwardersTest, TextsAreHandedOnAsTheObjectsTheyAre) {
  const Text city(std::string("Montréal"));
  OptionsMgr::setPreparerCity(city);
  EXPECT_TRUE(OptionsMgr::preparerCity().isSameObject(city));
  OptionsMgr::setPreparerCity(nullptr);
  EXPECT_EQ(OptionsMgr::preparerCity(), Text("")) << "what nil means is the store's affair";
}

TEST_F(ForwardersTest, FormattersAreTheStoresOwn) {
  Options store;
  store.loadOptions();
  EXPECT_EQ(OptionsMgr::numberFormatter(), store.numberFormatter());
  EXPECT_EQ(OptionsMgr::numberFormatter()->stringFromNumber(1234.5), Text("1,234.50"));
  EXPECT_EQ(OptionsMgr::numberFormatterWithoutDollar(), store.numberFormatterWithoutDollar());
  EXPECT_EQ(OptionsMgr::numberFormatterForEditing(), store.numberFormatterForEditing());
  EXPECT_EQ(OptionsMgr::yearMonthDateFormatter(), store.yearMonthDateFormatter());
}

TEST_F(ForwardersTest, TheHelpFileIsAskedOfAnInstance) {
  EXPECT_EQ(OptionsMgr().helpFilePath(), Options().helpFile());
  EXPECT_TRUE(OptionsMgr().helpFilePath().view().ends_with("/../Help/QorvaneProHelp.chm"));
}

}  // namespace
}  // namespace qorvane
