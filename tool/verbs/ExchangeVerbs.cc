// The verbs that hand settings over and take them: export and import.
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/LayerRule.h"
#include "tool/ArgumentChecks.h"
#include "tool/Chosen.h"
#include "tool/Domains.h"
#include "tool/EntryForm.h"
#include "tool/Exchange.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/PreferenceFile.h"
#include "tool/UnfinishedChange.h"
#include "tool/WholeFile.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::OptionRow;
using qorvane::Text;
using qorvane::Value;

namespace fs = std::filesystem;

namespace {

struct ExportRequest {
  std::vector<std::string> words;
  std::string form;
  bool all = false;
  bool force = false;
  bool machine = false;
  bool showSecrets = false;
};

// ---- export ---------------------------------------------------------------------------------------------

// What the words of an export are: a file, and options.
struct ExportTarget {
  std::string file = "-";
  std::vector<std::string> options;  // Names, keys or patterns; none for everything.
};

bool isPattern(std::string_view word) { return word.find_first_of("*?[") != word.npos; }

// A word with a dot or a slash names a file, any other one an option: nobody must find a file of the name
// that he misspelt.
ExportTarget targetMeant(const std::vector<std::string>& words) {
  ExportTarget target;
  bool fileSaid = false;
  for (const std::string& word : words) {
    const bool isFile =
        word == "-" || word.find('/') != word.npos || (!isPattern(word) && word.find('.') != word.npos);
    if (!isFile) {
      if (!isPattern(word)) Session::option(word);
      target.options.push_back(word);
    } else if (std::exchange(fileSaid, true)) {
      throw Failure(Exit::Usage, say("there are two files: {} and {}", target.file, word));
    } else {
      target.file = word;
    }
  }
  return target;
}

ExchangeForm formMeant(const Session& session, const ExportRequest& request, const std::string& file) {
  std::string form = request.form;
  if (form.empty() && file == "-") form = session.json() ? "json" : "xml";
  if (form.empty()) form = fs::path(file).extension().string();
  if (form == "xml" || form == ".xml") return ExchangeForm::Xml;
  return form == "json" || form == ".json" ? ExchangeForm::JsonText : ExchangeForm::Binary;
}

// What was not exported though it is set.
struct LeftOut {
  std::size_t secrets = 0;
  std::size_t machine = 0;
};

bool isNamed(const OptionRow& row, const std::vector<std::string>& options) {
  return options.empty() || std::ranges::any_of(options, [&](const std::string& word) {
           return fnmatch(word.c_str(), std::string(row.name).c_str(), FNM_CASEFOLD) == 0 ||
                  row.key().view() == word;
         });
}

Dictionary exported(Session& session, const ExportRequest& request, const std::vector<std::string>& options,
                    const Domain& domain, const Dictionary& entries, LeftOut& left) {
  const qorvane::ScopedProduct product(session.product(domain.corporate, domain.year));
  Dictionary taken = options.empty() ? entries : Dictionary();
  for (const OptionRow& row : qorvane::optionTable()) {
    const Value* entry = row.key().isNil() ? nullptr : entries.find(row.key().view());
    if (!entry) continue;
    const bool secret = row.secret && !request.showSecrets;
    const bool machine = row.machineSpecific && !request.machine;
    if (!isNamed(row, options)) continue;
    if (secret || machine) {
      taken.remove(row.key());
      // One that is not set hides nothing.
      if (!(entry->textValue() == Text(""))) ++(secret ? left.secrets : left.machine);
    } else if (!options.empty()) {
      for (const Text& key : row.entries())
        if (const Value* own = entries.find(key.view());
            own && (key == row.key() || qorvane::isDerivedEntry(key)))
          taken.set(key, *own);
    }
  }
  return taken;
}

// A file in a store's folder is the store's, whatever its name.
void requireNoStoreFile(Session& session, const std::string& file) {
  std::error_code none;
  fs::path target = fs::weakly_canonical(file, none);
  if (none) target = fs::absolute(file, none);
  const bool ours = fs::equivalent(target.parent_path(), session.files().folder(), none);
  const bool another =
      Domain::fromKey(target.stem().string()) && fs::exists(target.parent_path() / ".lock", none);
  if (ours || another)
    throw Failure(Exit::Usage,
                  say("{} lies in the folder of the settings themselves; export to another", file));
}

// What --layer asks to hand over, by default the user's own. What an administrator has set is all chosen.
std::optional<qorvane::Settings> handedOver(Session& session, const Domain& domain) {
  if (!asksForFartherLayer(session.settings())) return storedSettings(session, domain);
  const auto entries = seenEntries(session, domain);
  if (!entries) return std::nullopt;
  qorvane::Settings settings{*entries, nullptr};
  for (const auto& [key, value] : *entries)
    if (!qorvane::optionLayerRule().isChosen(domain.key(), key, value)) note(settings.chosen, key, true);
  return settings;
}

void exportSettings(Session& session, const ExportRequest& request, std::ostream& out) {
  const ExportTarget target = targetMeant(request.words);
  if (target.file != "-") {
    requireNoStoreFile(session, target.file);
    struct stat status;
    if (!request.force && lstat(target.file.c_str(), &status) == 0 &&
        (stat(target.file.c_str(), &status) != 0 || S_ISREG(status.st_mode)))
      throw Failure(Exit::CannotCreate, say("{} exists; --force replaces it", target.file));
  }
  std::map<Domain, Dictionary> settings;
  std::map<Domain, Value> chosen;
  LeftOut left;
  for (const Domain& domain : request.all ? storedDomains(session) : std::vector{domainOf(session)}) try {
      const auto handed = handedOver(session, domain);
      if (!handed)
        throw Failure(Exit::NotFound,
                      say("there are no {} settings in {}", domain.name(), session.files().folder()));
      settings[domain] =
          exported(session, request, target.options, domain, *handed->object.asDictionary(), left);
      chosen[domain] = handed->chosen;
    } catch (const Failure& failure) {
      if (!request.all) throw;
      tell(say("{} is left out: {}", domain.name(), failure.what()));
      session.setExit(Exit::BadData);
    }
  if (settings.empty())
    throw Failure(session.exit() == Exit::Done ? Exit::NotFound : session.exit(),
                  say("there are no settings in {}", session.files().folder()));
  const std::string bytes =
      preferenceFileBytes(session, settings, chosen, formMeant(session, request, target.file));
  if (target.file == "-")
    out << bytes;
  else
    writeWholeFile(target.file, bytes, request.force ? Existing::Replaced : Existing::Refused);
  if (!session.reports()) return;
  if (left.secrets > 0)
    tell(say("{} left out, being secret; --show-secrets has them in", std::to_string(left.secrets)));
  if (left.machine > 0)
    tell(say("{} left out, being this machine's (printer, folders); --machine has them in",
             std::to_string(left.machine)));
}

// ---- import ---------------------------------------------------------------------------------------------

enum class Action : std::uint8_t { New, Changed, Removed, Kept, Unknown, Refused, Chosen, Left };

Phrase wordFor(Action action) {
  switch (action) {
    case Action::New:
      return "new";
    case Action::Changed:
      return "changed";
    case Action::Removed:
      return "removed";
    case Action::Kept:
      return "kept";
    case Action::Unknown:
      return "unknown";
    case Action::Refused:
      return "refused";
    case Action::Chosen:
      return "chosen";
    case Action::Left:
      return "left";
  }
  return "unknown";
}

struct ChangedEntry {
  std::string name;
  Action action;
  std::string from;
  std::string to;
  std::string why;  // Of what is not simply taken.
};

struct ImportPlan {
  Changes changes;
  Marks marks;
  std::map<Domain, std::vector<ChangedEntry>> lines;
  std::string objections;  // A line each; empty when there are none that count.
  Exit exit = Exit::Done;  // What they end with.
};

// Works out what becomes of each product and year.
class Planner {
 public:
  Planner(Session& session, const ImportRequest& request, const PreferenceFile& file)
      : session_(session), request_(request), file_(file) {}

