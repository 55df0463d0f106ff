// Flights that turn back see places on several lines. An array of places must give what its places give one by one.

#include "bands/hawk/HawkSensor.h"
#include "HawkScene.h"
#include "SensorTruth.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

/// A camera a kilometre above the ground, which looks straight down. A line is half a metre farther than the one before
/// where the platform stands still, and here it goes back and forth by `reach` metres, three times.
HawkBuilder FlyBackAndForth(double reach) {
  constexpr int kPoses = 25;
  const auto pose = [reach](int part, int i) {
    if (part == 1) return reach * std::sin(6.0 * M_PI * i / (kPoses - 1));
    return part == 2 ? 1000.0 : 0.0;
  };
  return HawkBuilder().Size(400, 300).Poses(kPoses).Pose(pose);
}

/// A flight whose every part goes its own way, by waves of several lengths. The wilder it is, the longer they are.
HawkBuilder FlyAtRandom(unsigned seed, double wildness) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> shares(-1.0, 1.0);
  std::vector<std::vector<double>> waves(6, std::vector<double>(6));
  for (std::vector<double>& wave : waves) {
    for (double& share : wave) share = shares(random);
  }
  const auto pose = [=](int part, int i) {
    const std::vector<double>& wave = waves[static_cast<std::size_t>(part)];
    double sum = 0.0;
    for (int k = 0; k < 3; ++k) {
      const auto at = static_cast<std::size_t>(2 * k);
      sum += wave[at] * std::sin(0.3 * (k + 1) * i + 3.0 * wave[at + 1]);
    }
    return part < 3 ? 30.0 * wildness * sum + (part == 2 ? 1000.0 : 0.0) : 0.03 * wildness * sum;
  };
  return HawkBuilder().Size(400, 300).Poses(25).Pose(pose);
}

/// Places of pixels in leaps across the image, asked together and one by one.
struct AskedTwice {
  int numFound = 0;      ///< one by one
  int numOthers = 0;     ///< of these, found on another line than the place came from
  int numDifferent = 0;  ///< whose answer among others is not that alone
};

struct PlaceLists {
  std::vector<double> lon, lat, height, lines;
};

PlaceLists PlacesInLeaps(HawkScene& scene, int count) {
  PlaceLists places;
  for (int i = 0; i < count; ++i) {
    const double column = i * 37 % 300, line = i * 3 % 400;
    const HawkScene::Place place = scene.GroundOf(column, line);
    if (!place.isFound) continue;
    places.lon.push_back(place.lon);
    places.lat.push_back(place.lat);
    places.height.push_back(place.height);
    places.lines.push_back(line);
  }
  return places;
}

bool IsSame(double one, double other) {
  return std::isnan(one) ? std::isnan(other) : std::abs(one - other) < 1e-4;
}

/// `ask(i, x, y)` asks for the pixel of one place.
template <class Ask>
AskedTwice Compare(const PlaceLists& places, const std::vector<double>& x, const std::vector<double>& y,
                   const Ask& ask) {
  AskedTwice asked;
  for (std::size_t i = 0; i < x.size(); ++i) {
    double column = NAN, line = NAN;
    asked.numFound += ask(i, column, line);
    asked.numOthers += std::abs(line - places.lines[i]) > 1.0;
    asked.numDifferent += !IsSame(column, x[i]) || !IsSame(line, y[i]);
  }
  return asked;
}

AskedTwice AskForPoints(HawkScene& scene) {
  const PlaceLists places = PlacesInLeaps(scene, 2000);
  std::vector<double> x(places.lon.size()), y(places.lon.size());
  scene.Band().FindPixels(places.lon.data(), places.lat.data(), places.height.data(), static_cast<int>(x.size()),
                          x.data(), y.data());
  return Compare(places, x, y, [&](std::size_t i, double& column, double& line) {
    return scene.Band().FindPixelOfPoint(places.lon[i], places.lat[i], places.height[i], column, line);
  });
}

