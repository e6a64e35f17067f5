// The verbs that set two years' settings side by side: diff and carry-forward.
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <set>

#include "qorvane/foundation/Exception.h"
#include "tool/Chosen.h"
#include "tool/Domains.h"
#include "tool/EntryForm.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/PreferenceFile.h"
#include "tool/UnfinishedChange.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::OptionRow;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

namespace {

struct DiffRequest {
  std::string first;
  std::string second;
  bool known = false;
  bool showSecrets = false;
};

struct CarryRequest {
  std::string from;
  std::string to;
  bool dryRun = false;
  bool overwrite = false;
  bool secrets = false;
  bool folders = false;
  bool all = false;
  bool showSecrets = false;
};

// ---- diff -----------------------------------------------------------------------------------------------

// One side of a comparison.
struct Side {
  std::string name;
  Domain domain;
  Dictionary entries;
  bool isFile = false;  // Not the store's: what it lacks may have been left out.
};

bool isNumber(std::string_view word) {
  return !word.empty() && word.find_first_not_of("0123456789") == word.npos;
}

std::optional<int> yearMeant(std::string_view word) {
  int year = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), year);
  if (error == std::errc() && end == word.data() + word.size() && year >= 1 && year <= 9999) return year;
  // Digits are no file's name.
  if (isNumber(word)) throw Failure(Exit::Usage, say("a year is between 1 and 9999, not \"{}\"", word));
  return std::nullopt;
}

// "2024", "T2", "T2:2024".
std::optional<Domain> domainMeant(Domain domain, std::string_view word) {
  if (word.size() >= 2 && (word[0] == 'T' || word[0] == 't') && (word[1] == '1' || word[1] == '2')) {
    domain.corporate = word[1] == '2';
    if (word.size() == 2) return domain;
    if (word[2] != ':') return std::nullopt;
    word.remove_prefix(3);
  }
  const auto year = yearMeant(word);
  if (!year) return std::nullopt;
  domain.year = *year;
  return domain;
}

Side storeSide(Session& session, const Domain& domain) {
  auto entries = seenEntries(session, domain);
  // That there is nothing to compare is no difference.
  if (!entries)
    throw Failure(Exit::Usage,
                  say("there are no {} settings in {}", domain.name(), session.files().folder()));
  return {domain.name(), domain, *std::move(entries)};
}

// The file's entries as they would be stored, for that is what they are compared with; one that is none stays
// as it is.
Dictionary formedEntries(Session& session, const Domain& domain, const Dictionary& given) {
  DomainStore store(session, domain, given);
  Dictionary entries;
  for (const auto& [key, value] : given) {
    const OptionRow* owner = ownerOf(key);
    const Formed formed = owner ? formedEntry(*owner, value, store.options()) : Formed{value, std::nullopt};
    entries.set(key, formed.objection ? value : formed.entry);
  }
  return entries;
}

// What the domain's file held before the save of that number.
Side generationSide(Session& session, const Domain& domain, std::uint64_t number) try {
  const std::string name = domain.name() + "@" + std::to_string(number);
  const Value object = session.files().objectOfGeneration(domain.key(), number);
  if (!object.asDictionary()) throw Failure(Exit::BadData, say("{} holds no dictionary of settings", name));
  return {name, domain, *object.asDictionary()};
} catch (const FileException& error) {
  throw Failure(error.systemError() == ENOENT ? Exit::Usage : exitFor(error.systemError()),
                told(error.failure()));
} catch (const qorvane::Exception& error) {
  throw Failure(Exit::BadData, told(error.failure()));
}

// "@12", "2024@12", "T2:2024@12". Nothing for a word that is no generation's; files may have such names.
std::optional<Side> generationMeant(Session& session, std::string_view word) {
  const std::size_t at = word.rfind('@');
  if (at == word.npos || !isNumber(word.substr(at + 1))) return std::nullopt;
  const Domain own = domainOf(session);
  const auto domain = at == 0 ? own : domainMeant(own, word.substr(0, at));
  if (!domain) return std::nullopt;
  std::uint64_t number = 0;
  if (std::from_chars(word.data() + at + 1, word.data() + word.size(), number).ec != std::errc())
    throw Failure(Exit::Usage, say("{} has no good generation {}", domain->name(), word.substr(at + 1)));
  return generationSide(session, *domain, number);
}

