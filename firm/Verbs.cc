#include "firm/Verbs.h"

#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include "firm/Agent.h"
#include "firm/Configuration.h"
#include "firm/Migrations.h"
#include "firm/OptionEntries.h"
#include "firm/Pages.h"
#include "firm/Store.h"
#include "firm/TaggedJson.h"
#include "qorvane/foundation/Version.h"
#include "tool/speech/Columns.h"
#include "tool/speech/Completion.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

namespace {

using Json = nlohmann::ordered_json;
using qorvane::OptionRow;
using qorvane::Product;

// Everything that the words can say; a verb takes what it needs.
struct Said {
  std::string place;
  std::string under;
  std::string kind;
  std::string role;
  std::vector<std::string> words;
  std::string product = "T1";
  int year = 0;
  bool everyYear = false;
  bool admin = false;
  bool restored = false;
  bool force = false;
  bool json = false;
  bool all = false;
  double interval = 30;
  std::string number;
  std::optional<std::string> comment;
  std::string language;

  bool corporate() const { return product == "T2"; }
  // A setter needs some year to run in; what it stores is not the year's.
  Product asProduct() const { return {.corporate = corporate(), .taxYear = year != 0 ? year : 2024}; }
};

// A table for people, an array of objects for programs.
void print(const Said& said, const std::vector<std::string>& names,
           const std::vector<std::vector<Field>>& rows) {
  if (said.json) {
    Json all = Json::array();
    for (const auto& row : rows) {
      Json object;
      for (std::size_t i = 0; i < names.size(); ++i)
        object[names[i]] = row[i] ? Json(*row[i]) : Json(nullptr);
      all.push_back(std::move(object));
    }
    std::cout << all.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return;
  }
  std::vector<optionsmgr::Row> shown;
  for (const auto& row : rows) {
    optionsmgr::Row& cells = shown.emplace_back();
    for (const Field& field : row) cells.push_back(field.value_or("-"));
  }
  printColumns(shown, std::cout, {.width = 80, .overlong = Overlong::Whole});
}

Exit finish(const Said& said, const Stored& stored) {
  if (stored.number.empty()) {
    std::cerr << say(Word::unchanged) << '\n';
    return Exit::Done;
  }
  if (said.json)
    std::cout << Json{{"number", std::stoll(stored.number)}, {"changed", stored.changed}}.dump() << '\n';
  else if (stored.changed > 0)
    std::cout << say(Word::changedAs, stored.number, std::to_string(stored.changed)) << '\n';
  else
    std::cout << say(Word::treeChanged, stored.number) << '\n';
  if (stored.warnings.empty()) return Exit::Done;
  throw FirmFailure(Exit::Unavailable, Word::storedNotOnStandby, stored.warnings.front());
}

// ---- places and grants
// ---------------------------------------------------------------------------------------

Exit init(Connection& server, const Said& said) {
  initialize(server, said.restored);
  std::cout << say(Word::ready) << '\n';
  if (server
          .ask("SELECT FROM pg_catalog.pg_proc p WHERE p.oid = "
               "'pg_catalog.lo_create(oid)'::pg_catalog.regprocedure AND "
               "pg_catalog.has_function_privilege('public', p.oid, 'EXECUTE')")
          .size() > 0)
    std::cerr << "optionsmgr-firm: " << say(Word::largeObjectsOpen) << '\n';
  return Exit::Done;
}

Exit placeAdd(Connection& server, const Said& said) {
  const Field parent = said.under.empty() ? Field() : Field(placeCalled(server, said.under));
  const Stored stored = change(server, "SELECT optionsmgr.add_place($1::uuid, $2, $3::bigint, $4, $5), 0",
                               {parent, said.words.at(0), said.kind}, said.comment);
  std::cout << say(Word::placeAdded, said.words.at(0)) << '\n';
  return stored.warnings.empty() ? Exit::Done : Exit::Unavailable;
}

Exit placeMove(Connection& server, const Said& said) {
  return finish(
      said, change(server, "SELECT optionsmgr.move_place($1::uuid, $2, $3::bigint, $4::bigint), 0",
                   {placeCalled(server, said.words.at(0)), placeCalled(server, said.under)}, said.comment));
}

Exit placeRemove(Connection& server, const Said& said) {
  return finish(said, change(server, "SELECT optionsmgr.remove_place($1::uuid, $2, $3::bigint), 0",
                             {placeCalled(server, said.words.at(0))}, said.comment));
}

Exit placeList(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT t.path, t.kind, CASE WHEN t.admin THEN 'admin' ELSE '' END FROM optionsmgr.tree t "
      "ORDER BY t.path");
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i)
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2)});
  print(said, {"place", "kind", "sight"}, shown);
  return Exit::Done;
}

