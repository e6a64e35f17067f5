// Session: one run of the tool on one product, year and store folder.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "qorvane/desktop/FileManager.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tool/Failure.h"

namespace optionsmgr {

/// What the common options say.
struct Settings {
  bool corporate = false;
  int year = 0;  // 0: the current filing season.
  std::string release;
  bool singleFiler = false;
  std::string folder;          // Empty: the user's own.
  double lockWait = 10;        // Seconds.
  bool productSaid = false;    // --product was given.
  bool bothProducts = false;   // It was "all".
  bool literalValues = false;  // A "--" stood before values: a lone hyphen is one.
  bool yearSaid = false;       // --year was given.
  bool json = false;
  bool quiet = false;
  bool noColor = false;
  /// What --layer says: "user", "machine" or "firm"; empty for all together, or the user's where it is
  /// changed.
  std::string layer;
};

class Session {
 public:
  /// Makes the product and the store those of the settings, for the whole process.
  explicit Session(Settings settings);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Settings& settings() const { return settings_; }
  bool json() const { return settings_.json; }
  /// Reports are wanted: what a verb says about its work, where its work is not to answer something.
  bool reports() const { return !settings_.quiet; }
  /// The tax year of the current filing season.
  static int seasonYear();
  /// What the run ends with when nothing fails; Exit::Done at first.
  Exit exit() const { return exit_; }
  void setExit(Exit exit) { exit_ = exit; }
  /// Standard output is a terminal that takes colours, and nobody said not to use them.
  bool colorTerminal() const;
  /// The columns of the terminal that standard output is; 0 when it is none.
  static std::size_t terminalWidth();
  qorvane::FileUserDefaults& files() { return files_; }

  /// Throws Failure as `load` does. For verbs that ask the facade, whose store then loads the same.
  void requireSound() { load(); }

  /// Throws Failure (cannot create) when the environment names no folder for the store.
  void requireFolder();

  /// The product of the settings, and another one of the same edition and release.
  qorvane::Product product() const { return product(settings_.corporate, settings_.year); }
  qorvane::Product product(bool corporate, int year) const;

  /// A store loaded from the bytes that are on the disk now and were found good: of the layers that --layer
  /// asks for, by default of all of them together. Nothing that reads through
  /// it, or through the facade from then on, reaches the disk. Throws Failure, with the file untouched, when
  /// the file is damaged or cannot be read.
  std::unique_ptr<qorvane::Options> load();

  /// Under the store's lock: puts back what an interrupted run left, loads the user's own settings, lets the
  /// function change them and saves them, with those entries of the list noted as chosen that would yield to
  /// a farther layer's otherwise. Throws Failure when nothing was changed; what goes wrong after the save is
  /// told only.
  void change(const std::function<void(qorvane::Options&)>& change,
              const std::vector<qorvane::Text>& chosen = {});

  /// Tells it once in a run.
  void tellOnce(const std::string& message);

  /// The option of that property name or stored key. Throws Failure (not found) with suggestions.
  static const qorvane::OptionRow& option(const std::string& nameOrKey);

 private:
  std::unique_ptr<qorvane::Options> loaded(const std::optional<qorvane::Dictionary>& entries);

  Settings settings_;
  Exit exit_ = Exit::Done;
  qorvane::FileUserDefaults files_;
  /// What the library loads from: what `load` found.
  qorvane::MemoryUserDefaults snapshot_;
  // What the facade asks: the product, the store, and a file manager that makes nothing, since whoever only
  // looks at a folder must not make it.
  qorvane::ScopedFileManager looking_;
  qorvane::ScopedProduct running_;
  qorvane::ScopedUserDefaults standard_;
  std::set<std::string> told_;
};

}  // namespace optionsmgr
