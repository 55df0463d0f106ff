#include "picture/Hillshade.h"

#include "DtedBuilder.h"
#include "MemoryBand.h"
#include "PngReader.h"
#include "Program.h"

#include <functional>
#include <limits>

namespace {

using Pixels = std::vector<unsigned char>;
using Ground = std::function<double(int x, int y)>;

constexpr double kNoHeight = std::numeric_limits<double>::quiet_NaN();

Pixels Shade(int width, int height, const GroundSteps& steps, double zFactor, const Ground& ground) {
  Hillshade hillshade(width, height, steps, zFactor);
  Pixels pixels;
  for (int y = 0; y < height; ++y) {
    std::vector<double> row;
    for (int x = 0; x < width; ++x) row.push_back(ground(x, y));
    hillshade.Add(row, pixels);
  }
  return pixels;
}

/// A plane that rises by so much to the east and to the north, over steps of one metre.
Pixels ShadePlane(double eastward, double northward) {
  return Shade(4, 3, {}, 1.0, [=](int x, int y) { return 100.0 + x * eastward - y * northward; });
}

// The light of a plane is (root of 1/2 + (e - n) / 2) / root of (1 + e^2 + n^2), and its pixel 1 + 254 times that.

TEST(Hillshade, OfLevelGroundIsTheSineOf45Degrees) {
  EXPECT_EQ(Pixels(12, 181), ShadePlane(0, 0));  // 0.70711: 180.6
}

TEST(Hillshade, IsBrightOnSlopesThatFaceWestOrNorth) {
  EXPECT_EQ(Pixels(12, 218), ShadePlane(1, 0));   // 1.20711 / 1.41421 = 0.85355: 217.8
  EXPECT_EQ(Pixels(12, 218), ShadePlane(0, -1));  // the ground falls to the north
}

TEST(Hillshade, IsDarkOnSlopesThatFaceEastOrSouth) {
  EXPECT_EQ(Pixels(12, 38), ShadePlane(-1, 0));  // 0.20711 / 1.41421 = 0.14645: 38.2
  EXPECT_EQ(Pixels(12, 38), ShadePlane(0, 1));
}

TEST(Hillshade, IsBrightestTowardTheLightAndDarkestAwayFromIt) {
  EXPECT_EQ(Pixels(12, 251), ShadePlane(1, -1));  // 1.70711 / 1.73205 = 0.98560: 251.3
  EXPECT_EQ(Pixels(12, 1), ShadePlane(-1, 1));    // in the shade of itself
  // A slope of 45 degrees straight toward the light is all light.
  EXPECT_EQ(Pixels(12, 255), ShadePlane(std::sqrt(0.5), -std::sqrt(0.5)));
}

TEST(Hillshade, AcrossTheLightIsDarkerThanLevelGround) {
  EXPECT_EQ(Pixels(12, 105), ShadePlane(1, 1));  // 0.70711 / 1.73205 = 0.40825: 104.7
}

TEST(Hillshade, TakesHeightsTimesTheFactorOverTheSteps) {
  const auto rising = [](int x, int) { return 6.0 * x; };
  EXPECT_EQ(Pixels(12, 218), Shade(4, 3, {3.0, 7.0, false, 0.0}, 0.5, rising));
  const auto falling = [](int, int y) { return 14.0 * y; };
  EXPECT_EQ(Pixels(12, 218), Shade(4, 3, {3.0, 7.0, false, 0.0}, 0.5, falling));
}

/// 1 2 3 / 4 5 7 / 8 9 9 in steps of 2: eastward (3 + 14 + 9 - 1 - 8 - 8) / 16, northward (1 + 4 + 3 - 8 - 18 - 9)
/// / 16.
TEST(Hillshade, CountsTheMiddleTwice) {
  const double heights[] = {1, 2, 3, 4, 5, 7, 8, 9, 9};
  const Pixels pixels = Shade(3, 3, {2.0, 2.0, false, 0.0}, 1.0, [&](int x, int y) { return heights[3 * y + x]; });
  // e = 9/16, n = -27/16: (0.70711 + 1.125) / root of (1 + 0.31641 + 2.84766) = 0.89781: 229.04
  EXPECT_EQ(229, pixels[4]);
}

TEST(Hillshade, LeavesWhatHasNoHeightBlackAndItsNeighboursLevelWithIt) {
  const auto hole = [](int x, int y) { return x == 2 && y == 2 ? kNoHeight : 50.0; };
  const Pixels pixels = Shade(5, 5, {}, 1.0, hole);
  for (int i = 0; i < 25; ++i) EXPECT_EQ(i == 12 ? 0 : 181, pixels[static_cast<std::size_t>(i)]) << i;
}

TEST(Hillshade, OfOnePixelOrOneRowIsThere) {
  EXPECT_EQ(Pixels{181}, Shade(1, 1, {}, 1.0, [](int, int) { return 7.0; }));
  EXPECT_EQ(Pixels(3, 218), Shade(3, 1, {}, 1.0, [](int x, int) { return 1.0 * x; }));
  EXPECT_EQ(Pixels(3, 218), Shade(1, 3, {}, 1.0, [](int, int y) { return 1.0 * y; }));
}

/// Lengths of a degree as tables of the ellipsoid have them, in kilometres.
TEST(Hillshade, KnowsTheLengthOfADegree) {
  const double table[][3] = {{0, 110.574, 111.320}, {15, 110.649, 107.550}, {30, 110.852, 96.486},
                             {45, 111.132, 78.847}, {60, 111.412, 55.800},  {75, 111.618, 28.902}};
  for (const auto& [degrees, latitude, longitude] : table) {
    EXPECT_NEAR(1000 * latitude, FindMetresPerDegree(degrees).latitude, 1.0) << degrees;
    EXPECT_NEAR(1000 * longitude, FindMetresPerDegree(-degrees).longitude, 1.0) << degrees;
  }
  EXPECT_GT(FindMetresPerDegree(90).longitude, 100.0);
}

/// At 60 degrees a thousandth of a degree of longitude is 55.8 m long, further south longer: the plane rises by as much
/// as that at its first row, and so less steeply below.
TEST(Hillshade, OfDegreesGoesByTheLatitudeOfEachRow) {
  const Pixels pixels = Shade(3, 3, {0.001, 30.0, true, 60.0}, 1.0, [](int x, int) { return 55.8 * x; });
  EXPECT_EQ(218, pixels[1]);
  // At 30 degrees it is 96.486 m: e = 0.57832, (0.70711 + 0.28916) / 1.15519 = 0.86243: 220.1
  EXPECT_EQ(220, pixels[4]);
  // At 0 degrees 111.320 m: e = 0.50126, (0.70711 + 0.25063) / 1.11859 = 0.85620: 218.5
  EXPECT_EQ(218, pixels[7]);
}

TEST(Hillshade, FindsItsStepsFromTheBandAndThePicture) {
  MemoryBand band;
  band.SetSize(200, 100);
  band.SetPixelSize(10.0, 20.0);
  const GroundSteps metres = FindGroundSteps(band, WholeOf(band), 50, 25);
  EXPECT_EQ(40.0, metres.x);
  EXPECT_EQ(80.0, metres.y);
  EXPECT_FALSE(metres.areDegrees);
  band.GetSR()->SetWellKnownGeogCS("WGS84");
  band.SetPixelSize(0.01, 0.02);
  band.SetUpperLeft(10.0, 50.0);
  EXPECT_FALSE(FindGroundSteps(band, WholeOf(band), 100, 50).areDegrees) << "without a place";
  band.SetCoordinateKind(kCoordinateWorld);
  const GroundSteps degrees = FindGroundSteps(band, WholeOf(band), 100, 50);
  EXPECT_TRUE(degrees.areDegrees);
  EXPECT_DOUBLE_EQ(0.02, degrees.x);
  EXPECT_DOUBLE_EQ(50.0 - 0.02, degrees.topLatitude);
}

TEST(Hillshade, TakesPixelsWithoutASizeForOneUnit) {
  MemoryBand band;
  band.SetSize(4, 4);
  for (const double size : {0.0, std::numeric_limits<double>::infinity(), kNoHeight}) {
    band.SetPixelSize(size, size);
    EXPECT_EQ(1.0, FindGroundSteps(band, WholeOf(band), 4, 4).x);
    EXPECT_EQ(1.0, FindGroundSteps(band, WholeOf(band), 4, 4).y);
  }
}

class ZrkioHillshade : public Zrkio {
 protected:
  DecodedPng View(const std::string& path, std::vector<std::string> options) {
    options.insert(options.begin(), {"view", path, "--hillshade", "-o", folder_.Path("out.png")});
    EXPECT_EQ(0, Run(options).exitStatus);
    return DecodePng(folder_.Path("out.png"));
  }
};

/// A plane of 30 m a post to the east: 121 posts a degree at the equator, each 927.7 m apart, so that the slope is
/// 0.03234, and the light (0.70711 + 0.01617) / 1.00052 = 0.72290: 184.6.
TEST_F(ZrkioHillshade, OfACellIsThatOfItsLatitude) {
  const auto plane = [](int line, int) { return static_cast<std::uint16_t>(30 * line); };
  const DtedBuilder cell =
      DtedBuilder().Size(121, 121).Corners("000000N", "0100000E", "010000N", "0110000E").Words(plane);
  for (const char* datum : {"WGS84", "WGS72"}) {
    const DecodedPng picture = View(Write("a.dt0", DtedBuilder(cell).Datum(datum).Build()), {});
    ASSERT_EQ(1, picture.channels);
    ASSERT_EQ(121, picture.width);
    EXPECT_EQ(Pixels(121 * 121, 185), picture.samples) << datum;
  }
}

/// The same as means of 11 x 11 posts, and ten times as steep: 0.3234, (0.70711 + 0.16170) / 1.05099 = 0.82666: 211.0.
TEST_F(ZrkioHillshade, OfASmallPictureIsThatOfTheLargePlane) {
  const auto plane = [](int line, int) { return static_cast<std::uint16_t>(30 * line); };
  const DtedBuilder cell =
      DtedBuilder().Size(121, 121).Corners("000000N", "0100000E", "010000N", "0110000E").Words(plane);
  const std::string path = Write("a.dt0", cell.Build());
  const DecodedPng picture = View(path, {"--max-size", "11", "--z-factor", "10", "--no-levels"});
  ASSERT_EQ(11, picture.width);
  for (const unsigned char pixel : picture.samples) EXPECT_NEAR(211, pixel, 1);
}

TEST_F(ZrkioHillshade, TakesTheFirstBandOfSeveral) {
  const std::string path = Write(
      "a.bmp", BmpBuilder().Size(9, 5).Pixel([](int x, int) { return static_cast<std::uint32_t>(x << 16); }).Build());
  EXPECT_EQ(Pixels(45, 218), View(path, {}).samples);
  EXPECT_EQ(Pixels(45, 181), View(path, {"--bands", "2"}).samples);
}

TEST_F(ZrkioHillshade, RefusesThreeBandsAndAFactorOfItsOwn) {
  const std::string path = Write("a.bmp", BmpBuilder().Build()), out = folder_.Path("out.png");
  EXPECT_EQ(2, Run({"view", path, "--hillshade", "--bands", "1,2,3", "-o", out}).exitStatus);
  EXPECT_EQ(2, Run({"view", path, "--z-factor", "2", "-o", out}).exitStatus);
  EXPECT_EQ(2, Run({"view", path, "--hillshade", "--z-factor", "0", "-o", out}).exitStatus);
}

}  // namespace
