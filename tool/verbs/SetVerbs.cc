// The verbs that read and change values: get, set and reset.
#include <fnmatch.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <iostream>
#include <utility>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "tool/ColorText.h"
#include "tool/Domains.h"
#include "tool/EntryForm.h"
#include "tool/Failure.h"
#include "tool/JsonText.h"
#include "tool/LayerFiles.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/PreferenceFile.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::OptionRow;
using qorvane::Options;
using qorvane::OptionType;
using qorvane::Text;
using qorvane::Value;

namespace {

struct GetRequest {
  std::vector<std::string> options;
  bool showSecrets = false;
};

struct SetRequest {
  std::string option;
  std::vector<std::string> values;
  bool fromInput = false;
  bool dryRun = false;
  bool force = false;
};

struct ResetRequest {
  std::vector<std::string> options;
  bool all = false;
  bool unknown = false;
  bool dryRun = false;
};

const OptionRow& settable(const std::string& name) {
  const OptionRow& row = Session::option(name);
  if (!row.write)
    throw Failure(Exit::BadData, say("{} cannot be set: the library answers it itself", row.name));
  return row;
}

std::string quoted(const OptionRow& row, const Value& value) {
  return row.secret ? say("another value") : "\"" + shown(row, value) + "\"";
}

// ---- get ------------------------------------------------------------------------------------------------

void get(Session& session, const GetRequest& request, std::ostream& out) {
  std::vector<const OptionRow*> rows;
  for (const std::string& name : request.options) {
    rows.push_back(&Session::option(name));
    if (rows.back()->secret && !request.showSecrets)
      throw Failure(Exit::Usage, say("{} is a secret; --show-secrets prints it", rows.back()->name));
  }
  const auto store = session.load();
  Json all = Json::object();
  for (const OptionRow* row : rows) {
    const Value value = readIn(*store, *row);
    if (value.isNil() && rows.size() == 1)
      throw Failure(Exit::NotFound, say("{} is not set and has no default", row->name));
    if (session.json()) {
      all[std::string(row->name)] = shownAsJson(*row, value);
      continue;
    }
    std::string words =
        rows.size() == 1 ? shown(*row, value) : std::string(row->name) + "=" + shown(*row, value);
    if (row->type == OptionType::Color && session.colorTerminal())
      out << words << ' ' << swatch(qorvane::unarchiveColor(*value.asData())) << '\n';
    else
      printValue(words, out);
  }
  if (session.json()) rows.size() == 1 ? printJsonLine(all.front(), out) : printJson(all, out);
}

// ---- set ------------------------------------------------------------------------------------------------

// While it lives, what is typed at the terminal is not shown. A signal that ends the tool waits until the
// terminal is as it was.
class SilentTerminal {
 public:
  SilentTerminal() {
    if (isatty(STDIN_FILENO) == 0 || tcgetattr(STDIN_FILENO, &before_) != 0) return;
    sigemptyset(&ending_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) sigaddset(&ending_, signal);
    sigprocmask(SIG_BLOCK, &ending_, nullptr);
    signals_ = signalfd(-1, &ending_, SFD_CLOEXEC);
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    isTerminal_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (signals_ >= 0) close(signals_);
    if (!isTerminal_) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    std::cerr << '\n';
    sigprocmask(SIG_UNBLOCK, &ending_, nullptr);  // A signal that came meanwhile is delivered now.
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  bool isTerminal() const { return isTerminal_; }

  std::string line() const {
    std::string typed;
    for (;;) {
      pollfd ends[] = {{STDIN_FILENO, POLLIN, 0}, {signals_, POLLIN, 0}};
      if (poll(ends, 2, -1) < 0 && errno != EINTR) break;
      if (ends[1].revents != 0) throw Failure(Exit::Usage, say("nothing was changed"));
      char byte = 0;
      if (ends[0].revents == 0) continue;
      if (read(STDIN_FILENO, &byte, 1) != 1 || byte == '\n') break;
      typed += byte;
    }
    return typed;
  }

 private:
  termios before_{};
  sigset_t ending_{};
  int signals_ = -1;
  bool isTerminal_ = false;
};

// A value from standard input: a line at a terminal, everything elsewhere, without its last line break.
std::string valueFromInput(const OptionRow& row) {
  std::string value;
  if (const SilentTerminal silent; silent.isTerminal()) {
    std::cerr << row.name << ": " << std::flush;
    value = silent.line();
  } else {
    value = bytesOfFile("-");
    if (value.ends_with('\n')) value.pop_back();
    if (value.ends_with('\r')) value.pop_back();
  }
  if (value.find('\0') != value.npos)
    throw Failure(Exit::BadData, say("the value for {} holds a NUL byte", row.name));
  return value;
}

struct Assignment {
  const OptionRow* row;
  std::string words;
};

Assignment assignmentOf(const std::string& word) {
  const std::size_t equals = word.find('=');
  if (equals == word.npos) throw Failure(Exit::Usage, say("\"{}\" is no name=value", word));
  return {&settable(word.substr(0, equals)), word.substr(equals + 1)};
}

// A line each, or a JSON object.
std::vector<Assignment> assignmentsFromInput() {
  std::vector<Assignment> all;
  const std::string text = bytesOfFile("-");
  const std::size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  if (first != text.npos && text[first] == '{') {
    const Value object = valueFromJson(text);
    if (!object.asDictionary())
      throw Failure(Exit::BadData, say("standard input holds no object of options"));
    for (const auto& [name, value] : *object.asDictionary()) {
      const OptionRow& row = settable(name.string());
      const auto* number = value.asNumber();
      if (!number && !value.asText())
        throw Failure(Exit::BadData, say("the value for {} is neither a text nor a number", row.name));
      const bool truth = number && number->kind() == qorvane::Number::Kind::Boolean;
      all.push_back({&row, truth ? (value.boolValue() ? "true" : "false") : value.textValue().string()});
    }
    return all;
  }
  for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
    end = std::min(text.find('\n', at), text.size());
    std::string line = text.substr(at, end - at);
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty()) all.push_back(assignmentOf(line));
  }
  return all;
}

