#include "display/PictureGrid.h"

#include "base/Truncate.h"

#include <algorithm>
#include <cmath>

namespace zrk {

namespace {

/// How far beyond an edge a centre may lie, in pixels, and still count as within. World coordinates are seldom exact in
/// binary.
constexpr double kBeyondEdge = 1e-6;

/// The first and the last of so many pixels whose centres lie from `low` to `high`, which are counted in pixels from
/// the outer edge of the first.
void FindPixels(double low, double high, int size, int& first, int& last) {
  first = std::max(0, TruncateToInt(std::ceil(low - 0.5 - kBeyondEdge)));
  last = std::min(size - 1, TruncateToInt(std::floor(high - 0.5 + kBeyondEdge)));
}

}  // namespace

bool PictureGrid::IsPlaced() const {
  return std::isfinite(xStep) && std::isfinite(yStep) && xStep > 0.0 && yStep > 0.0 && std::isfinite(xCentre) &&
         std::isfinite(yCentre);
}

Window PictureGrid::Within(double west, double south, double east, double north) const {
  Window window;
  if (!(west <= east) || !(south <= north)) return {0, -1, 0, -1};
  FindPixels((west - Left()) / xStep, (east - Left()) / xStep, width, window.x0, window.x1);
  FindPixels((Top() - north) / yStep, (Top() - south) / yStep, height, window.y0, window.y1);
  return window;
}

}  // namespace zrk
