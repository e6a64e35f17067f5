// Settings of places to and from files, and what differs between two.
#include <filesystem>
#include <iostream>
#include <map>
#include <set>

#include "firm/OptionEntries.h"
#include "firm/SettingsFile.h"
#include "firm/Store.h"
#include "firm/TaggedJson.h"
#include "firm/VerbList.h"
#include "tool/PreferenceFile.h"
#include "tool/WholeFile.h"

namespace optionsmgr::firm {

namespace fs = std::filesystem;
using qorvane::Dictionary;
using qorvane::Text;
using qorvane::Value;

namespace {

struct Standing {
  Field value;
  bool locked = false;
  std::string token;
};
using Standings = std::map<std::pair<Domain, std::string>, Standing>;

// What stands at places, by their numbers.
std::map<std::string, Standings> standingAt(Connection& server, const std::vector<Field>& places) {
  const Rows rows = server.ask(
      "SELECT s.place, s.product, s.year, s.key, s.value, s.locked, s.token FROM optionsmgr.settings s WHERE "
      "s.place "
      "= ANY ($1::bigint[])",
      {arrayOf(places)}, std::chrono::seconds(60));
  std::map<std::string, Standings> all;
  for (const Field& place : places) all[*place];
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Domain domain{rows.text(i, 1) == "T2", std::stoi(rows.text(i, 2))};
    all[rows.text(i, 0)][{domain, rows.text(i, 3)}] = {rows.at(i, 4), rows.text(i, 5) == "t",
                                                       rows.text(i, 6)};
  }
  return all;
}

// Those of what is asked for: one year, or every year, or with --all everything.
Standings asked(const Said& said, const Standings& all) {
  Standings some;
  for (const auto& [entry, standing] : all)
    if (said.all || entry.first == said.domain()) some[entry] = standing;
  return some;
}

// ---- import ---------------------------------------------------------------------------------------------

// Makes batches of files, and remembers what could not be taken.
class Importing {
 public:
  explicit Importing(const Said& said) : said_(said) {}

  // What the file has for the place; with `replace` nothing else of it stays.
  void add(const std::string& place, const SettingsFile& given, const Standings* replaced) {
    const SettingsFile file = retargeted(given);
    for (const auto& [domain, entries] : file.settings) {
      const Taken taken = takenFrom(entries, domain, said_.force);
      leftOut_.insert(taken.leftOut.begin(), taken.leftOut.end());
      objections_ += taken.objections;
      const std::set<std::string>& locks = file.locked.at(domain);
      for (const auto& [key, value] : taken.entries)
        put(place, domain, key.string(), value, locks, replaced != nullptr);
      for (const std::string& key : locks) putLock(place, domain, key, replaced != nullptr);
    }
    for (const auto& [name, value] : file.named) addNamed(place, name.string(), value);
    if (!replaced) return;
    for (const auto& [entry, standing] : *replaced)
      if (!batch_.contains({place, entry}))
        batch_[{place, entry}] = {.place = place,
                                  .domain = entry.first,
                                  .key = entry.second,
                                  .sets = true,
                                  .lock = false,
                                  .expected = standing.token};
  }

  std::vector<Entry> batch(const std::string& source) const {
    if (!objections_.empty()) throw FirmFailure(Exit::BadData, Word::notImported, source, objections_);
    std::string names;
    for (const std::string& name : leftOut_) names += (names.empty() ? "" : ", ") + name;
    if (!names.empty()) std::cerr << say(Word::leftOut, names) << '\n';
    std::vector<Entry> all;
    for (const auto& [key, entry] : batch_) all.push_back(entry);
    return all;
  }

 private:
  // Where --year or --every-year was said, the file's one product and year goes there.
  SettingsFile retargeted(SettingsFile file) const {
    if (!said_.yearSaid() || file.settings.empty()) return file;
    if (file.settings.size() > 1) throw FirmFailure(Exit::Usage, Word::severalYears, said_.file);
    const Domain from = file.settings.begin()->first;
    file.settings = {{said_.domain(), file.settings.begin()->second}};
    file.locked = {{said_.domain(), file.locked[from]}};
    return file;
  }

