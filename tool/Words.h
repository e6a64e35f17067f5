// The words of a command line, told apart: the one walk over them that parsing and completion share.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace optionsmgr {

struct Word {
  enum class Kind : std::uint8_t {
    Option,       ///< "--lang", "--lang=fr", "-h": `option` is null when neither tool nor verb has it.
    OptionValue,  ///< What stands behind an option that takes a value.
    Separator,    ///< The first "--": what follows are values.
    Verb,
    Value
  };
  Kind kind;
  std::string text;
  const CLI::Option* option = nullptr;
};

struct Walk {
  std::vector<Word> words;
  const CLI::App* verb = nullptr;
  /// The option whose value would be the next word.
  const CLI::Option* asking = nullptr;

  /// What the option of that name, without its hyphens, was given last; none when it was not.
  std::optional<std::string> valueOf(const std::string& option) const;
  std::vector<std::string> values() const;
};

/// A negative number and a lone hyphen are values; so is a word in the verb's place that is no verb.
Walk walk(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace optionsmgr