Side sideMeant(Session& session, const std::string& word) try {
  if (auto generation = generationMeant(session, word)) return *std::move(generation);
  if (const auto domain = domainMeant(domainOf(session), word)) return storeSide(session, *domain);
  const PreferenceFile file = readPreferenceFile(word);
  if (file.settings.empty())
    throw Failure(Exit::BadData, say("{} holds no settings of a product and year", word));
  auto chosen = file.settings.find(domainOf(session));
  if (chosen == file.settings.end()) {
    if (file.settings.size() > 1) {
      std::string all;
      for (const auto& [domain, entries] : file.settings) all += (all.empty() ? "" : ", ") + domain.name();
      throw Failure(Exit::Usage, say("{} holds {}: say which with --product and --year", word, all));
    }
    chosen = file.settings.begin();
  }
  return {std::filesystem::path(word).filename().string(), chosen->first,
          formedEntries(session, chosen->first, chosen->second), true};
} catch (const Failure& failure) {
  throw Failure(failure.code() == Exit::NotFound ? Exit::Usage : failure.code(), failure.what());
}

struct Difference {
  std::string name;
  Json first, second;
  std::string firstWords, secondWords;
};

// Compares two sides: what differs, and what a file left out.
class Comparison {
 public:
  Comparison(Session& session, const DiffRequest& request, const Side& first, const Side& second)
      : session_(session), request_(request), first_(first), second_(second) {
    compareOptions();
    compareOthers();
  }

  const std::vector<Difference>& differences() const { return differences_; }
  // The options that only the other side has, being secret or of one machine.
  const std::vector<std::string>& leftOutOf(const Side& side) const {
    return &side == &first_ ? leftOutOfFirst_ : leftOutOfSecond_;
  }

 private:
  std::string words(const OptionState& state) const {
    return state.unreadable ? say("(unreadable)") : masked(*state.row, state.value, request_.showSecrets);
  }
  Json json(const OptionState& state) const {
    return state.unreadable ? Json(nullptr) : Json(maskedJson(*state.row, state.value, request_.showSecrets));
  }
  static bool mayBeLeftOut(const Side& side, const OptionState& state) {
    return side.isFile && !state.stored && (state.row->secret || state.row->machineSpecific);
  }

  void compareOptions() {
    const auto before = optionStates(session_, first_.domain, first_.entries);
    const auto after = optionStates(session_, second_.domain, second_.entries);
    for (std::size_t i = 0; i < before.size(); ++i) {
      const OptionState& a = before[i];
      const OptionState& b = after[i];
      // A derived answer is no setting, and two defaults are alike even where the year makes them differ.
      if (a.key.isNil() || (a.isDefault && b.isDefault)) continue;
      if (a.unreadable && b.unreadable) continue;
      if (!a.unreadable && !b.unreadable && shown(*a.row, a.value) == shown(*b.row, b.value)) continue;
      const std::string name(a.row->name);
      if (mayBeLeftOut(first_, a))
        leftOutOfFirst_.push_back(name);
      else if (mayBeLeftOut(second_, b))
        leftOutOfSecond_.push_back(name);
      else
        differences_.push_back({name, json(a), json(b), words(a), words(b)});
    }
  }

  static bool isOther(const Side& side, const Session& session, const Text& key) {
    const qorvane::ScopedProduct product(session.product(side.domain.corporate, side.domain.year));
    return !ownerOf(key);
  }

  // Entries that are no option's own.
  void compareOthers() {
    std::set<std::string_view> seen;
    for (const Side* side : {&first_, &second_})
      for (const auto& [key, value] : side->entries) {
        if (!isOther(*side, session_, key) || !seen.insert(key.view()).second) continue;
        if (request_.known && isUnknownEntry(key)) continue;
        const Value* a = first_.entries.find(key.view());
        const Value* b = second_.entries.find(key.view());
        if (a && b && isIdentical(*a, *b)) continue;
        // A derived entry that is missing on one side, and empty on the other, is the same.
        if (qorvane::isDerivedEntry(key) && (a ? *a : *b).textValue() == Text("") && !(a && b)) continue;
        const auto json = [](const Value* entry) { return entry ? Json(plainEntry(entry)) : Json(nullptr); };
        differences_.push_back({key.string(), json(a), json(b), plainEntry(a), plainEntry(b)});
      }
  }

