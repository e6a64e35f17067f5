// The verbs that tell of options: list, describe, search and range.
#include <fnmatch.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <utility>

#include "tool/ChoiceText.h"
#include "tool/EntryForm.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/speech/Plain.h"
#include "tool/speech/Suggest.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Language;
using qorvane::OptionGroup;
using qorvane::OptionRow;
using qorvane::Options;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

namespace {

struct ListRequest {
  std::string glob = "*";
  std::string group;
  bool changedOnly = false;
  bool labels = false;
  bool unknown = false;
  bool showSecrets = false;
};

struct DescribeRequest {
  std::string option;
  bool showSecrets = false;
};

struct SearchRequest {
  std::vector<std::string> words;
  bool showSecrets = false;
};

// ---- list -----------------------------------------------------------------------------------------------

// The group of that name in either language, or of the name that is the same in both, or else the only one
// whose name begins like that; null for an empty word.
const OptionGroup* groupMeant(const std::string& word) {
  if (word.empty()) return nullptr;
  std::vector<std::string_view> names;
  for (const OptionGroup& group : qorvane::optionGroups()) {
    for (const std::string_view name : {group.id, group.english.view(), group.french.view()})
      if (plainLetters(name) == plainLetters(word)) return &group;
    names.push_back(group.name(language()));
  }
  const OptionGroup* begun = nullptr;
  bool isOnlyOne = false;
  for (const OptionGroup& group : qorvane::optionGroups())
    for (const std::string_view name : {group.english.view(), group.french.view()})
      if (plainLetters(name).starts_with(plainLetters(word)) && begun != &group)
        isOnlyOne = !std::exchange(begun, &group);
  if (isOnlyOne) return begun;
  throw Failure(Exit::NotFound, say("there is no group \"{}\"", word) + didYouMean(word, names));
}

// Where the option's value comes from, in a word.
std::string sourceOf(const qorvane::LayeredSettings& layers, const OptionRow& row) {
  const Text key = row.key();
  if (key.isNil()) return "";
  const auto standing = layers.standing(key.view());
  if (standing.layer) return say(layerName(standing.layer->kind()));
  return standing.value ? say("user") : say("default");
}

// One option in a list, which one bad entry must not keep from showing the others.
struct Listed {
  const OptionRow* row;
  Value value;
  bool unreadable = false;
};

Listed listed(Options& store, const OptionRow& row) try {
  return {&row, readIn(store, row)};
} catch (const Failure& failure) {
  tell(failure.what());
  return {&row, Value(), true};
}

// layers: to say which of them each value comes from; null to leave that out.
void printListed(const Session& session, const std::vector<Listed>& all, bool labels, bool showSecrets,
                 std::ostream& out, const qorvane::LayeredSettings* layers = nullptr) {
  std::vector<Row> rows;
  for (const auto& [row, value, unreadable] : all) {
    const std::string words = unreadable ? say("(unreadable)") : masked(*row, value, showSecrets);
    if (labels)
      rows.push_back({std::string(row->name), row->label(language()).string(), words});
    else
      rows.push_back({std::string(row->name), say(typeName(*row)), words, shown(*row, row->fallback())});
    if (layers) rows.back().push_back(sourceOf(*layers, *row));
  }
  if (rows.empty()) return;
  Row heading = labels ? Row{say("option"), say("label"), say("value")}
                       : Row{say("option"), say("type"), say("value"), say("default")};
  if (layers) heading.push_back(say("layer"));
  printTable(session, heading, rows, out, Overflow::Values);
}

void listUnknown(Session& session, std::ostream& out) {
  const auto store = session.load();
  Json found = Json::object();
  std::vector<Row> rows;
  for (const auto& [key, value] : *store->options())
    if (isUnknownEntry(key)) {
      found[key.string()] = {{"value", plainEntry(&value)}, {"kind", kindName(value.kind())}};
      rows.push_back({key.string(), std::string(translated(kindName(value.kind()))), plainEntry(&value)});
    }
  if (session.json())
    printJson(found, out);
  else if (!rows.empty())
    printTable(session, {say("key"), say("type"), say("value")}, rows, out, Overflow::Values);
}

void list(Session& session, const ListRequest& request, std::ostream& out) {
  if (request.unknown) return listUnknown(session, out);
  const OptionGroup* group = groupMeant(request.group);
  const auto store = session.load();
  std::vector<Listed> all;
  bool matched = false;
  for (const OptionRow& row : qorvane::optionTable()) {
    if (fnmatch(request.glob.c_str(), std::string(row.name).c_str(), FNM_CASEFOLD) != 0) continue;
    if (group && &row.group() != group) continue;
    matched = true;
    Listed one = listed(*store, row);
    if (request.changedOnly && !one.unreadable && (!row.write || one.value == row.fallback())) continue;
    all.push_back(std::move(one));
  }
  if (!matched) throw Failure(Exit::NotFound, say("no option's name matches \"{}\"", request.glob));
  if (!session.json()) {
    // Only where there is more than one layer.
    std::shared_ptr<const qorvane::LayeredSettings> layers;
    if (request.changedOnly && session.settings().layer.empty()) {
      const Domain domain = domainOf(session);
      layers = layersOf(session, domain, storedSettings(session, domain).value_or(qorvane::Settings()));
      if (layers->layers().empty()) layers.reset();
    }
    return printListed(session, all, request.labels, request.showSecrets, out, layers.get());
  }
  Json found = Json::object();
  for (const Listed& one : all)
    found[std::string(one.row->name)] = factsAsJson(*one.row, one.value, request.showSecrets);
  printJson(found, out);
}

// ---- describe -------------------------------------------------------------------------------------------

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : ", ") + word;
  return all;
}

