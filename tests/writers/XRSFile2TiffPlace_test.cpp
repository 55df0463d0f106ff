// Where TIFF files that are written say that they lie: GeoTIFF tags and world files.

#include "TiffWriting.h"
#include "XFile.h"
#include "XGeoKeys.h"

#include <geotiff.h>
#include <geotiffio.h>
#include <xtiffio.h>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class XRSFile2TiffPlace : public TiffWriting {
 protected:
  /// Bands in a system, whose pixels are 2.5 by 10 units.
  void AddBands(int numBands, int epsg, int width = 40, int height = 30) {
    NewDataset();
    for (int i = 0; i < numBands; ++i) {
      LoggedBand& band = Add<std::uint8_t>(width, height, static_cast<unsigned>(i));
      if (epsg) band.GetSR()->importFromEPSG(epsg);
      band.SetCoordinateKind(kCoordinateWorld);
      band.SetUpperLeft(400000.25, 5000000.5);
      band.SetPixelSize(2.5, 10);
    }
  }
  std::string WorldText(const std::string& name = "a.tfw") const {
    const auto bytes = ReadBytes(Path(name));
    return {bytes.begin(), bytes.end()};
  }
};

// Six numbers of 30 characters, of the whole image.
constexpr char kWorldText[] =
    "                  2.5000000000\n"
    "                  0.0000000000\n"
    "                  0.0000000000\n"
    "                -10.0000000000\n"
    "             400000.2500000000\n"
    "            5000000.5000000000\n";

TEST_F(XRSFile2TiffPlace, IsThatOfTheImage) {
  for (const int numBands : {1, 3, 4}) {
    AddBands(numBands, 32632);
    ASSERT_EQ(1, SaveAll()) << Error();
    const TiffTags tags(Path());
    EXPECT_THAT(tags.tiePoints, ElementsAre(0, 0, 0, 400000.25, 5000000.5, 0));
    EXPECT_THAT(tags.pixelScale, ElementsAre(2.5, 10, 0));
    EXPECT_EQ(kWorldText, WorldText());
  }
}

/// Heights alone have no keys.
TEST_F(XRSFile2TiffPlace, OfASystemWithoutKeysIsKeptWithoutThatInTheCompatiblePolicy) {
  AddBands(1, 5773);
  ASSERT_EQ(1, SaveAll()) << Error();
  EXPECT_THAT(TiffTags(Path()).tiePoints, ElementsAre(0, 0, 0, 400000.25, 5000000.5, 0));
  EXPECT_EQ(0, GdalImage(Path()).epsg);
}

TEST_F(XRSFile2TiffPlace, IsThatOfTheWindowInTheTagsAndOfTheImageInTheWorldFile) {
  AddBands(1, 32632);
  ASSERT_EQ(1, Save(7, 30, 3, 20));
  const TiffTags tags(Path());
  EXPECT_THAT(tags.tiePoints, ElementsAre(0, 0, 0, 400000.25 + 7 * 2.5, 5000000.5 - 3 * 10, 0));
  EXPECT_THAT(tags.pixelScale, ElementsAre(2.5, 10, 0));
  EXPECT_EQ(kWorldText, WorldText());
}

TEST_F(XRSFile2TiffPlace, IsReadByOthers) {
  for (const int epsg : {32632, 32755, 4326, 3857, 27700, 5186}) {
    AddBands(3, epsg);
    ASSERT_EQ(1, Save(7, 30, 3, 20));
    const GdalImage image(Path());
    EXPECT_THAT(image.complaints, IsEmpty());
    EXPECT_EQ(epsg, image.epsg);
    ASSERT_TRUE(image.isPlaced);
    EXPECT_THAT(image.transform, ElementsAre(400000.25 + 7 * 2.5, 2.5, 0, 5000000.5 - 3 * 10, 0, -10));
    EXPECT_EQ("Area", image.pixelOrPoint);
    EXPECT_THAT(TiffTags(Path()).complaints, IsEmpty());
  }
}

TEST_F(XRSFile2TiffPlace, IsOfAllKindsOfFiles) {
  AddBands(1, 32632);
  file_->GetBandAt(0)->SetBandType(kBandTypeThematic);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(32632, GdalImage(Path()).epsg);
  NewDataset();
  auto& band = Add<std::uint16_t, ZRMBandImageSharpen>(40, 30);
  band.GetSR()->importFromEPSG(4326);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(4326, GdalImage(Path()).epsg);
}

TEST_F(XRSFile2TiffPlace, HasTheKeysOfTheSystemAndCountsAreas) {
  AddBands(1, 32632);
  ASSERT_EQ(1, SaveAll());
  EXPECT_THAT(ReadGeoKeys(Path()), testing::AllOf(Contains("1024=1"), Contains("1025=1"), Contains("3072=32632")));
  AddBands(1, 4326);
  ASSERT_EQ(1, SaveAll());
  EXPECT_THAT(ReadGeoKeys(Path()), testing::AllOf(Contains("1024=2"), Contains("1025=1"), Contains("2048=4326")));
}

TEST_F(XRSFile2TiffPlace, IsNotSaidWithoutASystem) {
  AddBands(1, 0);
  ASSERT_EQ(1, SaveAll()) << Error();
  const TiffTags tags(Path());
  EXPECT_THAT(tags.tiePoints, IsEmpty());
  EXPECT_THAT(tags.pixelScale, IsEmpty());
  EXPECT_THAT(ReadGeoKeys(Path()), IsEmpty());
  EXPECT_FALSE(GdalImage(Path()).isPlaced);
  EXPECT_FALSE(XFile::Exists(Path("a.tfw")));
}

