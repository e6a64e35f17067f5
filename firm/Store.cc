#include "firm/Store.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>

namespace optionsmgr::firm {

namespace {

using namespace std::chrono_literals;

// The tool waits no longer for a commit, whatever the standby does.
constexpr std::chrono::seconds kCommitting{30};

bool passes(const std::string& state) { return state == "40001" || state == "40P01"; }

// What became of a batch whose commit was not answered.
Stored lookedUp(const std::string& token) {
  try {
    Connection again;
    const Rows rows = again.ask("SELECT optionsmgr.committed($1::uuid)", {token});
    if (const Field number = rows.at(0, 0)) return {*number, 0, {}};
  } catch (const DatabaseError&) {
    // Nothing tells; which is what is told.
  }
  throw FirmFailure(Exit::Unavailable, Word::storedUnknown);
}

Stored once(Connection& server, const char* sql, const std::vector<Field>& parameters) {
  server.takeWarnings();
  server.run("BEGIN", 10s);
  // Acknowledged means on the disk, whatever this login is used to; nobody waits longer than five seconds.
  server.ask(
      "SELECT set_config('lock_timeout', '5s', true), set_config('synchronous_commit', CASE WHEN "
      "current_setting('synchronous_commit') = 'remote_apply' THEN 'remote_apply' ELSE 'on' END, true)");
  const Rows rows = server.ask(sql, parameters, 60s);
  Stored stored{rows.text(0, 0), 0, {}};
  if (const Field changed = rows.at(0, 1)) stored.changed = std::stoi(*changed);
  server.takeWarnings();
  try {
    server.ask("COMMIT", {}, kCommitting);
  } catch (const DatabaseError& error) {
    if (!error.state().empty()) throw;
    const int changed = stored.changed;
    stored = lookedUp(*parameters.front());
    stored.changed = changed;
  }
  stored.warnings = server.takeWarnings();
  return stored;
}

Stored tried(Connection& server, const char* sql, const std::vector<Field>& parameters) {
  for (int tries = 1;; ++tries) try {
      return once(server, sql, parameters);
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

Stored store(Connection& server, const std::vector<Entry>& entries,
             const std::optional<std::string>& comment) {
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
                                         entry.product,
                                         std::to_string(entry.year),
                                         entry.key,
                                         entry.sets ? "true" : "false",
                                         kind,
                                         entry.value,
                                         entry.lock ? Field(*entry.lock ? "true" : "false") : Field(),
                                         entry.expected};
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i].push_back(fields[i]);
  }
  std::vector<Field> parameters = {newToken(), comment};
  for (const auto& column : columns) parameters.emplace_back(arrayOf(column));
  return tried(server,
               "SELECT w.number, w.changed FROM optionsmgr.write($1::uuid, $2, $3::bigint[], $4::text[], "
               "$5::integer[], "
               "$6::text[], $7::boolean[], $8::text[], $9::text[], $10::boolean[], $11::uuid[]) AS w",
               parameters);
}

Stored change(Connection& server, const char* sql, std::vector<Field> further,
              const std::optional<std::string>& comment) {
  std::vector<Field> parameters = {newToken(), comment};
  parameters.insert(parameters.end(), further.begin(), further.end());
  return tried(server, sql, parameters);
}

}  // namespace optionsmgr::firm