Exit grant(Connection& server, const Said& said) {
  return finish(
      said,
      change(server, "SELECT optionsmgr.grant_place($1::uuid, $2, $3, $4::bigint, $5::boolean), 0",
             {said.role, placeCalled(server, said.place), said.admin ? "true" : "false"}, said.comment));
}

Exit revoke(Connection& server, const Said& said) {
  return finish(said, change(server, "SELECT optionsmgr.revoke_place($1::uuid, $2, $3, $4::bigint), 0",
                             {said.role, placeCalled(server, said.place)}, said.comment));
}

// ---- settings
// ------------------------------------------------------------------------------------------------

Entry entryAt(const Said& said, const std::string& place, const std::string& key) {
  return {.place = place, .product = said.product, .year = said.year, .key = key};
}

Exit set(Connection& server, const Said& said) {
  if (said.words.size() % 2 != 0) throw FirmFailure(Exit::Usage, Word::pairExpected);
  const std::string place = placeCalled(server, said.place);
  // Two options may share an entry: what is said last counts, as at a desk.
  std::map<std::string, Entry> entries;
  for (std::size_t i = 0; i < said.words.size(); i += 2) {
    const OptionRow& row = settableOption(said.words[i]);
    for (const auto& [key, value] : entriesFor(row, said.words[i + 1], said.asProduct(), said.force)) {
      Entry entry = entryAt(said, place, key.string());
      entry.sets = true;
      entry.value = jsonOf(value);
      entries.insert_or_assign(entry.key, entry);
    }
  }
  std::vector<Entry> batch;
  for (const auto& [key, entry] : entries) batch.push_back(entry);
  return finish(said, store(server, batch, said.comment));
}

// The same for every entry of the options that were named.
Exit forEach(Connection& server, const Said& said, const std::function<void(Entry&)>& change) {
  const std::string place = placeCalled(server, said.place);
  std::map<std::string, Entry> entries;
  for (const std::string& name : said.words)
    for (const std::string& key :
         name == "*" ? std::vector<std::string>{"*"} : keysOf(settableOption(name), said.asProduct())) {
      Entry entry = entryAt(said, place, key);
      change(entry);
      entries.insert_or_assign(key, entry);
    }
  std::vector<Entry> batch;
  for (const auto& [key, entry] : entries) batch.push_back(entry);
  return finish(said, store(server, batch, said.comment));
}

Exit reset(Connection& server, const Said& said) {
  return forEach(server, said, [](Entry& entry) { entry.sets = true; });
}
Exit lock(Connection& server, const Said& said) {
  return forEach(server, said, [](Entry& entry) { entry.lock = true; });
}
Exit unlock(Connection& server, const Said& said) {
  return forEach(server, said, [](Entry& entry) { entry.lock = false; });
}

// A value on one line: a text as it is, anything else as its JSON.
std::string shownValue(const std::string& json) {
  const auto value = valueOf(json);
  return value && value->asText() ? value->asText()->string() : json;
}

Exit get(Connection& server, const Said& said) {
  const OptionRow* const row = qorvane::findProperty(said.words.at(0));
  if (!row) throw FirmFailure(Exit::NotFound, Word::noSuchOption, said.words.at(0));
  const qorvane::Text key = row->key(said.asProduct());
  const Rows rows = server.ask(
      "SELECT s.value FROM optionsmgr.settings s WHERE s.place = $1::bigint AND s.product = $2 AND s.year = "
      "$3::integer AND "
      "s.key = $4 AND s.value IS NOT NULL",
      {placeCalled(server, said.place), said.product, std::to_string(said.year), key.string()});
  if (rows.size() == 0) throw FirmFailure(Exit::NotFound, Word::nothingSet, said.words.at(0));
  std::cout << (said.json ? rows.text(0, 0) : shownValue(rows.text(0, 0))) << '\n';
  return Exit::Done;
}

