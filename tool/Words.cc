#include "tool/Words.h"

#include <algorithm>

namespace optionsmgr {

namespace {

bool looksLikeOption(std::string_view word) {
  const bool isNumber = word.size() > 1 && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
  return word.size() > 1 && word[0] == '-' && !isNumber;
}

const CLI::Option* optionNamed(const CLI::App& app, const CLI::App* verb, const std::string& name) {
  const CLI::Option* option = verb ? verb->get_option_no_throw(name) : nullptr;
  return option ? option : app.get_option_no_throw(name);
}

}  // namespace

std::optional<std::string> Walk::valueOf(const std::string& option) const {
  std::optional<std::string> last;
  for (const Word& word : words) {
    if (!word.option || !word.option->check_lname(option)) continue;
    if (word.kind == Word::Kind::OptionValue) last = word.text;
    if (const auto at = word.text.find('='); word.kind == Word::Kind::Option && at != word.text.npos)
      last = word.text.substr(at + 1);
  }
  return last;
}

std::vector<std::string> Walk::values() const {
  std::vector<std::string> all;
  for (const Word& word : words)
    if (word.kind == Word::Kind::Value) all.push_back(word.text);
  return all;
}

Walk walk(const CLI::App& app, const std::vector<std::string>& words) {
  Walk walked;
  bool onlyValues = false;
  for (const std::string& word : words) {
    if (walked.asking) {
      walked.words.push_back({Word::Kind::OptionValue, word, walked.asking});
      walked.asking = nullptr;
    } else if (!onlyValues && word == "--") {
      onlyValues = true;
      walked.words.push_back({Word::Kind::Separator, word});
    } else if (!onlyValues && looksLikeOption(word)) {
      const std::size_t equals = word.find('=');
      const CLI::Option* option = optionNamed(app, walked.verb, word.substr(0, equals));
      walked.words.push_back({Word::Kind::Option, word, option});
      if (option && equals == word.npos && option->get_items_expected_max() > 0) walked.asking = option;
    } else {
      const auto named =
          walked.verb || onlyValues
              ? std::vector<const CLI::App*>()
              : app.get_subcommands([&](const CLI::App* known) { return known->get_name() == word; });
      if (!named.empty()) walked.verb = named.front();
      walked.words.push_back({named.empty() ? Word::Kind::Value : Word::Kind::Verb, word});
    }
  }
  return walked;
}

}  // namespace optionsmgr
