#include "XTileGrid.h"

#include "base/Truncate.h"
#include "tiles/TileSize.h"

#include <climits>
#include <cmath>

namespace {

constexpr double kLevel0TileSize = 18.0;
constexpr double kSouth = -90.0;
constexpr double kWest = -180.0;

/// The number of the tile `distance` from the beginning of an axis. Truncation takes what lies a little before the
/// beginning to 0, so that such a place goes back by one.
int TileAt(double distance, double tileSize, bool isBefore) {
  const double tiles = distance / tileSize;
  if (std::isnan(tiles)) return INT_MIN;
  const int tile = zrk::TruncateToInt(tiles);
  return isBefore && tile > INT_MIN ? tile - 1 : tile;
}

}  // namespace

double XfnGetTileSize3D(int level) {
  return zrk::HalveTileSize(kLevel0TileSize, level);
}

void XfnGetRowColFromGeo(int level, double lon, double lat, int& row, int& col) {
  const double tileSize = XfnGetTileSize3D(level);
  row = TileAt(lat - kSouth, tileSize, lat < kSouth);
  col = TileAt(lon - kWest, tileSize, lon < kWest);
}

/// Whether a place lies before the beginning is asked of the place itself and not of the one moved a little.
void XfnGetRowColFromGeo(double tileSize, double lon, double lat, int& row, int& col) {
  constexpr double kInward = 1e-09;
  row = TileAt(lat - kInward - kSouth, tileSize, lat < kSouth);
  col = TileAt(lon - kInward - kWest, tileSize, lon < kWest);
}
