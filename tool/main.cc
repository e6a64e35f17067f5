// optionsmgr: the suite's settings from a shell.
#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <iostream>
#include <vector>

#include "qorvane/platform/FileUserDefaults.h"
#include "qorvane/platform/Log.h"
#include "tool/CommandLine.h"
#include "tool/Completion.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/Help.h"
#include "tool/Language.h"
#include "tool/Session.h"

namespace optionsmgr {

namespace {

// What a run that was killed left half done. Who may not write may still read.
void mend(Session& session) try {
  if (undoUnfinished(session))
    tell(say("a run that was killed had changed several years in part; they are as before it"));
} catch (const Failure& failure) {
  if (failure.code() != Exit::NoPermission) throw;
  tell(failure.what());
}

Exit run(const CommandLine& line) {
  Session session(line.settings());
  mend(session);
  line.verbs().run(session, std::cout);
  return session.exit();
}

// The answers that only scripts ask for: `--complete WORDS…`, and for the build `--manual SECTION en|fr`.
bool answeredToScripts(const CommandLine& line, const std::vector<std::string>& words) {
  if (words.empty()) return false;
  if (words[0] == "--complete") {
    Session session(line.settings());
    for (const std::string& candidate : completions(line.app(), session, {words.begin() + 1, words.end()}))
      std::cout << candidate << '\n';
    return true;
  }
  if (words[0] != "--manual" || words.size() != 3) return false;
  speakFrench(words[2] == "fr");
  printManual(line.app(), line.verbs(), words[1] == "5" ? 5 : 1, std::cout);
  return true;
}

Exit run(const std::vector<std::string>& words) {
  CommandLine line;
  Exit exit = Exit::Done;
  if (!answeredToScripts(line, words)) switch (line.parse(words)) {
      case CommandLine::Wish::Help:
        printHelp(line.app(), line.verbs(), line.verb(), std::cout);
        break;
      case CommandLine::Wish::Version:
        std::cout << OPTIONSMGR_VERSION << '\n';
        break;
      case CommandLine::Wish::Run:
        exit = run(line);
    }
  std::cout.flush();
  if (!std::cout) throw Failure(Exit::InputOutput, say("the answer could not be written"));
  return exit;
}

// A stream that the caller closed must not be the next file that is opened: what is said would be written
// into the settings. Its place is taken by one that refuses every use.
void fillClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0)
      static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

}  // namespace

}  // namespace optionsmgr

int main(int argc, char** argv) {
  optionsmgr::fillClosedStreams();
  std::signal(SIGXFSZ, SIG_IGN);  // A file that may grow no more is an error like a full disk.
  std::setlocale(LC_ALL, "");
  std::setlocale(LC_NUMERIC, "C");  // Numbers on the command line are written with a point in every language.
  std::setlocale(LC_MESSAGES, "C");  // What the system tells is translated here, as --lang says.
  qorvane::setLogSink([](const qorvane::Text& line) { optionsmgr::tell(optionsmgr::retold(line)); });
  try {
    return static_cast<int>(optionsmgr::run(std::vector<std::string>(argv + 1, argv + argc)));
  } catch (const optionsmgr::Failure& failure) {
    optionsmgr::tell(failure.what());
    return static_cast<int>(failure.code());
  } catch (const std::exception& error) {
    optionsmgr::tell(optionsmgr::retold(error.what()));
    return static_cast<int>(optionsmgr::Exit::InputOutput);
  }
}
