// The command line: the common options, the verbs, and what was said of them.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "tool/Session.h"
#include "tool/Words.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// What the words ask for.
  enum class Requested : std::uint8_t { Run, Help, Version };

  /// Reads the words behind the program's name and sets the language of help and messages: that of --lang;
  /// else what LC_ALL, LC_MESSAGES or LANG names, if that is French or English; else French if any settings
  /// of the store say so. Throws Failure (usage).
  Requested parse(const std::vector<std::string>& words);

  /// Sets the language alone.
  void settleLanguage(const std::vector<std::string>& words) const { settleLanguage(walk(app_, words)); }

  const CLI::App& app() const { return app_; }
  const Verbs& verbs() const { return verbs_; }
  const Settings& settings() const { return settings_; }
  /// The verb that is to be run or explained, or null.
  const CLI::App* verb() const { return verb_; }

 private:
  void settleLanguage(const Walk& walked) const;
  void refuseLayer() const;
  void refuseUnknown(const Walk& walked) const;
  const CLI::App* verbNamed(const std::string& name) const;

  CLI::App app_;
  Verbs verbs_;
  Settings settings_;
  std::string product_ = "T1";
  std::string language_;
  bool version_ = false;
  const CLI::App* verb_ = nullptr;
};

}  // namespace optionsmgr
