// A level of an elevation store as one raster of floats. Each tile gives 30 by 30 of them, without the posts that it
// shares with its neighbours in the north and the east. All 30 lines of a tile repeat the first 30 posts of its second
// row, because readers of these rasters have always got them so.

#include "tiles/ElevationBip.h"

#include "base/Checked.h"
#include "tiles/TilePlace.h"
#include "XFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <vector>

namespace zrk {

namespace {

constexpr int kSide = 30;
constexpr std::int64_t kTileBytes = std::int64_t{kSide} * kSide * 4;

/// A number with six digits behind the point, whatever the locale.
XString WithSixDigits(double number) {
  std::array<char, 400> text;
  const std::to_chars_result result =
      std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 6);
  return XString(std::string_view(text.data(), result.ptr));
}

XString Line(const char* name, double number) {
  return XString(name) + WithSixDigits(number) + "\n";
}

/// Writes the lines of a row of tiles, all of which are equal.
bool WriteRowOfTiles(XFile& file, std::span<const float> line) {
  static_assert(std::endian::native == std::endian::little);
  for (int i = 0; i < kSide; ++i) {
    if (!file.Write(line.data(), static_cast<std::int64_t>(line.size_bytes()))) return false;
  }
  return true;
}

}  // namespace

XString DescribeBip(const tagXTileLevel& level) {
  const std::int64_t bytes = CheckedMultiply(CountTiles(level), kTileBytes).value_or(INT64_MAX);
  XString number;
  number.Format("nLevel: %d\n", level.level);
  XString size;
  size.Format(" size(byte): %lld\n", static_cast<long long>(bytes));
  return number + Line(" lllat: ", level.llRow * level.tileSize - 90.0) +
         Line(" lllon: ", level.llCol * level.tileSize - 180.0) +
         Line(" urlat: ", level.urRow * level.tileSize - 90.0) +
         Line(" urlon: ", level.urCol * level.tileSize - 180.0) + size +
         " size(mega): " + WithSixDigits(static_cast<double>(bytes) * 0.0009765625 * 0.0009765625) + "  type(float)\n";
}

bool WriteBip(const XString& path, const tagXTileLevel& level, const FirstFloats& firstFloats) {
  XFile file;
  if (!file.Open(path, XFile::kReadWrite | XFile::kCreate)) return false;
  const std::int64_t numColumns = std::int64_t{level.urCol} - level.llCol + 1;
  std::vector<float> line(static_cast<std::size_t>(numColumns * kSide));
  std::array<float, kBipFloatsOfTile> floats;
  for (std::int64_t row = level.urRow; row >= level.llRow; --row) {
    for (std::int64_t col = 0; col < numColumns; ++col) {
      if (!firstFloats(static_cast<int>(row), static_cast<int>(level.llCol + col), floats)) return false;
      std::copy_n(floats.begin() + kSide + 1, kSide, line.begin() + col * kSide);
    }
    if (!WriteRowOfTiles(file, line)) return false;
  }
  return true;
}

}  // namespace zrk
