// optionsmgr-firm: a firm's settings, from a shell and as the agent of a desk.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <iostream>

#include "firm/Verbs.h"
#include "qorvane/desktop/Log.h"
#include "tool/Failure.h"
#include "tool/speech/Columns.h"

namespace {

void tell(const std::string& what) {
  std::cerr << "optionsmgr-firm: " << optionsmgr::oneLine(qorvane::Text(what).string(), '?') << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  // What is opened next must not take the place of a stream that the caller closed.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0)
      static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  std::signal(SIGXFSZ, SIG_IGN);  // A file that may grow no more is an error like a full disk.
  std::signal(SIGPIPE, SIG_IGN);  // So is a reader or a server that went away.
  qorvane::setLogSink([](const qorvane::Text& line) { tell(line.string()); });
  try {
    return static_cast<int>(optionsmgr::firm::runFirm({argv + 1, argv + argc}));
  } catch (const optionsmgr::firm::FirmFailure& failure) {
    tell(failure.what());
    return static_cast<int>(failure.exit());
  } catch (const optionsmgr::Failure& failure) {
    tell(failure.what());
    return static_cast<int>(failure.code());
  } catch (const std::exception& error) {
    tell(error.what());
    return static_cast<int>(optionsmgr::firm::Exit::InputOutput);
  }
}