Exit list(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT s.key, s.value, s.locked, s.year FROM optionsmgr.settings s WHERE s.place = $1::bigint AND "
      "s.product = $2 AND "
      "s.year = $3::integer ORDER BY s.key",
      {placeCalled(server, said.place), said.product, std::to_string(said.year)});
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const Field value = rows.at(i, 1);
    shown.push_back({nameOfKey(rows.text(i, 0), said.corporate()),
                     value ? Field(shownValue(*value)) : Field(), rows.text(i, 2) == "t" ? "locked" : ""});
  }
  print(said, {"option", "value", "lock"}, shown);
  return Exit::Done;
}

Exit history(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT c.number, to_char(c.at AT TIME ZONE 'UTC', 'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"'), c.who, "
      "c.subject, c.product, "
      "c.year, c.key, c.before, c.after, c.comment FROM optionsmgr.changes c WHERE c.place = $1::bigint "
      "ORDER BY c.number "
      "DESC, c.key",
      {placeCalled(server, said.place)});
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::string key = rows.text(i, 6);
    const std::string name = rows.text(i, 3) == "setting" ? nameOfKey(key, rows.text(i, 4) == "T2") : key;
    if (!said.words.empty() && said.words[0] != name) continue;
    const std::string year = rows.text(i, 5) == "0" ? "" : rows.text(i, 5);
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2), rows.at(i, 3), rows.at(i, 4), year, name,
                     rows.at(i, 7), rows.at(i, 8), rows.at(i, 9)});
  }
  print(said, {"number", "time", "who", "subject", "product", "year", "name", "before", "after", "comment"},
        shown);
  return Exit::Done;
}

Exit undo(Connection& server, const Said& said) {
  const std::string place = placeCalled(server, said.place);
  std::string number = said.number;
  if (number.empty())
    number = server
                 .ask(
                     "SELECT max(c.number) FROM optionsmgr.changes c WHERE c.place = $1::bigint AND "
                     "c.subject = 'setting'",
                     {place})
                 .text(0, 0);
  const Rows rows = server.ask(
      "SELECT c.place, c.product, c.year, c.key, c.before, c.locked_before, c.token, c.after, c.locked_after "
      "FROM "
      "optionsmgr.changes c WHERE c.number = $1::bigint AND c.subject = 'setting' AND EXISTS (SELECT FROM "
      "optionsmgr.changes "
      "o WHERE o.number = c.number AND o.place = $2::bigint)",
      {number.empty() ? "0" : number, place});
  if (rows.size() == 0) throw FirmFailure(Exit::NotFound, Word::noSuchChange, number);
  std::vector<Entry> batch;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    Entry entry{.place = rows.text(i, 0),
                .product = rows.text(i, 1),
                .year = std::stoi(rows.text(i, 2)),
                .key = rows.text(i, 3)};
    entry.sets = true;
    entry.value = rows.at(i, 4);
    entry.lock = rows.text(i, 5) == "t";
    const bool stands = rows.at(i, 7) || rows.text(i, 8) == "t";
    if (!said.force) entry.expected = stands ? rows.text(i, 6) : kNoEntry;
    batch.push_back(entry);
  }
  return finish(said, store(server, batch, said.comment));
}

// ---- the desk
// --------------------------------------------------------------------------------------------------

Exit sync() {
  Agent agent(readConfiguration(), -1);
  std::cout << say(Word::stateTaken, agent.syncOnce()) << '\n';
  return Exit::Done;
}

Exit stay(const Said& said) {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int end : {SIGTERM, SIGINT}) sigaddset(&ends, end);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  const int stop = signalfd(-1, &ends, SFD_CLOEXEC);
  Agent agent(readConfiguration(), stop);
  agent.run(std::chrono::milliseconds(static_cast<long>(said.interval * 1000)));
  close(stop);
  return Exit::Done;
}

// How this desk stands, from its folder alone: it answers with the server dead.
Exit status(const Said& said) {
  const std::string folder = stateFolder(readConfiguration().folder);
  const States::Left word = States::leftIn(folder);
  const auto followed = States::followedIn(folder);
  const Json left = Json::parse(word.json, nullptr, false);
  const auto text = [&](const char* key) {
    return left.is_object() && left.contains(key) && left[key].is_string()
               ? Field(left[key].get<std::string>())
               : Field();
  };
  const std::string number = followed ? std::to_string(followed->number) : "-";
  if (said.json) {
    const auto orNull = [](const Field& field) { return field ? Json(*field) : Json(nullptr); };
    std::cout << Json{{"folder", folder},
                      {"number", followed ? Json(followed->number) : Json(nullptr)},
                      {"running", word.running},
                      {"state", word.running ? orNull(text("state")) : Json(nullptr)},
                      {"since", word.running ? orNull(text("since")) : Json(nullptr)}}
                     .dump(2, ' ', false, Json::error_handler_t::replace)
              << '\n';
  } else {
    std::cout << say(Word::statusFolder, folder) << '\n' << say(Word::statusNumber, number) << '\n';
    std::cout << (word.running ? say(Word::statusAgent, oneLine(text("told").value_or("-")),
                                     text("since").value_or("-"))
                               : say(Word::statusNoAgent))
              << '\n';
  }
  return word.running && text("state") != Field("connected") && text("state") != Field("polling")
             ? Exit::NotFound
             : Exit::Done;
}

