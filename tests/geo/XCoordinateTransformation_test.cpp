// Places taken from one system to another, always with longitude before latitude. The expected coordinates follow from
// the definitions of the projections, such as the length of a quarter of the meridian.

#include "XCoordinateTransformation.h"

#include "XSpatialReference.h"

#include <gtest/gtest.h>

#include <ogr_srs_api.h>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace {

XSpatialReference SystemOf(int code) {
  XSpatialReference system;
  EXPECT_EQ(1, system.importFromEPSG(code));
  return system;
}

std::unique_ptr<XCoordinateTransformation> Between(int from, int to) {
  return XfnCreateCoordTrans(SystemOf(from), SystemOf(to));
}

void ExpectPoint(const XCoordinateTransformation& transformation, double x, double y, double newX, double newY,
                 double tolerance) {
  ASSERT_EQ(1, transformation.TransformPt(x, y));
  EXPECT_NEAR(newX, x, tolerance);
  EXPECT_NEAR(newY, y, tolerance);
}

TEST(XCoordinateTransformation, TakesLongitudeBeforeLatitude) {
  const auto toUtm = Between(4326, 32632);
  ASSERT_TRUE(toUtm);
  ExpectPoint(*toUtm, 9.0, 0.0, 500000.0, 0.0, 1e-6);
  // A quarter of the meridian of WGS 84 is 10001965.7293 m long.
  ExpectPoint(*toUtm, 9.0, 90.0, 500000.0, 10001965.7293 * 0.9996, 1e-3);
}

TEST(XCoordinateTransformation, GivesLongitudeBeforeLatitude) {
  const auto toDegrees = Between(32632, 4326);
  ASSERT_TRUE(toDegrees);
  ExpectPoint(*toDegrees, 500000.0, 0.0, 9.0, 0.0, 1e-9);
}

TEST(XCoordinateTransformation, KeepsSouthernNorthingsPositive) {
  const auto toUtm = Between(4326, 32733);
  ASSERT_TRUE(toUtm);
  ExpectPoint(*toUtm, 15.0, 0.0, 500000.0, 10000000.0, 1e-6);
}

TEST(XCoordinateTransformation, KnowsTheWebMercatorOfTheEquator) {
  const auto toMercator = Between(4326, 3857);
  ASSERT_TRUE(toMercator);
  ExpectPoint(*toMercator, 180.0, 0.0, 6378137.0 * M_PI, 0.0, 1e-6);
  ExpectPoint(*toMercator, 10.0, 45.0, 6378137.0 * M_PI / 18, 6378137.0 * std::asinh(1.0), 1e-6);
}

TEST(XCoordinateTransformation, ComesBackToWhereItBegan) {
  const auto forth = Between(4326, 32632), back = Between(32632, 4326);
  double x = 8.25, y = 47.5;
  ASSERT_EQ(1, forth->TransformPt(x, y));
  ExpectPoint(*back, x, y, 8.25, 47.5, 1e-9);
}

TEST(XCoordinateTransformation, LeavesPlacesInOneSystemAlone) {
  const auto same = Between(32632, 32632);
  ASSERT_TRUE(same);
  ExpectPoint(*same, 1234.5, 67890.25, 1234.5, 67890.25, 0.0);
}

TEST(XCoordinateTransformation, LeavesItsArgumentsWhereThereIsNoPlace) {
  const auto toUtm = Between(4326, 32632);
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  testing::internal::CaptureStderr();
  for (const auto& [x, y] : {std::pair{9.0, 123.0}, {kInfinity, 0.0}, {9.0, -kInfinity}, {1e300, 1e300}}) {
    double newX = x, newY = y;
    EXPECT_EQ(0, toUtm->TransformPt(newX, newY)) << x << ' ' << y;
    EXPECT_EQ(x, newX);
    EXPECT_EQ(y, newY);
  }
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(XCoordinateTransformation, TakesNoNumberForAFailure) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const int target : {32632, 4326}) {
    double x = nan, y = 1.0;
    EXPECT_EQ(0, Between(4326, target)->TransformPt(x, y)) << target;
    EXPECT_TRUE(std::isnan(x));
    EXPECT_EQ(1.0, y);
  }
}

TEST(XCoordinateTransformation, IsNotThereForAnEmptySystem) {
  EXPECT_FALSE(XfnCreateCoordTrans(XSpatialReference(), SystemOf(4326)));
  EXPECT_FALSE(XfnCreateCoordTrans(SystemOf(4326), XSpatialReference()));
  EXPECT_FALSE(XfnCreateCoordTrans(XSpatialReference(), XSpatialReference()));
}

TEST(XCoordinateTransformation, IsNotThereWhereNothingLeadsAcross) {
  XSpatialReference local;
  ASSERT_EQ(1, local.importFromWkt("LOCAL_CS[\"my grid\",UNIT[\"metre\",1]]"));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(XfnCreateCoordTrans(local, SystemOf(4326)));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(XCoordinateTransformation, AsksNoNetworkForGrids) {
  ASSERT_TRUE(Between(4326, 32632));
  EXPECT_EQ(0, OSRGetPROJEnableNetwork());
}

TEST(XCoordinateTransformation, OutlivesTheThreadThatMadeIt) {
  std::unique_ptr<XCoordinateTransformation> toUtm;
  std::thread([&] { toUtm = Between(4326, 32632); }).join();
  ExpectPoint(*toUtm, 9.0, 0.0, 500000.0, 0.0, 1e-6);
  std::thread([&] { toUtm.reset(); }).join();
}

TEST(XCoordinateTransformationThreads, IsUsedByManyAtOnce) {
  const auto toMercator = Between(4326, 3857);
  std::atomic<int> numWrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        double x = t * 10.0, y = 0.0;
        const int isDone = toMercator->TransformPt(x, y);
        if (!isDone || std::abs(x - 6378137.0 * M_PI * t / 18) > 1e-6) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace
