// What is written comes back: the fields of bands and datasets, by way of a native raster file and of a level file.

#include "NativeFields.h"
#include "TempFolder.h"
#include "XEPOT2D.h"
#include "ZRMBandComplex.h"
#include "ZRMBandEPOT.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

int LoadText(XRSFile& dataset, const XString& xml) {
  XString err;
  const int result = dataset.LoadStringZRM(xml, err, nullptr);
  EXPECT_EQ(err.IsEmpty(), result == 1) << err.GetText();
  return result;
}

/// Two bands with all fields filled, and a filled dataset.
void MakeSource(XRSFile& dataset) {
  for (int i = 0; i < 2; ++i) FillBand(AddPlainBand(dataset, 7, 5, kPint16), i + 1);
  FillDataset(dataset, 30);
}

void MakeTarget(XRSFile& dataset) {
  AddPlainBand(dataset, 7, 5, kPint16);
  AddPlainBand(dataset, 7, 5, kPint16);
}

}  // namespace

TEST(NativeRaster, KeepsEveryFieldOfABand) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 2, true);
  XRSFile dataset;
  XString err;
  ASSERT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 1) << err.GetText();
  ASSERT_EQ(dataset.GetNumOfBands(), 2);
  for (int i = 0; i < 2; ++i) {
    ZRMBand expected;
    expected.SetSize(20, 10);
    expected.SetTileSize(16, 16);
    FillBand(expected, i + 1);
    EXPECT_EQ(DescribeIdentity(*dataset.GetBandAt(i)), DescribeIdentity(expected));
    EXPECT_EQ(DescribeAcquisition(*dataset.GetBandAt(i)), DescribeAcquisition(expected));
  }
}

TEST(NativeRaster, KeepsEveryFieldOfTheDataset) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 2, true);
  XRSFile dataset, expected;
  XString err;
  ASSERT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 1);
  MakeTarget(expected);
  FillDataset(expected, 50);
  EXPECT_EQ(DescribeDataset(dataset), DescribeDataset(expected));
}

TEST(NativeRaster, HasBandsThatReadThePixelsOfTheFile) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 2, false);
  XRSFile dataset;
  XString err;
  ASSERT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 1);
  EXPECT_TRUE(dataset.GetBandAt(1)->IsKindOf(ZRMBandEPOT::GetRuntimeClassStatic()));
  EXPECT_EQ(dataset.GetBandAt(1)->GetXRSFile(), &dataset);
  EXPECT_EQ(dataset.GetBandAt(1)->GetLevel(), 1);
  tagXArr2* out = nullptr;
  ASSERT_EQ(dataset.GetBandAt(1)->ReadSubset(out, 0, 17, 19, 8, 8, nullptr), 1);
  EXPECT_THAT(std::vector<int>(out->data, out->data + 3), ElementsAre(125, 126, 127));
}

TEST(NativeRaster, AttachesItsFileAndTakesItsName) {
  const TempFolder folder;
  WriteNativeFile(folder.Path("a.zrm"), 1, false);
  XRSFile dataset;
  XString err;
  ASSERT_EQ(dataset.LoadFileZRM(folder.Path("a.zrm"), err, nullptr), 1);
  ASSERT_NE(dataset.GetFilePtr(), nullptr);
  EXPECT_TRUE(dataset.GetFilePtr()->IsOpen());
  EXPECT_EQ(dataset.GetName(), folder.Path("a.zrm").c_str());
  EXPECT_EQ(dataset.GetFileTitle(), "a");
}

TEST(NativeRaster, WithoutItsFileHasBandsThatServeNoRead) {
  XRSFile source, dataset;
  MakeSource(source);
  ASSERT_EQ(LoadText(dataset, LevelText(source)), 1);
  ASSERT_EQ(dataset.GetNumOfBands(), 2);
  EXPECT_EQ(dataset.GetBandAt(0)->GetXSize(), 7);
  EXPECT_EQ(dataset.GetBandAt(0)->GetDataType(), kPint16);
  tagXArr2* out = nullptr;
  EXPECT_EQ(dataset.GetBandAt(0)->ReadSubset(out, 0, 0, 1, 0, 1, nullptr), 0);
}

