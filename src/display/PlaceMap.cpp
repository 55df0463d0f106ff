#include "display/PlaceMap.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zrk {

/// Rows of a picture go south, so that its steps downward are negative in the world. Without a transformation the steps
/// are straight ones, which make a single one.
PlaceMap::PlaceMap(const PictureGrid& grid, const SystemBridge& bridge, double shift, const Affine& toPixels)
    : bridge_(bridge) {
  toWorld_.c = {grid.Left(), grid.xStep, 0.0, grid.Top(), 0.0, -grid.yStep};
  toPixels_ = Affine{{shift, 1.0, 0.0, 0.0, 0.0, 1.0}}.Then(toPixels);
  whole_ = toWorld_.Then(toPixels_);
}

/// Not a number is carried through all that follows, where every comparison with it is false.
BandPlace PlaceMap::At(double x, double y) const {
  if (!bridge_.transformation) return {whole_.U(x, y), whole_.V(x, y)};
  double worldX = toWorld_.U(x, y), worldY = toWorld_.V(x, y);
  constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();
  if (!bridge_.Take(worldX, worldY)) return {kNowhere, kNowhere};
  return {toPixels_.U(worldX, worldY), toPixels_.V(worldX, worldY)};
}

/// The shorter side counts: a level that suits the longer one would lack pixels across the shorter.
double PlaceMap::StepAt(const Window& window) const {
  const double x = 0.5 * (window.x0 + window.x1 + 1.0), y = 0.5 * (window.y0 + window.y1 + 1.0);
  const auto distance = [](const BandPlace& a, const BandPlace& b) { return std::hypot(a.u - b.u, a.v - b.v); };
  const double across = distance(At(x - 0.5, y), At(x + 0.5, y));
  const double down = distance(At(x, y - 0.5), At(x, y + 0.5));
  const double step = std::min(across, down);
  return std::isfinite(step) && std::isfinite(across + down) ? step : 1.0;
}

}  // namespace zrk
