// Where tie points, scales, matrices and world files put an image. All places are worked out by hand. Tags that come
// out of files are those that the builder was told to write.

#include "bands/tiff/TiffPlace.h"

#include "base/WorldLines.h"
#include "GeoTiffFile.h"
#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zrk::PlaceByMatrix;
using zrk::PlaceByScale;
using zrk::PlaceByTags;
using zrk::PlaceByWorldLines;
using zrk::TiffGeoTags;
using zrk::TiffPlace;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNoNumber = std::nan("");

TiffGeoTags Scaled(std::vector<double> scale, std::vector<double> tiePoints, bool isPoint = false) {
  return {isPoint, std::move(tiePoints), std::move(scale), {}};
}

TiffGeoTags WithMatrix(std::vector<double> matrix, bool isPoint = false) {
  return {isPoint, {}, {}, std::move(matrix)};
}

std::optional<TiffPlace> Some(double ulx, double uly, double xSize, double ySize) {
  return TiffPlace{ulx, uly, xSize, ySize};
}

zrk::WorldLines Lines(double a, double d, double e, double f) {
  return {{a, 77.0, 88.0, d, e, f}, 6};
}

const std::vector<double> kTurned = {2, 0.5, 0, 1000, 0.25, -4, 0, 2000, 0, 0, 0, 0, 0, 0, 0, 1};

TEST(TiffPlace, LiesWhereTheFirstTiePointTiesIt) {
  EXPECT_EQ(Some(1000, 2000, 10, 5), PlaceByScale(Scaled({10, 5, 0}, {0, 0, 0, 1000, 2000, 0})));
  // Column 3 and row 4 lie at 1000, 2000.
  EXPECT_EQ(Some(970, 2020, 10, 5), PlaceByScale(Scaled({10, 5, 0}, {3, 4, 0, 1000, 2000, 0})));
  EXPECT_EQ(Some(970, 2020, 10, 5), PlaceByScale(Scaled({10, 5, 0}, {3, 4, 0, 1000, 2000, 0, 9, 9, 9, 9, 9, 9})));
}

TEST(TiffPlace, OfPointsBeginsHalfAPixelFurtherOut) {
  EXPECT_EQ(Some(995, 2002.5, 10, 5), PlaceByScale(Scaled({10, 5, 0}, {0, 0, 0, 1000, 2000, 0}, true)));
}

TEST(TiffPlace, KeepsTheSignOfTheScaleButNotInTheCorner) {
  EXPECT_EQ(Some(1000, 2040, 10, -10), PlaceByScale(Scaled({10, -10, 0}, {0, 4, 0, 1000, 2000, 0})));
  EXPECT_EQ(Some(995, 2045, 10, -10), PlaceByScale(Scaled({10, -10, 0}, {0, 4, 0, 1000, 2000, 0}, true)));
  EXPECT_EQ(Some(1030, 2000, -10, 10), PlaceByScale(Scaled({-10, 10, 0}, {3, 0, 0, 1000, 2000, 0})));
  EXPECT_EQ(Some(1005, 2005, -10, 10), PlaceByScale(Scaled({-10, 10, 0}, {0, 0, 0, 1000, 2000, 0}, true)));
}

TEST(TiffPlace, NeedsTwoScalesAndAWholeTiePoint) {
  EXPECT_EQ(Some(1000, 2000, 10, 5), PlaceByScale(Scaled({10, 5}, {0, 0, 0, 1000, 2000, 0})));
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({10}, {0, 0, 0, 1000, 2000, 0})));
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({}, {0, 0, 0, 1000, 2000, 0})));
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({10, 5, 0}, {0, 0, 0, 1000, 2000})));
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({10, 5, 0}, {0, 0, 0})));
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({0, 5, 0}, {0, 0, 0, 1000, 2000, 0})));
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({10, 0, 0}, {0, 0, 0, 1000, 2000, 0})));
}

TEST(TiffPlace, LiesWhereTheMatrixLeadsTo) {
  EXPECT_EQ(Some(1000, 2000, 2, 4), PlaceByMatrix(WithMatrix(kTurned)));
}

