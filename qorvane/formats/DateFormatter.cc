#include "qorvane/formats/DateFormatter.h"

#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "qorvane/foundation/Exception.h"

namespace qorvane::inline v1 {

namespace {

constexpr Text kDefaultFormat = "%Y-%m-%d";

constexpr double kReferenceDate = 978307200;     // 2001-01-01 in seconds since 1970
constexpr double kHundredMillionDays = 8.64e15;  // in milliseconds

icu::UnicodeString wideOf(std::string_view bytes) {
  return icu::UnicodeString::fromUTF8({bytes.data(), static_cast<std::int32_t>(bytes.size())});
}

Text textOf(const icu::UnicodeString& wide) {
  std::string bytes;
  return Text(wide.toUTF8String(bytes));
}

// The pattern letters of ICU for a field of ours; null for no field.
const char* icuField(char field) {
  switch (field) {
    case 'Y':
      return "uuuu";
    case 'm':
      return "MM";
    case 'd':
      return "dd";
    case 'H':
      return "HH";
    case 'M':
      return "mm";
    case 'S':
      return "ss";
    default:
      return nullptr;
  }
}

// The format as a pattern of ICU, in which text stands in single quotes.
std::string icuPattern(const Text& format) {
  const std::string_view rest = format.view();
  std::string pattern, literal;
  const auto flush = [&] {
    if (!literal.empty()) pattern += "'" + std::exchange(literal, {}) + "'";
  };
  for (std::size_t at = 0; at < rest.size(); ++at) {
    if (rest[at] != '%') {
      literal += rest[at];
      if (rest[at] == '\'') literal += '\'';
      continue;
    }
    const char field = ++at < rest.size() ? rest[at] : '\0';
    if (field == '%') {
      literal += '%';
    } else if (const char* letters = icuField(field)) {
      flush();
      pattern += letters;
    } else {
      throw Exception({FailureCode::dateFormatField, {format}});
    }
  }
  flush();
  return pattern;
}

}  // namespace

struct DateFormatter::Machine {
  Machine(const Text& dateFormat, const Text& timeZone) {
    std::unique_ptr<icu::TimeZone> zone(timeZone.isNil() ? icu::TimeZone::detectHostTimeZone()
                                                         : icu::TimeZone::createTimeZone(wideOf(timeZone)));
    if (!timeZone.isNil() && *zone == icu::TimeZone::getUnknown())
      throw Exception({FailureCode::timeZoneUnknown, {timeZone}});
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(zone.release(), icu::Locale::getRoot(), status);
    // Its rules for all years: the Julian calendar never was.
    if (U_SUCCESS(status)) calendar->setGregorianChange(-kHundredMillionDays, status);
    format = std::make_unique<icu::SimpleDateFormat>(wideOf(icuPattern(dateFormat)), icu::Locale::getRoot(),
                                                     status);
    if (U_FAILURE(status))
      throw Exception(
          {FailureCode::dateFormatUnusable, {dateFormat, Text(std::string_view(u_errorName(status)))}});
    format->adoptCalendar(calendar.release());
  }

  std::unique_ptr<icu::SimpleDateFormat> format;
};

DateFormatter::DateFormatter() = default;
DateFormatter::~DateFormatter() = default;

void DateFormatter::setDateFormat(Text format) {
  if (!format.isNil()) icuPattern(format);
  format_ = std::move(format);
  machine_.reset();
}

void DateFormatter::setTimeZone(Text name) {
  timeZone_ = std::move(name);
  machine_.reset();
}

DateFormatter::Machine& DateFormatter::machine() const {
  if (!machine_) machine_ = std::make_unique<Machine>(format_.isNil() ? kDefaultFormat : format_, timeZone_);
  return *machine_;
}

Text DateFormatter::stringFromDate(Date date) const {
  const double milliseconds = std::floor(date.secondsSince2001 + kReferenceDate) * 1000;
  if (!(std::abs(milliseconds) <= kHundredMillionDays)) return nullptr;
  icu::UnicodeString wide;
  return textOf(machine().format->format(milliseconds, wide));
}

std::optional<Date> DateFormatter::dateFromString(const Text& text) const {
  const Machine& made = machine();
  if (text.isNil()) return std::nullopt;
  const icu::UnicodeString wide = wideOf(text);
  icu::ParsePosition position(0);
  const double milliseconds = made.format->parse(wide, position);
  if (position.getIndex() != wide.length()) return std::nullopt;
  // ICU reads much more than it writes: a thirteenth month, single digits, blanks. What counts is whether the
  // moment is shown as this text.
  const Date date{std::floor(milliseconds / 1000) - kReferenceDate};
  if (!(stringFromDate(date) == text)) return std::nullopt;
  return date;
}

}  // namespace qorvane::inline v1
