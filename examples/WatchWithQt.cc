// The same as WatchWithPoll.cc in Qt's event loop.
#include <QCoreApplication>
#include <QSocketNotifier>
#include <iostream>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/PreferenceWatch.h"

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  qorvane::FileUserDefaults store;
  qorvane::PreferenceWatch watch(store);
  QSocketNotifier notifier(watch.descriptor(), QSocketNotifier::Read);
  QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
    for (const qorvane::Text& key : watch.changedKeys()) std::cout << key.string() << std::endl;
  });
  QSocketNotifier input(0, QSocketNotifier::Read);
  QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
  std::cout << "listening" << std::endl;
  return QCoreApplication::exec();
}
