#pragma once

// The arithmetic of one cell of a map's tile. A surface of second degree through nine positions stands for all
// positions of the cell. The cell is divided where the surface is not near enough. Each row of the surface is a
// polynomial, which is quick to evaluate pixel by pixel.

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
  int MiddleX() const { return (x0 + x1) / 2; }
  int MiddleY() const { return (y0 + y1) / 2; }

  /// Calls the work for the parts of the cell. A side of one pixel stays whole.
  template <class Work>
  void Divide(Work&& work) const {
    const int midX = MiddleX(), midY = MiddleY();
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

  /// Leaves out a position that is not finite, and answers false for it.
  bool Add(double x, double y) {
    if (!std::isfinite(x) || !std::isfinite(y)) return false;
    minX = std::min(minX, x), maxX = std::max(maxX, x);
    minY = std::min(minY, y), maxY = std::max(maxY, y);
    return true;
  }
  void Add(const OrthoBounds& other, double marginX, double marginY) {
    minX = std::min(minX, other.minX - marginX), maxX = std::max(maxX, other.maxX + marginX);
    minY = std::min(minY, other.minY - marginY), maxY = std::max(maxY, other.maxY + marginY);
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

/// On the parabola through `a` at 0, `b` at `middle` and `c` at 1. Without a middle between them it is straight.
struct OrthoParabola {
  double first, across, bend;

  OrthoParabola(double a, double b, double c, double middle) : first(a), across(c - a), bend(0.0) {
    if (middle > 0.0 && middle < 1.0) bend = ((b - a) / middle - across) / (middle - 1.0);
  }
  double At(double share) const { return first + share * (across + (share - 1.0) * bend); }
};

/// One coordinate of positions along a row of a cell, by the number of the pixel and the height above the middle one.
struct OrthoRow {
  double first, step, bend;
  double rise, twist;

  double At(double pixel, double metres) const {
    return first + pixel * (step + pixel * bend) + metres * (rise + pixel * twist);
  }
};

/// One coordinate of positions over a cell: of second degree from edge to edge, and even between two heights.
class OrthoSurface {
 public:
  /// Nine values at the middle height, row by row: of the outermost pixels and of middle ones, whose shares of the way
  /// across are told. Then four corners at the lower height, and four at the upper one.
  OrthoSurface(const double* values, double middleU, double middleV)
      : nodes_(values), middleU_(middleU), middleV_(middleV) {
    for (std::size_t i = 0; i < rise_.size(); ++i) rise_[i] = values[13 + i] - values[9 + i];
  }
  /// `t` is -0.5 at the lower height and 0.5 at the upper one.
  double At(double u, double v, double t) const { return AlongRow(v).At(u) + t * Between(rise_.data(), u, v); }
  /// `perPixel` and `perMetre` are what a pixel and a metre are of the way across and from height to height.
  OrthoRow RowAt(double v, double perPixel, double perMetre) const {
    const OrthoParabola along = AlongRow(v);
    const double left = Between(rise_.data(), 0.0, v), right = Between(rise_.data(), 1.0, v);
    return {along.first, (along.across - along.bend) * perPixel, along.bend * perPixel * perPixel, left * perMetre,
            (right - left) * perPixel * perMetre};
  }
  /// How far nodes lie beside the surface that is straight between the corners.
  double FindBend() const {
    const std::array<double, 4> corners = {nodes_[0], nodes_[2], nodes_[6], nodes_[8]};
    const double us[] = {0.0, middleU_, 1.0}, vs[] = {0.0, middleV_, 1.0};
    double most = 0.0;
    for (int i = 0; i < 9; ++i) {
      most = std::max(most, std::abs(nodes_[i] - Between(corners.data(), us[i % 3], vs[i / 3])));
    }
    return most;
  }

 private:
  double AtEdge(int column, double v) const {
    return OrthoParabola(nodes_[column], nodes_[column + 3], nodes_[column + 6], middleV_).At(v);
  }
  OrthoParabola AlongRow(double v) const { return {AtEdge(0, v), AtEdge(1, v), AtEdge(2, v), middleU_}; }

  const double* nodes_;
  double middleU_;
  double middleV_;
  std::array<double, 4> rise_;
};

}  // namespace zrk
