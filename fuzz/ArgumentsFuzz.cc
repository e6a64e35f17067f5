#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/FuzzTargets.h"
#include "fuzz/Sandbox.h"
#include "qorvane/foundation/Exception.h"
#include "tool/Failure.h"
#include "tool/Tool.h"

namespace qorvane::fuzzing {

using optionsmgr::Exit;
using optionsmgr::Failure;

namespace {

// The words, as /proc has them: a NUL behind each, which the last may lack. A path that starts at the root
// starts at the sandbox; none leads out of it.
std::vector<std::string> words(std::string_view bytes, const Sandbox& sandbox) {
  std::vector<std::string> all;
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find('\0'), bytes.size());
    std::string word;
    for (const char byte : bytes.substr(0, end)) {
      if (byte == '/') word += sandbox.path();
      word += byte;
    }
    if (word.find("..") != word.npos) return {};
    all.push_back(word);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  return all;
}

// What the documentation of the tool has.
bool isDocumented(Exit exit) {
  const auto all = {Exit::Done,         Exit::NotFound,    Exit::Usage,  Exit::BadData,
                    Exit::CannotCreate, Exit::InputOutput, Exit::Locked, Exit::NoPermission};
  return std::ranges::find(all, exit) != all.end();
}

Exit exitOf(const std::vector<std::string>& arguments) try {
  return optionsmgr::runTool(arguments);
} catch (const Failure& failure) {
  if (std::string_view(failure.what()).empty()) throw std::logic_error("a failure without a word");
  return failure.code();
} catch (const Exception&) {
  return Exit::InputOutput;  // As in `main`; anything else that is thrown is a slip of ours.
}

}  // namespace

void fuzzArguments(std::string_view bytes) {
  // Longer ones only repeat themselves.
  if (bytes.size() > 4096) return;
  sigset_t mask;
  sigprocmask(SIG_SETMASK, nullptr, &mask);  // `watch` blocks the signals that end it.
  const Sandbox sandbox;
  const Exit exit = exitOf(words(bytes, sandbox));
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  if (!isDocumented(exit)) throw std::logic_error("an exit code that nobody documented");
  for (const auto& [name, held] : sandbox.files())
    if (name.ends_with(".new")) throw std::logic_error("a temporary file was left behind");
}

}  // namespace qorvane::fuzzing
