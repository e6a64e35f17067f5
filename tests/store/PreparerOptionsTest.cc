#include <gtest/gtest.h>

#include "qorvane/desktop/NotificationCenter.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::kProductKinds;
using testing_support::ProductKind;
using testing_support::StoreWorld;

Text text(const char* characters) { return Text(std::string(characters)); }

TEST(PreparerOptionsTest, AFreshStoreHasNoProvinceAndNoCountry) {
  StoreWorld world;
  world.start();
  EXPECT_TRUE(world.store.preparerProvince().isNil());
  EXPECT_TRUE(world.store.preparerCountry().isNil());
  EXPECT_TRUE(world.store.preparerCountryCode().isNil());
  EXPECT_TRUE(world.entries().empty());
}

TEST(PreparerOptionsTest, TheDefaultModeOfDeliveryFollowsTheLanguageAndIsNotStored) {
  StoreWorld world;
  world.start();
  EXPECT_EQ(world.store.preparerModeOfDelivery(), Text("Paper"));
  StoreWorld::speak("French");
  EXPECT_EQ(world.store.preparerModeOfDelivery(), Text("Papier"));
  EXPECT_TRUE(world.entries().empty());
}

TEST(PreparerOptionsTest, AModeOfDeliveryStaysInTheLanguageInWhichItWasSet) {
  StoreWorld world;
  world.store.setPreparerModeOfDelivery("Efile Plus");
  StoreWorld::speak("French");
  EXPECT_EQ(world.store.preparerModeOfDelivery(), Text("Efile Plus"));
}

TEST(PreparerOptionsTest, AFreshStoreStoresItsCodes) {
  StoreWorld world;
  world.start();
  EXPECT_EQ(world.store.preparerNoticeOfAssAndTaxRefundOption(), Text("0"));
  EXPECT_EQ(world.store.preparerTaxpyersNameAsLastYr(), Text("NO"));
  EXPECT_EQ(world.store.que_PreAssessmentCode(), Text("3"));
  EXPECT_EQ(world.store.preparerPreAssessmentReview(), Text("2"));
  EXPECT_EQ(world.store.preparerPostAssessmentReview(), Text("2"));
  EXPECT_EQ(world.entries(), (Dictionary{{"NoticeOfAssAndTaxRefundOption", Text("0")},
                                         {"TaxpayersSameName", Text("NO")},
                                         {"QuebecPreAssessmentCode", Text("3")},
                                         {"PreAssessmentOption", Text("2")},
                                         {"PostAssessmentOption", Text("2")}}));
}

TEST(PreparerOptionsTest, TheRepresentativesNameIsOneEntryOfSeveralOptions) {
  for (const ProductKind product : kProductKinds) {
    SCOPED_TRACE(nameOf(product));
    const bool corporate = product == ProductKind::Corporate;
    StoreWorld world(product);
    world.store.setPreparerNameOfRepresentative("Zoë Roy");
    EXPECT_EQ(world.store.pName(), Text("Zoë Roy"));
    EXPECT_EQ(world.store.repFirstName(), corporate ? Text("Zoë Roy") : Text(""));
    world.store.setPName("Ann Lee");
    EXPECT_EQ(world.store.preparerNameOfRepresentative(), Text("Ann Lee"));
    world.store.setRepFirstName("Bo");
    EXPECT_EQ(world.store.pName(), corporate ? Text("Bo") : Text("Ann Lee"));
    EXPECT_EQ(world.entry("PName"), Value(corporate ? Text("Bo") : Text("Ann Lee")));
  }
}

TEST(PreparerOptionsTest, TheFirstAddressLineIsOneEntryOfTwoOptions) {
  StoreWorld world;
  world.store.setPreparerAddressLine1("1 Main");
  EXPECT_EQ(world.store.paddr1(), Text("1 Main"));
  world.store.setPaddr1("2 Main");
  EXPECT_EQ(world.store.preparerAddressLine1(), Text("2 Main"));
}

TEST(PreparerOptionsTest, AnEmptyRepresentativesNameIsAnsweredByBothAndRewrittenByOne) {
  StoreWorld world;
  const Text empty = text("");
  world.start({{"PName", empty}});
  EXPECT_TRUE(world.store.pName().isSameObject(empty));
  EXPECT_TRUE(world.entry("PName").asText()->isSameObject(empty));
  EXPECT_EQ(world.store.preparerNameOfRepresentative(), Text(""));
  EXPECT_FALSE(world.entry("PName").asText()->isSameObject(empty));
  EXPECT_EQ(world.entry("PName"), Value(Text("")));
}

// ---- the province and the postal code ---------------------------------------------------------------------

