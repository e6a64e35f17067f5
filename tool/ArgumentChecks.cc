#include "tool/ArgumentChecks.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "tool/speech/Language.h"

namespace optionsmgr {

namespace {

// The whole word as a number; nothing of it may be left.
template <class Number>
bool isWithin(std::string_view word, Number least, Number most) {
  Number number{};
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  // Written so that a NaN is refused too.
  return error == std::errc() && end == word.data() + word.size() && number >= least && number <= most;
}

void refuseUnless(
    CLI::Option* option, const std::function<bool(const std::string&)>& isGood,
    const std::function<std::string(const std::string& name, const std::string& word)>& reason) {
  const std::string name = option->get_name();
  option->check([=](const std::string& word) -> std::string {
    if (!isGood(word)) throw RefusedArgument([=] { return reason(name, word); });
    return {};
  });
}

}  // namespace

void takesOneOf(CLI::Option* option, const std::vector<std::string>& words, bool anyCase) {
  const auto same = [anyCase](const std::string& a, const std::string& b) {
    return a == b || (anyCase && CLI::detail::to_lower(a) == CLI::detail::to_lower(b));
  };
  refuseUnless(
      option,
      [=](const std::string& word) {
        return std::ranges::any_of(words, [&](const std::string& good) { return same(word, good); });
      },
      [=](const std::string& name, const std::string& word) {
        return say("{} takes one of {}, not \"{}\"", name, CLI::detail::join(words, ", "), word);
      });
}

void takesNumber(CLI::Option* option, int least, int most) {
  refuseUnless(
      option, [=](const std::string& word) { return isWithin(word, least, most); },
      [=](const std::string& name, const std::string& word) {
        return say("{} takes a whole number from {} to {}, not \"{}\"", name, std::to_string(least),
                   std::to_string(most), word);
      });
}

void takesSeconds(CLI::Option* option, int least, int most) {
  refuseUnless(
      option, [=](const std::string& word) { return isWithin<double>(word, least, most); },
      [=](const std::string& name, const std::string& word) {
        return say("{} takes a number of seconds from {} to {}, not \"{}\"", name, std::to_string(least),
                   std::to_string(most), word);
      });
}

}  // namespace optionsmgr