TEST(TiffPlace, OfPointsBeginsHalfAPixelOutAlongBothColumnsOfTheMatrix) {
  // 1000 - 0.5 / 2 - 2 / 2 and 2000 - -4 / 2 - 0.25 / 2
  EXPECT_EQ(Some(998.75, 2001.875, 2, 4), PlaceByMatrix(WithMatrix(kTurned, true)));
}

TEST(TiffPlace, NeedsAWholeMatrixWithBothSizes) {
  std::vector<double> matrix = kTurned;
  matrix.pop_back();
  EXPECT_EQ(std::nullopt, PlaceByMatrix(WithMatrix(matrix)));
  matrix.resize(17);
  EXPECT_EQ(std::nullopt, PlaceByMatrix(WithMatrix(matrix)));
  EXPECT_EQ(std::nullopt, PlaceByMatrix(WithMatrix({})));
  for (const std::size_t diagonal : {std::size_t{0}, std::size_t{5}}) {
    matrix = kTurned;
    matrix[diagonal] = 0.0;
    EXPECT_EQ(std::nullopt, PlaceByMatrix(WithMatrix(matrix)));
  }
}

TEST(TiffPlace, GoesByTheScaleBeforeTheMatrix) {
  TiffGeoTags tags = Scaled({10, 5, 0}, {0, 0, 0, 1, 2, 0});
  tags.toWorld = kTurned;
  EXPECT_EQ(Some(1, 2, 10, 5), PlaceByTags(tags));
  tags.tiePoints.resize(3);
  EXPECT_EQ(Some(1000, 2000, 2, 4), PlaceByTags(tags));
  tags.toWorld.clear();
  EXPECT_EQ(std::nullopt, PlaceByTags(tags));
}

TEST(TiffPlace, IsNoneWhereANumberIsNotFinite) {
  for (const double bad : {kNoNumber, kInfinity, -kInfinity}) {
    EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({bad, 5, 0}, {0, 0, 0, 1000, 2000, 0})));
    EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({10, 5, 0}, {0, 0, 0, 1000, bad, 0})));
    EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({10, 5, 0}, {bad, 0, 0, 1000, 2000, 0})));
    std::vector<double> matrix = kTurned;
    matrix[7] = bad;
    EXPECT_EQ(std::nullopt, PlaceByMatrix(WithMatrix(matrix)));
    EXPECT_EQ(std::nullopt, PlaceByWorldLines(Lines(1, -1, bad, 0), 7, 5));
    EXPECT_EQ(std::nullopt, PlaceByWorldLines(Lines(1, bad, 0, 0), 7, 5));
  }
  EXPECT_EQ(std::nullopt, PlaceByScale(Scaled({1e300, 5, 0}, {-1e300, 0, 0, 0, 0, 0})));
  EXPECT_EQ(Some(1000, 2000, 10, 5), PlaceByScale(Scaled({10, 5, kNoNumber}, {0, 0, 0, 1000, 2000, kInfinity})));
}

TEST(TiffPlace, OfANorthUpWorldFileIsItsOrigin) {
  EXPECT_EQ(Some(1000, 2000, 2.5, 0.5), PlaceByWorldLines(Lines(2.5, -0.5, 1000, 2000), 100, 40));
}

TEST(TiffPlace, OfASouthUpWorldFileIsAboveItsOrigin) {
  EXPECT_EQ(Some(1000, 2020, 2.5, 0.5), PlaceByWorldLines(Lines(2.5, 0.5, 1000, 2000), 100, 40));
}

TEST(TiffPlace, OfAMirroredWorldFileIsLeftOfItsOrigin) {
  EXPECT_EQ(Some(750, 2000, 2.5, 0.5), PlaceByWorldLines(Lines(-2.5, -0.5, 1000, 2000), 100, 40));
}

TEST(TiffPlace, OfAWorldFileThatEndsEarlyTakesZeros) {
  EXPECT_EQ(Some(0, 0, 2.5, 0.5), PlaceByWorldLines({{2.5, 0, 0, -0.5, 0, 0}, 4}, 100, 40));
  EXPECT_EQ(Some(0, 0, 2.5, 0), PlaceByWorldLines({{2.5, 0, 0, 0, 0, 0}, 1}, 100, 40));
  EXPECT_EQ(Some(0, 0, 0, 0), PlaceByWorldLines({}, 100, 40));
}

