// What the tests of several programs at one store share: a disk, and a store of ours on it beside theirs.
#pragma once

#include <functional>
#include <string_view>

#include "tests/store/SharedStore.h"
#include "tests/store/StoreTest.h"

namespace testing_support {

class SharedDiskTest : public StoreTest {
 protected:
  static constexpr qorvane::Text kKey = "QorvaneT1Settings2020";

  void SetUp() override { store.loadOptions(); }

  /// The other program does something and saves; what it posts is not heard here.
  void elsewhere(const std::function<void(qorvane::Options&)>& change) {
    qorvane::Options there(theirs, product);
    there.loadOptions();
    change(there);
    there.saveOptions();
    takePosted();
  }
  /// The entry on the disk, nil when there is none.
  qorvane::Value onDisk(std::string_view key) const {
    const auto found = disk.find(kKey.string());
    const qorvane::Dictionary* const entries = found == disk.end() ? nullptr : found->second.asDictionary();
    const qorvane::Value* const value = entries ? entries->find(key) : nullptr;
    return value ? *value : qorvane::Value();
  }

  Disk disk;
  SharedUserDefaults ours{disk};
  SharedUserDefaults theirs{disk};
  const qorvane::Product product{.taxYear = 2020};
  qorvane::Options store{ours, product};
};

}  // namespace testing_support