  bool intoMachine() const { return session_.settings().layer == "machine"; }

  ImportPlan plan() {
    for (const Domain& domain : file_.broken)
      object(domain, domain.key().string(), say("it holds no dictionary"));
    std::map<Domain, Dictionary> given = file_.settings;
    if (!file_.named.empty()) given[own()];
    for (const auto& [domain, entries] : given) planFor(domain, entries);
    return std::move(plan_);
  }

 private:
  void planFor(const Domain& domain, Dictionary given) {
    const qorvane::Settings standing = standingOf(domain);
    const Dictionary before = entriesOf(standing.object);
    const auto layers = layersOf(session_, domain, standing);
    Dictionary good = taken(domain, given, before);
    leaveUnchosen(domain, *layers, before, given, good);
    Dictionary after = request_.replace ? keptOf(domain, given, before) : before;
    for (const auto& [key, value] : good) after.set(key, value);
    std::vector<Text> named;
    if (domain == own()) named = setNamed(domain, after);
    settleDerived(session_, domain, good, after);
    refuseLocked(domain, *layers, before, after, good, named);
    const Value chosen = marksOf(domain, standing, good, after, pinsAmong(*layers, named, after));
    addLines(domain, before, after);
    addChosenLines(domain, standing, chosen, after);
    if (isIdentical(before, after) && isIdentical(chosenAmong(standing.chosen, before), chosen)) return;
    plan_.changes[domain] = after;
    if (!intoMachine()) plan_.marks[domain] = chosen;
  }

