#include "bands/tiff/TiffPlace.h"
#include "FaultyDisk.h"
#include "GeoTiffFile.h"
#include "TempFolder.h"
#include "XSpatialReference.h"
#include "ZRMBandGTIFF.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

/// A file of 7 x 5 pixels, and the band that reads it.
class ZRMBandGTIFFPlace : public testing::Test {
 protected:
  void Open(const GeoTiffFile& file, const std::string& name = "a.tif") {
    folder_.Write(name, file.Build());
    XString err;
    ASSERT_EQ(1, band_.ReadFile(folder_.Path(name), err, nullptr)) << err;
    EXPECT_TRUE(err.IsEmpty());
  }
  void WriteText(const std::string& name, const std::string& text) { folder_.Write(name, text); }
  void ExpectPlace(double ulx, double uly, double xPixelSize, double yPixelSize, int kind, int referenceKind) const {
    EXPECT_EQ(ulx, band_.GetULX());
    EXPECT_EQ(uly, band_.GetULY());
    EXPECT_EQ(xPixelSize, band_.GetXPixelSize());
    EXPECT_EQ(yPixelSize, band_.GetYPixelSize());
    EXPECT_EQ(kind, band_.GetCoordinateKind());
    EXPECT_EQ(referenceKind, band_.GetSR()->GetCoordinateKind());
    EXPECT_EQ(referenceKind != kReferenceKnown, band_.GetSR()->IsEmpty() != 0);
  }
  void ExpectPixels() const { ExpectPlace(0, 5, 1, 1, kCoordinatePixel, kReferenceNone); }
  void ExpectWorldFile() const { ExpectPlace(1000, 2000, 2.5, 0.5, kCoordinateWorld, kReferenceUnknown); }

  TempFolder folder_;
  ZRMBandGTIFF band_{nullptr};
};

constexpr char kWorldText[] = "2.5\n0\n0\n-0.5\n1000\n2000\n";

GeoTiffFile PlacedUtm32() {
  return Utm32().Scale({10, 10, 0}).TiePoints({0, 0, 0, 400000, 5000000, 0});
}

TEST_F(ZRMBandGTIFFPlace, IsOfPixelsWithoutAnything) {
  Open(GeoTiffFile());
  ExpectPixels();
}

TEST_F(ZRMBandGTIFFPlace, IsThatOfTheGeoTags) {
  Open(PlacedUtm32());
  ExpectPlace(400000, 5000000, 10, 10, kCoordinateWorld, kReferenceKnown);
  EXPECT_EQ(32632, band_.GetSR()->GetEPSG());
}

TEST_F(ZRMBandGTIFFPlace, IsHalfAPixelFurtherOutForPoints) {
  Open(PlacedUtm32().Key(1025, 2));
  ExpectPlace(399995, 5000005, 10, 10, kCoordinateWorld, kReferenceKnown);
}

TEST_F(ZRMBandGTIFFPlace, KeepsANegativePixelSize) {
  Open(Utm32().Scale({10, -10, 0}).TiePoints({0, 2, 0, 400000, 5000000, 0}));
  ExpectPlace(400000, 5000020, 10, -10, kCoordinateWorld, kReferenceKnown);
}

TEST_F(ZRMBandGTIFFPlace, IsThatOfTheMatrix) {
  Open(Utm32().Matrix({2, 0.5, 0, 1000, 0.25, -4, 0, 2000, 0, 0, 0, 0, 0, 0, 0, 1}));
  ExpectPlace(1000, 2000, 2, 4, kCoordinateWorld, kReferenceKnown);
}