// How all desks below what one administers stand, as the store has seen them.
Exit statusOfAll(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT t.path, s.name, s.host, s.number, to_char(s.at AT TIME ZONE 'UTC', "
      "'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"') FROM "
      "optionsmgr.seen s JOIN optionsmgr.tree t ON t.id = s.place ORDER BY t.path, s.name");
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i)
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2), rows.at(i, 3), rows.at(i, 4)});
  print(said, {"place", "login", "host", "number", "seen"}, shown);
  return Exit::Done;
}

using Verb = Exit (*)(Connection&, const Said&);

Exit withServer(Verb verb, const Said& said) try {
  readConfiguration();
  Connection server;
  return verb(server, said);
} catch (const DatabaseError& error) {
  throw failureOf(error);
}

bool localeIsFrench() {
  for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const char* const value = getenv(variable); value && *value)
      return std::string_view(value).starts_with("fr");
  return false;
}

class CommandLine {
 public:
  CommandLine() {
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.set_help_flag("-h,--help", help(Word::helpHelp));
    app_.set_version_flag("--version", OPTIONSMGR_VERSION, help(Word::helpVersion));
    app_.add_option("--lang", said_.language, help(Word::helpLang))->check(CLI::IsMember({"en", "fr"}));
    app_.add_flag("--json", said_.json, help(Word::helpJson));

    CLI::App* const made = verb("init", Word::helpInit, init);
    made->add_flag("--restored", said_.restored, help(Word::helpRestored));
    CLI::App* const places = app_.add_subcommand("place", help(Word::helpPlace));
    places->require_subcommand(1);
    named(commented(verb("add", Word::helpPlaceAdd, placeAdd, places)));
    places->get_subcommand("add")->add_option("--under", said_.under, help(Word::helpUnder));
    places->get_subcommand("add")->add_option("--kind", said_.kind, help(Word::helpKind));
    named(commented(verb("move", Word::helpPlaceMove, placeMove, places)))
        ->add_option("--under", said_.under, help(Word::helpUnder))
        ->required();
    named(commented(verb("remove", Word::helpPlaceRemove, placeRemove, places)));
    verb("list", Word::helpPlaceList, placeList, places);
    for (CLI::App* const given : {commented(at(verb("grant", Word::helpGrant, grant))),
                                  commented(at(verb("revoke", Word::helpRevoke, revoke)))})
      given->add_option("role", said_.role, help(Word::helpRole))->required();
    app_.get_subcommand("grant")->add_flag("--admin", said_.admin, help(Word::helpAdmin));
    options(commented(dated(at(verb("set", Word::helpSet, set)))), Word::helpPairs)->required();
    app_.get_subcommand("set")->add_flag("--force", said_.force, help(Word::helpForceSet));
    options(commented(dated(at(verb("reset", Word::helpReset, reset)))), Word::helpOptions)->required();
    options(commented(dated(at(verb("lock", Word::helpLock, lock)))), Word::helpOptions)->required();
    options(commented(dated(at(verb("unlock", Word::helpUnlock, unlock)))), Word::helpOptions)->required();
    options(dated(at(verb("get", Word::helpGet, get))), Word::helpOption)->required()->expected(1);
    dated(at(verb("list", Word::helpList, list)));
    options(at(verb("history", Word::helpHistory, history)), Word::helpOption)->expected(0, 1);
    CLI::App* const back = commented(at(verb("undo", Word::helpUndo, undo)));
    back->add_option("--number", said_.number, help(Word::helpNumber))->check(CLI::NonNegativeNumber);
    back->add_flag("--force", said_.force, help(Word::helpForce));
    app_.add_subcommand("sync", help(Word::helpSync))->callback([this] { run_ = [] { return sync(); }; });
    CLI::App* const standing = app_.add_subcommand("status", help(Word::helpStatus));
    standing->add_flag("--all", said_.all, help(Word::helpAll));
    standing->callback(
        [this] { run_ = [this] { return said_.all ? withServer(statusOfAll, said_) : status(said_); }; });
    CLI::App* const agent = app_.add_subcommand("agent", help(Word::helpAgent));
    agent->add_option("--interval", said_.interval, help(Word::helpInterval))
        ->check(CLI::Range(0.1, 86400.0));
    agent->callback([this] { run_ = [this] { return stay(said_); }; });
    CLI::App* const script = app_.add_subcommand("completion", help(Word::helpCompletion));
    script->add_option("shell", said_.words, help(Word::helpShell))
        ->required()
        ->expected(1)
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    script->callback([this] {
      run_ = [this] {
        std::cout << completionScript(said_.words.at(0), "optionsmgr-firm");
        return Exit::Done;
      };
    });
  }
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  const CLI::App& app() const { return app_; }

