// What the first load of a year leaves in the dictionary, entry by entry and in order.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/Golden.h"
#include "tests/store/StoreWorld.h"

namespace qorvane {
namespace {

using testing_support::expectGolden;
using testing_support::kProductKinds;
using testing_support::ProductKind;
using testing_support::StoreWorld;

// One entry a line: the key, the kind (a number's is that of its bits) and the value.
std::string written(const Dictionary& entries) {
  std::ostringstream out;
  for (const Dictionary::Entry& entry : entries) {
    const Number* number = entry.value.asNumber();
    const bool real = number && number->kind() == Number::Kind::Real;
    out << entry.key << ": " << (real ? "real" : kindName(entry.value.kind())) << ' ' << entry.value << '\n';
  }
  return out.str();
}

std::string golden(ProductKind product, const char* language) {
  return std::string("store/first-load-") + nameOf(product) + "-" + language + ".txt";
}

TEST(FirstLoadGoldenTest, LeavesTheDefaultsOfTheProduct) {
  for (const ProductKind product : kProductKinds) {
    SCOPED_TRACE(nameOf(product));
    StoreWorld world(product);
    expectGolden(golden(product, "English"), written(world.entries()));
    EXPECT_FALSE(notifyAll);
    EXPECT_FALSE(bSettingVals);
    world.store.saveOptions();
    const Value saved = world.defaults.objectForKey(world.store.settingsDomainKey());
    ASSERT_TRUE(saved.asDictionary());
    expectGolden(golden(product, "English"), written(*saved.asDictionary()));
  }
}

TEST(FirstLoadGoldenTest, OfAFrenchStoreLeavesTheSameButTheLanguage) {
  for (const ProductKind product : kProductKinds) {
    SCOPED_TRACE(nameOf(product));
    StoreWorld world(product, "French");
    world.defaults.setObject(Dictionary{{"Language", Text("French")}}, world.store.settingsDomainKey());
    world.store.loadOptions();
    expectGolden(golden(product, "French"), written(world.entries()));
  }
}

TEST(FirstLoadTest, ASecondLoadChangesNothing) {
  for (const ProductKind product : kProductKinds) {
    StoreWorld world(product);
    world.store.saveOptions();
    Options later;
    later.loadOptions();
    EXPECT_TRUE(isIdentical(*later.options(), world.entries()));
  }
}

TEST(FirstLoadTest, OfThePersonalProductLogsNothing) {
  StoreWorld world;
  world.store.loadOptions();
  EXPECT_TRUE(world.log.lines().empty());
}

TEST(FirstLoadTest, KeepsWhatIsStoredAndWhatTheLibraryDoesNotKnow) {
  StoreWorld world;
  const Dictionary stored{{"PName", Text("Zoë")},
                          {"TaxpayersSameName", Text("YES")},
                          {"T1013ConsentED", Text("")},
                          {"SomethingElse", Array{Number(1), Text("x")}}};
  world.defaults.setObject(stored, world.store.settingsDomainKey());
  world.store.loadOptions();
  for (const Dictionary::Entry& entry : stored)
    EXPECT_TRUE(isIdentical(world.entry(entry.key), entry.value)) << entry.key;
}

}  // namespace
}  // namespace qorvane
