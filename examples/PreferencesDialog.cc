// What an application asks of its settings from start to end: it says which product it is, listens, writes
// back a dialog's fields in one block, changes an option by itself, saves, asks for its folders, and shows
// amounts.
#include <iostream>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"

using namespace qorvane;

namespace {

int announcements = 0;

Language displayLanguage() { return OptionsMgr::isEnglish() ? Language::English : Language::French; }

// Saves, and tells what came of it.
bool save(const char* what) {
  const int before = announcements;
  OptionsMgr::saveOptions();
  if (const auto failure = OptionsMgr::saveFailure()) {
    std::cerr << what << ": " << failure->reason(displayLanguage()) << '\n';
    return false;
  }
  std::cout << what << ": saved, announced " << (announcements - before) << " time(s)\n";
  return true;
}

}  // namespace

int main() {
  QVSettings::setProduct({.corporate = true, .professional = true, .taxYear = 2021, .release = "VER2021_2"});
  // Settings that could not be loaded are not the user's: nothing typed into them would be saved.
  if (const auto failure = OptionsMgr::loadFailure()) {
    std::cerr << "the settings could not be loaded: " << failure->reason(displayLanguage()) << '\n';
    return 1;
  }
  std::cout << OptionsMgr::productName() << ", forms " << OptionsMgr::formsVersion() << '\n';

  const Observer observer = NotificationCenter::defaultCenter().addObserver(
      kPreferenceChangeEvt, [](const Notification&) { ++announcements; });

  {
    // The dialog writes all its fields back, changed or not: nothing of it is announced.
    const BulkSetting bulk;
    OptionsMgr::setFirmName("Impôts Côté & filles");
    OptionsMgr::setPreparerCity("Gaspé");
  }
  if (!save("the dialog")) return 1;

  OptionsMgr::setPreparerCity("Gaspé");  // the same city is no change
  if (!save("the same city")) return 1;
  OptionsMgr::setPreparerCity("Percé");
  if (!save("another city")) return 1;
  std::cout << OptionsMgr::firmName() << ", " << OptionsMgr::preparerCity() << '\n';

  // Asking for a folder makes it.
  std::cout << "clients in " << OptionsMgr::t2ClientFileFolder() << '\n';

  for (const Text& language : {Text("English"), Text("French")}) {
    OptionsMgr::setLanguage(language);
    std::cout << language << ": " << OptionsMgr::numberFormatter()->stringFromNumber(1234567) << " and "
              << OptionsMgr::numberFormatterWithoutDollar()->stringFromNumber(-1234.5) << '\n';
  }
}
