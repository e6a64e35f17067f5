// What was changed at a place, and taking it back.
#include <iostream>

#include "firm/OptionEntries.h"
#include "firm/Store.h"
#include "firm/VerbList.h"

namespace optionsmgr::firm {

Exit history(Connection& server, const Said& said) {
  if (said.place.empty()) throw FirmFailure(Exit::Usage, Word::usage, "--place");
  const Rows rows = server.ask(
      "SELECT c.number, to_char(c.at AT TIME ZONE 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"'), c.who, "
      "c.subject, "
      "c.product, c.year, c.key, c.before, c.after, c.comment FROM optionsmgr.changes c WHERE c.place = "
      "$1::bigint "
      "ORDER BY c.number DESC, c.key",
      {placeCalled(server, said.place)}, std::chrono::seconds(60));
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::string key = rows.text(i, 6);
    const std::string name = rows.text(i, 3) == "setting" ? nameOfKey(key, rows.text(i, 4) == "T2") : key;
    if (!said.words.empty() && said.words[0] != name) continue;
    const std::string year = rows.text(i, 5) == "0" ? "" : rows.text(i, 5);
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2), rows.at(i, 3), rows.at(i, 4), year, name,
                     rows.at(i, 7), rows.at(i, 8), rows.at(i, 9)});
  }
  print(said, {"number", "time", "who", "subject", "product", "year", "name", "before", "after", "comment"},
        shown);
  return Exit::Done;
}

Exit prune(Connection& server, const Said& said) try {
  const std::string gone = server
                               .ask("SELECT optionsmgr.prune_history($1::date::timestamp AT TIME ZONE 'UTC')",
                                    {said.before}, std::chrono::minutes(10))
                               .text(0, 0);
  std::cout << say(Word::pruned, gone) << '\n';
  return Exit::Done;
} catch (const DatabaseError& error) {
  // No date at all, or a day that no month has.
  if (error.state() == "22007" || error.state() == "22008") throw FirmFailure(Exit::Usage, Word::noDate);
  throw;
}

Exit undo(Connection& server, const Said& said) {
  const std::string place = placeCalled(server, said.place);
  std::string number = said.number;
  if (number.empty())
    number = server
                 .ask(
                     "SELECT max(c.number) FROM optionsmgr.changes c WHERE c.place = $1::bigint AND "
                     "c.subject = 'setting'",
                     {place})
                 .text(0, 0);
  const Rows rows = server.ask(
      "SELECT c.place, c.product, c.year, c.key, c.before, c.locked_before, c.token, c.after, c.locked_after "
      "FROM optionsmgr.changes c WHERE c.number = $1::bigint AND c.subject = 'setting' AND EXISTS (SELECT "
      "FROM "
      "optionsmgr.changes o WHERE o.number = c.number AND o.place = $2::bigint)",
      {number.empty() ? "0" : number, place});
  if (rows.size() == 0) throw FirmFailure(Exit::NotFound, Word::noSuchChange, number);
  std::vector<Entry> batch;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Entry entry{.place = rows.text(i, 0),
                .domain = {rows.text(i, 1) == "T2", std::stoi(rows.text(i, 2))},
                .key = rows.text(i, 3)};
    entry.sets = true;
    entry.value = rows.at(i, 4);
    entry.lock = rows.text(i, 5) == "t";
    const bool stands = rows.at(i, 7) || rows.text(i, 8) == "t";
    if (!said.force) entry.expected = stands ? rows.text(i, 6) : kNoEntry;
    batch.push_back(entry);
  }
  return perform(server, said, batch);
}

}  // namespace optionsmgr::firm
