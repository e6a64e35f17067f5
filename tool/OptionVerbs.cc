// The verbs that read and change options.

#include <fnmatch.h>

#include <cstdint>
#include <iomanip>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>

#include "qorvane/foundation/Exception.h"
#include "qorvane/platform/ColorArchive.h"
#include "tool/ColorText.h"
#include "tool/Columns.h"
#include "tool/Failure.h"
#include "tool/Language.h"
#include "tool/OptionText.h"
#include "tool/Verbs.h"

namespace optionsmgr {

using qorvane::Choice;
using qorvane::OptionRow;
using qorvane::Options;
using qorvane::Text;
using qorvane::Value;
using Json = nlohmann::ordered_json;

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
  return row.secret ? say("another value") : "\"" + shown(row, value) + "\"";
}

void list(Session& session, const ListRequest& request, std::ostream& out) {
  const auto store = session.load();
  Json found = Json::object();
  for (const OptionRow& row : qorvane::optionTable()) {
    const std::string name(row.name);
    if (fnmatch(request.glob.c_str(), name.c_str(), 0) != 0) continue;
    try {
      const Value value = readIn(*store, row);
      if (request.changedOnly && (!row.write || value == row.fallback())) continue;
      found[name] = session.json() ? Json(maskedJson(row, value, request.showSecrets))
                                   : Json(masked(row, value, request.showSecrets));
    } catch (const Failure& failure) {
      // One bad entry must not hide the others.
      found[name] = session.json() ? Json(nullptr) : Json(say("(unreadable)"));
      std::cerr << "optionsmgr: " << failure.what() << '\n';
    }
  }
  if (found.empty() && !request.changedOnly)
    throw Failure(Exit::NotFound, say("no option's name matches \"{}\"", request.glob));
  if (session.json()) {
    out << found.dump(2) << '\n';
    return;
  }
  std::vector<std::vector<std::string>> rows;
  for (const auto& [name, value] : found.items()) rows.push_back({name, value.get<std::string>()});
  printColumns(rows, out, session.terminalWidth());
}

void get(Session& session, const OptionRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  const Value value = readIn(*session.load(), row);
  if (value.isNil()) throw Failure(Exit::NotFound, say("{} is not set and has no default", row.name));
  if (session.json()) {
    out << shownAsJson(row, value).dump() << '\n';
    return;
  }
  out << shown(row, value);
  if (row.type == qorvane::OptionType::Color && session.colorTerminal())
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
  const Text key = row.key();
  Json fields = Json::object();
  fields["name"] = std::string(row.name);
  fields["type"] = typeName(row);
  fields["value"] = Json(maskedJson(row, value, request.showSecrets));
  if (row.write) fields["default"] = Json(shownAsJson(row, row.fallback()));
  if (!key.isNil()) fields["key"] = key.string();
  if (!row.form.empty()) fields["form"] = std::string(row.form);
  if (!row.readKind.empty()) fields["read"] = std::string(row.readKind);
  if (!row.writeKind.empty()) fields["write"] = std::string(row.writeKind);
  fields["setter"] = row.setter.empty() ? Json(nullptr) : Json(std::string(row.setter));
  const auto* list = row.choices();
  if (session.json()) {
    for (const Choice& choice : list ? list->choices : std::span<const Choice>())
      fields["choices"].push_back({{"neutral", choice.neutral.string()},
                                   {"english", choice.english.string()},
                                   {"french", choice.french.string()}});
    out << fields.dump(2) << '\n';
    return;
  }
  for (const auto& [name, field] : fields.items())
    out << std::left << std::setw(9) << name
        << (field.is_null()     ? "(none)"
            : field.is_string() ? field.get<std::string>()
                                : field.dump())
        << '\n';
  for (const Choice& choice : list ? list->choices : std::span<const Choice>())
    out << std::setw(9) << "choice" << '"' << choice.neutral << "\": " << choice.english << " / "
        << choice.french << '\n';
}

void range(Session& session, const OptionRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  Json told{{"name", std::string(row.name)}, {"type", typeName(row)}};
  std::vector<std::vector<std::string>> rows;
  if (const auto* list = row.choices()) {
    told["choices"] = Json::array();
    for (const Choice& choice : list->choices) {
      told["choices"].push_back({{"neutral", choice.neutral.string()},
                                 {"english", choice.english.string()},
                                 {"french", choice.french.string()}});
      rows.push_back({choice.neutral.string(), choice.english.string(), choice.french.string()});
    }
  } else if (row.type == qorvane::OptionType::Flag) {
    rows = {{"true"}, {"false"}};
  } else if (row.type == qorvane::OptionType::Integer) {
    told["least"] = std::numeric_limits<std::int32_t>::min();
    told["most"] = std::numeric_limits<std::int32_t>::max();
    rows = {{told["least"].dump() + " .. " + told["most"].dump()}};
  } else if (row.type == qorvane::OptionType::Folder) {
    rows = {{say("an absolute path")}};
  } else if (row.type == qorvane::OptionType::Font) {
    rows = {{say("a font's name and size, such as \"Helvetica, 12\"")}};
  } else if (row.type == qorvane::OptionType::Color) {
    rows = {{say("a colour, such as \"#CCFFFF\" or \"calibrated RGB 0.8 1 1 1\"")}};
  } else if (row.type == qorvane::OptionType::Date) {
    rows = {{say("a number, or an empty text for none")}};
  } else {
    rows = {{say("any text")}};
  }
  if (session.json())
    out << told.dump(2) << '\n';
  else
    printColumns(rows, out, session.terminalWidth());
}

void declareOption(CLI::App& verb, OptionRequest& request) {
  verb.add_option("OPTION", request.option, "its name (zsupress) or stored key (ZSuppress)")->required();
}

}  // namespace

void addOptionVerbs(Verbs& verbs) {
  verbs.add<ListRequest>(
      "list", "show options with their values",
      [](CLI::App& verb, ListRequest& request) {
        verb.add_option("GLOB", request.glob, "only names like this");
        verb.add_flag("--changed", request.changedOnly, "only those that differ from their default");
        verb.add_flag("--show-secrets", request.showSecrets, "show passwords");
      },
      list, "  optionsmgr list 'preparer*'\n  optionsmgr list --changed\n");
  verbs.add<OptionRequest>("get", "print one option's value", declareOption, get,
                           "  optionsmgr get language\n");
  verbs.add<OptionRequest>(
      "set", "change one option and save it",
      [](CLI::App& verb, OptionRequest& request) {
        declareOption(verb, request);
        verb.add_option("VALUE", request.value,
                        "a text; for a flag true or false; for an integer its digits; for a choice its "
                        "neutral value or "
                        "its label in either language; for a font \"Helvetica, 12\"")
            ->required();
      },
      set, "  optionsmgr set autoSaveAfter 5\n  optionsmgr set zsupress off\n");
  verbs.add<OptionRequest>("reset", "put one option back to its default", declareOption, reset,
                           "  optionsmgr reset zsupress\n");
  verbs.add<OptionRequest>(
      "describe", "tell all about one option",
      [](CLI::App& verb, OptionRequest& request) {
        declareOption(verb, request);
        verb.add_flag("--show-secrets", request.showSecrets, "show passwords");
      },
      describe, "  optionsmgr describe mr69_AuthType\n");
  verbs.add<OptionRequest>("range", "show which values an option takes", declareOption, range,
                           "  optionsmgr range preparerModeOfDelivery\n");
}

}  // namespace optionsmgr
