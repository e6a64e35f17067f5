// The verbs that hand settings over and take them: export and import.
#include <algorithm>
#include <filesystem>
#include <set>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Exchange.h"
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

struct ExportRequest {
  std::string file = "-";
  std::string form;
  bool all = false;
  bool showSecrets = false;
};

// ---- export ---------------------------------------------------------------------------------------------

ExchangeForm formMeant(const ExportRequest& request) {
  std::string form = request.form;
  if (form.empty() && request.file == "-") form = "xml";
  if (form.empty()) form = std::filesystem::path(request.file).extension().string();
  if (form == "xml" || form == ".xml") return ExchangeForm::Xml;
  return form == "json" || form == ".json" ? ExchangeForm::JsonText : ExchangeForm::Binary;
}

// Takes the secrets out; answers how many there were.
int withoutSecrets(Session& session, const Domain& domain, Dictionary& entries) {
  const qorvane::Product product = session.product(domain.corporate, domain.year);
  int secrets = 0;
  for (const OptionRow& row : qorvane::optionTable())
    if (row.secret) {
      const Value* entry = entries.find(row.key(product).view());
      // One that is not set hides nothing.
      if (!entry || entry->textValue() == Text("")) continue;
      entries.remove(row.key(product));
      ++secrets;
    }
  return secrets;
}

void exportSettings(Session& session, const ExportRequest& request, std::ostream& out) {
  std::map<Domain, Dictionary> settings;
  int secrets = 0;
  for (const Domain& domain : request.all ? storedDomains(session) : std::vector{domainOf(session)}) {
    auto entries = storedEntries(session, domain);
    if (!entries)
      throw Failure(Exit::NotFound,
                    say("there are no {} settings in {}", domain.name(), session.files().folder()));
    if (!request.showSecrets) secrets += withoutSecrets(session, domain, *entries);
    settings[domain] = *std::move(entries);
  }
  if (settings.empty())
    throw Failure(Exit::NotFound, say("there are no settings in {}", session.files().folder()));
  const std::string bytes = preferenceFileBytes(settings, formMeant(request));
  if (request.file == "-")
    out << bytes;
  else
    writeWholeFile(request.file, bytes);
  if (secrets > 0 && session.reports())
    tell(say("{} left out, being secret; --show-secrets has them in", std::to_string(secrets)));
}

// ---- import ---------------------------------------------------------------------------------------------

// Why the entry is none for the option; empty when it is one. A value that the option does not know, such as
// a choice of another list, is kept: the program that wrote it knew it.
std::string objection(const OptionRow& row, const Value& entry) {
  const bool textOrNumber = entry.asText() || entry.asNumber();
  switch (row.type) {
    case OptionType::Color:
      if (!entry.asData()) return say("it is no colour");
      try {
        static_cast<void>(qorvane::unarchiveColor(*entry.asData()));
      } catch (const qorvane::Exception& error) {
        return say("it is no colour: {}", told(error.failure()));
      }
      return {};
    case OptionType::Date:
      return textOrNumber || entry.asDate() ? std::string() : say("it is no date");
    case OptionType::Folder:
      if (const Text* path = entry.asText(); path && (path->isNilOrEmpty() || path->view().starts_with('/')))
        return {};
      return say("it is no absolute path");
    default:
      return textOrNumber ? std::string() : say("it is neither a text nor a number");
  }
}

struct ChangedEntry {
  std::string name;
  Phrase action;  // "new", "changed", "removed", "unknown".
  std::string from;
  std::string to;
};

// What an entry without an option shows.
std::string plain(const Value* entry) {
  if (!entry) return {};
  const Text text = entry->textValue();
  return text.isNil() ? "(" + std::string(translated(kindName(entry->kind()))) + ")" : text.string();
}

std::vector<ChangedEntry> changesOf(Session& session, const ImportRequest& request, const Domain& domain,
                                    const Dictionary& before, const Dictionary& after) {
  std::vector<ChangedEntry> lines;
  std::set<std::string_view> seen;
  const auto add = [&](std::string name, const Value* old, const Value* now, std::string from,
                       std::string to) {
    if (old && now && isIdentical(*old, *now)) return;
    if (old || now)
      lines.push_back({std::move(name),
                       !old  ? Phrase("new")
                       : now ? Phrase("changed")
                             : Phrase("removed"),
                       std::move(from), std::move(to)});
  };
  const auto befores = optionStates(session, domain, before);
  const auto afters = optionStates(session, domain, after);
  for (std::size_t i = 0; i < befores.size(); ++i) {
    const OptionRow& row = *befores[i].row;
    if (befores[i].key.isNil() || !seen.insert(befores[i].key.view()).second) continue;
    const auto words = [&](const OptionState& state) {
      return state.unreadable ? say("(unreadable)") : masked(row, state.value, request.showSecrets);
    };
    add(std::string(row.name), before.find(befores[i].key.view()), after.find(befores[i].key.view()),
        words(befores[i]), words(afters[i]));
  }
  for (const Dictionary* entries : {&after, &before})
    for (const auto& [key, value] : *entries) {
      if (!seen.insert(key.view()).second) continue;
      const Value* old = before.find(key.view());
      const Value* now = after.find(key.view());
      if (now && (!old || !isIdentical(*old, *now)))
        lines.push_back({key.string(), "unknown", plain(old), plain(now)});
      else
        add(key.string(), old, now, plain(old), plain(now));
    }
  return lines;
}

