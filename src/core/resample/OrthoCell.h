#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace zrk {

/// Pixels of a tile, inclusive. Its corners are the centres of its outermost pixels.
struct OrthoCell {
  int x0, x1, y0, y1;

  int Width() const { return x1 - x0 + 1; }
  int Height() const { return y1 - y0 + 1; }

  /// Calls the work for the parts of the cell. A side of one pixel stays whole.
  template <class Work>
  void Divide(Work&& work) const {
    const int midX = (x0 + x1) / 2, midY = (y0 + y1) / 2;
    work(OrthoCell{x0, midX, y0, midY});
    if (midX < x1) work(OrthoCell{midX + 1, x1, y0, midY});
    if (midY < y1) work(OrthoCell{x0, midX, midY + 1, y1});
    if (midX < x1 && midY < y1) work(OrthoCell{midX + 1, x1, midY + 1, y1});
  }
};

/// Bounds of positions in the source; inverted while there are none.
struct OrthoBounds {
  double minX = std::numeric_limits<double>::infinity();
  double maxX = -minX;
  double minY = minX;
  double maxY = -minX;

  /// Positions that are not finite count for nothing, and false is answered.
  bool Add(double x, double y) {
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    minX = std::min(minX, x), maxX = std::max(maxX, x);
    minY = std::min(minY, y), maxY = std::max(maxY, y);
    return true;
  }
};

/// The share of the way from the first pixel of a row to its last.
inline double ShareOf(int i, int first, int last) {
  return last > first ? static_cast<double>(i - first) / (last - first) : 0.0;
}

/// Between four values: upper left, upper right, lower left, lower right.
inline double Between(const double* corners, double u, double v) {
  const double upper = corners[0] + (corners[1] - corners[0]) * u;
  const double lower = corners[2] + (corners[3] - corners[2]) * u;
  return upper + (lower - upper) * v;
}

/// One coordinate of positions along a row of a cell: even from pixel to pixel, and even between two heights.
class OrthoRamp {
 public:
  /// Four corners at the lower height, then at the upper one; `v` is the share of the way from the first row to the
  /// last. The other two are what a pixel and a metre are of the way across the cell and from height to height.
  OrthoRamp(const std::array<double, 8>& corners, double v, double perPixel, double perMetre) {
    const double low = Between(corners.data(), 0.0, v), high = Between(corners.data() + 4, 0.0, v);
    const double lowAcross = Between(corners.data(), 1.0, v) - low;
    const double highAcross = Between(corners.data() + 4, 1.0, v) - high;
    first_ = low;
    step_ = lowAcross * perPixel;
    rise_ = (high - low) * perMetre;
    twist_ = (highAcross - lowAcross) * perPixel * perMetre;
  }
  double At(double pixel, double metres) const { return first_ + pixel * step_ + (rise_ + pixel * twist_) * metres; }

 private:
  double first_;
  double step_;
  double rise_;
  double twist_;
};

}  // namespace zrk
