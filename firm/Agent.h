// Keeps a desk's files like its firm: fetches the state of its chain of places and publishes it.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "firm/Configuration.h"
#include "firm/Database.h"
#include "firm/Desk.h"
#include "firm/Words.h"

namespace optionsmgr::firm {

/// This program as an agent: the store tells the lowest version that it serves.
inline constexpr int kAgentVersion = 1;

class Agent {
 public:
  /// `stop` is a descriptor to end for, or -1.
  Agent(Configuration configuration, int stop);

  /// Fetches once and publishes. Answers the number; throws FirmFailure, for a refusal too, with the files as
  /// they were.
  std::string syncOnce();

  /// Stays, until the stop descriptor is readable: fetches when a notification hints at something and at
  /// least once an interval, at most once a second. Says on standard error what its state is, when that
  /// changes.
  void run(std::chrono::milliseconds interval);

 private:
  void fetch(Connection& server);
  void serve(Connection& server, std::chrono::milliseconds interval);
  bool hears(Connection& server);
  void tellState(const char* code, const std::string& state);
  void pauseFor(std::chrono::milliseconds time);
  std::chrono::milliseconds jitter(std::chrono::milliseconds most) const;

  Configuration configuration_;
  States states_;
  int stop_;
  std::optional<History> followed_;
  /// What is known of each place of the chain, by number.
  std::map<std::string, PlaceState> known_;
  Clock::time_point lastFetch_{};
  Clock::time_point lastReport_{};
  std::string told_;
  /// The host to begin with: the one behind a host that follows another history.
  std::size_t firstHost_ = 0;
};

}  // namespace optionsmgr::firm
