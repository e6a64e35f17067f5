#include "qorvane/formats/Calendar.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/simpletz.h>

#include <cmath>
#include <limits>
#include <random>

namespace qorvane {
namespace {

constexpr double kSecondsOfDay = 86400;

TEST(CalendarTest, ShowsKnownMoments) {
  const struct {
    double secondsSince2001;
    int secondsFromGMT;
    CalendarFields fields;
    int weekday;
  } rows[] = {
      {0, 0, {2001, 1, 1, 0, 0, 0}, 2},           {-1, 0, {2000, 12, 31, 23, 59, 59}, 1},
      {-0.001, 0, {2000, 12, 31, 23, 59, 59}, 1}, {0.999, 0, {2001, 1, 1, 0, 0, 0}, 2},
      {0, -12600, {2000, 12, 31, 20, 30, 0}, 1},  {0, 50400, {2001, 1, 1, 14, 0, 0}, 2},
      {604800000, 0, {2020, 3, 2, 0, 0, 0}, 2},   {-978307200, 0, {1970, 1, 1, 0, 0, 0}, 5},
  };
  for (const auto& row : rows) {
    const Calendar calendar(row.secondsFromGMT);
    EXPECT_EQ(calendar.fieldsFromDate({row.secondsSince2001}), row.fields) << row.secondsSince2001;
    EXPECT_EQ(calendar.weekdayFromDate({row.secondsSince2001}), row.weekday) << row.secondsSince2001;
    EXPECT_EQ(calendar.dateFromFields(row.fields), Date{std::floor(row.secondsSince2001)});
  }
}

TEST(CalendarTest, IsOfTheZoneItWasMadeFor) {
  EXPECT_EQ(Calendar().secondsFromGMT(), 0);
  EXPECT_EQ(Calendar(-12600).secondsFromGMT(), -12600);
}

TEST(CalendarTest, HasLeapDaysAsTheRuleSays) {
  const Calendar calendar;
  for (const int year : {2000, 2020, 2400, 1600, 0, -4})
    EXPECT_TRUE(calendar.dateFromFields({year, 2, 29, 0, 0, 0})) << year;
  for (const int year : {1900, 2019, 2100, 1500, -1})
    EXPECT_FALSE(calendar.dateFromFields({year, 2, 29, 0, 0, 0})) << year;
}

TEST(CalendarTest, RefusesFieldsThatItNeverShows) {
  const CalendarFields rows[] = {
      {2020, 2, 30, 0, 0, 0},  {2020, 4, 31, 0, 0, 0}, {2020, 0, 1, 0, 0, 0},   {2020, 13, 1, 0, 0, 0},
      {2020, 1, 0, 0, 0, 0},   {2020, 1, 32, 0, 0, 0}, {2020, 1, -1, 0, 0, 0},  {2020, 1, 1, 24, 0, 0},
      {2020, 1, 1, -1, 0, 0},  {2020, 1, 1, 0, 60, 0}, {2020, 1, 1, 0, -1, 0},  {2020, 1, 1, 0, 0, 60},
      {2020, 1, 1, 0, 0, -1},  {32768, 1, 1, 0, 0, 0}, {-32768, 1, 1, 0, 0, 0}, {2020, 257, 1, 0, 0, 0},
      {2020, 1, 257, 0, 0, 0}, {67556, 1, 1, 0, 0, 0},
  };
  for (const CalendarFields& fields : rows)
    EXPECT_FALSE(Calendar().dateFromFields(fields))
        << fields.year << ' ' << fields.month << ' ' << fields.day << ' ' << fields.hour;
}

TEST(CalendarTest, ShowsNothingBeyondItsYears) {
  const Calendar calendar(-3600);
  const Date first = *calendar.dateFromFields({-32767, 1, 1, 0, 0, 0});
  const Date last = *calendar.dateFromFields({32767, 12, 31, 23, 59, 59});
  EXPECT_EQ(calendar.fieldsFromDate(first)->year, -32767);
  EXPECT_EQ(calendar.fieldsFromDate(last)->year, 32767);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double seconds : {first.secondsSince2001 - 1, last.secondsSince2001 + 1, kInfinity, -kInfinity,
                               std::numeric_limits<double>::quiet_NaN(), 1e300}) {
    EXPECT_FALSE(calendar.fieldsFromDate({seconds})) << seconds;
    EXPECT_FALSE(calendar.weekdayFromDate({seconds})) << seconds;
  }
}

TEST(CalendarTest, AgreesWithIcu) {
  UErrorCode status = U_ZERO_ERROR;
  std::mt19937_64 random(1582);
  for (const int offset : {0, -12600, 19800, 50400}) {
    icu::GregorianCalendar icu(new icu::SimpleTimeZone(offset * 1000, "fixed"), status);
    icu.setGregorianChange(-8.64e15, status);
    ASSERT_TRUE(U_SUCCESS(status));
    const Calendar calendar(offset);
    for (int i = 0; i < 5000; ++i) {
      // Some thousand years around the reference date.
      const double seconds =
          static_cast<double>(static_cast<std::int64_t>(random() % 200'000'000'000)) - 1e11;
      const std::optional<CalendarFields> fields = calendar.fieldsFromDate({seconds});
      ASSERT_TRUE(fields);
      icu.setTime((seconds + 978307200) * 1000, status);
      ASSERT_EQ(fields->year, icu.get(UCAL_EXTENDED_YEAR, status));
      ASSERT_EQ(fields->month, icu.get(UCAL_MONTH, status) + 1);
      ASSERT_EQ(fields->day, icu.get(UCAL_DATE, status));
      ASSERT_EQ(fields->hour, icu.get(UCAL_HOUR_OF_DAY, status));
      ASSERT_EQ(fields->minute, icu.get(UCAL_MINUTE, status));
      ASSERT_EQ(fields->second, icu.get(UCAL_SECOND, status));
      ASSERT_EQ(*calendar.weekdayFromDate({seconds}), icu.get(UCAL_DAY_OF_WEEK, status));
      ASSERT_EQ(calendar.dateFromFields(*fields), Date{seconds});
    }
  }
}

TEST(CalendarTest, EveryDayFollowsTheOneBefore) {
  const Calendar calendar;
  CalendarFields before = *calendar.fieldsFromDate({0});
  for (int day = 1; day < 150000; ++day) {
    const CalendarFields fields = *calendar.fieldsFromDate({day * kSecondsOfDay});
    const bool nextDay =
        fields.day == before.day + 1 && fields.month == before.month && fields.year == before.year;
    const bool nextMonth = fields.day == 1 && fields.month == before.month + 1 && fields.year == before.year;
    const bool nextYear =
        fields.day == 1 && fields.month == 1 && before.month == 12 && fields.year == before.year + 1;
    ASSERT_TRUE(nextDay || nextMonth || nextYear) << day;
    before = fields;
  }
}

}  // namespace
}  // namespace qorvane
