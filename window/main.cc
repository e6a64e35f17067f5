// optionsmgr-window: the settings where people would rather look than read.
#include <QApplication>
#include <algorithm>
#include <clocale>
#include <csignal>
#include <iostream>
#include <memory>
#include <string_view>

#include "tool/speech/Language.h"
#include "window/Arguments.h"
#include "window/LookingFileManager.h"
#include "window/Window.h"

int main(int argc, char** argv) {
  using namespace optionsmgr::window;
  std::signal(SIGXFSZ, SIG_IGN);  // A file that may grow no more is an error like a full disk.
  // Help is told without a screen, too.
  const bool onlyTells = std::any_of(argv + 1, argv + argc, [](const std::string_view word) {
    return word == "--help" || word == "-h" || word == "--version";
  });
  const std::unique_ptr<QCoreApplication> application(onlyTells ? new QCoreApplication(argc, argv)
                                                                : new QApplication(argc, argv));
  QApplication::setApplicationName("optionsmgr-window");
  QGuiApplication::setDesktopFileName("optionsmgr-window");
  // What the system tells is translated by the library, and numbers are written by it, too.
  std::setlocale(LC_NUMERIC, "C");
  std::setlocale(LC_MESSAGES, "C");
  const Arguments arguments = readArguments(QApplication::arguments());
  if (!arguments.answer.isEmpty()) {
    (arguments.isWrong ? std::cerr : std::cout) << arguments.answer.toStdString() << '\n';
    return arguments.isWrong ? 64 : 0;
  }
  // Looking at a folder must not make it.
  LookingFileManager looking;
  const qorvane::ScopedFileManager manager(&looking);
  Window window(arguments.start);
  window.show();
  return QApplication::exec();
}
