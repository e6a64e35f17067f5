// A window with nothing in it, as large as the settings': what opening any window costs.
#include <QApplication>

#include "bench/start/FirstPaint.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.resize(1008, 644);
  const FirstPaint first(&window);
  window.show();
  return QApplication::exec();
}
