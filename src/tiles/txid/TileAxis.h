#pragma once

#include "tagTxiInfo.h"

#include <cstddef>
#include <vector>

namespace zrk {

/// What a tile gives to one row, or to one column, of a result: samples `first` to `first + count - 1` of the result.
struct TileVisit {
  int tile;
  int first;
  int count;
  std::size_t sources;  ///< where the positions in the tile of these samples begin in `TileAxis::sources`
  int runBegin;         ///< the samples from here on, counted from `first`, lie `TileAxis::step` apart
  int runCount;
};

/// One axis of a window of a store, x or y: which tiles it meets, in their order, and which of their samples it takes.
/// A sample of the result may be given by two tiles, of which the later one counts.
struct TileAxis {
  int step = 1;
  std::vector<TileVisit> visits;
  std::vector<int> sources;  ///< rows count from the top of the tile

  const int* SourcesOf(const TileVisit& visit) const { return sources.data() + visit.sources; }
};

/// One axis of a request: the pixels from `from` to `to`, every 2^level-th of them, `count` in all.
struct AxisRequest {
  int level;
  int from;
  int to;
  int count;
};

/// The store along one axis. `sign` is 1 where coordinates grow with positions, and -1 otherwise.
struct AxisPlace {
  int tileSize;
  std::int64_t pixelSize;  ///< in units of 1e-08 degree
  double origin;
  int sign;
};

inline AxisPlace ColumnsOf(const tagTxiInfo& info) {
  return {info.tileSize, info.xPixelSize, info.x, 1};
}
inline AxisPlace RowsOf(const tagTxiInfo& info) {
  return {info.tileSize, info.yPixelSize, info.y, -1};
}

/// Sample i is the pixel `from` + i * 2^level.
void PlanExactly(const AxisPlace& place, const AxisRequest& request, TileAxis& axis);

/// The arithmetic that callers rely on goes through coordinates. It takes samples of one pixel before a tile, and of
/// one behind it, from the tile's own rim. Where the neighbour is absent, that is what the result shows.
void PlanByCoordinates(const AxisPlace& place, const AxisRequest& request, TileAxis& axis);

}  // namespace zrk
