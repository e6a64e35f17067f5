// Starts: processes that read one option of 150 and end, beside a process that does nothing. Time is the
// processor's, of the processes alone; memory is the most that one had at any moment.
//
// The folder of the programs is the one argument. Linked statically: a process begins with the memory of the
// one that starts it, so this one must be small.
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench/Ratios.h"

namespace {

std::string programs;

// Runs the program, which must succeed, and returns its peak of memory in KiB.
long run(const char* program, const char* argument) {
  const std::string path = programs + "/" + program;
  char* const arguments[] = {const_cast<char*>(program), const_cast<char*>(argument), nullptr};
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

bool isThere(const char* program) { return access((programs + "/" + program).c_str(), X_OK) == 0; }

void compare(bool memory, const char* title, double overEmpty, const std::string& qtFile) {
  ratios::Table table(title, ratios::Clock::Children, 0.002, 151);
  const auto add = [&](const char* name, const char* program, const char* argument) {
    if (memory)
      table.amount(name, [=] { return static_cast<double>(run(program, argument)); });
    else
      table.time(name, [=](std::size_t count) {
        while (count-- > 0) run(program, argument);
      });
  };
  add("an empty program", "start_Empty", nullptr);
  add("reading one option", "start_ReadOne", nullptr);
  if (isThere("start_QtReadOne")) add("reading one option, QSettings", "start_QtReadOne", qtFile.c_str());
  table.compare("reading one option", "an empty program", overEmpty);
  table.compare("reading one option", "reading one option, QSettings", 1);
  table.run();
}

}  // namespace

int main(int, char** argv) {
  programs = argv[1];
  std::string home = "/tmp/bench-start-XXXXXX";
  if (!mkdtemp(home.data())) return 1;
  setenv("HOME", home.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  // Both files hold 150 options.
  run("start_Prepare", nullptr);
  const std::string qtFile = home + "/qt.ini";
  std::ofstream ini(qtFile);
  ini << "[General]\nLanguage=English\n";
  for (int i = 1; i < 150; ++i) ini << "SomeOption" << i << "=a value of usual length " << i << "\n";
  ini.close();
  compare(false, "Starting, reading one option and ending: processor time", 1.15, qtFile);
  compare(true, "Starting, reading one option and ending: peak memory", 1.5, qtFile);
  return std::system(("rm -rf '" + home + "'").c_str()) != 0;
}