struct ImportPlan {
  Changes changes;
  std::map<Domain, std::vector<ChangedEntry>> lines;
};

ImportPlan planned(Session& session, const ImportRequest& request,
                   const std::map<Domain, Dictionary>& chosen) {
  ImportPlan plan;
  for (const auto& [domain, entries] : chosen) {
    const Dictionary before = storedEntries(session, domain).value_or(Dictionary());
    Dictionary after = request.replace ? entries : before;
    if (!request.replace)
      for (const auto& [key, value] : entries) after.set(key, value);
    plan.lines[domain] = changesOf(session, request, domain, before, after);
    if (!plan.lines[domain].empty()) plan.changes[domain] = after;
  }
  return plan;
}

void check(Session& session, const std::string& file, const std::map<Domain, Dictionary>& chosen) {
  std::string all;
  for (const auto& [domain, entries] : chosen) {
    const qorvane::Product product = session.product(domain.corporate, domain.year);
    std::set<std::string_view> seen;
    for (const OptionRow& row : qorvane::optionTable()) {
      const Text key = row.key(product);
      const Value* entry = key.isNil() ? nullptr : entries.find(key.view());
      if (!entry || !seen.insert(key.view()).second) continue;
      if (const std::string why = objection(row, *entry); !why.empty())
        all += "\n  " + domain.name() + ", " + key.string() + ": " + why;
    }
  }
  if (!all.empty())
    throw Failure(Exit::BadData, say("{} was not imported; nothing was changed:{}", file, all));
}

}  // namespace

void importSettings(Session& session, const ImportRequest& request, std::ostream& out) try {
  PreferenceFile file = readPreferenceFile(request.file);
  const Settings& said = session.settings();
  std::erase_if(file.settings, [&](const auto& item) {
    return (said.productSaid && item.first.corporate != said.corporate) ||
           (said.yearSaid && item.first.year != said.year);
  });
  if (file.settings.empty())
    throw Failure(Exit::NotFound, say("{} holds no settings of that product and year", request.file));
  check(session, request.file, file.settings);
  ImportPlan plan;
  if (request.dryRun) {
    plan = planned(session, request, file.settings);
  } else {
    const FileUserDefaults::Lock lock(session.files());
    undoUnfinished(session);
    plan = planned(session, request, file.settings);
    changeAll(session, plan.changes);
    for (const auto& [domain, entries] : plan.changes) {
      const auto now = storedEntries(session, domain);
      if (!now || !isIdentical(Value(*now), Value(entries)))
        throw Failure(Exit::NotFound, say("{} was saved but reads otherwise", domain.name()));
    }
  }
  if (session.json()) {
    Json told = Json::object();
    for (const auto& [domain, lines] : plan.lines) {
      told[domain.name()] = Json::array();
      for (const ChangedEntry& line : lines)
        told[domain.name()].push_back({{"name", line.name},
                                       {"action", std::string(line.action.english())},
                                       {"from", line.from},
                                       {"to", line.to}});
    }
    printJson({{"dryRun", request.dryRun}, {"settings", told}, {"leftOut", file.others}}, out);
    return;
  }
  if (!session.reports()) return;
  for (const auto& [domain, lines] : plan.lines) {
    out << domain.name() << (lines.empty() ? say(": nothing to change") : "") << '\n';
    std::vector<Row> rows;
    for (const ChangedEntry& line : lines) {
      const bool both = line.action.english() == "changed";
      rows.push_back({"  " + line.name, say(line.action),
                      both ? inWords(line.from) + " -> " + inWords(line.to) : line.to});
    }
    printTable(session, {}, rows, out, Holding::Values);
  }
  for (const std::string& other : file.others)
    out << say("{}: left out, for it is no product's settings", other) << '\n';
  if (request.dryRun) out << say("a preview: nothing was changed") << '\n';
} catch (const FileException& error) {
  throw Failure(exitFor(error.systemError()), told(error.failure()));
}

void addExchangeVerbs(Verbs& verbs) {
  verbs.add<ExportRequest>(
      "export", "write settings as a property list or JSON",
      [](CLI::App& verb, ExportRequest& request) {
        verb.add_option("FILE", request.file, Phrase("the file; standard output by default, or \"-\""));
        takesOneOf(
            verb.add_option(
                "--format", request.form,
                Phrase("binary, xml or json; by default what the file's name ends in, binary for other "
                       "files, XML on standard output")),
            {"binary", "xml", "json"});
        verb.add_flag("--all", request.all, Phrase("every product and year in the store"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("passwords too"));
      },
      exportSettings,
      "  optionsmgr --year 2024 export settings.plist\n  optionsmgr export --all --format json\n");
  verbs.add<ImportRequest>(
      "import", "take settings from a preferences file, wholly or not at all",
      [](CLI::App& verb, ImportRequest& request) {
        verb.add_option(
                "FILE", request.file,
                Phrase("a property list or JSON; \"-\" is standard input. Every product and year in it, or "
                       "those of --product and --year"))
            ->required();
        verb.add_flag("--dry-run", request.dryRun, Phrase("show what would be done, and change nothing"));
        verb.add_flag("--replace", request.replace, Phrase("settings that the file does not have go"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      importSettings,
      "  optionsmgr import --dry-run settings.plist\n  optionsmgr --year 2024 import - <settings.json\n");
}

}  // namespace optionsmgr
