// Days are counted in whole numbers from a day far back, with years that begin in March: the leap day is then the last
// one of a year, and five months of 153 days repeat. 400 years have 146,097 days.
//
// A Julian date of today has 40 microseconds between one number and the next. Seconds are rounded to nanoseconds, so
// that the text of a date never shows 60 seconds.

#include "XJulianDate.h"

#include "base/LeadingNumber.h"
#include "XDataType.h"

#include <cmath>
#include <cstdint>
#include <string_view>

namespace {

constexpr std::int64_t kNanoseconds = 1'000'000'000;
constexpr std::int64_t kNanosecondsOfDay = 86'400 * kNanoseconds;
constexpr double kEndOfYear9999 = 5'373'484.5;

constexpr std::int64_t FloorDivide(std::int64_t number, std::int64_t divisor) {
  return number / divisor - (number % divisor < 0 ? 1 : 0);
}

/// The Julian day number of a date.
std::int64_t CountDays(std::int64_t year, std::int64_t month, std::int64_t day) {
  const std::int64_t sinceMarch = 12 * year + month - 3;
  const std::int64_t y = FloorDivide(sinceMarch, 12), m = sinceMarch - 12 * y;
  return 365 * y + FloorDivide(y, 4) - FloorDivide(y, 100) + FloorDivide(y, 400) + (153 * m + 2) / 5 + day + 1'721'119;
}

struct Date {
  int year, month, day;
};

Date DateOf(std::int64_t dayNumber) {
  const std::int64_t days = dayNumber - 1'721'120;
  const std::int64_t era = FloorDivide(days, 146'097), ofEra = days - 146'097 * era;
  const std::int64_t y = (ofEra - ofEra / 1'460 + ofEra / 36'524 - ofEra / 146'096) / 365;
  const std::int64_t ofYear = ofEra - (365 * y + y / 4 - y / 100);
  const std::int64_t m = (5 * ofYear + 2) / 153;
  const bool isNextYear = m >= 10;
  return {static_cast<int>(400 * era + y + (isNextYear ? 1 : 0)), static_cast<int>(isNextYear ? m - 9 : m + 3),
          static_cast<int>(ofYear - (153 * m + 2) / 5 + 1)};
}

/// What stands before a separator, which is taken off with it; all of a text that has no separator.
std::string_view TakeUntil(std::string_view& text, char separator) {
  const std::size_t end = text.find(separator);
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return part;
}

int TakeInteger(std::string_view& text, char separator) {
  return zrk::TakeFrontNumber<int>(TakeUntil(text, separator)).value;
}

}  // namespace

long XfnGregorian2Julian(int year, int month, int day) {
  return static_cast<long>(CountDays(year, month, day));
}

double XfnGregorian2Julian(int year, int month, int day, int hour, int minute, double seconds) {
  const double ofDay = (hour * 3600.0 + minute * 60.0 + seconds) / 86'400.0;
  return static_cast<double>(CountDays(year, month, day)) - 0.5 + ofDay;
}

int XfnJulian2Gregorian(double julianDate, int& year, int& month, int& day, int& hour, int& minute, double& seconds) {
  if (!(julianDate >= 0.0 && julianDate < kEndOfYear9999)) return 0;
  double dayNumber = std::floor(julianDate + 0.5);
  const double ofDay = julianDate + 0.5 - dayNumber;
  std::int64_t rest = std::llround(ofDay * static_cast<double>(kNanosecondsOfDay));
  if (rest >= kNanosecondsOfDay) {
    rest -= kNanosecondsOfDay;
    dayNumber += 1.0;
  }
  const Date date = DateOf(static_cast<std::int64_t>(dayNumber));
  year = date.year;
  month = date.month;
  day = date.day;
  hour = static_cast<int>(rest / (3600 * kNanoseconds));
  minute = static_cast<int>(rest / (60 * kNanoseconds) % 60);
  seconds = static_cast<double>(rest % (60 * kNanoseconds)) / static_cast<double>(kNanoseconds);
  return 1;
}

/// Seconds are written as whole numbers, since a point would be the locale's.
XString JD2UTC(double julianDate) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  double seconds = 0.0;
  XString text;
  if (!XfnJulian2Gregorian(julianDate, year, month, day, hour, minute, seconds)) return text;
  const std::int64_t nanoseconds = std::llround(seconds * static_cast<double>(kNanoseconds));
  text.Format("%04d-%02d-%02d %02d:%02d:%02d.%09d", year, month, day, hour, minute,
              static_cast<int>(nanoseconds / kNanoseconds), static_cast<int>(nanoseconds % kNanoseconds));
  return text;
}

double UTC2JD(XString text) {
  const char separator = text.Find('-') >= 0 ? '-' : '/';
  if (text.Find(separator) < 0) return kNotSet;
  std::string_view rest = text;
  const int year = TakeInteger(rest, separator);
  const int month = TakeInteger(rest, separator);
  const int day = TakeInteger(rest, ' ');
  if (rest.find(':') == std::string_view::npos) return static_cast<double>(XfnGregorian2Julian(year, month, day));
  const int hour = TakeInteger(rest, ':');
  const int minute = TakeInteger(rest, ':');
  return XfnGregorian2Julian(year, month, day, hour, minute, zrk::TakeFrontNumber<double>(rest).value);
}
