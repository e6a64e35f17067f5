// What a desk reads of its firm: the places' settings made into files, one state at a time.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Value.h"

namespace optionsmgr::firm {

/// A product and a year, 0 for every year: one file of a layer.
struct Domain {
  bool corporate = false;
  int year = 0;

  /// "QorvaneT1Settings2024", "QorvaneT1Settings".
  std::string key() const;
  /// None for any other text.
  static std::optional<Domain> fromKey(std::string_view key);
  /// For people: "T1 2024", "T1".
  std::string name() const;
  /// "T1" or "T2".
  std::string product() const { return corporate ? "T2" : "T1"; }

  friend auto operator<=>(const Domain&, const Domain&) = default;
};

struct Setting {
  Domain domain;
  std::string key;
  std::optional<std::string> value;  ///< Tagged JSON; none for a lock alone.
  bool locked = false;
  std::string number;  ///< Of the commit that wrote it; empty where its history was pruned.
  std::string at;
  std::string who;
};

struct PlaceState {
  std::string id;
  std::string name;
  std::string token;
  std::vector<Setting> settings;
};

/// The history that a state is of.
struct History {
  std::uint64_t system = 0;
  std::int64_t timeline = 0;
  std::int64_t restored = 0;
  std::int64_t number = 0;
};

/// How a server's history stands to the one that is followed.
enum class Standing : std::uint8_t { Same, TakenOver, Older, Lagging };
Standing standingOf(const History& server, const std::optional<History>& followed);

/// The files of a chain of places, the nearest first: names and what each holds. Places first: the nearest
/// value counts, but a lock holds from the farthest place that sets it, where that place or a farther one has
/// a value; then years, within a place the year's before every year's. A year's file is complete. The key "*"
/// in a lock is every key. A value that cannot be read is passed over.
std::map<std::string, qorvane::Value> filesOf(const std::vector<PlaceState>& chain);

/// The folder of the states: states/<n>, each whole, and the link `current`.
class States {
 public:
  /// Takes the folder for this process, and makes it where it is missing. Throws FirmFailure when another
  /// agent has it or it cannot be made.
  explicit States(std::string folder);
  States(const States&) = delete;
  States& operator=(const States&) = delete;
  ~States();

  /// The history of the current state; none before the first.
  std::optional<History> followed() const;

  /// Makes the files the current state, when they are not what it is already or its history is another one.
  /// The new folder is written and synced before the link moves; the last three stay for readers that are in
  /// them. Throws FirmFailure with the current state as it was.
  void publish(const std::map<std::string, qorvane::Value>& files, const History& history);

  /// Takes all of it away: from then on programs read as without a firm. Throws FirmFailure.
  void remove();

  /// Leaves word of how the agent is, for `status`: not synced, since it is true only while the agent lives.
  void leaveWord(const std::string& json) const;
  /// What was left in the folder, and whether an agent has it now.
  struct Left {
    std::string json;
    bool running = false;
  };
  static Left leftIn(const std::string& folder);
  /// The history of the current state of a folder; none before the first.
  static std::optional<History> followedIn(const std::string& folder);

 private:
  std::string currentFolder() const;

  std::string folder_;
  int lock_ = -1;
};

/// The folder by configuration, else $XDG_STATE_HOME/Qorvane/firm. Throws FirmFailure when there is none.
std::string stateFolder(const std::string& configured);

}  // namespace optionsmgr::firm