  Session& session_;
  const DiffRequest& request_;
  const Side& first_;
  const Side& second_;
  std::vector<Difference> differences_;
  std::vector<std::string> leftOutOfFirst_;
  std::vector<std::string> leftOutOfSecond_;
};

void diff(Session& session, const DiffRequest& request, std::ostream& out) {
  const Side first = sideMeant(session, request.first);
  const Side second =
      request.second.empty() ? storeSide(session, domainOf(session)) : sideMeant(session, request.second);
  const Comparison comparison(session, request, first, second);
  if (!comparison.differences().empty()) session.setExit(Exit::NotFound);
  Json leftOut = Json::array();
  for (const Side* side : {&first, &second}) {
    std::string names;
    for (const std::string& name : comparison.leftOutOf(*side)) {
      names += (names.empty() ? "" : ", ") + name;
      leftOut.push_back(name);
    }
    if (!names.empty() && session.reports() && !session.json())
      tell(say("left out of {}, so not compared: {}", side->name, names));
  }
  if (session.json()) {
    Json told = Json::array();
    for (const Difference& one : comparison.differences())
      told.push_back({{"name", one.name}, {"first", one.first}, {"second", one.second}});
    printJson({{"first", first.name}, {"second", second.name}, {"options", told}, {"leftOut", leftOut}}, out);
    return;
  }
  if (comparison.differences().empty() || !session.reports()) return;
  std::vector<Row> rows;
  for (const Difference& one : comparison.differences())
    rows.push_back({one.name, one.firstWords, one.secondWords});
  printTable(session, {say("option"), first.name, second.name}, rows, out, Overflow::Values);
}

// ---- carry-forward --------------------------------------------------------------------------------------

enum class Action : std::uint8_t { Copied, Same, Kept, Left };

Phrase wordFor(Action action) {
  switch (action) {
    case Action::Copied:
      return "copied";
    case Action::Same:
      return "same";
    case Action::Kept:
      return "kept";
    case Action::Left:
      return "left";
  }
  return "left";
}

struct CarriedEntry {
  std::string name;
  Action action;
  std::string from;    // The value last year, masked.
  std::string detail;  // For people: the value, or why not.
};

struct CarryPlan {
  Domain from, to;
  std::vector<CarriedEntry> lines;
  Dictionary before;                   // What the later year holds,
  Dictionary entries;                  // what it is to hold,
  Value chosen;                        // and what of that is noted as chosen.
  std::vector<std::string> unchanged;  // Folders whose paths do not name the year.

  int count(Action action) const {
    return static_cast<int>(std::ranges::count(lines, action, &CarriedEntry::action));
  }
};

// The path with the later year in the place of the components that are the earlier one.
std::optional<Text> pathOfYear(const Text& path, int from, int to) {
  std::string moved;
  bool any = false;
  for (std::string_view rest = path; !rest.empty();) {
    const std::string_view part = rest.substr(0, std::min(rest.find('/'), rest.size()));
    std::string component(part);
    for (const char* prefix : {"", "T", "T2_"})
      if (part == prefix + std::to_string(from)) {
        component = prefix + std::to_string(to);
        any = true;
      }
    moved += component;
    rest.remove_prefix(part.size());
    if (!rest.empty()) moved += '/';
    rest.remove_prefix(rest.empty() ? 0 : 1);
  }
  return any ? std::optional(Text(moved)) : std::nullopt;
}

// Works out what one product's settings take over from another year's.
class Carrying {
 public:
  Carrying(Session& session, const CarryRequest& request, const Domain& from, const Domain& to)
      : session_(session), request_(request) {
    plan_.from = from;
    plan_.to = to;
    const auto source = storedSettings(session, from);
    if (!source)
      throw Failure(Exit::NotFound,
                    say("there are no {} settings in {}", from.name(), session.files().folder()));
    source_ = entriesOf(source->object);
    from_ = layersOf(session, from, *source);
    const auto target = storedSettings(session, to).value_or(qorvane::Settings{Dictionary(), nullptr});
    plan_.before = plan_.entries = entriesOf(target.object);
    plan_.chosen = target.chosen;
    to_ = layersOf(session, to, target);
  }

