// The generations of a key: what its file held before each save, under names of their own in the settings'
// folder. Internal to the file store.
//
//   .<key>.<number>.<yyyymmdd>.plist
//
// The number is that of the save that kept it, never used twice for a key; the day is that of the save, by
// the desk's calendar.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qorvane::inline v1 {

struct GenerationName {
  std::uint64_t number = 0;
  std::chrono::year_month_day day = {};

  /// Of the file name; none when it is not that of a generation of the key.
  static std::optional<GenerationName> read(std::string_view name, std::string_view key);
  std::string fileName(std::string_view key) const;
};

/// The desk's day at a moment.
std::chrono::year_month_day deskDay(std::time_t time);

/// One that is kept, for the choice of those that need no longer be.
struct KeptGeneration {
  GenerationName name;
  std::uint64_t size = 0;  ///< In bytes.
};

/// Every how many saves the generations are thinned.
inline constexpr std::uint64_t kThinnedEvery = 16;

/// Which of them, the newest first, need no longer be kept on that day. Kept are the last 50; of days that
/// none of those is of, each day's last, for 90 days; at most 16 MiB; and the first one always.
std::vector<GenerationName> superfluous(const std::vector<KeptGeneration>& newestFirst,
                                        std::chrono::year_month_day today);

/// Whether a name is that of a new file that was not published, a save's of that key: one of a process that
/// died, when the asker holds the lock.
bool isStagingName(std::string_view name, std::string_view key);
/// A name for a new file that no other has, not even one of a forked process.
std::string stagingName(std::string_view key);

}  // namespace qorvane::inline v1