std::vector<Assignment> assignmentsOf(const Session& session, const SetRequest& request) {
  std::vector<Assignment> all;
  if (request.fromInput) {
    if (!request.option.empty()) throw Failure(Exit::Usage, say("{} takes no options besides", "--stdin"));
    all = assignmentsFromInput();
  } else if (request.option.find('=') != std::string::npos) {
    all.push_back(assignmentOf(request.option));
    for (const std::string& word : request.values) all.push_back(assignmentOf(word));
  } else if (request.option.empty()) {
    throw Failure(Exit::Usage, say("{} is required", "OPTION"));
  } else {
    const OptionRow& row = settable(request.option);
    if (request.values.size() > 1)
      throw Failure(Exit::Usage, say("one option takes one value; several are name=value each"));
    if (request.values.empty()) throw Failure(Exit::Usage, say("{} is required", "VALUE"));
    const bool asks = request.values.front() == "-" && !session.settings().literalValues;
    all.push_back({&row, asks ? valueFromInput(row) : request.values.front()});
  }
  for (std::size_t i = 0; i < all.size(); ++i)
    for (std::size_t j = 0; j < i; ++j)
      if (all[i].row->key() == all[j].row->key() && all[i].words != all[j].words)
        throw Failure(Exit::Usage, say("{} and {} are one entry and would get two values", all[j].row->name,
                                       all[i].row->name));
  return all;
}

// Holds each value to its check, in a store that has them all: whether a postal code is right depends on the
// country that is set beside it.
void requireFitting(Options& store, const std::vector<Assignment>& all) {
  for (const Assignment& asked : all)
    if (const auto refusal = asked.row->check(parsedFor(*asked.row, asked.words, false), &store))
      throw Failure(Exit::BadData, say("this value does not fit {}: {}{}; --force stores it", asked.row->name,
                                       told(*refusal), nearestRight(asked.words, *refusal)));
}

// Sets the option, and tells when it is kept in another form, such as its default for the empty text. Throws
// Failure when its setter keeps nothing at all in this product: nothing is saved then.
void writeIn(Options& store, const OptionRow& row, const Value& wanted) try {
  row.write(store, wanted);
  const Value kept = readIn(store, row);
  if (shown(row, kept) == shown(row, wanted)) return;
  const Dictionary done = *store.options();
  store.options()->remove(row.key());
  row.write(store, wanted);
  const bool ignored = !shown(row, wanted).empty() && readIn(store, row) == row.fallback();
  *store.options() = done;
  if (ignored)
    throw Failure(Exit::NotFound, say("this product does not keep {}; nothing was changed", row.name));
  tell(say("{} is kept as {}", row.name, quoted(row, kept)));
} catch (const qorvane::Exception& error) {
  throw unreadable(row, error);
}

struct PreviewLine {
  const OptionRow* row;
  Value from, to;
};

void printPreview(const Session& session, const std::vector<PreviewLine>& lines, std::ostream& out) {
  if (session.json()) {
    Json all = Json::array();
    for (const PreviewLine& line : lines)
      all.push_back({{"name", std::string(line.row->name)},
                     {"from", maskedJson(*line.row, line.from, false)},
                     {"to", maskedJson(*line.row, line.to, false)}});
    printJson({{"dryRun", true}, {"options", all}}, out);
    return;
  }
  if (!session.reports()) return;
  std::vector<Row> rows;
  rows.reserve(lines.size());
  for (const auto& [row, from, to] : lines)
    rows.push_back({std::string(row->name), inWords(masked(*row, from, false), from.isNil()) + " -> " +
                                                inWords(masked(*row, to, false), to.isNil())});
  if (!rows.empty()) printTable(session, {}, rows, out, Overflow::Values);
  out << say("a preview: nothing was changed") << '\n';
}

