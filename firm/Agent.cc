#include "firm/Agent.h"

#include <poll.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "firm/Store.h"
#include "tool/speech/Columns.h"

namespace optionsmgr::firm {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr milliseconds kBetweenFetches = 1s;
constexpr milliseconds kJitter = 5s;
constexpr milliseconds kRetry = 5s;
constexpr auto kBetweenReports = 10min;

constexpr const char* kState =
    "SELECT s.refused, s.system, s.timeline, s.standby, s.restored, s.firm_number, s.lowest_agent, s.level, "
    "s.place, "
    "s.name, s.token, s.whole, s.product, s.year, s.key, s.value, s.locked, s.number, s.at, s.who "
    "FROM optionsmgr.state($1::bigint, $2::uuid[]) AS s ORDER BY s.level NULLS FIRST, s.key NULLS FIRST";
enum Column : std::size_t {
  Refused,
  System,
  Timeline,
  Standby,
  Restored,
  FirmNumber,
  LowestAgent,
  Level,
  Place,
  Name,
  Token,
  Whole,
  Product,
  Year,
  Key,
  JsonValue,
  Locked,
  Number,
  At,
  Who
};

Setting settingOf(const Rows& rows, std::size_t row) {
  return {{rows.text(row, Product) == "T2", std::stoi(rows.text(row, Year))},
          rows.text(row, Key),
          rows.at(row, JsonValue),
          rows.text(row, Locked) == "t",
          rows.text(row, Number),
          rows.text(row, At),
          rows.text(row, Who)};
}

}  // namespace

Agent::Agent(Configuration configuration, int stop)
    : configuration_(std::move(configuration)),
      states_(stateFolder(configuration_.folder)),
      stop_(stop),
      followed_(states_.followed()) {}

void Agent::fetch(Connection& server) {
  lastFetch_ = Clock::now();
  Field wanted;
  if (const std::string place = configuration_.placeOfUser(); !place.empty())
    wanted = placeCalled(server, place);
  std::vector<Field> tokens;
  for (const auto& [id, place] : known_) tokens.emplace_back(place.token);
  const Rows rows = server.ask(kState, {wanted, arrayOf(tokens)});
  if (rows.size() == 0) throw FirmFailure(Exit::NoPermission, Word::noStore);
  const History history{std::stoull(rows.text(0, System)), std::stoll(rows.text(0, Timeline)),
                        std::stoll(rows.text(0, Restored)), std::stoll(rows.text(0, FirmNumber))};
  if (std::stoi(rows.text(0, LowestAgent)) > kAgentVersion)
    throw FirmFailure(Exit::NoPermission, Word::refusedTooOld);
  if (const Field refused = rows.at(0, Refused))
    throw FirmFailure(Exit::NoPermission, *refused == "grant" ? Word::refusedGrant : Word::refusedPlace);
  const Standing standing = standingOf(history, followed_);
  if (standing == Standing::Older) throw FirmFailure(Exit::NoPermission, Word::refusedHistory);
  if (standing == Standing::Lagging) throw FirmFailure(Exit::TryAgain, Word::refusedLagging);
  if (standing == Standing::TakenOver && !known_.empty()) {
    // Tokens of another history say nothing of this one's places: all of them are fetched.
    known_.clear();
    return fetch(server);
  }
  if (standing == Standing::TakenOver) std::cerr << "optionsmgr-firm: " << say(Word::takenOver) << std::endl;
  std::map<std::string, PlaceState> known;
  std::vector<std::string> order;
  for (std::size_t row = 1; row < rows.size(); ++row) {
    const std::string id = rows.text(row, Place);
    if (!rows.at(row, Key)) {
      PlaceState place = rows.text(row, Whole) == "t" ? PlaceState{} : known_[id];
      place.id = id;
      place.name = rows.text(row, Name);
      place.token = rows.text(row, Token);
      known[id] = std::move(place);
      order.push_back(id);
    } else {
      known[id].settings.push_back(settingOf(rows, row));
    }
  }
  std::vector<PlaceState> chain;
  chain.reserve(order.size());
  for (const std::string& id : order) chain.push_back(known[id]);
  states_.publish(filesOf(chain), history);
  known_ = std::move(known);
  followed_ = history;
  if (rows.text(0, Standby) != "t" &&
      (lastReport_ == Clock::time_point{} || Clock::now() - lastReport_ > kBetweenReports)) {
    std::array<char, 256> host{};
    gethostname(host.data(), host.size() - 1);
    server.ask("SELECT optionsmgr.report($1::bigint, $2::bigint, $3::integer, $4)",
               {order.front(), std::to_string(history.number), std::to_string(kAgentVersion),
                std::string(host.data())});
    lastReport_ = Clock::now();
  }
}

