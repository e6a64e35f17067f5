#include "window/Toolkit.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace optionsmgr::window {

void translateToolkit(bool french) {
  static QTranslator translator;
  QCoreApplication::removeTranslator(&translator);
  if (french && translator.load(QLocale(QLocale::French), "qtbase", "_",
                                QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QCoreApplication::installTranslator(&translator);
}

}  // namespace optionsmgr::window
