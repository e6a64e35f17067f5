#include "tool/Language.h"

#include <algorithm>
#include <iterator>

namespace optionsmgr {

namespace {

struct Row {
  std::string_view english;
  std::string_view french;
};

constexpr Row kRows[] = {
#define FRENCH(english, french) {english, french},
#include "tool/French.def"
#undef FRENCH
};

bool french = false;

}  // namespace

void speakFrench(bool wanted) { french = wanted; }
bool speaksFrench() { return french; }

std::string_view translated(std::string_view english) {
  if (!french) return english;
  const auto* const row = std::ranges::find(kRows, english, &Row::english);
  return row == std::end(kRows) ? english : row->french;
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

}  // namespace optionsmgr
