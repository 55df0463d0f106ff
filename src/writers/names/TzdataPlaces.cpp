// The tables of tzdata name for each time zone the place after which it is called. A row has the codes of countries,
// the coordinates, the name of the zone, and perhaps a remark, with a tab in between. The place is the last part of the
// zone's name: "Buenos Aires" of "America/Argentina/Buenos_Aires".

#include "writers/names/PlaceLists.h"

#include <algorithm>
#include <string>

namespace zrk {

namespace {

/// Whole numbers of two digits, or three for degrees of longitude.
bool TakeDigits(std::string_view& text, std::size_t count, int most, int& number) {
  if (text.size() < count) return false;
  number = 0;
  for (const char digit : text.substr(0, count)) {
    if (digit < '0' || digit > '9') return false;
    number = 10 * number + (digit - '0');
  }
  text.remove_prefix(count);
  return number <= most;
}

/// One coordinate with its sign, as far as the next sign.
bool TakeIsoAngle(std::string_view& text, std::size_t degreeDigits, int mostDegrees, double& angle) {
  constexpr int kMostMinutes = 59;
  if (!text.starts_with('+') && !text.starts_with('-')) return false;
  const double sign = text.front() == '-' ? -1.0 : 1.0;
  text.remove_prefix(1);
  const std::size_t length = std::min(text.find_first_of("+-"), text.size());
  std::string_view digits = text.substr(0, length);
  text.remove_prefix(length);
  int degrees = 0, minutes = 0, seconds = 0;
  if (!TakeDigits(digits, degreeDigits, mostDegrees, degrees) || !TakeDigits(digits, 2, kMostMinutes, minutes) ||
      (!digits.empty() && !TakeDigits(digits, 2, kMostMinutes, seconds)) || !digits.empty()) {
    return false;
  }
  angle = sign * (degrees + (minutes * 60 + seconds) / 3600.0);
  return true;
}

std::string_view TakeField(std::string_view& row) {
  const std::string_view field = row.substr(0, row.find('\t'));
  row.remove_prefix(std::min(field.size() + 1, row.size()));
  return field;
}

}  // namespace

bool ParseIso6709(std::string_view text, ListedPoint& point) {
  ListedPoint found;
  if (!TakeIsoAngle(text, 2, 90, found.latitude) || !TakeIsoAngle(text, 3, 180, found.longitude) || !text.empty()) {
    return false;
  }
  point = found;
  return true;
}

void TakeTzdata(PlaceLines& lines, PlaceTaker& taker) {
  for (std::string_view row; lines.Next(row);) {
    if (row.empty() || row.front() == '#') continue;
    TakeField(row);
    ListedPoint point;
    if (!ParseIso6709(TakeField(row), point)) {
      throw PlaceListFault(lines.GetNumber(), "the second field is no latitude and longitude");
    }
    const std::string_view zone = TakeField(row);
    std::string name(zone.substr(zone.rfind('/') + 1));
    std::ranges::replace(name, '_', ' ');
    taker.Take(point, name);
  }
}

}  // namespace zrk