  qorvane::Settings standingOf(const Domain& domain) {
    if (intoMachine()) return {machineSettings(session_, domain).entries, nullptr};
    return storedSettings(session_, domain).value_or(qorvane::Settings{Dictionary(), nullptr});
  }

  bool isMarked(const Domain& domain, const Text& key) const {
    const auto marks = file_.chosen.find(domain);
    return marks != file_.chosen.end() && isNoted(marks->second, key.view());
  }

  // A default that a program stored elsewhere is not to hide what is set for many desks.
  void leaveUnchosen(const Domain& domain, const qorvane::LayeredSettings& layers, const Dictionary& before,
                     Dictionary& given, Dictionary& good) {
    std::vector<Text> left;
    for (const auto& [key, value] : good)
      if (isFarther(session_, layers, domain, key) && !isMarked(domain, key) &&
          !layers.isChosenByItself(key.view(), value))
        left.push_back(key);
    const auto isLeft = [&](const Text& key) { return std::ranges::find(left, key) != left.end(); };
    for (const auto& follower : qorvane::optionLayerRule().followers())
      if (good.find(follower.entry.view()) && std::ranges::any_of(follower.leaders, isLeft) &&
          std::ranges::none_of(follower.leaders, [&](const Text& leader) {
            return good.find(leader.view()) && !isLeft(leader);
          }))
        left.push_back(follower.entry);
    const qorvane::ScopedProduct product(session_.product(domain.corporate, domain.year));
    for (const Text& key : left) {
      const Value* const there = before.find(key.view());
      const OptionRow* const owner = ownerOf(key);
      if (owner && !(there && isIdentical(*there, *good.find(key.view())))) {
        const bool masks = owner->secret && !request_.showSecrets;
        plan_.lines[domain].push_back({std::string(owner->name), Action::Left,
                                       masks ? kMask : plainEntry(there),
                                       masks ? kMask : plainEntry(good.find(key.view())),
                                       say("nobody chose it there: what is set for many desks counts")});
      }
      good.remove(key.view());
      given.remove(key.view());
    }
  }

