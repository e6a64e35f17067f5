// The verbs that set two years' settings side by side: diff and carry-forward.
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>

#include "qorvane/foundation/Exception.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/PreferenceFile.h"
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
  bool showSecrets = false;
};

struct CarryRequest {
  int from = 0;
  int to = 0;
  bool dryRun = false;
  bool overwrite = false;
  bool secrets = false;
  bool folders = false;
  bool showSecrets = false;
};

// ---- diff -----------------------------------------------------------------------------------------------

// One side of a comparison.
struct Side {
  std::string name;
  Domain domain;
  Dictionary entries;
};

std::optional<int> yearMeant(std::string_view word) {
  int year = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), year);
  if (error != std::errc() || end != word.data() + word.size() || year < 1 || year > 9999)
    return std::nullopt;
  return year;
}

// "2024", "T2", "T2:2024".
std::optional<Domain> domainMeant(const Session& session, std::string_view word) {
  Domain domain = domainOf(session);
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
  auto entries = storedEntries(session, domain);
  if (!entries)
    throw Failure(Exit::NotFound,
                  say("there are no {} settings in {}", domain.name(), session.files().folder()));
  return {domain.name(), domain, *std::move(entries)};
}

Side sideMeant(Session& session, const std::string& word) {
  if (const auto domain = domainMeant(session, word)) return storeSide(session, *domain);
  const PreferenceFile file = readPreferenceFile(word);
  auto chosen = file.settings.find(domainOf(session));
  if (chosen == file.settings.end()) {
    if (file.settings.size() > 1) {
      std::string all;
      for (const auto& [domain, entries] : file.settings) all += (all.empty() ? "" : ", ") + domain.name();
      throw Failure(Exit::Usage, say("{} holds {}: say which with --product and --year", word, all));
    }
    chosen = file.settings.begin();
  }
  return {std::filesystem::path(word).filename().string(), chosen->first, chosen->second};
}

void diff(Session& session, const DiffRequest& request, std::ostream& out) {
  const Side first = sideMeant(session, request.first);
  const Side second =
      request.second.empty() ? storeSide(session, domainOf(session)) : sideMeant(session, request.second);
  const auto before = optionStates(session, first.domain, first.entries);
  const auto after = optionStates(session, second.domain, second.entries);
  const auto words = [&](const OptionState& state) {
    return state.unreadable ? say("(unreadable)") : masked(*state.row, state.value, request.showSecrets);
  };
  const auto json = [&](const OptionState& state) {
    return state.unreadable ? Json(nullptr) : Json(maskedJson(*state.row, state.value, request.showSecrets));
  };
  Json told = Json::array();
  std::vector<Row> rows;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const OptionState& a = before[i];
    const OptionState& b = after[i];
    // A derived answer is no setting, and two defaults are alike even where the year makes them differ.
    if (!a.row->write || (a.isDefault && b.isDefault)) continue;
    if (!a.unreadable && !b.unreadable && shown(*a.row, a.value) == shown(*b.row, b.value)) continue;
    if (a.unreadable && b.unreadable) continue;
    told.push_back({{"name", std::string(a.row->name)}, {"first", json(a)}, {"second", json(b)}});
    rows.push_back({std::string(a.row->name), words(a), words(b)});
  }
  if (!told.empty()) session.setExit(Exit::NotFound);
  if (session.json())
    printJson({{"first", first.name}, {"second", second.name}, {"options", told}}, out);
  else if (!told.empty() && session.reports())
    printTable(session, {say("option"), first.name, second.name}, rows, out, Holding::Values);
}

// ---- carry-forward --------------------------------------------------------------------------------------

struct CarriedEntry {
  std::string name;
  Phrase action;       // "copied", "same", "kept", "left".
  std::string from;    // The value last year, masked.
  std::string detail;  // For people: the value, or why not.
};

struct CarryPlan {
  std::vector<CarriedEntry> lines;
  Dictionary entries;  // What the later year is to hold.
  int copied = 0;
  int kept = 0;
  int left = 0;
};

// The size of the two fonts: an entry without an option of its own.
constexpr Text kFontSize = qorvane::optsStr_HeaderFontSize;

