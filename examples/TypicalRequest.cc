// A preparer types a new city in the preferences: the suite's typical request, as an application makes it.
//
//   TypicalRequest CITY
#include <iostream>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/vocabulary/Notifications.h"

using namespace qorvane;

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

  std::cout << "the city was \"" << OptionsMgr::preparerCity() << "\"\n";
  OptionsMgr::setPreparerCity(Text(std::string(argv[1])));
  OptionsMgr::saveOptions();
  if (announcements == 0) std::cout << "nothing changed, so nothing was announced\n";
}
