// The equator is a circle and every meridian an ellipse, so that lines of sight in their planes can be cut by hand. The
// sensor of the builder flies over the place where both meet, and looks straight down.

#include "HawkScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr long double kA = 6378137.0L, kB = 6356752.314245163L;
constexpr double kRadian = 180.0 / 3.141592653589793;
constexpr double kHeight = 1000.0, kFocal = 0.1, kCell = 1e-5;
constexpr double kTolerance = 1e-9;  // degrees

/// The longitude where a line of sight from `height` above the equator, so far from the vertical, meets the circle
/// raised to `ground`.
double LonOnEquator(long double tangent, double height, double ground = 0.0) {
  const long double angle = std::atan(tangent);
  return static_cast<double>((std::asin((kA + height) / (kA + ground) * std::sin(angle)) - angle) * kRadian);
}

/// The latitude where one to the north meets the ellipse.
double LatOnMeridian(long double tangent, double height) {
  const long double angle = std::atan(tangent), x = kA + height;
  const long double dx = -std::cos(angle), dz = std::sin(angle);
  const long double p = dx * dx / (kA * kA) + dz * dz / (kB * kB), q = 2.0L * x * dx / (kA * kA);
  const long double r = x * x / (kA * kA) - 1.0L;
  const long double t = 2.0L * r / (-q + std::sqrt(q * q - 4.0L * p * r));
  return static_cast<double>(std::atan2(t * dz * kA * kA, (x + t * dx) * kB * kB) * kRadian);
}

/// The line on the sensor's axis: its middle line is shifted by 78 percent of the half to one side.
constexpr double kAxisLine = 20 * (1.0 - 0.78);

TEST(HawkGeometry, LooksStraightDownOnItsAxis) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    const HawkScene::Place place = HawkScene(HawkBuilder(), policy).GroundOf(15, kAxisLine);
    ASSERT_TRUE(place.isFound);
    EXPECT_NEAR(0.0, place.lon, kTolerance);
    EXPECT_NEAR(0.0, place.lat, kTolerance);
    EXPECT_NEAR(0.0, place.height, 1e-6);
  }
}

TEST(HawkGeometry, SpreadsColumnsByTheCellsOfTheDetector) {
  HawkScene scene{HawkBuilder()};
  for (const double column : {0.0, 7.25, 15.0, 29.0}) {
    const HawkScene::Place place = scene.GroundOf(column, kAxisLine);
    EXPECT_NEAR(LonOnEquator(-(column - 15.0) * kCell / kFocal, kHeight), place.lon, kTolerance);
    EXPECT_NEAR(0.0, place.lat, kTolerance);
  }
}

TEST(HawkGeometry, SpreadsLinesOverTheScanOfTheVisibleBand) {
  HawkScene scene{HawkBuilder()};
  for (const double line : {0.0, 4.4, 39.0, 40.0}) {
    const double offset = (line - kAxisLine) * (-1964.16 / 40) * kCell;
    EXPECT_NEAR(LatOnMeridian(-offset / kFocal, kHeight), scene.GroundOf(15, line).lat, kTolerance) << line;
  }
}

TEST(HawkGeometry, SpreadsLinesOverTheScanOfTheInfraredBand) {
  HawkScene scene{HawkBuilder().Spectrum("IR")};
  for (const double line : {0.0, 24.0, 39.0}) {
    const double offset = (line - 20 * 1.2) * (-466.944 / 40) * kCell;
    EXPECT_NEAR(LatOnMeridian(-offset / kFocal, kHeight), scene.GroundOf(15, line).lat, kTolerance) << line;
  }
}

/// Whole halves: 31 columns have their axis in column 15, and 41 lines their half at 20.
TEST(HawkGeometry, HalvesSizesToWholeNumbers) {
  HawkScene scene{HawkBuilder().Size(41, 31)};
  EXPECT_NEAR(0.0, scene.GroundOf(15, kAxisLine).lon, kTolerance);
  EXPECT_NEAR(0.0, scene.GroundOf(15, kAxisLine).lat, kTolerance);
}

TEST(HawkGeometry, FollowsThePlatformAlongItsTrack) {
  // 400 metres to the east from the first pose to the last, which belongs to line 40.
  const auto fly = [](int part, int sample) { return part == 0 ? 100.0 * sample : part == 2 ? kHeight : 0.0; };
  HawkScene scene{HawkBuilder().Pose(fly)};
  for (const double line : {kAxisLine, 20.0, 40.0}) {
    // The lines of sight are parallel, so that the platform's way to the east is that of the ground.
    const long double east = 400.0 * line / 40.0;
    EXPECT_NEAR(static_cast<double>(std::asin(east / kA) * kRadian), scene.GroundOf(15, line).lon, kTolerance);
  }
}