TEST(PreparerOptionsTest, AProvinceBringsItsCodeAndTheCombinedEntry) {
  StoreWorld world;
  world.start({{"PPCode", Text("K1A 0B1")}});
  world.store.setPreparerProvince("ON");
  EXPECT_TRUE(StoreWorld::announced());
  const Dictionary expected{{"PPCode", Text("K1A 0B1")},
                            {"PProv", Text("ON")},
                            {"PProvCode", Text("ON")},
                            {"PProvandPCode", Text("ON K1A 0B1")}};
  EXPECT_EQ(world.entries(), expected);

  // The same again changes nothing, not even a combined entry that is out of date.
  world.entries().set(Text("PProvandPCode"), Text("old"));
  world.store.setPreparerProvince(text("ON"));
  EXPECT_FALSE(StoreWorld::announced());
  EXPECT_EQ(world.entry("PProvandPCode"), Value(Text("old")));
}

TEST(PreparerOptionsTest, AProvincesCodeIsLookedUpByItsName) {
  StoreWorld world;
  world.store.setPreparerProvince("British Columbia");
  EXPECT_EQ(world.entry("PProv"), Value(Text("British Columbia")));
  EXPECT_EQ(world.entry("PProvCode"), Value(Text("BC")));
  EXPECT_EQ(world.entry("PProvandPCode"), Value(Text("British Columbia ")));
  world.store.setPreparerProvince("Atlantis");
  EXPECT_EQ(world.entry("PProvCode"), Value(Text("")));
}

TEST(PreparerOptionsTest, AProvinceOnAnEmptyStoreStoresAnEmptyPostalCode) {
  for (const bool bulk : {false, true}) {
    StoreWorld world;
    world.start();
    bSettingVals = bulk;
    world.store.setPreparerProvince("QC");
    EXPECT_EQ(StoreWorld::announced(), !bulk);
    EXPECT_EQ(world.entries(), (Dictionary{{"PProv", Text("QC")},
                                           {"PProvCode", Text("QC")},
                                           {"PPCode", Text("")},
                                           {"PProvandPCode", Text("QC ")}}));
  }
}

TEST(PreparerOptionsTest, ClearingTheProvinceKeepsItsCodeAndTheCombinedEntry) {
  for (const bool bulk : {false, true}) {
    StoreWorld world;
    world.start({{"PProv", Text("ON")}, {"PProvCode", Text("ON")}, {"PProvandPCode", Text("ON K1A 0B1")}});
    bSettingVals = bulk;
    world.store.setPreparerProvince(nullptr);
    EXPECT_EQ(StoreWorld::announced(), !bulk);
    EXPECT_EQ(
        world.entries(),
        (Dictionary{{"PProv", Text("")}, {"PProvCode", Text("ON")}, {"PProvandPCode", Text("ON K1A 0B1")}}));
  }
}

TEST(PreparerOptionsTest, APostalCodeLeavesTheCombinedEntryAndClearingItRenewsIt) {
  StoreWorld world;
  world.start({{"PPCode", Text("K1A 0B1")}});
  world.store.setPreparerProvince("ON");
  EXPECT_TRUE(StoreWorld::announced());
  EXPECT_EQ(world.entry("PProvandPCode"), Value(Text("ON K1A 0B1")));

  world.store.setPreparerPostalCode("M5V 3L9");
  EXPECT_TRUE(StoreWorld::announced());
  EXPECT_EQ(world.store.preparerPostalCode(), Text("M5V 3L9"));
  EXPECT_EQ(world.entry("PProvandPCode"), Value(Text("ON K1A 0B1")));

  world.store.setPreparerPostalCode(text("M5V 3L9"));
  EXPECT_FALSE(StoreWorld::announced());

  world.store.setPreparerPostalCode(nullptr);
  EXPECT_TRUE(StoreWorld::announced());
  EXPECT_EQ(world.entry("PPCode"), Value(Text("")));
  EXPECT_EQ(world.entry("PProvandPCode"), Value(Text("ON (null)")));
}

TEST(PreparerOptionsTest, ClearingThePostalCodeWithoutAProvinceMakesBothNull) {
  for (const bool bulk : {false, true}) {
    StoreWorld world;
    world.start();
    bSettingVals = bulk;
    world.store.setPreparerPostalCode(nullptr);
    EXPECT_EQ(StoreWorld::announced(), !bulk);
    EXPECT_EQ(world.entries(), (Dictionary{{"PPCode", Text("")}, {"PProvandPCode", Text("(null) (null)")}}));
  }
}

TEST(PreparerOptionsTest, AnEmptyPostalCodeIsNoNil) {
  StoreWorld world;
  world.start({{"PPCode", Text("K1A 0B1")}});
  world.store.setPreparerPostalCode("");
  EXPECT_TRUE(StoreWorld::announced());
  EXPECT_EQ(world.entries(), (Dictionary{{"PPCode", Text("")}}));
  world.store.setPreparerPostalCode("");
  EXPECT_FALSE(StoreWorld::announced());
}

