// DateFormatter: moments to texts of digits and back, such as "2020/03" for a year and a month.
//
// A format is a text in which these stand for a part of the date: %Y the year (four digits or more, 0 for the
// year before 1), %m the month (01 to 12), %d the day, %H the hour (00 to 23), %M the minute, %S the second,
// and %% for one percent sign. All else is shown as it stands. The calendar is `Calendar`'s. The texts depend
// on no locale.
//
// Nothing is made before the first date or text comes, so an unused formatter costs nothing. Main thread
// only.
#pragma once

#include <memory>
#include <optional>

#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class DateFormatter {
 public:
  /// In the local time zone, with the format "%Y-%m-%d".
  DateFormatter();
  ~DateFormatter();
  DateFormatter(const DateFormatter&) = delete;
  DateFormatter& operator=(const DateFormatter&) = delete;

  /// The format; nil: "%Y-%m-%d". Any other letter behind a percent sign, or a percent sign at the end,
  /// throws Exception and leaves the format as it was.
  void setDateFormat(Text format);
  /// The zone's name, such as "America/St_Johns" or "GMT-3:30"; nil: the local zone, that of the TZ variable
  /// or of the machine when the formatter is first used. An unknown name throws Exception from the first use.
  void setTimeZone(Text name);

  /// The moment's text. Nil for a moment that is no number, or more than a hundred million days from 1970.
  Text stringFromDate(Date date) const;

  /// The moment that is shown as exactly this text: the earliest of those that the format does not tell
  /// apart, but the later when the clocks show an hour twice. Fields that the format does not have are 1970,
  /// 1 January, midnight. None when no moment is shown so: "2020/13", "2020/3", "2020/03 " and nil are no
  /// "%Y/%m".
  std::optional<Date> dateFromString(const Text& text) const;

 private:
  struct Machine;
  Machine& machine() const;

  Text format_;
  Text timeZone_;
  mutable std::unique_ptr<Machine> machine_;
};

}  // namespace v1
}  // namespace qorvane