  void put(const std::string& place, const Domain& domain, const std::string& key, const Value& value,
           const std::set<std::string>& locks, bool replaces) {
    Entry entry{.place = place, .domain = domain, .key = key, .sets = true, .value = jsonOf(value)};
    if (locks.contains(key))
      entry.lock = true;
    else if (replaces)
      entry.lock = false;
    batch_[{place, {domain, key}}] = entry;
  }

  // A lock without a value: for what a farther place sets.
  void putLock(const std::string& place, const Domain& domain, const std::string& key, bool replaces) {
    Entry entry{.place = place, .domain = domain, .key = key, .sets = replaces, .lock = true};
    batch_.try_emplace({place, {domain, key}}, entry);
  }

  void addNamed(const std::string& place, const std::string& name, const Value& value) {
    const qorvane::OptionRow& row = settableOption(name);
    if (!value.asText() && !value.asNumber()) throw FirmFailure(Exit::BadData, Word::doesNotFit, name);
    const bool truth = value.asNumber() && value.asNumber()->kind() == qorvane::Number::Kind::Boolean;
    const std::string words = truth ? (value.boolValue() ? "true" : "false") : value.textValue().string();
    for (const auto& [key, entry] : entriesFor(row, words, said_.domain(), said_.force))
      put(place, said_.domain(), key.string(), entry, {}, false);
  }

  const Said& said_;
  std::map<std::pair<std::string, std::pair<Domain, std::string>>, Entry> batch_;
  std::set<std::string> leftOut_;
  std::string objections_;
};

std::map<std::string, std::string> placesByPath(Connection& server) {
  const Rows rows = server.ask("SELECT t.path, t.id FROM optionsmgr.tree t");
  std::map<std::string, std::string> places;
  for (std::size_t i = 0; i < rows.size(); ++i) places[rows.text(i, 0)] = rows.text(i, 1);
  return places;
}

// Makes the places of a folder's files what their files say, in one step.
Exit importFolder(Connection& server, const Said& said) {
  const std::map<std::string, std::string> places = placesByPath(server);
  std::map<std::string, SettingsFile> files;
  for (const auto& entry : fs::recursive_directory_iterator(said.file)) {
    if (entry.path().extension() != ".json" || !entry.is_regular_file()) continue;
    SettingsFile file = readSettingsFile(entry.path(), said.all);
    const auto place = places.find(file.place);
    if (place == places.end()) throw FirmFailure(Exit::NotFound, Word::noSuchPlace, file.place);
    if (!files.emplace(place->second, std::move(file)).second)
      throw FirmFailure(Exit::BadData, Word::twoFiles, place->first);
  }
  if (files.empty()) throw FirmFailure(Exit::NotFound, Word::noSettings, said.file);
  std::vector<Field> numbers;
  numbers.reserve(files.size());
  for (const auto& [number, file] : files) numbers.emplace_back(number);
  const auto standing = standingAt(server, numbers);
  Importing importing(said);
  for (const auto& [number, file] : files) importing.add(number, file, &standing.at(number));
  return perform(server, said, importing.batch(said.file));
}

// ---- export ---------------------------------------------------------------------------------------------

SettingsFile fileOf(const Standings& standings) {
  SettingsFile file;
  for (const auto& [entry, standing] : standings) {
    Dictionary& entries = file.settings[entry.first];
    if (standing.locked) file.locked[entry.first].insert(entry.second);
    if (!standing.value) continue;
    const auto value = valueOf(*standing.value);
    if (!value) throw FirmFailure(Exit::BadData, Word::noValue, entry.second);
    entries.set(Text(entry.second), *value);
  }
  return file;
}

// Whether the bytes stand there already: what did not change is not touched.
bool stands(const std::string& path, const std::string& bytes) {
  return fs::exists(path) && bytesOfFile(path) == bytes;
}

Exit exportAll(Connection& server, const Said& said) {
  const std::map<std::string, std::string> places = placesByPath(server);
  std::vector<Field> numbers;
  numbers.reserve(places.size());
  for (const auto& [path, number] : places) numbers.emplace_back(number);
  const auto standing = standingAt(server, numbers);
  std::set<std::string> written;
  for (const auto& [path, number] : places) {
    SettingsFile file = fileOf(standing.at(number));
    file.place = path;
    const std::string target = said.allPlaces + "/" + fileOfPlace(path);
    fs::create_directories(fs::path(target).parent_path());
    if (const std::string bytes = bytesOf(file); !stands(target, bytes))
      writeWholeFile(target, bytes, Existing::Replaced);
    written.insert(target);
  }
  // What is no place of ours any more is not ours to remove, but it would not be taken back either.
  for (const auto& entry : fs::recursive_directory_iterator(said.allPlaces))
    if (entry.path().extension() == ".json" && !written.contains(entry.path().string()))
      std::cerr << say(Word::staleFile, entry.path().string()) << '\n';
  std::cout << say(Word::placesWritten, std::to_string(written.size())) << '\n';
  return Exit::Done;
}

}  // namespace

