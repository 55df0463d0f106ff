#include "XEarthCentred.h"

#include "geo/EarthCentred.h"

void XfnGeoToEcr(double lon, double lat, double height, double& x, double& y, double& z) {
  const zrk::Angle latitude = zrk::Angle::OfRadians(lat);
  const zrk::SpacePoint point = zrk::ToSpace(zrk::Angle::OfRadians(lon), latitude, zrk::NormalRadius(latitude), height);
  x = point.x;
  y = point.y;
  z = point.z;
}

/// Each round takes the latitude 150 times nearer to the right one, since the earth is nearly a sphere. The height
/// comes from both distances, so that neither the poles nor the equator divide by something small.
void XfnEcrToGeo(double& x, double& y, double& z) {
  constexpr int kMaxRounds = 30;
  const double fromAxis = std::hypot(x, y);
  double lat = std::atan2(z, fromAxis * (1.0 - zrk::kEarthEccentricity2));
  zrk::Angle angle = zrk::Angle::OfRadians(lat);
  for (int i = 0; i < kMaxRounds; ++i) {
    const double before = lat;
    lat = std::atan2(z + zrk::kEarthEccentricity2 * zrk::NormalRadius(angle) * angle.sine, fromAxis);
    angle = zrk::Angle::OfRadians(lat);
    if (std::abs(lat - before) < 1e-16) break;
  }
  const double toSurface = zrk::kEarthRadius * zrk::kEarthRadius / zrk::NormalRadius(angle);
  const double lon = fromAxis > 0.0 ? std::atan2(y, x) : 0.0;
  const double height = fromAxis * angle.cosine + z * angle.sine - toSurface;
  x = lon;
  y = lat;
  z = height;
}
