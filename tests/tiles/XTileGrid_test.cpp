#include "XTileGrid.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct GridTile {
  int row = 0;
  int col = 0;
  friend bool operator==(const GridTile&, const GridTile&) = default;
};

void PrintTo(const GridTile& tile, std::ostream* stream) {
  *stream << "row " << tile.row << ", col " << tile.col;
}

/// The tile by level, or by tile size where that is a double.
template <class Size>
GridTile GridTileOf(Size size, double lon, double lat) {
  GridTile tile;
  XfnGetRowColFromGeo(size, lon, lat, tile.row, tile.col);
  return tile;
}

}  // namespace

TEST(TileGrid, HalvesEighteenDegreesAtEveryLevel) {
  EXPECT_EQ(18.0, XfnGetTileSize3D(0));
  EXPECT_EQ(9.0, XfnGetTileSize3D(1));
  EXPECT_EQ(0.0703125, XfnGetTileSize3D(8));
  for (int level = 0; level <= 1075; ++level) EXPECT_EQ(std::ldexp(18.0, -level), XfnGetTileSize3D(level));
}

TEST(TileGrid, HasEighteenDegreesBelowLevelZeroToo) {
  EXPECT_EQ(18.0, XfnGetTileSize3D(-2));
  EXPECT_EQ(18.0, XfnGetTileSize3D(INT_MIN));
}

// From 9 times the smallest double on, each half is rounded to even: 4, 2, 1, 0.
TEST(TileGrid, RoundsEachHalfWhereADoubleEnds) {
  const double smallest = std::numeric_limits<double>::denorm_min();
  EXPECT_EQ(9 * smallest, XfnGetTileSize3D(1075));
  EXPECT_EQ(4 * smallest, XfnGetTileSize3D(1076));
  EXPECT_EQ(smallest, XfnGetTileSize3D(1078));
  EXPECT_EQ(0.0, XfnGetTileSize3D(1079));
  EXPECT_EQ(0.0, XfnGetTileSize3D(INT_MAX));
}

TEST(TileGrid, BeginsAtTheSouthWestCorner) {
  EXPECT_EQ((GridTile{0, 0}), GridTileOf(0, -180.0, -90.0));
  EXPECT_EQ((GridTile{0, 0}), GridTileOf(7, -180.0, -90.0));
}

TEST(TileGrid, CountsRowsUpwardAndColumnsEastward) {
  EXPECT_EQ((GridTile{5, 10}), GridTileOf(0, 0.0, 0.0));
  EXPECT_EQ((GridTile{10, 20}), GridTileOf(1, 0.0, 0.0));
  EXPECT_EQ((GridTile{(10 << 8) / 2 + 512, (20 << 8) / 2 + 1024}), GridTileOf(8, 72.0, 36.0));
}

TEST(TileGrid, HasANegativeTileBeforeItsBeginning) {
  EXPECT_EQ((GridTile{-1, 0}), GridTileOf(0, -180.0, -90.5));
  EXPECT_EQ((GridTile{0, -1}), GridTileOf(0, -180.25, -90.0));
  // 18 degrees before the beginning are one whole tile, and one more is taken off.
  EXPECT_EQ((GridTile{-2, -3}), GridTileOf(0, -180.0 - 36.0, -90.0 - 18.0));
}

TEST(TileGrid, IsNotCutAtItsOtherEnd) {
  EXPECT_EQ((GridTile{10, 20}), GridTileOf(0, 180.0, 90.0));
  EXPECT_EQ((GridTile{40, 80}), GridTileOf(2, 180.0, 90.0));
}

TEST(TileGrid, GivesAnEdgeToTheUpperTileByLevelAndToTheLowerBySize) {
  EXPECT_EQ((GridTile{1, 11}), GridTileOf(0, 18.0, 18.0 - 90.0));
  EXPECT_EQ((GridTile{0, 10}), GridTileOf(18.0, 18.0, 18.0 - 90.0));
  EXPECT_EQ((GridTile{9, 19}), GridTileOf(18.0, 180.0, 90.0));
}

TEST(TileGrid, ComparesPlacesWithItsBeginningAsTheyAre) {
  // What is taken off leaves these in row and column 0, because truncation goes toward zero and -90 is not below -90.
  EXPECT_EQ((GridTile{0, 0}), GridTileOf(18.0, -180.0, -90.0));
  EXPECT_EQ((GridTile{-1, -1}), GridTileOf(18.0, -180.5, -90.5));
}

TEST(TileGrid, TakesAnyTileSize) {
  EXPECT_EQ((GridTile{3, 8}), GridTileOf(7.5, -180.0 + 61.0, -90.0 + 29.0));
}

TEST(TileGrid, CutsPlacesThatNoIntHolds) {
  EXPECT_EQ((GridTile{INT_MAX, INT_MAX}), GridTileOf(0, 1e300, kInfinity));
  EXPECT_EQ((GridTile{INT_MIN, INT_MIN}), GridTileOf(0, -kInfinity, -1e300));
  EXPECT_EQ((GridTile{INT_MAX, INT_MAX}), GridTileOf(INT_MAX, 0.0, 0.0));
  EXPECT_EQ((GridTile{INT_MAX, INT_MAX}), GridTileOf(0.0, 0.0, 0.0));
}

TEST(TileGrid, HasNoTileForWhatIsNotANumber) {
  EXPECT_EQ((GridTile{INT_MIN, INT_MIN}), GridTileOf(0, kNaN, kNaN));
  EXPECT_EQ((GridTile{INT_MIN, INT_MIN}), GridTileOf(kNaN, 0.0, 0.0));
}
