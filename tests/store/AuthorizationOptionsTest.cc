#include <gtest/gtest.h>

#include "qorvane/store/OptionTable.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::kProductKinds;
using testing_support::ProductKind;
using testing_support::StoreWorld;

TEST(AuthorizationOptionsTest, InTheCorporateProductT1013AndRC59ShareTheirNumbers) {
  StoreWorld world(ProductKind::Corporate);
  world.store.setT1013RepID("ABC123");
  EXPECT_EQ(world.store.rc59_RepID(), Text("ABC123"));
  EXPECT_EQ(world.entry("RepID"), Value(Text("ABC123")));
  world.store.setRc59_RepID("XYZ789");
  EXPECT_EQ(world.store.t1013RepID(), Text("XYZ789"));
  world.store.setRc59_BusinessNo("123456789");
  EXPECT_EQ(world.store.t1013BussinessNo(), Text("123456789"));
  world.store.setT1013BussinessNo("987654321");
  EXPECT_EQ(world.store.rc59_BusinessNo(), Text("987654321"));
}

TEST(AuthorizationOptionsTest, InThePersonalProductTheRC59IdentifierIsTheT1013OneAndReadOnly) {
  StoreWorld world;
  world.store.setT1013RepID("ABC123");
  const Dictionary before = world.entries();
  StoreWorld::announced();
  world.store.setRc59_RepID("XYZ789");
  EXPECT_TRUE(isIdentical(world.entries(), before));
  world.store.setRc59_RepID(nullptr);
  EXPECT_TRUE(isIdentical(world.entries(), before));
  EXPECT_FALSE(StoreWorld::announced());
  EXPECT_EQ(world.store.rc59_RepID(), Text("ABC123"));
  EXPECT_EQ(world.store.t1013RepID(), Text("ABC123"));
}

TEST(AuthorizationOptionsTest, InThePersonalProductTheBusinessNumbersAreTwo) {
  StoreWorld world;
  world.store.setRc59_BusinessNo("1");
  world.store.setT1013BussinessNo("2");
  EXPECT_EQ(world.entry("RepBN"), Value(Text("1")));
  EXPECT_EQ(world.entry("T1013BussinessNo"), Value(Text("2")));
}

TEST(AuthorizationOptionsTest, GroupsAndOnlineAccessAreNeverShared) {
  for (const ProductKind product : kProductKinds) {
    SCOPED_TRACE(nameOf(product));
    StoreWorld world(product);
    world.start();
    world.store.setT1013GroupID("G1");
    world.store.setRc59_GroupID("G2");
    world.store.setRc59_AuthOnlineAccess(true);
    EXPECT_FALSE(world.store.t1013OnlineAuthorization());
    EXPECT_EQ(world.entries(), (Dictionary{{"PreparerT1013GroupID", Text("G1")},
                                           {"RepGroupID", Text("G2")},
                                           {"RC59OnlineAuthorization", Text("1")},
                                           {"T1013OnlineAuthorization", Text("0")}}));
  }
}

// ---- expiry dates ---------------------------------------------------------------------------------------

TEST(AuthorizationOptionsTest, ClearingTheT1013DateEmptiesTheBusinessNumberInstead) {
  for (const ProductKind product : kProductKinds) {
    SCOPED_TRACE(nameOf(product));
    StoreWorld world(product);
    world.start({{"T1013ConsentED", Number(12345.5)},
                 {"T1013BussinessNo", Text("123456789")},
                 {"RepBN", Text("55")}});
    world.store.setT1013ExpiryDate(nullptr);
    EXPECT_TRUE(StoreWorld::announced());
    EXPECT_EQ(world.entries(), (Dictionary{{"T1013ConsentED", Number(12345.5)},
                                           {"T1013BussinessNo", Text("")},
                                           {"RepBN", Text("55")}}));
    EXPECT_EQ(world.store.t1013ExpiryDate(), Value(Number(12345.5)));
  }
}

