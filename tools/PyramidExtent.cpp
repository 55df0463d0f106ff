#include "PyramidExtent.h"

#include "XTileGrid.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMaxLevel = 30;
constexpr int kPixelsOfPicture = 256;
constexpr int kStepsOfPosts = 30;
/// How much of a tile may be lost in sums of coordinates.
constexpr double kSlack = 1e-6;

/// Edges of tiles on one axis that begins at `origin` degrees.
struct Edges {
  double lower;
  double upper;
};

Edges SnapOutward(double lower, double upper, double origin, double tileSize) {
  const double first = std::floor((lower - origin) / tileSize + kSlack);
  const double last = std::max(std::ceil((upper - origin) / tileSize - kSlack), first + 1.0);
  return {origin + first * tileSize, origin + last * tileSize};
}

}  // namespace

LonLatBox CutToGlobe(const LonLatBox& box, double halfPixel) {
  LonLatBox cut{box.west + halfPixel, std::max(box.south + halfPixel, -90.0), box.east - halfPixel,
                std::min(box.north - halfPixel, 90.0)};
  // A grid of the whole earth may begin anywhere, and lacks a step to its own beginning where a post was taken off.
  const bool isWhole = box.east - box.west >= 360.0 - 2.0 * halfPixel - kSlack;
  if (isWhole || cut.west < -180.0 || cut.east > 180.0) {
    cut.west = -180.0;
    cut.east = 180.0;
  }
  return cut;
}

LevelSpan ChooseLevels(const LonLatBox& box, double finestPixel, bool areHeights) {
  const int perTile = areHeights ? kStepsOfPosts : kPixelsOfPicture;
  LevelSpan levels;
  while (levels.last < kMaxLevel && XfnGetTileSize3D(levels.last) / perTile > finestPixel * (1.0 + kSlack)) {
    ++levels.last;
  }
  const double side = std::max(box.east - box.west, box.north - box.south);
  while (levels.first < levels.last && XfnGetTileSize3D(levels.first) > side * (1.0 + kSlack)) ++levels.first;
  if (!areHeights) levels.first = std::max(levels.first, levels.last - kMaxPictureLevels + 1);
  return levels;
}

void SetExtent(const LonLatBox& box, const LevelSpan& levels, tagXGlobeExport& what) {
  const double tileSize = XfnGetTileSize3D(levels.first);
  const Edges lon = SnapOutward(box.west, box.east, -180.0, tileSize);
  const Edges lat = SnapOutward(box.south, box.north, -90.0, tileSize);
  const double inward = what.isElevation ? 0.0 : tileSize / (2 * kPixelsOfPicture);
  what.minLevel = levels.first;
  what.maxLevel = levels.last;
  what.minLon = lon.lower;
  what.minLat = lat.lower;
  what.maxLon = lon.upper - inward;
  what.maxLat = lat.upper - inward;
}
