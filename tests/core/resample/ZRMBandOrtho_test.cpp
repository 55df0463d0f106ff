#include "ZRMBandOrtho.h"
#include "MemoryBand.h"
#include "XReadPolicy.h"
#include "XSystem.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>

namespace {

constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

/// An image whose sensor is a formula. It stands 9 km above its target and looks aside, so that a metre of height moves
/// a place by more than a pixel, and it is shaken along its lines.
class FormulaSensor : public MemoryBandOf<ZRMBand>, public XSensorModel {
 public:
  static constexpr int kWidth = 300, kHeight = 260;

  FormulaSensor() {
    SetUseSensorModel(1);
    SetNullValue(-1.0);
    HoldPositions(0);
  }
  /// From now on each sample is the number of its column (0) or line (1). A sample of a map then tells the position
  /// that it was taken from.
  void HoldPositions(int axis) {
    Hold<double>([axis](int x, int y) { return axis == 0 ? x : y; });
  }
  template <class Sample, class Value>
  void Hold(const Value& value) {
    std::vector<Sample> samples;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) samples.push_back(static_cast<Sample>(value(x, y)));
    }
    SetSamples(kWidth, kHeight, samples);
  }

  double lon = 11.0;
  double lat = 47.5;
  double shake = 1.0;
  std::function<double(double, double)> terrain = [](double, double) { return 0.0; };

  int FindPixels(const double* lons, const double* lats, const double* heights, int count, double* x,
                 double* y) const override {
    int numFound = 0;
    for (int i = 0; i < count; ++i) {
      Project(std::remainder(lons[i] - lon, 360.0), lats[i] - lat, heights[i], x[i], y[i]);
      const bool isInside = x[i] >= -1.0 && x[i] <= kWidth && y[i] >= -1.0 && y[i] <= kHeight;
      if (!isInside) x[i] = y[i] = kNowhere;
      numFound += isInside;
    }
    return numFound;
  }
  int FindHeights(const double* lons, const double* lats, int count, double* heights) const override {
    for (int i = 0; i < count; ++i) heights[i] = terrain(lons[i], lats[i]);
    return count;
  }
  /// By Newton's way with differences.
  int LocatePixels(const double* x, const double* y, int count, double* lons, double* lats,
                   double* heights) const override {
    for (int i = 0; i < count; ++i) {
      double east = 0.0, north = 0.0;
      for (int pass = 0; pass < 30; ++pass) Approach(x[i], y[i], east, north);
      lons[i] = std::remainder(lon + east, 360.0);
      lats[i] = lat + north;
      heights[i] = terrain(lons[i], lats[i]);
    }
    return count;
  }
  int SetDemFile(XRSFile*) override { return 0; }
  int SetGeoidFile(XRSFile*) override { return 0; }

  /// The position that shows a place on the ground.
  std::array<double, 2> PositionOf(double placeLon, double placeLat) const {
    std::array<double, 2> position;
    Project(std::remainder(placeLon - lon, 360.0), placeLat - lat, terrain(placeLon, placeLat), position[0],
            position[1]);
    return position;
  }

 private:
  static constexpr double kPixelsPerDegree = 110000.0;

  void Project(double east, double north, double height, double& x, double& y) const {
    const double range = 9000.0 / (9000.0 - height);
    x = 150.0 + (0.9 * east + 0.3 * north) * kPixelsPerDegree * range - 1.28 * height * range;
    y = 130.0 + (0.3 * east - 0.9 * north) * kPixelsPerDegree * range;
    x += shake * 1.5 * std::sin(y / 21.0);
    y += shake * 0.8 * std::cos(y / 34.0);
  }
  void Approach(double x, double y, double& east, double& north) const {
    constexpr double kStep = 1e-7;
    const auto at = [&](double de, double dn) {
      std::array<double, 2> position;
      Project(east + de, north + dn, terrain(lon + east + de, lat + north + dn), position[0], position[1]);
      return position;
    };
    const auto p = at(0.0, 0.0), e = at(kStep, 0.0), n = at(0.0, kStep);
    const double a = (e[0] - p[0]) / kStep, b = (n[0] - p[0]) / kStep;
    const double c = (e[1] - p[1]) / kStep, d = (n[1] - p[1]) / kStep;
    const double determinant = a * d - b * c;
    east += 0.7 * ((x - p[0]) * d - (y - p[1]) * b) / determinant;
    north += 0.7 * ((y - p[1]) * a - (x - p[0]) * c) / determinant;
  }
};

