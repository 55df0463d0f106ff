// Which posts of which tiles a compatible read of an elevation store gives, along one axis. The place of a sample in a
// tile is counted in steps between posts, of which a tile has 30, and cut to a whole number. Callers rely on the
// rounding of each step.
//
// Each tile that may have a place is therefore asked in turn, and the tile's own count decides. The count is below 0
// before the tile and above 30 behind it.

#include "tiles/pbe/PbeAxis.h"

#include "base/Truncate.h"
#include "tiles/StoreLevels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zrk {

namespace {

constexpr double kSteps = 30.0;

double ColumnAt(double x, int tile, double tileSize) {
  const double west = WestOf(tile, tileSize), east = west + tileSize;
  return west == east ? 0.0 : ((x - west) * kSteps) / (east - west) + 0.0;
}

double RowAt(double y, int tile, double tileSize) {
  const double south = SouthOf(tile, tileSize), north = south + tileSize;
  return south == north ? kSteps : kSteps - ((y - south) * kSteps) / (north - south);
}

/// An axis of tiles in the order in which places meet them.
struct TileOrder {
  double tileSize;
  int first;
  int last;
  double origin;  ///< what places are counted from, taken negative
  bool isRow;

  double PositionOf(double place, int tile) const {
    return isRow ? RowAt(place, tile, tileSize) : ColumnAt(place, tile, tileSize);
  }
  /// The tiles that may have a place: that in which it lies, and its neighbours, since it may lie on an edge.
  std::int64_t TileNear(double place, int neighbour) const {
    return std::int64_t{TruncateToInt(std::floor((place + origin) / tileSize))} + (isRow ? -neighbour : neighbour);
  }
  bool Holds(std::int64_t tile) const { return first <= tile && tile <= last; }
  bool IsBehind(std::int64_t tile, std::int64_t other) const { return isRow ? tile < other : tile > other; }
};

/// Takes the places that a tile has. Answers where the first of them is, which no later tile has a place before.
std::size_t TakePlaces(const PostPlaces& places, std::size_t begin, const TileOrder& order, int tile, StoreAxis& axis) {
  std::size_t i = begin;
  while (i < places.size() && !(order.PositionOf(places[i], tile) >= 0.0)) ++i;
  const std::size_t firstOfTile = i;
  axis.Visit(tile, static_cast<int>(i));
  for (; i < places.size(); ++i) {
    const double position = order.PositionOf(places[i], tile);
    if (!(position <= kSteps)) break;
    axis.Take(static_cast<int>(position));
  }
  axis.DropEmpty();
  return firstOfTile < places.size() ? firstOfTile : begin;
}

void Plan(const PostPlaces& places, const TileOrder& order, StoreAxis& axis) {
  axis.Clear();
  bool hasTile = false;
  std::int64_t last = 0;
  std::size_t begin = 0;
  for (const double place : places) {
    for (const int neighbour : {-1, 0, 1}) {
      const std::int64_t tile = order.TileNear(place, neighbour);
      if (!order.Holds(tile) || (hasTile && !order.IsBehind(tile, last))) continue;
      begin = TakePlaces(places, begin, order, static_cast<int>(tile), axis);
      hasTile = true;
      last = tile;
    }
  }
}

}  // namespace

double PbeResolution(int level) {
  return GlobalTileSize(level) / kSteps;
}

void WalkPlaces(double from, double step, int count, PostPlaces& places) {
  places.resize(static_cast<std::size_t>(count));
  for (double& place : places) {
    place = from;
    from += step;
  }
}

void PlanPbeColumns(const PostPlaces& places, double tileSize, int first, int last, StoreAxis& axis) {
  Plan(places, {tileSize, first, last, 180.0, false}, axis);
}

/// Tiles are taken from the south on, so that of two that share an edge the northern one counts.
void PlanPbeRows(const PostPlaces& places, double tileSize, int first, int last, StoreAxis& axis) {
  Plan(places, {tileSize, first, last, 90.0, true}, axis);
  std::ranges::reverse(axis.visits);
}

}  // namespace zrk
