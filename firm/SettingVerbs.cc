// The settings of a place: what is set, locked, looked at and passed on.
#include <functional>
#include <iostream>
#include <map>
#include <set>

#include "firm/OptionEntries.h"
#include "firm/Store.h"
#include "firm/TaggedJson.h"
#include "firm/VerbList.h"

namespace optionsmgr::firm {

using qorvane::OptionRow;

namespace {

// Two options may share an entry: what is said last counts, as at a desk.
using Batch = std::map<std::string, Entry>;

std::vector<Entry> entriesOf(const Batch& batch) {
  std::vector<Entry> entries;
  entries.reserve(batch.size());
  for (const auto& [key, entry] : batch) entries.push_back(entry);
  return entries;
}

// The same for every entry of the options that were named.
Exit forEach(Connection& server, const Said& said, const std::function<void(Entry&)>& change) {
  const std::string place = placeCalled(server, said.place);
  Batch batch;
  for (const std::string& name : said.words)
    for (const std::string& key :
         name == "*" ? std::vector<std::string>{"*"} : keysOf(settableOption(name), said.domain())) {
      Entry entry{.place = place, .domain = said.domain(), .key = key};
      change(entry);
      batch.insert_or_assign(key, entry);
    }
  return perform(server, said, entriesOf(batch));
}

}  // namespace

Exit set(Connection& server, const Said& said) {
  if (said.words.size() % 2 != 0) throw FirmFailure(Exit::Usage, Word::pairExpected);
  const std::string place = placeCalled(server, said.place);
  Batch batch;
  for (std::size_t i = 0; i < said.words.size(); i += 2) {
    const OptionRow& row = settableOption(said.words[i]);
    for (const auto& [key, value] : entriesFor(row, said.words[i + 1], said.domain(), said.force))
      batch.insert_or_assign(key.string(), Entry{.place = place,
                                                 .domain = said.domain(),
                                                 .key = key.string(),
                                                 .sets = true,
                                                 .value = jsonOf(value)});
  }
  return perform(server, said, entriesOf(batch));
}

Exit reset(Connection& server, const Said& said) {
  return forEach(server, said, [](Entry& entry) { entry.sets = true; });
}
Exit lock(Connection& server, const Said& said) {
  return forEach(server, said, [](Entry& entry) { entry.lock = true; });
}
Exit unlock(Connection& server, const Said& said) {
  return forEach(server, said, [](Entry& entry) { entry.lock = false; });
}

Exit get(Connection& server, const Said& said) {
  const OptionRow* const row = qorvane::findProperty(said.words.at(0));
  if (!row) throw FirmFailure(Exit::NotFound, Word::noSuchOption, said.words.at(0));
  // Its own entry is the first.
  if (const auto keys = keysOf(*row, said.domain()); !keys.empty()) {
    const Rows rows = server.ask(
        "SELECT s.value FROM optionsmgr.settings s WHERE s.place = $1::bigint AND s.product = $2 AND s.year "
        "= "
        "$3::integer AND s.key = $4 AND s.value IS NOT NULL",
        {placeCalled(server, said.place), said.domain().product(), std::to_string(said.year), keys.front()});
    if (rows.size() > 0) {
      std::cout << (said.json ? rows.text(0, 0) : shownValue(rows.text(0, 0))) << '\n';
      return Exit::Done;
    }
  }
  throw FirmFailure(Exit::NotFound, Word::nothingSet, said.words.at(0));
}

Exit list(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT s.key, s.value, s.locked FROM optionsmgr.settings s WHERE s.place = $1::bigint AND s.product = "
      "$2 "
      "AND s.year = $3::integer ORDER BY s.key",
      {placeCalled(server, said.place), said.domain().product(), std::to_string(said.year)});
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Field value = rows.at(i, 1);
    shown.push_back({nameOfKey(rows.text(i, 0), said.domain().corporate),
                     value ? Field(shownValue(*value)) : Field(), rows.text(i, 2) == "t" ? "locked" : ""});
  }
  print(said, {"option", "value", "lock"}, shown);
  return Exit::Done;
}

Exit raise(Connection& server, const Said& said) {
  const Rows ends = server.ask(
      "SELECT f.id, t.id, left(f.path, length(t.path) + 1) = t.path || '/' "
      "FROM optionsmgr.tree f, optionsmgr.tree t WHERE f.id = $1::bigint AND t.id = $2::bigint",
      {placeCalled(server, said.from), placeCalled(server, said.to)});
  if (ends.text(0, 2) != "t") throw FirmFailure(Exit::Usage, Word::notAbove, said.to, said.from);
  std::vector<Entry> batch;
  std::set<std::string> seen;
  for (const std::string& name : said.words) {
    std::vector<Field> keys;
    for (const std::string& key : keysOf(settableOption(name), said.domain())) keys.emplace_back(key);
    const Rows rows = server.ask(
        "SELECT s.key, s.value, s.locked, s.token FROM optionsmgr.settings s WHERE s.place = $1::bigint AND "
        "s.product = $2 AND s.year = $3::integer AND s.key = ANY ($4::text[])",
        {ends.at(0, 0), said.domain().product(), std::to_string(said.year), arrayOf(keys)});
    if (rows.size() == 0) throw FirmFailure(Exit::NotFound, Word::nothingSet, name);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (!seen.insert(rows.text(i, 0)).second) continue;
      Entry above{.place = ends.text(0, 1), .domain = said.domain(), .key = rows.text(i, 0)};
      above.sets = rows.at(i, 1).has_value();
      above.value = rows.at(i, 1);
      if (rows.text(i, 2) == "t") above.lock = true;
      batch.push_back(above);
      Entry below{.place = ends.text(0, 0), .domain = said.domain(), .key = rows.text(i, 0), .sets = true};
      below.lock = false;
      below.expected = rows.at(i, 3);
      batch.push_back(below);
    }
  }
  return perform(server, said, batch);
}

// In one batch: for each entry that the earlier year has, what the later one is to have.
Exit carryForward(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT s.place, s.key, s.value, s.locked, n.token, b.path FROM optionsmgr.settings s "
      "JOIN optionsmgr.tree b ON b.id = s.place JOIN optionsmgr.tree p ON p.id = $1::bigint "
      "LEFT JOIN optionsmgr.settings n ON n.place = s.place AND n.product = s.product AND n.key = s.key AND "
      "n.year = "
      "$4::integer "
      "WHERE s.product = $2 AND s.year = $3::integer AND b.admin "
      "AND (b.id = p.id OR $5::boolean AND left(b.path, length(p.path) + 1) = p.path || '/')",
      {placeCalled(server, said.place), said.domain().product(), said.from, said.to,
       said.below ? "true" : "false"},
      std::chrono::seconds(60));
  if (rows.size() == 0) throw FirmFailure(Exit::NotFound, Word::nothingInYear, said.from);
  std::vector<Entry> batch;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Field there = rows.at(i, 4);
    if (there && !said.overwrite) {
      ++kept;
      continue;
    }
    Entry entry{.place = rows.text(i, 0),
                .domain = {said.domain().corporate, std::stoi(said.to)},
                .key = rows.text(i, 1)};
    entry.sets = true;
    entry.value = rows.at(i, 2);
    entry.lock = rows.text(i, 3) == "t";
    entry.expected = there.value_or(kNoEntry);
    batch.push_back(entry);
  }
  if (kept > 0) std::cerr << say(Word::keptThere, std::to_string(kept), said.to) << '\n';
  return perform(server, said, batch);
}

}  // namespace optionsmgr::firm