TEST(NativeRaster, HandsTheCryptoTextOver) {
  XRSFile dataset;
  AddPlainBand(dataset, 7, 5, kPint08);
  XRSFileSaver saver;
  saver.SetCryptoVaildationInfo("00:11:22 ");
  saver.SetWriterFlags(0, 1);
  saver.WriteInitTags();
  saver.WriteBandTag();
  saver.CopyBandInfo(nullptr, 0, 256, 256, 7, 5, kPint08, 0, 1.0, 2.0, 3.0, 4.0, nullptr);
  ASSERT_EQ(LoadText(dataset, saver.GetXML()), 1);
  EXPECT_EQ(dataset.GetCryptoVaildationInfo(), "00:11:22 ");
}

TEST(NativeRaster, TakesTheSensorModelAsGivenForAWindow) {
  XRSFile dataset;
  ZRMBand& band = AddPlainBand(dataset, 7, 5, kPint08);
  XRSFileSaver saver;
  saver.WriteInitTags();
  saver.WriteBandTag();
  saver.CopyBandInfo(nullptr, 0, 256, 256, 7, 5, kPint08, 0, 1.0, 2.0, 3.0, 4.0, nullptr);
  saver.CopyBasicSensorParams(&band);
  saver.WriteAdditionalSensorParams(1, 2.5, 3.5, "UL", 4.5, 5.5, 6.5, 7.5);
  ASSERT_EQ(LoadText(dataset, saver.GetXML()), 1);
  double x = 0.0, y = 0.0;
  band.GetOffset(x, y);
  EXPECT_THAT((std::vector{band.GetFocalLength(), band.GetCellSize(), x, y}), ElementsAre(2.5, 3.5, 4.5, 5.5));
  band.GetScale(x, y);
  EXPECT_THAT((std::vector{x, y}), ElementsAre(6.5, 7.5));
  EXPECT_EQ(band.GetOriginCorner(), "UL");
  EXPECT_EQ(band.GetUseSensorModel(), 1);
}

TEST(LevelText, SetsStatisticsAndDescriptiveFields) {
  XRSFile source, target;
  MakeSource(source);
  MakeTarget(target);
  ASSERT_EQ(LoadText(target, LevelText(source)), 1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(DescribeAcquisition(*target.GetBandAt(i)), DescribeAcquisition(*source.GetBandAt(i)));
    EXPECT_TRUE(target.GetBandAt(i)->GetSR()->IsSame(*source.GetBandAt(i)->GetSR()));
  }
  EXPECT_EQ(DescribeDataset(target), DescribeDataset(source));
}

TEST(LevelText, NeverSetsWhatTheBandIs) {
  XRSFile source, target;
  MakeSource(source);
  source.GetBandAt(0)->SetTileSize(64, 32);
  source.GetBandAt(0)->SetCompressionInfo(3);
  MakeTarget(target);
  source.GetBandAt(0)->GetSR()->Clear();
  const Description before = DescribeIdentity(*target.GetBandAt(0));
  ASSERT_EQ(LoadText(target, LevelText(source)), 1);
  EXPECT_EQ(DescribeIdentity(*target.GetBandAt(0)), before);
  EXPECT_EQ(target.GetBandAt(0)->GetXRSFile(), &target);
}

TEST(LevelText, LoadedTwiceIsTheSameAsLoadedOnce) {
  XRSFile source, target;
  MakeSource(source);
  MakeTarget(target);
  const XString text = LevelText(source);
  ASSERT_EQ(LoadText(target, text), 1);
  const Description dataset = DescribeDataset(target);
  const Description band = DescribeAcquisition(*target.GetBandAt(1));
  ASSERT_EQ(LoadText(target, text), 1);
  EXPECT_EQ(DescribeDataset(target), dataset);
  EXPECT_EQ(DescribeAcquisition(*target.GetBandAt(1)), band);
}

