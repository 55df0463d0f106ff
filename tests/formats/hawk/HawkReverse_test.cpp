// Pixels to the ground and back, for two platforms that shake, over ground of several kinds.

#include "HawkScene.h"
#include "XSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <functional>
#include <ostream>
#include <random>
#include <thread>
#include <vector>

namespace {

constexpr double kNearPixel = 0.01;

/// An aircraft nine kilometres high that looks 52 degrees to the side, or a satellite at 620 kilometres.
struct Platform {
  const char* name;
  double height, speed, look, shake;
  double focal, cell;
};

constexpr Platform kAircraft = {"Aircraft", 9000.0, 30.0, 0.9, 2e-5, 1000.0, 0.01};
constexpr Platform kSatellite = {"Satellite", 620000.0, 900.0, 0.3, 1e-7, 10000.0, 0.01};

HawkBuilder Fly(const Platform& platform, double lon, double lat) {
  const auto pose = [platform](int part, int i) {
    const double shaken = platform.shake * std::sin(1.7 * i + part);
    switch (part) {
      case 1:
        return platform.speed * i;
      case 2:
        return platform.height + 0.3 * std::sin(0.9 * i);
      case 4:
        return -platform.look + shaken;
      default:
        return part < 3 ? 0.0 : shaken;
    }
  };
  return HawkBuilder().Size(400, 300).Poses(9).Over(lon, lat).Pose(pose).Focal(platform.focal).Cell(platform.cell);
}

/// Ground around the place that the platform sees, a degree and a half each way.
HeightGrid GroundAround(double lon, double lat, std::function<std::int16_t(int, int)> heightAt) {
  return {lon - 3.0, lat + 3.0, 0.01, 600, 600, std::move(heightAt)};
}

std::int16_t GentleHills(int column, int row) {
  return static_cast<std::int16_t>(std::lround(400.0 + 150.0 * std::sin(column / 9.0) * std::cos(row / 7.0)));
}

struct ReverseCase {
  const char* name;
  Platform platform;
  double lon, lat;
  const char* corner;
  const char* spectrum;
  std::int16_t (*heightAt)(int, int);  ///< null for the plain ellipsoid
  friend std::ostream& operator<<(std::ostream& stream, const ReverseCase& one) { return stream << one.name; }
};

class HawkReverse : public testing::TestWithParam<ReverseCase> {
 protected:
  static void Try(XReadPolicy policy) {
    const ReverseCase& one = GetParam();
    HawkScene scene{Fly(one.platform, one.lon, one.lat).Corner(one.corner).Spectrum(one.spectrum), policy};
    if (one.heightAt) scene.Ground(GroundAround(one.lon, one.lat, one.heightAt));
    std::mt19937 random(5);
    std::uniform_real_distribution<double> columns(0.0, 299.0), lines(0.0, 400.0);
    for (int i = 0; i < 300; ++i) {
      const double column = columns(random), line = lines(random);
      const HawkScene::Place place = scene.GroundOf(column, line);
      ASSERT_TRUE(place.isFound) << scene.Failure(column, line);
      double x = 0.0, y = 0.0;
      ASSERT_TRUE(scene.Band().FindPixelOfGround(place.lon, place.lat, x, y)) << column << ", " << line;
      ASSERT_NEAR(column, x, kNearPixel);
      ASSERT_NEAR(line, y, kNearPixel);
      ASSERT_TRUE(scene.Band().FindPixelOfPoint(place.lon, place.lat, place.height, x, y));
      ASSERT_NEAR(column, x, 1e-4);
      ASSERT_NEAR(line, y, 1e-4);
    }
  }
};

TEST_P(HawkReverse, LeadsBackInTheCompatiblePolicy) {
  Try(kReadCompatible);
}

TEST_P(HawkReverse, LeadsBackInTheExactPolicy) {
  Try(kReadExact);
}

std::int16_t SevenHundred(int, int) {
  return 700;
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, HawkReverse,
    testing::Values(ReverseCase{"AircraftOverTheEllipsoid", kAircraft, 127.0, 37.0, "UpperRight", "VIS", nullptr},
                    ReverseCase{"AircraftInfrared", kAircraft, 127.0, 37.0, "LowerLeft", "IR", nullptr},
                    ReverseCase{"AircraftOverFlatGround", kAircraft, 127.0, 37.0, "UpperLeft", "VIS", &SevenHundred},
                    ReverseCase{"AircraftOverHills", kAircraft, 127.0, 37.0, "LowerRight", "VIS", &GentleHills},
                    ReverseCase{"SatelliteOverTheEllipsoid", kSatellite, -71.0, -33.0, "UpperRight", "VIS", nullptr},
                    ReverseCase{"SatelliteOverFlatGround", kSatellite, -71.0, -33.0, "LowerLeft", "IR", &SevenHundred},
                    ReverseCase{"AircraftAtTheDateLine", kAircraft, 179.95, 10.0, "UpperRight", "VIS", &SevenHundred},
                    ReverseCase{"AircraftNearThePole", kAircraft, 30.0, 89.95, "UpperRight", "VIS", nullptr}),
    [](const auto& one) { return std::string(one.param.name); });

std::int16_t SteepHills(int column, int row) {
  return static_cast<std::int16_t>(std::lround(900.0 + 300.0 * std::sin(column / 6.0) * std::cos(row / 6.0)));
}

/// What becomes of pixels that are followed to the ground and back.
struct RoundTrips {
  int numPixels = 0;
  int numOthers = 0;       ///< that came back to another pixel
  double farthest = 0.0;   ///< of the places of such a pair, in degrees
  double leastTold = 0.0;  ///< how far a pixel came back beside itself where the height was told, in pixels
};

/// Posts lie 50 metres apart. Slopes are up to 45 degrees steep.
RoundTrips FollowOverSteepHills(XReadPolicy policy) {
  HawkScene scene{Fly(kAircraft, 127.0, 37.0), policy};
  scene.Ground({126.9, 37.1, 0.0005, 800, 400, &SteepHills});
  RoundTrips trips;
  std::mt19937 random(5);
  std::uniform_real_distribution<double> columns(0.0, 299.0), lines(0.0, 399.0);
  for (int i = 0; i < 500; ++i) {
    const double column = columns(random), line = lines(random);
    const HawkScene::Place place = scene.GroundOf(column, line);
    double x = 0.0, y = 0.0;
    if (!place.isFound || !scene.Band().FindPixelOfGround(place.lon, place.lat, x, y)) continue;
    ++trips.numPixels;
    if (std::hypot(x - column, y - line) > kNearPixel) {
      ++trips.numOthers;
      const HawkScene::Place again = scene.GroundOf(x, y);
      trips.farthest = std::max(trips.farthest, std::hypot(again.lon - place.lon, again.lat - place.lat));
    }
    EXPECT_TRUE(scene.Band().FindPixelOfPoint(place.lon, place.lat, place.height, x, y));
    trips.leastTold = std::max(trips.leastTold, std::hypot(x - column, y - line));
  }
  return trips;
}

/// A compatible height is that of the last of four cuts, and so one longitude and latitude may be seen at several
/// heights, each by a pixel of its own.
TEST(HawkCompatibleReverse, FindsAnyPixelOfAPlaceThatSeveralSee) {
  const RoundTrips trips = FollowOverSteepHills(kReadCompatible);
  std::printf("%d of %d pixels came back to another one, at most %.1e degrees off\n", trips.numOthers, trips.numPixels,
              trips.farthest);
  EXPECT_GT(trips.numOthers, 0);
  EXPECT_LT(trips.farthest, 1e-7);
  EXPECT_LT(trips.leastTold, kNearPixel);
}

TEST(HawkExactReverse, FindsTheOnePixelOfAPlace) {
  const RoundTrips trips = FollowOverSteepHills(kReadExact);
  EXPECT_GT(trips.numPixels, 450);
  EXPECT_EQ(0, trips.numOthers);
  EXPECT_LT(trips.leastTold, kNearPixel);
}

TEST(HawkReversePlaces, OutsideTheImageAreNone) {
  HawkScene scene{HawkBuilder()};
  double x = 5.0, y = 6.0;
  for (const auto& [lon, lat] : {std::pair{1.0, 0.0}, {0.0, 1.0}, {180.0, 0.0}, {0.0, 91.0}}) {
    EXPECT_FALSE(scene.Band().FindPixelOfGround(lon, lat, x, y)) << lon;
  }
  EXPECT_FALSE(scene.Band().FindPixelOfGround(NAN, 0.0, x, y));
  EXPECT_FALSE(scene.Band().FindPixelOfPoint(0.0, 0.0, INFINITY, x, y));
  EXPECT_EQ(5.0, x);
  EXPECT_EQ(6.0, y);
}

TEST(HawkReversePlaces, MayLieAPixelBeyondTheImage) {
  HawkScene scene{HawkBuilder()};
  const HawkScene::Place edge = scene.GroundOf(-0.5, -0.5);
  double x = 0.0, y = 0.0;
  ASSERT_TRUE(scene.Band().FindPixelOfGround(edge.lon, edge.lat, x, y));
  EXPECT_NEAR(-0.5, x, 1e-4);
  const HawkScene::Place beyond = scene.GroundOf(-1.5, 3.0);
  EXPECT_FALSE(scene.Band().FindPixelOfGround(beyond.lon, beyond.lat, x, y));
}

TEST(HawkReversePlaces, AboveTheSensorAreNone) {
  HawkScene scene{HawkBuilder()};
  double x = 0.0, y = 0.0;
  EXPECT_FALSE(scene.Band().FindPixelOfPoint(0.0, 0.0, 5000.0, x, y));
}

// Arrays

/// Columns and lines of an image, some outside.
struct Arrays {
  explicit Arrays(int count) {
    for (int i = 0; i < count; ++i) {
      x.push_back(i % 310);
      y.push_back(i / 310 % 400);
    }
    heights.resize(x.size());
  }
  std::int64_t Count() const { return std::ssize(x); }
  std::vector<double> x, y, heights;
};

bool AreSame(const std::vector<double>& one, const std::vector<double>& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); });
}

