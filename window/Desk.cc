#include "window/Desk.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "qorvane/foundation/Exception.h"
#include "window/Words.h"

namespace optionsmgr::window {

namespace {

// A person waits for the answer.
constexpr int kLockWaitMilliseconds = 1500;
constexpr int kYearsBack = 15;

std::string folderOr(const std::string& folder) {
  return folder.empty() ? qorvane::FileUserDefaults::defaultFolder() : folder;
}

qorvane::Product productOf(bool corporate, int year) { return {.corporate = corporate, .taxYear = year}; }

}  // namespace

Desk::Desk(const std::string& folder)
    : files_(folderOr(folder)), sink_([this](const qorvane::Text& line) { hearLog(shown(line)); }) {
  files_.setLockWait(kLockWaitMilliseconds);
  listen();
}

Sheet& Desk::sheet(bool corporate, int year) {
  std::unique_ptr<Sheet>& sheet = sheets_[{corporate, year}];
  if (!sheet) sheet = std::make_unique<Sheet>(files_, productOf(corporate, year));
  return *sheet;
}

std::vector<Sheet*> Desk::sheets() {
  std::vector<Sheet*> all;
  for (const auto& [key, sheet] : sheets_) all.push_back(sheet.get());
  return all;
}

int Desk::seasonYear() {
  const qorvane::ScopedProductSource season(nullptr);
  return qorvane::QVSettings::YOR();
}

std::vector<int> Desk::years(bool corporate) {
  const int season = seasonYear();
  std::set<int, std::greater<>> years{season, season - 1};
  for (int year = season - kYearsBack; year <= season + 1; ++year) {
    qorvane::Options unread(files_, productOf(corporate, year));
    std::error_code ignored;
    if (std::filesystem::exists(files_.pathForKey(unread.settingsDomainKey()), ignored)) years.insert(year);
  }
  for (const auto& [key, sheet] : sheets_)
    if (key.first == corporate) years.insert(key.second);
  return {years.begin(), years.end()};
}

std::size_t Desk::unsaved() {
  std::size_t count = 0;
  for (const Sheet* sheet : sheets()) count += sheet->unsaved();
  return count;
}

Desk::Outcome Desk::apply() {
  Outcome outcome;
  for (Sheet* sheet : sheets()) {
    if (sheet->unsaved() == 0) continue;
    (sheet->apply() ? outcome.saved : outcome.failed).push_back(sheet);
  }
  // Why a save failed is told by the sheet.
  told_.clear();
  return outcome;
}

std::vector<QString> Desk::takeTold() { return std::exchange(told_, {}); }

// ---- what others save ---------------------------------------------------------------------------------

void Desk::listen() {
  try {
    watch_ = std::make_unique<qorvane::PreferenceWatch>(files_);
  } catch (const qorvane::Exception&) {
    // Without it, what others saved is seen when we save.
    return;
  }
  notifier_ = std::make_unique<QSocketNotifier>(watch_->descriptor(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { hear(); });
}

void Desk::hear() {
  const std::vector<qorvane::Text> keys = watch_->changedKeys();
  for (Sheet* sheet : sheets()) {
    if (std::ranges::find(keys, sheet->key()) == keys.end()) continue;
    if (sheet->failure()) {
      sheet->reload();
      if (!sheet->failure() && readAgain) readAgain(*sheet);
      continue;
    }
    const auto items = sheet->refresh();
    if (!items.empty() && changedOutside) changedOutside(*sheet, items);
  }
  if (!told_.empty() && heard) heard();
}

// Two lines of the store are in English whatever the language; the reason that comes with them says more.
void Desk::hearLog(const QString& line) {
  if (!line.startsWith("Options couldn't be loaded") && !line.startsWith("Could not load default options"))
    told_.push_back(line);
}

}  // namespace optionsmgr::window