void describe(Session& session, const DescribeRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  const Value value = readIn(*session.load(), row);
  if (session.json()) {
    Json told{{"name", std::string(row.name)}};
    told.update(factsAsJson(row, value, request.showSecrets));
    printJson(told, out);
    return;
  }
  std::vector<Row> rows{{say("label"), row.label(language()).string()},
                        {say("description"), row.description(language()).string()},
                        {say("group"), row.group().name(language()).string()},
                        {say("option"), std::string(row.name)},
                        {say("type"), say(typeName(row))},
                        {say("value"), inWords(masked(row, value, request.showSecrets), value.isNil())}};
  if (const Text key = row.key(); !key.isNil()) {
    const Value fallback = row.fallback();
    rows.push_back({say("default"), inWords(shown(row, fallback), fallback.isNil())});
    if (row.write && !row.choices) rows.push_back({say("takes"), rangeOf(row, language())});
    rows.push_back({say("key"), key.string()});
    rows.push_back({say("stored"), std::string(translated(row.stored))});
    rows.push_back({say("read"), say(readPolicy(row).words)});
  }
  rows.push_back({say("setting"), row.write ? say(writePolicy(row).words)
                                            : say("it cannot be set: the library answers it itself")});
  if (const auto names = facadeNamesOf(row); !names.empty()) rows.push_back({say("facade"), joined(names)});
  if (const auto names = relatedTo(row); !names.empty()) rows.push_back({say("same entry"), joined(names)});
  printTable(session, {}, rows, out, Overflow::Words);
  if (const auto* list = row.choices) {
    out << say("choices") << '\n';
    printChoices(session, *list, row.fallback().textValue(), out, "  ");
  }
}

// ---- search ---------------------------------------------------------------------------------------------

// How well the word fits the texts: what it is wholly counts most, then what a word begins with.
int fit(const std::string& word, std::initializer_list<std::string> texts, int most) {
  int best = 0;
  for (const std::string& text : texts) {
    const std::string plain = plainLetters(text);
    if (plain == word)
      best = std::max(best, 4 * most);
    else if (plain.starts_with(word) || plain.find(' ' + word) != plain.npos)
      best = std::max(best, 2 * most);
    else if (plain.find(word) != plain.npos)
      best = std::max(best, most);
  }
  return best;
}

// How well the option fits the word; 0 when it does not. A secret's value is not looked into.
int fitOf(const OptionRow& row, const Value& value, const std::string& word) {
  int best = fit(word, {row.label(Language::English).string(), row.label(Language::French).string()}, 40);
  best = std::max(best, fit(word, {std::string(row.name), row.key().string()}, 30));
  if (!row.secret) best = std::max(best, fit(word, {shown(row, value)}, 20));
  if (row.choices)
    for (const qorvane::Choice& choice : row.choices->choices)
      best = std::max(best, fit(word, {choice.english.string(), choice.french.string()}, 10));
  const OptionGroup& group = row.group();
  best = std::max(best, fit(word, {group.english.string(), group.french.string()}, 6));
  return std::max(
      best,
      fit(word, {row.description(Language::English).string(), row.description(Language::French).string()},
          5));
}

std::vector<std::string> wordsOf(const std::vector<std::string>& said) {
  std::vector<std::string> words;
  for (const std::string& word : said) {
    const std::string plain = plainLetters(word) + " ";
    for (std::size_t at = 0, end = 0; (end = plain.find(' ', at)) != plain.npos; at = end + 1)
      if (end > at) words.push_back(plain.substr(at, end - at));
  }
  return words;
}