TEST(AuthorizationOptionsTest, ClearingTheT1013DateInBulkModeEmptiesTheBusinessNumberUnannounced) {
  StoreWorld world;
  world.start({{"T1013ConsentED", Number(7)}, {"T1013BussinessNo", Text("123456789")}});
  const BulkSetting bulk;
  world.store.setT1013ExpiryDate(nullptr);
  EXPECT_FALSE(StoreWorld::announced());
  EXPECT_EQ(world.entries(), (Dictionary{{"T1013ConsentED", Number(7)}, {"T1013BussinessNo", Text("")}}));
}

TEST(AuthorizationOptionsTest, ComparedDatesAreComparedAsNumbers) {
  struct DatePair {
    Value (Options::*get)();
    void (Options::*set)(const Value&);
    const char* key;
  };
  for (const DatePair& date :
       {DatePair{&Options::t1013ExpiryDate, &Options::setT1013ExpiryDate, "T1013ConsentED"},
        DatePair{&Options::t183AuthorizationExpiryDate, &Options::setT183AuthorizationExpiryDate,
                 "T183AuthorisationExpiryDate"}}) {
    SCOPED_TRACE(date.key);
    const Text key{std::string_view(date.key)};
    StoreWorld world;
    world.start({{key, Number(20201231)}});
    (world.store.*date.set)(Number(20201231.0));
    EXPECT_FALSE(StoreWorld::announced());
    EXPECT_TRUE(isIdentical(world.entry(date.key), Value(Number(20201231))));
    (world.store.*date.set)(Number(20201231.25));
    EXPECT_TRUE(StoreWorld::announced());
    EXPECT_EQ((world.store.*date.get)(), Value(Number(20201231.25)));

    // The text of a cleared date is no number, and so differs from every one, and from itself.
    world.start({{key, Text("")}});
    (world.store.*date.set)(Text(""));
    EXPECT_TRUE(StoreWorld::announced());
    EXPECT_EQ((world.store.*date.get)(), Value(Text("")));
    (world.store.*date.set)(Number(0.0));
    EXPECT_TRUE(StoreWorld::announced());
    EXPECT_TRUE(isIdentical(world.entry(date.key), Value(Number(0.0))));
    (world.store.*date.set)(Number(0));
    EXPECT_FALSE(StoreWorld::announced());
  }
}

TEST(AuthorizationOptionsTest, AClearedDateIsTheEmptyText) {
  StoreWorld world;
  world.store.setRc59_AuthExpiryDate(Number(20211231));
  EXPECT_EQ(world.store.rc59_AuthExpiryDate(), Value(Number(20211231)));
  world.store.setRc59_AuthExpiryDate(nullptr);
  EXPECT_TRUE(isIdentical(world.store.rc59_AuthExpiryDate(), Value(Text(""))));
  world.store.setMr69_AuthExpiryDate(nullptr);
  EXPECT_TRUE(isIdentical(world.store.mr69_AuthExpiryDate(), Value(Text(""))));
  EXPECT_FALSE(StoreWorld::announced());
  world.store.setT183AuthorizationExpiryDate(nullptr);
  EXPECT_TRUE(isIdentical(world.store.t183AuthorizationExpiryDate(), Value(Text(""))));
  EXPECT_TRUE(StoreWorld::announced());
}

// ---- a fresh store ----------------------------------------------------------------------------------

TEST(AuthorizationOptionsTest, AFreshStoreHasLevelOneAndNoDate) {
  StoreWorld world;
  world.start();
  EXPECT_EQ(world.store.t1013LevelOfAuth(), Text("1"));
  EXPECT_EQ(world.store.rc59_LevelOfAuth(), Text("1"));
  EXPECT_TRUE(isIdentical(world.store.t1013ExpiryDate(), Value(Number(0.0))));
  EXPECT_TRUE(isIdentical(world.entry("T1013ConsentED"), Value(Number(0.0))));
}