// The value that an entry has, or would have; nil for one that cannot be read.
Value readable(Options& store, const OptionRow& row) try {
  return readIn(store, row);
} catch (const Failure&) {
  return Value();
}

// Shows how the options of those rows read with the entries that are, and with those that would be.
void preview(Session& session, const Domain& domain, const std::vector<const OptionRow*>& rows,
             const Dictionary& before, const Dictionary& after, std::ostream& out) {
  std::vector<PreviewLine> lines;
  for (const OptionRow* row : rows) lines.push_back({row, Value(), Value()});
  {
    DomainStore store(session, domain, before);
    for (PreviewLine& line : lines) line.from = readable(store.options(), *line.row);
  }
  DomainStore store(session, domain, after);
  for (PreviewLine& line : lines) line.to = readable(store.options(), *line.row);
  std::erase_if(lines, [](const PreviewLine& line) { return line.from == line.to; });
  printPreview(session, lines, out);
}

// How a change is made in the user's own settings, and in the machine's.
struct Change {
  std::function<void(Options&)> own;
  std::function<void(Dictionary&)> machine;
};

void changeMachine(Session& session, bool dryRun, const std::vector<const OptionRow*>& rows,
                   const std::function<void(Dictionary&)>& change, std::ostream& out) {
  const Domain domain = editedDomain(session);
  if (!dryRun)
    return changeMachineSettings(session, domain,
                                 [&](MachineSettings& settings) { change(settings.entries); });
  const Dictionary before = machineSettings(session, domain).entries;
  Dictionary after = before;
  change(after);
  preview(session, domain, rows, before, after, out);
}

// Makes the change, or shows what it would do to the options of those rows. What is locked is not changed.
// `chosen`: what a person sets here stays his, whatever is set for many desks.
void changeOrPreview(Session& session, bool dryRun, const std::vector<const OptionRow*>& rows, bool chosen,
                     const Change& change, std::ostream& out) {
  if (session.settings().layer == "machine") return changeMachine(session, dryRun, rows, change.machine, out);
  const Domain domain = domainOf(session);
  const auto changed = [&](Options& store) {
    const auto layers = layersOf(session, domain, {});
    for (const OptionRow* row : rows) requireUnlocked(*layers, *row, session.product());
    change.own(store);
  };
  std::vector<Text> keys;
  for (const OptionRow* row : rows) {
    if (chosen) keys.push_back(row->key());
    if (chosen && row->type == OptionType::Font) keys.push_back("HeaderFontSize");
  }
  if (!dryRun) return session.change(changed, keys);
  const qorvane::Settings own = storedSettings(session, domain).value_or(qorvane::Settings{Dictionary(), {}});
  DomainStore after(session, domain, *own.object.asDictionary());
  changed(after.options());
  const auto layers = layersOf(session, domain, own);
  qorvane::Array notes = own.chosen.asArray() ? *own.chosen.asArray() : qorvane::Array();
  for (const Text& key : pinsAmong(*layers, keys, *after.options().options())) notes.push_back(key);
  const auto then = layers->with({*after.options().options(), Value(notes)});
  preview(session, domain, rows, layers->effective(), then->effective(), out);
}

void set(Session& session, const SetRequest& request, std::ostream& out) {
  const std::vector<Assignment> all = assignmentsOf(session, request);
  // Before anybody is made to wait: what is refused is refused at once.
  const auto now = session.load();
  std::vector<const OptionRow*> rows;
  {
    DomainStore tried(session, domainOf(session), *now->options());
    for (const Assignment& asked : all) try {
        rows.push_back(asked.row);
        asked.row->write(tried.options(), parsedFor(*asked.row, asked.words, request.force));
      } catch (const qorvane::Exception& error) {
        throw unreadable(*asked.row, error);
      }
    if (!request.force) requireFitting(tried.options(), all);
  }
  const auto setOwn = [&](Options& store) {
    for (const Assignment& asked : all)
      writeIn(store, *asked.row, parsedFor(*asked.row, asked.words, request.force));
    if (!request.force) requireFitting(store, all);
  };
  const auto setMachine = [&](Dictionary& entries) {
    const Domain domain = editedDomain(session);
    for (const Assignment& asked : all) {
      if (asked.row->secret)
        throw Failure(Exit::BadData,
                      say("{} is a secret, and everybody can read the machine's settings", asked.row->name));
      const Value wanted = parsedFor(*asked.row, asked.words, request.force);
      for (const auto& [key, entry] : entriesFor(session, domain, *asked.row, wanted, entries))
        entries.set(key, entry);
    }
    DomainStore store(session, domain, entries);
    if (!request.force) requireFitting(store.options(), all);
  };
  changeOrPreview(session, request.dryRun, rows, true, {setOwn, setMachine}, out);
}

