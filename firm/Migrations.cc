#include "firm/Migrations.h"

#include <string>
#include <thread>

#include "firm/Words.h"

namespace optionsmgr::firm {

namespace {

using namespace std::chrono_literals;

// Catalogue rows that two made at once, or one waited for too long for the other: the next try finds them
// made.
bool passes(const std::string& state) {
  for (const char* const passing : {"23505", "40001", "40P01", "42710", "42P06", "42P07", "55P03", "XX000"})
    if (state == passing) return true;
  return false;
}

void migrate(Connection& server, bool restored) {
  // Agents that run wait for a migration, never long for one that itself waits.
  server.run("BEGIN; SET LOCAL lock_timeout = '2s'; SET LOCAL search_path = pg_catalog, pg_temp;", 10s);
  server.run(std::string(migrations().front().sql), 60s);
  server.run("LOCK TABLE optionsmgr.migrations IN EXCLUSIVE MODE", 10s);
  for (const Migration& migration : migrations().subspan(1)) {
    const std::string number = std::to_string(migration.number);
    if (server.ask("SELECT FROM optionsmgr.migrations m WHERE m.number = $1::integer", {number}).size() > 0)
      continue;
    server.run(std::string(migration.sql), 60s);
    server.ask("INSERT INTO optionsmgr.migrations (number, name) VALUES ($1::integer, $2)",
               {number, std::string(migration.name)});
  }
  if (restored) {
    server.ask("SELECT optionsmgr.restore_done()", {}, 60s);
  } else if (server
                 .ask("SELECT FROM optionsmgr.firm f, pg_catalog.pg_control_system() c "
                      "WHERE f.system = c.system_identifier")
                 .size() == 0) {
    throw FirmFailure(Exit::BadData, Word::storeFromElsewhere);
  } else {
    server.ask("SELECT optionsmgr.renew_names()");
  }
  server.run("COMMIT", 30s);
}

}  // namespace

void initialize(Connection& server, bool restored) {
  if (server
          .ask("SELECT FROM pg_catalog.pg_settings s WHERE s.name = 'server_version_num' AND "
               "s.setting::integer >= 150000")
          .size() == 0)
    throw FirmFailure(Exit::BadData, Word::serverTooOld);
  for (int tries = 1;; ++tries) try {
      return migrate(server, restored);
    } catch (const DatabaseError& error) {
      if (error.state().empty()) throw;
      server.run("ROLLBACK", 10s);
      if (tries == 10 || !passes(error.state())) throw;
      std::this_thread::sleep_for(100ms * tries);
    } catch (const FirmFailure&) {
      server.run("ROLLBACK", 10s);
      throw;
    }
}

}  // namespace optionsmgr::firm
