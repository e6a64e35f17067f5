// The verbs of what settings were before: history and undo.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>

#include "qorvane/foundation/Exception.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/UnfinishedChange.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::OptionRow;
using qorvane::Text;
using qorvane::Value;

namespace {

struct HistoryRequest {
  std::string option;
  bool forget = false;
  bool showSecrets = false;
};

struct UndoRequest {
  std::uint64_t number = 0;
  bool numberSaid = false;
  std::vector<std::string> options;
};

// What a file held at some time: the one that stands has no number.
struct Past {
  std::optional<std::uint64_t> number;
  std::time_t written = 0;
  bool damaged = false;
  Dictionary entries;
  std::vector<OptionState> states;
};

Dictionary entriesOf(const Value& object) {
  return object.asDictionary() ? *object.asDictionary() : Dictionary();
}

// The file that stands, then its generations, the newest first.
std::vector<Past> pastOf(Session& session, const Domain& domain) {
  const FileUserDefaults& files = session.files();
  const Text key = domain.key();
  std::vector<Past> all;
  if (const auto entries = storedEntries(session, domain)) {
    Past now;
    std::error_code none;
    const auto written = std::filesystem::last_write_time(files.pathForKey(key), none);
    now.written = std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::file_clock::to_sys(written)));
    now.entries = *entries;
    all.push_back(std::move(now));
  }
  for (const auto& generation : files.generations(key)) {
    Past past;
    past.number = generation.number;
    past.written = generation.written;
    try {
      past.entries = entriesOf(files.objectOfGeneration(key, generation.number));
    } catch (const FileException& error) {
      if (error.systemError() == ENOENT) continue;  // It went meanwhile.
      past.damaged = true;
    } catch (const qorvane::Exception&) {
      past.damaged = true;
    }
    all.push_back(std::move(past));
  }
  for (Past& past : all)
    if (!past.damaged) past.states = optionStates(session, domain, past.entries);
  return all;
}

bool readsTheSame(const OptionState& a, const OptionState& b) {
  return a.unreadable == b.unreadable && shown(*a.row, a.value) == shown(*b.row, b.value);
}

bool readTheSame(const Past& a, const Past& b) {
  return std::ranges::equal(a.states, b.states, readsTheSame);
}

// The one before, in time, that is good; null for the first that is kept.
const Past* before(const std::vector<Past>& all, std::size_t at) {
  for (++at; at < all.size(); ++at)
    if (!all[at].damaged) return &all[at];
  return nullptr;
}

