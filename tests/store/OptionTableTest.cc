// What the option table says of each option besides how it reads and writes: which entries are its own and
// which its setter writes, what is secret or this machine's, and its names in the facade.
#include "qorvane/store/OptionTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "tests/Table.h"
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
using testing_support::table;

using Names = std::set<std::string>;

Names namesWhere(bool OptionRow::*says) {
  Names names;
  for (const OptionRow& row : optionTable())
    if (row.*says) names.emplace(row.name);
  return names;
}

TEST(OptionTableTest, SaysWhatIsSecretAndWhatBelongsToTheMachine) {
  EXPECT_EQ(namesWhere(&OptionRow::secret), (Names{"preparerPassword", "que_AccessNumber"}));
  EXPECT_EQ(namesWhere(&OptionRow::machineSpecific),
            (Names{"printerNameChosen", "lastYrFileFolder", "clientFileFolder", "dotTaxFilesFolder",
                   "pdfFileFolder", "efileDataBaseFolder", "mrqDataBaseFolder", "t2ClientFileFolder",
                   "cifFileFolder"}));
}

TEST(OptionTableTest, KnowsTheKeysOfEitherProductWhicheverRuns) {
  for (const ProductKind running : kProductKinds) {
    StoreWorld::become(running);
    for (const ExpectedOption& expected : expectedOptions()) {
      if (expected.derived()) continue;
      const OptionRow& row = *findProperty(expected.getter);
      EXPECT_EQ(row.key({.corporate = false}), expected.key(ProductKind::Personal)) << expected.getter;
      EXPECT_EQ(row.key({.corporate = true}), expected.key(ProductKind::Corporate)) << expected.getter;
      EXPECT_EQ(row.key(), expected.key(running)) << expected.getter;
    }
  }
  QVSettings::setSource(nullptr);
}

Names keysOf(const std::vector<Text>& keys) {
  Names names;
  for (const Text& key : keys) names.insert(key.string());
  EXPECT_EQ(names.size(), keys.size()) << "a key stands twice";
  return names;
}

// The keys under which something else stands afterwards.
Names changedKeys(const Dictionary& before, const Dictionary& after) {
  Names changed;
  for (const auto& [key, value] : after)
    if (const Value* old = before.find(key); !old || !isIdentical(*old, value)) changed.insert(key.string());
  for (const auto& [key, value] : before)
    if (!after.find(key)) changed.insert(key.string());
  return changed;
}

TEST(OptionTableTest, NamesAllEntriesThatASetterWrites) {
  for (const ProductKind product : kProductKinds) {
    StoreWorld world(product);
    // What getters store on their first read is not a setter's doing.
    for (const ExpectedOption& expected : expectedOptions())
      if (!expected.triedElsewhere()) findProperty(expected.getter)->read(world.store);
    const Dictionary filled = world.entries();
    for (const ExpectedOption& expected : expectedOptions()) {
      if (expected.triedElsewhere()) continue;
      SCOPED_TRACE(std::string(nameOf(product)) + " " + expected.getter);
      const OptionRow& row = *findProperty(expected.getter);
      world.start(filled);
      for (const Text& key : row.furtherKeys) world.entries().set(key, Text("something else"));
      std::vector<Value> values = expected.samples();
      values.insert(values.begin() + 1, nullptr);
      Names written;
      for (const Value& value : values) {
        const Dictionary before = world.entries();
        row.write(world.store, value);
        written.merge(changedKeys(before, world.entries()));
      }
      // The personal product reads the T1013 identifier there and never writes it this way.
      const bool ignored = expected.getter == "rc59_RepID" && product == ProductKind::Personal;
      if (ignored) {
        EXPECT_EQ(written, Names());
      } else {
        EXPECT_EQ(written, keysOf(row.entries()));
      }
      EXPECT_EQ(row.entries().front(), row.key());
    }
  }
}

TEST(OptionTableTest, ListsTheFurtherEntriesAndKnowsWhichAreNobodys) {
  std::map<std::string, Names> further;
  Names derived;
  for (const OptionRow& row : optionTable()) {
    for (const Text& key : row.furtherKeys) {
      further[std::string(row.name)].insert(key.string());
      if (isDerivedEntry(key)) derived.insert(key.string());
    }
    EXPECT_EQ(row.entries({}).empty(), row.write == nullptr) << row.name;
    if (!row.key().isNil()) {
      EXPECT_FALSE(isDerivedEntry(row.key())) << row.name;
    }
  }
  EXPECT_EQ(further, (std::map<std::string, Names>{{"preparerProvince", {"PProvCode", "PProvandPCode"}},
                                                   {"preparerPostalCode", {"PProvandPCode"}},
                                                   {"t1013ExpiryDate", {"T1013BussinessNo"}},
                                                   {"printFontForHeader", {"HeaderFontSize"}},
                                                   {"printFontForFooter", {"HeaderFontSize"}}}));
  EXPECT_EQ(derived, (Names{"PProvCode", "PProvandPCode", "HeaderFontSize"}));
  EXPECT_FALSE(isDerivedEntry("no entry"));
}

TEST(OptionTableTest, TakesNoEntryOfALivingOptionForARetiredOne) {
  EXPECT_FALSE(isRetiredEntry(""));
  for (const OptionRow& row : optionTable())
    for (const Text& key : {row.personalKey, row.corporateKey}) EXPECT_FALSE(isRetiredEntry(key)) << row.name;
}

TEST(OptionTableTest, KnowsEachNameThatTheFacadeHasForAnOption) {
  std::multimap<std::string, std::string> published;
  for (const auto& row : table("manager/facade.tsv", 3)) {
    const std::string facade = row[0].starts_with('-') ? row[0].substr(1) : row[0];
    const bool formatter = row[2].ends_with("formatter");
    if (facade != "saveOptions" && !formatter) published.emplace(row[1], facade);
  }
  std::multimap<std::string, std::string> known;
  for (const OptionRow& row : optionTable())
    for (const FacadeName& name : row.facadeNames) {
      known.emplace(row.name, name.getter);
      if (!name.setter.empty()) known.emplace(row.setter, name.setter);
      EXPECT_EQ(name.asFlag, row.name == "preparerTaxpyersNameAsLastYr") << name.getter;
    }
  const auto sorted = [](const auto& names) {
    return std::multiset<std::pair<std::string, std::string>>(names.begin(), names.end());
  };
  EXPECT_EQ(sorted(known), sorted(published));
}

}  // namespace
}  // namespace qorvane