AskedTwice AskForGround(HawkScene& scene) {
  const PlaceLists places = PlacesInLeaps(scene, 2000);
  std::vector<double> x = places.lon, y = places.lat;
  scene.Band().FindPixelsOfGround(std::ssize(x), x.data(), y.data());
  return Compare(places, x, y, [&](std::size_t i, double& column, double& line) {
    return scene.Band().FindPixelOfGround(places.lon[i], places.lat[i], column, line);
  });
}

/// A place may be seen by several lines. It is then often found on another one than it came from.
TEST(HawkFlightsThatTurn, GiveArraysOfPointsWhatTheyGiveEachPoint) {
  HawkScene scene{FlyBackAndForth(25.0)};
  const AskedTwice asked = AskForPoints(scene);
  EXPECT_GT(asked.numFound, 1000);
  EXPECT_GT(asked.numOthers, 100);
  EXPECT_EQ(0, asked.numDifferent);
}

TEST(HawkFlightsThatTurn, GiveArraysOfGroundWhatTheyGiveEachPlace) {
  for (const XReadPolicy policy : {kReadCompatible, kReadExact}) {
    HawkScene scene{FlyBackAndForth(25.0), policy};
    const AskedTwice asked = AskForGround(scene);
    EXPECT_GT(asked.numFound, 1000);
    EXPECT_GT(asked.numOthers, 100);
    EXPECT_EQ(0, asked.numDifferent);
  }
}

/// From flights that hardly move to those whose camera tumbles.
TEST(HawkFlightsAtRandom, GiveArraysWhatTheyGiveEachPlace) {
  int numOthers = 0;
  for (unsigned seed = 0; seed < 24; ++seed) {
    SCOPED_TRACE(seed);
    HawkScene scene{FlyAtRandom(seed, 0.05 * (1 << seed % 6)), kReadExact};
    const AskedTwice points = AskForPoints(scene), ground = AskForGround(scene);
    EXPECT_EQ(0, points.numDifferent);
    EXPECT_EQ(0, ground.numDifferent);
    numOthers += points.numOthers;
  }
  EXPECT_GT(numOthers, 100);
}

zrk::HawkSensor SensorOf(const std::string& text) {
  zrk::HawkDocument document;
  XString reason;
  EXPECT_EQ(zrk::HawkParse::kDone, zrk::ParseHawkDocument(text, true, document, reason)) << reason;
  return zrk::HawkSensor(document);
}

/// Followed searches are the fast ones, and so these flights must be known.
TEST(HawkFlightsThatGoAhead, AreKnownToSeeEachPlaceOnce) {
  for (SensorFlight flight : {SensorFlight::Aircraft(), SensorFlight::Satellite()}) {
    for (const bool isInfrared : {false, true}) {
      flight.isInfrared = isInfrared;
      const zrk::HawkSensor sensor = SensorOf(flight.Fly().Document());
      const double depth = flight.height / std::cos(flight.aside * M_PI / 180.0);
      EXPECT_TRUE(sensor.GetOnceSeen().Has(depth, 0.0));
      EXPECT_TRUE(sensor.GetOnceSeen().Has(0.9 * depth, 0.0));
      EXPECT_FALSE(sensor.GetOnceSeen().Has(100.0 * depth, 0.0));
      EXPECT_FALSE(sensor.GetOnceSeen().Has(depth, 1.0));
    }
  }
  EXPECT_TRUE(SensorOf(FlyBackAndForth(1.0).Build()).GetOnceSeen().Has(1000.0, 0.0));
}

TEST(HawkFlightsThatTurn, AreNotKnownToSeeEachPlaceOnce) {
  EXPECT_TRUE(SensorOf(FlyBackAndForth(25.0).Build()).GetOnceSeen().IsEmpty());
}

/// Two metres back and forth move the ground by less than what the lines go ahead, and 25 metres by more.
TEST(HawkFlightsThatGoAhead, FindPlacesWhereTheyCameFrom) {
  HawkScene scene{FlyBackAndForth(2.0), kReadExact};
  const AskedTwice asked = AskForPoints(scene);
  EXPECT_EQ(2000, asked.numFound);
  EXPECT_EQ(0, asked.numOthers);
  EXPECT_EQ(0, asked.numDifferent);
}

}  // namespace
