#include "ZRMBand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

/// Pixels of 2 by 4 units, the place of the first one (1000, 5000).
class CornerBand : public ZRMBand {
 public:
  CornerBand() {
    SetPixelSize(2.0, 4.0);
    SetUpperLeft(1000.0, 5000.0);
  }
  using ZRMBand::CopyGeometry;
};

std::vector<double> TransformOf(const ZRMBand& band) {
  std::vector<double> transform(6);
  band.GetGeoTransform(transform.data());
  return transform;
}

constexpr double kTurned[6] = {10.0, 0.5, 0.25, 20.0, -0.25, 0.5};

}  // namespace

TEST(GeoTransform, FollowsFromCornerAndPixelSizes) {
  EXPECT_THAT(TransformOf(CornerBand()), ElementsAre(1000.0, 2.0, 0.0, 5000.0, 0.0, -4.0));
}

TEST(GeoTransform, BeginsHalfAPixelBeforeTheCentreOfTheFirstPixel) {
  CornerBand band;
  band.SetPixelAnchor(kPixelCentre);
  EXPECT_THAT(TransformOf(band), ElementsAre(999.0, 2.0, 0.0, 5002.0, 0.0, -4.0));
}

TEST(GeoTransform, HoldsRotationAndRowsThatGoNorth) {
  CornerBand band;
  band.SetGeoTransform(kTurned);
  EXPECT_THAT(TransformOf(band), testing::ElementsAreArray(kTurned));
  EXPECT_EQ(1000.0, band.GetULX());
  EXPECT_EQ(4.0, band.GetYPixelSize());
}

TEST(GeoTransform, FollowsAChangeOfCornerOrPixelSize) {
  CornerBand band;
  band.SetGeoTransform(kTurned);
  band.SetULX(500.0);
  EXPECT_THAT(TransformOf(band), ElementsAre(500.0, 2.0, 0.0, 5000.0, 0.0, -4.0));
  band.SetGeoTransform(kTurned);
  band.SetYPixelSize(8.0);
  EXPECT_THAT(TransformOf(band), ElementsAre(500.0, 2.0, 0.0, 5000.0, 0.0, -8.0));
}

TEST(GeoTransform, IsSharedWithFollowersAndCloned) {
  CornerBand master, follower, clone;
  master.SetPixelAnchor(kPixelCentre);
  master.SetGeoTransform(kTurned);
  follower.CopyGeometry(master);
  clone.CloneBand(&master);
  EXPECT_THAT(TransformOf(follower), testing::ElementsAreArray(kTurned));
  EXPECT_THAT(TransformOf(clone), testing::ElementsAreArray(kTurned));
  EXPECT_EQ(kPixelCentre, follower.GetPixelAnchor());
}
