// The corners that GetGeoBounding tells of a path: of native rasters, of TIFF files and of all others. Places follow
// from the rectangles and tie points that the tests write, and from where the origin of a UTM zone lies.

#include "BmpBuilder.h"
#include "FaultyDisk.h"
#include "GeoTiffFile.h"
#include "MemoryBand.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr double kUnset = 1.7e+308;

class GeoBounding : public testing::Test {
 protected:
  int Ask(const std::string& path) { return XRSFileIO::GetGeoBounding(path, x_, y_); }
  int AskTiff(const GeoTiffFile& file, const std::string& name = "a.tif") {
    folder_.Write(name, file.Build());
    return Ask(folder_.Path(name));
  }
  /// Asks for a native raster of 20 x 10 pixels of 2 x 3, its corner at 100, 500.
  int AskNative(int referenceKind, const std::vector<tagGCPSets>& sets) {
    XRSFile dataset;
    auto band = std::make_unique<MemoryBand>();
    band->SetRamp<std::uint8_t>(20, 10);
    band->SetUpperLeft(100.0, 500.0);
    band->SetPixelSize(2.0, 3.0);
    if (referenceKind == kReferenceKnown) band->GetSR()->importFromEPSG(32632);
    band->GetSR()->SetCoordinateKind(referenceKind);
    dataset.AddBand(band.release());
    for (const tagGCPSets& set : sets) dataset.AddGCPSet(std::make_unique<tagGCPSets>(set).release());
    XString err;
    const std::string path = folder_.Path("a.zrm");
    EXPECT_EQ(1, XRSFileIO::SaveFileZRM(&dataset, path, 0, 0, 19, 0, 9, err, nullptr, 0, 0, 0)) << err;
    return Ask(path);
  }
  void ExpectUnset() const {
    EXPECT_THAT(x_, Each(kUnset));
    EXPECT_THAT(y_, Each(kUnset));
  }

  TempFolder folder_;
  double x_[4] = {1, 2, 3, 4};
  double y_[4] = {5, 6, 7, 8};
};

tagGCPSets SetOf(const char* name, int numPoints) {
  tagGCPSets set;
  set.name = name;
  for (int i = 0; i < numPoints; ++i) {
    tagGCP point;
    point.mapX = 1000.0 + i;
    point.mapY = 2000.0 + i;
    set.points.push_back(point);
  }
  return set;
}

/// Keys of a file in UTM zone 32.
GeoTiffFile Utm32() {
  return GeoTiffFile().Key(1024, 1).Key(1025, 1).Key(3072, 32632);
}

/// Tie points of the corners of an image whose map coordinates are x, y.
std::vector<double> TiePointsAt(const std::vector<std::pair<double, double>>& places) {
  std::vector<double> numbers;
  for (const auto& [x, y] : places) numbers.insert(numbers.end(), {1, 2, 3, x, y, 4});
  return numbers;
}

TEST_F(GeoBounding, OfOtherFormatsIsNotKnown) {
  folder_.Write("a.bmp", BmpBuilder().Build());
  EXPECT_EQ(0, Ask(folder_.Path("a.bmp")));
  ExpectUnset();
  EXPECT_EQ(0, AskTiff(Utm32(), "a.jpg"));
  ExpectUnset();
}

TEST_F(GeoBounding, OfANativeRasterWithASystemIsItsRectangle) {
  for (const int kind : {kReferenceUnknown, kReferenceKnown}) {
    ASSERT_EQ(1, AskNative(kind, {SetOf("BOUNDING_GCP", 4)}));
    EXPECT_THAT(x_, ElementsAre(100, 140, 140, 100));
    EXPECT_THAT(y_, ElementsAre(470, 470, 500, 500));
  }
}

TEST_F(GeoBounding, OfANativeRasterWithoutASystemIsOnePointOfItsSet) {
  ASSERT_EQ(1, AskNative(kReferenceNone, {SetOf("BOUNDING_GCP", 4)}));
  EXPECT_THAT(x_, Each(1000));
  EXPECT_THAT(y_, Each(2000));
}

TEST_F(GeoBounding, TakesThePointThatIsNumberedAsTheSetIs) {
  ASSERT_EQ(1, AskNative(kReferenceNone, {SetOf("other", 4), SetOf("other", 0), SetOf("BOUNDING_GCP", 6)}));
  EXPECT_THAT(x_, Each(1002));
  EXPECT_THAT(y_, Each(2002));
}

TEST_F(GeoBounding, SetsAsManyCornersAsTheSetHasPoints) {
  ASSERT_EQ(1, AskNative(kReferenceNone, {SetOf("other", 1), SetOf("BOUNDING_GCP", 2)}));
  EXPECT_THAT(x_, ElementsAre(1001, 1001, kUnset, kUnset));
  EXPECT_THAT(y_, ElementsAre(2001, 2001, kUnset, kUnset));
}

TEST_F(GeoBounding, LetsALaterSetOverwriteAnEarlierOne) {
  ASSERT_EQ(1, AskNative(kReferenceNone, {SetOf("BOUNDING_GCP", 4), SetOf("BOUNDING_GCP", 2)}));
  EXPECT_THAT(x_, ElementsAre(1001, 1001, 1000, 1000));
}

TEST_F(GeoBounding, LeavesCornersUnsetWithoutAPointOfThatName) {
  ASSERT_EQ(1, AskNative(kReferenceNone, {SetOf("bounding_gcp", 4), SetOf("BOUNDING_GCP", 0)}));
  ExpectUnset();
  ASSERT_EQ(1, AskNative(kReferenceNone, {}));
  ExpectUnset();
}

