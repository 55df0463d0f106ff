#include "writers/globe/TilePlan.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>

namespace {

using zrk::Shard;
using zrk::TilePlan;
using zrk::TileStrip;
using zrk::UnitRange;

tagXTileLevel LevelOf(int number, int llRow, int llCol, int urRow, int urCol) {
  tagXTileLevel level;
  level.level = number;
  level.llRow = llRow;
  level.llCol = llCol;
  level.urRow = urRow;
  level.urCol = urCol;
  level.storageSize = 32768;
  return level;
}

}  // namespace

TEST(TilePlan, NumbersTilesRowByRow) {
  const TilePlan plan({LevelOf(3, 5, 10, 7, 14)});
  EXPECT_EQ(15, plan.CountTiles());
  const TileStrip strip = plan.StripAt(0, 7, 1);
  EXPECT_EQ(3, strip.level);
  EXPECT_EQ(6, strip.row);
  EXPECT_EQ(12, strip.col);
  EXPECT_EQ(1, strip.count);
}

TEST(TilePlan, EndsAStripWithItsRow) {
  const TilePlan plan({LevelOf(3, 5, 10, 7, 14)});
  EXPECT_EQ(2, plan.StripAt(0, 3, 8).count);
  EXPECT_EQ(5, plan.StripAt(0, 5, 8).count);
  EXPECT_EQ(1, plan.StripAt(0, 14, 8).count);
}

TEST(TilePlan, CountsUnitsOfEightTilesAndOneForTheRest) {
  const TilePlan plan({LevelOf(3, 0, 0, 0, 16), LevelOf(2, 0, 0, 0, 7)});
  EXPECT_EQ(3, plan.CountUnits(0));
  EXPECT_EQ(1, plan.CountUnits(1));
  EXPECT_EQ(4, plan.CountUnitsBefore(2));
  EXPECT_EQ(9, plan.CountTiles(0, {1, 3}));
}

TEST(TilePlan, GivesEveryUnitToOneShard) {
  const TilePlan plan({LevelOf(3, 0, 0, 9, 19)});
  for (const int count : {1, 2, 3, 7, 25, 40}) {
    std::int64_t next = 0, most = 0, least = INT64_MAX;
    for (int number = 1; number <= count; ++number) {
      const UnitRange units = plan.UnitsOf(0, {number, count});
      EXPECT_EQ(next, units.first);
      next = units.end;
      most = std::max(most, units.Count());
      least = std::min(least, units.Count());
    }
    EXPECT_EQ(plan.CountUnits(0), next);
    EXPECT_LE(most - least, 1);
  }
}

// 200 * 4^12 tiles are more than 2^31.
TEST(TilePlan, PlansMoreTilesThanAnIntHolds) {
  const TilePlan plan({LevelOf(12, 0, 0, 10 * 4096 - 1, 20 * 4096 - 1)});
  EXPECT_EQ(std::int64_t{3355443200}, plan.CountTiles());
  const TileStrip last = plan.StripAt(0, plan.CountTiles() - 1, 8);
  EXPECT_EQ(40959, last.row);
  EXPECT_EQ(81919, last.col);
  EXPECT_EQ(plan.CountUnits(0), plan.UnitsOf(0, {65536, 65536}).end);
}

TEST(TilePlan, HasNoTilesInAnInvertedRange) {
  const TilePlan plan({LevelOf(0, 3, 3, 2, 5)});
  EXPECT_EQ(0, plan.CountTiles());
  EXPECT_EQ(0, plan.CountUnits(0));
}

TEST(TilePlan, SaturatesWhereTilesAreMoreThanCanBeCounted) {
  const TilePlan plan({LevelOf(0, INT_MIN, INT_MIN, INT_MAX, INT_MAX), LevelOf(0, 0, 0, 0, 0)});
  EXPECT_EQ(INT64_MAX, plan.CountTiles());
}
