// Which samples a tile gives is worked out of coordinates in double precision, and callers rely on each step of it:
//
// - the tiles of a window are those of its corners, 1e-09 of a degree off, so that a corner on an edge belongs to the
//   tile below it or west of it;
// - a tile begins and ends at sample numbers that are cut to whole ones toward zero;
// - its k-th sample is the pixel k * scale, rounded, so that pixels are counted from the tile's first sample on and not
//   from its edge;
// - it gives no more samples than lie between its corners in pixels of the band, by the step of the level.
//
// A store may have far more tiles than a result has samples. Tiles that give none are leapt over: what a tile begins
// and ends with rises from tile to tile.

#include "tiles/pbi/PbiAxis.h"

#include "base/Truncate.h"
#include "tiles/StoreLevels.h"
#include "ZRMBand.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace zrk {

namespace {

constexpr double kPixelsOfTile = 256.0;
constexpr double kOffTheEdge = 1e-09;

/// One axis of the request, seen from the corner where its samples begin. Tiles are counted away from that corner.
struct Side {
  const PbiRequest& request;
  double tileSize;
  bool isRow;

  int TileAt(std::int64_t number) const { return static_cast<int>(isRow ? -number : number); }
  /// The distances of a tile's edges from the corner.
  double BeginOf(int tile) const {
    return isRow ? request.north - (SouthOf(tile, tileSize) + tileSize) : WestOf(tile, tileSize) - request.west;
  }
  double EndOf(int tile) const {
    return isRow ? request.north - SouthOf(tile, tileSize) : WestOf(tile, tileSize) + tileSize - request.west;
  }
};

/// From where to where a tile lies in pixels of the band.
struct BandRange {
  double begin;
  double end;
};

BandRange InBand(const Side& side, int tile) {
  const auto convert = [&](double x, double y) {
    side.request.band.ConvWorldToPixelCoord(x, y);
    return side.isRow ? y : x;
  };
  const double west = WestOf(tile, side.tileSize), south = SouthOf(tile, side.tileSize);
  return {convert(west, south + side.tileSize), convert(west + side.tileSize, south)};
}

/// The samples from `begin` up to `end`, without it. They may lie outside of the result.
struct SampleRange {
  int begin;
  int end;
};

SampleRange RangeOf(const Side& side, std::int64_t number) {
  const int tile = side.TileAt(number);
  return {TruncateToInt(side.BeginOf(tile) / side.request.step), TruncateToInt(side.EndOf(tile) / side.request.step)};
}

/// The first tile behind `number` that ends behind a sample, or `last` where none before it does.
std::int64_t LeapTo(const Side& side, std::int64_t number, std::int64_t last, int sample) {
  std::int64_t before = number, leap = 1;
  while (before + leap < last && RangeOf(side, before + leap).end <= sample) {
    before += leap;
    leap *= 2;
  }
  std::int64_t behind = std::min(before + leap, last);
  while (before + 1 < behind) {
    const std::int64_t middle = before + (behind - before) / 2;
    (RangeOf(side, middle).end <= sample ? before : behind) = middle;
  }
  return behind;
}

/// Rounds a number that is not negative, and halves upward. The system's function takes longer than all else here.
int RoundToInt(double number) {
  const int whole = static_cast<int>(number);
  return number - whole >= 0.5 ? whole + 1 : whole;
}

void TakeTile(const Side& side, std::int64_t number, const SampleRange& range, int count, StoreAxis& axis) {
  const int tile = side.TileAt(number);
  const double scale = side.request.step / (side.tileSize / kPixelsOfTile);
  const BandRange inBand = InBand(side, tile);
  const int first = std::max(range.begin, 0);
  axis.Visit(tile, first);
  for (int i = first; i < std::min(range.end, count); ++i) {
    const double k = static_cast<double>(std::int64_t{i} - range.begin);
    const double source = k * scale;
    if (!(inBand.begin + k * side.request.bandStep < inBand.end && source < INT_MAX - 1)) break;
    axis.Take(RoundToInt(source));
  }
  axis.DropEmpty();
}

void PlanSide(const Side& side, std::int64_t first, std::int64_t last, int count, StoreAxis& axis) {
  axis.Clear();
  for (std::int64_t number = first; number <= last;) {
    const SampleRange range = RangeOf(side, number);
    if (range.begin >= count) return;
    if (range.end > range.begin && range.end > 0) {
      TakeTile(side, number, range, count, axis);
      ++number;
    } else if (number == last) {
      return;
    } else {
      number = LeapTo(side, number, last, std::max(range.end, 0));
    }
  }
}

int TileOf(double degrees, double origin, double tileSize) {
  return TruncateToInt((degrees - kOffTheEdge + origin) / tileSize);
}

/// Cuts what lies beyond the tile's own size. Positions rise, so that these come last.
void CutToTile(int size, StoreAxis& axis) {
  for (StoreVisit& visit : axis.visits) {
    while (visit.count > 0 && axis.LastOf(visit) >= size) --visit.count;
  }
  std::erase_if(axis.visits, [](const StoreVisit& visit) { return visit.count == 0; });
}

}  // namespace

double PbiResolution(int level) {
  return GlobalTileSize(level) * 0.00390625;
}

void PlanPbiColumns(const PbiRequest& request, const tagXTileLevel& level, StoreAxis& axis) {
  const double tileSize = GlobalTileSize(level.level);
  PlanSide({request, tileSize, false}, TileOf(request.west, 180.0, tileSize), TileOf(request.east, 180.0, tileSize),
           request.width, axis);
  CutToTile(level.tileWidth, axis);
}

/// Rows are counted from the north, so that the lowest tile comes last.
void PlanPbiRows(const PbiRequest& request, const tagXTileLevel& level, StoreAxis& axis) {
  const double tileSize = GlobalTileSize(level.level);
  const std::int64_t highest = TileOf(request.north, 90.0, tileSize), lowest = TileOf(request.south, 90.0, tileSize);
  PlanSide({request, tileSize, true}, -highest, -lowest, request.height, axis);
  CutToTile(level.tileHeight, axis);
}

}  // namespace zrk
