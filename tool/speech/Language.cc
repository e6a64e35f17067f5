#include "tool/speech/Language.h"

#include <optional>
#include <vector>

#include "qorvane/desktop/Log.h"

namespace optionsmgr {

namespace {

constexpr int placesIn(std::string_view pattern) {
  int places = 0;
  for (; pattern.find("{}") != pattern.npos; ++places) pattern.remove_prefix(pattern.find("{}") + 2);
  return places;
}
static_assert(std::ranges::all_of(kFrenchRows,
                                  [](const FrenchRow& row) {
                                    return placesIn(row.english) == placesIn(row.french);
                                  }),
              "a row's two texts take different numbers of arguments");

bool french = false;

// What stands for each "{}" of the pattern; none when the message is no such text.
std::optional<std::vector<std::string_view>> argumentsOf(std::string_view message, std::string_view pattern) {
  std::vector<std::string_view> arguments;
  for (std::size_t place; (place = pattern.find("{}")) != pattern.npos;) {
    if (!message.starts_with(pattern.substr(0, place))) return std::nullopt;
    message.remove_prefix(place);
    pattern.remove_prefix(place + 2);
    const std::string_view next = pattern.substr(0, pattern.find("{}"));
    const std::size_t end = next.empty() ? message.size() : message.find(next);
    if (end == 0 || end == message.npos) return std::nullopt;
    arguments.push_back(message.substr(0, end));
    message.remove_prefix(end);
  }
  if (message != pattern) return std::nullopt;
  return arguments;
}

}  // namespace

void speakFrench(bool wanted) {
  french = wanted;
  // The library's log is told to the tool's user.
  qorvane::setLogLanguage(language());
}
bool speaksFrench() { return french; }
qorvane::Language language() { return french ? qorvane::Language::French : qorvane::Language::English; }

std::string_view translated(std::string_view english) {
  if (!french) return english;
  const auto* const row = std::ranges::find(kFrenchRows, english, &FrenchRow::english);
  return row == std::end(kFrenchRows) ? english : row->french;
}

std::string filled(std::string_view pattern, std::initializer_list<std::string_view> arguments) {
  std::string text;
  for (const std::string_view argument : arguments) {
    const std::size_t at = pattern.find("{}");
    if (at == pattern.npos) break;
    text.append(pattern.substr(0, at)).append(argument);
    pattern.remove_prefix(at + 2);
  }
  return text.append(pattern);
}

std::string told(const qorvane::Failure& failure) { return failure.reason(language()).string(); }

std::string inQuotes(std::string_view words) { return say("\"{}\"", words); }

std::string retold(std::string_view message) {
  if (!french) return std::string(message);
  for (const FrenchRow& row : kFrenchRows) {
    // A pattern of places alone would take everything.
    if (row.english.starts_with("{}") && row.english.size() < 8) continue;
    const auto arguments = argumentsOf(message, row.english);
    if (!arguments) continue;
    std::string text(row.french);
    std::size_t at = 0;
    for (const std::string_view argument : *arguments) {
      at = text.find("{}", at);
      // A single word is a name, and a reason has several.
      const std::string again =
          argument.find(' ') == argument.npos ? std::string(argument) : retold(argument);
      text.replace(at, 2, again);
      at += again.size();
    }
    return text;
  }
  return std::string(message);
}

}  // namespace optionsmgr