double RollingHills(double lon, double lat) {
  return 60.0 * std::sin(lon * 9000.0) * std::cos(lat * 7000.0) + 15.0 * std::sin(lon * 30000.0 + lat * 20000.0);
}

tagXOrthoGrid DegreesAround(const FormulaSensor& sensor, int size, double pixel) {
  tagXOrthoGrid grid;
  grid.sr.SetWellKnownGeogCS("WGS84");
  grid.west = sensor.lon - 0.5 * size * pixel;
  grid.north = sensor.lat + 0.5 * size * pixel;
  grid.pixelSize = pixel;
  grid.xSize = grid.ySize = size;
  return grid;
}

class Ortho : public testing::Test {
 protected:
  void Show(const tagXOrthoGrid& grid, XOrthoMethod method = kOrthoBilinear) {
    XString err;
    ASSERT_EQ(1, band_.SetSource(&sensor_, grid, method, err)) << err.GetText();
  }
  std::vector<double> Read(int level = 0) {
    tagXArr2* out = nullptr;
    if (!band_.ReadSubset(out, level, 0, band_.GetXSize() - 1, 0, band_.GetYSize() - 1, nullptr)) return {};
    width_ = out->xSize;
    return SamplesOf<double>(*out);
  }
  /// The position under the centre of a pixel of a grid in degrees.
  std::array<double, 2> PositionUnder(std::size_t index) const {
    const auto x = static_cast<double>(index % static_cast<std::size_t>(width_));
    const auto y = static_cast<double>(index / static_cast<std::size_t>(width_));
    return sensor_.PositionOf(band_.GetULX() + (x + 0.5) * band_.GetXPixelSize(),
                              band_.GetULY() - (y + 0.5) * band_.GetYPixelSize());
  }
  /// Whether all four samples around a position are there.
  static bool IsInner(const std::array<double, 2>& at) {
    return at[0] >= 0.0 && at[0] <= FormulaSensor::kWidth - 1 && at[1] >= 0.0 && at[1] <= FormulaSensor::kHeight - 1;
  }
  /// How far the pixels of the map are off along an axis, at most.
  double FindLargestError(int axis, int& numShown) {
    sensor_.HoldPositions(axis);
    const std::vector<double> samples = Read();
    double largest = 0.0;
    numShown = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const std::array<double, 2> at = PositionUnder(i);
      if (!IsInner(at)) continue;
      ++numShown;
      largest = std::max(largest, std::abs(samples[i] - at[static_cast<std::size_t>(axis)]));
    }
    return largest;
  }
  void ExpectAllNear(int least) {
    for (const int axis : {0, 1}) {
      int numShown = 0;
      EXPECT_LT(FindLargestError(axis, numShown), 0.05) << axis;
      EXPECT_GT(numShown, least);
    }
  }

  FormulaSensor sensor_;
  ZRMBandOrtho band_;
  int width_ = 0;
};

constexpr double kPixel = 1.0 / 110000.0;

TEST_F(Ortho, IsOffByLessThanATwentiethOfAPixelOverThePlainEarth) {
  Show(DegreesAround(sensor_, 300, kPixel));
  ExpectAllNear(30000);
}

TEST_F(Ortho, IsOffByLessThanATwentiethOfAPixelOverHills) {
  sensor_.terrain = &RollingHills;
  Show(DegreesAround(sensor_, 450, kPixel));
  ExpectAllNear(30000);
}

TEST_F(Ortho, IsOffByLessThanATwentiethOfAPixelWhereTheSensorIsShakenHard) {
  sensor_.terrain = &RollingHills;
  sensor_.shake = 4.0;
  Show(DegreesAround(sensor_, 450, kPixel));
  ExpectAllNear(30000);
}