/// A file's tags and whether its geokeys are usable.
class TiffGeoTagsOfFiles : public testing::Test {
 protected:
  bool Read(const GeoTiffFile& file) {
    folder_.Write("a.tif", file.Build());
    const auto handle = OpenTiff(folder_.Path("a.tif"));
    if (!handle) return false;
    const zrk::GeoKeys keys = zrk::OpenGeoKeys(handle->Get());
    hasHandle_ = keys != nullptr;
    if (!zrk::AreUsable(keys.get())) return false;
    tags_ = zrk::ReadTiffGeoTags(handle->Get(), keys.get());
    return true;
  }

  TempFolder folder_;
  TiffGeoTags tags_;
  bool hasHandle_ = false;
};

TEST_F(TiffGeoTagsOfFiles, AreThoseThatTheFileHas) {
  ASSERT_TRUE(Read(
      GeoTiffFile().Key(1024, 1).Scale({10, -5, 1}).TiePoints({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}).Matrix(kTurned)));
  EXPECT_THAT(tags_.pixelScale, ElementsAre(10, -5, 1));
  EXPECT_THAT(tags_.tiePoints, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
  EXPECT_EQ(kTurned, tags_.toWorld);
  EXPECT_FALSE(tags_.isPoint);
}

TEST_F(TiffGeoTagsOfFiles, AreEmptyWhereTheyAreMissing) {
  ASSERT_TRUE(Read(GeoTiffFile().Key(1024, 1)));
  EXPECT_THAT(tags_.pixelScale, IsEmpty());
  EXPECT_THAT(tags_.tiePoints, IsEmpty());
  EXPECT_THAT(tags_.toWorld, IsEmpty());
}

TEST_F(TiffGeoTagsOfFiles, SayWhetherPixelsArePoints) {
  for (const int type : {0, 1, 2, 3, 32767}) {
    ASSERT_TRUE(Read(GeoTiffFile().Key(1024, 1).Key(1025, type)));
    EXPECT_EQ(type == 2, tags_.isPoint) << type;
  }
}

TEST_F(TiffGeoTagsOfFiles, NeedAModelType) {
  EXPECT_FALSE(Read(GeoTiffFile()));
  EXPECT_TRUE(hasHandle_);
  EXPECT_FALSE(Read(GeoTiffFile().Key(1025, 1).Key(3072, 32632)));
  EXPECT_TRUE(Read(GeoTiffFile().Key(1024, 0)));
  EXPECT_FALSE(Read(GeoTiffFile().Key(1024, std::vector{1.0})));
}

TEST_F(TiffGeoTagsOfFiles, NeedKeysOfTheFirstRevision) {
  EXPECT_TRUE(Read(GeoTiffFile().Version(1, 0, 2).Key(1024, 1)));
  EXPECT_TRUE(Read(GeoTiffFile().Version(1, 1, 1).Key(1024, 1)));
  EXPECT_FALSE(Read(GeoTiffFile().Version(1, 2, 0).Key(1024, 1)));
  EXPECT_FALSE(Read(GeoTiffFile().Version(2, 1, 0).Key(1024, 1)));
}

TEST_F(TiffGeoTagsOfFiles, AreNotReadWhereTheDirectoryOfKeysIsUnsound) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(Read(GeoTiffFile().Directory({1, 1})));
  EXPECT_FALSE(hasHandle_);
  EXPECT_FALSE(Read(GeoTiffFile().Key(1024, 1).ClaimKeys(2)));
  EXPECT_FALSE(Read(GeoTiffFile().Key(1024, 1).ClaimKeys(65535)));
  EXPECT_FALSE(Read(GeoTiffFile().Key(1024, 1).RawKey(1026, 34737, 5, 60000)));
  EXPECT_FALSE(Read(GeoTiffFile().Key(1024, 1).RawKey(1026, 34736, 5, 60000)));
  EXPECT_FALSE(Read(GeoTiffFile().Key(1024, 1).RawKey(1026, 12345, 1, 0)));
  EXPECT_FALSE(Read(GeoTiffFile().RawKey(1024, 34735, 1, 0)));
  std::vector<std::uint16_t> words(5000, 0);
  words[0] = words[1] = words[3] = 1;
  words[4] = 1024;
  EXPECT_FALSE(Read(GeoTiffFile().Directory(words)));
  EXPECT_FALSE(hasHandle_);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

}  // namespace
