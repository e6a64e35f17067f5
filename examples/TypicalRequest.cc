// A preparer types a new city in the preferences: the suite's typical request, as an application makes it.
//
//   TypicalRequest CITY
#include <iostream>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/vocabulary/Notifications.h"

using namespace qorvane;

namespace {

// 1 with the reason on standard error when there is a failure.
int told(const std::optional<Failure>& failure) {
  if (!failure) return 0;
  const Language language = OptionsMgr::isEnglish() ? Language::English : Language::French;
  std::cerr << "TypicalRequest: " << failure->reason(language) << '\n';
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: TypicalRequest CITY\n";
    return 2;
  }
  QVSettings::setProduct({.corporate = false, .professional = true, .taxYear = 2020});

  int announcements = 0;
  const Observer observer = NotificationCenter::defaultCenter().addObserver(
      kPreferenceChangeEvt, [&](const Notification& notification) {
        ++announcements;
        std::cout << "announced: " << notification.name << ", and the city is now "
                  << OptionsMgr::preparerCity() << '\n';
      });

  if (told(OptionsMgr::loadFailure())) return 1;
  std::cout << "the city was \"" << OptionsMgr::preparerCity() << "\"\n";
  OptionsMgr::setPreparerCity(Text(std::string(argv[1])));
  OptionsMgr::saveOptions();
  if (told(OptionsMgr::saveFailure())) return 1;
  if (announcements == 0) std::cout << "nothing changed, so nothing was announced\n";
}
