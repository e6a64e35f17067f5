// What most tests of the store need: a preference store in memory, a product, the log and the announcements.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"
#include "tests/TestHome.h"

namespace testing_support {

class StoreTest : public testing::Test {
 protected:
  StoreTest() {
    qorvane::UserDefaults::setStandardUserDefaults(&defaults);
    useProduct(false, 2020);
  }
  ~StoreTest() override { qorvane::UserDefaults::setStandardUserDefaults(nullptr); }

  static void useProduct(bool corporate, int year) {
    qorvane::QVSettings::setProduct({.corporate = corporate, .taxYear = year});
  }

  /// The dictionary saved under the key; empty when there is none.
  qorvane::Dictionary saved(const qorvane::Text& key) {
    const qorvane::Value value = defaults.objectForKey(key);
    return value.asDictionary() ? *value.asDictionary() : qorvane::Dictionary();
  }

  /// The entry of the store's dictionary, nil when there is none.
  static qorvane::Value entry(qorvane::Options& store, std::string_view key) {
    const qorvane::Value* value = store.options() ? store.options()->find(key) : nullptr;
    return value ? *value : qorvane::Value();
  }

  /// The names of the notifications posted since the last call, in order.
  std::vector<std::string> takePosted() { return std::exchange(posted, {}); }

  TestHome home;
  qorvane::FaultInjectingUserDefaults defaults;
  qorvane::LogCapture logged;
  std::vector<std::string> posted;
  const void* lastSender = nullptr;

 private:
  qorvane::Observer observe(const qorvane::Text& name) {
    return qorvane::NotificationCenter::defaultCenter().addObserver(
        name, [this](const qorvane::Notification& notification) {
          posted.push_back(notification.name.string());
          lastSender = notification.object;
        });
  }
  qorvane::Observer observers_[5] = {
      observe(qorvane::kPreferenceChangeEvt), observe(qorvane::kStepFormsModeChangeEvt),
      observe(qorvane::kLanguageChangeEvt), observe(qorvane::kDataEntryColorChangeEvt),
      observe(qorvane::kPageBkColorChangeEvt)};
};

}  // namespace testing_support
