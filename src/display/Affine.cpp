#include "display/Affine.h"

#include <algorithm>
#include <cmath>

namespace zrk {

/// What the first gives for x and y is put into the second, and sorted by x and y again.
Affine Affine::Then(const Affine& next) const {
  Affine both;
  both.c[0] = next.U(c[0], c[3]);
  both.c[1] = c[1] * next.c[1] + c[4] * next.c[2];
  both.c[2] = c[2] * next.c[1] + c[5] * next.c[2];
  both.c[3] = next.V(c[0], c[3]);
  both.c[4] = c[1] * next.c[4] + c[4] * next.c[5];
  both.c[5] = c[2] * next.c[4] + c[5] * next.c[5];
  return both;
}

/// Pixels without an area have no way back, and neither have those whose area is no number.
bool Affine::Invert(Affine& inverse) const {
  const double area = c[1] * c[5] - c[2] * c[4];
  if (!std::isfinite(area) || area == 0.0) return false;
  Affine back;
  back.c[1] = c[5] / area;
  back.c[2] = -c[2] / area;
  back.c[4] = -c[4] / area;
  back.c[5] = c[1] / area;
  // An unturned transform is divided through, which loses less than the product of both.
  if (IsUnturned()) {
    back.c = {0.0, 1.0 / c[1], 0.0, 0.0, 0.0, 1.0 / c[5]};
  }
  back.c[0] = -(c[0] * back.c[1] + c[3] * back.c[2]);
  back.c[3] = -(c[0] * back.c[4] + c[3] * back.c[5]);
  inverse = back;
  return std::all_of(back.c.begin(), back.c.end(), [](double value) { return std::isfinite(value); });
}

void Extent::GrowTo(double x, double y) {
  minX = isSet ? std::min(minX, x) : x;
  maxX = isSet ? std::max(maxX, x) : x;
  minY = isSet ? std::min(minY, y) : y;
  maxY = isSet ? std::max(maxY, y) : y;
  isSet = true;
}

void Extent::GrowTo(const Extent& other) {
  if (!other.isSet) return;
  GrowTo(other.minX, other.minY);
  GrowTo(other.maxX, other.maxY);
}

}  // namespace zrk