  CarryPlan plan() {
    const auto before = optionStates(session_, plan_.from, source_);
    const auto now = optionStates(session_, plan_.to, plan_.entries);
    findContenders(before, now);
    for (std::size_t i = 0; i < before.size(); ++i)
      if (before[i].stored && before[i].row->write && !now[i].key.isNil() &&
          taken_.insert(now[i].key.string()).second)
        carry(bestFor(before, now, i), now[i]);
    carryOthers();
    settleDerived(session_, plan_.to, given_, plan_.entries);
    return std::move(plan_);
  }

 private:
  using States = std::vector<OptionState>;

  void add(std::string name, Action action, std::string from, std::string detail) {
    plan_.lines.push_back({std::move(name), action, std::move(from), std::move(detail)});
  }

  // Between products two entries may fall on one.
  void findContenders(const States& before, const States& now) {
    for (std::size_t i = 0; i < before.size(); ++i)
      if (before[i].stored && before[i].row->write && !now[i].key.isNil() && !before[i].isDefault &&
          !before[i].unreadable)
        contenders_[now[i].key.string()].push_back(i);
    std::erase_if(contenders_, [&](const auto& item) {
      const auto entry = [&](std::size_t at) { return source_.find(before[at].key.view()); };
      return std::ranges::all_of(
          item.second, [&](std::size_t at) { return isIdentical(*entry(at), *entry(item.second.front())); });
    });
    for (const auto& [key, all] : contenders_) {
      std::string names;
      for (const std::size_t at : all)
        names += (names.empty() ? "" : ", ") + std::string(before[at].row->name);
      for (const std::size_t at : all)
        add(std::string(before[at].row->name), Action::Left,
            masked(*before[at].row, before[at].value, request_.showSecrets),
            say("{} would fall on one entry, and differ", names));
      taken_.insert(key);
    }
  }

  // Of the source's options that fall on one entry, the one that somebody has set.
  static const OptionState& bestFor(const States& before, const States& now, std::size_t first) {
    for (std::size_t i = first; i < before.size(); ++i)
      if (before[i].stored && before[i].row->write && now[i].key == now[first].key && !before[i].isDefault)
        return before[i];
    return before[first];
  }

  void carry(const OptionState& old, const OptionState& current) {
    const std::string name(old.row->name);
    const bool folder = old.row->type == OptionType::Folder;
    Value entry = *source_.find(old.key.view());
    const Value* there = plan_.entries.find(current.key.view());
    const std::string value = old.unreadable ? "" : masked(*old.row, old.value, request_.showSecrets);
    if (old.unreadable) return add(name, Action::Left, value, say("cannot be read"));
    const bool farther = to_->layers().has(current.key.view());
    const bool chosen = from_->isChosen(old.key.view());
    const bool marked = from_->isMarked(old.key.view());
    const bool markedThere = isNoted(plan_.chosen, current.key.view());
    if (there ? isIdentical(entry, *there) && !(farther && marked && !markedThere)
              : old.isDefault && !(farther && chosen))
      return add(name, Action::Same, value, value);
    if (old.row->machineSpecific && !request_.folders)
      return add(name, Action::Left, value,
                 folder ? say("a folder of {}", std::to_string(plan_.from.year)) : say("this machine's"));
    if (old.row->secret && !request_.secrets) return add(name, Action::Left, value, say("a secret"));
    // A default that a program stored is not to hide what is set for many desks.
    if (farther && !chosen)
      return add(name, Action::Left, value, say("nobody chose it there: what is set for many desks counts"));
    if (there && !request_.overwrite && (!current.isDefault || markedThere))
      return add(name, Action::Kept, value,
                 current.unreadable ? say("(unreadable)")
                                    : masked(*current.row, current.value, request_.showSecrets));
    std::string detail = value;
    if (folder && entry.asText() && !entry.asText()->isNilOrEmpty()) {
      if (const auto moved = pathOfYear(*entry.asText(), plan_.from.year, plan_.to.year))
        entry = *moved, detail = moved->string();
      else if (plan_.from.year != plan_.to.year)
        plan_.unchanged.push_back(name);
    }
    set(current.key, entry, marked);
    // What follows the option comes with it.
    for (const Text& key : current.row->entries())
      if (const Value* own = source_.find(key.view()); own && qorvane::isDerivedEntry(key))
        set(key, *own, from_->isMarked(key.view()));
    add(name, Action::Copied, value, detail);
  }

