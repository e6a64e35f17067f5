// What the arguments of the command line may be. A value that is refused is told once all words are read, for
// one of them may say the language.
#pragma once

#include <CLI/CLI.hpp>
#include <exception>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace optionsmgr {

/// Thrown out of the parser for a value that an argument does not take.
class RefusedArgument : public std::exception {
 public:
  explicit RefusedArgument(std::function<std::string()> reason) : reason_(std::move(reason)) {}
  const char* what() const noexcept override { return "an argument was refused"; }
  /// In the language of the tool.
  std::string reason() const { return reason_(); }

 private:
  std::function<std::string()> reason_;
};

/// The option takes one of these words, in any letter case where it may.
void takesOneOf(CLI::Option* option, const std::vector<std::string>& words, bool anyCase = false);

/// The option takes a whole number in this range.
void takesNumber(CLI::Option* option, int least, int most);

/// The option takes a number of seconds in this range, with a fraction or without.
void takesSeconds(CLI::Option* option, int least, int most);

}  // namespace optionsmgr