/// A wall of 120 metres stands across the image, between two pixels.
TEST_F(Ortho, IsOffByLessThanATwentiethOfAPixelOnBothSidesOfAWall) {
  sensor_.terrain = [](double lon, double) { return lon > 11.00013 ? 140.0 : 20.0; };
  Show(DegreesAround(sensor_, 300, kPixel));
  ExpectAllNear(20000);
}

TEST_F(Ortho, IsAsNearAcrossTheDateLine) {
  sensor_.lon = 180.0;
  sensor_.terrain = [](double lon, double lat) { return RollingHills(lon < 0.0 ? lon + 360.0 : lon, lat); };
  Show(DegreesAround(sensor_, 300, kPixel));
  ExpectAllNear(20000);
}

TEST_F(Ortho, ShowsNothingOutsideTheImage) {
  Show(DegreesAround(sensor_, 450, kPixel));
  const std::vector<double> samples = Read();
  ASSERT_EQ(450u * 450u, samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto [x, y] = PositionUnder(i);
    const double outside = std::max({-0.5 - x, x - 299.5, -0.5 - y, y - 259.5});
    // The rim itself is as sharp as positions are.
    if (std::abs(outside) > 0.05) {
      EXPECT_EQ(outside > 0.0, samples[i] == -1.0) << x << ", " << y;
    }
  }
}

TEST_F(Ortho, ShowsNothingWhereTheGroundHasNoHeight) {
  sensor_.terrain = [&](double lon, double) { return lon > 11.0002 ? kNowhere : 20.0; };
  Show(DegreesAround(sensor_, 200, kPixel));
  const std::vector<double> samples = Read();
  int numShown = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double lon = band_.GetULX() + (static_cast<double>(i % 200) + 0.5) * kPixel;
    EXPECT_TRUE(lon < 11.0002 || samples[i] == -1.0) << i;
    numShown += samples[i] != -1.0;
  }
  EXPECT_GT(numShown, 15000);
}

TEST_F(Ortho, TakesTheNearestPixelWhereThatIsAsked) {
  Show(DegreesAround(sensor_, 200, kPixel), kOrthoNearest);
  const std::vector<double> samples = Read();
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double column = PositionUnder(i)[0];
    EXPECT_EQ(samples[i], std::floor(samples[i]));
    EXPECT_LT(std::abs(samples[i] - column), 0.55) << i;
  }
}

/// By how much the samples of a map lie above what the positions tell, on average; and the largest error.
struct OrthoErrors {
  double mean = 0.0;
  double largest = 0.0;
};

class OrthoSamples : public Ortho {
 protected:
  /// Of an image whose samples are 2.3 times their column, less 250 for types with a sign.
  template <class Sample>
  OrthoErrors FindErrors() {
    const double offset = std::is_signed_v<Sample> ? -250.0 : 0.0, slope = sizeof(Sample) == 1 ? 0.8 : 2.3;
    sensor_.SetNullValue(kNotSet);
    sensor_.Hold<Sample>([=](int x, int) { return std::round(slope * x) + offset; });
    Show(DegreesAround(sensor_, 200, kPixel));
    tagXArr2* out = nullptr;
    EXPECT_EQ(1, band_.ReadSubset(out, 0, 0, 199, 0, 199, nullptr));
    width_ = 200;
    const std::vector<Sample> samples = SamplesOf<Sample>(*out);
    OrthoErrors errors;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const double x = PositionUnder(i)[0], left = std::floor(x);
      const double first = std::round(slope * left) + offset, second = std::round(slope * (left + 1.0)) + offset;
      const double error = static_cast<double>(samples[i]) - (first + (second - first) * (x - left));
      errors.mean += error / static_cast<double>(samples.size());
      errors.largest = std::max(errors.largest, std::abs(error));
    }
    return errors;
  }
  /// Every eighth column has the null value. The samples beside it are taken as they are.
  template <class Sample>
  void ExpectUnmixed(Sample null) {
    sensor_.SetNullValue(null);
    sensor_.Hold<Sample>([null](int x, int) { return x % 8 == 0 ? null : Sample{200}; });
    Show(DegreesAround(sensor_, 200, kPixel));
    tagXArr2* out = nullptr;
    ASSERT_EQ(1, band_.ReadSubset(out, 0, 0, 199, 0, 199, nullptr));
    width_ = 200;
    const std::vector<Sample> samples = SamplesOf<Sample>(*out);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const double x = PositionUnder(i)[0], beside = std::abs(std::remainder(x, 8.0));
      if (std::abs(beside - 0.5) > 0.05) {
        EXPECT_EQ(beside < 0.5 ? null : Sample{200}, samples[i]) << x;
      }
    }
  }
  /// Half a step of rounding, and a twentieth of a pixel.
  template <class Sample>
  void ExpectRounded() {
    const OrthoErrors errors = FindErrors<Sample>();
    EXPECT_LT(errors.largest, 0.5 + 0.05 * 3.0);
    EXPECT_NEAR(0.0, errors.mean, 0.02);
  }
};

