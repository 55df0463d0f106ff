#include "geo/EarthCentred.h"
#include "XEarthCentred.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr double kDegreeInRadians = 3.14159265358979323846 / 180.0;

TEST(ToGround, ReversesPlacesInSpaceFromTrenchesToSatellites) {
  for (const double height : {-12500.0, 0.0, 9500.0, 100000.0}) {
    for (double lat = -90.0; lat <= 90.0; lat += 7.5) {
      for (const double lon : {-180.0, -77.3, 0.0, 12.5, 179.999}) {
        zrk::SpacePoint point{};
        XfnGeoToEcr(lon * kDegreeInRadians, lat * kDegreeInRadians, height, point.x, point.y, point.z);
        const zrk::GroundPlace place = zrk::ToGround(point);
        EXPECT_NEAR(lat * kDegreeInRadians, place.lat, 1e-14) << lat << ' ' << height;
        EXPECT_NEAR(height, place.height, 1e-7);
        const bool hasLongitude = std::abs(lat) < 90.0;
        EXPECT_NEAR(hasLongitude ? std::cos(lon * kDegreeInRadians) : std::cos(place.lon), std::cos(place.lon), 1e-14);
      }
    }
  }
}

TEST(ToGround, TellsSineAndCosineOfItsAngles) {
  const zrk::GroundPlace place = zrk::ToGround({3.0e6, -4.0e6, 4.0e6});
  EXPECT_NEAR(std::sin(place.lon), place.lonAngle.sine, 1e-15);
  EXPECT_NEAR(std::cos(place.lon), place.lonAngle.cosine, 1e-15);
  EXPECT_NEAR(std::sin(place.lat), place.latAngle.sine, 1e-15);
  EXPECT_NEAR(std::cos(place.lat), place.latAngle.cosine, 1e-15);
}

TEST(ToGround, HasLongitudeZeroOnTheAxis) {
  EXPECT_EQ(0.0, zrk::ToGround({0.0, 0.0, 6356752.0}).lon);
  EXPECT_NEAR(90.0 * kDegreeInRadians, zrk::ToGround({0.0, 0.0, 6356752.0}).lat, 1e-15);
}

}  // namespace