/// A cubic through the samples: the slopes at the ends continue the change of slope, so that a parabola is met exactly.
TEST(HawkGeometry, BendsBetweenPosesAsASpline) {
  const auto parabola = [](double t) { return 10.0 * t * t; };
  const auto fly = [&](int part, int sample) { return part == 0 ? parabola(sample) : part == 2 ? kHeight : 0.0; };
  HawkScene scene{HawkBuilder().Pose(fly)};
  const double line = 17.0;
  const double lon = std::asin(parabola(line / 10.0) / static_cast<double>(kA)) * kRadian;
  EXPECT_NEAR(lon, scene.GroundOf(15, line).lon, kTolerance);
}

TEST(HawkGeometry, TakesThreePoses) {
  EXPECT_NEAR(0.0, HawkScene(HawkBuilder().Poses(3)).GroundOf(15, kAxisLine).lon, kTolerance);
}

TEST(HawkGeometry, TurnsTheCameraAboutItsAxes) {
  // A positive phi looks to the west, and a positive omega to the north.
  const auto turned = [](int wanted, double angle) {
    return [=](int part, int) { return part == wanted ? angle : part == 2 ? kHeight : 0.0; };
  };
  HawkScene west{HawkBuilder().Pose(turned(4, 0.3))};
  EXPECT_NEAR(-LonOnEquator(std::tan(0.3L), kHeight), west.GroundOf(15, kAxisLine).lon, kTolerance);
  HawkScene north{HawkBuilder().Pose(turned(3, 0.2))};
  EXPECT_NEAR(LatOnMeridian(std::tan(0.2L), kHeight), north.GroundOf(15, kAxisLine).lat, kTolerance);
  // Kappa turns columns into the north.
  HawkScene turnedAround{HawkBuilder().Pose(turned(5, 3.141592653589793 / 2))};
  EXPECT_NEAR(LatOnMeridian(-10.0 * kCell / kFocal, kHeight), turnedAround.GroundOf(25, kAxisLine).lat, kTolerance);
}

TEST(HawkGeometry, CountsFromTheCornerThatTheDocumentNames) {
  HawkScene plain{HawkBuilder().Corner("UpperRight")};
  const struct {
    const char* corner;
    bool flipsColumns, flipsLines;
  } kCorners[] = {{"Upper Right", false, false}, {"UpperLeft", true, false}, {"Lower Right", false, true},
                  {"LowerLeft", true, true},     {"", false, false},         {"lower left", false, false}};
  for (const auto& each : kCorners) {
    HawkScene scene{HawkBuilder().Corner(each.corner)};
    const HawkScene::Place mine = scene.GroundOf(4, 31);
    const HawkScene::Place right = plain.GroundOf(each.flipsColumns ? 29 - 4 : 4, each.flipsLines ? 39 - 31 : 31);
    EXPECT_EQ(right.lon, mine.lon) << each.corner;
    EXPECT_EQ(right.lat, mine.lat) << each.corner;
  }
}

/// A line of sight along the horizon, in the plane of the meridian, touches nothing.
HawkBuilder Horizontal() {
  return HawkBuilder().Corner("LowerLeft").Pose([](int part, int) {
    return part == 3 ? 1.5707963267948966 : part == 2 ? kHeight : 0.0;
  });
}

TEST(HawkCompatibleGeometry, LeavesFlippedCoordinatesWhereTheLineOfSightMisses) {
  HawkScene scene{Horizontal()};
  double x = 10, y = 35;
  scene.Band().ConvWarpPixelToWorldCoord(x, y);
  EXPECT_EQ(19, x);
  EXPECT_EQ(4, y);
  EXPECT_EQ("The line of sight misses the earth", scene.Failure(10, 35));
}

TEST(HawkExactGeometry, GivesNoNumbersWhereTheLineOfSightMisses) {
  HawkScene scene{Horizontal(), kReadExact};
  double x = 10, y = 35;
  scene.Band().ConvWarpPixelToWorldCoord(x, y);
  EXPECT_TRUE(std::isnan(x));
  EXPECT_TRUE(std::isnan(y));
  EXPECT_EQ("The line of sight misses the earth", scene.Failure(10, 35));
}

HawkBuilder LooksUp() {
  return HawkBuilder().Pose([](int part, int) { return part == 3 ? 3.141592653589793 : part == 2 ? kHeight : 0.0; });
}

TEST(HawkCompatibleGeometry, FindsTheGroundBehindASensorThatLooksUp) {
  EXPECT_NEAR(0.0, HawkScene(LooksUp()).GroundOf(15, kAxisLine).lat, kTolerance);
}

TEST(HawkExactGeometry, FindsNoGroundBehindASensorThatLooksUp) {
  EXPECT_EQ("The line of sight misses the earth", HawkScene(LooksUp(), kReadExact).Failure(15, kAxisLine));
}