TEST_F(OrthoSamples, AreRoundedToTheNearestWholeNumber) {
  ExpectRounded<std::uint8_t>();
  ExpectRounded<std::uint16_t>();
  ExpectRounded<std::int16_t>();
  ExpectRounded<std::uint32_t>();
  ExpectRounded<std::int32_t>();
}

TEST_F(OrthoSamples, OfRealNumbersAreNotRounded) {
  EXPECT_LT(FindErrors<float>().largest, 0.05 * 3.0);
}

TEST_F(OrthoSamples, AreNotMixedWithNullValues) {
  ExpectUnmixed<std::uint8_t>(7);
}

TEST_F(OrthoSamples, AreNotMixedWithNullValuesThatAreInfinite) {
  ExpectUnmixed<float>(-std::numeric_limits<float>::infinity());
}

TEST_F(Ortho, GivesEveryOtherPixelAtLevelOne) {
  sensor_.terrain = &RollingHills;
  Show(DegreesAround(sensor_, 201, kPixel));
  const std::vector<double> whole = Read(), half = Read(1);
  ASSERT_EQ(100u * 100u, half.size());
  for (std::size_t i = 0; i < half.size(); ++i) {
    EXPECT_NEAR(whole[i / 100 * 2 * 201 + i % 100 * 2], half[i], 0.1) << i;
  }
}

TEST_F(Ortho, GivesTheSameWindowInThePlaceOfTheWhole) {
  sensor_.terrain = &RollingHills;
  Show(DegreesAround(sensor_, 300, kPixel));
  const std::vector<double> whole = Read();
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, band_.ReadSubset(out, 0, 100, 170, 31, 90, nullptr));
  ASSERT_EQ(71, out->xSize);
  const std::vector<double> part = SamplesOf<double>(*out);
  for (std::size_t i = 0; i < part.size(); ++i) {
    EXPECT_NEAR(whole[(i / 71 + 31) * 300 + i % 71 + 100], part[i], 0.05) << i;
  }
}

TEST_F(Ortho, ReadsAReducedLevelForAMapThatIsMuchCoarser) {
  Show(DegreesAround(sensor_, 60, 4.0 * kPixel));
  const std::vector<double> samples = Read();
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::array<double, 2> at = PositionUnder(i);
    // Level 1 here has the even columns, which stand for pairs.
    if (IsInner(at) && at[0] > 2.0 && at[0] < 296.0) {
      EXPECT_NEAR(at[0], samples[i], 2.0) << i;
    }
  }
}

TEST_F(Ortho, WithThreadsIsTheSameToTheByte) {
  sensor_.terrain = &RollingHills;
  Show(DegreesAround(sensor_, 400, kPixel));
  const std::vector<double> alone = Read();
  XfnSetWorkerCount(3);
  const std::vector<double> together = Read();
  XfnSetWorkerCount(1);
  EXPECT_EQ(alone, together);
}

