// A store of a product and a preference store of its own, whatever the process runs.
#include <filesystem>

#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;
using Posted = std::vector<std::string>;

class ProductOptionsTest : public testing_support::StoreTest {
 protected:
  static constexpr Text kKey = "QorvaneT2Settings2021";

  // The process runs T1 2020 throughout.
  const Product product{.corporate = true, .taxYear = 2021, .release = "VER2021_2"};
  MemoryUserDefaults files;
  Options store{files, product};
};

TEST_F(ProductOptionsTest, LoadsAndSavesWhatThatProductWould) {
  files.setObject(Dictionary{{"Language", Text("French")}}, kKey);
  EXPECT_EQ(store.settingsDomainKey(), kKey);
  EXPECT_EQ(store.yor(), 2021);
  EXPECT_EQ(store.currentYear(), Text("2021"));
  EXPECT_EQ(store.lastYear(), Text("2020"));
  EXPECT_EQ(store.product().release, product.release);
  store.loadOptions();
  EXPECT_EQ(store.language(), Text("French"));
  store.setPreparerCity("Alma");
  store.saveOptions();
  EXPECT_EQ(*files.objectForKey(kKey).asDictionary()->find("PCity"), Value(Text("Alma")));
  EXPECT_EQ(files.synchronizeCount(), 1);
  EXPECT_TRUE(defaults.empty()) << "the standard store is not asked";

  // What a store of the process would, if the process ran that product.
  useProduct(true, 2021);
  MemoryUserDefaults standard;
  const ScopedUserDefaults scope(&standard);
  standard.setObject(Dictionary{{"Language", Text("French")}}, kKey);
  Options there;
  there.loadOptions();
  there.setPreparerCity("Alma");
  there.saveOptions();
  EXPECT_TRUE(isIdentical(standard.objectForKey(kKey), files.objectForKey(kKey)));
}

TEST_F(ProductOptionsTest, ReadsEveryOptionAsThatProductWould) {
  store.loadOptions();
  store.setT1013RepID("R");
  store.options()->set(Text("IsStepModeS"), Number(true));
  EXPECT_EQ(entry(store, findProperty("t1013RepID")->key(product).view()), Value(Text("R")));
  EXPECT_FALSE(store.isStepsMode()) << "the corporate product has none";
  store.setRc59_RepID("S");
  EXPECT_EQ(store.t1013RepID(), Text("S")) << "one entry there, which only that product writes this way";

  useProduct(true, 2021);
  MemoryUserDefaults standard;
  const ScopedUserDefaults scope(&standard);
  Options there;
  standard.setObject(*store.options(), kKey);
  there.loadOptions();
  useProduct(false, 2020);
  for (const OptionRow& row : optionTable()) {
    const Value mine = row.read(store);
    const ScopedProduct running(product);
    EXPECT_EQ(mine, row.read(there)) << row.name;
    EXPECT_EQ(row.key(), row.key(product)) << row.name;
    EXPECT_EQ(row.fallback(), row.fallback(product)) << row.name;
  }
}

TEST_F(ProductOptionsTest, ConvertsChoicesAsThatProductWould) {
  store.loadOptions();
  store.setPreparerProvince("Nouvelle Ecosse");
  EXPECT_EQ(entry(store, "PProvCode"), Value(Text("NS"))) << "a form that only the corporate product takes";
  Options here;
  here.loadOptions();
  here.setPreparerProvince("Nouvelle Ecosse");
  EXPECT_EQ(entry(here, "PProvCode"), Value(Text("")));
}

TEST_F(ProductOptionsTest, LabelsAreInTheDisplayLanguageOfTheFacade) {
  OptionsMgr::setLanguage("French");
  store.loadOptions();
  EXPECT_EQ(store.language(), Text("English"));
  const Text french = store.mr69_Authorization();
  OptionsMgr::setLanguage("English");
  EXPECT_NE(store.mr69_Authorization(), french);
}

TEST_F(ProductOptionsTest, ItsFlagsAreItsOwn) {
  Options process;
  process.loadOptions();
  process.setAllowOverriding(true);
  ASSERT_TRUE(notifyAll);
  Options other(files, product);
  EXPECT_TRUE(notifyAll) << "making one lowers no mark";
  {
    const BulkSetting bulk;
    store.loadOptions();
    EXPECT_TRUE(bSettingVals) << "a load ends nobody's bulk run";
    store.setAllowOverriding(true);
    EXPECT_TRUE(store.isMarked()) << "bulk mode is another's";
  }
  EXPECT_TRUE(notifyAll);
  EXPECT_FALSE(other.isMarked());
  store.saveOptions();
  EXPECT_EQ(takePosted(), Posted{"kPreferenceChangeEvt"});
  EXPECT_EQ(lastSender, &store);
  EXPECT_FALSE(store.isMarked());
  EXPECT_TRUE(notifyAll) << "the process's change is still to be announced";
  EXPECT_TRUE(process.isMarked());
}

TEST_F(ProductOptionsTest, BulkModeIsSaidToIt) {
  store.loadOptions();
  {
    const BulkSetting bulk(store);
    EXPECT_FALSE(bSettingVals);
    store.setAllowOverriding(true);
  }
  EXPECT_TRUE(store.allowOverriding());
  EXPECT_FALSE(store.isMarked());
  store.setAllowOverriding(false);
  EXPECT_TRUE(store.isMarked());
  const BulkSetting bulk(store);
  Options process;
  process.loadOptions();
  process.setAllowOverriding(true);
  EXPECT_TRUE(process.isMarked());
}

TEST_F(ProductOptionsTest, MakesNoFoldersUntilItIsToldTo) {
  store.loadOptions();
  const auto documents = home.path() / "Documents";
  EXPECT_EQ(store.clientFileFolder(), Text((documents / "Qorvane/2021/T2_2021").string()));
  EXPECT_EQ(store.rootPath(), Text((documents / "Qorvane/2021").string()));
  EXPECT_EQ(findProperty("cifFileFolder")->fallback(product),
            Value(Text((documents / "Qorvane/2021/CIF").string())));
  EXPECT_FALSE(fs::exists(documents));
  store.createsFolders(true);
  store.rootPath();
  EXPECT_TRUE(fs::exists(documents / "Qorvane/2021"));
  EXPECT_FALSE(fs::exists(documents / "Qorvane/2021/T2_2021"));
  store.clientFileFolder();
  EXPECT_TRUE(fs::exists(documents / "Qorvane/2021/T2_2021"));
}

}  // namespace
}  // namespace qorvane