TEST(AuthorizationOptionsTest, AFreshStoreAnswersTheMR69LabelsOfTheLanguageAndStoresNothing) {
  StoreWorld world;
  world.start();
  EXPECT_EQ(world.store.mr69_Authorization(), Text("1-All tax years"));
  EXPECT_EQ(world.store.mr69_AuthType(), Text("1-Authorization"));
  StoreWorld::speak("French");
  EXPECT_EQ(world.store.mr69_Authorization(), Text("1-Toutes les années fiscales"));
  EXPECT_EQ(world.store.mr69_AuthType(), Text("1-Autorisation"));
  EXPECT_TRUE(world.entries().empty());
}

TEST(AuthorizationOptionsTest, EveryQuebecCheckboxIsClearAtFirstAndStoresNothing) {
  StoreWorld world;
  world.start();
  int checkboxes = 0;
  for (const OptionRow& row : optionTable())
    if (row.name.starts_with("mrqAuth") || row.name == "mrqFollowingInfoOrDocs" ||
        row.name == "mrqInfoApplOrEnforceExcsAct" || row.name == "qSolidarityTaxCredit" ||
        row.name == "qRegForGSTAndQSTetc" || row.name == "qSalesRecModule") {
      ++checkboxes;
      EXPECT_EQ(row.read(world.store), Value(Number(false))) << row.name;
    }
  EXPECT_EQ(checkboxes, 16);
  EXPECT_TRUE(world.entries().empty());
}

TEST(AuthorizationOptionsTest, AnIntegerFlagOfTwoIsFalse) {
  StoreWorld world;
  world.start({{"TP1000AuthorizationForAll", Number(2)}, {"MRQAuthOfFuelTaxRetuns", Number(2)}});
  EXPECT_FALSE(world.store.tp1000_AuthForAllClients());
  EXPECT_FALSE(world.store.mrqAuthOfFuelTaxRetuns());
}

// ---- the labels of the Quebec forms -----------------------------------------------------------------

TEST(AuthorizationOptionsTest, QuebecLabelsAreKeptAsNeutralValuesAndReadInTheLanguageOfTheDay) {
  StoreWorld world;
  world.start();
  world.store.setMr69_Authorization("3-Current year and following years");
  world.store.setMr69_AuthType("2-Procuration");
  EXPECT_EQ(world.entries(), (Dictionary{{"MR69Authorization", Text("3")},
                                         {"MR69AuthorizationOrPowerOfAttorney", Text("2")}}));
  EXPECT_EQ(world.store.mr69_AuthType(), Text("2-Power of attorney"));
  StoreWorld::speak("French");
  EXPECT_EQ(world.store.mr69_Authorization(), Text("3-L'année courante et les années suivantes"));
  EXPECT_EQ(world.store.mr69_AuthType(), Text("2-Procuration"));
  EXPECT_FALSE(StoreWorld::announced());
}

TEST(AuthorizationOptionsTest, AnEmptyQuebecLabelIsStoredAsItIsAndReadsAsTheFirst) {
  for (const char* language : {"English", "French"}) {
    const bool english = std::string_view(language) == "English";
    StoreWorld world(ProductKind::Personal, language);
    for (const Text& nothing : {Text(), Text("")}) {
      world.start();
      world.store.setMr69_AuthType(nothing);
      world.store.setMr69_Authorization(nothing);
      EXPECT_EQ(world.entries(), (Dictionary{{"MR69AuthorizationOrPowerOfAttorney", Text("")},
                                             {"MR69Authorization", Text("")}}));
      EXPECT_EQ(world.store.mr69_AuthType(), english ? Text("1-Authorization") : Text("1-Autorisation"));
      EXPECT_EQ(world.store.mr69_Authorization(),
                english ? Text("1-All tax years") : Text("1-Toutes les années fiscales"));
    }
  }
}

TEST(AuthorizationOptionsTest, AnUnknownQuebecLabelIsKeptAsTheFirstChoice) {
  StoreWorld world;
  world.store.setMr69_AuthType("2-power of attorney");
  EXPECT_EQ(world.entry("MR69AuthorizationOrPowerOfAttorney"), Value(Text("1")));
}

}  // namespace
}  // namespace qorvane
