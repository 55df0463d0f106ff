#include "XRSFile.h"

#include "TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

/// Writes its id down when it goes.
class MortalBand : public ZRMBand {
 public:
  MortalBand(int id, std::vector<int>& gone) : gone_(gone) { SetID(id); }
  ~MortalBand() override { gone_.push_back(GetID()); }

 private:
  std::vector<int>& gone_;
};

template <class Element>
Element* New() {
  return std::make_unique<Element>().release();
}

}  // namespace

TEST(XRSFile, DestroysItsBandsFromTheLastToTheFirst) {
  std::vector<int> gone;
  {
    XRSFile dataset;
    for (int id = 1; id <= 4; ++id) dataset.AddBand(std::make_unique<MortalBand>(id, gone).release());
    EXPECT_TRUE(gone.empty());
  }
  EXPECT_THAT(gone, ElementsAre(4, 3, 2, 1));
}

TEST(XRSFile, BecomesTheOwnerOfABand) {
  XRSFile dataset;
  ZRMBand* band = New<ZRMBand>();
  dataset.AddBand(band);
  EXPECT_EQ(band->GetXRSFile(), &dataset);
  EXPECT_EQ(dataset.GetNumOfBands(), 1);
  EXPECT_EQ(dataset.GetBandAt(0), band);
}

TEST(XRSFile, IgnoresNullAndAnswersNullOutsideTheList) {
  XRSFile dataset;
  dataset.AddBand(nullptr);
  EXPECT_EQ(dataset.GetNumOfBands(), 0);
  EXPECT_EQ(dataset.GetBandAt(0), nullptr);
  EXPECT_EQ(dataset.GetBandAt(-1), nullptr);
  dataset.AddBand(New<ZRMBand>());
  EXPECT_EQ(dataset.GetBandAt(1), nullptr);
}

TEST(XRSFile, KeepsVectorSetsWithTheirOwner) {
  XRSFile dataset;
  ZRMVand* vand = New<ZRMVand>();
  dataset.AddVand(vand);
  dataset.AddVand(nullptr);
  EXPECT_EQ(dataset.GetNumOfVands(), 1);
  EXPECT_EQ(dataset.GetVandAt(0), vand);
  EXPECT_EQ(dataset.GetVandAt(1), nullptr);
  EXPECT_EQ(vand->GetXRSFile(), &dataset);
}

TEST(XRSFile, KeepsTheOtherListsInOrder) {
  XRSFile dataset;
  XROI* roi = New<XROI>();
  dataset.AddROISet(New<XROI>());
  dataset.AddROISet(roi);
  dataset.AddROISet(nullptr);
  EXPECT_EQ(dataset.GetNumOfROI(), 2);
  EXPECT_EQ(dataset.GetROIAt(1), roi);
  tagGCPSets* gcps = New<tagGCPSets>();
  dataset.AddGCPSet(gcps);
  EXPECT_EQ(dataset.GetNumOfGCPSet(), 1);
  EXPECT_EQ(dataset.GetGCPSetAt(0), gcps);
  EXPECT_EQ(dataset.GetGCPSetAt(1), nullptr);
  XRSSIG* sig = New<XRSSIG>();
  dataset.AddSIGSet(sig);
  EXPECT_EQ(dataset.GetNumOfSIG(), 1);
  EXPECT_EQ(dataset.GetSIGAt(0), sig);
}

TEST(XRSFile, KeepsItsFields) {
  XRSFile dataset;
  dataset.SetName("name");
  dataset.SetVersion(3);
  dataset.SetThreshold1(4);
  dataset.SetDescription("description");
  dataset.SetAttatchFlag(5);
  dataset.SetCryptoVaildationInfo("crypto");
  tagXRadarScene* scene = New<tagXRadarScene>();
  dataset.SetRadarScene(scene);
  EXPECT_EQ(dataset.GetName(), "name");
  EXPECT_EQ(dataset.GetVersion(), 3);
  EXPECT_EQ(dataset.GetThreshold1(), 4);
  EXPECT_EQ(dataset.GetDescription(), "description");
  EXPECT_EQ(dataset.GetAttatchFlag(), 5);
  EXPECT_EQ(dataset.GetCryptoVaildationInfo(), "crypto");
  EXPECT_EQ(dataset.GetRadarScene(), scene);
}

TEST(XRSFile, AnswersPartsOfTheStoredPath) {
  XRSFile dataset;
  dataset.SetFilePath("/data\\scene.one.tif");
  EXPECT_EQ(dataset.GetFilePath(), "/data\\scene.one.tif");
  EXPECT_EQ(dataset.GetFileName(), "scene.one.tif");
  EXPECT_EQ(dataset.GetFileTitle(), "scene.one");
}

