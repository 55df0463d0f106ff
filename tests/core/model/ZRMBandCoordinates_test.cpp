#include "MemoryBand.h"
#include "XReadPolicy.h"
#include "ZRMBand.h"

#include <gtest/gtest.h>
#include <climits>
#include <cmath>
#include <limits>

namespace {

/// 100 by 50 pixels of 2 by 4 units, the corner at (1000, 5000).
class PlacedBand : public ZRMBand {
 public:
  PlacedBand() {
    SetSize(100, 50);
    SetPixelSize(2.0, 4.0);
    SetUpperLeft(1000.0, 5000.0);
  }
  using ZRMBand::CopyGeometry;
};

struct Rect {
  double minX = -1.0, maxX = -1.0, minY = -1.0, maxY = -1.0;
  friend bool operator==(const Rect&, const Rect&) = default;
};

Rect BoundRectOf(const ZRMBand& band) {
  Rect rect;
  band.GetBoundRect(rect.minX, rect.maxX, rect.minY, rect.maxY);
  return rect;
}

}  // namespace

TEST(ZRMBandCoordinates, PixelsGoRightAndDown) {
  const PlacedBand band;
  double x = 3.0, y = 5.0;
  band.ConvPixelToWorldCoord(x, y);
  EXPECT_EQ(x, 1006.0);
  EXPECT_EQ(y, 4980.0);
}

TEST(ZRMBandCoordinates, TheWorldGoesBackToPixelsWithFractions) {
  const PlacedBand band;
  double x = 1007.0, y = 4978.0;
  band.ConvWorldToPixelCoord(x, y);
  EXPECT_EQ(x, 3.5);
  EXPECT_EQ(y, 5.5);
}

TEST(ZRMBandCoordinates, WholePixelsTruncateTowardZero) {
  const PlacedBand band;
  int x = 0, y = 0;
  band.ConvWorldToPixelCoord(1007.9, 4977.0, x, y);
  EXPECT_EQ(x, 3);
  EXPECT_EQ(y, 5);
  band.ConvWorldToPixelCoord(999.0, 5003.0, x, y);  // half a pixel left of the image, three quarters above it
  EXPECT_EQ(x, 0);
  EXPECT_EQ(y, 0);
  band.ConvWorldToPixelCoord(995.0, 5007.0, x, y);
  EXPECT_EQ(x, -2);
  EXPECT_EQ(y, -1);
}

TEST(ZRMBandCoordinates, WholePixelsAreCutToTheRangeOfAnInt) {
  const PlacedBand band;
  int x = 1, y = 1;
  band.ConvWorldToPixelCoord(1e300, 1e300, x, y);
  EXPECT_EQ(x, INT_MAX);
  EXPECT_EQ(y, INT_MIN);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  band.ConvWorldToPixelCoord(nan, -std::numeric_limits<double>::infinity(), x, y);
  EXPECT_EQ(x, 0);
  EXPECT_EQ(y, INT_MAX);
}

TEST(ZRMBandCoordinates, APixelSizeOfZeroGivesNoPlaceInTheImage) {
  PlacedBand band;
  band.SetPixelSize(0.0, 0.0);
  int x = 7, y = 7;
  band.ConvWorldToPixelCoord(1001.0, 5000.0, x, y);
  EXPECT_EQ(x, INT_MAX);
  EXPECT_EQ(y, 0);
  double columns = 1000.0, rows = 4000.0;
  band.ConvWorldToPixelCoord(columns, rows);
  EXPECT_TRUE(std::isnan(columns));
  EXPECT_TRUE(std::isinf(rows));
}

TEST(ZRMBandCoordinates, ARangeHasOuterEdges) {
  const PlacedBand band;
  Rect rect;
  band.ConvPixelToWorldRange(10, 19, 20, 20, rect.minX, rect.maxX, rect.minY, rect.maxY);
  EXPECT_EQ(rect, (Rect{1020.0, 1040.0, 4916.0, 4920.0}));
}