TEST_F(ZRMBandGTIFFPlace, MayBeInASystemThatNobodyKnows) {
  Open(GeoTiffFile().Key(1024, 1).Scale({10, 10, 0}).TiePoints({0, 0, 0, 1, 2, 0}));
  ExpectPlace(1, 2, 10, 10, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(ZRMBandGTIFFPlace, PrefersTheGeoTagsToAWorldFile) {
  WriteText("a.tfw", kWorldText);
  Open(PlacedUtm32());
  EXPECT_EQ(400000, band_.GetULX());
}

TEST_F(ZRMBandGTIFFPlace, FindsAWorldFileInCapitals) {
  WriteText("a.TFW", kWorldText);
  Open(GeoTiffFile());
  ExpectWorldFile();
}

TEST_F(ZRMBandGTIFFPlace, ComesFromTheWorldFileWhereTagsDoNotPlace) {
  WriteText("a.tfw", kWorldText);
  Open(GeoTiffFile());
  ExpectWorldFile();
  Open(Utm32().Scale({10, 10, 0}).TiePoints({0, 0, 0}));
  ExpectWorldFile();
  Open(PlacedUtm32().Version(1, 2, 0));
  ExpectWorldFile();
  Open(GeoTiffFile().Key(3072, 32632).Scale({10, 10, 0}).TiePoints({0, 0, 0, 1, 2, 0}));
  ExpectWorldFile();
  Open(Utm32().Scale({10, std::nan(""), 0}).TiePoints({0, 0, 0, 1, 2, 0}));
  ExpectWorldFile();
}

TEST_F(ZRMBandGTIFFPlace, DropsTheSystemWhereTagsDoNotPlace) {
  Open(Utm32().Scale({10, 10, 0}).TiePoints({0, 0, 0}));
  ExpectPixels();
}

TEST_F(ZRMBandGTIFFPlace, DoesNotShiftAWorldFileForPoints) {
  WriteText("a.tfw", kWorldText);
  Open(Utm32().Key(1025, 2));
  ExpectWorldFile();
}

TEST_F(ZRMBandGTIFFPlace, TakesTheSizesOfTheImageIntoAWorldFile) {
  WriteText("a.tfw", "-2\n0\n0\n3\n1000\n2000\n");
  Open(GeoTiffFile().Size(7, 5));
  ExpectPlace(986, 2015, 2, 3, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(ZRMBandGTIFFPlace, TakesMissingLinesOfAWorldFileForZero) {
  WriteText("a.tfw", "2\n0\n0\n-3\n");
  Open(GeoTiffFile());
  ExpectPlace(0, 0, 2, 3, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(ZRMBandGTIFFPlace, DoesNotComeFromAWorldFileWithoutNumbers) {
  WriteText("a.tfw", "nan\n0\n0\n-3\n1\n2\n");
  Open(GeoTiffFile());
  ExpectPixels();
}

TEST_F(ZRMBandGTIFFPlace, LooksForTheNameWithFourCharactersLessFirst) {
  WriteText("a..tfw", kWorldText);
  WriteText("a.t.tfw", "1\n0\n0\n-1\n1\n1\n");
  WriteText("a.tfw", "1\n0\n0\n-1\n2\n2\n");
  Open(GeoTiffFile(), "a.tiff");
  ExpectWorldFile();
}

TEST_F(ZRMBandGTIFFPlace, LooksForTheOtherNamesOfALongExtensionThen) {
  WriteText("a.tfw", "1\n0\n0\n-1\n2\n3\n");
  Open(GeoTiffFile(), "a.tiff");
  ExpectPlace(2, 3, 1, 1, kCoordinateWorld, kReferenceUnknown);
  WriteText("a.t.tfw", kWorldText);
  Open(GeoTiffFile(), "a.tiff");
  ExpectWorldFile();
}

TEST_F(ZRMBandGTIFFPlace, DoesNotLookForOtherNamesOfAThreeLetterExtension) {
  WriteText("ab.tfw", kWorldText);
  Open(GeoTiffFile(), "ab.c.tif");
  ExpectPixels();
}

TEST_F(ZRMBandGTIFFPlace, LooksBesideTheImageAlsoForShortNames) {
  WriteText("b.tfw", kWorldText);
  Open(GeoTiffFile(), "b");
  ExpectWorldFile();
}

TEST_F(ZRMBandGTIFFPlace, ForgetsThatOfTheFileBefore) {
  Open(PlacedUtm32());
  Open(GeoTiffFile(), "b.tif");
  ExpectPixels();
}

TEST_F(ZRMBandGTIFFPlace, IsSharedWithFollowers) {
  Open(PlacedUtm32());
  const ZRMBandGTIFF follower(&band_);
  EXPECT_EQ(400000, follower.GetULX());
  EXPECT_EQ(kCoordinateWorld, follower.GetCoordinateKind());
  EXPECT_EQ(kReferenceKnown, follower.GetSR()->GetCoordinateKind());
}

TEST_F(ZRMBandGTIFFPlace, WithoutAFileIsOfPixels) {
  XString err = "as it was";
  double values[4] = {1, 2, 3, 4};
  band_.SetCoordinateKind(kCoordinateWorld);
  band_.ReadCoordinateInfo(err);
  EXPECT_EQ(kCoordinatePixel, band_.GetCoordinateKind());
  EXPECT_EQ(0, band_.ReadWorldFile(values[0], values[1], values[2], values[3]));
  EXPECT_EQ(1, values[0]);
  EXPECT_EQ("as it was", err.AsStdString());
}

TEST_F(ZRMBandGTIFFPlace, LeavesValuesAloneWithoutAWorldFile) {
  Open(GeoTiffFile());
  double ulx = 1, uly = 2, xSize = 3, ySize = 4;
  EXPECT_EQ(0, band_.ReadWorldFile(ulx, uly, xSize, ySize));
  EXPECT_EQ(10, ulx + uly + xSize + ySize);
}

TEST_F(ZRMBandGTIFFPlace, HasASystemOnlyForAHandle) {
  XSpatialReference system;
  EXPECT_EQ(-1, band_.ExtractProjection(nullptr, &system));
  EXPECT_EQ(kReferenceNone, system.GetCoordinateKind());
  Open(Utm32());
  const zrk::GeoKeys keys = zrk::OpenGeoKeys(band_.GetFileTIFF());
  EXPECT_EQ(-1, band_.ExtractProjection(keys.get(), nullptr));
  EXPECT_EQ(1, band_.ExtractProjection(keys.get(), &system));
  EXPECT_EQ(kReferenceKnown, system.GetCoordinateKind());
}

}  // namespace
