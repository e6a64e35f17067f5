// A world for one store: a preference store in memory, a home of its own, the product and the display
// language said, and the process-wide flags down. Everything is put back when it ends.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "tests/TestHome.h"

namespace testing_support {

enum class ProductKind { Personal, Corporate };
inline constexpr ProductKind kProductKinds[] = {ProductKind::Personal, ProductKind::Corporate};
inline const char* nameOf(ProductKind product) { return product == ProductKind::Corporate ? "T2" : "T1"; }

class StoreWorld {
 public:
  explicit StoreWorld(ProductKind product = ProductKind::Personal, const char* language = "English") {
    become(product);
    qorvane::UserDefaults::setStandardUserDefaults(&defaults);
    speak(language);
    store.loadOptions();
  }
  ~StoreWorld() {
    qorvane::UserDefaults::setStandardUserDefaults(nullptr);
    qorvane::QVSettings::setSource(nullptr);
    qorvane::bSettingVals = false;
    qorvane::notifyAll = false;
  }
  StoreWorld(const StoreWorld&) = delete;
  StoreWorld& operator=(const StoreWorld&) = delete;

  static void become(ProductKind product) {
    qorvane::QVSettings::setProduct({.corporate = product == ProductKind::Corporate,
                                     .professional = true,
                                     .taxYear = 2020,
                                     .release = ""});
  }
  /// The display language, which is the facade's to say.
  static void speak(const char* language) {
    qorvane::OptionsMgr::setLanguage(qorvane::Text(std::string(language)));
    qorvane::notifyAll = false;
  }

  qorvane::Dictionary& entries() { return *store.options(); }
  qorvane::Value entry(std::string_view key) {
    const qorvane::Value* found = entries().find(key);
    return found ? *found : qorvane::Value();
  }
  /// Leaves exactly these entries, and nothing to announce.
  void start(qorvane::Dictionary entriesNow = {}) {
    entries() = std::move(entriesNow);
    qorvane::notifyAll = false;
  }
  /// Whether there is something to announce; from here on there is not.
  static bool announced() { return std::exchange(qorvane::notifyAll, false); }

  TestHome home;
  qorvane::LogCapture log;
  qorvane::MemoryUserDefaults defaults;
  qorvane::Options store;
};

}  // namespace testing_support