TEST(ZRMBandCoordinates, ARangeUpToTheLastIntDoesNotOverflow) {
  ZRMBand band;
  Rect rect;
  band.ConvPixelToWorldRange(0, INT_MAX, 0, INT_MAX, rect.minX, rect.maxX, rect.minY, rect.maxY);
  EXPECT_EQ(rect, (Rect{0.0, 2147483648.0, -2147483648.0, 0.0}));
}

TEST(ZRMBandCoordinates, TheBoundRectSpansAllPixels) {
  EXPECT_EQ(BoundRectOf(PlacedBand()), (Rect{1000.0, 1200.0, 4800.0, 5000.0}));
}

TEST(ZRMBandCoordinates, ABoundRectSetsCornerAndSize) {
  PlacedBand band;
  band.SetBoundRect(0.0, 21.0, -50.0, 30.0);
  EXPECT_EQ(band.GetULX(), 0.0);
  EXPECT_EQ(band.GetULY(), 30.0);
  EXPECT_EQ(band.GetXSize(), 10);  // 10.5 pixels
  EXPECT_EQ(band.GetYSize(), 20);
}

TEST(ZRMBandCoordinates, ABoundRectSetBackGivesTheSameSize) {
  ZRMBand band;
  band.SetSize(1237, 911);
  band.SetUpperLeft(127.3, 36.7);
  band.SetPixelSize(0.1, 0.3);
  const Rect rect = BoundRectOf(band);
  band.SetBoundRect(rect.minX, rect.maxX, rect.minY, rect.maxY);
  EXPECT_EQ(band.GetXSize(), 1237);
  EXPECT_EQ(band.GetYSize(), 911);
}

TEST(ZRMBandCoordinates, AMillionthOfAPixelIsForgivenAndNoMore) {
  ZRMBand band;
  band.SetBoundRect(0.0, 9.9999995, 0.0, 9.999998);
  EXPECT_EQ(band.GetXSize(), 10);
  EXPECT_EQ(band.GetYSize(), 9);
}

TEST(ZRMBandCoordinates, ABoundRectThatIsNoneGivesNoPixels) {
  PlacedBand band;
  band.SetBoundRect(10.0, 0.0, std::numeric_limits<double>::quiet_NaN(), 0.0);
  EXPECT_EQ(band.GetXSize(), 0);
  EXPECT_EQ(band.GetYSize(), 0);
}

TEST(ZRMBandCoordinates, ABoundRectKeepsTheSizeWherePixelsHaveNone) {
  PlacedBand band;
  band.SetPixelSize(0.0, 4.0);
  band.SetBoundRect(0.0, 8.0, 0.0, 8.0);
  EXPECT_EQ(band.GetXSize(), 100);
  EXPECT_EQ(band.GetYSize(), 2);
}

TEST(ZRMBandCoordinates, AFollowerSharesItsMastersGeometry) {
  PlacedBand master;
  master.SetCoordinateKind(kCoordinateWorld);
  master.GetSR()->SetCoordinateKind(kReferenceKnown);
  master.SetBandName("not shared");
  PlacedBand follower;
  follower.SetSize(0, 0);
  follower.SetPixelSize(1.0, 1.0);
  follower.CopyGeometry(master);
  EXPECT_EQ(BoundRectOf(follower), BoundRectOf(master));
  EXPECT_EQ(follower.GetCoordinateKind(), kCoordinateWorld);
  EXPECT_EQ(follower.GetSR()->GetCoordinateKind(), kReferenceKnown);
  EXPECT_TRUE(follower.GetBandName().IsEmpty());
}

TEST(ZRMBandCoordinates, TheLevelForAnAreaFollowsFromItsPixels) {
  PlacedBand band;
  band.SetTileSize(8, 8);  // levels up to 4
  // 64 by 32 pixels, its corners in turn and the same crosswise.
  EXPECT_EQ(band.GetHighestLevelForTarget(1000, 5000, 1128, 5000, 1128, 4872, 1000, 4872, 16, 8), 2);
  EXPECT_EQ(band.GetHighestLevelForTarget(1128, 4872, 1000, 5000, 1000, 4872, 1128, 5000, 16, 8), 2);
  EXPECT_EQ(band.GetHighestLevelForTarget(1000, 5000, 1128, 5000, 1128, 4872, 1000, 4872, 17, 8), 1);
  EXPECT_EQ(band.GetHighestLevelForTarget(1000, 5000, 1128, 5000, 1128, 4872, 1000, 4872, 1, 1), 4);
}