  // What a layer locks stays as it is.
  void refuseLocked(const Domain& domain, const qorvane::LayeredSettings& layers, const Dictionary& before,
                    Dictionary& after, Dictionary& good, std::vector<Text>& named) {
    if (intoMachine() || !layers.layers().lock()) return;
    const qorvane::Product product = session_.product(domain.corporate, domain.year);
    for (const OptionRow& row : qorvane::optionTable()) {
      const Text key = row.key(product);
      const qorvane::Layer* const lock = key.isNil() ? nullptr : lockOn(layers, row, product);
      if (!lock) continue;
      const Value* const old = before.find(key.view());
      const Value* const now = after.find(key.view());
      const bool changes = old && now ? !isIdentical(*old, *now) : old || now;
      if (!changes && std::ranges::find(named, key) == named.end()) continue;
      refuse(domain, std::string(row.name), say("{} is locked by {}", row.name, lock->folder().path),
             Exit::NoPermission);
      for (const Text& own : row.entries(product)) {
        const Value* const stays = before.find(own.view());
        after.set(own, stays ? *stays : Value());
        good.remove(own.view());
        std::erase(named, own);
      }
    }
  }

  // A mark comes with its entry; one that stands goes with the entry that is replaced.
  Value marksOf(const Domain& domain, const qorvane::Settings& standing, const Dictionary& good,
                const Dictionary& after, const std::vector<Text>& pins) const {
    Value chosen = standing.chosen;
    const Dictionary before = entriesOf(standing.object);
    for (const auto& [key, value] : good) {
      const Value* const there = before.find(key.view());
      if (isMarked(domain, key) || !(there && isIdentical(*there, value)))
        note(chosen, key, isMarked(domain, key));
    }
    for (const Text& key : pins) note(chosen, key, true);
    return chosenAmong(chosen, after);
  }

  // What reads otherwise from now on, though the user's entry is the same.
  void addChosenLines(const Domain& domain, const qorvane::Settings& standing, const Value& chosen,
                      const Dictionary& after) {
    const qorvane::ScopedProduct product(session_.product(domain.corporate, domain.year));
    const Dictionary before = entriesOf(standing.object);
    for (const auto& [key, value] : after) {
      const Value* const there = before.find(key.view());
      if (!there || !isIdentical(*there, value) || isNoted(standing.chosen, key.view()) ||
          !isNoted(chosen, key.view()))
        continue;
      const OptionRow* const owner = ownerOf(key);
      const std::string shown = owner && owner->secret && !request_.showSecrets ? kMask : plainEntry(&value);
      plan_.lines[domain].push_back({owner ? std::string(owner->name) : key.string(), Action::Chosen, shown,
                                     shown, say("it counts before what is set for many desks")});
    }
  }

  // Those of the given entries that can be taken, in the form in which they are stored.
  Dictionary taken(const Domain& domain, const Dictionary& given, const Dictionary& before) {
    Dictionary all = before;
    for (const auto& [key, value] : given) all.set(key, value);
    DomainStore store(session_, domain, all);
    Dictionary good;
    for (const auto& [key, value] : given) {
      const Value* there = before.find(key.view());
      const OptionRow* owner = ownerOf(key);
      Formed formed{value, std::nullopt};
      // What is there already is nobody's mistake now.
      if (!there || !isIdentical(*there, value)) {
        if (owner)
          formed = formedEntry(*owner, value, store.options());
        else if (qorvane::isDerivedEntry(key))
          formed = formedDerivedEntry(value);
      }
      if (formed.objection && !(request_.force && formed.objection->mayBeForced))
        object(domain, key.string(), formed.objection->why);
      else
        good.set(key, formed.objection ? value : formed.entry);
    }
    return good;
  }

