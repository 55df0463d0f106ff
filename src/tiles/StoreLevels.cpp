#include "tiles/StoreLevels.h"

#include "tiles/TileSize.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zrk {

double GlobalTileSize(int level) {
  return HalveTileSize(18.0, level);
}

StoreExtent CalcExtent(std::span<const tagXTileLevel> levels) {
  StoreExtent extent;
  for (const tagXTileLevel& level : levels) {
    const double t = GlobalTileSize(level.level);
    const double west = WestOf(level.llCol, t), south = SouthOf(level.llRow, t);
    extent.west = std::min(extent.west, west);
    extent.south = std::min(extent.south, south);
    extent.east = std::max(extent.east, static_cast<double>(std::int64_t{level.urCol} - level.llCol + 1) * t + west);
    extent.north = std::max(extent.north, static_cast<double>(std::int64_t{level.urRow} - level.llRow + 1) * t + south);
    extent.lowestLevel = std::min(extent.lowestLevel, level.level);
    extent.highestLevel = std::max(extent.highestLevel, level.level);
  }
  return extent;
}

const tagXTileLevel* FindClosest(std::span<const tagXTileLevel> levels, double resolution,
                                 double (*resolutionOf)(int level)) {
  const tagXTileLevel* closest = nullptr;
  double smallest = std::numeric_limits<double>::infinity();
  for (const tagXTileLevel& level : levels) {
    const double difference = std::abs(resolutionOf(level.level) - resolution);
    if (difference >= smallest || std::isnan(difference)) continue;
    smallest = difference;
    closest = &level;
  }
  return closest;
}

}  // namespace zrk
