// The settings by name: valueForKey and setValueForKey of the facade.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "qorvane/foundation/Exception.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/store/OptionTable.h"
#include "tests/store/ExpectedOptions.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using testing_support::ExpectedOption;
using testing_support::expectedOptions;

class KeyValueTest : public testing_support::StoreTest {
 protected:
  static FailureCode codeOf(const std::function<void()>& refused) try {
    refused();
    ADD_FAILURE() << "nothing was thrown";
    return {};
  } catch (const Exception& exception) {
    return exception.failure().code;
  }
};

TEST_F(KeyValueTest, ReachesEveryOptionByItsPropertyAndByEachNameOfTheFacade) {
  Options other;
  other.loadOptions();
  for (const ExpectedOption& expected : expectedOptions()) {
    if (expected.triedElsewhere()) continue;
    SCOPED_TRACE(expected.getter);
    const OptionRow& row = *findProperty(expected.getter);
    const auto expectSame = [&] {
      const Value value = row.read(other);
      EXPECT_TRUE(isIdentical(OptionsMgr::valueForKey(expected.getter), value));
      for (const FacadeName& name : row.facadeNames)
        EXPECT_TRUE(isIdentical(OptionsMgr::valueForKey(name.getter),
                                name.asFlag ? Value(value == Value("YES")) : value))
            << name.getter;
    };
    expectSame();
    for (const Value& sample : expected.samples()) {
      row.write(other, sample);
      OptionsMgr::setValueForKey(sample, expected.getter);
      expectSame();
      for (const FacadeName& name : row.facadeNames) {
        if (name.setter.empty() || name.asFlag) continue;
        OptionsMgr::setValueForKey(sample, name.getter);
        expectSame();
      }
    }
  }
}

TEST_F(KeyValueTest, HasTheTypeOfTheNameThatIsAskedFor) {
  OptionsMgr::setValueForKey(true, "prepTaxpyersNameAsLastYr");
  EXPECT_TRUE(OptionsMgr::prepTaxpyersNameAsLastYr());
  EXPECT_TRUE(isIdentical(OptionsMgr::valueForKey("prepTaxpyersNameAsLastYr"), Value(true)));
  EXPECT_TRUE(isIdentical(OptionsMgr::valueForKey("preparerTaxpyersNameAsLastYr"), Value("YES")));
  OptionsMgr::setValueForKey(false, "prepTaxpyersNameAsLastYr");
  EXPECT_TRUE(isIdentical(OptionsMgr::valueForKey("preparerTaxpyersNameAsLastYr"), Value("NO")));
}

TEST_F(KeyValueTest, AnswersWhatCannotBeSet) {
  EXPECT_EQ(OptionsMgr::valueForKey("yor"), Value(2020));
  EXPECT_EQ(OptionsMgr::valueForKey("userDataPath"), Value(OptionsMgr::userDataPath()));
  EXPECT_EQ(OptionsMgr::valueForKey("helpFilePath"), Value(Options().helpFile()));
}

TEST_F(KeyValueTest, RefusesNamesThatAreUnknownOrReadOnly) {
  for (const char* unknown : {"", "PCity", "preparercity", "setPreparerCity", "saveOptions"}) {
    EXPECT_EQ(codeOf([&] { OptionsMgr::valueForKey(unknown); }), FailureCode::noSuchOption) << unknown;
    EXPECT_EQ(codeOf([&] { OptionsMgr::setValueForKey("x", unknown); }), FailureCode::noSuchOption)
        << unknown;
  }
  for (const char* readOnly : {"yor", "userDataPath", "mrqDatabaseFolder", "mrqDataBaseFolder",
                               "helpFilePath", "transmitterEFileNumber"})
    EXPECT_EQ(codeOf([&] { OptionsMgr::setValueForKey("x", readOnly); }), FailureCode::optionReadOnly)
        << readOnly;
  // Read-only as an operation of the facade, and yet the name of an option that can be set.
  OptionsMgr::setValueForKey("A1234", "preparerEfileNumber");
  EXPECT_EQ(OptionsMgr::efileNumber(), Text("A1234"));
}

TEST_F(KeyValueTest, TellsTheApplicationsOwnEntriesByTheirNames) {
  EXPECT_TRUE(isApplicationEntry("App.Recent"));
  EXPECT_TRUE(isApplicationEntry("App."));
  for (const char* other : {"App", "app.Recent", "Apparel", "PCity", ""})
    EXPECT_FALSE(isApplicationEntry(other));
}

}  // namespace
}  // namespace qorvane