std::string timeText(std::time_t time, bool forPrograms) {
  std::tm parts{};
  char text[40];
  if (forPrograms)
    gmtime_r(&time, &parts);
  else
    localtime_r(&time, &parts);
  return {text,
          std::strftime(text, sizeof text, forPrograms ? "%Y-%m-%dT%H:%M:%SZ" : "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string words(const OptionState& state, bool showSecrets) {
  return state.unreadable ? say("(unreadable)")
                          : inWords(masked(*state.row, state.value, showSecrets), state.value.isNil());
}

// ---- history ----------------------------------------------------------------------------------------------

void history(Session& session, const HistoryRequest& request, std::ostream& out) try {
  session.requireFolder();
  const Domain domain = domainOf(session);
  if (request.forget) {
    const std::size_t count = session.files().forgetGenerations(domain.key());
    if (session.json())
      printJson({{"forgotten", count}}, out);
    else if (session.reports())
      out << domain.name() << ": " << say("generations that were removed: {}", std::to_string(count)) << '\n';
    return;
  }
  const OptionRow* only = request.option.empty() ? nullptr : &Session::option(request.option);
  const std::vector<Past> all = pastOf(session, domain);
  Json told = Json::array();
  std::vector<Row> rows;
  for (std::size_t at = 0; at < all.size(); ++at) {
    const Past& past = all[at];
    const Past* const older = before(all, at);
    Json changes = Json::array();
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < past.states.size(); ++i) {
      const OptionState& state = past.states[i];
      if (!state.row->write || (only && state.row != only)) continue;
      if (older ? readsTheSame(older->states[i], state) : !only && !(state.stored && !state.isDefault))
        continue;
      const std::string to = words(state, request.showSecrets);
      lines.push_back(older ? std::string(state.row->name) + ": " +
                                  words(older->states[i], request.showSecrets) + " -> " + to
                            : std::string(state.row->name) + ": " + to);
      Json change = {{"name", std::string(state.row->name)}};
      if (older) change["from"] = maskedJson(*state.row, older->states[i].value, request.showSecrets);
      change["to"] = maskedJson(*state.row, state.value, request.showSecrets);
      changes.push_back(std::move(change));
    }
    // Of one option only the states in which it came to its value.
    if (only && lines.empty()) continue;
    if (past.damaged) lines = {say("damaged")};
    told.push_back({{"number", past.number ? Json(*past.number) : Json(nullptr)},
                    {"time", timeText(past.written, true)},
                    {"damaged", past.damaged},
                    {"changes", std::move(changes)}});
    const std::string number = past.number ? std::to_string(*past.number) : "";
    if (lines.empty()) lines = {say("nothing that an option reads")};
    for (std::size_t i = 0; i < lines.size(); ++i)
      rows.push_back({i == 0 ? number : "", i == 0 ? timeText(past.written, false) : "", lines[i]});
  }
  if (session.json())
    printJson(told, out);
  else
    printTable(session, {say("number"), say("time"), say("what changed")}, std::move(rows), out,
               Overflow::Values);
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

// ---- undo -------------------------------------------------------------------------------------------------

constexpr std::string_view kChosen = "Chosen";

// The marks of entries that somebody chose.
std::vector<Value> marks(const Dictionary& entries) {
  const Value* chosen = entries.find(kChosen);
  return chosen && chosen->asArray() ? *chosen->asArray() : std::vector<Value>();
}

// Makes the option's entries, and their marks, those that the past had.
void takeOver(Dictionary& entries, const Dictionary& past, const OptionRow& row) {
  std::vector<Value> chosen = marks(entries);
  const std::vector<Value> chosenThen = marks(past);
  for (const Text& key : row.entries()) {
    if (const Value* then = past.find(key.view()))
      entries.set(key, *then);
    else
      entries.remove(key.view());
    std::erase(chosen, Value(key));
    if (std::ranges::find(chosenThen, Value(key)) != chosenThen.end()) chosen.emplace_back(key);
  }
  if (chosen.empty())
    entries.remove(kChosen);
  else
    entries.set(Text(kChosen), qorvane::Array(chosen));
}

const OptionState& stateOf(const Past& past, const OptionRow& row) {
  return *std::ranges::find(past.states, &row, &OptionState::row);
}

void undo(Session& session, const UndoRequest& request, std::ostream& out) try {
  session.requireFolder();
  const FileUserDefaults::Lock lock(session.files());
  putBackUnfinished(session);
  const Domain domain = domainOf(session);
  std::vector<const OptionRow*> rows;
  for (const std::string& name : request.options) {
    const OptionRow& row = Session::option(name);
    if (!row.write)
      throw Failure(Exit::Usage, say("{} cannot be set: the library answers it itself", row.name));
    rows.push_back(&row);
  }
  std::vector<Past> all = pastOf(session, domain);
  Past now;
  if (!all.empty() && !all.front().number) {
    now = std::move(all.front());
    all.erase(all.begin());
  } else {
    now.states = optionStates(session, domain, Dictionary());
  }
  std::erase_if(all, [](const Past& past) { return past.damaged; });

  // The state to go back to: the one that was named, or the newest that differs.
  const auto find = [&](const auto& isIt) -> const Past& {
    const auto found = std::ranges::find_if(all, isIt);
    if (found != all.end()) return *found;
    if (request.numberSaid)
      throw Failure(Exit::NotFound,
                    say("{} has no good generation {}", domain.name(), std::to_string(request.number)));
    throw Failure(Exit::NotFound, say("there is nothing to undo"));
  };
  const auto isNamed = [&](const Past& past) { return past.number == request.number; };
  Dictionary entries = now.entries;
  if (rows.empty()) {
    entries = (request.numberSaid ? find(isNamed) : find([&](const Past& past) {
                return !readTheSame(past, now);
              })).entries;
  }
  for (const OptionRow* row : rows)
    takeOver(entries, (request.numberSaid ? find(isNamed) : find([&](const Past& past) {
                        return !readsTheSame(stateOf(past, *row), stateOf(now, *row));
                      })).entries,
             *row);
  changeAll(session, {{domain, entries}});

  // What that changed, in words.
  Past then;
  then.states = optionStates(session, domain, entries);
  Json changes = Json::array();
  for (std::size_t i = 0; i < then.states.size(); ++i) {
    const OptionRow& row = *then.states[i].row;
    if (!row.write || readsTheSame(now.states[i], then.states[i])) continue;
    changes.push_back({{"name", std::string(row.name)},
                       {"from", maskedJson(row, now.states[i].value, false)},
                       {"to", maskedJson(row, then.states[i].value, false)}});
    if (!session.json() && session.reports())
      out << domain.name() << "  " << row.name << ": " << words(now.states[i], false) << " -> "
          << words(then.states[i], false) << '\n';
  }
  if (session.json()) printJson(changes, out);
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

}  // namespace

void addGenerationVerbs(Verbs& verbs) {
  verbs.add<HistoryRequest>(
      "history", "show what each save changed: the file that stands, then what was kept of it before",
      [](CLI::App& verb, HistoryRequest& request) {
        verb.add_option("OPTION", request.option, Phrase("when this option came to its values"));
        verb.add_flag("--forget", request.forget,
                      Phrase("remove what was kept, but for the newest good one"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      history, "  optionsmgr history\n  optionsmgr history preparerCity\n");
  verbs.add<UndoRequest>(
      "undo", "put back what the settings, or some options, were before their last change",
      [](CLI::App& verb, UndoRequest& request) {
        verb.add_option("OPTION", request.options,
                        Phrase("only these options, each before its own last change"));
        verb.add_option_function<std::uint64_t>(
            "--to",
            [&request](const std::uint64_t& number) {
              request.number = number;
              request.numberSaid = true;
            },
            Phrase("the number of the state to go back to, as history shows it"));
      },
      undo, "  optionsmgr undo\n  optionsmgr undo preparerCity\n  optionsmgr undo --to 12\n");
}

}  // namespace optionsmgr