  // What stays of the entries that the file does not have when it replaces them.
  Dictionary keptOf(const Domain& domain, const Dictionary& given, const Dictionary& before) {
    const qorvane::ScopedProduct product(session_.product(domain.corporate, domain.year));
    Dictionary kept;
    for (const auto& [key, value] : before) {
      const OptionRow* owner = ownerOf(key);
      const bool secret = owner && owner->secret && !request_.secrets;
      const bool machine = owner && owner->machineSpecific && !request_.machine;
      const bool size = key.view() == "HeaderFontSize";
      if (given.find(key.view()) || !(secret || machine || size)) continue;
      kept.set(key, value);
      if (size || value.textValue() == Text("")) continue;
      const std::string shown = secret && !request_.showSecrets ? kMask : plainEntry(&value);
      plan_.lines[domain].push_back(
          {std::string(owner->name), Action::Kept, shown, shown,
           secret ? say("a secret; --secrets removes it") : say("this machine's; --machine removes it")});
    }
    return kept;
  }

  // Sets the options that a JSON text names, and answers their entries.
  std::vector<Text> setNamed(const Domain& domain, Dictionary& after) {
    std::vector<Text> set;
    for (const auto& [name, value] : file_.named) try {
        const qorvane::ScopedProduct product(session_.product(domain.corporate, domain.year));
        const OptionRow& row = *qorvane::findProperty(name);
        if (!row.write) throw Failure(Exit::BadData, say("it cannot be set: the library answers it itself"));
        if (!value.asText() && !value.asNumber())
          throw Failure(Exit::BadData, say("it is neither a text nor a number"));
        const bool truth = value.asNumber() && value.asNumber()->kind() == qorvane::Number::Kind::Boolean;
        const std::string words = truth ? (value.boolValue() ? "true" : "false") : value.textValue().string();
        for (const auto& [key, entry] :
             entriesFor(session_, domain, row, parsedFor(row, words, request_.force), after)) {
          after.set(key, entry);
          set.push_back(key);
        }
      } catch (const Failure& failure) {
        object(domain, name.string(), failure.what());
      }
    return set;
  }

  void object(const Domain& domain, const std::string& name, const std::string& why) {
    refuse(domain, name, request_.skipBad ? why : name + ": " + why, Exit::BadData);
  }

  void refuse(const Domain& domain, const std::string& name, const std::string& why, Exit exit) {
    if (request_.skipBad) {
      plan_.lines[domain].push_back({name, Action::Refused, "", "", why});
      return;
    }
    plan_.objections += "\n  " + domain.name() + ", " + why;
    // What is wrong with the file itself goes first.
    if (plan_.exit != Exit::BadData) plan_.exit = exit;
  }

  void addLines(const Domain& domain, const Dictionary& before, const Dictionary& after) {
    std::vector<ChangedEntry>& lines = plan_.lines[domain];
    std::set<std::string_view> seen;
    const auto add = [&](std::string name, std::string_view key, std::string from, std::string to,
                         bool unknown) {
      const Value* old = before.find(key);
      const Value* now = after.find(key);
      if (old && now ? isIdentical(*old, *now) : !old && !now) return;
      const Action action = !now      ? Action::Removed
                            : unknown ? Action::Unknown
                            : old     ? Action::Changed
                                      : Action::New;
      lines.push_back({std::move(name), action, std::move(from), std::move(to), ""});
    };
    const auto befores = optionStates(session_, domain, before);
    const auto afters = optionStates(session_, domain, after);
    for (std::size_t i = 0; i < befores.size(); ++i) {
      const OptionRow& row = *befores[i].row;
      if (befores[i].key.isNil() || !seen.insert(befores[i].key.view()).second) continue;
      const auto words = [&](const OptionState& state) {
        return state.unreadable ? say("(unreadable)") : masked(row, state.value, request_.showSecrets);
      };
      add(std::string(row.name), befores[i].key, words(befores[i]), words(afters[i]), false);
    }
    const qorvane::ScopedProduct product(session_.product(domain.corporate, domain.year));
    for (const Dictionary* entries : {&after, &before})
      for (const auto& [key, value] : *entries)
        if (seen.insert(key.view()).second)
          add(key.string(), key, plainEntry(before.find(key.view())), plainEntry(after.find(key.view())),
              isUnknownEntry(key));
  }

