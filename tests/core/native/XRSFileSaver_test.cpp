#include "XRSFileSaver.h"

#include "FaultyDisk.h"
#include "LevelDataset.h"
#include "NativeFields.h"
#include "TempFolder.h"
#include "XEPOT2D.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::string TextOf(const XRSFileSaver& saver) {
  return saver.GetXML().AsStdString();
}

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t place = text.find(part); place != std::string::npos; place = text.find(part, place + 1)) ++count;
  return count;
}

}  // namespace

TEST(XRSFileSaver, WritesADocumentOfSingleByteCharacters) {
  XRSFileSaver saver;
  saver.WriteInitTags();
  EXPECT_THAT(TextOf(saver), StartsWith("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"));
}

TEST(XRSFileSaver, GivesEachBandAProjectionEvenIfItIsEmpty) {
  XRSFileSaver saver;
  saver.WriteInitTags();
  saver.WriteBandTag();
  saver.WriteBandTag();
  EXPECT_EQ(CountOf(TextOf(saver), "<XRS_TAG_BAND>"), 2);
  EXPECT_EQ(CountOf(TextOf(saver), "<XRS_TAG_BAND_PROJECTIONWKT />"), 2);
}

TEST(XRSFileSaver, ReplacesAGroupThatIsWrittenAgain) {
  ZRMBand band;
  FillBand(band, 1);
  XRSFileSaver saver;
  saver.WriteInitTags();
  saver.WriteBandTag();
  WriteBand(saver, band);
  const std::string once = TextOf(saver);
  WriteBand(saver, band);
  EXPECT_EQ(CountOf(TextOf(saver), "<XRS_TAG_BAND_GIS "), 3);
  EXPECT_EQ(TextOf(saver).size(), once.size());
}

TEST(XRSFileSaver, WritesNothingForNullAndOutsideABand) {
  XRSFileSaver saver;
  saver.WriteInitTags();
  const std::string empty = TextOf(saver);
  ZRMBand band;
  FillBand(band, 1);
  WriteBand(saver, band);
  saver.WriteBandDataPlace(16, 100);
  saver.CopyFileDescription(nullptr);
  EXPECT_EQ(TextOf(saver), empty);
  saver.WriteBandTag();
  const std::string withBand = TextOf(saver);
  saver.CopyBandBasicInfo(nullptr);
  saver.CopyBandCoord(nullptr, 0, 1, 0, 1);
  saver.CopyBandMapInfo(nullptr);
  saver.CopyBandSarParam(nullptr);
  saver.WriteScanSensorParams(nullptr);
  EXPECT_EQ(TextOf(saver), withBand);
}

TEST(XRSFileSaver, WritesTheCornerOfTheWindow) {
  ZRMBand band;
  band.SetUpperLeft(1000.0, 2000.0);
  band.SetPixelSize(2.0, 3.0);
  XRSFileSaver saver;
  saver.WriteInitTags();
  saver.WriteBandTag();
  saver.CopyBandCoord(&band, 10, 20, 5, 9);
  EXPECT_THAT(TextOf(saver), HasSubstr("<XRS_TAG_BAND_ULX>1020</XRS_TAG_BAND_ULX>"));
  EXPECT_THAT(TextOf(saver), HasSubstr("<XRS_TAG_BAND_ULY>1985</XRS_TAG_BAND_ULY>"));
}

TEST(XRSFileSaver, KeepsThePixelSizesThatCameWithTheCoordinates) {
  ZRMBand band;
  band.SetPixelSize(2.0, 3.0);
  XRSFileSaver saver;
  saver.WriteInitTags();
  saver.WriteBandTag();
  saver.WriteBandCoordInfo(0.0, 0.0, 8.5, 9.5);
  saver.CopyBandPixelSize(&band);
  EXPECT_THAT(TextOf(saver), HasSubstr("<XRS_TAG_BAND_XPIXELSIZE>8.5</XRS_TAG_BAND_XPIXELSIZE>"));
  saver.WriteBandTag();
  saver.CopyBandPixelSize(&band);
  EXPECT_THAT(TextOf(saver), HasSubstr("<XRS_TAG_BAND_XPIXELSIZE>2</XRS_TAG_BAND_XPIXELSIZE>"));
}

TEST(XRSFileSaver, RecordsWhatTheWriterIsHandedBeforeAndAfterTheDocumentIsOpened) {
  XRSFileSaver saver;
  EXPECT_THAT(TextOf(saver), Not(HasSubstr("XRS_TAG_CRYPTOINFO")));
  saver.SetCryptoVaildationInfo("00:11:22");
  saver.WriteInitTags();
  saver.SetWriterFlags(5, -7);
  EXPECT_THAT(TextOf(saver), HasSubstr("<XRS_TAG_CRYPTOINFO>00:11:22</XRS_TAG_CRYPTOINFO>"));
  EXPECT_THAT(TextOf(saver), HasSubstr("<XRS_TAG_WRITERFLAGS>5 -7</XRS_TAG_WRITERFLAGS>"));
}

