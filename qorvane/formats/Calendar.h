// Calendar: the Gregorian calendar, in a time zone of a fixed offset from GMT.
//
// The calendar's rules hold for all years, those before its introduction in 1582 too; the year before 1 is 0.
#pragma once

#include <optional>

#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

/// A day and a time of day, as a calendar and a clock show them.
struct CalendarFields {
  int year = 2001;  ///< −32767 to 32767
  int month = 1;    ///< 1 to 12
  int day = 1;      ///< 1 to 28, 29, 30 or 31, as the month has
  int hour = 0;     ///< 0 to 23
  int minute = 0;   ///< 0 to 59
  int second = 0;   ///< 0 to 59
  friend bool operator==(const CalendarFields&, const CalendarFields&) = default;
};

class Calendar {
 public:
  /// secondsFromGMT: how far the zone's clocks are ahead, east positive: −12600 for UTC−3:30.
  explicit Calendar(int secondsFromGMT = 0) : secondsFromGMT_(secondsFromGMT) {}

  int secondsFromGMT() const { return secondsFromGMT_; }

  /// What the calendar shows at the moment; a started second counts as not yet over. None for a moment
  /// outside the years, or that is no number.
  std::optional<CalendarFields> fieldsFromDate(Date date) const;
  /// The moment at which the calendar shows the fields; none when it never does, as on a 30 February.
  std::optional<Date> dateFromFields(const CalendarFields& fields) const;
  /// The day of the week at the moment, 1 for Sunday to 7 for Saturday; none as for `fieldsFromDate`.
  std::optional<int> weekdayFromDate(Date date) const;

 private:
  int secondsFromGMT_;
};

}  // namespace v1
}  // namespace qorvane
