#include "qorvane/formats/Calendar.h"

#include <chrono>
#include <cmath>

namespace qorvane::inline v1 {

namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::year_month_day;

constexpr year_month_day kFirstDay = std::chrono::year::min() / std::chrono::January / 1;
constexpr year_month_day kLastDay = std::chrono::year::max() / std::chrono::December / 31;
constexpr sys_seconds kReference = sys_days(std::chrono::year(2001) / std::chrono::January / 1);

// The clock's time as if the zone were GMT.
std::optional<sys_seconds> wallTime(Date date, int secondsFromGMT) {
  const double wall = std::floor(date.secondsSince2001) + secondsFromGMT;
  constexpr double kFirst = static_cast<double>((sys_days(kFirstDay) - kReference).count());
  constexpr double kEnd = static_cast<double>((sys_days(kLastDay) + days(1) - kReference).count());
  // Written so that a NaN fails.
  if (!(wall >= kFirst && wall < kEnd)) return std::nullopt;
  return kReference + seconds(static_cast<std::int64_t>(wall));
}

}  // namespace

std::optional<CalendarFields> Calendar::fieldsFromDate(Date date) const {
  const std::optional<sys_seconds> wall = wallTime(date, secondsFromGMT_);
  if (!wall) return std::nullopt;
  const sys_days day = floor<days>(*wall);
  const year_month_day ymd(day);
  const std::chrono::hh_mm_ss time(*wall - day);
  return CalendarFields{.year = static_cast<int>(ymd.year()),
                        .month = static_cast<int>(static_cast<unsigned>(ymd.month())),
                        .day = static_cast<int>(static_cast<unsigned>(ymd.day())),
                        .hour = static_cast<int>(time.hours().count()),
                        .minute = static_cast<int>(time.minutes().count()),
                        .second = static_cast<int>(time.seconds().count())};
}

std::optional<Date> Calendar::dateFromFields(const CalendarFields& fields) const {
  const auto within = [](int value, int first, int last) { return value >= first && value <= last; };
  if (!within(fields.year, -32767, 32767) || !within(fields.month, 1, 12) || !within(fields.day, 1, 31) ||
      !within(fields.hour, 0, 23) || !within(fields.minute, 0, 59) || !within(fields.second, 0, 59))
    return std::nullopt;
  const year_month_day ymd(std::chrono::year(fields.year),
                           std::chrono::month(static_cast<unsigned>(fields.month)),
                           std::chrono::day(static_cast<unsigned>(fields.day)));
  if (!ymd.ok()) return std::nullopt;
  const sys_seconds wall = sys_days(ymd) + std::chrono::hours(fields.hour) +
                           std::chrono::minutes(fields.minute) + seconds(fields.second);
  return Date{static_cast<double>((wall - kReference).count() - secondsFromGMT_)};
}

std::optional<int> Calendar::weekdayFromDate(Date date) const {
  const std::optional<sys_seconds> wall = wallTime(date, secondsFromGMT_);
  if (!wall) return std::nullopt;
  return static_cast<int>(std::chrono::weekday(floor<days>(*wall)).c_encoding()) + 1;
}

}  // namespace qorvane::inline v1
