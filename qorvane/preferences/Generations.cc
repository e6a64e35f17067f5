#include "qorvane/preferences/Generations.h"

#include <sys/auxv.h>

#include <atomic>
#include <charconv>
#include <cstring>
#include <ctime>
#include <set>

namespace qorvane::inline v1 {

namespace {

constexpr std::size_t kAlwaysKept = 50;
constexpr std::chrono::days kDaysKept{90};
constexpr std::uint64_t kMostBytes = std::uint64_t{16} << 20;
constexpr std::string_view kEnd = ".plist";
constexpr std::string_view kStaged = ".new";
constexpr std::size_t kTokenDigits = 16;

// Takes ".<key>." from the start of a name.
bool takeKey(std::string_view& name, std::string_view key) {
  if (name.size() < key.size() + 2 || name.front() != '.' || name.substr(1, key.size()) != key ||
      name[key.size() + 1] != '.')
    return false;
  name.remove_prefix(key.size() + 2);
  return true;
}

template <class Number>
bool takeNumber(std::string_view& text, Number& number) {
  if (text.empty() || text.front() == '-') return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

std::string twoDigits(unsigned number) {
  return {static_cast<char>('0' + number / 10 % 10), static_cast<char>('0' + number % 10)};
}

// Differs from process to process, and from call to call.
std::uint64_t token() {
  static const std::uint64_t ofProcess = [] {
    std::uint64_t random = 0;
    if (const unsigned long at = getauxval(AT_RANDOM); at != 0)
      std::memcpy(&random, reinterpret_cast<const void*>(at), sizeof random);
    return random;
  }();
  static std::atomic<std::uint64_t> count;
  return ofProcess + ++count;
}

}  // namespace

std::optional<GenerationName> GenerationName::read(std::string_view name, std::string_view key) {
  GenerationName read;
  if (!takeKey(name, key) || !takeNumber(name, read.number) || !name.starts_with('.')) return std::nullopt;
  name.remove_prefix(1);
  unsigned day = 0;
  if (name.size() != 8 + kEnd.size() || !name.ends_with(kEnd)) return std::nullopt;
  name.remove_suffix(kEnd.size());
  if (!takeNumber(name, day) || !name.empty()) return std::nullopt;
  read.day = {std::chrono::year(static_cast<int>(day / 10'000)), std::chrono::month(day / 100 % 100),
              std::chrono::day(day % 100)};
  return read.day.ok() ? std::optional(read) : std::nullopt;
}

std::string GenerationName::fileName(std::string_view key) const {
  const std::string year = std::to_string(int(day.year()));
  return "." + std::string(key) + "." + std::to_string(number) + "." +
         std::string(year.size() < 4 ? 4 - year.size() : 0, '0') + year + twoDigits(unsigned(day.month())) +
         twoDigits(unsigned(day.day())) + std::string(kEnd);
}

std::chrono::year_month_day deskDay(std::time_t time) {
  std::tm local{};
  // A clock that is wildly wrong must not make a name that could not be read again.
  if (!localtime_r(&time, &local) || local.tm_year + 1900 < 0 || local.tm_year + 1900 > 9999)
    return std::chrono::year_month_day{std::chrono::year(1970), std::chrono::month(1), std::chrono::day(1)};
  return std::chrono::year(local.tm_year + 1900) / std::chrono::month(unsigned(local.tm_mon + 1)) /
         std::chrono::day(unsigned(local.tm_mday));
}

std::vector<GenerationName> superfluous(const std::vector<KeptGeneration>& newestFirst,
                                        std::chrono::year_month_day today) {
  std::vector<GenerationName> dropped;
  std::set<std::chrono::sys_days> days;
  std::uint64_t bytes = 0;
  bool full = false;
  for (std::size_t i = 0; i < newestFirst.size(); ++i) {
    const auto& [name, size] = newestFirst[i];
    const std::chrono::sys_days day = name.day;
    const bool lastOfDay = days.insert(day).second;
    const bool wanted = i < kAlwaysKept || (lastOfDay && std::chrono::sys_days(today) - day <= kDaysKept);
    if (wanted) {
      bytes += size;
      full = full || bytes > kMostBytes;
    }
    if (i != 0 && (!wanted || full)) dropped.push_back(name);
  }
  return dropped;
}

bool isStagingName(std::string_view name, std::string_view key) {
  // Those of earlier versions, which had only one name for each purpose.
  if (name.starts_with(key) &&
      (name.substr(key.size()) == ".plist.new" || name.substr(key.size()) == ".plist.bak.new"))
    return true;
  return takeKey(name, key) && name.size() == kTokenDigits + kStaged.size() && name.ends_with(kStaged) &&
         name.find_first_not_of("0123456789abcdef") == kTokenDigits;
}

std::string stagingName(std::string_view key) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string name = "." + std::string(key) + ".";
  const std::uint64_t number = token();
  for (int shift = 60; shift >= 0; shift -= 4) name += kDigits[number >> shift & 15];
  return name.append(kStaged);
}

}  // namespace qorvane::inline v1
