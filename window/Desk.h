// Desk: the store that the window works on, the sheets that were opened of it, and what others do there.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "qorvane/desktop/Log.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/preferences/PreferenceWatch.h"
#include "window/Sheet.h"

namespace optionsmgr::window {

class Desk {
 public:
  /// The folder of the store; empty for the user's own.
  explicit Desk(const std::string& folder);

  qorvane::FileUserDefaults& files() { return files_; }

  /// The sheet of that product and year; read when it is first asked for, and kept.
  Sheet& sheet(bool corporate, int year);
  /// Those that were asked for.
  std::vector<Sheet*> sheets();
  /// The years that the product has settings of, and those around the filing season; newest first.
  std::vector<int> years(bool corporate);
  /// The tax year of the current filing season.
  static int seasonYear();

  /// How many changes wait in all sheets.
  std::size_t unsaved();
  struct Outcome {
    std::vector<Sheet*> saved;
    /// Those that keep their changes.
    std::vector<Sheet*> failed;
  };
  /// Saves each sheet whole, one after the other; one that fails does not keep the others.
  Outcome apply();

  /// Called when another program changed what rows of a sheet show, or a sheet can be read now.
  std::function<void(Sheet& sheet, const std::vector<const Item*>& items)> changedOutside;
  std::function<void(Sheet& sheet)> readAgain;
  /// Called after whatever others changed was taken in, for what the library told meanwhile.
  std::function<void()> heard;

  /// What the library told since the last time, such as that a damaged file was mended.
  std::vector<QString> takeTold();

 private:
  void listen();
  void hear();
  void hearLog(const QString& line);

  qorvane::LayeredUserDefaults files_;
  std::vector<QString> told_;
  qorvane::ScopedLogSink sink_;
  /// The display language of stored labels is asked of these settings, too.
  qorvane::ScopedUserDefaults standard_{&files_};
  std::map<std::pair<bool, int>, std::unique_ptr<Sheet>> sheets_;
  std::unique_ptr<qorvane::PreferenceWatch> watch_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace optionsmgr::window
