// The window of settings: its start and memory beside an empty window's, what a search costs as one types,
// and how soon a change of another program is shown.
//
// The folder of the programs is the one argument. Windows are opened on Qt's offscreen platform, unless
// QT_QPA_PLATFORM says otherwise.
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "bench/Ratios.h"
#include "qorvane/store/Options.h"
#include "tool/speech/Language.h"
#include "window/LookingFileManager.h"
#include "window/Search.h"
#include "window/Window.h"

namespace {

using namespace optionsmgr::window;

constexpr qorvane::Product kProduct{.corporate = false, .taxYear = 2025};

std::string programs;

// Opens the window to its first paint and returns the peak of memory in KiB.
long open(const char* program) {
  const std::string path = programs + "/" + program;
  char* const arguments[] = {const_cast<char*>(program), nullptr};
  pid_t child = 0;
  int status = 0;
  rusage usage{};
  if (posix_spawn(&child, path.c_str(), nullptr, nullptr, arguments, environ) != 0 ||
      wait4(child, &status, 0, &usage) != child || status != 0) {
    std::fprintf(stderr, "%s failed\n", path.c_str());
    std::exit(1);
  }
  return usage.ru_maxrss;
}

void compareStarts(bool memory, const char* title, double atMost) {
  ratios::Table table(title, ratios::Clock::Wall, 0.002, 31);
  for (const char* program : {"start_EmptyWindow", "start_SettingsWindow"}) {
    if (memory)
      table.amount(program, [=] { return static_cast<double>(open(program)); });
    else
      table.time(program, [=](std::size_t count) {
        while (count-- > 0) open(program);
      });
  }
  table.compare("start_SettingsWindow", "start_EmptyWindow", atMost);
  table.run();
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

double processorMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

void tell(const char* what, double milliseconds, double atMost) {
  std::printf("| %s | %.2f ms | %.0f ms | %s |\n", what, milliseconds, atMost,
              milliseconds <= atMost ? "yes" : "**no**");
}

// One letter after the other, as they are typed; a search is what one letter asks for.
double timeSearch(Sheet& sheet) {
  const Search search(sheet);
  std::vector<double> taken;
  for (int round = 0; round < 20; ++round)
    for (const char* words : {"postal code", "télécopieur", "date d’expiration", "couleur"}) {
      const QString all = QString::fromUtf8(words);
      for (qsizetype typed = 1; typed <= all.size(); ++typed) {
        const double before = processorMilliseconds();
        ratios::keep(search.find(all.left(typed)));
        taken.push_back(processorMilliseconds() - before);
      }
    }
  return median(taken);
}

// From the moment that another program's save has come back to the moment that the field shows it.
double timeForeignChange(Window& window) {
  window.goTo("preparerCity");
  const Item* item = window.sheet().itemOf("preparerCity");
  auto& field = dynamic_cast<QLineEdit&>(*window.page().rowOf(*item)->field());
  qorvane::FileUserDefaults files;
  std::vector<double> taken;
  for (int round = 0; round < 51; ++round) {
    qorvane::Options there(files, kProduct);
    there.loadOptions();
    const QString city = "Alma " + QString::number(round);
    there.setPreparerCity(qorvane::Text(city.toStdString()));
    there.saveOptions();
    QElapsedTimer timer;
    timer.start();
    while (field.text() != city) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    taken.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
  }
  return median(taken);
}

}  // namespace

int main(int argc, char** argv) {
  programs = argv[1];
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  char home[] = "/tmp/window-bench-XXXXXX";
  if (!mkdtemp(home)) return 1;
  setenv("HOME", home, 1);
  for (const char* variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"}) unsetenv(variable);
  compareStarts(false, "Opening the window, from the start of the process to its first paint", 1.5);
  compareStarts(true, "Opening the window: peak memory", 1.3);

  const QApplication application(argc, argv);
  optionsmgr::speakFrench(false);
  LookingFileManager looking;
  {
    const qorvane::ScopedFileManager manager(&looking);
    Start start;
    start.year = kProduct.taxYear;
    Window window(start);
    window.show();
    QApplication::processEvents();
    std::printf("### Working in the window\n\n| measured | median | aim | reached |\n|---|---|---|---|\n");
    tell("a search in both languages, one letter more: processor time", timeSearch(window.sheet()), 2);
    tell("a change of another program, from its save to the field", timeForeignChange(window), 100);
    std::printf("\n");
  }
  std::filesystem::remove_all(home);
  return 0;
}