TEST(PreparerOptionsTest, APostalCodeInBulkModeStoresNothingElse) {
  StoreWorld world;
  world.start();
  const BulkSetting bulk;
  world.store.setPreparerPostalCode("H2X 1Y4");
  EXPECT_EQ(world.entries(), (Dictionary{{"PPCode", Text("H2X 1Y4")}}));
  EXPECT_FALSE(StoreWorld::announced());
}

// ---- setters that nearly follow the pattern ---------------------------------------------------------

TEST(PreparerOptionsTest, ClearingTheTaxRateIsNoChangeWhereClearingTheFirmNameIs) {
  StoreWorld world;
  world.start({{"HSTRate", Text("")}, {"HSTRegistrationNumber", Text("")}, {"PreparerFirmName", Text("")}});
  world.store.setPreparerHSTRate(nullptr);
  EXPECT_FALSE(StoreWorld::announced());
  world.store.setPreparerHSTRegistrationNumber(nullptr);
  EXPECT_FALSE(StoreWorld::announced());
  world.store.setPreparerFirmName(nullptr);
  EXPECT_TRUE(StoreWorld::announced());
  EXPECT_EQ(world.entry("HSTRate"), Value(Text("")));
  EXPECT_EQ(world.entry("PreparerFirmName"), Value(Text("")));
}

TEST(PreparerOptionsTest, ThePhoneExtensionIsAnnouncedEvenUnchanged) {
  StoreWorld world;
  world.store.setPreparerPhoneExt("204");
  EXPECT_TRUE(StoreWorld::announced());
  world.store.setPreparerPhoneExt("204");
  EXPECT_TRUE(StoreWorld::announced());
  const BulkSetting bulk;
  world.store.setPreparerPhoneExt("205");
  EXPECT_FALSE(StoreWorld::announced());
  EXPECT_EQ(world.store.preparerPhoneExt(), Text("205"));
}

TEST(PreparerOptionsTest, NilForTheNamesAsLastYearIsAnnouncedButNeverStored) {
  StoreWorld world;
  world.store.setPreparerTaxpyersNameAsLastYr("YES");
  EXPECT_TRUE(StoreWorld::announced());
  world.store.setPreparerTaxpyersNameAsLastYr(nullptr);
  EXPECT_TRUE(StoreWorld::announced());
  EXPECT_EQ(world.store.preparerTaxpyersNameAsLastYr(), Text("YES"));
  const BulkSetting bulk;
  world.start();
  world.store.setPreparerTaxpyersNameAsLastYr(nullptr);
  EXPECT_FALSE(StoreWorld::announced());
  EXPECT_TRUE(world.entries().empty());
}

TEST(PreparerOptionsTest, EmptyTextsFallBackByLength) {
  StoreWorld world;
  for (const Text& nothing : {Text(), Text("")}) {
    world.start({{"DiscounterFirmCity", Text("Laval")}, {"QuebecPreAssessmentCode", Text("1")}});
    world.store.setDisc_City(nothing);
    EXPECT_EQ(world.entry("DiscounterFirmCity"), Value(Text("")));
    world.store.setQue_PreAssessmentCode(nothing);
    EXPECT_EQ(world.entry("QuebecPreAssessmentCode"), Value(Text("3")));
  }
}

TEST(PreparerOptionsTest, AnIntegerFlagOfTwoIsFalse) {
  StoreWorld world;
  world.start({{"SelectAllRetForDiscounting", Number(2)}});
  EXPECT_FALSE(world.store.disc_SelAllForDisc());
  world.entries().set(Text("SelectAllRetForDiscounting"), Number(1));
  EXPECT_TRUE(world.store.disc_SelAllForDisc());
}

TEST(PreparerOptionsTest, TextsAreKeptExactlyAsGiven) {
  StoreWorld world;
  const Text odd = text("  k1a0b1 \n\t\xF0\x9F\x8D\x81 ");
  world.store.setPreparerPostalCode(odd);
  EXPECT_TRUE(world.store.preparerPostalCode().isSameObject(odd));
  world.store.setPreparerEmail("NOT an address");
  EXPECT_EQ(world.store.preparerEmail(), Text("NOT an address"));
}

TEST(PreparerOptionsTest, AChangedFirmNameIsAnnouncedOnceBySaving) {
  StoreWorld world;
  int posted = 0;
  const Observer observer = NotificationCenter::defaultCenter().addObserver(
      "kPreferenceChangeEvt", [&](const Notification& notification) {
        EXPECT_EQ(notification.object, &world.store);
        ++posted;
      });
  world.store.setPreparerFirmName("Roy & Lee");
  world.store.setAlberta_LastName("Lee");
  world.store.saveOptions();
  EXPECT_EQ(posted, 1);
  world.store.setAlberta_LastName("Roy");
  world.store.saveOptions();
  EXPECT_EQ(posted, 1);
}

}  // namespace
}  // namespace qorvane