  void set(const Text& key, const Value& entry, bool marked) {
    plan_.entries.set(key, entry);
    note(plan_.chosen, key, marked);
    given_.set(key, entry);
  }

  // The application's own entries; what nobody knows may belong to its year.
  void carryOthers() {
    const qorvane::ScopedProduct product(session_.product(plan_.from.corporate, plan_.from.year));
    for (const auto& [key, entry] : source_) {
      if (isUnknownEntry(key)) {
        add(key.string(), Action::Left, "", say("unknown to this program"));
      } else if (isOfTheApplication(key)) {
        const Value* there = plan_.entries.find(key.view());
        const std::string value = plainEntry(&entry);
        if (there && isIdentical(entry, *there)) {
          add(key.string(), Action::Same, value, value);
        } else if (there && !request_.overwrite) {
          add(key.string(), Action::Kept, value, plainEntry(there));
        } else {
          set(key, entry, from_->isMarked(key.view()));
          add(key.string(), Action::Copied, value, value);
        }
      }
    }
  }

  Session& session_;
  const CarryRequest& request_;
  CarryPlan plan_;
  Dictionary source_;
  std::shared_ptr<const qorvane::LayeredSettings> from_, to_;
  Dictionary given_;
  std::set<std::string, std::less<>> taken_;
  std::map<std::string, std::vector<std::size_t>> contenders_;
};

// The year that is worked in: the calendar's from July on, the one before it until then.
int yearAtWork() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local.tm_year + 1900 - (local.tm_mon < 6 ? 1 : 0);
}

Domain endMeant(const Domain& byDefault, const std::string& word) {
  if (word.empty()) return byDefault;
  const auto domain = domainMeant(byDefault, word);
  if (!domain)
    throw Failure(Exit::Usage, say("\"{}\" is neither a year (2024) nor a product and year (T2:2024)", word));
  return *domain;
}

// From where to where: one pair, or one for each product.
std::vector<std::pair<Domain, Domain>> endsOf(const Session& session, const CarryRequest& request) {
  const Settings& said = session.settings();
  std::vector<std::pair<Domain, Domain>> ends;
  for (const bool corporate : said.bothProducts ? std::vector{false, true} : std::vector{said.corporate}) {
    const Domain to = endMeant({corporate, said.yearSaid ? said.year : yearAtWork()}, request.to);
    const Domain from = endMeant({corporate, to.year - 1}, request.from);
    if (from == to) throw Failure(Exit::Usage, say("the two years are the same"));
    ends.emplace_back(from, to);
  }
  return ends;
}

std::vector<CarryPlan> plannedCarrying(Session& session, const CarryRequest& request) {
  std::vector<CarryPlan> plans;
  std::optional<Failure> missing;
  for (const auto& [from, to] : endsOf(session, request)) try {
      plans.push_back(Carrying(session, request, from, to).plan());
    } catch (const Failure& failure) {
      // Of both products a firm may have one.
      if (failure.code() != Exit::NotFound || !session.settings().bothProducts) throw;
      missing = failure;
    }
  if (plans.empty()) throw *missing;
  return plans;
}

void printCarrying(const Session& session, const CarryRequest& request, const CarryPlan& plan,
                   std::ostream& out) {
  std::vector<Row> rows;
  for (const CarriedEntry& line : plan.lines)
    if (request.all || line.action == Action::Copied)
      rows.push_back({line.name, say(wordFor(line.action)), line.detail});
  if (!rows.empty())
    printTable(session, {say("option"), say("action"), say("value or reason")}, rows, out, Overflow::Values);
  out << say("{} to {}: {} copied, {} kept, {} left out", plan.from.name(), plan.to.name(),
             std::to_string(plan.count(Action::Copied)), std::to_string(plan.count(Action::Kept)),
             std::to_string(plan.count(Action::Left)))
      << '\n';
  for (const CarriedEntry& line : plan.lines)
    if (line.action == Action::Left && !request.all && line.detail.find(line.name) != std::string::npos)
      tell(line.name + ": " + line.detail);
  for (const std::string& name : plan.unchanged)
    tell(say("{} keeps its path, which does not name the year {}", name, std::to_string(plan.from.year)));
}

