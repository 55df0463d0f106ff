// Where pixels lie, worked out by hand.

#include "Place.h"

#include "Corners.h"
#include "picture/Hillshade.h"
#include "ZRMBand.h"

#include <gtest/gtest.h>

namespace {

using Pair = std::array<double, 2>;

/// Columns go north and rows go east, two units a pixel: the image is turned by a quarter.
constexpr double kQuarterTurn[6] = {10.0, 0.0, 2.0, 20.0, 2.0, 0.0};

class PlacedBand : public ZRMBand {
 public:
  explicit PlacedBand(const double transform[6]) {
    SetSize(3, 4);
    SetGeoTransform(transform);
  }
};

TEST(Place, CornersFollowTheTurnOfAnImage) {
  const Points corners = CornersOf(PlacedBand(kQuarterTurn));
  EXPECT_EQ((Points{{10, 20}, {10, 26}, {18, 26}, {18, 20}}), corners);
}

TEST(Place, CornersAreThoseOfPixelsWhereTheFormatNamesCentres) {
  ZRMBand band;
  band.SetSize(10, 20);
  band.SetPixelSize(0.5, 0.25);
  band.SetUpperLeft(100.0, 200.0);
  band.SetPixelAnchor(kPixelCentre);
  EXPECT_EQ((Points{{99.75, 200.125}, {104.75, 200.125}, {104.75, 195.125}, {99.75, 195.125}}), CornersOf(band));
}

TEST(Place, PositionsAndPlacesGoBothWays) {
  const Place place{PlacedBand(kQuarterTurn)};
  EXPECT_TRUE(place.IsTurned());
  EXPECT_EQ((Pair{15.0, 21.0}), place.ToWorld(0.5, 2.5));
  EXPECT_EQ((Pair{0.5, 2.5}), place.ToPixel(15.0, 21.0));
  EXPECT_EQ((Pair{2.0, 2.0}), place.GetPixelSize());
}

TEST(Place, RowsMayGoNorth) {
  constexpr double kUpwards[6] = {100.0, 0.5, 0.0, 200.0, 0.0, 0.25};
  const Place place{PlacedBand(kUpwards)};
  EXPECT_FALSE(place.IsTurned());
  EXPECT_EQ((Pair{101.5, 201.0}), place.ToWorld(3.0, 4.0));
  EXPECT_EQ((Pair{3.0, 4.0}), place.ToPixel(101.5, 201.0));
  EXPECT_EQ((Pair{0.5, -0.25}), place.GetPixelSize());
}

TEST(Place, WithoutAPixelSizeThereIsNoExtent) {
  constexpr double kFlat[6] = {1.0, 2.0, 4.0, 1.0, 1.0, 2.0};
  EXPECT_FALSE(Place(PlacedBand(kFlat)).HasExtent());
  EXPECT_TRUE(Place(PlacedBand(kQuarterTurn)).HasExtent());
}

/// The ground rises by a metre from column to column of two metres, which in this image is to the north.
TEST(Place, HillshadesKnowHowAnImageIsTurned) {
  PlacedBand turned(kQuarterTurn), plain(kQuarterTurn);
  plain.SetUpperLeft(0.0, 0.0);
  plain.SetPixelSize(2.0, 2.0);
  std::vector<unsigned char> turnedPixels, plainPixels;
  Hillshade onTurned(3, 3, FindGroundSteps(turned, {0, 2, 0, 2}, 3, 3), 1.0);
  Hillshade onPlain(3, 3, FindGroundSteps(plain, {0, 2, 0, 2}, 3, 3), 1.0);
  for (int y = 0; y < 3; ++y) {
    onTurned.Add({0.0, 1.0, 2.0}, turnedPixels);
    const double height = 2.0 - y;  // rows go south, so that this rises to the north
    onPlain.Add({height, height, height}, plainPixels);
  }
  EXPECT_EQ(plainPixels, turnedPixels);
  // Rising away from the light by a half: (root of 1/2 - 1/4) / root of 1.25 = 0.40885, 1 + 254 * 0.40885 = 104.8
  EXPECT_EQ(std::vector<unsigned char>(9, 105), turnedPixels);
}

}  // namespace