Exit importSettings(Connection& server, const Said& said) try {
  if (said.place.empty()) {
    if (!fs::is_directory(said.file)) throw FirmFailure(Exit::Usage, Word::placeOrFolder);
    return importFolder(server, said);
  }
  const std::string place = placeCalled(server, said.place);
  Importing importing(said);
  const auto standing = standingAt(server, {place});
  importing.add(place, readSettingsFile(said.file, said.all), said.replace ? &standing.at(place) : nullptr);
  return perform(server, said, importing.batch(said.file));
} catch (const fs::filesystem_error& error) {
  throw FirmFailure(Exit::InputOutput, Word::cannotRead, error.path1().string());
}

Exit exportSettings(Connection& server, const Said& said) try {
  if (!said.allPlaces.empty()) return exportAll(server, said);
  if (said.place.empty()) throw FirmFailure(Exit::Usage, Word::placeOrFolder);
  const std::string place = placeCalled(server, said.place);
  const Standings found = asked(said, standingAt(server, {place}).at(place));
  if (found.empty()) throw FirmFailure(Exit::NotFound, Word::nothingThere, said.place);
  const std::string bytes = bytesOf(fileOf(found));
  if (said.file.empty() || said.file == "-")
    std::cout << bytes;
  else
    writeWholeFile(said.file, bytes, said.force ? Existing::Replaced : Existing::Refused);
  return Exit::Done;
} catch (const fs::filesystem_error& error) {
  throw FirmFailure(Exit::CannotCreate, Word::cannotRead, error.path1().string());
}

Exit diff(Connection& server, const Said& said) {
  if (said.with.empty() == said.file.empty()) throw FirmFailure(Exit::Usage, Word::placeOrFile);
  const std::string place = placeCalled(server, said.place);
  Standings others;
  if (!said.with.empty()) {
    const std::string other = placeCalled(server, said.with);
    others = standingAt(server, {other}).at(other);
  } else {
    Importing importing(said);
    importing.add("", readSettingsFile(said.file, said.all), nullptr);
    for (const Entry& entry : importing.batch(said.file))
      others[{entry.domain, entry.key}] = {entry.value, entry.lock.value_or(false), ""};
  }
  const Standings first = asked(said, standingAt(server, {place}).at(place));
  const Standings second = asked(said, others);
  std::set<std::pair<Domain, std::string>> keys;
  for (const Standings* side : {&first, &second})
    for (const auto& [entry, standing] : *side) keys.insert(entry);
  std::vector<std::vector<Field>> rows;
  for (const auto& entry : keys) {
    const auto words = [&](const Standings& side) {
      const auto found = side.find(entry);
      if (found == side.end()) return Field();
      const std::string value = found->second.value ? shownValue(*found->second.value) : "-";
      return Field(found->second.locked ? say(Word::lockedValue, value) : value);
    };
    const Field one = words(first);
    const Field other = words(second);
    if (one != other)
      rows.push_back({entry.first.name(), nameOfKey(entry.second, entry.first.corporate), one, other});
  }
  if (rows.empty()) return Exit::Done;
  print(said, {"settings", "option", "first", "second"}, rows);
  return Exit::NotFound;
}

}  // namespace optionsmgr::firm
