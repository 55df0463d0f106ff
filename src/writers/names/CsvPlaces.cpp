// Places in fields between commas. The first line may name the fields: it is taken for names where it does not begin
// with two numbers. A field in double quotes ends on its line; line ends within quotes are refused.

#include "writers/names/PlaceLists.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zrk {

namespace {

/// Which fields of a line are asked for.
struct CsvColumns {
  std::size_t longitude = 0;
  std::size_t latitude = 1;
  std::size_t name = 2;
};

/// Takes a field in quotes off the line, up to the comma behind it.
std::string TakeQuoted(std::string_view& rest, std::int64_t line) {
  std::string field;
  rest.remove_prefix(1);
  while (true) {
    const std::size_t quote = rest.find('"');
    if (quote == std::string_view::npos) throw PlaceListFault(line, "a field in quotes does not end");
    field += rest.substr(0, quote);
    rest.remove_prefix(quote + 1);
    if (!rest.starts_with('"')) break;
    field += '"';
    rest.remove_prefix(1);
  }
  if (!Trimmed(rest.substr(0, rest.find(','))).empty()) throw PlaceListFault(line, "text stands behind a quoted field");
  return field;
}

/// The fields of a line, into the texts that are there from the line before.
void SplitFields(std::string_view line, std::int64_t number, std::vector<std::string>& fields) {
  fields.clear();
  for (bool hasMore = true; hasMore;) {
    const std::string_view trimmed = Trimmed(line);
    if (trimmed.starts_with('"')) {
      line = trimmed;
      fields.push_back(TakeQuoted(line, number));
    } else {
      fields.emplace_back(Trimmed(line.substr(0, line.find(','))));
    }
    const std::size_t comma = line.find(',');
    hasMore = comma != std::string_view::npos;
    if (hasMore) line.remove_prefix(comma + 1);
  }
}

std::string SmallLetters(std::string_view text) {
  XString lower(text);
  lower.MakeLower();
  return lower.AsStdString();
}

std::size_t FindColumn(std::span<const std::string> fields, std::span<const std::string_view> names) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (std::ranges::find(names, SmallLetters(fields[i])) != names.end()) return i;
  }
  throw PlaceListFault(1, "no field is called " + std::string(names[0]));
}

CsvColumns FindColumns(std::span<const std::string> fields) {
  constexpr std::array<std::string_view, 5> kLongitude = {"longitude", "lon", "long", "lng", "x"};
  constexpr std::array<std::string_view, 3> kLatitude = {"latitude", "lat", "y"};
  constexpr std::array<std::string_view, 4> kName = {"name", "place", "city", "title"};
  return {FindColumn(fields, kLongitude), FindColumn(fields, kLatitude), FindColumn(fields, kName)};
}

bool HasNumbers(std::span<const std::string> fields, const CsvColumns& columns, ListedPoint& point) {
  return std::max(columns.longitude, columns.latitude) < fields.size() &&
         ParsePlaceNumber(fields[columns.longitude], point.longitude) &&
         ParsePlaceNumber(fields[columns.latitude], point.latitude);
}

void TakeFields(std::span<const std::string> fields, const CsvColumns& columns, std::int64_t line, PlaceTaker& taker) {
  ListedPoint point;
  if (!HasNumbers(fields, columns, point)) throw PlaceListFault(line, "longitude and latitude are no numbers");
  taker.Take(point, columns.name < fields.size() ? std::string_view(fields[columns.name]) : std::string_view());
}

}  // namespace

void TakeCsv(PlaceLines& lines, PlaceTaker& taker) {
  std::vector<std::string> fields;
  std::optional<CsvColumns> columns;
  for (std::string_view line; lines.Next(line);) {
    if (Trimmed(line).empty()) continue;
    SplitFields(line, lines.GetNumber(), fields);
    if (!columns) {
      ListedPoint point;
      columns = CsvColumns();
      if (!HasNumbers(fields, *columns, point)) {
        columns = FindColumns(fields);
        continue;
      }
    }
    TakeFields(fields, *columns, lines.GetNumber(), taker);
  }
}

}  // namespace zrk
