// Markers of xplanet: a line has a latitude, a longitude and a text, in quotes or in braces or as a bare word. Words
// with an equals sign may stand in front of the text and behind it. A comment begins with '#', except within the text.
//
// Some markers have no place on earth: those whose position is told in pixels, and those that are tied to a body and
// have no numbers.

#include "writers/names/PlaceLists.h"

#include <optional>

namespace zrk {

namespace {

/// The text between the first character and the one that closes it, taken off the rest of the line.
std::string_view TakeEnclosed(std::string_view& rest, std::int64_t line) {
  const char closing = rest.front() == '{' ? '}' : '"';
  const std::size_t end = rest.find(closing, 1);
  if (end == std::string_view::npos) throw PlaceListFault(line, "the text does not end");
  const std::string_view text = rest.substr(1, end - 1);
  rest.remove_prefix(end + 1);
  return text;
}

/// What a line says of a marker.
struct Marker {
  std::optional<std::string_view> text;
  bool isElsewhere = false;  ///< its position is not a latitude and a longitude
};

/// Takes what stands behind the numbers.
Marker TakeMarker(std::string_view rest, std::int64_t line) {
  Marker marker;
  for (rest = Trimmed(rest); !rest.empty() && rest.front() != '#'; rest = Trimmed(rest)) {
    if (rest.front() == '"' || rest.front() == '{') {
      const std::string_view text = TakeEnclosed(rest, line);
      if (!marker.text) marker.text = text;
      continue;
    }
    const std::string_view word = rest.substr(0, rest.find_first_of(" \t#"));
    rest.remove_prefix(word.size());
    if (word.starts_with("position=")) marker.isElsewhere = true;
    if (word.find('=') == std::string_view::npos && !marker.text) marker.text = word;
  }
  return marker;
}

/// The numbers in front, taken off the line; false where it begins otherwise. Some lists have a comma behind the first.
bool TakePoint(std::string_view& line, ListedPoint& point) {
  std::string_view rest = line;
  std::string_view latitude = TakeWord(rest);
  const std::string_view longitude = TakeWord(rest);
  if (latitude.ends_with(',')) latitude.remove_suffix(1);
  if (!ParsePlaceNumber(latitude, point.latitude) || !ParsePlaceNumber(longitude, point.longitude)) return false;
  line = rest;
  return true;
}

}  // namespace

void TakeXplanet(PlaceLines& lines, PlaceTaker& taker) {
  for (std::string_view line; lines.Next(line);) {
    line = Trimmed(line);
    if (line.empty() || line.front() == '#') continue;
    ListedPoint point;
    const bool hasPoint = TakePoint(line, point);
    const Marker marker = TakeMarker(line, lines.GetNumber());
    if (!hasPoint && !marker.isElsewhere) {
      throw PlaceListFault(lines.GetNumber(), "the line does not begin with a latitude and a longitude");
    }
    if (marker.isElsewhere || !marker.text) {
      taker.LeaveOut();
    } else {
      taker.Take(point, *marker.text);
    }
  }
}

}  // namespace zrk