TEST(XRSFile, PrefersThePathOfAnOpenFile) {
  const TempFolder folder;
  folder.Write("open.dat", {1, 2, 3});
  XRSFile dataset;
  dataset.SetFilePath("/stored/path.tif");
  XFile file;
  ASSERT_EQ(file.Open(folder.Path("open.dat"), XFile::kRead), 1);
  dataset.SetFile(&file, 0);
  EXPECT_EQ(dataset.GetFilePtr(), &file);
  EXPECT_EQ(dataset.GetFilePath(), XString(folder.Path("open.dat")));
  EXPECT_EQ(dataset.GetFileTitle(), "open");
  file.Close();
  EXPECT_EQ(dataset.GetFilePath(), "/stored/path.tif");
}

TEST(XRSFile, ClosesTheFileThatItOwns) {
  const TempFolder folder;
  folder.Write("open.dat", {1, 2, 3});
  XFile* file = New<XFile>();
  ASSERT_EQ(file->Open(folder.Path("open.dat"), XFile::kRead), 1);
  const std::weak_ptr<zrk::DiskFile> onDisk = file->GetDiskFile();
  XRSFile dataset;
  dataset.SetFile(file, 1);
  dataset.SetFile(file, 1);
  EXPECT_FALSE(onDisk.expired());
  dataset.SetFile(nullptr, 0);
  EXPECT_TRUE(onDisk.expired());
  EXPECT_EQ(dataset.GetFilePtr(), nullptr);
}

TEST(XRSFile, GivesAFileBackThatIsAttachedAnewAsNotOwned) {
  const TempFolder folder;
  folder.Write("open.dat", {1, 2, 3});
  const auto file = std::make_unique<XFile>();
  ASSERT_EQ(file->Open(folder.Path("open.dat"), XFile::kRead), 1);
  {
    XRSFile dataset;
    dataset.SetFile(file.get(), 1);
    dataset.SetFile(file.get(), 0);
  }
  EXPECT_TRUE(file->IsOpen());
}

TEST(XRSFile, CopiesItsMatrices) {
  XRSFile dataset;
  EXPECT_EQ(dataset.GetCorrelationMatrix(), nullptr);
  EXPECT_EQ(dataset.GetCovarianceMatrix(), nullptr);
  double values[] = {1.0, 0.5, 0.5, 1.0};
  dataset.SetCorrelationMatrix(values, 2);
  values[0] = 4.0;
  dataset.SetCovarianceMatrix(values, 2);
  EXPECT_EQ(dataset.GetCorrelationMatrix()[0], 1.0);
  EXPECT_EQ(dataset.GetCorrelationMatrix()[3], 1.0);
  EXPECT_EQ(dataset.GetCovarianceMatrix()[0], 4.0);
  dataset.SetCovarianceMatrix(nullptr, 2);
  EXPECT_EQ(dataset.GetCovarianceMatrix(), nullptr);
  dataset.SetCorrelationMatrix(values, 0);
  EXPECT_EQ(dataset.GetCorrelationMatrix(), nullptr);
}

TEST(XRSFile, HasValidStatisticsWhereTheCorrelationIsSet) {
  XRSFile dataset;
  EXPECT_FALSE(dataset.HasValidStatistics());
  double value = 1.7e+308;
  dataset.SetCorrelationMatrix(&value, 1);
  EXPECT_FALSE(dataset.HasValidStatistics());
  value = 1.0;
  dataset.SetCorrelationMatrix(&value, 1);
  EXPECT_TRUE(dataset.HasValidStatistics());
}

TEST(XRSFile, LiesWhereItsFirstBandLies) {
  XRSFile dataset;
  for (const double ulx : {100.0, 900.0}) {
    ZRMBand* band = New<ZRMBand>();
    band->SetSize(10, 20);
    band->SetUpperLeft(ulx, 500.0);
    band->SetPixelSize(2.0, 3.0);
    dataset.AddBand(band);
  }
  double west = 0.0, east = 0.0, south = 0.0, north = 0.0;
  dataset.GetBoundRect(west, east, south, north);
  EXPECT_THAT((std::vector{west, east, south, north}), ElementsAre(100.0, 120.0, 440.0, 500.0));
  EXPECT_EQ(dataset.GetXPixelSize(), 2.0);
  EXPECT_EQ(dataset.GetYPixelSize(), 3.0);
  EXPECT_EQ(dataset.GetSR(), dataset.GetBandAt(0)->GetSR());
}

TEST(XRSFile, WithoutBandsYieldsNoPlace) {
  const XRSFile dataset;
  double west = 1.0, east = 2.0, south = 3.0, north = 4.0;
  dataset.GetBoundRect(west, east, south, north);
  EXPECT_THAT((std::vector{west, east, south, north}), ElementsAre(1.0, 2.0, 3.0, 4.0));
  EXPECT_EQ(dataset.GetXPixelSize(), 1.0);
  EXPECT_EQ(dataset.GetYPixelSize(), 1.0);
  EXPECT_EQ(dataset.GetSR(), nullptr);
}
