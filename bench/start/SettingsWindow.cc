// The window of settings, opened as its program opens it.
#include <QApplication>

#include "bench/start/FirstPaint.h"
#include "window/Arguments.h"
#include "window/LookingFileManager.h"
#include "window/Window.h"

int main(int argc, char** argv) {
  using namespace optionsmgr::window;
  QApplication application(argc, argv);
  const Arguments arguments = readArguments(QApplication::arguments());
  LookingFileManager looking;
  const qorvane::ScopedFileManager manager(&looking);
  Window window(arguments.start);
  const FirstPaint first(&window);
  window.show();
  return QApplication::exec();
}