TEST(HawkCompatibleGeometry, GoesOnBeyondTheImage) {
  HawkScene scene{HawkBuilder()};
  EXPECT_NEAR(LonOnEquator(-85.0 * kCell / kFocal, kHeight), scene.GroundOf(100, kAxisLine).lon, kTolerance);
}

TEST(HawkExactGeometry, EndsAPixelBeyondTheImage) {
  HawkScene scene{HawkBuilder(), kReadExact};
  EXPECT_EQ("", scene.Failure(-1, 40));
  EXPECT_EQ("The pixel lies outside the image", scene.Failure(31, 4));
  EXPECT_EQ("The place is not finite", scene.Failure(NAN, 4));
}

TEST(HawkGeometry, WithoutAModelChangesNothing) {
  ZRMBandHawk band;
  double x = 3, y = 4, height = 5;
  band.CalcSplineCoeffs();
  band.CalcScanSensorParams(0, -1);
  band.ConvWarpPixelToWorldCoord(x, y);
  EXPECT_EQ(0, band.FindGroundOfPixel(1, 1, x, y, height));
  EXPECT_EQ(0, band.FindPixelOfGround(1, 1, x, y));
  EXPECT_EQ(3, x);
  EXPECT_EQ(4, y);
  EXPECT_EQ(nullptr, band.GetScanSensorParam());
  EXPECT_EQ(0, band.FindPixelsOfGround(1, &x, &y));
  EXPECT_TRUE(std::isnan(x));
}

TEST(HawkGeometry, HasNoReverseOfItsOwn) {
  HawkScene scene{HawkBuilder()};
  scene.Band().SetUpperLeft(100.0, 200.0);
  double x = 103.0, y = 190.0;
  scene.Band().ConvWarpWorldToPixelCoord(x, y);
  EXPECT_EQ(3.0, x);
  EXPECT_EQ(10.0, y);
  EXPECT_EQ(0.0, scene.Band().CalcYP2(1.0, 2.0));
}

// The record

TEST(HawkRecord, HasTheSamplesInSampleMode) {
  const HawkBuilder builder = HawkBuilder().Pose([](int part, int i) { return part + 0.125 * i; });
  HawkScene scene{builder};
  const XRSScanSensorParam& record = *scene.Band().GetScanSensorParam();
  EXPECT_EQ(0, record.reserved);
  EXPECT_EQ(0, record.mode);
  EXPECT_EQ(5, record.count);
  EXPECT_EQ(40, record.imageLines);
  EXPECT_EQ(30, record.imageSamples);
  EXPECT_DOUBLE_EQ(6378137.0, record.originInEcf[0]);
  // The rotation takes x, y, z to y, z, x, and its inverse takes them back.
  const double inverse[9] = {0.0, 0.0, 1.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
  EXPECT_TRUE(std::equal(inverse, inverse + 9, record.lsrToEcf));
  EXPECT_EQ(builder.GetGrid(0), record.gridX);
  EXPECT_EQ(builder.GetGrid(5), record.gridKappa);
  EXPECT_TRUE(record.polyX.empty());
}

TEST(HawkRecord, HasTheCoefficientsInPolynomialMode) {
  // From 0 to 1 over five samples.
  const auto pose = [](int part, int i) { return part + 2.0 * (i / 4.0) - 3.0 * (i / 4.0) * (i / 4.0); };
  HawkScene scene{HawkBuilder().Pose(pose)};
  scene.Band().CalcScanSensorParams(1, 2);
  const XRSScanSensorParam& record = *scene.Band().GetScanSensorParam();
  EXPECT_EQ(1, record.mode);
  EXPECT_EQ(2, record.count);
  EXPECT_TRUE(record.gridX.empty());
  ASSERT_EQ(3U, record.polyY.size());
  const double expected[] = {1.0, 2.0, -3.0};
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(expected[i], record.polyY[i], 1e-9);
  EXPECT_NEAR(5.0, record.polyKappa[0], 1e-9);
}

/// A straight line through 0, 1, 4, 9, 16 at quarters is 16 t - 2, by the usual formulas.
TEST(HawkRecord, FitsPolynomialsThatMeetNoSample) {
  HawkScene scene{HawkBuilder().Pose([](int, int i) { return 1.0 * i * i; })};
  scene.Band().CalcScanSensorParams(1, 1);
  EXPECT_NEAR(-2.0, scene.Band().GetScanSensorParam()->polyX[0], 1e-9);
  EXPECT_NEAR(16.0, scene.Band().GetScanSensorParam()->polyX[1], 1e-9);
}

TEST(HawkRecord, StaysForOrdersThatCannotBe) {
  HawkScene scene{HawkBuilder()};
  for (const int order : {-1, 31, 2147483647}) scene.Band().CalcScanSensorParams(1, order);
  EXPECT_EQ(0, scene.Band().GetScanSensorParam()->mode);
}

}  // namespace
