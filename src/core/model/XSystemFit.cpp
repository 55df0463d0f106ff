#include "XSystemFit.h"

#include "XSpatialReference.h"
#include "ZRMBand.h"

#include <algorithm>
#include <cmath>

namespace {

/// The farthest that coordinates can lie from the origin of a system, and what they are there.
struct Reach {
  double x;
  double y;
  const char* unit;
};

/// A turn and a quarter of it in gons, the smallest unit in use, with room for the edges of coarse pixels and for
/// longitudes that count on past the date line.
constexpr Reach kReachOfAngles = {440.0, 110.0, "degrees"};
/// In millimetres the earth measures 4e10 around.
constexpr Reach kReachOfLengths = {1e12, 1e12, "lengths on the ground"};

/// The farthest of two coordinates from 0; infinite where one is not a number.
double FarthestOf(double one, double other) {
  const double farthest = std::max(std::abs(one), std::abs(other));
  return std::isnan(one) || std::isnan(other) ? HUGE_VAL : farthest;
}

}  // namespace

int XfnCanBePlacedIn(const ZRMBand& band, const XSpatialReference& sr, XString& err) {
  if (band.GetCoordinateKind() != kCoordinateWorld || sr.IsEmpty()) return 1;
  double minX, maxX, minY, maxY;
  band.GetBoundRect(minX, maxX, minY, maxY);
  const Reach& reach = sr.IsGeographic() ? kReachOfAngles : kReachOfLengths;
  if (FarthestOf(minX, maxX) <= reach.x && FarthestOf(minY, maxY) <= reach.y) return 1;
  err.Format("the coordinates of the image, %.10g to %.10g and %.10g to %.10g, can't be %s", minX, maxX, minY, maxY,
             reach.unit);
  return 0;
}
