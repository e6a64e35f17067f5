#include "qorvane/formats/DateFormatter.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include "qorvane/formats/Calendar.h"
#include "qorvane/foundation/Exception.h"

namespace qorvane {
namespace {

Date utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *Calendar().dateFromFields({year, month, day, hour, minute, second});
}

std::unique_ptr<DateFormatter> formatter(const Text& format, const Text& zone) {
  auto made = std::make_unique<DateFormatter>();
  made->setDateFormat(format);
  made->setTimeZone(zone);
  return made;
}

TEST(DateFormatterTest, ShowsYearAndMonth) {
  const auto yearMonth = formatter("%Y/%m", "GMT");
  EXPECT_EQ(yearMonth->stringFromDate(utc(2020, 3, 15)), Text("2020/03"));
  EXPECT_EQ(yearMonth->stringFromDate(utc(2020, 12, 31, 23, 59, 59)), Text("2020/12"));
  EXPECT_EQ(yearMonth->stringFromDate(utc(2021, 1, 1)), Text("2021/01"));
  EXPECT_EQ(yearMonth->dateFromString("2020/03"), utc(2020, 3, 1));
  EXPECT_EQ(yearMonth->dateFromString("0001/01"), utc(1, 1, 1));
}

TEST(DateFormatterTest, ShowsEveryField) {
  const Date moment = utc(2020, 3, 5, 7, 8, 9);
  const struct {
    Text format;
    Text text;
  } rows[] = {
      {"%Y-%m-%d %H:%M:%S", "2020-03-05 07:08:09"},
      {"%Y%m%d", "20200305"},
      {"%Y%m%d%H%M%S", "20200305070809"},
      {"%d.%m.%Y", "05.03.2020"},
      {"%H h %M", "07 h 08"},
      {"%%%Y%%", "%2020%"},
      {"le %d (d'été) yyyy/MM ''", "le 05 (d'été) yyyy/MM ''"},
      {"%Y %Y", "2020 2020"},
      {"no field", "no field"},
      {"", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(formatter(row.format, "GMT")->stringFromDate(moment), row.text);
}

TEST(DateFormatterTest, ReadsBackWhatItShows) {
  std::mt19937_64 random(1949);
  for (const Text& zone : {Text("GMT"), Text("America/St_Johns"), Text("Asia/Kathmandu"), Text("GMT-3:30")}) {
    const auto second = formatter("%Y-%m-%d %H:%M:%S", zone);
    const auto packed = formatter("%Y%m%d%H%M%S", zone);
    for (int i = 0; i < 1000; ++i) {
      // From 1970 to some 130 years on.
      const Date moment{static_cast<double>(random() % 4'100'000'000) - 978307200};
      const Text text = second->stringFromDate(moment);
      const std::optional<Date> back = second->dateFromString(text);
      ASSERT_TRUE(back) << text;
      ASSERT_EQ(second->stringFromDate(*back), text);
      ASSERT_EQ(packed->dateFromString(packed->stringFromDate(moment)), back);
      // An hour that the clocks show twice reads as one of both.
      ASSERT_TRUE(*back == moment || std::abs(back->secondsSince2001 - moment.secondsSince2001) == 3600)
          << text;
    }
  }
}

TEST(DateFormatterTest, AgreesWithTheCalendar) {
  std::mt19937_64 random(1);
  const auto each = formatter("%Y %m %d %H %M %S", "GMT-3:30");
  const Calendar calendar(-12600);
  for (int i = 0; i < 3000; ++i) {
    // From before the year 1000, so in the Gregorian calendar's rules for all years, to about 4000.
    const double seconds = static_cast<double>(random() % 100'000'000'000) - 35'000'000'000;
    const CalendarFields fields = *calendar.fieldsFromDate({seconds});
    char expected[40];
    std::snprintf(expected, sizeof expected, "%04d %02d %02d %02d %02d %02d", fields.year, fields.month,
                  fields.day, fields.hour, fields.minute, fields.second);
    ASSERT_EQ(each->stringFromDate({seconds}), Text(std::string(expected)));
  }
}

TEST(DateFormatterTest, RefusesWhatIsNotWhollySuchADate) {
  const auto yearMonth = formatter("%Y/%m", "America/St_Johns");
  for (const Text& text : {Text(),
                           Text(""),
                           Text("2020"),
                           Text("2020/"),
                           Text("2020/3"),
                           Text("2020/13"),
                           Text("2020/00"),
                           Text("2020/03 "),
                           Text(" 2020/03"),
                           Text("2020/ 3"),
                           Text("2020/03/01"),
                           Text("2020-03"),
                           Text("20/03"),
                           Text("02020/03"),
                           Text("+2020/03"),
                           Text("2020/+3"),
                           Text("2020/-3"),
                           Text("2020/0x"),
                           Text("٢٠٢٠/٠٣"),
                           Text("２０２０/03"),
                           Text("2020/03\0x"),
                           Text("mars 2020"),
                           Text("99999999999999999999/01"),
                           Text("1000000/01")})
    EXPECT_FALSE(yearMonth->dateFromString(text)) << text;
  const auto day = formatter("%Y-%m-%d %H", "GMT");
  EXPECT_TRUE(day->dateFromString("2020-02-29 23"));
  for (const Text& text : {Text("2019-02-29 00"), Text("2020-04-31 00"), Text("2020-01-01 24"),
                           Text("2020-01-01 -1"), Text("2020-01-00 00")})
    EXPECT_FALSE(day->dateFromString(text)) << text;
  EXPECT_FALSE(formatter("%Y %Y", "GMT")->dateFromString("2020 2021"));
}

TEST(DateFormatterTest, WhatTheFormatLeavesOpenIsTheStartOf1970) {
  EXPECT_EQ(formatter("%Y", "GMT")->dateFromString("2020"), utc(2020, 1, 1));
  EXPECT_EQ(formatter("%d", "GMT")->dateFromString("31"), utc(1970, 1, 31));
  EXPECT_EQ(formatter("%H:%M", "GMT")->dateFromString("12:30"), utc(1970, 1, 1, 12, 30));
}

TEST(DateFormatterTest, FollowsTheZone) {
  const Date newYear = utc(2021, 1, 1, 3, 29, 59);
  EXPECT_EQ(formatter("%Y/%m", "GMT")->stringFromDate(newYear), Text("2021/01"));
  const auto stJohns = formatter("%Y/%m %H:%M", "America/St_Johns");
  EXPECT_EQ(stJohns->stringFromDate(newYear), Text("2020/12 23:59"));
  EXPECT_EQ(stJohns->stringFromDate(utc(2020, 7, 1, 2, 30)), Text("2020/07 00:00"));
  EXPECT_EQ(formatter("%Y/%m", "America/St_Johns")->dateFromString("2021/01"), utc(2021, 1, 1, 3, 30));
  EXPECT_EQ(formatter("%Y/%m", "America/St_Johns")->dateFromString("2020/07"), utc(2020, 7, 1, 2, 30));
}

TEST(DateFormatterTest, HoursThatTheClocksSkipOrRepeat) {
  const auto minute = formatter("%Y-%m-%d %H:%M", "America/St_Johns");
  EXPECT_FALSE(minute->dateFromString("2020-03-08 02:30"));
  EXPECT_TRUE(minute->dateFromString("2020-03-08 03:00"));
  // One that they show twice is the later of both.
  EXPECT_EQ(minute->dateFromString("2020-11-01 01:30"), utc(2020, 11, 1, 5, 0));
  // A day whose midnight is skipped is a day all the same.
  const auto day = formatter("%Y-%m-%d", "America/Sao_Paulo");
  EXPECT_EQ(day->dateFromString("2017-10-15"), utc(2017, 10, 15, 3));
}

TEST(DateFormatterTest, WithoutAZoneItIsTheLocalOne) {
  setenv("TZ", "America/St_Johns", 1);
  tzset();
  const auto local = formatter("%Y-%m-%d %H:%M:%S", nullptr);
  for (int month = 1; month <= 12; ++month) {
    const Date moment = utc(2020, month, 8, 12, 30, 15);
    const std::time_t seconds = static_cast<std::time_t>(moment.secondsSince2001) + 978307200;
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char expected[32];
    std::strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &parts);
    EXPECT_EQ(local->stringFromDate(moment), Text(std::string(expected)));
    EXPECT_EQ(local->dateFromString(Text(std::string(expected))), moment);
  }
  setenv("TZ", "Asia/Tokyo", 1);
  tzset();
  EXPECT_EQ(formatter("%H", nullptr)->stringFromDate(utc(2020, 1, 1)), Text("09"));
}

TEST(DateFormatterTest, AStartedSecondIsNotYetOver) {
  const auto second = formatter("%Y %S", "GMT");
  EXPECT_EQ(second->stringFromDate({0.999}), Text("2001 00"));
  EXPECT_EQ(second->stringFromDate({-0.001}), Text("2000 59"));
}

TEST(DateFormatterTest, YearsBeforeTheFirstAndBeyondFourDigits) {
  const auto year = formatter("%Y", "GMT");
  EXPECT_EQ(year->stringFromDate(utc(0, 6, 1)), Text("0000"));
  EXPECT_EQ(year->stringFromDate(utc(-44, 3, 15)), Text("-0044"));
  EXPECT_EQ(year->stringFromDate(utc(12345, 1, 1)), Text("12345"));
  EXPECT_EQ(year->dateFromString("12345"), utc(12345, 1, 1));
  EXPECT_EQ(year->dateFromString("0000"), utc(0, 1, 1));
}

TEST(DateFormatterTest, AMomentThatCannotBeShownIsNil) {
  const auto year = formatter("%Y", "GMT");
  for (const double seconds :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), 1e13, -1e13, 1e300})
    EXPECT_TRUE(year->stringFromDate({seconds}).isNil()) << seconds;
  EXPECT_EQ(year->stringFromDate({8.6e12}), Text("274524"));
}

TEST(DateFormatterTest, AFormatThatIsNoneThrowsAndChangesNothing) {
  const auto each = formatter("%Y/%m", "GMT");
  for (const Text& format : {Text("%"), Text("%Y/%"), Text("%y"), Text("%B"), Text("%Q"), Text("% Y"),
                             Text("%é"), Text("%\0Y"), Text("%-m")}) {
    EXPECT_THROW(each->setDateFormat(format), Exception) << format;
    EXPECT_EQ(each->stringFromDate(utc(2020, 3, 15)), Text("2020/03"));
  }
  each->setDateFormat(nullptr);
  EXPECT_EQ(each->stringFromDate(utc(2020, 3, 15)), Text("2020-03-15"));
}

TEST(DateFormatterTest, AnUnknownZoneThrowsOnUse) {
  for (const Text& zone : {Text("Canada/Nowhere"), Text(""), Text("x")}) {
    const auto lost = formatter("%Y", zone);
    EXPECT_THROW(lost->stringFromDate({0}), Exception) << zone;
    EXPECT_THROW(lost->dateFromString("2020"), Exception) << zone;
    lost->setTimeZone("GMT");
    EXPECT_EQ(lost->stringFromDate({0}), Text("2001"));
  }
}

TEST(DateFormatterTest, DependsOnNoLocale) {
  for (const char* locale : {"ar_EG.UTF-8", "th_TH.UTF-8", "fa_IR.UTF-8", "fr_CA.UTF-8", "C"}) {
    setenv("LC_ALL", locale, 1);
    EXPECT_EQ(formatter("%Y/%m", "GMT")->stringFromDate(utc(2020, 3, 15)), Text("2020/03")) << locale;
  }
}

}  // namespace
}  // namespace qorvane
