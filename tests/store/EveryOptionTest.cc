// What holds for every option, tried on each line of options.txt in both products.
#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/foundation/Data.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/store/OptionTable.h"
#include "tests/store/ExpectedOptions.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::ExpectedOption;
using testing_support::expectedOptions;
using testing_support::kProductKinds;
using testing_support::nameOf;
using testing_support::ProductKind;
using testing_support::StoreWorld;

// Equal in depth, numbers of one kind: a failure prints both.
::testing::AssertionResult identical(const Value& actual, const Value& expected) {
  if (isIdentical(actual, expected)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << kindName(actual.kind()) << " " << actual << " instead of "
                                       << kindName(expected.kind()) << " " << expected;
}

// A text equal to the value's but another object, as it would come from a field of a form; else the value.
Value another(const Value& value) { return value.asText() ? Value(Text(value.asText()->string())) : value; }

struct Trial {
  const ExpectedOption& expected;
  const OptionRow& row;
  ProductKind product;
  std::string_view language;
  Text key;
  StoreWorld& world;

  Options& store() const { return world.store; }
  Value read() const { return row.read(world.store); }
  void write(const Value& value) const { row.write(world.store, value); }
  Value entry() const { return world.entry(key); }
  Value fallback() const { return expected.fallbackIn(language); }
  // The entry that a value leaves, whole: a font's size stands under another key.
  Dictionary entriesOf(const Value& value) const {
    Dictionary entries{{key, expected.entryOf(value)}};
    if (expected.form == "font")
      entries.set(Text("HeaderFontSize"),
                  value == expected.samples()[0] ? Text("12.000000") : Text("9.500000"));
    return entries;
  }
  // The setter has no effect in this product.
  bool deaf() const {
    return expected.setting == "direct, corporate only" && product == ProductKind::Personal;
  }
  // The getter does not look at the entry in this product.
  bool blind() const { return expected.getter == "isStepsMode" && product == ProductKind::Corporate; }
};

void forEveryOption(const std::function<void(const Trial&)>& body, const char* language = "English") {
  for (const ProductKind product : kProductKinds) {
    StoreWorld world(product, language);
    for (const ExpectedOption& expected : expectedOptions()) {
      if (expected.triedElsewhere()) continue;
      SCOPED_TRACE(std::string(nameOf(product)) + " " + language + " " + expected.getter);
      const OptionRow* row = findProperty(expected.getter);
      ASSERT_TRUE(row);
      ASSERT_TRUE(row->write);
      world.start();
      body({expected, *row, product, language, expected.key(product), world});
    }
  }
}

TEST(EveryOptionTest, StandsOnceInTheTableUnderItsNamesAndKeys) {
  std::vector<std::string> named;
  for (const ExpectedOption& expected : expectedOptions()) {
    SCOPED_TRACE(expected.getter);
    named.push_back(expected.getter);
    const OptionRow* row = findProperty(expected.getter);
    ASSERT_TRUE(row);
    std::string setter = "set" + expected.getter;
    setter[3] = static_cast<char>(std::toupper(static_cast<unsigned char>(setter[3])));
    EXPECT_EQ(row->setter, expected.readOnly() ? "" : setter);
    EXPECT_EQ(row->secret, expected.getter == "preparerPassword" || expected.getter == "que_AccessNumber");
    for (const ProductKind product : kProductKinds) {
      StoreWorld::become(product);
      EXPECT_EQ(row->key(), expected.derived() ? Text() : expected.key(product)) << nameOf(product);
    }
    QVSettings::setSource(nullptr);
  }
  std::vector<std::string> rows;
  for (const OptionRow& row : optionTable()) rows.emplace_back(row.name);
  EXPECT_EQ(rows, named);
}

TEST(EveryOptionTest, AFreshReadAnswersTheDefaultAndStoresItOrNot) {
  for (const char* language : {"English", "French"})
    forEveryOption(
        [](const Trial& trial) {
          const bool answersFalse = trial.expected.reading == "stores, answers false";
          EXPECT_TRUE(identical(trial.read(), answersFalse ? Value(Number(false)) : trial.fallback()));
          Dictionary expected;
          if (trial.expected.stores()) expected.set(trial.key, trial.expected.entryOf(trial.fallback()));
          EXPECT_TRUE(identical(trial.world.entries(), expected));
          EXPECT_TRUE(identical(trial.read(), trial.fallback()));
          EXPECT_TRUE(identical(trial.world.entries(), expected));
          EXPECT_TRUE(identical(trial.row.fallback(), trial.fallback()));
          EXPECT_FALSE(StoreWorld::announced());
        },
        language);
}

TEST(EveryOptionTest, AnEmptyEntryCountsAsMissingOnlyWhereSaid) {
  forEveryOption([](const Trial& trial) {
    if (!trial.expected.isText()) return;
    const Text empty{std::string()};
    trial.world.start({{trial.key, empty}});
    const bool label = trial.expected.form == "translated";
    EXPECT_TRUE(identical(trial.read(), trial.expected.overEmpty() || label ? trial.fallback() : Text("")));
    EXPECT_TRUE(identical(trial.entry(), trial.expected.overEmpty() ? trial.fallback() : Text("")));
    // Where the default is empty, too, only the object tells that it was put there.
    EXPECT_EQ(trial.entry().asText()->isSameObject(empty), !trial.expected.overEmpty());
  });
}

TEST(EveryOptionTest, AValueIsKeptInItsFormAndReadBack) {
  forEveryOption([](const Trial& trial) {
    for (const Value& sample : trial.expected.samples()) {
      SCOPED_TRACE(sample);
      trial.write(sample);
      if (trial.deaf()) {
        EXPECT_TRUE(trial.world.entries().empty());
        continue;
      }
      // Setting steps to what the corporate product always answers is no change.
      if (trial.blind() && !sample.boolValue()) continue;
      EXPECT_TRUE(identical(trial.entry(), trial.expected.entryOf(sample)));
      EXPECT_TRUE(identical(trial.read(), trial.blind() ? Value(Number(false)) : sample));
      if (trial.expected.writesOthers()) continue;
      EXPECT_TRUE(identical(trial.world.entries(), trial.entriesOf(sample)));
    }
  });
}

TEST(EveryOptionTest, OnlyAComparingSetterAnnouncesAndOnlyAChange) {
  forEveryOption([](const Trial& trial) {
    const auto samples = trial.expected.samples();
    const bool always = trial.expected.setting == "always announced";
    trial.world.start(trial.entriesOf(samples[0]));

    trial.write(another(samples[0]));
    EXPECT_EQ(StoreWorld::announced(), always || trial.expected.setting == "comparing identity")
        << "same text";
    EXPECT_TRUE(identical(trial.world.entries(), trial.entriesOf(samples[0])));

    trial.write(samples[1]);
    EXPECT_EQ(StoreWorld::announced(), always || trial.expected.compares()) << "change";
    if (!trial.blind()) {
      const Value& now = samples[trial.deaf() ? 0 : 1];
      EXPECT_TRUE(identical(trial.entry(), trial.expected.entryOf(now)));
    }

    trial.write(trial.read());
    EXPECT_EQ(StoreWorld::announced(), always) << "same object";
  });
}

TEST(EveryOptionTest, InBulkModeEveryValueIsStoredAndNoneAnnounced) {
  forEveryOption([](const Trial& trial) {
    const BulkSetting bulk;
    for (const Value& sample : trial.expected.samples())
      for (const Value& value : {sample, sample, another(sample)}) {
        trial.world.start();
        trial.write(value);
        EXPECT_FALSE(StoreWorld::announced());
        if (trial.deaf()) {
          EXPECT_TRUE(trial.world.entries().empty());
          continue;
        }
        EXPECT_TRUE(identical(trial.entry(), trial.expected.entryOf(value)));
        if (trial.expected.writesOthers()) continue;
        // Nothing else: the getter, which would store a default, is not asked.
        EXPECT_TRUE(identical(trial.world.entries(), trial.entriesOf(value)));
      }
  });
}

TEST(EveryOptionTest, NilIsStoredOrIgnoredAsSaid) {
  for (const bool bulk : {false, true})
    forEveryOption([bulk](const Trial& trial) {
      const ExpectedOption& expected = trial.expected;
      if (expected.nil == "-") return;
      bSettingVals = bulk;
      const Value sample = expected.samples()[0];
      trial.world.start(trial.entriesOf(sample));
      const bool announces = !bulk && expected.nil != "ignored" &&
                             (expected.compares() || expected.setting == "always announced");
      const bool stored = expected.nilIsStored() && !trial.deaf();

      trial.write(nullptr);
      EXPECT_EQ(StoreWorld::announced(), announces);
      EXPECT_TRUE(identical(trial.entry(), stored ? expected.nilEntry() : expected.entryOf(sample)));

      // Nil equals nothing, so that it is a change again; unless it was made "" before.
      trial.write(nullptr);
      EXPECT_EQ(StoreWorld::announced(), announces && expected.setting != "comparing, nil first");
      EXPECT_TRUE(identical(trial.entry(), stored ? expected.nilEntry() : expected.entryOf(sample)));

      if (expected.nil == "ignored") {
        EXPECT_TRUE(identical(trial.world.entries(), trial.entriesOf(sample)));
      }

      // And on a store without the entry.
      trial.world.start();
      trial.write(nullptr);
      if (stored) {
        EXPECT_TRUE(identical(trial.entry(), expected.nilEntry()));
      }
      bSettingVals = false;
    });
}

TEST(EveryOptionTest, TheEmptyTextIsAValueLikeAnyOther) {
  forEveryOption([](const Trial& trial) {
    const ExpectedOption& expected = trial.expected;
    if (!expected.isText() || trial.deaf()) return;
    trial.world.start(trial.entriesOf(expected.samples()[0]));
    trial.write(Text(""));
    const bool asNil = expected.setting == "direct, length-tested";
    EXPECT_EQ(StoreWorld::announced(), expected.compares() || expected.setting == "always announced");
    EXPECT_TRUE(identical(trial.entry(), asNil ? expected.nilEntry() : Value(Text(""))));
  });
}

TEST(EveryOptionTest, AStoreThatWasNeverLoadedAnswersDefaultsAndIgnoresSetters) {
  forEveryOption([](const Trial& trial) {
    Options bare;
    const Observer never = NotificationCenter::defaultCenter().addObserver(
        "kStepFormsModeChangeEvt", [](const Notification&) { ADD_FAILURE() << "posted"; });
    const bool answersFalse = trial.expected.reading == "stores, answers false";
    for (const bool bulk : {false, true}) {
      bSettingVals = bulk;
      std::vector<Value> values = trial.expected.samples();
      if (trial.expected.nil != "-") values.push_back(nullptr);
      for (const Value& value : values) {
        trial.row.write(bare, value);
        EXPECT_TRUE(identical(trial.row.read(bare), answersFalse ? Value(Number(false)) : trial.fallback()));
        EXPECT_EQ(bare.options(), nullptr);
        EXPECT_FALSE(StoreWorld::announced());
      }
    }
    bSettingVals = false;
    EXPECT_TRUE(trial.world.defaults.empty());
  });
}

TEST(EveryOptionTest, AValueSurvivesSavingAndLoading) {
  forEveryOption([](const Trial& trial) {
    if (trial.deaf()) return;
    for (const Value& sample : trial.expected.samples()) {
      trial.world.start();
      const BulkSetting bulk;
      trial.write(sample);
      trial.store().saveOptions();
      bSettingVals = false;
      Options later;
      later.loadOptions();
      EXPECT_TRUE(identical(trial.row.read(later), trial.blind() ? Value(Number(false)) : sample));
      ASSERT_TRUE(later.options()->find(trial.key));
      EXPECT_TRUE(identical(*later.options()->find(trial.key), trial.expected.entryOf(sample)));
    }
    trial.world.defaults.setObject(nullptr, trial.store().settingsDomainKey());
  });
}

// ---- entries of another kind --------------------------------------------------------------------------

struct Conversion {
  Value entry;
  Value asText;  // nil: cannot be one.
  bool yes;      // "YES" exactly
  bool one;      // "1" exactly
  bool integerOne;
  bool truth;
  int integer;
};

// clang-format off
std::vector<Conversion> conversions() {
  const Value none;
  const double inf = std::numeric_limits<double>::infinity();
  return {
      // entry                         as text                     YES    1      =1     truth  integer
      {Text(""),                       Text(""),                   false, false, false, false, 0},
      {Text("YES"),                    Text("YES"),                true,  false, false, true,  0},
      {Text("yes"),                    Text("yes"),                false, false, false, true,  0},
      {Text("1"),                      Text("1"),                  false, true,  true,  true,  1},
      {Text("0"),                      Text("0"),                  false, false, false, false, 0},
      {Text("2"),                      Text("2"),                  false, false, false, true,  2},
      {Text(" +1 of 3"),               Text(" +1 of 3"),           false, false, true,  true,  1},
      {Text("99999999999"),            Text("99999999999"),        false, false, false, true,  2147483647},
      {Text("Zoë"),                    Text("Zoë"),                false, false, false, false, 0},
      {Number(0),                      Text("0"),                  false, false, false, false, 0},
      {Number(1),                      Text("1"),                  false, false, true,  true,  1},
      {Number(2),                      Text("2"),                  false, false, false, true,  2},
      {Number(std::int64_t{1} << 40),  Text("1099511627776"),      false, false, false, true,  2147483647},
      {Number(true),                   Text("1"),                  false, false, true,  true,  1},
      {Number(false),                  Text("0"),                  false, false, false, false, 0},
      {Number(1.5),                    Text("1.5"),                false, false, true,  true,  1},
      {Number(-inf),                   Text("-inf"),               false, false, false, true,  -2147483647 - 1},
      {Data("1"),                      none,                       false, false, false, false, 0},
      {Date{1},                        none,                       false, false, false, false, 0},
      {Array{},                        none,                       false, false, false, false, 0},
      {Array{Text("1"), Array{}},      none,                       false, false, false, false, 0},
      {Dictionary{{"1", Text("YES")}}, none,                       false, false, false, false, 0},
  };
}
// clang-format on

Value converted(const Trial& trial, const Conversion& conversion) {
  const std::string& form = trial.expected.form;
  if (trial.blind()) return Number(false);
  if (form == "YES/NO") return Number(conversion.yes);
  if (form == "1/0") return Number(conversion.one);
  if (form == "integer flag") return Number(conversion.integerOne);
  if (form == "boolean number") return Number(conversion.truth);
  if (form == "integer") return Number(conversion.integer);
  if (form == "date") return conversion.entry;
  if (form == "font")
    return conversion.asText.isNil() ? Value() : Text(conversion.asText.textValue().string() + ", 12");
  if (form == "translated") {
    // The first choice stands for whatever is none; only the second has a number that occurs here.
    if (!(conversion.asText == Value(Text("2")))) return trial.fallback();
    return trial.expected.getter == "mr69_AuthType" ? Text("2-Power of attorney")
                                                    : Text("2-Current year and preceding years");
  }
  if (trial.expected.overEmpty() && conversion.asText == Value(Text(""))) return trial.fallback();
  return conversion.asText;
}

TEST(EveryOptionTest, AnEntryOfAnotherKindReadsAsItConverts) {
  forEveryOption([](const Trial& trial) {
    for (const Conversion& conversion : conversions()) {
      SCOPED_TRACE(conversion.entry);
      trial.world.start({{trial.key, conversion.entry}});
      if (trial.expected.form == "font") trial.world.entries().set(Text("HeaderFontSize"), Text("12.000000"));
      EXPECT_TRUE(identical(trial.read(), converted(trial, conversion)));
      const bool replaced = trial.expected.overEmpty() && conversion.entry == Value(Text(""));
      EXPECT_TRUE(identical(trial.entry(), replaced ? trial.fallback() : conversion.entry)) << "kept";

      // And it gives way to a value.
      if (trial.deaf() || trial.blind()) continue;
      const Value sample = trial.expected.samples()[0];
      const BulkSetting bulk;
      trial.write(sample);
      EXPECT_TRUE(identical(trial.entry(), trial.expected.entryOf(sample)));
    }
  });
}

TEST(EveryOptionTest, AnEntryOfAnotherKindIsComparedByWhatItReadsAs) {
  forEveryOption([](const Trial& trial) {
    if (!trial.expected.compares() || trial.expected.form != "text") return;
    trial.world.start({{trial.key, Number(12)}});
    trial.write(Text(std::string("12")));
    EXPECT_EQ(StoreWorld::announced(), trial.expected.setting == "comparing identity");
    trial.world.start({{trial.key, Array{}}});
    trial.write(Text("x"));
    EXPECT_TRUE(StoreWorld::announced());
    EXPECT_TRUE(identical(trial.entry(), Text("x")));
  });
}

// ---- and what the table tells besides --------------------------------------------------------------------

TEST(EveryOptionTest, ChoicesAreKnownToTheTable) {
  struct ChoiceRow {
    const char* option;
    const char* list;
    bool isLabel;
  };
  const std::vector<ChoiceRow> expected = {
      {"preparerModeOfDelivery", "ModeOfDelivery", true},
      {"preparerNoticeOfAssAndTaxRefundOption", "NoticeOfAssAndRefundMapping", false},
      {"alberta_OrganizationType", "TypeOfOrganizationMapping", false},
      {"t1013LevelOfAuth", "LevelOfAuthorizationMapping", false},
      {"mr69_Authorization", "MR69OptionsMapping", true},
      {"mr69_AuthType", "MR69AuthoriztionOrPowerOfAttorneyMapping", true},
      {"rc59_LevelOfAuth", "LevelOfAuthorizationMapping", false},
      {"rc59AllowUpdateAccess", "RC59OptionsMapping", false},
  };
  std::size_t found = 0;
  for (const OptionRow& row : optionTable()) {
    const ChoiceList* list = row.choices;
    if (!list) continue;
    ASSERT_LT(found, expected.size());
    EXPECT_EQ(row.name, expected[found].option);
    EXPECT_EQ(list->name, expected[found].list);
    EXPECT_EQ(row.isLabel, expected[found].isLabel);
    ++found;
  }
  EXPECT_EQ(found, expected.size());
}

TEST(EveryOptionTest, AnOptionIsFoundByNameAndByTheKeyOfTheProduct) {
  const StoreWorld world;
  ASSERT_TRUE(findOption("repFirstName"));
  EXPECT_EQ(findOption("RepFirstName"), findOption("repFirstName"));
  EXPECT_EQ(findOption("PName"), findOption("preparerNameOfRepresentative"));
  EXPECT_EQ(findOption("no such option"), nullptr);
  EXPECT_EQ(findOption("~ behind the last name"), nullptr);
  StoreWorld::become(ProductKind::Corporate);
  EXPECT_EQ(findOption("RepFirstName"), nullptr);
  EXPECT_EQ(findOption("RepID"), findOption("t1013RepID"));
}

TEST(EveryOptionTest, TheProductIsAskedOnEachCall) {
  StoreWorld world;
  world.start();
  for (const char* name : {"repFirstName", "t1013RepID", "t1013BussinessNo"}) {
    SCOPED_TRACE(name);
    const OptionRow& row = *findProperty(name);
    StoreWorld::become(ProductKind::Personal);
    row.write(world.store, Text("one"));
    StoreWorld::become(ProductKind::Corporate);
    EXPECT_EQ(row.read(world.store), Value(Text("")));
    row.write(world.store, Text("two"));
    StoreWorld::become(ProductKind::Personal);
    EXPECT_EQ(row.read(world.store), Value(Text("one")));
  }
}

TEST(EveryOptionTest, WhatIsNoColourChangesNoColour) {
  StoreWorld world;
  world.start();
  for (const OptionRow& row : optionTable()) {
    if (row.type != OptionType::Color || !row.write) continue;
    row.read(world.store);  // The first read of one of them answers otherwise.
    const Value before = row.read(world.store);
    for (const Value& value : {Value(), Value(Text("red")), Value(Number(1))}) row.write(world.store, value);
    EXPECT_TRUE(isIdentical(row.read(world.store), before)) << row.name;
    EXPECT_THROW(row.write(world.store, Data("no archive")), Exception) << row.name;
  }
}

TEST(EveryOptionTest, DerivedAnswersFollowTheTaxYear) {
  StoreWorld world;
  world.start();
  EXPECT_EQ(world.store.valueForKey("yor"), Value(Number(2020)));
  EXPECT_EQ(world.store.valueForKey("currentYear"), Value(Text("2020")));
  EXPECT_EQ(world.store.valueForKey("lastYear"), Value(Text("2019")));
  EXPECT_EQ(world.store.valueForKey("IsEfile"), Value(Number(true)));
  EXPECT_TRUE(world.entries().empty());
  for (const char* name : {"yor", "currentYear", "lastYear", "IsEfile"}) {
    EXPECT_EQ(findProperty(name)->write, nullptr);
    EXPECT_TRUE(findProperty(name)->fallback().isNil());
  }
}

}  // namespace
}  // namespace qorvane
