// An elevation cell begins with up to two labels of 80 bytes, which tapes have ("VOL", "HDR"). Three records of 80, 648
// and 2,700 bytes follow ("UHL", "DSI", "ACC"), and then the columns. All fields are text. The first tag alone tells
// how many labels there are, and the fields lie at fixed offsets behind them.

#include "bands/dted/DtedHeader.h"

#include "base/Cursor.h"

#include <algorithm>
#include <array>
#include <string>

namespace zrk {

namespace {

using Leader = std::span<const unsigned char>;

constexpr std::int64_t kDataStart = 80 + 648 + 2700;

/// A field as far as the leader has it, so that a short file gives short fields and not a failure.
Cursor FieldAt(Leader leader, std::size_t offset, std::size_t length) {
  const Leader rest = leader.subspan(std::min(offset, leader.size()));
  return Cursor(rest.first(std::min(length, rest.size())));
}

std::string TextAt(Leader leader, std::size_t offset, std::size_t length) {
  Cursor field = FieldAt(leader, offset, length);
  return std::string(field.Text(field.Remaining()));
}

std::string CapitalsAt(Leader leader, std::size_t offset, std::size_t length) {
  std::string text = TextAt(leader, offset, length);
  for (char& letter : text) {
    if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
  }
  return text;
}

int NumberAt(Leader leader, std::size_t offset, std::size_t length) {
  Cursor field = FieldAt(leader, offset, length);
  return static_cast<int>(field.Number(field.Remaining()));
}

/// An angle is so many digits of degrees, then minutes, seconds and a hemisphere. Only the letter of the positive
/// hemisphere counts: a corner without a letter is south or west.
double AngleAt(Leader leader, std::size_t offset, std::size_t digits, char positive) {
  const double degrees = NumberAt(leader, offset, digits);
  const double minutes = NumberAt(leader, offset + digits, 2);
  const double seconds = NumberAt(leader, offset + digits + 2, 2);
  const double angle = degrees + minutes / 60.0 + seconds / 3600.0;
  const bool isPositive = CapitalsAt(leader, offset + digits + 4, 1) == std::string(1, positive);
  return isPositive ? angle : -angle;
}

double LatitudeAt(Leader leader, std::size_t offset) {
  return AngleAt(leader, offset, 2, 'N');
}

double LongitudeAt(Leader leader, std::size_t offset) {
  return AngleAt(leader, offset, 3, 'E');
}

}  // namespace

bool HasDtedMark(Leader leader) {
  constexpr std::array<std::size_t, 3> kPlaces = {129, 139, 219};
  return std::ranges::any_of(kPlaces, [&](std::size_t place) { return CapitalsAt(leader, place, 4) == "DTED"; });
}

std::optional<DtedLayout> FindDtedLayout(Leader leader) {
  const std::string tag = CapitalsAt(leader, 0, 3);
  if (tag == "UHL") return DtedLayout{kDataStart, 0};
  if (tag == "HDR") return DtedLayout{kDataStart + 80, 80};
  if (tag == "VOL") return DtedLayout{kDataStart + 160, 160};
  if (tag == "DSI" || tag == "ACC") return std::nullopt;
  // Columns are then looked for from the very first byte.
  return DtedLayout{0, 0};
}

/// The numbers of columns and rows stand in the first record, and the series in the second.
DtedSize ParseDtedSize(Leader leader, std::size_t shift) {
  return {NumberAt(leader, shift + 47, 4), NumberAt(leader, shift + 51, 4), TextAt(leader, shift + 139, 5).c_str()};
}

/// Datum and corners stand in the second record. The corners in the south-west and the north-east bound the cell.
DtedPlace ParseDtedPlace(Leader leader, std::size_t shift) {
  DtedPlace place;
  place.south = LatitudeAt(leader, shift + 284);
  place.west = LongitudeAt(leader, shift + 291);
  place.north = LatitudeAt(leader, shift + 314);
  place.east = LongitudeAt(leader, shift + 321);
  place.datum = CapitalsAt(leader, shift + 224, 5).c_str();
  return place;
}

}  // namespace zrk
