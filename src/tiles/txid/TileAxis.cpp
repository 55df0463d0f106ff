// Results are put together tile by tile, and a tile's part of a result is a rectangle, so that both axes can be planned
// each for itself before anything is read.
//
// The exact plan is one of whole numbers. The compatible plan follows the coordinates of tiles and samples in double
// precision, since it depends on their rounding which of two tiles a sample at a seam shows. Only the tiles around a
// sample are asked, so that the plan takes no longer than the result is large, whatever the tiles of a store are.
//
// Rounding decides at the rims of a tile alone. Between them a coordinate that is rounded leads to the same pixel as
// whole numbers do, as long as the origin of the store is not so far away that rounding comes near to half a pixel.

#include "tiles/txid/TileAxis.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zrk {
namespace {

constexpr double kDegreesPerUnit = 1e-08;

/// Rounded to minus infinity, as no quotient in C++ is.
constexpr std::int64_t FloorQuotient(std::int64_t number, std::int64_t divisor) {
  return number / divisor - (number % divisor < 0 ? 1 : 0);
}

std::int64_t Clamp(double number) {
  constexpr double kBound = 4e9;  // beyond any position
  return static_cast<std::int64_t>(std::isnan(number) ? 0.0 : std::clamp(number, -kBound, kBound));
}

/// The longest part of the sources whose steps are those of the level. All of them are it but at the rims of a tile.
void FindRun(const TileAxis& axis, TileVisit& visit) {
  const int* const sources = axis.SourcesOf(visit);
  visit.runBegin = visit.runCount = 0;
  for (int begin = 0; begin < visit.count;) {
    int end = begin + 1;
    while (end < visit.count && sources[end] - sources[end - 1] == axis.step) ++end;
    if (end - begin > visit.runCount) {
      visit.runBegin = begin;
      visit.runCount = end - begin;
    }
    begin = end;
  }
}

void AddVisit(int tile, int first, std::size_t sources, TileAxis& axis) {
  TileVisit visit{tile, first, static_cast<int>(axis.sources.size() - sources), sources, 0, 0};
  if (visit.count == 0) return;
  FindRun(axis, visit);
  axis.visits.push_back(visit);
}

void Begin(const AxisRequest& request, TileAxis& axis) {
  axis.step = 1 << request.level;
  axis.visits.clear();
  axis.sources.clear();
}

/// The samples of a tile by coordinates.
class TileSamples {
 public:
  TileSamples(const AxisPlace& place, const AxisRequest& request)
      : place_(place),
        request_(request),
        unit_(static_cast<double>(place.pixelSize) * kDegreesPerUnit),
        sampleSize_(unit_ * std::ldexp(1.0, request.level)),
        start_(At(place.pixelSize * request.from)),
        isFine_(std::abs(place.origin) < unit_ * std::ldexp(1.0, 46)) {}

  void Add(std::int64_t tile, TileAxis& axis) const {
    const double edge = At(place_.tileSize * place_.pixelSize * tile);
    if (isFine_) return AddFine(tile, edge, axis);
    const std::size_t sources = axis.sources.size();
    std::int64_t first = 0;
    for (std::int64_t i = FindFirst(tile, edge); i <= FindLast(tile, edge); ++i) {
      const double source = (Way(edge, SampleAt(i))) / unit_ + 0.5;
      if (!(source > -1.0 && source < place_.tileSize + 1.0)) continue;
      if (axis.sources.size() == sources) first = i;
      axis.sources.push_back(std::min(static_cast<int>(source), place_.tileSize - 1));
    }
    AddVisit(static_cast<int>(tile), static_cast<int>(first), sources, axis);
  }

