#include "XEarthCentred.h"

#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <memory>
#include <numbers>

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

struct Space {
  double x, y, z;
};

Space ToSpace(double lon, double lat, double height) {
  Space space{};
  XfnGeoToEcr(lon * kDegree, lat * kDegree, height, space.x, space.y, space.z);
  return space;
}

}  // namespace

// The axes of the ellipsoid are 6378137 and 6356752.314245 metres.
TEST(XfnGeoToEcr, PutsThePolesAndTheEquatorOnTheAxes) {
  EXPECT_NEAR(6378137.0, ToSpace(0, 0, 0).x, 1e-6);
  EXPECT_NEAR(6378237.0, ToSpace(90, 0, 100).y, 1e-6);
  EXPECT_NEAR(6356752.314245, ToSpace(12, 90, 0).z, 1e-6);
  EXPECT_NEAR(-6356742.314245, ToSpace(12, -90, -10).z, 1e-6);
}

TEST(XfnGeoToEcr, AgreesWithProj) {
  OGRSpatialReference geographic, centred;
  ASSERT_EQ(OGRERR_NONE, geographic.importFromEPSG(4979));
  ASSERT_EQ(OGRERR_NONE, centred.importFromEPSG(4978));
  geographic.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  const std::unique_ptr<OGRCoordinateTransformation> way(OGRCreateCoordinateTransformation(&geographic, &centred));
  ASSERT_TRUE(way);
  for (int i = 0; i < 200; ++i) {
    const double lon = -180.0 + i * 1.8, lat = -89.5 + i * 0.9 - (i / 100) * 90.0 + 0.25, height = i * 137.0 - 9000.0;
    double x = lon, y = lat, z = height;
    ASSERT_TRUE(way->Transform(1, &x, &y, &z));
    const Space space = ToSpace(lon, lat, height);
    EXPECT_NEAR(x, space.x, 1e-6) << lon << " " << lat;
    EXPECT_NEAR(y, space.y, 1e-6) << lon << " " << lat;
    EXPECT_NEAR(z, space.z, 1e-6) << lon << " " << lat;
  }
}

TEST(XfnEcrToGeo, LeadsBackInPlace) {
  for (const double height : {-9000.0, 0.0, 8848.0, 35786000.0, -6000000.0}) {
    for (double lat = -90.0; lat <= 90.0; lat += 7.5) {
      Space place = ToSpace(-123.4, lat, height);
      XfnEcrToGeo(place.x, place.y, place.z);
      if (std::abs(lat) < 90.0) {
        EXPECT_NEAR(-123.4 * kDegree, place.x, 1e-12) << lat;
      }
      EXPECT_NEAR(lat * kDegree, place.y, 1e-12) << lat << " at " << height;
      EXPECT_NEAR(height, place.z, 1e-6) << lat << " at " << height;
    }
  }
}

TEST(XfnEcrToGeo, GivesLongitudeZeroOnTheAxis) {
  double x = 0.0, y = 0.0, z = 7000000.0;
  XfnEcrToGeo(x, y, z);
  EXPECT_EQ(0.0, x);
  EXPECT_NEAR(std::numbers::pi / 2, y, 1e-15);
  EXPECT_NEAR(7000000.0 - 6356752.314245, z, 1e-6);
}
