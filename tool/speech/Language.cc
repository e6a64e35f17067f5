#include "tool/speech/Language.h"

#include "qorvane/desktop/Log.h"

namespace optionsmgr {

namespace {

struct FrenchRow {
  std::string_view english;
  std::string_view french;
};
constexpr FrenchRow kFrenchRows[] = {
#define FRENCH(english, french) {english, french},
#include "tool/speech/French.def"
#undef FRENCH
};

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

}  // namespace

void speakFrench(bool wanted) {
  french = wanted;
  // The library's log is told to the tool's user.
  qorvane::setLogLanguage(language());
}
bool speaksFrench() { return french; }
qorvane::Language language() { return french ? qorvane::Language::French : qorvane::Language::English; }

std::string_view translated(std::string_view english) { return translated(english, language()); }

std::string_view translated(std::string_view english, qorvane::Language language) {
  if (language == qorvane::Language::English) return english;
  const auto* const row = std::ranges::find(kFrenchRows, english, &FrenchRow::english);
  return row == std::end(kFrenchRows) ? english : row->french;
}

std::string_view Phrase::text() const { return translated(english_); }

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

}  // namespace optionsmgr
