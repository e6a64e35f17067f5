// The verbs of layers: why an option reads as it does, and the locks of the machine's layer.
#include <algorithm>
#include <optional>
#include <utility>

#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::Layer;
using qorvane::LayeredSettings;
using qorvane::OptionRow;
using qorvane::Text;
using qorvane::Value;

namespace {

struct WhyRequest {
  std::string option;
  bool showSecrets = false;
};

struct LockRequest {
  std::vector<std::string> options;
};

// ---- why ------------------------------------------------------------------------------------------------

// One layer's value.
struct Said {
  Phrase layer;
  std::optional<Value> entry;
  std::string file;
  bool everyYear = false;
  bool locks = false;
  bool counts = false;
  Json origin = nullptr;  // What the file notes of where the entry came from.
};

// What is noted with the entry: its place, number, time and who.
Json noted(const Value* record) {
  if (!record) return nullptr;
  if (!record->asDictionary()) return plainEntry(record);
  Json all = Json::object();
  for (const auto& [name, value] : *record->asDictionary()) all[name.string()] = plainEntry(&value);
  return all;
}

std::vector<Said> saidOf(const LayeredSettings& layers, const Text& key, const std::string& userFile) {
  const auto standing = layers.standing(key.view());
  std::vector<Said> all;
  Said user{.layer = "user", .entry = {}, .file = userFile};
  if (const Value* own = layers.ownEntries().find(key.view())) user.entry = *own;
  user.counts = standing.value && !standing.layer;
  all.push_back(std::move(user));
  for (const Layer& layer : layers.layers()) {
    const bool locks = layer.locks(key.view());
    bool told = false;
    for (const bool everyYear : {false, true}) {
      const Value* const entry = (everyYear ? layer.everyYear() : layer.year()).find(key.view());
      if (!entry) continue;
      all.push_back({.layer = layerName(layer.kind()),
                     .entry = *entry,
                     .file = layer.file(everyYear),
                     .everyYear = everyYear,
                     .locks = locks,
                     .counts = standing.layer == &layer && standing.everyYear == everyYear,
                     .origin = noted(everyYear ? nullptr : layer.origin(key.view()))});
      told = true;
    }
    if (locks && !told)
      all.push_back(
          {.layer = layerName(layer.kind()), .entry = {}, .file = layer.folder().path, .locks = true});
  }
  return all;
}

struct Reason {
  const char* code;
  std::string words;
};

Reason reasonOf(const LayeredSettings& layers, const OptionRow& row, const Text& key,
                const qorvane::Product& product) {
  const auto standing = layers.standing(key.view());
  if (const Layer* lock = lockOn(layers, row, product))
    return {"locked", say(lock->isEnforced() ? Phrase("locked by {}: what is nearer does not count")
                                             : Phrase("locked by {} (not enforced: you can change it): what "
                                                      "is nearer does not count"),
                          lock->folder().path)};
  const Value* const own = layers.ownEntries().find(key.view());
  if (standing.layer)
    return own ? Reason{"yields", say("the nearest farther value; the user's is a default that a program "
                                      "stored, and nobody's choice")}
               : Reason{"nearest", say("the nearest value; the user has none")};
  if (!standing.value) return {"default", say("nobody has set it: its default")};
  if (layers.isMarked(key.view())) return {"chosen", say("the user chose it, and that is noted")};
  if (layers.isChosenByItself(key.view(), *standing.value)) return {"own", say("the user's own value")};
  return {"stored-default", say("the user's entry is the default, and no farther layer has a value")};
}

void why(Session& session, const WhyRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  const Text key = row.key();
  if (key.isNil())
    throw Failure(Exit::NotFound, say("{} has no entry: the library answers it itself", row.name));
  const Domain domain = domainOf(session);
  const auto own = storedSettings(session, domain);
  const auto layers = layersOf(session, domain, own.value_or(qorvane::Settings()));
  const auto reading = [&](const Dictionary& entries) -> Value {
    DomainStore store(session, domain, entries);
    return readIn(store.options(), row);
  };
  // An entry reads with those that belong to it, such as a font with its size.
  const auto ofLayer = [&](const Said& said) {
    Dictionary entries = layers->effective();
    entries.set(key, *said.entry);
    return reading(entries);
  };
  const std::vector<Said> all = saidOf(*layers, key, session.files().pathForKey(domain.key()));
  const Reason reason = reasonOf(*layers, row, key, session.product());
  const Value value = reading(layers->effective());
  const Layer* const lock = lockOn(*layers, row, session.product());
  if (session.json()) {
    Json lines = Json::array();
    for (const Said& said : all)
      lines.push_back(
          {{"layer", std::string(said.layer.english())},
           {"value", said.entry ? maskedJson(row, ofLayer(said), request.showSecrets) : Json(nullptr)},
           {"file", said.file},
           {"everyYear", said.everyYear},
           {"locks", said.locks},
           {"counts", said.counts},
           {"origin", said.origin}});
    printJson({{"name", std::string(row.name)},
               {"value", maskedJson(row, value, request.showSecrets)},
               {"why", reason.code},
               {"lock", lock ? Json{{"layer", std::string(layerName(lock->kind()).english())},
                                    {"folder", lock->folder().path},
                                    {"enforced", lock->isEnforced()}}
                             : Json(nullptr)},
               {"layers", lines}},
              out);
    return;
  }
  printTable(session, {},
             {{std::string(row.name), inWords(masked(row, value, request.showSecrets), value.isNil())}}, out,
             Overflow::Values);
  printTable(session, {}, {{reason.words}}, out, Overflow::Words);
  std::vector<Row> rows;
  for (const Said& said : all) {
    std::string file = said.entry || said.locks ? said.file : "";
    if (said.everyYear) file += say(" (every year)");
    if (said.origin.is_object())
      for (const auto& [name, text] : said.origin.items())
        file += ", " + name + " " + text.get<std::string>();
    rows.push_back({say(said.layer),
                    said.entry ? inWords(masked(row, ofLayer(said), request.showSecrets)) : say("(none)"),
                    said.counts ? say("yes") : "", said.locks ? say("yes") : "", file});
  }
  const Value fallback = row.fallback();
  rows.push_back({say("default"), inWords(shown(row, fallback), fallback.isNil()),
                  std::ranges::any_of(all, &Said::counts) ? "" : say("yes"), "", ""});
  printTable(session, {say("layer"), say("value"), say("counts"), say("locked"), say("file")}, rows, out,
             Overflow::Paths);
}

// ---- lock and unlock ------------------------------------------------------------------------------------

std::vector<Text> keysOf(const std::vector<std::string>& options) {
  std::vector<Text> keys;
  for (const std::string& word : options) {
    if (word == "*") {
      keys.push_back("*");
      continue;
    }
    const OptionRow& row = Session::option(word);
    if (!row.write || row.key().isNil())
      throw Failure(Exit::BadData, say("{} cannot be set: the library answers it itself", row.name));
    keys.push_back(row.key());
  }
  return keys;
}

void lock(Session& session, const LockRequest& request, std::ostream&) {
  const std::vector<Text> keys = keysOf(request.options);
  changeMachineSettings(session, editedDomain(session), [&](MachineSettings& settings) {
    for (const Text& key : keys)
      if (std::ranges::find(settings.locked, key) == settings.locked.end()) settings.locked.push_back(key);
  });
  // A lock without a value there or farther locks nothing.
  const auto layers = layersOf(session, domainOf(session), {});
  for (const Text& key : keys)
    if (key != Text("*") && !layers->layers().lockOf(key.view()))
      tell(
          say("{} is locked, but neither here nor farther is a value of it: until there is, the lock "
              "holds nothing",
              qorvane::findOption(key.view())->name));
}

void unlock(Session& session, const LockRequest& request, std::ostream&) {
  const std::vector<Text> keys = keysOf(request.options);
  changeMachineSettings(session, editedDomain(session), [&](MachineSettings& settings) {
    std::erase_if(settings.locked,
                  [&](const Text& key) { return std::ranges::find(keys, key) != keys.end(); });
  });
}

}  // namespace

void addLayerVerbs(Verbs& verbs) {
  verbs.add<WhyRequest>(
      "why", "tell which layer an option's value comes from, and why",
      [](CLI::App& verb, WhyRequest& request) {
        verb.add_option("OPTION", request.option, Phrase("its name (zsupress) or stored key (ZSuppress)"))
            ->required();
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      why, "  optionsmgr why preparerCity\n");
  const auto declare = [](CLI::App& verb, LockRequest& request) {
    verb.add_option("OPTION", request.options,
                    Phrase("options by name or stored key; \"*\" is all that have a value there or farther"))
        ->required();
  };
  verbs.add<LockRequest>("lock", "let nobody change options that the machine's settings have", declare, lock,
                         "  optionsmgr --layer machine lock preparerFirmName\n");
  verbs.add<LockRequest>("unlock", "let everybody change them again", declare, unlock,
                         "  optionsmgr --layer machine unlock preparerFirmName\n");
}

}  // namespace optionsmgr
