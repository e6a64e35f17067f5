// A desk with layers: a home of its own with the user's settings, the machine's and the firm's, and programs
// that work there.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <utility>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/propertylist/PropertyList.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"
#include "tests/TestHome.h"

namespace testing_support {

class Desk {
 public:
  static constexpr qorvane::Text kKey = "QorvaneT1Settings2020";
  static constexpr qorvane::Text kEveryYear = "QorvaneT1Settings";

  Desk() : umask_(umask(022)) {}
  ~Desk() { umask(umask_); }
  Desk(const Desk&) = delete;
  Desk& operator=(const Desk&) = delete;

  std::filesystem::path machine() const { return home_.path() / "etc/xdg/Qorvane"; }
  std::filesystem::path firm() const { return home_.path() / ".local/state/Qorvane/firm/current"; }
  std::filesystem::path store() const { return home_.store(); }
  const TestHome& home() const { return home_; }

  void setUser(qorvane::Dictionary entries, qorvane::Array chosen = {}) const {
    qorvane::Dictionary top = {{kKey, std::move(entries)}};
    if (!chosen.empty()) top.set("Chosen", std::move(chosen));
    write(home_.store() / (kKey.string() + ".plist"), top);
  }
  qorvane::Settings user() const {
    const auto found = qorvane::FileUserDefaults(home_.store().string()).inspect(kKey);
    return {found.object, found.chosen};
  }

  /// name: machine_year, machine_every, firm_year or firm_every. Without entries and locks the file goes.
  void setLayer(const std::string& name, qorvane::Dictionary entries, qorvane::Array locked = {}) const {
    const qorvane::Text key = name.ends_with("_year") ? kKey : kEveryYear;
    const std::filesystem::path file =
        (name.starts_with("firm") ? firm() : machine()) / (key.string() + ".plist");
    if (entries.empty() && locked.empty()) {
      std::filesystem::remove(file);
      return;
    }
    qorvane::Dictionary top = {{key, std::move(entries)}};
    if (!locked.empty()) top.set("Locked", std::move(locked));
    write(file, top);
  }

 private:
  static void write(const std::filesystem::path& file, const qorvane::Dictionary& top) {
    writeFile(file, qorvane::writePropertyList(top, qorvane::PropertyListFormat::Xml));
  }

  mode_t umask_;
  TestHome home_;
};

/// The real calls without waiting for the disk: who only wants to know what is written need not.
class Hasty : public qorvane::SystemCalls {
 public:
  int fsync(int /*file*/) override { return 0; }

  static Hasty& calls() {
    static Hasty calls;
    return calls;
  }
};

/// A program with stores of its own, loaded.
class Program {
 public:
  explicit Program(const Desk& desk, const qorvane::Product& product = personal())
      : files_(desk.store().string(), qorvane::optionLayerRule(), Hasty::calls()), options_(files_, product) {
    observer_ = qorvane::NotificationCenter::defaultCenter().addObserver(
        qorvane::kPreferenceChangeEvt, [this](const qorvane::Notification&) { ++posts_; }, &options_);
    options_.loadOptions();
  }
  ~Program() = default;
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  qorvane::Options& options() { return options_; }
  qorvane::LayeredUserDefaults& files() { return files_; }
  int posts() const { return posts_; }
  void forgetPosts() { posts_ = 0; }

  static qorvane::Product personal() {
    qorvane::Product product;
    product.taxYear = 2020;
    return product;
  }

 private:
  qorvane::LayeredUserDefaults files_;
  qorvane::Options options_;
  qorvane::NotificationCenter::Observer observer_;
  int posts_ = 0;
};

}  // namespace testing_support