TEST(HawkArrays, GiveWhatSinglePlacesGive) {
  HawkScene scene{Fly(kAircraft, 127.0, 37.0), kReadExact};
  scene.Ground(GroundAround(127.0, 37.0, &GentleHills));
  Arrays arrays(5000);
  const std::int64_t numFound =
      scene.Band().FindGroundOfPixels(arrays.Count(), arrays.x.data(), arrays.y.data(), arrays.heights.data());
  std::int64_t numRight = 0;
  for (std::size_t i = 0; i < arrays.x.size(); ++i) {
    const HawkScene::Place place = scene.GroundOf(static_cast<double>(i % 310), static_cast<double>(i / 310));
    if (!place.isFound) {
      EXPECT_TRUE(std::isnan(arrays.x[i]) && std::isnan(arrays.y[i]) && std::isnan(arrays.heights[i]));
      continue;
    }
    ++numRight;
    EXPECT_EQ(place.lon, arrays.x[i]);
    EXPECT_EQ(place.height, arrays.heights[i]);
  }
  EXPECT_EQ(numRight, numFound);
  EXPECT_LT(numRight, arrays.Count());
}

TEST(HawkArrays, LeadBackToTheirPixels) {
  HawkScene scene{Fly(kSatellite, 127.0, 37.0)};
  Arrays arrays(3000);
  const Arrays before = arrays;
  scene.Band().FindGroundOfPixels(arrays.Count(), arrays.x.data(), arrays.y.data(), nullptr);
  scene.Band().FindPixelsOfGround(arrays.Count(), arrays.x.data(), arrays.y.data());
  for (std::size_t i = 0; i < before.x.size(); ++i) {
    if (before.x[i] > 299.0) continue;
    EXPECT_NEAR(before.x[i], arrays.x[i], kNearPixel);
    EXPECT_NEAR(before.y[i], arrays.y[i], kNearPixel);
  }
}

