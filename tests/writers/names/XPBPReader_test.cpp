// Places found in PBP files that are put together byte by byte. Boxes and distances are held against a look at every
// single place.

#include "XPBPReader.h"
#include "FaultyDisk.h"
#include "PbpBuilder.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <thread>

namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

class XPBPReaderTest : public testing::Test {
 protected:
  /// Opens a file of these places.
  void Open(const PbpBuilder& builder) {
    folder_.Write("a.pbp", builder.Build());
    ASSERT_TRUE(reader_.Open(folder_.Path("a.pbp"), err_)) << err_.AsStdString();
  }
  std::string TellRefusal(const std::vector<unsigned char>& bytes) {
    folder_.Write("a.pbp", bytes);
    err_.Empty();
    EXPECT_FALSE(reader_.Open(folder_.Path("a.pbp"), err_));
    EXPECT_FALSE(reader_.IsOpen());
    return err_.AsStdString();
  }
  std::vector<int> FindIn(const tagXPlaceBox& box) {
    std::vector<int> numbers;
    EXPECT_TRUE(reader_.FindInBox(box, numbers, err_)) << err_.AsStdString();
    return numbers;
  }
  std::vector<std::string> NamesNear(double longitude, double latitude, int count) {
    std::vector<tagXPlace> places;
    EXPECT_TRUE(reader_.FindNearest(longitude, latitude, count, places, err_)) << err_.AsStdString();
    std::vector<std::string> names;
    for (const tagXPlace& place : places) names.push_back(place.name.AsStdString());
    return names;
  }

  TempFolder folder_;
  XPBPReader reader_;
  XString err_;
};

PbpBuilder MakeCities() {
  return PbpBuilder()
      .Add(13.4, 52.516667, "Berlin")
      .Add(2.35, 48.866667, "Paris")
      .Add(178.4419, -18.1416, "Suva")
      .Add(-157.858333, 21.306944, "Honolulu")
      .Add(-0.13, 51.5, "London")
      .Add(-175.2, -21.133, "Nuku'alofa");
}

/// Places all over the earth, some of them at the same coordinates.
PbpBuilder MakeManyPlaces(int count) {
  std::mt19937 random(3);
  PbpBuilder builder;
  for (int i = 0; i < count; ++i) {
    const double longitude = static_cast<double>(random() % 7201) / 20.0 - 180.0;
    builder.Add(longitude, static_cast<double>(random() % 3601) / 20.0 - 90.0, std::to_string(i));
  }
  return builder;
}

bool LiesWithin(const BuiltPlace& place, const tagXPlaceBox& box) {
  const bool isAcross = box.west > box.east;
  const bool isBetween = isAcross ? place.first >= box.west || place.first <= box.east
                                  : place.first >= box.west && place.first <= box.east;
  return isBetween && place.second >= box.south && place.second <= box.north;
}

/// The distance by the chord through the earth, in metres.
double DistanceByChord(const BuiltPlace& place, double longitude, double latitude) {
  const double radian = std::numbers::pi / 180.0;
  const auto point = [&](double lon, double lat) {
    return std::array{std::cos(lat * radian) * std::cos(lon * radian), std::cos(lat * radian) * std::sin(lon * radian),
                      std::sin(lat * radian)};
  };
  const auto one = point(place.first, place.second), other = point(longitude, latitude);
  const double chord = std::hypot(one[0] - other[0], one[1] - other[1], one[2] - other[2]);
  return 2.0 * std::asin(std::min(1.0, chord / 2.0)) * 6371008.8;
}

}  // namespace

TEST_F(XPBPReaderTest, TellsVersionAndPlaces) {
  Open(MakeCities());
  EXPECT_EQ(6, reader_.GetCount());
  EXPECT_EQ('1', reader_.GetVersion(0));
  EXPECT_EQ('0', reader_.GetVersion(1));
  EXPECT_EQ(0, reader_.GetVersion(2));
  tagXPlace place;
  ASSERT_TRUE(reader_.ReadPlace(1, place, err_));
  EXPECT_EQ(1, place.number);
  EXPECT_EQ(2.35, place.first);
  EXPECT_EQ(48.866667, place.second);
  EXPECT_EQ("Paris", place.name);
  EXPECT_FALSE(reader_.ReadPlace(6, place, err_));
  EXPECT_FALSE(reader_.ReadPlace(-1, place, err_));
  EXPECT_EQ("Paris", place.name);
}

TEST_F(XPBPReaderTest, TakesANameOf64BytesAndEndsOthersAtTheFirstZero) {
  Open(PbpBuilder().Add(0, 0, std::string(64, 'n')).Add(0, 0, std::string("ab\0cd", 5)));
  tagXPlace place;
  ASSERT_TRUE(reader_.ReadPlace(0, place, err_));
  EXPECT_EQ(std::string(64, 'n'), place.name);
  ASSERT_TRUE(reader_.ReadPlace(1, place, err_));
  EXPECT_EQ("ab", place.name);
}

