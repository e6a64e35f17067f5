#include "firm/Store.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

namespace optionsmgr::firm {

namespace {

using namespace std::chrono_literals;

// The tool waits no longer for a commit, whatever the standby does.
constexpr std::chrono::seconds kCommitting{30};

bool passes(const std::string& state) { return state == "40001" || state == "40P01"; }

// Acknowledged means on the disk, whatever this login is used to; nobody waits longer than five seconds.
// Answers who does the work, so that it can be asked whether it still does.
constexpr const char* kCarefully =
    "SELECT set_config('lock_timeout', '5s', true), set_config('synchronous_commit', CASE WHEN "
    "current_setting('synchronous_commit') = 'remote_apply' THEN 'remote_apply' ELSE 'on' END, true), "
    "(SELECT a.pid || ' ' || extract(epoch FROM a.backend_start) FROM pg_stat_activity a WHERE a.pid = "
    "pg_backend_pid())";
// A standby may have yet to replay what it holds already.
constexpr const char* kStillAtWork =
    "SELECT FROM pg_stat_activity a WHERE pg_is_in_recovery() OR a.pid || ' ' || extract(epoch FROM "
    "a.backend_start) = $1";

// What became of a batch whose commit was not answered.
Stored lookedUp(const std::string& token, const Field& worker, Clock::time_point until) {
  do {
    try {
      Connection again;
      for (;;) {
        // Asked in this order, for it may commit between the two.
        const bool atWork = again.ask(kStillAtWork, {worker}).size() > 0;
        const Rows rows = again.ask(
            "SELECT optionsmgr.committed($1::uuid), current_setting('synchronous_standby_names')", {token});
        if (const Field number = rows.at(0, 0)) {
          // It is here; whether a standby had it by then, nobody said.
          const bool waits = !rows.text(0, 1).empty();
          return {*number, 0, waits ? std::vector{say(Word::connectionLost)} : std::vector<std::string>{}};
        }
        if (!atWork) throw FirmFailure(Exit::TryAgain, Word::notStored);
        if (Clock::now() >= until) break;
        std::this_thread::sleep_for(200ms);
      }
    } catch (const DatabaseError&) {
      // It may be back in a moment.
      std::this_thread::sleep_for(200ms);
    }
  } while (Clock::now() < until);
  throw FirmFailure(Exit::Unavailable, Word::storedUnknown);
}

Stored once(Connection& server, const Statement& statement) {
  server.run("BEGIN", 10s);
  const Field worker = server.ask(kCarefully).at(0, 2);
  const Rows rows = server.ask(statement.sql.c_str(), statement.parameters, 60s);
  Stored stored{rows.text(0, 0), 0, {}};
  if (const Field changed = rows.at(0, 1)) stored.changed = std::stoi(*changed);
  server.takeWarnings();
  const Clock::time_point until = Clock::now() + kCommitting;
  try {
    server.ask("COMMIT", {}, kCommitting);
    stored.warnings = server.takeWarnings();
  } catch (const DatabaseError& error) {
    if (!error.state().empty()) throw;
    if (stored.number.empty()) return stored;
    const Stored found = lookedUp(*statement.parameters.front(), worker, until);
    stored.number = found.number;
    stored.warnings = found.warnings;
  }
  return stored;
}

// Tries again where others were in the way. Throws FirmFailure.
template <class Once>
auto tried(Connection& server, const Once& once) {
  for (int tries = 1;; ++tries) try {
      return once();
    } catch (const DatabaseError& error) {
      if (error.state().empty()) throw failureOf(error);
      server.run("ROLLBACK", 10s);
      if (tries == 3 || !passes(error.state())) throw failureOf(error);
    }
}

}  // namespace

FirmFailure failureOf(const DatabaseError& error) {
  const std::string& state = error.state();
  if (state.empty()) return {Exit::Unavailable, Word::unreachable, error.what()};
  if (state == "OM001") return {Exit::NotFound, Word::notFoundThere};
  if (state == "OM066") return {Exit::BadData, Word::circle};
  if (state == "OM075") return {Exit::TryAgain, Word::changedSince};
  if (state == "OM077") return {Exit::NoPermission, Word::notAdmin};
  if (state == "OM078") return {Exit::BadData, Word::notEmpty};
  if (state == "OM079") return {Exit::BadData, Word::otherDesk};
  if (state == "23505") return {Exit::BadData, Word::nameTaken};
  if (state == "23514") return {Exit::BadData, Word::refusedEntry};
  if (state == "55P03" || passes(state)) return {Exit::TryAgain, Word::busy};
  if (state == "25006") return {Exit::Unavailable, Word::standbyOnly};
  // No schema, no function, no right to either.
  if (state == "3F000" || state == "42883" || state == "42P01" || state == "42501")
    return {Exit::NoPermission, Word::noStore};
  return {Exit::InputOutput, Word::serverFailed, state, error.what()};
}

std::string placeCalled(Connection& server, const std::string& name) {
  const Rows rows = server.ask(
      "SELECT t.id, t.path FROM optionsmgr.tree t WHERE t.path = $1 OR right(t.path, length($1) + 1) = '/' "
      "|| $1 "
      "ORDER BY t.path = $1 DESC, t.path",
      {name});
  if (rows.size() == 0) throw FirmFailure(Exit::NotFound, Word::noSuchPlace, name);
  if (rows.size() == 1 || rows.text(0, 1) == name) return rows.text(0, 0);
  std::string all;
  for (std::size_t i = 0; i < rows.size(); ++i) all += (i ? ", " : "") + rows.text(i, 1);
  throw FirmFailure(Exit::Usage, Word::severalPlaces, name, all);
}

std::string newToken() {
  std::array<unsigned char, 16> bytes;
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw std::system_error(errno, std::generic_category(), "getrandom");
  std::string token;
  for (const unsigned char byte : bytes) {
    token += "0123456789abcdef"[byte >> 4];
    token += "0123456789abcdef"[byte & 15];
  }
  return token;
}

Statement batchOf(const std::vector<Entry>& entries, const std::optional<std::string>& comment) {
  std::array<std::vector<Field>, 9> columns;
  for (const Entry& entry : entries) {
    Field kind;
    if (entry.sets && entry.value) {
      const std::string& value = *entry.value;
      kind = value.starts_with('"')                                        ? "text"
             : value.starts_with('[')                                      ? "array"
             : value.starts_with("{\"$data\":")                            ? "data"
             : value.starts_with("{\"$date\":")                            ? "date"
             : value.starts_with('{') && !value.starts_with("{\"$real\":") ? "dictionary"
                                                                           : "number";
    }
    const std::array<Field, 9> fields = {entry.place,
                                         entry.domain.product(),
                                         std::to_string(entry.domain.year),
                                         entry.key,
                                         entry.sets ? "true" : "false",
                                         kind,
                                         entry.value,
                                         entry.lock ? Field(*entry.lock ? "true" : "false") : Field(),
                                         entry.expected};
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i].push_back(fields[i]);
  }
  Statement statement{
      "SELECT w.number, w.changed FROM optionsmgr.write($1::uuid, $2, $3::bigint[], $4::text[], "
      "$5::integer[], "
      "$6::text[], $7::boolean[], $8::text[], $9::text[], $10::boolean[], $11::uuid[]) AS w",
      {newToken(), comment}};
  for (const auto& column : columns) statement.parameters.emplace_back(arrayOf(column));
  return statement;
}

Statement changeOf(const std::string& function, const std::string& casts, std::vector<Field> further,
                   const std::optional<std::string>& comment) {
  Statement statement{"SELECT optionsmgr." + function + "($1::uuid, $2, " + casts + "), 0",
                      {newToken(), comment}};
  statement.parameters.insert(statement.parameters.end(), further.begin(), further.end());
  return statement;
}

Stored store(Connection& server, const Statement& statement) {
  return tried(server, [&] { return once(server, statement); });
}

void rehearse(Connection& server, const Statement& statement, const std::function<void(bool)>& look) {
  tried(server, [&] {
    // As of one moment, so that what others commit meanwhile is not taken for this change's.
    server.run("BEGIN ISOLATION LEVEL REPEATABLE READ", 10s);
    server.ask(kCarefully);
    look(false);
    server.ask(statement.sql.c_str(), statement.parameters, 60s);
    look(true);
    server.run("ROLLBACK", 10s);
    return true;
  });
}

}  // namespace optionsmgr::firm
