#include "tool/ChoiceText.h"

#include <algorithm>

#include "tool/speech/Language.h"

namespace optionsmgr {

using qorvane::Choice;
using qorvane::ChoiceList;
using qorvane::Text;

Json choicesAsJson(const ChoiceList& list, const Text& byDefault) {
  const std::vector<Text> offered = list.options();
  const auto offers = [&](const Text& label) { return std::ranges::find(offered, label) != offered.end(); };
  Json rows = Json::array();
  for (const Choice& choice : list.choices)
    rows.push_back(
        {{"neutral", choice.neutral.string()},
         {"english", choice.english.string()},
         {"french", choice.french.string()},
         {"label", {{"english", choice.englishLabel.string()}, {"french", choice.frenchLabel.string()}}},
         {"offered", offers(choice.english) || offers(choice.french)},
         {"default",
          byDefault == choice.neutral || byDefault == choice.english || byDefault == choice.french}});
  return rows;
}

void printChoices(const Session& session, const ChoiceList& list, const Text& byDefault, std::ostream& out,
                  const std::string& indent) {
  std::vector<Row> rows;
  for (const Json& choice : choicesAsJson(list, byDefault)) {
    const auto label = [&](const char* key) { return choice["label"][key].get<std::string>(); };
    const auto answer = [&](const char* key) { return choice[key].get<bool>() ? say("yes") : say("no"); };
    rows.push_back({indent + choice["neutral"].get<std::string>(), label("english"), label("french"),
                    answer("offered"), answer("default")});
  }
  printTable(session,
             {indent + say("neutral"), say("English"), say("French"), say("offered"), say("by default")},
             rows, out, Overflow::Words);
}

}  // namespace optionsmgr