 private:
  /// The same by whole numbers. A sample may lie one pixel before the tile or one behind it.
  void AddFine(std::int64_t tile, double edge, TileAxis& axis) const {
    const std::int64_t step = axis.step, start = request_.from - tile * place_.tileSize;
    const std::int64_t first = std::max(FindFirst(tile, edge), -FloorQuotient(start + 1, step));
    const std::int64_t last = std::min(FindLast(tile, edge), FloorQuotient(place_.tileSize - start, step));
    if (last < first) return;
    const std::size_t sources = axis.sources.size();
    axis.sources.resize(sources + static_cast<std::size_t>(last - first + 1));
    int* const to = axis.sources.data() + sources;
    const int count = static_cast<int>(last - first + 1), begin = static_cast<int>(start + first * step);
    for (int i = 0; i < count; ++i) to[i] = begin + i * axis.step;
    to[0] = std::max(to[0], 0);
    to[count - 1] = std::min(to[count - 1], place_.tileSize - 1);
    AddVisit(static_cast<int>(tile), static_cast<int>(first), sources, axis);
  }

  /// The coordinate so many units from the origin.
  double At(std::int64_t units) const {
    return place_.origin + place_.sign * (static_cast<double>(units) * kDegreesPerUnit);
  }
  double SampleAt(std::int64_t i) const {
    return place_.sign > 0 ? static_cast<double>(i) * sampleSize_ + start_
                           : start_ - static_cast<double>(i) * sampleSize_;
  }
  /// From one coordinate to another, counted in the direction of positions.
  double Way(double from, double to) const { return place_.sign > 0 ? to - from : from - to; }

  /// The pixels from the tile's edge to sample 0, in samples of the level and rounded down, without coordinates.
  std::int64_t CountTo(std::int64_t tile, std::int64_t pixels) const {
    return FloorQuotient(tile * place_.tileSize + pixels - request_.from, std::int64_t{1} << request_.level);
  }
  // Coordinates so large that their rounding exceeds a pixel would give samples anywhere, so whole numbers bound them.
  std::int64_t FindFirst(std::int64_t tile, double edge) const {
    const std::int64_t first = Clamp(std::floor(Way(start_, edge) / sampleSize_));
    return std::max({first, CountTo(tile, -1) - 1, std::int64_t{0}});
  }
  std::int64_t FindLast(std::int64_t tile, double edge) const {
    const double tileExtent = unit_ * place_.tileSize;
    const double way = place_.sign > 0 ? (edge + tileExtent) - start_ : (start_ - edge) + tileExtent;
    const std::int64_t last = Clamp(std::ceil(way / sampleSize_));
    return std::min({last, CountTo(tile, place_.tileSize) + 1, std::int64_t{request_.count} - 1});
  }

  AxisPlace place_;
  AxisRequest request_;
  double unit_;        // of a pixel, in degrees
  double sampleSize_;  // the same of a pixel of the level
  double start_;       // the coordinate of sample 0
  bool isFine_;        // coordinates are off by far less than half a pixel
};

}  // namespace

void PlanExactly(const AxisPlace& place, const AxisRequest& request, TileAxis& axis) {
  Begin(request, axis);
  const std::int64_t step = axis.step;
  for (int first = 0; first < request.count;) {
    const std::int64_t position = request.from + first * step;
    const int tile = static_cast<int>(position / place.tileSize);
    const int source = static_cast<int>(position % place.tileSize);
    const auto inTile =
        static_cast<int>(std::min<std::int64_t>((place.tileSize - 1 - source) / step + 1, request.count - first));
    const std::size_t sources = axis.sources.size();
    axis.sources.resize(sources + static_cast<std::size_t>(inTile));
    int* const to = axis.sources.data() + sources;
    for (int i = 0; i < inTile; ++i) to[i] = source + i * axis.step;
    axis.visits.push_back({tile, first, inTile, sources, 0, inTile});
    first += inTile;
  }
}

/// A sample may be given by its own tile, by the one before and by the one behind.
void PlanByCoordinates(const AxisPlace& place, const AxisRequest& request, TileAxis& axis) {
  Begin(request, axis);
  const TileSamples samples(place, request);
  const std::int64_t last = request.to / place.tileSize;
  std::int64_t next = request.from / place.tileSize;
  for (int i = 0; i < request.count && next <= last; ++i) {
    const std::int64_t tile = (request.from + std::int64_t{i} * axis.step) / place.tileSize;
    for (next = std::max(next, tile - 1); next <= std::min(tile + 1, last); ++next) samples.Add(next, axis);
  }
}

}  // namespace zrk
