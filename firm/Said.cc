#include "firm/Said.h"

#include <iostream>
#include <nlohmann/json.hpp>

#include "firm/OptionEntries.h"
#include "firm/Preview.h"
#include "firm/TaggedJson.h"
#include "tool/speech/Columns.h"

namespace optionsmgr::firm {

using Json = nlohmann::ordered_json;

void print(const Said& said, const std::vector<std::string>& names,
           const std::vector<std::vector<Field>>& rows) {
  if (said.json) {
    Json all = Json::array();
    for (const auto& row : rows) {
      Json object;
      for (std::size_t i = 0; i < names.size(); ++i)
        object[names[i]] = row[i] ? Json(*row[i]) : Json(nullptr);
      all.push_back(std::move(object));
    }
    std::cout << all.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return;
  }
  std::vector<optionsmgr::Row> shown;
  for (const auto& row : rows) {
    optionsmgr::Row& cells = shown.emplace_back();
    for (const Field& field : row) cells.push_back(field.value_or("-"));
  }
  printColumns(shown, std::cout, {.width = 80, .overlong = Overlong::Whole});
}

std::string shownValue(const std::string& json) {
  const auto value = valueOf(json);
  return value && value->asText() ? value->asText()->string() : json;
}

namespace {

Exit finish(const Said& said, const Stored& stored) {
  if (stored.number.empty()) {
    std::cerr << say(Word::unchanged) << '\n';
    return Exit::Done;
  }
  if (said.json)
    std::cout << Json{{"number", std::stoll(stored.number)}, {"changed", stored.changed}}.dump() << '\n';
  else if (stored.changed > 0)
    std::cout << say(Word::changedAs, stored.number, std::to_string(stored.changed)) << '\n';
  else
    std::cout << say(Word::treeChanged, stored.number) << '\n';
  if (stored.warnings.empty()) return Exit::Done;
  throw FirmFailure(Exit::Unavailable, Word::storedNotOnStandby, stored.warnings.front());
}

// A value of a desk in words, with its lock told apart.
std::string shownAtDesk(const Field& value) {
  if (!value) return "-";
  const bool locked = value->ends_with('!');
  const std::string shown = shownValue(value->substr(0, value->size() - locked));
  return locked ? say(Word::lockedValue, shown) : shown;
}

Exit preview(Connection& server, const Said& said, const Statement& statement) {
  std::map<std::string, DeskFiles> before;
  std::map<std::string, DeskFiles> after;
  rehearse(server, statement, [&](bool changed) { (changed ? after : before) = deskFiles(server); });
  const std::vector<DeskChange> changes = changesBetween(before, after);
  std::vector<std::vector<Field>> rows;
  rows.reserve(changes.size());
  for (const DeskChange& change : changes)
    rows.push_back({change.desk, change.domain.name(), nameOfKey(change.key, change.domain.corporate),
                    shownAtDesk(change.before), shownAtDesk(change.after)});
  print(said, {"desk", "settings", "option", "before", "after"}, rows);
  std::cerr << say(changes.empty() ? Word::previewNoDesk : Word::preview) << '\n';
  return Exit::Done;
}

}  // namespace

Exit perform(Connection& server, const Said& said, const Statement& statement) {
  return said.dryRun ? preview(server, said, statement) : finish(said, store(server, statement));
}

Exit perform(Connection& server, const Said& said, const std::vector<Entry>& batch) {
  return batch.empty() ? finish(said, {}) : perform(server, said, batchOf(batch, said.comment));
}

}  // namespace optionsmgr::firm