TEST(LevelText, LeavesListsAloneThatItDoesNotHave) {
  XRSFile source, target;
  AddPlainBand(source, 7, 5, kPint08);
  FillBand(AddPlainBand(target, 7, 5, kPint08), 1);
  FillDataset(target, 9);
  XString wkt, after;
  target.GetSR()->exportToWkt(wkt);
  ASSERT_EQ(LoadText(target, LevelText(source)), 1);
  EXPECT_EQ(target.GetNumOfGCPSet(), 2);
  EXPECT_EQ(target.GetNumOfROI(), 2);
  EXPECT_EQ(target.GetNumOfSIG(), 2);
  EXPECT_EQ(target.GetBandAt(0)->GetNumOfGIS(), 3);
  EXPECT_NE(target.GetBandAt(0)->GetScanSensorParam(), nullptr);
  EXPECT_NE(target.GetRadarScene(), nullptr);
  EXPECT_TRUE(target.GetSR()->exportToWkt(after));
  EXPECT_EQ(after, wkt);
}

TEST(LevelText, SetsTheStatisticsOfAnInnerBandAsWell) {
  XRSFile source, target;
  FillBand(AddPlainBand(source, 7, 5, kPint08), 4);
  auto inner = std::make_unique<ZRMBand>();
  inner->SetSize(7, 5);
  ZRMBand& innerBand = *inner;
  target.AddBand(std::make_unique<ZRMBandComplex>(inner.release()).release());
  ASSERT_EQ(LoadText(target, LevelText(source)), 1);
  EXPECT_EQ(innerBand.GetBandMin(), source.GetBandAt(0)->GetBandMin());
  EXPECT_EQ(innerBand.GetHistogram()[255], source.GetBandAt(0)->GetHistogram()[255]);
  EXPECT_EQ(innerBand.GetNumOfGIS(), 0);
  EXPECT_EQ(target.GetBandAt(0)->GetNumOfGIS(), 3);
}

TEST(LevelText, RecordsTheSizeOfTheFirstBandAndTheTypeOfTheLastForAll) {
  XRSFile dataset;
  AddPlainBand(dataset, 7, 5, kPint08);
  AddPlainBand(dataset, 3, 3, kPint16);
  XRSFileSaver saver;
  saver.WriteInitTags();
  for (int i = 0; i < 2; ++i) {
    saver.WriteBandTag();
    saver.CopyBandInfo(nullptr, 0, 256, 256, 7, 5, kPint16, 0, 1.0, 2.0, 3.0, 4.0, nullptr);
  }
  EXPECT_EQ(LoadText(dataset, saver.GetXML()), 1);
  EXPECT_EQ(dataset.GetBandAt(1)->GetXSize(), 3);
  EXPECT_EQ(dataset.GetBandAt(0)->GetDataType(), kPint08);
}

TEST(LevelText, OfAnotherImageIsRefused) {
  XRSFile source;
  MakeSource(source);
  const XString text = LevelText(source);
  for (const auto& [numBands, xSize, ySize, dataType] :
       {std::array{1, 7, 5, int{kPint16}}, std::array{3, 7, 5, int{kPint16}}, std::array{2, 8, 5, int{kPint16}},
        std::array{2, 7, 6, int{kPint16}}, std::array{2, 7, 5, int{kPint08}}}) {
    XRSFile target;
    for (int i = 0; i < numBands; ++i) AddPlainBand(target, xSize, ySize, dataType);
    const Description before = DescribeAcquisition(*target.GetBandAt(0));
    XString err;
    EXPECT_EQ(target.LoadStringZRM(text, err, nullptr), 0);
    EXPECT_EQ(err, "The level data does not belong to the image");
    EXPECT_EQ(DescribeAcquisition(*target.GetBandAt(0)), before);
  }
}
