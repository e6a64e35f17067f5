// The verbs that read and change options.

#include <fnmatch.h>

#include <cstdint>
#include <limits>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "tool/ChoiceText.h"
#include "tool/ColorText.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::OptionRow;
using qorvane::Options;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

namespace {

struct ListRequest {
  std::string glob = "*";
  bool changedOnly = false;
  bool showSecrets = false;
};

struct OptionRequest {
  std::string option;
  std::string value;
  bool showSecrets = false;
};

void writeIn(Options& store, const OptionRow& row, const Value& value) try {
  row.write(store, value);
} catch (const qorvane::Exception& error) {
  throw unreadable(row, error);
}

const OptionRow& settable(const std::string& name) {
  const OptionRow& row = Session::option(name);
  if (!row.write)
    throw Failure(Exit::BadData, say("{} cannot be set: the library answers it itself", row.name));
  return row;
}

std::string quoted(const OptionRow& row, const Value& value) {
  return row.secret ? say("another value") : inQuotes(shown(row, value));
}

void list(Session& session, const ListRequest& request, std::ostream& out) {
  const auto store = session.load();
  Json found = Json::object();
  std::vector<Row> rows;
  bool matched = false;
  for (const OptionRow& row : qorvane::optionTable()) {
    const std::string name(row.name);
    if (fnmatch(request.glob.c_str(), name.c_str(), 0) != 0) continue;
    matched = true;
    const std::string byDefault = shown(row, row.fallback());
    try {
      const Value value = readIn(*store, row);
      if (request.changedOnly && (!row.write || value == row.fallback())) continue;
      found[name] = factsAsJson(row, value, request.showSecrets);
      rows.push_back({name, say(typeName(row)), masked(row, value, request.showSecrets), byDefault});
    } catch (const Failure& failure) {
      // One bad entry must not hide the others.
      found[name] = factsAsJson(row, nullptr, request.showSecrets);
      rows.push_back({name, say(typeName(row)), say("(unreadable)"), byDefault});
      tell(failure.what());
    }
  }
  if (!matched) throw Failure(Exit::NotFound, say("no option's name matches \"{}\"", request.glob));
  if (session.json())
    printJson(found, out);
  else if (!rows.empty())
    printTable(session, {say("option"), say("type"), say("value"), say("default")}, rows, out,
               Holding::Values);
}

void get(Session& session, const OptionRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  const Value value = readIn(*session.load(), row);
  if (value.isNil()) throw Failure(Exit::NotFound, say("{} is not set and has no default", row.name));
  if (session.json()) {
    printJsonLine(shownAsJson(row, value), out);
    return;
  }
  out << shown(row, value);
  if (row.type == OptionType::Color && session.colorTerminal())
    out << ' ' << swatch(qorvane::unarchiveColor(*value.asData()));
  out << '\n';
}

void set(Session& session, const OptionRequest& request, std::ostream&) {
  const OptionRow& row = settable(request.option);
  const Value wanted = parsedFor(row, request.value);
  const auto now = session.change([&](Options& store) { writeIn(store, row, wanted); });
  if (const Value kept = readIn(*now, row); shown(row, kept) != shown(row, wanted))
    throw Failure(Exit::NotFound,
                  say("{} was saved but reads {}, not {}", row.name, quoted(row, kept), quoted(row, wanted)));
}

void reset(Session& session, const OptionRequest& request, std::ostream&) {
  const OptionRow& row = settable(request.option);
  const auto now = session.change([&](Options& store) { store.options()->remove(row.key()); });
  if (const Value kept = readIn(*now, row); shown(row, kept) != shown(row, row.fallback()))
    throw Failure(Exit::NotFound, say("{} was reset but reads {}", row.name, quoted(row, kept)));
}

void describe(Session& session, const OptionRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  const Value value = readIn(*session.load(), row);
  if (session.json()) {
    Json told{{"name", std::string(row.name)}};
    told.update(factsAsJson(row, value, request.showSecrets));
    printJson(told, out);
    return;
  }
  std::vector<Row> rows{{say("option"), std::string(row.name)},
                        {say("type"), say(typeName(row))},
                        {say("value"), inWords(masked(row, value, request.showSecrets), value.isNil())}};
  if (const Text key = row.key(); !key.isNil()) {
    const Value fallback = row.fallback();
    rows.push_back({say("default"), inWords(shown(row, fallback), fallback.isNil())});
    rows.push_back({say("key"), key.string()});
    rows.push_back({say("stored"), std::string(translated(row.stored))});
    rows.push_back({say("read"), say(readHabit(row).words)});
  }
  rows.push_back({say("setting"), row.write ? say(writeHabit(row).words)
                                            : say("it cannot be set: the library answers it itself")});
  printTable(session, {}, rows, out, Holding::Words);
  if (const auto* list = row.choices) {
    out << say("choices") << '\n';
    printChoices(session, *list, row.fallback().textValue(), out, "  ");
  }
}

// What a value must be, in words; for a type whose values are not counted.
Phrase rangeOf(const OptionRow& row) {
  switch (row.type) {
    case OptionType::Folder:
      return "an absolute path";
    case OptionType::Font:
      return "a font's name and size, such as \"Helvetica, 12\"";
    case OptionType::Color:
      return "a colour, such as \"#CCFFFF\" or \"calibrated RGB 0.8 1 1 1\"";
    case OptionType::Date:
      return "a number, or an empty text for none";
    default:
      return "any text";
  }
}

void range(Session& session, const OptionRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  session.requireSound();
  Json told{{"name", std::string(row.name)}, {"type", std::string(typeName(row).english())}};
  std::string words;
  const auto* list = row.choices;
  if (list) {
    told["choices"] = choicesAsJson(*list, row.fallback().textValue());
  } else if (row.type == OptionType::Flag) {
    words = "true\nfalse";
  } else if (row.type == OptionType::Integer) {
    told["least"] = std::numeric_limits<std::int32_t>::min();
    told["most"] = std::numeric_limits<std::int32_t>::max();
    words = told["least"].dump() + " .. " + told["most"].dump();
  } else {
    words = say(rangeOf(row));
  }
  if (session.json())
    printJson(told, out);
  else if (list)
    printChoices(session, *list, row.fallback().textValue(), out);
  else
    out << words << '\n';
}

void declareOption(CLI::App& verb, OptionRequest& request) {
  verb.add_option("OPTION", request.option, Phrase("its name (zsupress) or stored key (ZSuppress)"))
      ->required();
}

}  // namespace

