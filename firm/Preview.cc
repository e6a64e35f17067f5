#include "firm/Preview.h"

#include <algorithm>
#include <set>

#include "firm/TaggedJson.h"
#include "qorvane/foundation/Dictionary.h"

namespace optionsmgr::firm {

using qorvane::Dictionary;
using qorvane::Value;

namespace {

struct Place {
  PlaceState state;
  std::string parent;
  std::string path;
  bool isDesk = false;
};

std::map<std::string, Place> placesInSight(Connection& server) {
  std::map<std::string, Place> places;
  const Rows rows = server.ask(
      "SELECT t.id, t.parent, t.name, t.path, t.admin AND (NOT EXISTS (SELECT FROM optionsmgr.tree b WHERE "
      "b.parent "
      "= t.id) OR EXISTS (SELECT FROM optionsmgr.grants g WHERE g.place = t.id AND NOT g.admin)) FROM "
      "optionsmgr.tree t");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Place& place = places[rows.text(i, 0)];
    place.parent = rows.text(i, 1);
    place.state.name = rows.text(i, 2);
    place.path = rows.text(i, 3);
    place.isDesk = rows.text(i, 4) == "t";
  }
  const Rows settings =
      server.ask("SELECT s.place, s.product, s.year, s.key, s.value, s.locked FROM optionsmgr.settings s", {},
                 std::chrono::seconds(60));
  for (std::size_t i = 0; i < settings.size(); ++i)
    if (const auto place = places.find(settings.text(i, 0)); place != places.end())
      place->second.state.settings.push_back({{settings.text(i, 1) == "T2", std::stoi(settings.text(i, 2))},
                                              settings.text(i, 3),
                                              settings.at(i, 4),
                                              settings.text(i, 5) == "t",
                                              "",
                                              "",
                                              ""});
  return places;
}

using Files = std::map<std::string, Value>;
using Entries = std::map<std::string, std::string>;

// The entries that the desk reads of the firm's in that year: a year without a file has every year's.
Entries entriesOf(const Files& files, const Domain& domain) {
  Domain found = domain;
  if (!files.contains(found.key() + ".plist")) found.year = 0;
  const auto file = files.find(found.key() + ".plist");
  Entries entries;
  if (file == files.end()) return entries;
  const Dictionary& top = *file->second.asDictionary();
  for (const auto& [key, value] : *top.find(found.key())->asDictionary())
    entries[key.string()] = jsonOf(value);
  if (const Value* locked = top.find("Locked"))
    for (const Value& key : *locked->asArray()) entries[key.textValue().string()] += '!';
  return entries;
}

template <class Map>
typename Map::mapped_type in(const Map& map, const typename Map::key_type& key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type() : found->second;
}

template <class Map>
std::set<std::string> keysOfBoth(const Map& one, const Map& other) {
  std::set<std::string> keys;
  for (const Map* map : {&one, &other})
    for (const auto& [key, held] : *map) keys.insert(key);
  return keys;
}

}  // namespace

std::map<std::string, DeskFiles> deskFiles(Connection& server) {
  const std::map<std::string, Place> places = placesInSight(server);
  std::map<std::string, DeskFiles> all;
  for (const auto& [id, desk] : places) {
    if (!desk.isDesk) continue;
    std::vector<PlaceState> chain;
    for (auto at = places.find(id); at != places.end(); at = places.find(at->second.parent))
      chain.push_back(at->second.state);
    all[id] = {desk.path, filesOf(chain)};
  }
  return all;
}

std::vector<DeskChange> changesBetween(const std::map<std::string, DeskFiles>& before,
                                       const std::map<std::string, DeskFiles>& after) {
  std::vector<DeskChange> changes;
  for (const std::string& place : keysOfBoth(before, after)) {
    const DeskFiles first = in(before, place);
    const DeskFiles second = in(after, place);
    const Files& had = first.files;
    const Files& has = second.files;
    const std::string& desk = second.path.empty() ? first.path : second.path;
    for (const std::string& file : keysOfBoth(had, has)) {
      const Domain domain = *Domain::fromKey(file.substr(0, file.find('.')));
      const Entries was = entriesOf(had, domain);
      const Entries is = entriesOf(has, domain);
      for (const std::string& key : keysOfBoth(was, is)) {
        const std::string old = in(was, key);
        const std::string now = in(is, key);
        if (old != now)
          changes.push_back(
              {desk, domain, key, old.empty() ? Field() : Field(old), now.empty() ? Field() : Field(now)});
      }
    }
  }
  std::ranges::stable_sort(changes, {}, &DeskChange::desk);
  return changes;
}

}  // namespace optionsmgr::firm
