// The loaders of bitmaps and JPEG files: channels, names, world files, statistics and failures. Places are worked out
// by hand from the lines of the world files that the tests write.

#include "BmpBuilder.h"
#include "JpegBuilder.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"
#include "ZRMBandBMP.h"
#include "ZRMBandJPG.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class RasterFiles : public testing::Test {
 protected:
  std::string WriteBmp(const std::string& name, const BmpBuilder& builder = BmpBuilder()) {
    folder_.Write(name, builder.Build());
    return folder_.Path(name);
  }
  std::string WriteJpeg(const std::string& name, const JpegBuilder& builder = JpegBuilder()) {
    folder_.Write(name, builder.Build());
    return folder_.Path(name);
  }
  void WriteText(const std::string& name, const std::string& text) {
    folder_.Write(name, std::vector<unsigned char>(text.begin(), text.end()));
  }
  int Load(int id, const std::string& path, int calcStatistics = 0) {
    return XRSFileIO::LoadFileRaster(&file_, id, path, err_, calcStatistics, kLevelNone, nullptr);
  }
  void ExpectPlace(double ulx, double uly, double xPixelSize, double yPixelSize, int kind, int referenceKind) {
    ASSERT_GT(file_.GetNumOfBands(), 0);
    for (int i = 0; i < file_.GetNumOfBands(); ++i) {
      const ZRMBand& band = *file_.GetBandAt(i);
      EXPECT_EQ(ulx, band.GetULX());
      EXPECT_EQ(uly, band.GetULY());
      EXPECT_EQ(xPixelSize, band.GetXPixelSize());
      EXPECT_EQ(yPixelSize, band.GetYPixelSize());
      EXPECT_EQ(kind, band.GetCoordinateKind());
      EXPECT_EQ(referenceKind, band.GetSR()->GetCoordinateKind());
    }
  }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

using LoadFileBMP = RasterFiles;
using LoadFileJPG = RasterFiles;

TEST_F(LoadFileBMP, GivesThreeBandsOfATrueColourFile) {
  const std::string path = WriteBmp("a.bmp");
  ASSERT_EQ(1, Load(kFormatBMP, path)) << err_;
  ASSERT_EQ(3, file_.GetNumOfBands());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ("Channel " + std::to_string(i + 1), file_.GetBandAt(i)->GetBandName().AsStdString());
    EXPECT_EQ(i, static_cast<ZRMBandBMP*>(file_.GetBandAt(i))->GetChannel());
  }
  EXPECT_EQ(path, file_.GetName().AsStdString());
  EXPECT_EQ(path, file_.GetFilePath().AsStdString());
}

TEST_F(LoadFileBMP, GivesThreeBandsOfAnIndexedFile) {
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Bits(8)))) << err_;
  EXPECT_EQ(3, file_.GetNumOfBands());
}

TEST_F(LoadFileBMP, GivesFourBandsOfThirtyTwoBits) {
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Bits(32)))) << err_;
  EXPECT_EQ(4, file_.GetNumOfBands());
}

TEST_F(LoadFileBMP, ServesEveryChannelThroughItsBand) {
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(7, 5)))) << err_;
  const int wanted[] = {BmpBuilder::Red(3, 2), BmpBuilder::Green(3, 2), BmpBuilder::Blue(3, 2)};
  for (int i = 0; i < 3; ++i) {
    tagXArr2* out = nullptr;
    ASSERT_EQ(1, file_.GetBandAt(i)->ReadSubset(out, 0, 3, 3, 2, 2, nullptr));
    EXPECT_EQ(wanted[i], out->data[0]);
  }
}

TEST_F(LoadFileBMP, PlacesPixelsWithoutAWorldFile) {
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(7, 5))));
  ExpectPlace(0.0, 5.0, 1.0, 1.0, kCoordinatePixel, kReferenceNone);
}

TEST_F(LoadFileBMP, TakesTheOriginAsUpperLeftForAFallingWorldFile) {
  WriteText("a.bmw", "2.5\n9\n9\n-4\n1000\n2000\n");
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(7, 5))));
  ExpectPlace(1000.0, 2000.0, 2.5, 4.0, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileBMP, PutsTheUpperEdgeAboveTheOriginForARisingWorldFile) {
  WriteText("a.bmw", "2.5\n0\n0\n4\n1000\n2000\n");
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(7, 5))));
  ExpectPlace(1000.0, 2000.0 + 5 * 4, 2.5, 4.0, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileBMP, PutsTheLeftEdgeBeforeTheOriginForNegativePixelWidths) {
  WriteText("a.bmw", "-2.5\n0\n0\n-4\n1000\n2000\n");
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(7, 5))));
  ExpectPlace(1000.0 - 7 * 2.5, 2000.0, 2.5, 4.0, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileBMP, PlacesByAnEmptyWorldFileAsByOneWithNothingSet) {
  WriteText("a.bmw", "");
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(7, 5))));
  ExpectPlace(0.0, 5.0 - 1.0, 1.7e+308, 1.7e+308, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileBMP, PlacesAllFourBandsOfThirtyTwoBits) {
  WriteText("a.bmw", "1\n0\n0\n-1\n10\n20\n");
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Bits(32))));
  ExpectPlace(10.0, 20.0, 1.0, 1.0, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileBMP, PlacesBandsThatTheDatasetHadBefore) {
  auto* const before = new ZRMBand;
  before->SetSize(3, 11);
  file_.AddBand(before);
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp")));
  EXPECT_EQ(11.0, before->GetULY());
  EXPECT_EQ(kCoordinatePixel, before->GetCoordinateKind());
}