TEST_F(XPBPReaderTest, FindsPlacesInABoxThatHoldsItsEdges) {
  Open(MakeCities());
  EXPECT_EQ((std::vector{0, 1, 4}), FindIn({-10.0, 40.0, 20.0, 60.0}));
  EXPECT_EQ((std::vector{1}), FindIn({2.35, 48.866667, 2.35, 48.866667}));
  EXPECT_EQ(std::vector<int>(), FindIn({20.0, 40.0, 30.0, 60.0}));
}

TEST_F(XPBPReaderTest, FindsPlacesInABoxAcrossTheDateLine) {
  Open(MakeCities());
  EXPECT_EQ((std::vector{2, 5}), FindIn({170.0, -30.0, -170.0, 0.0}));
}

TEST_F(XPBPReaderTest, FindsInAnyBoxWhatALookAtEveryPlaceFinds) {
  const PbpBuilder builder = MakeManyPlaces(4000);
  Open(builder);
  std::mt19937 random(5);
  const auto draw = [&](double range) { return static_cast<double>(random() % 2001) / 1000.0 * range - range; };
  for (int trial = 0; trial < 200; ++trial) {
    const double south = draw(90.0), west = draw(180.0);
    // Narrow boxes are found through a table, and wide ones record by record.
    const double side = trial % 2 ? 2.0 : 90.0;
    const tagXPlaceBox box{west, south, west + side > 180.0 ? west + side - 360.0 : west + side, south + side};
    std::vector<int> expected;
    for (std::size_t i = 0; i < builder.GetPlaces().size(); ++i) {
      if (LiesWithin(builder.GetPlaces()[i], box)) expected.push_back(static_cast<int>(i));
    }
    ASSERT_EQ(expected, FindIn(box)) << trial;
  }
}

TEST_F(XPBPReaderTest, FindsNoPlaceWhoseCoordinateIsNotANumber) {
  Open(PbpBuilder().Add(kNoNumber, 1.0, "a").Add(1.0, kNoNumber, "b").Add(1.0, 1.0, "c").Add(INFINITY, 1.0, "d"));
  EXPECT_EQ((std::vector{2}), FindIn({-1e308, -1e308, 1e308, 1e308}));
  EXPECT_EQ((std::vector{2, 3}), FindIn({-INFINITY, -INFINITY, INFINITY, INFINITY}));
  EXPECT_EQ((std::vector<std::string>{"c"}), NamesNear(0.0, 0.0, 9));
}

TEST_F(XPBPReaderTest, RefusesBoxesWithoutExtent) {
  Open(MakeCities());
  std::vector<int> numbers = {77};
  for (const tagXPlaceBox& box : {tagXPlaceBox{0, 1, 1, 0}, {kNoNumber, 0, 1, 1}, {0, kNoNumber, 1, 1}}) {
    EXPECT_FALSE(reader_.FindInBox(box, numbers, err_));
    EXPECT_EQ("The box has no extent", err_);
  }
  EXPECT_EQ((std::vector{77}), numbers);
}

TEST_F(XPBPReaderTest, FindsTheNearestFirst) {
  Open(MakeCities());
  EXPECT_EQ((std::vector<std::string>{"London", "Paris", "Berlin"}), NamesNear(-1.0, 51.0, 3));
  EXPECT_EQ(6u, NamesNear(0.0, 0.0, 100).size());
}

TEST_F(XPBPReaderTest, FindsTheNearestAcrossTheDateLineAndThePole) {
  Open(PbpBuilder()
           .Add(170.0, 0.0, "west")
           .Add(-175.0, 1.0, "across")
           .Add(0.0, 85.0, "here")
           .Add(180.0, 89.5, "beyond"));
  EXPECT_EQ((std::vector<std::string>{"across", "west"}), NamesNear(179.0, 0.0, 2));
  EXPECT_EQ((std::vector<std::string>{"beyond", "here"}), NamesNear(0.0, 88.0, 2));
}

TEST_F(XPBPReaderTest, TellsTheDistanceOnASphere) {
  Open(PbpBuilder().Add(0.0, 0.0, "a"));
  std::vector<tagXPlace> places;
  ASSERT_TRUE(reader_.FindNearest(90.0, 0.0, 1, places, err_));
  EXPECT_NEAR(6371008.8 * std::numbers::pi / 2.0, places[0].distance, 1e-3);
  ASSERT_TRUE(reader_.FindNearest(180.0, 0.0, 1, places, err_));
  EXPECT_NEAR(6371008.8 * std::numbers::pi, places[0].distance, 1e-3);
}

