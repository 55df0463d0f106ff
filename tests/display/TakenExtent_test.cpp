// Extents that a manager takes from other systems to degrees. Single places are worked out by OGR alone.

#include "DrawnPicture.h"
#include "ZRMCompManager.h"

#include <gtest/gtest.h>

#include <ogr_spatialref.h>

namespace {

/// Longitude and latitude of a place.
std::array<double, 2> DegreesOf(int epsg, double x, double y) {
  OGRSpatialReference from, to;
  from.importFromEPSG(epsg);
  to.importFromEPSG(4326);
  from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  const std::unique_ptr<OGRCoordinateTransformation> way(OGRCreateCoordinateTransformation(&from, &to));
  way->Transform(1, &x, &y);
  return {x, y};
}

struct DegreeRange {
  double west = 0, east = 0, south = 0, north = 0;

  /// The range of one band of `size` by `size` pixels.
  DegreeRange(int epsg, double ulx, double uly, double pixelSize, int size) {
    PlacedBand band;
    band.Set<std::uint8_t>(size, size, std::vector<std::uint8_t>(static_cast<std::size_t>(size * size)))
        .Place(ulx, uly, pixelSize)
        .In(epsg);
    auto* const composite = new ZRMComposite;
    composite->SetBand(0, &band);
    ZRMCompManager manager;
    manager.AddZRMComposite(composite);
    XSpatialReference degrees;
    degrees.importFromEPSG(4326);
    manager.SetSR(degrees);
    EXPECT_EQ(1, manager.CalcTotalRange(west, east, south, north));
  }
};

}  // namespace

// Zone 60 ends at 180 degrees, some 834 km east of its origin at the equator.
TEST(TakenExtent, GoesOnBeyondLongitude180) {
  const DegreeRange range(32660, 750000, 100000, 10000, 10);
  EXPECT_NEAR(DegreesOf(32660, 750000, 0)[0], range.west, 1e-9);
  EXPECT_NEAR(DegreesOf(32660, 850000, 100000)[0] + 360.0, range.east, 1e-9);
  EXPECT_GT(range.east, 180.1);
  EXPECT_NEAR(0.0, range.south, 1e-9);
}

// The same from the other side: zone 1 begins at -180 degrees.
TEST(TakenExtent, GoesOnBeforeLongitude180West) {
  const DegreeRange range(32601, 100000, 100000, 10000, 30);
  EXPECT_NEAR(DegreesOf(32601, 100000, -200000)[0] - 360.0, range.west, 1e-9);
  EXPECT_LT(range.west, -180.5);
  EXPECT_NEAR(DegreesOf(32601, 400000, 0)[0], range.east, 1e-6);
}

TEST(TakenExtent, HasAllLongitudesAroundAPoleAndReachesIt) {
  const DegreeRange north(3413, -100000, 130000, 1000, 200), south(3031, -130000, 100000, 1000, 200);
  EXPECT_EQ((std::array{-180.0, 180.0, 90.0}), (std::array{north.west, north.east, north.north}));
  EXPECT_NEAR(DegreesOf(3413, 100000, 130000)[1], north.south, 1e-9);
  EXPECT_EQ((std::array{-180.0, 180.0, -90.0}), (std::array{south.west, south.east, south.south}));
  EXPECT_NEAR(DegreesOf(3031, -130000, 100000)[1], south.north, 1e-9);
}

// The grid's x goes along 45 degrees east, and its y along 135 degrees.
TEST(TakenExtent, HasTheLongitudesOfItsCornerWhereThatIsThePole) {
  const DegreeRange range(3413, 0, 100000, 1000, 100);
  EXPECT_NEAR(45.0, range.west, 1e-6);
  EXPECT_NEAR(135.0, range.east, 1e-6);
  EXPECT_EQ(90.0, range.north);
}

TEST(TakenExtent, LacksAPoleThatLiesBesideIt) {
  const DegreeRange range(3413, 1000, 101000, 1000, 100);
  EXPECT_LT(range.north, 90.0 - 1e-3);
  EXPECT_LT(range.east - range.west, 91.0);
}

TEST(TakenExtent, IsThatOfTheEarthWhereItGoesAroundIt) {
  constexpr double kHalf = 20037508.342789244;
  const DegreeRange range(3857, -kHalf, kHalf, kHalf / 50.0, 100);
  EXPECT_EQ(-180.0, range.west);
  EXPECT_EQ(180.0, range.east);
  EXPECT_NEAR(85.0511287798, range.north, 1e-9);
}

// On a plate of degrees in metres a pole is a line, and an extent that ends there has its own longitudes only.
TEST(TakenExtent, KeepsItsLongitudesWhereAPoleIsALine) {
  constexpr double kDegree = 111319.49079327358;
  const DegreeRange range(4087, 0, 90 * kDegree, kDegree, 9);
  EXPECT_NEAR(0.0, range.west, 1e-9);
  EXPECT_NEAR(9.0, range.east, 1e-9);
  EXPECT_NEAR(90.0, range.north, 1e-9);
  EXPECT_NEAR(81.0, range.south, 1e-9);
}
