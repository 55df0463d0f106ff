#include "tiles/TilePlace.h"

#include "base/Checked.h"

#include <algorithm>

namespace zrk {

namespace {

/// Numbers from `first` to `last`, both inclusive.
std::int64_t CountOf(int first, int last) {
  return std::max<std::int64_t>(std::int64_t{last} - first + 1, 0);
}

}  // namespace

std::int64_t CountTiles(const tagXTileLevel& level) {
  return CheckedMultiply(CountOf(level.llRow, level.urRow), CountOf(level.llCol, level.urCol)).value_or(INT64_MAX);
}

std::int64_t CountTileBytes(const tagXTileLevel& level) {
  return CheckedMultiply(CountTiles(level), std::max(level.storageSize, 0)).value_or(INT64_MAX);
}

/// Distances within a range of ints have up to 32 bits, so that the number of a tile may pass 64.
std::optional<std::int64_t> OffsetOfTile(const tagXTileLevel& level, int row, int col) {
  if (!HoldsTile(level, row, col) || level.startPos > static_cast<std::uint64_t>(INT64_MAX)) return std::nullopt;
  const auto rowsBelow = CheckedMultiply(CountOf(level.llCol, level.urCol), std::int64_t{row} - level.llRow);
  const auto tilesBefore = rowsBelow ? CheckedAdd(*rowsBelow, std::int64_t{col} - level.llCol) : std::nullopt;
  const auto distance = tilesBefore ? CheckedMultiply(*tilesBefore, level.storageSize) : std::nullopt;
  const auto offset = distance ? CheckedAdd(*distance, static_cast<std::int64_t>(level.startPos)) : std::nullopt;
  return offset && *offset >= 0 ? offset : std::nullopt;
}

}  // namespace zrk
