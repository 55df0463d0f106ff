#pragma once

#include "tagXTileLevel.h"

#include <span>

namespace zrk {

// Where the levels of a store lie on the global grid, as callers of the compatible policy rely on it: a tile of level 0
// has 18 degrees, whatever the header says.

/// The side of a tile in degrees.
double GlobalTileSize(int level);
inline double WestOf(int col, double tileSize) {
  return col * tileSize - 180.0;
}
inline double SouthOf(int row, double tileSize) {
  return row * tileSize - 90.0;
}

/// What the levels cover together, in degrees, and the highest of their numbers. There is at least one.
struct StoreExtent {
  double west = 1.7e+308;
  double east = -1.7e+308;
  double south = 1.7e+308;
  double north = -1.7e+308;
  int lowestLevel = 0x7FFFFFFF;
  int highestLevel = -0x7FFFFFFF - 1;
};
StoreExtent CalcExtent(std::span<const tagXTileLevel> levels);

/// The level whose resolution is closest to that one, the first of several; null where none is.
const tagXTileLevel* FindClosest(std::span<const tagXTileLevel> levels, double resolution,
                                 double (*resolutionOf)(int level));

}  // namespace zrk
