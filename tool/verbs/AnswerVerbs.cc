// The verbs that show what the library answers: folders, formatted amounts, the vocabulary. None changes a
// setting.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <optional>

#include "qorvane/desktop/FileManager.h"
#include "qorvane/formats/NumberFormatter.h"
#include "qorvane/siblings/Utils.h"
#include "qorvane/vocabulary/Vocabulary.h"
#include "tool/Failure.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::FileManager;
using qorvane::NumberFormatter;
using qorvane::OptionRow;
using qorvane::Options;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

namespace {

std::string lowered(std::string_view text) {
  std::string low(text);
  std::ranges::transform(low, low.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return low;
}

struct PathsRequest {
  bool create = false;
};

struct FormatRequest {
  std::vector<std::string> amounts;
};

struct VocabularyRequest {
  std::string group;
  std::string search;
};

// Every folder: where it is, whether that was stored or is the default, whether it exists.
void paths(Session& session, const PathsRequest& request, std::ostream& out) {
  const auto store = session.load();
  std::optional<qorvane::ScopedFileManager> making;
  if (request.create) making.emplace(nullptr);
  store->createsFolders(request.create);
  const std::string& own = session.files().folder();
  Json rows = Json::array();
  rows.push_back({{"name", "store"},
                  {"from", session.settings().folder.empty() ? "default" : "stored"},
                  {"exists", std::filesystem::is_directory(own)},
                  {"path", own}});
  for (const OptionRow& row : qorvane::optionTable()) {
    const bool folderOption = row.type == OptionType::Folder;
    if (!folderOption && !row.key().isNil()) continue;
    static constexpr std::string_view kRoots[] = {"applicationUserFolder", "rootPath", "lastYearRootPath",
                                                  "userDataPath", "helpFile"};
    if (!folderOption && std::ranges::find(kRoots, row.name) == std::end(kRoots)) continue;
    const Text path = row.read(*store).textValue();
    const Value* entry = folderOption ? store->options()->find(row.key().view()) : nullptr;
    const bool stored = entry && !qorvane::Utils::isStringNilOrEmpty(*entry);
    rows.push_back({{"name", std::string(row.name)},
                    {"from", stored ? "stored" : "default"},
                    {"exists", FileManager::defaultManager().fileExistsAtPath(path)},
                    {"path", path.isNil() ? Json(nullptr) : Json(path.string())}});
  }
  if (session.json()) {
    printJson(rows, out);
    return;
  }
  std::vector<Row> lines;
  for (const Json& row : rows) {
    const auto answer = [](bool is) { return is ? say("yes") : say("no"); };
    lines.push_back({row["name"].get<std::string>(), answer(row["from"] == "stored"),
                     answer(row["exists"].get<bool>()),
                     row["path"].is_null() ? say("(none)") : row["path"].get<std::string>()});
  }
  printTable(session, {say("folder"), say("set"), say("exists"), say("path")}, lines, out, Overflow::Paths);
}

// Each amount in each of the suite's styles, in both languages.
void format(Session& session, const FormatRequest& request, std::ostream& out) {
  const auto store = session.load();
  struct Style {
    const char* name;
    NumberFormatter* (Options::*formatter)();
  };
  static constexpr Style kStyles[] = {
      {"numberFormatter", &Options::numberFormatter},
      {"numberFormatterWithoutDollar", &Options::numberFormatterWithoutDollar},
      {"numberFormatterForEditing", &Options::numberFormatterForEditing}};
  Json all = Json::array();
  for (const std::string& words : request.amounts) {
    double amount = 0;
    const auto [end, error] = std::from_chars(words.data(), words.data() + words.size(), amount);
    if (error != std::errc() || end != words.data() + words.size() || !std::isfinite(amount))
      throw Failure(Exit::BadData,
                    say("\"{}\" is no amount; write digits with a point, such as -1234.5", words));
    Json shown{{"amount", words}};
    for (const Style& style : kStyles) {
      // In memory only: the language is not saved.
      store->setLanguage("English");
      const Text english = ((*store).*style.formatter)()->stringFromNumber(amount);
      store->setLanguage("French");
      const Text french = ((*store).*style.formatter)()->stringFromNumber(amount);
      shown[style.name] = {{"english", english.string()}, {"french", french.string()}};
    }
    all.push_back(shown);
  }
  if (session.json()) {
    printJson(all, out);
    return;
  }
  for (const Json& shown : all) {
    if (all.size() > 1) out << shown["amount"].get<std::string>() << '\n';
    std::vector<Row> lines;
    for (const Style& style : kStyles)
      lines.push_back({style.name, shown[style.name]["english"].get<std::string>(),
                       shown[style.name]["french"].get<std::string>()});
    printTable(session, {say("style"), say("English"), say("French")}, lines, out, Overflow::Values);
  }
}

// The exported constants: all, those of a list or group, those that contain a text in name or string.
void vocabulary(Session& session, const VocabularyRequest& request, std::ostream& out) {
  const auto& [group, search] = request;
  const std::string wantedGroup = lowered(group);
  const std::string wantedText = lowered(search);
  std::vector<std::string_view> groups;
  std::vector<const qorvane::VocabularyEntry*> found;
  for (const qorvane::VocabularyEntry& entry : qorvane::vocabulary()) {
    for (const std::string_view name : {entry.list, entry.group})
      if (std::ranges::find(groups, name) == groups.end()) groups.push_back(name);
    if (!group.empty() && lowered(entry.list) != wantedGroup && lowered(entry.group) != wantedGroup) continue;
    if (lowered(entry.name).find(wantedText) == std::string::npos &&
        lowered(entry.string.view()).find(wantedText) == std::string::npos)
      continue;
    found.push_back(&entry);
  }
  if (found.empty()) {
    const bool known = group.empty() || std::ranges::any_of(groups, [&](std::string_view name) {
                         return lowered(name) == wantedGroup;
                       });
    throw Failure(Exit::NotFound, known ? say("no constant contains \"{}\"", search)
                                        : say("there is no group \"{}\"", group) + didYouMean(group, groups));
  }
  if (session.json()) {
    Json all = Json::array();
    for (const auto* entry : found)
      all.push_back({{"name", std::string(entry->name)},
                     {"string", entry->string.string()},
                     {"list", std::string(entry->list)},
                     {"group", std::string(entry->group)}});
    printJson(all, out);
    return;
  }
  for (const auto* entry : found) out << entry->name << " = " << entry->string.view() << '\n';
}

}  // namespace

void addAnswerVerbs(Verbs& verbs) {
  verbs.add<PathsRequest>(
      "paths", "show every folder, where it comes from and whether it exists",
      [](CLI::App& verb, PathsRequest& request) {
        verb.add_flag("--create", request.create, Phrase("make those that are missing"));
      },
      paths, "  optionsmgr paths\n");
  verbs.add<FormatRequest>(
      "format", "show amounts in each of the suite's styles, in both languages",
      [](CLI::App& verb, FormatRequest& request) {
        verb.add_option("AMOUNT", request.amounts, Phrase("digits with a point, such as 1234.5"))->required();
      },
      format, "  optionsmgr format 1234.5 -0.5\n");
  verbs.add<VocabularyRequest>(
      "vocabulary", "print exported constants as name = string",
      [](CLI::App& verb, VocabularyRequest& request) {
        verb.add_option("GROUP", request.group, Phrase("only this list or group"));
        verb.add_option("--search", request.search, Phrase("only those that contain this text"));
      },
      vocabulary, "  optionsmgr vocabulary Colours\n  optionsmgr vocabulary --search Preference\n");
}

}  // namespace optionsmgr