TEST_F(GeoBounding, RaisesWhereTheSetLacksThePointOfItsNumber) {
  EXPECT_THROW(AskNative(kReferenceNone, {SetOf("other", 4), SetOf("BOUNDING_GCP", 1)}), std::invalid_argument);
}

TEST_F(GeoBounding, OfADamagedNativeRasterIsNotKnown) {
  folder_.Write("a.zrm", "ZRM.");
  EXPECT_EQ(0, Ask(folder_.Path("a.zrm")));
  ExpectUnset();
}

TEST_F(GeoBounding, OfATiffFileIsItsTiePointsInDegrees) {
  // Zone 32 has its origin at 9 degrees east on the equator.
  const std::vector<std::pair<double, double>> places = {{500000, 0}, {500000, 0}, {500000, 9997964.943}, {500000, 0}};
  ASSERT_EQ(1, AskTiff(Utm32().TiePoints(TiePointsAt(places))));
  for (const int corner : {0, 1, 3}) {
    EXPECT_NEAR(9.0, x_[corner], 1e-9);
    EXPECT_NEAR(0.0, y_[corner], 1e-9);
  }
  EXPECT_NEAR(90.0, y_[2], 1e-7);
}

TEST_F(GeoBounding, OfATiffFileInDegreesIsItsTiePoints) {
  const GeoTiffFile keys = GeoTiffFile().Key(1024, 2).Key(2048, 4326);
  ASSERT_EQ(1, AskTiff(GeoTiffFile(keys).TiePoints(TiePointsAt({{10, 50}, {11, 50}, {11, 51}, {10, 51}}))));
  EXPECT_THAT(x_, ElementsAre(10, 11, 11, 10));
  EXPECT_THAT(y_, ElementsAre(50, 50, 51, 51));
}

TEST_F(GeoBounding, OfATiffFileInAnUnknownSystemIsItsTiePointsAsTheyAre) {
  const std::vector<double> points = TiePointsAt({{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}});
  ASSERT_EQ(1, AskTiff(GeoTiffFile().Key(1024, 1).TiePoints(points), "a.TIFF"));
  EXPECT_THAT(x_, ElementsAre(1, 3, 5, 7));
  EXPECT_THAT(y_, ElementsAre(2, 4, 6, 8));
}

TEST_F(GeoBounding, OfATiffFileLeavesTheRestWhereThereAreFewerTiePoints) {
  std::vector<double> points = TiePointsAt({{1, 2}, {3, 4}, {5, 6}});
  points.pop_back();
  ASSERT_EQ(1, AskTiff(GeoTiffFile().Key(1024, 1).TiePoints(points)));
  EXPECT_THAT(x_, ElementsAre(1, 3, kUnset, kUnset));
  EXPECT_THAT(y_, ElementsAre(2, 4, kUnset, kUnset));
}

TEST_F(GeoBounding, OfATiffFileLeavesATiePointUnsetThatHasNoPlaceInDegrees) {
  ASSERT_EQ(1, AskTiff(Utm32().TiePoints(TiePointsAt({{HUGE_VAL, 1}, {500000, 0}}))));
  EXPECT_EQ(kUnset, x_[0]);
  EXPECT_EQ(kUnset, y_[0]);
  EXPECT_NEAR(9.0, x_[1], 1e-9);
}

TEST_F(GeoBounding, OfATiffFileWithAPixelScaleStaysUnset) {
  const std::vector<double> points = TiePointsAt({{1, 2}, {3, 4}, {5, 6}, {7, 8}});
  EXPECT_EQ(1, AskTiff(Utm32().Scale({10, 10, 0}).TiePoints(points)));
  ExpectUnset();
  EXPECT_EQ(1, AskTiff(Utm32().Scale({10}).TiePoints(points)));
  ExpectUnset();
}

TEST_F(GeoBounding, OfATiffFileWithoutTiePointsStaysUnset) {
  EXPECT_EQ(1, AskTiff(Utm32()));
  ExpectUnset();
  EXPECT_EQ(1, AskTiff(Utm32().TiePoints({0, 0, 0, 1, 2})));
  ExpectUnset();
}

TEST_F(GeoBounding, OfATiffFileWithoutUsableKeysIsNotKnown) {
  const std::vector<double> points = TiePointsAt({{1, 2}, {3, 4}, {5, 6}, {7, 8}});
  EXPECT_EQ(0, AskTiff(GeoTiffFile().TiePoints(points)));
  EXPECT_EQ(0, AskTiff(GeoTiffFile().Key(3072, 32632).TiePoints(points)));
  EXPECT_EQ(0, AskTiff(Utm32().Version(1, 2, 0).TiePoints(points)));
  EXPECT_EQ(0, AskTiff(Utm32().ClaimKeys(99).TiePoints(points)));
  ExpectUnset();
}

TEST_F(GeoBounding, OfWhatIsNoTiffFileIsNotKnown) {
  folder_.Write("a.tif", "II and nothing more");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, Ask(folder_.Path("a.tif")));
  EXPECT_EQ(0, Ask(folder_.Path("none.tif")));
  EXPECT_EQ(0, Ask(folder_.Path()));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  ExpectUnset();
}

TEST_F(GeoBounding, OfATiffFileIsReadThroughTheDoorToTheDisk) {
  folder_.Write("a.tif", Utm32().Build());
  FaultyDisk disk;
  disk.FailOpen(1);
  const zrk::ScopedDisk scope(disk);
  EXPECT_EQ(0, Ask(folder_.Path("a.tif")));
  EXPECT_EQ(1, Ask(folder_.Path("a.tif")));
}

}  // namespace