  // What a JSON text that names options is for.
  Domain own() const { return intoMachine() ? editedDomain(session_) : domainOf(session_); }

  Session& session_;
  const ImportRequest& request_;
  const PreferenceFile& file_;
  ImportPlan plan_;
};

ImportPlan planned(Session& session, const ImportRequest& request, const PreferenceFile& file) {
  ImportPlan plan = Planner(session, request, file).plan();
  if (!plan.objections.empty())
    throw Failure(plan.exit,
                  say("{} was not imported; nothing was changed:{}", request.file, plan.objections));
  return plan;
}

void printPlanAsJson(const ImportRequest& request, const PreferenceFile& file, const ImportPlan& plan,
                     std::ostream& out) {
  Json told = Json::object();
  for (const auto& [domain, lines] : plan.lines) {
    Json all = Json::array();
    for (const ChangedEntry& line : lines) {
      all.push_back({{"name", line.name},
                     {"action", std::string(wordFor(line.action).english())},
                     {"from", line.from},
                     {"to", line.to}});
      if (!line.why.empty()) all.back()["why"] = line.why;
    }
    told[domain.name()] = std::move(all);
  }
  printJson({{"dryRun", request.dryRun}, {"settings", told}, {"leftOut", file.others}}, out);
}

void printPlan(const Session& session, const ImportRequest& request, const PreferenceFile& file,
               const ImportPlan& plan, std::ostream& out) {
  for (const auto& [domain, lines] : plan.lines) {
    out << domain.name() << (lines.empty() ? say(": nothing to change") : "") << '\n';
    std::vector<Row> rows;
    for (const ChangedEntry& line : lines)
      rows.push_back({"  " + line.name, say(wordFor(line.action)),
                      !line.why.empty()                ? line.why
                      : line.action == Action::Changed ? inWords(line.from) + " -> " + inWords(line.to)
                                                       : line.to});
    printTable(session, {}, rows, out, Overflow::Values);
  }
  for (const std::string& other : file.others)
    printLine(say("{}: left out, for it is no product's settings", other), out);
  if (request.dryRun) out << say("a preview: nothing was changed") << '\n';
}

// What --product and --year choose of the file.
PreferenceFile chosenOf(const Session& session, const ImportRequest& request) {
  PreferenceFile file = readPreferenceFile(request.file);
  const Settings& said = session.settings();
  const auto isOther = [&](const Domain& domain) {
    return (said.productSaid && domain.corporate != said.corporate) ||
           (said.yearSaid && domain.year != said.year);
  };
  std::erase_if(file.settings, [&](const auto& item) { return isOther(item.first); });
  std::erase_if(file.broken, isOther);
  if (file.settings.empty() && file.broken.empty() && file.named.empty())
    throw Failure(Exit::NotFound, say("{} holds no settings of that product and year", request.file));
  return file;
}

// What the machine's files are to hold: the year's only with --year, and nobody's secrets, for everybody can
// read them.
PreferenceFile forMachine(Session& session, PreferenceFile file) {
  std::map<Domain, Dictionary> settings;
  std::map<Domain, Value> chosen;
  for (auto& [domain, entries] : file.settings) {
    const Domain edited{domain.corporate, session.settings().yearSaid ? domain.year : 0};
    if (settings.contains(edited))
      throw Failure(Exit::Usage, say("there are several years: say which with --year"));
    const qorvane::ScopedProduct product(session.product(domain.corporate, domain.year));
    for (const OptionRow& row : qorvane::optionTable())
      if (row.secret && !row.key().isNil()) entries.remove(row.key());
    settings[edited] = std::move(entries);
    if (const auto marks = file.chosen.find(domain); marks != file.chosen.end())
      chosen[edited] = marks->second;
  }
  for (const OptionRow& row : qorvane::optionTable())
    if (row.secret) file.named.remove(row.name);
  file.settings = std::move(settings);
  file.chosen = std::move(chosen);
  return file;
}

void importIntoMachine(Session& session, const ImportRequest& request, std::ostream& out) {
  const PreferenceFile file = forMachine(session, chosenOf(session, request));
  const ImportPlan plan = planned(session, request, file);
  for (const auto& [domain, entries] : plan.changes)
    if (!request.dryRun)
      changeMachineSettings(session, domain, [&, &entries = entries](MachineSettings& settings) {
        settings.entries = entries.value_or(Dictionary());
      });
  if (session.json())
    printPlanAsJson(request, file, plan, out);
  else if (session.reports())
    printPlan(session, request, file, plan, out);
}

}  // namespace

