#include "tool/FirmProgram.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tool/Words.h"

namespace optionsmgr {

namespace {

constexpr const char* kProgram = "optionsmgr-firm";

}  // namespace

std::optional<std::vector<std::string>> wordsForFirm(const CLI::App& app,
                                                     const std::vector<std::string>& words) {
  const Walk walked = walk(app, words);
  if (!walked.verb || walked.verb->get_name() != "firm") return std::nullopt;
  const auto verb = std::ranges::find(walked.words, Word::Kind::Verb, &Word::kind);
  const auto at = words.begin() + (verb - walked.words.begin());
  if (at + 1 != words.end() && (at[1] == "--help" || at[1] == "-h")) return std::nullopt;
  std::vector<std::string> others(words.begin(), at);
  others.insert(others.end(), at + 1, words.end());
  return others;
}

void becomeFirmProgram(const std::vector<std::string>& words) {
  std::string name = kProgram;
  std::vector<char*> arguments = {name.data()};
  std::vector<std::string> own = words;
  for (std::string& word : own) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) execv((self.parent_path() / kProgram).c_str(), arguments.data());
  execvp(kProgram, arguments.data());
}

}  // namespace optionsmgr
