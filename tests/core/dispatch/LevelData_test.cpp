// Level data from the caller's side: its name, when it is built or asked for, when it is attached or refused, and how
// its system is changed. An operator who answers as told stands in for the message box.

#include "BmpBuilder.h"
#include "FaultyDisk.h"
#include "LevelDataset.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XMessageBox.h"
#include "XRSFileIO.h"
#include "ZRMBandComplex.h"
#include "ZRMBandEPOT.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr const char* kNone = "There is not a corresponding XLD file";

TEST(GetFileNameXLD, PutsItsOwnExtensionInPlaceOfTheOthers) {
  EXPECT_EQ(XString("a.xld"), XRSFileIO::GetFileNameXLD("a.tif"));
  EXPECT_EQ(XString("/d/a.b.xld"), XRSFileIO::GetFileNameXLD("/d/a.b.tiff"));
}

TEST(GetFileNameXLD, GivesImagesOfOneTitleOneLevelFile) {
  EXPECT_EQ(XRSFileIO::GetFileNameXLD("a.tif"), XRSFileIO::GetFileNameXLD("a.jpg"));
}

TEST(GetFileNameXLD, LeavesALevelFilesNameAsItIs) {
  EXPECT_EQ(XString("/d/a.XlD"), XRSFileIO::GetFileNameXLD("/d/a.XlD"));
}

TEST(GetFileNameXLD, AppendsWhereThereIsNoExtension) {
  EXPECT_EQ(XString("/d.e/a.xld"), XRSFileIO::GetFileNameXLD("/d.e/a"));
}

/// Answers the questions that the library asks, and keeps the last.
class Operator {
 public:
  explicit Operator(int answer)
      : previous_(XfnSetMessageBoxHandler([this, answer](const XString& text, const XString& caption, unsigned style) {
          ++numQuestions;
          question = text.AsStdString() + "|" + caption.AsStdString() + "|" + std::to_string(style);
          return answer;
        })) {}
  ~Operator() { XfnSetMessageBoxHandler(std::move(previous_)); }
  Operator(const Operator&) = delete;
  Operator& operator=(const Operator&) = delete;

  int numQuestions = 0;
  std::string question;

 private:
  XMessageBoxHandler previous_;
};

/// A dataset of bands over memory that goes by the name a.raw in a folder of its own.
class LevelData : public testing::Test {
 protected:
  LevelData() { file_.SetFilePath(Path()); }

  XString Path() const { return folder_.Path("a.raw"); }
  std::string LevelPath() const { return folder_.Path("a.xld"); }
  bool HasLevelFile() const { return XFile::Exists(LevelPath()); }

