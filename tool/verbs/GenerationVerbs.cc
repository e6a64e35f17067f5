// The verbs of what settings were before: history and undo.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <map>
#include <optional>

#include "qorvane/foundation/Exception.h"
#include "tool/Chosen.h"
#include "tool/Domains.h"
#include "tool/DoneSteps.h"
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
  qorvane::Settings settings;
  std::vector<OptionState> states;
};

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
    now.settings = {Value(*entries), files.inspect(key).chosen};
    all.push_back(std::move(now));
  }
  for (const auto& generation : files.generations(key)) {
    Past past;
    past.number = generation.number;
    past.written = generation.written;
    try {
      past.settings = files.settingsOfGeneration(key, generation.number);
    } catch (const FileException& error) {
      if (error.systemError() == ENOENT) continue;  // It went meanwhile.
      past.damaged = true;
    } catch (const qorvane::Exception&) {
      past.damaged = true;
    }
    all.push_back(std::move(past));
  }
  for (Past& past : all)
    if (!past.damaged) past.states = optionStates(session, domain, entriesOf(past.settings.object));
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

void history(Session& session, const HistoryRequest& request, std::ostream& out) {
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
}

// ---- undo -------------------------------------------------------------------------------------------------

const OptionState& stateOf(const Past& past, const OptionRow& row) {
  return *std::ranges::find(past.states, &row, &OptionState::row);
}

// The file that stands, and apart from it the generations that are good, the newest first.
struct Pasts {
  Past now;
  std::vector<Past> good;
};

Pasts pastsOf(Session& session, const Domain& domain) {
  Pasts pasts;
  pasts.good = pastOf(session, domain);
  if (!pasts.good.empty() && !pasts.good.front().number) {
    pasts.now = std::move(pasts.good.front());
    pasts.good.erase(pasts.good.begin());
  } else {
    pasts.now.states = optionStates(session, domain, Dictionary());
  }
  std::erase_if(pasts.good, [](const Past& past) { return past.damaged; });
  return pasts;
}

// What one file becomes, and what in it stays though it was to go back.
struct Undone {
  std::optional<qorvane::Settings> settings;
  std::vector<Text> changedSince;
};
using UndonePlan = std::map<Domain, Undone>;

// The state to go back to: the one that was named, or the newest that differs.
template <class Differs>
const Past& goal(const Domain& domain, const UndoRequest& request, const std::vector<Past>& good,
                 const Differs& differs) {
  const auto found = std::ranges::find_if(good, [&](const Past& past) {
    return request.numberSaid ? past.number == request.number : differs(past);
  });
  if (found != good.end()) return *found;
  if (request.numberSaid)
    throw Failure(Exit::NotFound,
                  say("{} has no good generation {}", domain.name(), std::to_string(request.number)));
  throw Failure(Exit::NotFound, say("there is nothing to undo"));
}

// Each option to what it was, by itself.
qorvane::Settings undoneOptions(const Domain& domain, const UndoRequest& request,
                                const std::vector<const OptionRow*>& rows, const Pasts& pasts) {
  qorvane::Settings settings = pasts.now.settings;
  for (const OptionRow* row : rows) {
    const Past& past = goal(domain, request, pasts.good, [&](const Past& one) {
      return !readsTheSame(stateOf(one, *row), stateOf(pasts.now, *row));
    });
    takeOver(settings, past.settings, row->entries());
  }
  return settings;
}

// The file as it was before the step. False when that is not kept any more.
bool addPart(Session& session, const Domain& domain, const DoneStep::Part& part, UndonePlan& plan) {
  auto undone = undonePart(session, domain, part);
  if (undone) plan[domain] = {std::move(undone->settings), std::move(undone->changedSince)};
  return undone.has_value();
}

// The last change of the file and, where that was one step with those of others, of those as well.
UndonePlan undoneAll(Session& session, const Domain& domain, const Pasts& pasts) {
  const auto last =
      std::ranges::find_if(pasts.good, [&](const Past& past) { return !readTheSame(past, pasts.now); });
  const bool madeIt = last == pasts.good.end();
  const auto isOfIt = [&](const DoneStep& step) {
    const auto part = step.parts.find(domain);
    if (part == step.parts.end()) return false;
    return madeIt ? !part->second.before : part->second.before == last->number;
  };
  const std::vector<DoneStep> steps = doneSteps(session);
  const auto step = std::ranges::find_if(steps, isOfIt);
  UndonePlan plan;
  if (!madeIt)
    plan[domain] = {last->settings, {}};
  else if (step == steps.end() || !addPart(session, domain, step->parts.at(domain), plan))
    throw Failure(Exit::NotFound, say("there is nothing to undo"));
  if (step == steps.end()) return plan;
  for (const auto& [other, part] : step->parts)
    if (other != domain && !addPart(session, other, part, plan))
      tell(say("{} stays as it is: what it was before is not kept any more", other.name()));
  return plan;
}

// What the undoing of one file changed, in words.
class UndoneTold {
 public:
  UndoneTold(Session& session, std::ostream& out) : session_(session), out_(out) {}

  void tellOf(const Domain& domain, const Past& now, const Undone& undone) {
    const auto then =
        optionStates(session_, domain, entriesOf(undone.settings.value_or(qorvane::Settings()).object));
    for (std::size_t i = 0; i < then.size(); ++i) {
      const OptionRow& row = *then[i].row;
      const bool stays = std::ranges::find(undone.changedSince, then[i].key) != undone.changedSince.end();
      if (!row.write || (!stays && readsTheSame(now.states[i], then[i]))) continue;
      changes_.push_back({{"settings", domain.name()},
                          {"name", std::string(row.name)},
                          {"from", maskedJson(row, now.states[i].value, false)},
                          {"to", maskedJson(row, then[i].value, false)},
                          {"changedSince", stays}});
      if (stays)
        tell(say("{}: {} was changed since and stays as it is", domain.name(), row.name));
      else if (!session_.json() && session_.reports())
        out_ << domain.name() << "  " << row.name << ": " << words(now.states[i], false) << " -> "
             << words(then[i], false) << '\n';
    }
  }
  void end() {
    if (session_.json()) printJson(changes_, out_);
  }

 private:
  Session& session_;
  std::ostream& out_;
  Json changes_ = Json::array();
};

void undo(Session& session, const UndoRequest& request, std::ostream& out) {
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
  const Pasts pasts = pastsOf(session, domain);
  UndonePlan plan;
  if (!rows.empty())
    plan[domain] = {undoneOptions(domain, request, rows, pasts), {}};
  else if (request.numberSaid)
    plan[domain] = {goal(domain, request, pasts.good, [](const Past&) { return false; }).settings, {}};
  else
    plan = undoneAll(session, domain, pasts);
  Changes changes;
  Marks marks;
  std::map<Domain, Past> before;
  for (const auto& [one, undone] : plan) {
    changes[one] = undone.settings ? std::optional(entriesOf(undone.settings->object)) : std::nullopt;
    if (undone.settings) marks[one] = undone.settings->chosen;
    before[one].states = optionStates(session, one, storedEntries(session, one).value_or(Dictionary()));
  }
  changeAll(session, changes, marks);
  UndoneTold report(session, out);
  for (const auto& [one, undone] : plan) report.tellOf(one, before[one], undone);
  report.end();
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
      "undo",
      "put back what the settings, or some options, were before their last change; one of several years "
      "goes back in all of them",
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