TEST_F(XRSFile2TiffPlace, IsWrittenWhateverTheKindOfCoordinates) {
  AddBands(1, 32632);
  file_->GetBandAt(0)->SetCoordinateKind(kCoordinatePixel);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(32632, GdalImage(Path()).epsg);
  EXPECT_EQ(kWorldText, WorldText());
}

TEST_F(XRSFile2TiffPlace, LeavesAWorldFileAsItIsWithoutASystem) {
  folder_.Write("a.tfw", "1\n0\n0\n-1\n0\n0\n");
  AddBands(1, 0);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ("1\n0\n0\n-1\n0\n0\n", WorldText());
}

TEST_F(XRSFile2TiffPlace, HasAWorldFileOfTheNameWithThreeOtherLetters) {
  const std::pair<const char*, const char*> names[] = {
      {"b.tif", "b.tfw"}, {"c.TIF", "c.tfw"}, {"d.tiff", "d.ttfw"}, {"e.x", "tfw"}, {"plain", "pltfw"}};
  AddBands(1, 32632);
  for (const auto& [image, world] : names) {
    ASSERT_EQ(1, SaveTo(Path(image), 0, 39, 0, 29)) << image;
    EXPECT_EQ(kWorldText, WorldText(world)) << image;
    EXPECT_TRUE(TiffTags(Path(image)).isOpen);
  }
}

TEST_F(XRSFile2TiffPlace, HasNoWorldFileThatWouldReplaceTheImage) {
  AddBands(1, 32632);
  ASSERT_EQ(1, SaveTo(Path("a.tfw"), 0, 39, 0, 29)) << Error();
  EXPECT_THAT(TiffTags(Path("a.tfw")).pixelScale, ElementsAre(2.5, 10, 0));
}

TEST_F(XRSFile2TiffPlace, ReplacesAWorldFile) {
  folder_.Write("a.tfw", std::string(1000, '7'));
  AddBands(1, 32632);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(kWorldText, WorldText());
}

TEST_F(XRSFile2TiffPlace, HasNoWorldFileWhereTheSaveFails) {
  AddBands(2, 32632);
  static_cast<LoggedBand*>(file_->GetBandAt(1))->FailReads();
  ExpectFailure("Fail to read subset");
}

TEST_F(XRSFile2TiffPlace, FailsNoSaveWhereTheWorldFileCannotBeWritten) {
  std::filesystem::create_directory(Path("a.tfw"));
  AddBands(1, 32632);
  EXPECT_EQ(1, SaveAll());
  EXPECT_EQ(kUntouched, Error());
  EXPECT_EQ(32632, GdalImage(Path()).epsg);
}

TEST_F(XRSFile2TiffPlace, IsWrittenStepByStep) {
  SteppedWriter writer;
  err_ = kUntouched;
  EXPECT_EQ(0, writer.WriteWorldFile(Path("a.tfw"), err_));
  EXPECT_EQ(0, writer.SaveGeoTIFFTag(err_));
  AddBands(1, 0);
  writer.SetXRSFile(file_.get());
  EXPECT_EQ(0, writer.WriteWorldFile(Path("a.tfw"), err_));
  EXPECT_FALSE(XFile::Exists(Path("a.tfw")));
  file_->GetBandAt(0)->GetSR()->importFromEPSG(32632);
  EXPECT_EQ(1, writer.WriteWorldFile(Path("a.tfw"), err_));
  EXPECT_EQ(kWorldText, WorldText());
  EXPECT_EQ(0, writer.WriteWorldFile(Path("missing/a.tfw"), err_));
  EXPECT_EQ(kUntouched, Error());
}

TEST_F(XRSFile2TiffPlace, HasThePixelSizesOfWhenTheDatasetWasGiven) {
  AddBands(1, 32632);
  XRSFile2Tiff writer;
  writer.SetXRSFile(file_.get());
  file_->GetBandAt(0)->SetPixelSize(5, 5);
  ASSERT_EQ(1, writer.Save(Path(), 0, 39, 0, 29, err_, nullptr));
  EXPECT_THAT(TiffTags(Path()).pixelScale, ElementsAre(2.5, 10, 0));
}

/// The tags as they are set through libtiff and libgeotiff themselves.
void SetPlace(TIFF* tiff, const XString& wkt) {
  const double tiePoint[] = {0, 0, 0, 400000.25, 5000000.5, 0}, scale[] = {2.5, 10, 0};
  TIFFSetField(tiff, TIFFTAG_GEOTIEPOINTS, 6, tiePoint);
  TIFFSetField(tiff, TIFFTAG_GEOPIXELSCALE, 3, scale);
  GTIF* keys = GTIFNew(tiff);
  XfnGTIFSetFromOGISDefn(keys, wkt);
  GTIFKeySet(keys, GTRasterTypeGeoKey, TYPE_SHORT, 1, RasterPixelIsArea);
  GTIFWriteKeys(keys);
  GTIFFree(keys);
}

TEST_F(XRSFile2TiffPlace, MakesTheFileOfLibtiffByteForByte) {
  for (const int epsg : {32632, 4326, 5186}) {
    AddBands(3, epsg, 37, 229);
    ASSERT_EQ(1, SaveAll()) << Error();
    PlainImage image{37, 229, 1, true, {}};
    for (unsigned i = 0; i < 3; ++i) image.planes.push_back(RandomSamples<std::uint8_t>(37, 229, i));
    XString wkt;
    ASSERT_EQ(1, file_->GetSR()->exportToWkt(wkt));
    const auto expected = WriteWithLibtiff(Path("b.tif"), image, [&](TIFF* tiff) {
      TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, 1);
      TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, 2);
      TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
      TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, 1);
      TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
      SetPlace(tiff, wkt);
    });
    EXPECT_TRUE(expected == ReadBytes(Path())) << epsg;
  }
}

}  // namespace
