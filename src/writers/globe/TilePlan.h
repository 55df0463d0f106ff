#pragma once

#include "tagXTileLevel.h"

#include <cstdint>
#include <vector>

namespace zrk {

/// Tiles that lie beside each other in a row of a level, and so behind each other in the file.
struct TileStrip {
  int level = 0;
  int row = 0;
  int col = 0;
  int count = 0;
};

/// Units from `first` on, `end` not included.
struct UnitRange {
  std::int64_t first = 0;
  std::int64_t end = 0;

  std::int64_t Count() const { return end - first; }
};

/// One of several parts that an export is divided into, counted from 1.
struct Shard {
  int number = 1;
  int count = 1;
};

/// What an export makes, level by level in the order in which levels are made. Nothing is kept for a tile: its number
/// and its place follow from each other. Tiles of a level are numbered from 0 as they lie in the file, row by row.
///
/// Work is handed out by units of eight tiles, which a record of done tiles has a byte for, so that no two workers and
/// no two processes ever write into the same byte. The last unit of a level may have fewer.
class TilePlan {
 public:
  static constexpr int kTilesOfUnit = 8;

  TilePlan() = default;
  explicit TilePlan(std::vector<tagXTileLevel> levels);

  int CountLevels() const { return static_cast<int>(levels_.size()); }
  const tagXTileLevel& GetLevel(int index) const { return levels_[static_cast<std::size_t>(index)]; }

  /// Tiles of all levels, and of one. INT64_MAX for more than 64 bits hold.
  std::int64_t CountTiles() const;
  std::int64_t CountTiles(int index) const;
  std::int64_t CountUnits(int index) const;
  /// Units of all levels before this one.
  std::int64_t CountUnitsBefore(int index) const;

  /// The units of a level that a shard makes: neighbours, and as many for each shard as far as they can be shared.
  UnitRange UnitsOf(int index, const Shard& shard) const;
  /// Tiles in a range of units of a level.
  std::int64_t CountTiles(int index, const UnitRange& units) const;

  /// The tiles from a number on, as many of `most` as lie in the same row.
  TileStrip StripAt(int index, std::int64_t tile, int most) const;

 private:
  std::vector<tagXTileLevel> levels_;
};

}  // namespace zrk