namespace {

// Another host of the list may follow the history that this one does not.
bool mayBeElsewhere(const FirmFailure& failure) {
  return failure.word() == Word::refusedHistory || failure.word() == Word::refusedLagging;
}

}  // namespace

std::string Agent::syncOnce() try {
  for (std::size_t host = 0;;) {
    Connection server(stop_, host);
    try {
      fetch(server);
      return std::to_string(followed_->number);
    } catch (const FirmFailure& failure) {
      if (!mayBeElsewhere(failure) || server.host() + 1 >= server.hosts() || server.host() < host) throw;
      host = server.host() + 1;
    }
  }
} catch (const DatabaseError& error) {
  throw failureOf(error);
}

// Whether notifications come: through a pooler they may not, and a standby refuses to listen. What a
// connection sends itself comes back with the answer, even from a pooler that would swallow all others; so
// where one stands between, which tells another process than the one that answers, somebody else sends.
bool Agent::hears(Connection& server) try {
  const std::string channel = "optionsmgr_" + newToken();
  server.ask("LISTEN optionsmgr");
  server.ask(("LISTEN " + channel).c_str());
  const char* const notify = "SELECT pg_notify($1, '')";
  const bool direct = server.ask("SELECT pg_backend_pid()").text(0, 0) == std::to_string(server.process());
  if (direct)
    server.ask(notify, {channel});
  else
    Connection(stop_, server.host()).ask(notify, {channel});
  const bool heard = server.heardBefore(Clock::now() + 2s);
  server.ask(("UNLISTEN " + channel).c_str());
  return heard;
} catch (const DatabaseError& error) {
  if (error.state().empty()) throw;
  return false;
}

milliseconds Agent::jitter(milliseconds most) const {
  std::uint32_t chance = 0;
  if (getrandom(&chance, sizeof chance, 0) != sizeof chance) return most;
  return milliseconds(chance % static_cast<std::uint32_t>(most.count() + 1));
}

void Agent::pauseFor(milliseconds time) {
  const Clock::time_point until = Clock::now() + time;
  pollfd end{stop_, POLLIN, 0};
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(until - Clock::now()).count();
    if (left <= 0) return;
    if (poll(&end, 1, static_cast<int>(left)) > 0) throw Stopped();
  }
}

void Agent::tellState(const char* code, const std::string& state) {
  if (std::exchange(told_, state) == state) return;
  std::cerr << "optionsmgr-firm: " << oneLine(state, '?') << std::endl;
  std::array<char, 32> now{};
  const std::time_t clock = std::time(nullptr);
  std::tm parts{};
  std::strftime(now.data(), now.size(), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&clock, &parts));
  const nlohmann::ordered_json word{{"state", code}, {"since", now.data()}, {"told", state}};
  states_.leaveWord(word.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

void Agent::serve(Connection& server, milliseconds interval) {
  const bool hearing = hears(server);
  for (;;) {
    try {
      fetch(server);
      tellState(hearing ? "connected" : "polling", say(hearing ? Word::stateConnected : Word::statePolling));
    } catch (const FirmFailure& failure) {
      tellState(failure.word() == Word::refusedLagging ? "behind"
                : failure.exit() == Exit::NoPermission ? "refused"
                                                       : "failed",
                failure.what());
      if (mayBeElsewhere(failure) && server.hosts() > 1) {
        firstHost_ = (server.host() + 1) % server.hosts();
        return;
      }
    }
    const milliseconds next = interval + (hearing ? milliseconds{} : jitter(std::min(kJitter, interval)));
    if (server.heardBefore(lastFetch_ + next))
      pauseFor(std::chrono::ceil<milliseconds>(lastFetch_ + kBetweenFetches - Clock::now()));
  }
}

void Agent::run(milliseconds interval) try {
  for (;;) {
    try {
      Connection server(stop_, firstHost_);
      serve(server, interval);
    } catch (const DatabaseError& error) {
      if (error.state().empty())
        tellState("offline", say(Word::stateOffline, error.what()));
      else
        tellState("refused", failureOf(error).what());
    }
    // A server that comes back is not asked by every desk in the same moment.
    pauseFor(std::min(kRetry, interval) + jitter(std::min(kJitter, interval)));
  }
} catch (const Stopped&) {
  // A clean end.
}

}  // namespace optionsmgr::firm
