#include "writers/globe/TilePlan.h"

#include "base/Checked.h"
#include "tiles/TilePlace.h"

#include <algorithm>
#include <utility>

namespace zrk {

TilePlan::TilePlan(std::vector<tagXTileLevel> levels) : levels_(std::move(levels)) {}

std::int64_t TilePlan::CountTiles() const {
  std::int64_t count = 0;
  for (const tagXTileLevel& level : levels_) count = CheckedAdd(count, zrk::CountTiles(level)).value_or(INT64_MAX);
  return count;
}

std::int64_t TilePlan::CountTiles(int index) const {
  return zrk::CountTiles(GetLevel(index));
}

std::int64_t TilePlan::CountUnits(int index) const {
  const std::int64_t count = CountTiles(index);
  return count / kTilesOfUnit + (count % kTilesOfUnit > 0 ? 1 : 0);
}

std::int64_t TilePlan::CountUnitsBefore(int index) const {
  std::int64_t count = 0;
  for (int i = 0; i < index; ++i) count = CheckedAdd(count, CountUnits(i)).value_or(INT64_MAX);
  return count;
}

/// The first shards get one unit more where the division leaves some over.
UnitRange TilePlan::UnitsOf(int index, const Shard& shard) const {
  const std::int64_t each = CountUnits(index) / shard.count, left = CountUnits(index) % shard.count;
  const auto begin = [&](std::int64_t before) { return each * before + std::min(before, left); };
  return {begin(shard.number - 1), begin(shard.number)};
}

std::int64_t TilePlan::CountTiles(int index, const UnitRange& units) const {
  const auto tilesBefore = [&](std::int64_t unit) {
    return std::min(CheckedMultiply(unit, kTilesOfUnit).value_or(INT64_MAX), CountTiles(index));
  };
  return tilesBefore(units.end) - tilesBefore(units.first);
}

TileStrip TilePlan::StripAt(int index, std::int64_t tile, int most) const {
  const tagXTileLevel& level = GetLevel(index);
  const std::int64_t numColumns = std::int64_t{level.urCol} - level.llCol + 1;
  const std::int64_t row = tile / numColumns, column = tile % numColumns;
  const std::int64_t left = std::min(numColumns - column, CountTiles(index) - tile);
  return {level.level, static_cast<int>(level.llRow + row), static_cast<int>(level.llCol + column),
          static_cast<int>(std::min<std::int64_t>(left, most))};
}

}  // namespace zrk
