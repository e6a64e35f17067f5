// Session: one run of the tool on one product, year and store folder.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "qorvane/platform/FileManager.h"
#include "qorvane/platform/FileUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"

namespace optionsmgr {

/// Folder getters make their folders; a tool that only shows them must not. While one of these lives, folders
/// are made only when `make` is set.
class FileManagerChoice {
 public:
  explicit FileManagerChoice(bool make);
  ~FileManagerChoice();
  FileManagerChoice(const FileManagerChoice&) = delete;
  FileManagerChoice& operator=(const FileManagerChoice&) = delete;

 private:
  qorvane::FileManager* before_;
};

/// What the common options say.
struct Settings {
  bool corporate = false;
  int year = 0;  // 0: the current filing season.
  std::string release;
  bool singleFiler = false;
  std::string folder;    // Empty: the user's own.
  double lockWait = 10;  // Seconds.
  bool json = false;
  bool noColor = false;
};

class Session {
 public:
  /// Makes the product and the store those of the settings, for the whole process.
  explicit Session(Settings settings);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Settings& settings() const { return settings_; }
  bool json() const { return settings_.json; }
  /// Standard output is a terminal that takes colours, and nobody said not to use them.
  bool colorTerminal() const;
  qorvane::FileUserDefaults& files() { return files_; }

  /// A store loaded from the disk as it is now. Throws Failure, with the file untouched, when the file is
  /// damaged or cannot be read.
  std::unique_ptr<qorvane::Options> load();

  /// Loads the store, lets the function change it and saves it, all under the store's lock, then loads it
  /// anew to answer what the disk now holds. Throws Failure when it did not reach the disk.
  std::unique_ptr<qorvane::Options> change(const std::function<void(qorvane::Options&)>& change);

  /// The option of that property name or stored key. Throws Failure (not found) with suggestions.
  static const qorvane::OptionRow& option(const std::string& nameOrKey);

 private:
  Settings settings_;
  FileManagerChoice noFolders_{false};
  qorvane::FileUserDefaults files_;
};

}  // namespace optionsmgr