TEST(ZRMBandCoordinates, AnAreaWithoutPixelsGetsLevelZero) {
  PlacedBand band;
  band.SetTileSize(8, 8);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(band.GetHighestLevelForTarget(0, 0, 0, 0, 0, 0, 0, 0, 1, 1), 0);
  EXPECT_EQ(band.GetHighestLevelForTarget(nan, nan, nan, nan, nan, nan, nan, nan, 1, 1), 0);
  XBand plain;
  plain.SetSize(100, 50);
  EXPECT_EQ(plain.GetHighestLevelForTarget(0, 0, 64, 0, 64, 32, 0, 32, 1, 1), 0);
}

TEST(ZRMBandCoordinates, ABlockOfABandFollowsFromItsShape) {
  PlacedBand band;
  EXPECT_EQ(XfnCalcBlockHeight(&band, 20), 20);
  EXPECT_EQ(XfnCalcBlockHeight(&band, 200), 50);
  EXPECT_EQ(XfnCalcBlockHeight(nullptr, 200), 1);
}

namespace {

/// 20 by 10 pixels of 2 by 4 units, the corner at (1000, 5000); a sample is its column and 100 times its row.
class PlacedRamp : public MemoryBand {
 public:
  PlacedRamp() {
    SetRamp<std::uint16_t>(20, 10);
    SetPixelSize(2.0, 4.0);
    SetUpperLeft(1000.0, 5000.0);
  }
  /// The sample at a place; -1 where the read fails.
  int SampleAt(double x, double y) {
    tagXArr2* out = nullptr;
    if (!ReadPixel(out, x, y)) return -1;
    EXPECT_EQ(1, out->xSize * out->ySize);
    return SamplesOf<std::uint16_t>(*out).front();
  }
};

}  // namespace

TEST(ZRMBandCoordinates, APlaceHasTheSampleOfThePixelThatItLiesIn) {
  PlacedRamp band;
  EXPECT_EQ(0, band.SampleAt(1000.0, 5000.0));
  EXPECT_EQ(503, band.SampleAt(1006.0, 4980.0));
  EXPECT_EQ(503, band.SampleAt(1007.9, 4976.1));
  EXPECT_EQ(919, band.SampleAt(1039.9, 4960.1));
}

TEST(ZRMBandCoordinates, APlaceUpToAPixelLeftOrAboveHasTheOutermostSample) {
  PlacedRamp band;
  EXPECT_EQ(0, band.SampleAt(998.1, 5003.9));
  EXPECT_EQ(-1, band.SampleAt(998.0, 5000.0));
  EXPECT_EQ(-1, band.SampleAt(1000.0, 5004.0));
}

TEST(ZRMBandCoordinates, APlaceOutsideOrNowhereHasNoSample) {
  PlacedRamp band;
  const double nowhere = std::numeric_limits<double>::quiet_NaN(), far = std::numeric_limits<double>::infinity();
  for (const double x : {1040.0, 1e300, nowhere, far, -far}) EXPECT_EQ(-1, band.SampleAt(x, 4990.0)) << x;
  for (const double y : {4960.0, -1e300, nowhere, far, -far}) EXPECT_EQ(-1, band.SampleAt(1010.0, y)) << y;
  EXPECT_EQ(0, band.GetNumReads());
  XString reason;
  band.SampleAt(nowhere, 4990.0);
  ASSERT_TRUE(XfnGetLastReadError(reason));
  EXPECT_EQ("The place is not finite", reason);
}

TEST(ZRMBandCoordinates, WholeNumbersOfAPixelAreNoPlace) {
  PlacedRamp band;
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, band.ReadPixel(out, 3, 5));
  EXPECT_EQ(503, SamplesOf<std::uint16_t>(*out).front());
}
