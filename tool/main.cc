// optionsmgr: the suite's settings from a shell.
#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <iostream>
#include <new>
#include <string_view>

#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Exception.h"
#include "tool/Tool.h"
#include "tool/speech/Language.h"

namespace {

// A stream that the caller closed must not be the next file that is opened: what is said would be written
// into the settings. Its place is taken by one that refuses every use.
void fillClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0)
      static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

int run(int argc, char** argv) {
  try {
    qorvane::setLogSink([](const qorvane::Text& line) { optionsmgr::tell(line); });
    return static_cast<int>(optionsmgr::runTool({argv + 1, argv + argc}));
  } catch (const optionsmgr::Failure& failure) {
    optionsmgr::tell(failure.what());
    return static_cast<int>(failure.code());
  } catch (const qorvane::Exception& error) {
    optionsmgr::tell(optionsmgr::told(error.failure()));
    return static_cast<int>(optionsmgr::Exit::InputOutput);
  } catch (const std::bad_alloc&) {
    optionsmgr::tell(optionsmgr::told(qorvane::currentFailure()));
    return static_cast<int>(optionsmgr::Exit::InputOutput);
  } catch (const std::exception& error) {
    optionsmgr::tell(optionsmgr::say("something unforeseen happened: {}", error.what()));
    return static_cast<int>(optionsmgr::Exit::InputOutput);
  }
}

}  // namespace

int main(int argc, char** argv) {
  fillClosedStreams();
  std::signal(SIGXFSZ, SIG_IGN);  // A file that may grow no more is an error like a full disk.
  std::setlocale(LC_ALL, "");
  std::setlocale(LC_NUMERIC, "C");  // Numbers on the command line are written with a point in every language.
  std::setlocale(LC_MESSAGES, "C");  // What the system tells is translated here, as --lang says.
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    // Not even memory to say it with, in whichever language.
    constexpr std::string_view told = "optionsmgr: memory ran out / la m\u00e9moire est \u00e9puis\u00e9e\n";
    static_cast<void>(!write(STDERR_FILENO, told.data(), told.size()));
    return static_cast<int>(optionsmgr::Exit::InputOutput);
  }
}