  Exit run(std::vector<std::string> words) {
    std::reverse(words.begin(), words.end());
    try {
      app_.parse(words);
    } catch (const CLI::CallForVersion&) {
      std::cout << OPTIONSMGR_VERSION << '\n';
      return Exit::Done;
    } catch (const CLI::CallForHelp&) {
      printHelp(app_, std::cout);
      return Exit::Done;
    } catch (const CLI::ParseError& error) {
      throw FirmFailure(Exit::Usage, Word::usage, error.what());
    }
    return run_();
  }

 private:
  static std::string help(Word word) { return say(word); }

  CLI::App* verb(const char* name, Word words, Verb does, CLI::App* above = nullptr) {
    CLI::App* const made = (above ? above : &app_)->add_subcommand(name, help(words));
    made->fallthrough();
    made->callback([this, does] { run_ = [this, does] { return withServer(does, said_); }; });
    return made;
  }
  CLI::App* named(CLI::App* verb) {
    verb->add_option("name", said_.words, help(Word::helpName))->required()->expected(1);
    return verb;
  }
  CLI::App* at(CLI::App* verb) {
    verb->add_option("--place", said_.place, help(Word::helpAt))->required();
    return verb;
  }
  CLI::App* dated(CLI::App* verb) {
    CLI::Option* const year =
        verb->add_option("--year", said_.year, help(Word::helpYear))->check(CLI::Range(1, 9999));
    verb->add_flag("--every-year", said_.everyYear, help(Word::helpEveryYear))->excludes(year);
    verb->add_option("--product", said_.product, help(Word::helpProduct))->check(CLI::IsMember({"T1", "T2"}));
    return verb;
  }
  CLI::App* commented(CLI::App* verb) {
    verb->add_option("-m", said_.comment, help(Word::helpComment));
    return verb;
  }
  CLI::Option* options(CLI::App* verb, Word words) {
    return verb->add_option("options", said_.words, help(words));
  }

  CLI::App app_{help(Word::helpProgram), "optionsmgr-firm"};
  Said said_;
  std::function<Exit()> run_;
};

}  // namespace

namespace {

// The answers that only scripts ask for: `--complete WORDS…`, and for the build `--manual 1 en|fr`.
bool answeredToScripts(const std::vector<std::string>& words) {
  if (words.empty()) return false;
  if (words[0] == "--complete") {
    for (const std::string& candidate : completions(CommandLine().app(), {words.begin() + 1, words.end()}))
      std::cout << candidate << '\n';
    return true;
  }
  if (words[0] != "--manual" || words.size() != 3) return false;
  speakFrench(words[2] == "fr");
  printManual(CommandLine().app(), std::cout);
  return true;
}

}  // namespace

Exit runFirm(const std::vector<std::string>& words) {
  // The language is needed before the words are read: the parser's tables hold help.
  bool french = localeIsFrench();
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--lang" && i + 1 < words.size()) french = words[i + 1] == "fr";
    if (words[i].starts_with("--lang=")) french = words[i] == "--lang=fr";
  }
  speakFrench(french);
  const Exit exit = answeredToScripts(words) ? Exit::Done : CommandLine().run(words);
  std::cout.flush();
  if (!std::cout) throw FirmFailure(Exit::InputOutput, Word::answerNotWritten);
  return exit;
}

}  // namespace optionsmgr::firm