TEST_F(LoadFileBMP, CutsFourCharactersForTheWorldFileWhateverTheExtension) {
  WriteText("a.bmw", "1\n0\n0\n-1\n10\n20\n");
  WriteText("a..bmw", "1\n0\n0\n-1\n30\n40\n");
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.dibs")));
  ExpectPlace(30.0, 40.0, 1.0, 1.0, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileBMP, ComputesStatisticsIfAsked) {
  // One column whose red is 2y + 1: 1, 3 and 5.
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Size(1, 3)), 1));
  const ZRMBand& red = *file_.GetBandAt(0);
  EXPECT_EQ(1.0, red.GetBandMin());
  EXPECT_EQ(5.0, red.GetBandMax());
  EXPECT_EQ(3.0, red.GetBandMean());
  EXPECT_EQ(2.0, red.GetBandStdDev());
  EXPECT_EQ(1, red.GetHistogram()[0]);
  EXPECT_EQ(1, red.GetHistogram()[128]);
  EXPECT_EQ(1, red.GetHistogram()[255]);
}

TEST_F(LoadFileBMP, ComputesNoStatisticsIfNotAsked) {
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp")));
  EXPECT_EQ(1.7e+308, file_.GetBandAt(0)->GetBandMean());
}

TEST_F(LoadFileBMP, AddsNoBandForAMissingFile) {
  EXPECT_EQ(0, Load(kFormatBMP, folder_.Path("none.bmp")));
  EXPECT_EQ("Can't open file : " + folder_.Path("none.bmp"), err_.AsStdString());
  EXPECT_EQ(0, file_.GetNumOfBands());
  EXPECT_TRUE(file_.GetName().IsEmpty());
}

TEST_F(LoadFileBMP, PassesTheReadersSentenceOn) {
  EXPECT_EQ(0, Load(kFormatBMP, WriteBmp("a.bmp", BmpBuilder().Bits(4))));
  EXPECT_EQ(XString("Not supported bit count: 4"), err_);
}

TEST_F(LoadFileBMP, SucceedsWithTheLevelDataMessageLeftInErr) {
  ASSERT_EQ(1, Load(kFormatBMP, WriteBmp("a.bmp")));
  EXPECT_EQ(XString("There is not a corresponding XLD file"), err_);
}

TEST_F(LoadFileJPG, GivesThreeBandsOfAColourFile) {
  const std::string path = WriteJpeg("a.jpg");
  ASSERT_EQ(1, Load(kFormatJPG, path)) << err_;
  ASSERT_EQ(3, file_.GetNumOfBands());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ("Channel " + std::to_string(i + 1), file_.GetBandAt(i)->GetBandName().AsStdString());
    EXPECT_EQ(i, static_cast<ZRMBandJPG*>(file_.GetBandAt(i))->GetChannel());
  }
  EXPECT_EQ(path, file_.GetFilePath().AsStdString());
}

TEST_F(LoadFileJPG, GivesOneBandOfAGreyFile) {
  ASSERT_EQ(1, Load(kFormatJPG, WriteJpeg("a.jpg", JpegBuilder().Grey()))) << err_;
  EXPECT_EQ(1, file_.GetNumOfBands());
}

TEST_F(LoadFileJPG, GivesThreeBandsOfACmykFile) {
  ASSERT_EQ(1, Load(kFormatJPG, WriteJpeg("a.jpg", JpegBuilder().Cmyk()))) << err_;
  EXPECT_EQ(3, file_.GetNumOfBands());
}

TEST_F(LoadFileJPG, PlacesPixelsWithoutAWorldFile) {
  ASSERT_EQ(1, Load(kFormatJPG, WriteJpeg("a.jpg", JpegBuilder().Size(32, 24))));
  ExpectPlace(0.0, 24.0, 1.0, 1.0, kCoordinatePixel, kReferenceNone);
}

TEST_F(LoadFileJPG, TakesItsPlaceFromItsOwnKindOfWorldFile) {
  WriteText("a.bmw", "1\n0\n0\n-1\n10\n20\n");
  WriteText("a.jpw", "0.5\n0\n0\n-0.25\n30\n40\n");
  ASSERT_EQ(1, Load(kFormatJPG, WriteJpeg("a.jpg")));
  ExpectPlace(30.0, 40.0, 0.5, 0.25, kCoordinateWorld, kReferenceUnknown);
}

TEST_F(LoadFileJPG, ComputesStatisticsIfAsked) {
  ASSERT_EQ(1, Load(kFormatJPG, WriteJpeg("a.jpg", JpegBuilder().Grey()), 1));
  const ZRMBand& band = *file_.GetBandAt(0);
  EXPECT_LT(band.GetBandMin(), band.GetBandMean());
  EXPECT_LT(band.GetBandMean(), band.GetBandMax());
}

TEST_F(LoadFileJPG, AddsNoBandForAMissingFile) {
  EXPECT_EQ(0, Load(kFormatJPG, folder_.Path("none.jpg")));
  EXPECT_EQ(XString("Can't open file"), err_);
  EXPECT_EQ(0, file_.GetNumOfBands());
}

}  // namespace