TEST_F(Ortho, StopsWhenItIsAsked) {
  Show(DegreesAround(sensor_, 100, kPixel));
  tagXArr2* out = nullptr;
  int stop = 1;
  EXPECT_EQ(0, band_.ReadSubset(out, 0, 0, 99, 0, 99, &stop));
  EXPECT_EQ(nullptr, out);
}

TEST_F(Ortho, FailsWithItsSource) {
  Show(DegreesAround(sensor_, 100, kPixel));
  sensor_.FailReads();
  EXPECT_TRUE(Read().empty());
}

TEST_F(Ortho, RefusesWhatIsNoMap) {
  XString err;
  MemoryBand plain;
  plain.SetRamp<std::uint8_t>(4, 4);
  tagXOrthoGrid grid = DegreesAround(sensor_, 10, kPixel);
  EXPECT_EQ(0, band_.SetSource(&plain, grid, kOrthoNearest, err));
  EXPECT_STREQ("The image has no sensor model", err.GetText());
  EXPECT_EQ(0, band_.SetSource(nullptr, grid, kOrthoNearest, err));
  grid.xSize = 0;
  EXPECT_EQ(0, band_.SetSource(&sensor_, grid, kOrthoNearest, err));
  EXPECT_STREQ("The map has no pixels", err.GetText());
  grid = DegreesAround(sensor_, 10, kPixel);
  grid.sr.Clear();
  EXPECT_EQ(0, band_.SetSource(&sensor_, grid, kOrthoNearest, err));
  EXPECT_STREQ("No way leads from the system of the map to longitude and latitude", err.GetText());
  tagXArr2* out = nullptr;
  EXPECT_EQ(0, band_.ReadSubset(out, 0, 0, 0, 0, 0, nullptr));
}

TEST_F(Ortho, PlansAMapInTheZoneOfTheImage) {
  tagXOrthoGrid grid;
  XString err;
  ASSERT_EQ(1, XfnPlanOrtho(&sensor_, grid, err)) << err.GetText();
  EXPECT_EQ(32632, grid.sr.GetEPSG());
  // A step to the next column leads 1 / 110000 degree to the east there, which is 0.68 metres, and a third of that in
  // degrees to the north, which is 0.34 metres.
  EXPECT_NEAR(0.76, grid.pixelSize, 0.03);
  Show(grid);
  const std::vector<double> samples = Read();
  EXPECT_GT(std::ranges::count_if(samples, [](double sample) { return sample != -1.0; }),
            FormulaSensor::kWidth * FormulaSensor::kHeight);
  // All of the image is on the map: its rim shows nothing.
  for (std::size_t x = 0; x < static_cast<std::size_t>(width_); ++x) {
    EXPECT_EQ(-1.0, samples[x]);
    EXPECT_EQ(-1.0, samples[samples.size() - 1 - x]);
  }
}

TEST_F(Ortho, PlansAMapInTheSystemAndPixelsThatAreAsked) {
  tagXOrthoGrid grid;
  grid.sr.SetWellKnownGeogCS("WGS84");
  grid.pixelSize = 1e-5;
  sensor_.lon = 180.0;
  XString err;
  ASSERT_EQ(1, XfnPlanOrtho(&sensor_, grid, err)) << err.GetText();
  EXPECT_EQ(1e-5, grid.pixelSize);
  EXPECT_LT(grid.xSize, 1000);
  EXPECT_NEAR(180.0, std::abs(grid.west), 0.01);
  EXPECT_NEAR(0.0, std::remainder(grid.west, 1e-5), 1e-9);
}

TEST_F(Ortho, PlansAPolarMapNearAPole) {
  sensor_.lat = 89.0;
  tagXOrthoGrid grid;
  XString err;
  ASSERT_EQ(1, XfnPlanOrtho(&sensor_, grid, err)) << err.GetText();
  EXPECT_EQ(5041, grid.sr.GetEPSG());
}

TEST_F(Ortho, PlansNoMapOfAnImageWithoutGround) {
  MemoryBand plain;
  tagXOrthoGrid grid;
  XString err;
  EXPECT_EQ(0, XfnPlanOrtho(&plain, grid, err));
  EXPECT_STREQ("The image has no sensor model", err.GetText());
}

}  // namespace