/// Places in leaps across the image, of which each ninth is moved, some of these to where the image has no pixel.
Arrays PlacesInLeapsOf(HawkScene& scene) {
  Arrays arrays(4000);
  for (std::size_t i = 0; i < arrays.x.size(); ++i) {
    const double column = static_cast<double>(i * 37 % 330) - 10.0, line = static_cast<double>(i * 101 % 440) - 20.0;
    arrays.x[i] = std::clamp(column, 0.0, 299.0), arrays.y[i] = std::clamp(line, 0.0, 399.0);
  }
  scene.Band().FindGroundOfPixels(arrays.Count(), arrays.x.data(), arrays.y.data(), arrays.heights.data());
  for (std::size_t i = 0; i < arrays.x.size(); i += 9) arrays.x[i] += 0.001 * static_cast<double>(i % 30);
  return arrays;
}

/// Each place is also asked alone.
TEST(HawkArrays, FindThePixelsOfPointsThatAreFoundAlone) {
  for (const Platform& platform : {kAircraft, kSatellite}) {
    HawkScene scene{Fly(platform, 127.0, 37.0), kReadExact};
    scene.Ground(GroundAround(127.0, 37.0, &GentleHills));
    const Arrays places = PlacesInLeapsOf(scene);
    std::vector<double> columns(places.x.size()), lines(places.x.size());
    const int numFound = scene.Band().FindPixels(places.x.data(), places.y.data(), places.heights.data(),
                                                 static_cast<int>(places.Count()), columns.data(), lines.data());
    int numRight = 0;
    for (std::size_t i = 0; i < places.x.size(); ++i) {
      double x = NAN, y = NAN;
      numRight += scene.Band().FindPixelOfPoint(places.x[i], places.y[i], places.heights[i], x, y);
      ASSERT_EQ(std::isnan(x), std::isnan(columns[i])) << i;
      if (std::isnan(x)) continue;
      EXPECT_NEAR(x, columns[i], 1e-4) << i;
      EXPECT_NEAR(y, lines[i], 1e-4) << i;
    }
    EXPECT_EQ(numRight, numFound);
    EXPECT_GT(numRight, 3000);
    EXPECT_LT(numRight, 4000);
  }
}

