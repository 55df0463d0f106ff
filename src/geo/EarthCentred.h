#pragma once

#include <cmath>

namespace zrk {

/// The ellipsoid of WGS 84.
constexpr double kEarthRadius = 6378137.0;  // at the equator, in metres
constexpr double kEarthFlattening = 1.0 / 298.257223563;
constexpr double kEarthEccentricity2 = kEarthFlattening * (2.0 - kEarthFlattening);

/// Sine and cosine of an angle.
struct Angle {
  double sine;
  double cosine;

  static Angle OfRadians(double radians) { return {std::sin(radians), std::cos(radians)}; }
};

/// A place or a direction in space, as `XfnGeoToEcr` has it.
struct SpacePoint {
  double x;
  double y;
  double z;
};

/// The metres from the axis, along the normal, to the surface of the ellipsoid.
inline double NormalRadius(const Angle& lat) {
  return kEarthRadius / std::sqrt(1.0 - kEarthEccentricity2 * lat.sine * lat.sine);
}

/// `XfnGeoToEcr` for grids, whose angles and radii are worked out once a row and a column.
inline SpacePoint ToSpace(const Angle& lon, const Angle& lat, double normalRadius, double height) {
  const double fromAxis = (normalRadius + height) * lat.cosine;
  return {fromAxis * lon.cosine, fromAxis * lon.sine, (normalRadius * (1.0 - kEarthEccentricity2) + height) * lat.sine};
}

}  // namespace zrk