// ---- reset ----------------------------------------------------------------------------------------------

std::vector<const OptionRow*> rowsToReset(const ResetRequest& request) {
  std::vector<const OptionRow*> rows;
  for (const std::string& word : request.options) {
    if (word.find_first_of("*?[") == word.npos) {
      rows.push_back(&settable(word));
      continue;
    }
    bool matched = false;
    for (const OptionRow& row : qorvane::optionTable())
      if (row.write && fnmatch(word.c_str(), std::string(row.name).c_str(), FNM_CASEFOLD) == 0) {
        rows.push_back(&row);
        matched = true;
      }
    if (!matched) throw Failure(Exit::NotFound, say("no option's name matches \"{}\"", word));
  }
  if (request.all)
    for (const OptionRow& row : qorvane::optionTable())
      if (row.write) rows.push_back(&row);
  return rows;
}

std::vector<Text> unknownEntries(const Dictionary& entries) {
  std::vector<Text> unknown;
  for (const auto& [key, value] : entries)
    if (isUnknownEntry(key)) unknown.push_back(key);
  return unknown;
}

void reset(Session& session, const ResetRequest& request, std::ostream& out) {
  if (request.options.empty() && !request.all && !request.unknown)
    throw Failure(Exit::Usage, say("{} is required", "OPTION"));
  if (!request.options.empty() && request.all)
    throw Failure(Exit::Usage, say("{} takes no options besides", "--all"));
  const std::vector<const OptionRow*> rows = rowsToReset(request);
  if (request.dryRun && request.unknown)
    for (const Text& key : unknownEntries(*session.load()->options()))
      if (!session.json() && session.reports())
        printLine(say("{} would go: no option names it", key.view()), out);
  const auto resetIn = [&](Dictionary& entries) {
    for (const OptionRow* row : rows) removeOption(entries, *row);
    if (request.unknown)
      for (const Text& key : unknownEntries(entries)) entries.remove(key);
  };
  changeOrPreview(session, request.dryRun, rows, false,
                  {[&](Options& store) { resetIn(*store.options()); }, resetIn}, out);
}

}  // namespace

void addSetVerbs(Verbs& verbs) {
  verbs.add<GetRequest>(
      "get", "print one option's value, or several as name=value",
      [](CLI::App& verb, GetRequest& request) {
        verb.add_option("OPTION", request.options, Phrase("its name (zsupress) or stored key (ZSuppress)"))
            ->required();
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      get, "  optionsmgr get language\n  optionsmgr get preparerCity preparerPhone\n");
  verbs.add<SetRequest>(
      "set", "change options and save them, all of them or none",
      [](CLI::App& verb, SetRequest& request) {
        verb.add_option("OPTION", request.option,
                        Phrase("its name (zsupress) or stored key (ZSuppress); or name=value, and so on"));
        verb.add_option(
            "VALUE", request.values,
            Phrase(
                "a text; for a flag true or false; for an integer its digits; for a choice its "
                "neutral value or its label in either language; for a font \"Helvetica, 12\"; \"-\" reads it "
                "from standard input, unseen at a terminal, and -- before it sets a hyphen"));
        verb.add_flag("--stdin", request.fromInput,
                      Phrase("read name=value lines, or a JSON object, from standard input"));
        verb.add_flag("--dry-run", request.dryRun, Phrase("show what would be done, and change nothing"));
        verb.add_flag("--force", request.force, Phrase("take values that their option does not know"));
      },
      set,
      "  optionsmgr set autoSaveAfter 5\n  optionsmgr set preparerCity=Alma preparerPhone='418 555-0123'\n"
      "  optionsmgr set preparerPassword - <password-file\n");
  verbs.add<ResetRequest>(
      "reset", "put options back to their defaults",
      [](CLI::App& verb, ResetRequest& request) {
        verb.add_option("OPTION", request.options, Phrase("names, stored keys or patterns of names"));
        verb.add_flag("--all", request.all, Phrase("every option"));
        verb.add_flag("--unknown", request.unknown, Phrase("remove the entries that no option names"));
        verb.add_flag("--dry-run", request.dryRun, Phrase("show what would be done, and change nothing"));
      },
      reset, "  optionsmgr reset zsupress\n  optionsmgr reset 'disc_*' --dry-run\n");
}

}  // namespace optionsmgr