void search(Session& session, const SearchRequest& request, std::ostream& out) {
  const std::vector<std::string> words = wordsOf(request.words);
  const auto store = session.load();
  std::vector<std::pair<int, Listed>> found;
  for (const OptionRow& row : qorvane::optionTable()) {
    Listed one = listed(*store, row);
    int total = 0;
    bool all = !words.empty();
    for (const std::string& word : words) {
      const int points = fitOf(row, one.value, word);
      all = all && points > 0;
      total += points;
    }
    if (all) found.emplace_back(total, std::move(one));
  }
  std::ranges::stable_sort(found, std::greater(), &std::pair<int, Listed>::first);
  if (found.empty()) throw Failure(Exit::NotFound, say("nothing is found for \"{}\"", joined(request.words)));
  if (session.json()) {
    Json all = Json::array();
    for (const auto& [points, one] : found) {
      Json told{{"name", std::string(one.row->name)}};
      told.update(factsAsJson(*one.row, one.value, request.showSecrets));
      all.push_back(std::move(told));
    }
    printJson(all, out);
    return;
  }
  std::vector<Listed> all;
  for (auto& [points, one] : found) all.push_back(std::move(one));
  printListed(session, all, true, request.showSecrets, out);
}

void range(Session& session, const DescribeRequest& request, std::ostream& out) {
  const OptionRow& row = Session::option(request.option);
  if (!row.write)
    throw Failure(Exit::BadData, say("{} cannot be set: the library answers it itself", row.name));
  session.requireSound();
  Json told{{"name", std::string(row.name)}, {"type", std::string(typeName(row).english())}};
  std::string words;
  const auto* list = row.choices;
  if (list) {
    told["choices"] = choicesAsJson(*list, row.fallback().textValue());
  } else if (row.type == OptionType::Flag) {
    words = "true\nfalse";
  } else if (row.type == OptionType::Integer) {
    // A rule about numbers names its bounds.
    const auto rule = ruleOf(row);
    const auto bound = [&](std::size_t place, std::int32_t otherwise) {
      return rule ? std::stoi(rule->arguments.at(place).string()) : otherwise;
    };
    told["least"] = bound(0, std::numeric_limits<std::int32_t>::min());
    told["most"] = bound(1, std::numeric_limits<std::int32_t>::max());
    words = told["least"].dump() + " .. " + told["most"].dump();
  } else {
    words = rangeOf(row, language());
    told["takes"] = {{"english", rangeOf(row, Language::English)},
                     {"french", rangeOf(row, Language::French)}};
  }
  if (session.json())
    printJson(told, out);
  else if (list)
    printChoices(session, *list, row.fallback().textValue(), out);
  else
    out << words << '\n';
}

}  // namespace

void addOptionVerbs(Verbs& verbs) {
  verbs.add<ListRequest>(
      "list", "show options with their values",
      [](CLI::App& verb, ListRequest& request) {
        verb.add_option("GLOB", request.glob, Phrase("only names like this"));
        verb.add_option("--group", request.group, Phrase("only this group, by its name in either language"));
        verb.add_flag("--changed", request.changedOnly, Phrase("only those that differ from their default"));
        verb.add_flag("--labels", request.labels, Phrase("show the labels of a form"));
        verb.add_flag("--unknown", request.unknown, Phrase("show the entries that no option names"));
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      list,
      "  optionsmgr list 'preparer*'\n  optionsmgr list --changed\n  optionsmgr list --group colours "
      "--labels\n");
  verbs.add<SearchRequest>(
      "search", "find options by what they mean: in names, labels, descriptions, choices and values",
      [](CLI::App& verb, SearchRequest& request) {
        verb.add_option("WORDS", request.words, Phrase("words in English or French; accents do not count"))
            ->required();
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      search, "  optionsmgr search postal code\n  optionsmgr search telecopieur\n");
  addSetVerbs(verbs);
  const auto declareOption = [](CLI::App& verb, DescribeRequest& request) {
    verb.add_option("OPTION", request.option, Phrase("its name (zsupress) or stored key (ZSuppress)"))
        ->required();
  };
  verbs.add<DescribeRequest>(
      "describe", "tell all about one option",
      [declareOption](CLI::App& verb, DescribeRequest& request) {
        declareOption(verb, request);
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      describe, "  optionsmgr describe mr69_AuthType\n");
  verbs.add<DescribeRequest>("range", "show which values an option takes", declareOption, range,
                             "  optionsmgr range preparerModeOfDelivery\n");
}

}  // namespace optionsmgr