void importSettings(Session& session, const ImportRequest& request, std::ostream& out) {
  if (session.settings().layer == "machine") return importIntoMachine(session, request, out);
  const PreferenceFile file = chosenOf(session, request);
  session.requireSound();
  ImportPlan plan = planned(session, request, file);
  if (!request.dryRun && !plan.changes.empty()) {
    const FileUserDefaults::Lock lock(session.files());
    putBackUnfinished(session);
    plan = planned(session, request, file);
    changeAll(session, plan.changes, plan.marks);
    tellUnlessSaved(session, plan.changes);
  }
  if (session.json())
    printPlanAsJson(request, file, plan, out);
  else if (session.reports())
    printPlan(session, request, file, plan, out);
}

void addExchangeVerbs(Verbs& verbs) {
  verbs.add<ExportRequest>(
      "export", "write settings as a property list or JSON",
      [](CLI::App& verb, ExportRequest& request) {
        verb.add_option(
            "FILE", request.words,
            Phrase("the file, a name with a dot or a slash; standard output by default, or \"-\". Other "
                   "words name options, or are patterns of their names: only those are written"));
        takesOneOf(
            verb.add_option(
                "--format", request.form,
                Phrase("binary, xml or json; by default what the file's name ends in, binary for other "
                       "files, XML on standard output")),
            {"binary", "xml", "json"});
        verb.add_flag("--all", request.all, Phrase("every product and year in the store"));
        verb.add_flag("--force", request.force, Phrase("replace a file that exists"));
        verb.add_flag("--machine", request.machine, Phrase("printer and folders too"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("passwords too"));
      },
      exportSettings,
      "  optionsmgr --year 2024 export settings.plist\n  optionsmgr export --all --format json\n  optionsmgr "
      "export firm.json 'preparer*'\n");
  verbs.add<ImportRequest>(
      "import", "take settings from a preferences file, wholly or not at all",
      [](CLI::App& verb, ImportRequest& request) {
        verb.add_option(
                "FILE", request.file,
                Phrase("a property list or JSON; \"-\" is standard input. Every product and year in it, or "
                       "those of --product and --year"))
            ->required();
        verb.add_flag("--dry-run", request.dryRun, Phrase("show what would be done, and change nothing"));
        verb.add_flag(
            "--replace", request.replace,
            Phrase("settings that the file does not have go, but not passwords, printer and folders"));
        verb.add_flag("--secrets", request.secrets, Phrase("with --replace, passwords go too"));
        verb.add_flag("--machine", request.machine, Phrase("with --replace, printer and folders go too"));
        verb.add_flag("--skip-bad", request.skipBad, Phrase("leave out what is refused, and take the rest"));
        verb.add_flag("--force", request.force, Phrase("take values that their option does not know"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      importSettings,
      "  optionsmgr import --dry-run settings.plist\n  optionsmgr --year 2024 import - <settings.json\n");
}

}  // namespace optionsmgr