CarryPlan planned(Session& session, const CarryRequest& request, const Domain& from, const Domain& to) {
  const auto source = storedEntries(session, from);
  if (!source)
    throw Failure(Exit::NotFound,
                  say("there are no {} settings in {}", from.name(), session.files().folder()));
  CarryPlan plan;
  const auto existing = storedEntries(session, to);
  if (existing) plan.entries = *existing;
  const auto before = optionStates(session, from, *source);
  const auto now = optionStates(session, to, plan.entries);

  const auto add = [&](std::string name, const Phrase& action, std::string value, std::string detail) {
    const std::string_view done = action.english();
    plan.copied += done == "copied";
    plan.kept += done == "kept";
    plan.left += done == "left";
    plan.lines.push_back({std::move(name), action, std::move(value), std::move(detail)});
  };
  std::set<std::string_view> seen;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const OptionState& old = before[i];
    const OptionState& current = now[i];
    if (!old.stored || !old.row->write || !seen.insert(old.key.view()).second) continue;
    const std::string name(old.row->name);
    const Value& entry = *source->find(old.key.view());
    const Value* there = plan.entries.find(old.key.view());
    const std::string value = old.unreadable ? "" : masked(*old.row, old.value, request.showSecrets);
    const std::string kept =
        current.unreadable ? say("(unreadable)") : masked(*current.row, current.value, request.showSecrets);
    if (old.unreadable)
      add(name, "left", value, say("cannot be read"));
    else if ((there && isIdentical(entry, *there)) || (old.isDefault && !there))
      add(name, "same", value, value);
    else if (old.row->type == OptionType::Folder && !request.folders)
      add(name, "left", value, say("a folder of {}", std::to_string(from.year)));
    else if (old.row->secret && !request.secrets)
      add(name, "left", value, say("a secret"));
    else if (there && !request.overwrite && !current.isDefault)
      add(name, "kept", value, kept);
    else {
      plan.entries.set(old.key, entry);
      add(name, "copied", value, value);
    }
  }
  for (const auto& [key, entry] : *source) {
    if (seen.contains(key.view())) continue;
    const Value* there = plan.entries.find(key.view());
    const std::string name = key.string();
    const std::string value = entry.textValue().string();
    if (key.view() != kFontSize.view()) {
      // An answer that cannot be set is no setting; what this program does not know may belong to its year.
      if (!qorvane::findOption(name)) add(name, "left", "", say("unknown to this program"));
    } else if (there && isIdentical(entry, *there)) {
      add(name, "same", value, value);
    } else if (there && !request.overwrite) {
      add(name, "kept", value, there->textValue().string());
    } else {
      plan.entries.set(key, entry);
      add(name, "copied", value, value);
    }
  }
  return plan;
}

void carryForward(Session& session, const CarryRequest& request, std::ostream& out) try {
  const Domain to{session.settings().corporate, request.to != 0 ? request.to : session.settings().year};
  const Domain from{to.corporate, request.from != 0 ? request.from : to.year - 1};
  if (from == to) throw Failure(Exit::Usage, say("the two years are the same"));
  CarryPlan plan;
  if (request.dryRun) {
    plan = planned(session, request, from, to);
  } else {
    // From the first look to the last byte nobody else may save.
    const FileUserDefaults::Lock lock(session.files());
    undoUnfinished(session);
    plan = planned(session, request, from, to);
    if (plan.copied > 0) changeAll(session, {{to, plan.entries}});
    const auto now = storedEntries(session, to);
    if (plan.copied > 0 && (!now || !isIdentical(Value(*now), Value(plan.entries))))
      throw Failure(Exit::NotFound, say("{} was saved but reads otherwise", to.name()));
  }
  if (session.json()) {
    Json lines = Json::array();
    for (const CarriedEntry& line : plan.lines)
      lines.push_back({{"name", line.name},
                       {"action", std::string(line.action.english())},
                       {"value", line.from},
                       {"detail", line.detail}});
    printJson({{"from", from.name()}, {"to", to.name()}, {"dryRun", request.dryRun}, {"options", lines}},
              out);
    return;
  }
  if (!session.reports()) return;
  std::vector<Row> rows;
  for (const CarriedEntry& line : plan.lines) rows.push_back({line.name, say(line.action), line.detail});
  printTable(session, {say("option"), say("action"), say("value or reason")}, rows, out, Holding::Values);
  out << say("{} to {}: {} copied, {} kept, {} left out", from.name(), to.name(), std::to_string(plan.copied),
             std::to_string(plan.kept), std::to_string(plan.left))
      << '\n';
  if (request.dryRun) out << say("a preview: nothing was changed") << '\n';
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

}  // namespace

void addYearVerbs(Verbs& verbs) {
  verbs.add<DiffRequest>(
      "diff", "compare two years, two products or a file with the store",
      [](CLI::App& verb, DiffRequest& request) {
        verb.add_option("A", request.first,
                        Phrase("a year (2024), a product (T2), both (T2:2024), or a file"))
            ->required();
        verb.add_option("B", request.second, Phrase("the same; by default the store's --product and --year"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      diff,
      "  optionsmgr diff 2023 2024\n  optionsmgr --year 2024 diff T1 T2\n  optionsmgr --year 2024 diff "
      "old.plist\n");
  verbs.add<CarryRequest>(
      "carry-forward", "copy last year's settings into this year's",
      [](CLI::App& verb, CarryRequest& request) {
        takesNumber(verb.add_option("--from", request.from,
                                    Phrase("the year to copy from; by default the year before")),
                    1, 9999);
        takesNumber(verb.add_option("--to", request.to, Phrase("the year to copy into; by default --year")),
                    1, 9999);
        verb.add_flag("--dry-run", request.dryRun, Phrase("show what would be done, and change nothing"));
        verb.add_flag("--overwrite", request.overwrite,
                      Phrase("replace what is already set in the later year"));
        verb.add_flag("--secrets", request.secrets, Phrase("copy passwords too"));
        verb.add_flag("--folders", request.folders, Phrase("copy folders too"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      carryForward,
      "  optionsmgr carry-forward --from 2023 --to 2024 --dry-run\n  optionsmgr --year 2024 carry-forward "
      "--secrets\n");
}

}  // namespace optionsmgr