  DirectMemoryBand& Add(int width = 64, int height = 64) {
    return AddDirectBand(file_, width, height, RandomSamples<std::uint8_t>(width, height));
  }
  int Load(int mode) { return XRSFileIO::LoadFileXLD(&file_, Path(), err_, mode, nullptr); }
  int Check() { return XRSFileIO::CheckFileXLD(&file_, Path(), err_, nullptr); }
  int Create(int mode) { return XRSFileIO::CreateFileXLD(&file_, Path(), err_, mode, nullptr); }
  bool CanReadLevel(ZRMBandXLD* band, int level) {
    tagXArr2* out = nullptr;
    return band && band->ReadSubset(out, level, 0, 63, 0, 63, nullptr);
  }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST_F(LevelData, SaysNothingOfANullDataset) {
  err_ = "as it was";
  EXPECT_EQ(0, XRSFileIO::LoadFileXLD(nullptr, "a.bmp", err_, kLevelBuild, nullptr));
  EXPECT_EQ(0, XRSFileIO::CheckFileXLD(nullptr, "a.bmp", err_, nullptr));
  EXPECT_EQ(0, XRSFileIO::CreateFileXLD(nullptr, "a.bmp", err_, kLevelBuild, nullptr));
  EXPECT_EQ(XString("as it was"), err_);
}

TEST_F(LevelData, IsNotCreatedInMode0) {
  Add();
  EXPECT_EQ(0, Load(kLevelNone));
  EXPECT_EQ(XString(kNone), err_);
  EXPECT_EQ(0, Create(kLevelNone));
  EXPECT_FALSE(HasLevelFile());
}

TEST_F(LevelData, IsCreatedInTheShortFormInMode1) {
  DirectMemoryBand& band = Add();
  const Operator nobody(kAnswerNo);
  EXPECT_EQ(1, Load(kLevelStatistics));
  EXPECT_EQ(0, nobody.numQuestions);
  ASSERT_NE(nullptr, band.GetBandXLD());
  EXPECT_FALSE(CanReadLevel(band.GetBandXLD(), 1));
  EXPECT_NE(kNotSet, band.GetBandMean());
}

TEST_F(LevelData, IsAskedForInMode2) {
  DirectMemoryBand& band = Add();
  Operator person(kAnswerYes);
  EXPECT_EQ(1, Load(kLevelAsk));
  EXPECT_EQ("Do you want to create level data?|Create Level Data[XLD]|36", person.question);
  EXPECT_TRUE(CanReadLevel(band.GetBandXLD(), 1));
  EXPECT_EQ(1, Load(kLevelAsk));
  EXPECT_EQ(1, person.numQuestions);
}

TEST_F(LevelData, IsNotCreatedWhereTheAnswerIsNo) {
  DirectMemoryBand& band = Add();
  const Operator person(kAnswerNo);
  EXPECT_EQ(0, Load(kLevelAsk));
  EXPECT_FALSE(HasLevelFile());
  EXPECT_EQ(nullptr, band.GetBandXLD());
}

TEST_F(LevelData, IsCreatedWithoutAQuestionInMode3) {
  DirectMemoryBand& first = Add();
  DirectMemoryBand& second = Add();
  const Operator nobody(kAnswerNo);
  EXPECT_EQ(1, Load(kLevelBuild)) << err_.GetText();
  EXPECT_EQ(0, nobody.numQuestions);
  EXPECT_TRUE(CanReadLevel(first.GetBandXLD(), 2));
  EXPECT_TRUE(CanReadLevel(second.GetBandXLD(), 2));
  EXPECT_EQ(12 + 5 * 256, second.GetBandXLD()->GetOffset());
  EXPECT_TRUE(err_.IsEmpty());
}

TEST_F(LevelData, EndsTheLoadWhereItCannotBeBuilt) {
  Add().FailReads();
  const Operator person(kAnswerYes);
  for (const int mode : {kLevelAsk, kLevelBuild}) {
    EXPECT_EQ(0, Load(mode));
    EXPECT_EQ(XString("Fail to read data"), err_);
  }
}

TEST_F(LevelData, IsBuiltAnewInPlaceOfADamagedOne) {
  Add();
  folder_.Write("a.xld", "XLD.");
  EXPECT_EQ(1, Load(kLevelBuild));
  EXPECT_EQ(1, Load(kLevelNone));
}

TEST_F(LevelData, IsServedByTheBandsThemselves) {
  DirectMemoryBand& band = Add();
  ASSERT_EQ(1, Load(kLevelBuild));
  tagXArr2 *levels = nullptr, *direct = nullptr;
  ASSERT_TRUE(band.GetBandXLD()->ReadSubset(levels, 1, 0, 63, 0, 63, nullptr));
  ASSERT_TRUE(band.ReadSubset(direct, 1, 0, 63, 0, 63, nullptr));
  EXPECT_EQ(levels, direct);
}

TEST_F(LevelData, GoesToTheBandWithinAComplexOne) {
  auto inner = std::make_unique<DirectMemoryBand>();
  inner->SetSamples(64, 64, RandomSamples<std::uint8_t>(64, 64));
  inner->SetTileSize(16, 16);
  DirectMemoryBand& direct = *inner;
  file_.AddBand(std::make_unique<ZRMBandComplex>(inner.release()).release());
  EXPECT_EQ(1, Load(kLevelBuild)) << err_.GetText();
  EXPECT_TRUE(CanReadLevel(direct.GetBandXLD(), 1));
}

TEST_F(LevelData, IsNotAttachedToBandsThatReadNoFileOfTheirOwn) {
  auto band = std::make_unique<MemoryBand>();
  band->SetSamples(64, 64, RandomSamples<std::uint8_t>(64, 64));
  band->SetTileSize(16, 16);
  file_.AddBand(band.release());
  EXPECT_EQ(0, Load(kLevelBuild));
  EXPECT_TRUE(HasLevelFile());
}

TEST_F(LevelData, IsRefusedForADatasetOfAnotherName) {
  DirectMemoryBand& band = Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  file_.SetFilePath(folder_.Path("b.raw"));
  EXPECT_EQ(0, Load(kLevelNone));
  EXPECT_EQ(nullptr, band.GetBandXLD());
}

TEST_F(LevelData, IsRefusedForAnImageOfAnotherShape) {
  DirectMemoryBand& band = Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  const auto refuses = [&] {
    return Load(kLevelNone) == 0 && Check() == 0 && err_ == XString("Fail to load XLD information");
  };
  band.SetSize(64, 63);
  EXPECT_TRUE(refuses());
  band.SetSize(64, 64);
  band.SetDataType(kSint08);
  EXPECT_TRUE(refuses());
  band.SetDataType(kPint08);
  EXPECT_FALSE(refuses());
  Add();
  EXPECT_TRUE(refuses());
}

TEST_F(LevelData, IsRefusedWhereItsStoresAreNotThoseOfTheImage) {
  DirectMemoryBand& band = Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  band.SetTileSize(8, 8);
  EXPECT_EQ(0, Load(kLevelNone));
  EXPECT_EQ(nullptr, band.GetBandXLD());
}

TEST_F(LevelData, IsOfNoUseToADatasetWithoutBands) {
  Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  XRSFile empty;
  EXPECT_EQ(0, XRSFileIO::CheckFileXLD(&empty, Path(), err_, nullptr));
  EXPECT_EQ(XString("Fail to load XLD information"), err_);
  EXPECT_EQ(0, empty.GetNumOfBands());
}

TEST_F(LevelData, IsCheckedStepByStep) {
  Add();
  EXPECT_EQ(0, Check());
  EXPECT_EQ(XString(kNone), err_);
  const auto saysOf = [&](const std::vector<unsigned char>& bytes) {
    folder_.Write("a.xld", bytes);
    err_.Empty();
    EXPECT_EQ(0, Check());
    return err_.AsStdString();
  };
  EXPECT_EQ("", saysOf({'X', 'L', 'D'}));
  EXPECT_EQ("Invalid XLD Magic string", saysOf({'X', 'L', 'D', ',', 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ("Invalid XLD Magic string", saysOf({'x', 'l', 'd', '.'}));
  EXPECT_EQ("", saysOf({'X', 'L', 'D', '.', 12, 0, 0}));
  EXPECT_EQ("Fail to load XLD information", saysOf({'X', 'L', 'D', '.', 12, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ("Fail to load XLD information",
            saysOf({'X', 'L', 'D', '.', 255, 255, 255, 255, 255, 255, 255, 255, '<', '>'}));
}

TEST_F(LevelData, SaysThatItsFileCannotBeOpened) {
  Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  FaultyDisk disk;
  disk.FailOpen(1);
  const zrk::ScopedDisk scoped(disk);
  EXPECT_EQ(0, Check());
  EXPECT_EQ(XString("Fail to open XLD file"), err_);
}

TEST_F(LevelData, BringsStatisticsIntoTheDataset) {
  DirectMemoryBand& band = Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  band.SetBandMean(0.0);
  EXPECT_EQ(1, Check());
  EXPECT_NE(0.0, band.GetBandMean());
}

TEST_F(LevelData, IsFoundByALoaderAndKeepsStatisticsFromBeingComputed) {
  folder_.Write("a.bmp", BmpBuilder().Size(600, 400).Build());
  std::vector<double> means;
  for (const int mode : {kLevelNone, kLevelBuild, kLevelNone}) {
    XRSFile file;
    XString err;
    ASSERT_EQ(1, XRSFileIO::LoadFileBMP(&file, folder_.Path("a.bmp"), err, 0, mode, nullptr)) << err.GetText();
    means.push_back(file.GetBandAt(1)->GetBandMean());
    EXPECT_EQ(means.size() > 1, XfnIsValidZRMLevelData(&file));
  }
  EXPECT_EQ(kNotSet, means[0]);
  EXPECT_NE(kNotSet, means[1]);
  EXPECT_EQ(means[1], means[2]);
}

TEST_F(LevelData, DoesNotFailALoadWhereItCannotBeBuilt) {
  folder_.Write("a.bmp", BmpBuilder().Build());
  FaultyDisk disk;
  disk.FailWrite(1);
  const zrk::ScopedDisk scoped(disk);
  XRSFile file;
  XString err;
  EXPECT_EQ(1, XRSFileIO::LoadFileBMP(&file, folder_.Path("a.bmp"), err, 1, kLevelBuild, nullptr));
  EXPECT_EQ(XString("Fail to write Data"), err);
  EXPECT_NE(kNotSet, file.GetBandAt(0)->GetBandMean());
}

TEST_F(LevelData, IsValidForAllBandsOrNot) {
  EXPECT_FALSE(XfnIsValidZRMLevelData(nullptr));
  EXPECT_TRUE(XfnIsValidZRMLevelData(&file_));
  file_.AddBand(std::make_unique<ZRMBandEPOT>().release());
  EXPECT_TRUE(XfnIsValidZRMLevelData(&file_));
  DirectMemoryBand& band = Add();
  EXPECT_FALSE(XfnIsValidZRMLevelData(&file_));
  band.SetBandXLD(std::make_unique<ZRMBandXLD>().release());
  EXPECT_TRUE(XfnIsValidZRMLevelData(&file_));
  file_.AddBand(std::make_unique<MemoryBand>().release());
  EXPECT_FALSE(XfnIsValidZRMLevelData(&file_));
}

/// Level data with a projection that is changed.
class UpdateFileXLD_SR : public LevelData {
 protected:
  UpdateFileXLD_SR() { utm_.importFromEPSG(32633); }
  int Update() { return XRSFileIO::UpdateFileXLD_SR(&file_, &utm_, err_); }

  XSpatialReference utm_;
};

TEST_F(UpdateFileXLD_SR, GivesEveryBandTheSystemAndLeavesTheStores) {
  DirectMemoryBand& first = Add();
  DirectMemoryBand& second = Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  const auto before = ReadBytes(LevelPath());
  ASSERT_EQ(1, Update()) << err_.GetText();
  const auto after = ReadBytes(LevelPath());
  EXPECT_GT(after.size(), before.size());
  constexpr int kStoresEnd = 12 + 2 * 5 * 256;
  EXPECT_TRUE(std::equal(before.begin(), before.begin() + kStoresEnd, after.begin()));
  ASSERT_EQ(1, Load(kLevelNone));
  EXPECT_EQ(32633, first.GetSR()->GetEPSG());
  EXPECT_EQ(32633, second.GetSR()->GetEPSG());
  EXPECT_TRUE(CanReadLevel(second.GetBandXLD(), 1));
}

TEST_F(UpdateFileXLD_SR, CutsAFileWhoseTextHasBecomeShorter) {
  Add().SetSR(utm_);
  ASSERT_EQ(1, Create(kLevelBuild));
  const auto before = ReadBytes(LevelPath());
  utm_.SetWellKnownGeogCS("WGS84");
  ASSERT_EQ(1, Update());
  EXPECT_LT(ReadBytes(LevelPath()).size(), before.size());
  EXPECT_EQ(1, Check());
}

TEST_F(UpdateFileXLD_SR, TakesTheNameWhereThereIsNoPath) {
  Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  file_.SetFilePath("");
  file_.SetName(Path());
  EXPECT_EQ(1, Update());
}

TEST_F(UpdateFileXLD_SR, SaysWhatStandsAgainstIt) {
  EXPECT_EQ(0, XRSFileIO::UpdateFileXLD_SR(nullptr, &utm_, err_));
  EXPECT_EQ(0, XRSFileIO::UpdateFileXLD_SR(&file_, nullptr, err_));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ(0, Update());
  EXPECT_EQ(XString(kNone), err_);
  folder_.Write("a.xld", "something else");
  EXPECT_EQ(0, Update());
  EXPECT_EQ(XString("Invalid XLD Magic string"), err_);
  err_.Empty();
  folder_.Write("a.xld", std::string("XLD.\x0c\0\0\0\0\0\0\0<no end", 19));
  EXPECT_EQ(0, Update());
  EXPECT_TRUE(err_.IsEmpty());
  FaultyDisk disk;
  disk.FailOpen(1);
  const zrk::ScopedDisk scoped(disk);
  EXPECT_EQ(0, Update());
  EXPECT_EQ(XString("Fail to open XLD file"), err_);
}

TEST_F(UpdateFileXLD_SR, KeepsTheOldTextWhereTheNewOneCannotBeWritten) {
  Add();
  ASSERT_EQ(1, Create(kLevelBuild));
  const auto before = ReadBytes(LevelPath());
  for (const auto& fail :
       {+[](FaultyDisk& disk) { disk.FailSetSize(1); }, +[](FaultyDisk& disk) { disk.FailWrite(1); }}) {
    FaultyDisk disk;
    fail(disk);
    const zrk::ScopedDisk scoped(disk);
    EXPECT_EQ(0, Update());
    EXPECT_EQ(before, ReadBytes(LevelPath()));
  }
}

}  // namespace
