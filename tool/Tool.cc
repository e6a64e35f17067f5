#include "tool/Tool.h"

#include <iostream>

#include "qorvane/foundation/Version.h"
#include "tool/CommandLine.h"
#include "tool/Failure.h"
#include "tool/FirmProgram.h"
#include "tool/Session.h"
#include "tool/speech/Completion.h"
#include "tool/speech/Help.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

namespace {

Exit run(const CommandLine& line) try {
  Session session(line.settings());
  line.verbs().run(session, std::cout);
  return session.exit();
} catch (const qorvane::FileException& error) {
  throw failureOf(error);
}

// The answers that only scripts ask for: `--complete WORDS…`, and for the build `--manual SECTION en|fr`.
bool answeredToScripts(const CommandLine& line, const std::vector<std::string>& words) {
  if (words.empty()) return false;
  if (words[0] == "--complete") {
    if (words.size() > 2 && words[1] == "firm") {
      std::vector<std::string> others = words;
      others.erase(others.begin() + 1);
      becomeFirmProgram(others);
      return true;  // What is not installed completes nothing.
    }
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

}  // namespace

Exit runTool(const std::vector<std::string>& words) {
  CommandLine line;
  Exit exit = Exit::Done;
  if (const auto others = wordsForFirm(line.app(), words)) {
    becomeFirmProgram(*others);
    line.settleLanguage(words);
    throw Failure(Exit::Unavailable,
                  say("optionsmgr-firm is not installed; it comes with the package of that name"));
  }
  if (!answeredToScripts(line, words)) switch (line.parse(words)) {
      case CommandLine::Requested::Help:
        printHelp(line.app(), line.verbs(), line.verb(), std::cout);
        break;
      case CommandLine::Requested::Version:
        std::cout << OPTIONSMGR_VERSION << '\n';
        break;
      case CommandLine::Requested::Run:
        exit = run(line);
    }
  std::cout.flush();
  if (!std::cout) throw Failure(Exit::InputOutput, say("the answer could not be written"));
  return exit;
}

}  // namespace optionsmgr