void addOptionVerbs(Verbs& verbs) {
  verbs.add<ListRequest>(
      "list", "show options with their values",
      [](CLI::App& verb, ListRequest& request) {
        verb.add_option("GLOB", request.glob, Phrase("only names like this"));
        verb.add_flag("--changed", request.changedOnly, Phrase("only those that differ from their default"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      list, "  optionsmgr list 'preparer*'\n  optionsmgr list --changed\n");
  verbs.add<OptionRequest>("get", "print one option's value", declareOption, get,
                           "  optionsmgr get language\n");
  verbs.add<OptionRequest>(
      "set", "change one option and save it",
      [](CLI::App& verb, OptionRequest& request) {
        declareOption(verb, request);
        verb.add_option(
                "VALUE", request.value,
                Phrase("a text; for a flag true or false; for an integer its digits; for a choice its "
                       "neutral value or "
                       "its label in either language; for a font \"Helvetica, 12\""))
            ->required();
      },
      set, "  optionsmgr set autoSaveAfter 5\n  optionsmgr set zsupress off\n");
  verbs.add<OptionRequest>("reset", "put one option back to its default", declareOption, reset,
                           "  optionsmgr reset zsupress\n");
  verbs.add<OptionRequest>(
      "describe", "tell all about one option",
      [](CLI::App& verb, OptionRequest& request) {
        declareOption(verb, request);
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      describe, "  optionsmgr describe mr69_AuthType\n");
  verbs.add<OptionRequest>("range", "show which values an option takes", declareOption, range,
                           "  optionsmgr range preparerModeOfDelivery\n");
}

}  // namespace optionsmgr