Json carryingAsJson(const CarryRequest& request, const CarryPlan& plan) {
  Json lines = Json::array();
  for (const CarriedEntry& line : plan.lines)
    lines.push_back({{"name", line.name},
                     {"action", std::string(wordFor(line.action).english())},
                     {"value", line.from},
                     {"detail", line.detail}});
  return {{"from", plan.from.name()},
          {"to", plan.to.name()},
          {"dryRun", request.dryRun},
          {"options", lines},
          {"unchangedPaths", plan.unchanged}};
}

void carryForward(Session& session, const CarryRequest& request, std::ostream& out) {
  std::vector<CarryPlan> plans;
  if (request.dryRun) {
    plans = plannedCarrying(session, request);
    for (const CarryPlan& plan : plans)
      if (plan.count(Action::Copied) > 0) requireUnlocked(session, plan.to, plan.before, plan.entries);
  } else {
    // From the first look to the last byte nobody else may save.
    const FileUserDefaults::Lock lock(session.files());
    putBackUnfinished(session);
    plans = plannedCarrying(session, request);
    Changes changes;
    Marks marks;
    for (const CarryPlan& plan : plans)
      if (plan.count(Action::Copied) > 0) {
        changes[plan.to] = plan.entries;
        marks[plan.to] = chosenAmong(plan.chosen, plan.entries);
      }
    changeAll(session, changes, marks);
    tellUnlessSaved(session, changes);
  }
  if (session.json()) {
    Json all = Json::array();
    for (const CarryPlan& plan : plans) all.push_back(carryingAsJson(request, plan));
    printJson(session.settings().bothProducts ? all : all.front(), out);
    return;
  }
  if (!session.reports()) return;
  for (const CarryPlan& plan : plans) printCarrying(session, request, plan, out);
  if (request.dryRun) out << say("a preview: nothing was changed") << '\n';
}

}  // namespace

void addYearVerbs(Verbs& verbs) {
  verbs.add<DiffRequest>(
      "diff", "compare two years, two products or a file with the store",
      [](CLI::App& verb, DiffRequest& request) {
        verb.add_option("A", request.first,
                        Phrase("a year (2024), a product (T2), both (T2:2024), what was kept of one under a "
                               "number that history shows (@12, 2024@12), or a file"))
            ->required();
        verb.add_option("B", request.second, Phrase("the same; by default the store's --product and --year"));
        verb.add_flag("--known", request.known, Phrase("leave out entries that no option names"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      diff,
      "  optionsmgr diff 2023 2024\n  optionsmgr --year 2024 diff T1 T2\n  optionsmgr --year 2024 diff "
      "old.plist\n  optionsmgr diff @12\n");
  verbs.add<CarryRequest>(
      "carry-forward", "copy last year's settings into this year's",
      [](CLI::App& verb, CarryRequest& request) {
        verb.add_option(
            "--from", request.from,
            Phrase("the year to copy from, or product and year (T1:2024); by default the year before"));
        verb.add_option(
            "--to", request.to,
            Phrase("the year to copy into, or product and year; by default --year, else the calendar's "
                   "year from July on and the year before it until then"));
        verb.add_flag("--dry-run", request.dryRun, Phrase("show what would be done, and change nothing"));
        verb.add_flag("--overwrite", request.overwrite,
                      Phrase("replace what is already set in the later year"));
        verb.add_flag("--secrets", request.secrets, Phrase("copy passwords too"));
        verb.add_flag(
            "--folders", request.folders,
            Phrase("copy printer and folders too; in their paths the later year takes the earlier one's "
                   "place"));
        verb.add_flag("--all", request.all, Phrase("show what does not change, too"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      carryForward,
      "  optionsmgr carry-forward --from 2023 --to 2024 --dry-run\n  optionsmgr --product all --year 2024 "
      "carry-forward\n  optionsmgr carry-forward --from T1:2024 --to T2:2024\n");
}

}  // namespace optionsmgr
