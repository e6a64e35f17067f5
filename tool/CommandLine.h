// The command line: the common options, the verbs, and what was said of them.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tool/Session.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// What is to be done with the words.
  enum class Request { Run, Help, Version };

  /// Reads the words behind the program's name and sets the language of help and messages: that of --lang,
  /// or else the display language that the store has. Throws Failure (usage).
  Request parse(const std::vector<std::string>& words);

  const CLI::App& app() const { return app_; }
  const Verbs& verbs() const { return verbs_; }
  const Settings& settings() const { return settings_; }
  /// The verb that was named, or null.
  const CLI::App* verb() const;

 private:
  std::vector<std::string> parsable(const std::vector<std::string>& words) const;
  void settle();
  void settleFor(const std::vector<std::string>& words);
  std::string troubleWith(const std::vector<std::string>& words, const CLI::ParseError& error) const;
  std::optional<std::string> misspeltVerb(const std::vector<std::string>& words) const;
  std::string extraWords(const std::vector<std::string>& words) const;
  const CLI::Option* optionNamed(const std::string& name) const;

  CLI::App app_;
  Verbs verbs_;
  Settings settings_;
  std::string product_ = "T1";
  std::string language_;
};

}  // namespace optionsmgr