TEST_F(XPBPReaderTest, FindsAsNearestWhatALookAtEveryPlaceFinds) {
  const PbpBuilder builder = MakeManyPlaces(3000);
  Open(builder);
  std::mt19937 random(9);
  for (int trial = 0; trial < 60; ++trial) {
    const double longitude = static_cast<double>(random() % 3601) / 10.0 - 180.0;
    const double latitude = trial == 0 ? 90.0 : static_cast<double>(random() % 1801) / 10.0 - 90.0;
    std::vector<double> expected;
    for (const BuiltPlace& place : builder.GetPlaces()) expected.push_back(DistanceByChord(place, longitude, latitude));
    std::ranges::sort(expected);
    std::vector<tagXPlace> places;
    ASSERT_TRUE(reader_.FindNearest(longitude, latitude, 7, places, err_));
    ASSERT_EQ(7u, places.size());
    for (std::size_t i = 0; i < places.size(); ++i) ASSERT_NEAR(expected[i], places[i].distance, 0.5) << trial;
  }
}

TEST_F(XPBPReaderTest, RefusesToSearchBesideTheEarth) {
  Open(MakeCities());
  std::vector<tagXPlace> places;
  EXPECT_FALSE(reader_.FindNearest(0.0, 90.5, 1, places, err_));
  EXPECT_FALSE(reader_.FindNearest(kNoNumber, 0.0, 1, places, err_));
  EXPECT_EQ("The place is not on earth", err_);
  EXPECT_FALSE(reader_.FindNearest(0.0, 0.0, 0, places, err_));
  EXPECT_TRUE(places.empty());
}

TEST_F(XPBPReaderTest, AnswersNothingWhileNoFileIsOpen) {
  std::vector<int> numbers;
  std::vector<tagXPlace> places;
  tagXPlace place;
  EXPECT_EQ(0, reader_.GetCount());
  EXPECT_FALSE(reader_.FindInBox({0, 0, 1, 1}, numbers, err_));
  EXPECT_FALSE(reader_.FindNearest(0, 0, 1, places, err_));
  EXPECT_FALSE(reader_.ReadPlace(0, place, err_));
  EXPECT_FALSE(reader_.Open(folder_.Path("none.pbp"), err_));
  EXPECT_FALSE(err_.IsEmpty());
}

TEST_F(XPBPReaderTest, RefusesFilesThatAreNotWhatTheySay) {
  EXPECT_EQ("The file is no PBP file", TellRefusal({'P', 'B', 'P'}));
  EXPECT_EQ("The file is no PBP file", TellRefusal({'P', 'B', 'I', '1', '0', 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ("The header claims -1 places", TellRefusal({'P', 'B', 'P', '1', '0', 0, 0, 0, 255, 255, 255, 255}));
  EXPECT_EQ("The file has 540 bytes, and its 7 places need 628", TellRefusal(MakeCities().Claim(7).Build()));
  EXPECT_EQ("The file has 540 bytes, and its 2147483647 places need 188978560948",
            TellRefusal(MakeCities().Claim(INT32_MAX).Build()));
}

TEST_F(XPBPReaderTest, FailsWhereATableNamesWhatIsNotThere) {
  PbpBuilder builder = MakeManyPlaces(200);
  PbpBuilder::Table table = builder.SortBy(&BuiltPlace::second);
  for (std::int32_t& number : table) number += 100;
  Open(builder.SecondTable(table));
  std::vector<int> numbers = {77};
  EXPECT_FALSE(reader_.FindInBox({-180.0, 80.0, 180.0, 90.0}, numbers, err_));
  EXPECT_THAT(err_.AsStdString(), testing::MatchesRegex("A table names the place [0-9]+, and there are 200"));
  EXPECT_EQ((std::vector{77}), numbers);
}

TEST_F(XPBPReaderTest, FailsWhereTheFileIsCutShortAfterItWasOpened) {
  Open(MakeCities());
  folder_.Write("a.pbp", "PBP10");
  std::vector<int> numbers;
  EXPECT_FALSE(reader_.FindInBox({0, 0, 1, 1}, numbers, err_));
  EXPECT_EQ("The file can't be read", err_);
}

TEST_F(XPBPReaderTest, FailsWithEachReadThatFails) {
  folder_.Write("a.pbp", MakeManyPlaces(100).Build());
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  ASSERT_TRUE(reader_.Open(folder_.Path("a.pbp"), err_));
  std::vector<tagXPlace> places;
  const int before = disk.GetReadCount();
  ASSERT_TRUE(reader_.FindNearest(10.0, 10.0, 2, places, err_));
  const int numReads = disk.GetReadCount() - before;
  for (int nth = 1; nth <= numReads; ++nth) {
    disk.FailRead(disk.GetReadCount() + nth);
    EXPECT_FALSE(reader_.FindNearest(10.0, 10.0, 2, places, err_)) << nth;
  }
}

TEST_F(XPBPReaderTest, ServesManyThreadsAtOnce) {
  Open(MakeManyPlaces(500));
  const std::vector<int> expected = FindIn({-90.0, -45.0, 90.0, 45.0});
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      XString err;
      std::vector<int> numbers;
      std::vector<tagXPlace> places;
      for (int repeat = 0; repeat < 20; ++repeat) {
        EXPECT_TRUE(reader_.FindInBox({-90.0, -45.0, 90.0, 45.0}, numbers, err));
        EXPECT_EQ(expected, numbers);
        EXPECT_TRUE(reader_.FindNearest(0.0, 0.0, 3, places, err));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}