TEST(XRSFileSaver, LeavesOutAMatrixThatIsNotOfTheBands) {
  XRSFile dataset;
  AddPlainBand(dataset, 7, 5, kPint08);
  const double values[4] = {1.0, 0.5, 0.5, 1.0};
  dataset.SetCorrelationMatrix(values, 2);
  dataset.SetCovarianceMatrix(values, 1);
  XRSFileSaver saver;
  saver.WriteInitTags();
  saver.CopyFileDescription(&dataset);
  EXPECT_THAT(TextOf(saver), Not(HasSubstr("XRS_TAG_CORRELATIONMATRIX")));
  EXPECT_THAT(TextOf(saver), HasSubstr("XRS_TAG_COVARIANCEMATRIX"));
}

TEST(XRSFileSaver, WithoutAFileSavesNothing) {
  XRSFileSaver saver;
  saver.WriteInitTags();
  EXPECT_EQ(saver.GetOutputFile(), nullptr);
  EXPECT_EQ(saver.Save(), 0);
}

TEST(XRSFileSaver, BeginsAFileThatIsNotComplete) {
  const TempFolder folder;
  XFile file;
  ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kCreate));
  XRSFileSaver saver;
  saver.SetFileOutputData(&file);
  EXPECT_EQ(saver.GetOutputFile(), &file);
  EXPECT_EQ(saver.GetDataEnd(), 16);
  EXPECT_THAT(ReadBytes(folder.Path("a.zrm")),
              ElementsAre('Z', 'R', 'M', '.', 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF));
}

TEST(XRSFileSaver, WritesTheTextBehindTheDataAndItsPlaceIntoTheHeader) {
  const TempFolder folder;
  XFile file;
  ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kCreate));
  XRSFileSaver saver;
  saver.SetFileOutputData(&file);
  saver.WriteInitTags();
  saver.SetDataEnd(0x0102);
  ASSERT_EQ(saver.Save(), 1);
  const std::vector<unsigned char> bytes = ReadBytes(folder.Path("a.zrm"));
  EXPECT_THAT(std::vector(bytes.begin() + 8, bytes.begin() + 16), ElementsAre(2, 1, 0, 0, 0, 0, 0, 0));
  EXPECT_EQ(std::string(bytes.begin() + 0x0102, bytes.end()), TextOf(saver));
}

TEST(XRSFileSaver, FailsToSaveToAFileThatCantBeWritten) {
  const TempFolder folder;
  folder.Write("a.zrm", "");
  XFile file;
  ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kRead));
  XRSFileSaver saver;
  saver.SetFileOutputData(&file);
  saver.WriteInitTags();
  EXPECT_EQ(saver.Save(), 0);
}

TEST(XRSFileSaver, CompressesABodyInEveryModeButTwo) {
  const TempFolder folder;
  XRSFile dataset;
  const auto samples = RandomSamples<std::uint8_t>(40, 30);
  ZRMBand& band = AddDirectBand(dataset, 40, 30, samples);
  for (const int mode : {0, 100, 3, 5}) {
    XFile file;
    ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kCreate));
    XRSFileSaver saver;
    XString err;
    saver.SetFileOutputData(&file);
    saver.WriteInitTags();
    saver.WriteBandTag();
    ASSERT_EQ(1, saver.CopyBandData(&band, 1, 0, 39, 0, 29, mode, nullptr, 0, 100, err)) << err;
    ASSERT_EQ(1, saver.Save());
    XRSFile opened;
    ASSERT_EQ(1, opened.LoadFileZRM(folder.Path("a.zrm"), err, nullptr)) << mode << ": " << err;
    tagXArr2* out = nullptr;
    ASSERT_EQ(1, opened.GetBandAt(0)->ReadSubset(out, 0, 0, 39, 0, 29, nullptr)) << mode;
    EXPECT_EQ(samples, SamplesOf<std::uint8_t>(*out)) << mode;
  }
}

TEST(XRSFileSaver, LeavesAFileUnfinishedWhereItsHeaderIsNotBroughtToTheMedium) {
  const TempFolder folder;
  for (int nth = 1; nth <= 2; ++nth) {
    FaultyDisk disk;
    disk.FailSync(nth);
    const zrk::ScopedDisk scoped(disk);
    XFile file;
    ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kCreate));
    XRSFileSaver saver;
    saver.SetFileOutputData(&file);
    saver.WriteInitTags();
    EXPECT_EQ(saver.Save(), 0);
    EXPECT_EQ(ReadBytes(folder.Path("a.zrm"))[8], 0xFF) << nth;
  }
}

TEST(XRSFileSaver, WithoutADocumentSavesNothing) {
  const TempFolder folder;
  XFile file;
  ASSERT_TRUE(file.Open(folder.Path("a.zrm"), XFile::kReadWrite | XFile::kCreate));
  XRSFileSaver saver;
  saver.SetFileOutputData(&file);
  EXPECT_EQ(saver.Save(), 0);
}
