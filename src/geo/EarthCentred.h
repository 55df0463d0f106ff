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

/// A place on the earth, in radians and metres; and the sine and the cosine of both angles.
struct GroundPlace {
  double lon;
  double lat;
  double height;
  Angle lonAngle;
  Angle latAngle;
};

/// `XfnEcrToGeo` for places within some hundred kilometres of the surface, five times as fast. It is the same to the
/// last bits: each of the two rounds brings the latitude 10,000 times nearer, and the first begins a millionth away.
inline GroundPlace ToGround(const SpacePoint& point) {
  constexpr double kPolarRadius = kEarthRadius * (1.0 - kEarthFlattening);
  constexpr double kSecondEccentricity2 = kEarthEccentricity2 / (1.0 - kEarthEccentricity2);
  constexpr int kRounds = 2;
  const double fromAxis = std::sqrt(point.x * point.x + point.y * point.y);
  // The tangent of the latitude as a quotient, and of the latitude reduced to the sphere.
  double rise = point.z, run = fromAxis * (1.0 - kEarthFlattening);
  double sine = 0.0, cosine = 1.0;
  for (int i = 0; i < kRounds; ++i) {
    const double length = std::sqrt(rise * rise + run * run);
    const double s = rise / length, c = run / length;
    sine = point.z + kSecondEccentricity2 * kPolarRadius * s * s * s;
    cosine = fromAxis - kEarthEccentricity2 * kEarthRadius * c * c * c;
    rise = sine * (1.0 - kEarthFlattening);
    run = cosine;
  }
  const double length = std::sqrt(sine * sine + cosine * cosine);
  const double s = sine / length, c = cosine / length;
  const double toSurface = kEarthRadius * std::sqrt(1.0 - kEarthEccentricity2 * s * s);
  const bool isOnAxis = !(fromAxis > 0.0);
  const Angle lon = isOnAxis ? Angle{0.0, 1.0} : Angle{point.y / fromAxis, point.x / fromAxis};
  return {isOnAxis ? 0.0 : std::atan2(point.y, point.x),
          std::atan2(sine, cosine),
          fromAxis * c + point.z * s - toSurface,
          lon,
          {s, c}};
}

}  // namespace zrk