/// Compatible heights go in steps, at which the least difference of a start might lead to another pixel.
TEST(HawkArrays, FindThePixelsOverSteepHillsThatAreFoundAlone) {
  HawkScene scene{Fly(kAircraft, 127.0, 37.0)};
  scene.Ground({126.9, 37.1, 0.0005, 800, 400, &SteepHills});
  Arrays arrays(20000);
  scene.Band().FindGroundOfPixels(arrays.Count(), arrays.x.data(), arrays.y.data(), nullptr);
  const Arrays places = arrays;
  scene.Band().FindPixelsOfGround(arrays.Count(), arrays.x.data(), arrays.y.data());
  int numDifferent = 0;
  for (std::size_t i = 0; i < places.x.size(); ++i) {
    double x = NAN, y = NAN;
    scene.Band().FindPixelOfGround(places.x[i], places.y[i], x, y);
    const bool isSame = std::isnan(x) ? std::isnan(arrays.x[i]) : std::hypot(x - arrays.x[i], y - arrays.y[i]) < 1e-4;
    numDifferent += !isSame;
  }
  EXPECT_EQ(0, numDifferent);
}

TEST(HawkArrays, OfNothingGiveNothing) {
  EXPECT_EQ(0, HawkScene(HawkBuilder()).Band().FindGroundOfPixels(0, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, HawkScene(HawkBuilder()).Band().FindGroundOfPixels(-5, nullptr, nullptr, nullptr));
}

TEST(HawkThreads, ShareArraysWithoutAChange) {
  HawkScene scene{Fly(kAircraft, 127.0, 37.0), kReadExact};
  scene.Ground(GroundAround(127.0, 37.0, &GentleHills));
  Arrays one(20000), four(20000);
  const std::int64_t numFound =
      scene.Band().FindGroundOfPixels(one.Count(), one.x.data(), one.y.data(), one.heights.data());
  XfnSetWorkerCount(4);
  EXPECT_EQ(numFound, scene.Band().FindGroundOfPixels(four.Count(), four.x.data(), four.y.data(), four.heights.data()));
  XfnSetWorkerCount(1);
  EXPECT_TRUE(AreSame(one.x, four.x) && AreSame(one.y, four.y) && AreSame(one.heights, four.heights));
}

TEST(HawkThreads, AskOneBandAtOnce) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    HawkScene scene{Fly(kAircraft, 127.0, 37.0), policy};
    scene.Ground(GroundAround(127.0, 37.0, &GentleHills)).Geoid(GroundAround(127.0, 37.0, &GentleHills));
    const HawkScene::Place right = scene.GroundOf(100, 200);
    std::atomic<int> numWrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < 200; ++i) {
          const HawkScene::Place mine = scene.GroundOf(100, 200);
          if (mine.lon != right.lon || mine.height != right.height) ++numWrong;
          scene.GroundOf(i, 2 * i);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, numWrong);
  }
}

}  // namespace
