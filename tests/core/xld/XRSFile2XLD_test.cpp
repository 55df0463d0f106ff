// The builder of level files: the layout of the file, the short form, statistics, progress, and what is left where a
// build fails or is stopped. Sizes and statistics are worked out by hand.

#include "XRSFile2XLD.h"

#include "FaultyDisk.h"
#include "LevelDataset.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XRSFileIO.h"
#include "XSystem.h"

#include <gmock/gmock.h>
#include <filesystem>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::int64_t TextOffsetOf(const std::vector<unsigned char>& bytes) {
  std::uint64_t offset = 0;
  for (int i = 7; i >= 0; --i) offset = offset << 8 | bytes[static_cast<std::size_t>(4 + i)];
  return static_cast<std::int64_t>(offset);
}

class XRSFile2XLDTest : public testing::Test {
 protected:
  DirectMemoryBand& Add(int width, int height, int tile = 16) {
    return AddDirectBand(file_, width, height, RandomSamples<std::uint8_t>(width, height), tile);
  }
  int Save(int mode, XThread* thread = nullptr) {
    XRSFile2XLD builder;
    builder.SetXRSFile(&file_);
    return builder.Save(Path(), err_, mode, thread);
  }
  std::string Path() const { return folder_.Path("a.xld"); }
  std::vector<unsigned char> Bytes() const { return ReadBytes(Path()); }
  std::string Text() const {
    const auto bytes = Bytes();
    return std::string(bytes.begin() + TextOffsetOf(bytes), bytes.end());
  }
  void ExpectNothingLeftWhereAnyWriteFails() {
    for (int nth = 1; nth < 100; ++nth) {
      FaultyDisk disk;
      disk.FailWrite(nth);
      const zrk::ScopedDisk scoped(disk);
      if (Save(3)) {
        EXPECT_GT(nth, 10);
        return;
      }
      ASSERT_EQ(XString("Fail to write Data"), err_) << nth;
      ASSERT_TRUE(HasLeftNothing()) << nth;
    }
    FAIL() << "no end of writes";
  }
  bool HasLeftNothing() const { return std::filesystem::is_empty(folder_.Path()); }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

TEST_F(XRSFile2XLDTest, SaysNothingOfAnEmptyPathOrNoDataset) {
  Add(64, 64);
  XRSFile2XLD builder;
  EXPECT_EQ(0, builder.Save(Path(), err_, 3, nullptr));
  builder.SetXRSFile(&file_);
  builder.SetXRSFile(nullptr);
  EXPECT_EQ(0, builder.Save("", err_, 3, nullptr));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ(1, builder.Save(Path(), err_, 3, nullptr));
}

TEST_F(XRSFile2XLDTest, WantsABand) {
  EXPECT_EQ(0, Save(3));
  EXPECT_EQ(XString("No Band found"), err_);
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(XRSFile2XLDTest, WantsAFileToWrite) {
  Add(64, 64);
  XRSFile2XLD builder;
  builder.SetXRSFile(&file_);
  EXPECT_EQ(0, builder.Save(folder_.Path("missing/a.xld"), err_, 3, nullptr));
  EXPECT_EQ(XString("Cannot open file to write"), err_);
}

TEST_F(XRSFile2XLDTest, LaysStoresBetweenHeadAndText) {
  Add(64, 48);
  Add(64, 48);
  ASSERT_EQ(1, Save(3)) << err_.GetText();
  const auto bytes = Bytes();
  EXPECT_EQ("XLD.", std::string(bytes.begin(), bytes.begin() + 4));
  // 32 x 24 in tiles of 16: 4 tiles, and 16 x 12: one.
  EXPECT_EQ(12 + 2 * 5 * 256, TextOffsetOf(bytes));
  EXPECT_THAT(Text(), HasSubstr("XRS_TAG_BAND_PROJECTIONWKT"));
  EXPECT_FALSE(XFile::Exists(Path() + "_tmp"));
}

TEST_F(XRSFile2XLDTest, WritesTheShortFormForStatistics) {
  Add(64, 48);
  ASSERT_EQ(1, Save(kLevelStatistics));
  EXPECT_EQ(12, TextOffsetOf(Bytes()));
}

TEST_F(XRSFile2XLDTest, WritesTheShortFormWhereThereAreNoLevels) {
  Add(16, 16);
  ASSERT_EQ(1, Save(3));
  EXPECT_EQ(12, TextOffsetOf(Bytes()));
  EXPECT_EQ(1, XRSFileIO::CheckFileXLD(&file_, folder_.Path("a.raw"), err_, nullptr));
}

TEST_F(XRSFile2XLDTest, TakesStatisticsOfTheCoarsestLevelInTheShortForm) {
  std::vector<std::uint8_t> samples(64 * 64, 9);
  samples[0] = 100;  // at level 2 every fourth sample of every fourth row is taken
  samples[4] = 1;
  samples[5] = 200;
  AddDirectBand(file_, 64, 64, samples);
  ASSERT_EQ(1, Save(kLevelStatistics));
  ASSERT_EQ(1, XRSFileIO::CheckFileXLD(&file_, folder_.Path("a.raw"), err_, nullptr));
  const ZRMBand& band = *file_.GetBandAt(0);
  EXPECT_EQ(1.0, band.GetBandMin());
  EXPECT_EQ(100.0, band.GetBandMax());
  EXPECT_NEAR((254 * 9 + 101) / 256.0, band.GetBandMean(), 1e-12);
  EXPECT_EQ(1, band.GetHistogram()[0]);
  EXPECT_EQ(1, band.GetHistogram()[255]);
}

TEST_F(XRSFile2XLDTest, GivesOneSampleNoDeviation) {
  AddDirectBand(file_, 1, 1, std::vector<std::uint8_t>{7});
  ASSERT_EQ(1, Save(3));
  ASSERT_EQ(1, XRSFileIO::CheckFileXLD(&file_, folder_.Path("a.raw"), err_, nullptr));
  EXPECT_EQ(7.0, file_.GetBandAt(0)->GetBandMean());
  EXPECT_EQ(0.0, file_.GetBandAt(0)->GetBandStdDev());
}

TEST_F(XRSFile2XLDTest, SkipsABandThatCannotBeReadInTheShortForm) {
  Add(64, 64).FailReads();
  Add(64, 64);
  ASSERT_EQ(1, Save(kLevelStatistics));
  ASSERT_EQ(1, XRSFileIO::CheckFileXLD(&file_, folder_.Path("a.raw"), err_, nullptr));
  EXPECT_EQ(kNotSet, file_.GetBandAt(0)->GetBandMean());
  EXPECT_NE(kNotSet, file_.GetBandAt(1)->GetBandMean());
}

TEST_F(XRSFile2XLDTest, CannotTakeStatisticsOfUnknownSamples) {
  Add(8, 8).SetDataType(17);  // of one byte, but no number
  EXPECT_EQ(0, Save(kLevelStatistics));
  EXPECT_EQ(XString("Fail to calculate statistics"), err_);
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(XRSFile2XLDTest, SaysThatABandCannotBeRead) {
  Add(64, 64);
  Add(64, 64).FailReads();
  EXPECT_EQ(0, Save(3));
  EXPECT_EQ(XString("Fail to read data"), err_);
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(XRSFile2XLDTest, SaysNothingOfABandOfAnotherSizeThanTheFirst) {
  for (const int height : {63, 65}) {
    XRSFile file;
    AddDirectBand(file, 64, 64, RandomSamples<std::uint8_t>(64, 64));
    AddDirectBand(file, 64, height, RandomSamples<std::uint8_t>(64, height));
    XRSFile2XLD builder;
    builder.SetXRSFile(&file);
    EXPECT_EQ(0, builder.Save(Path(), err_, 3, nullptr));
    EXPECT_TRUE(err_.IsEmpty());
    EXPECT_TRUE(HasLeftNothing());
  }
}

TEST_F(XRSFile2XLDTest, SaysNothingOfAnImageThatIsTooNarrowToBeHalved) {
  Add(1, 1000);
  EXPECT_EQ(0, Save(3));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(XRSFile2XLDTest, LeavesNothingWhereAnyWriteOfTilesFails) {
  Add(130, 130).ClaimTiles();
  ExpectNothingLeftWhereAnyWriteFails();
}

TEST_F(XRSFile2XLDTest, LeavesNothingWhereAnyWriteFails) {
  Add(130, 130);
  ExpectNothingLeftWhereAnyWriteFails();
}

TEST_F(XRSFile2XLDTest, SaysThatABandInTilesCannotBeRead) {
  DirectMemoryBand& band = Add(130, 130);
  band.ClaimTiles();
  band.FailReads();
  EXPECT_EQ(0, Save(3));
  EXPECT_EQ(XString("Fail to read data"), err_);
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(XRSFile2XLDTest, KeepsTheOlderFileWhereABuildOfTilesIsStopped) {
  Add(64, 2000).ClaimTiles();
  folder_.Write("a.xld", "an older one");
  PercentKeeper keeper(2);
  XThread thread(&keeper);
  EXPECT_EQ(0, Save(3, &thread));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ(2u, keeper.percents.size());
  EXPECT_EQ(12u, Bytes().size());
}

TEST_F(XRSFile2XLDTest, LeavesNothingWhereThereIsNoRoomOrNoSyncOrNoRename) {
  Add(130, 130);
  for (const auto& fail : {+[](FaultyDisk& disk) { disk.FailSetSize(1); }, +[](FaultyDisk& disk) { disk.FailSync(1); },
                           +[](FaultyDisk& disk) { disk.FailRename(1); }}) {
    FaultyDisk disk;
    fail(disk);
    const zrk::ScopedDisk scoped(disk);
    EXPECT_EQ(0, Save(3));
    EXPECT_EQ(XString("Fail to write Data"), err_);
    EXPECT_TRUE(HasLeftNothing());
  }
}

TEST_F(XRSFile2XLDTest, KeepsTheOlderFileWhereItIsStopped) {
  Add(64, 900);
  folder_.Write("a.xld", "an older one");
  PercentKeeper keeper(2);
  XThread thread(&keeper);
  EXPECT_EQ(0, Save(3, &thread));
  EXPECT_TRUE(err_.IsEmpty());
  EXPECT_EQ(12u, Bytes().size());
  EXPECT_FALSE(XFile::Exists(Path() + "_tmp"));
}

TEST_F(XRSFile2XLDTest, HearsAStopAtEveryStepOfTheShortForm) {
  Add(64, 64);
  for (int step = 1; step <= 3; ++step) {
    PercentKeeper keeper(step);
    XThread thread(&keeper);
    EXPECT_EQ(0, Save(kLevelStatistics, &thread)) << step;
    EXPECT_TRUE(HasLeftNothing());
  }
}

TEST_F(XRSFile2XLDTest, ReportsOneStepForEachBlockOf200RowsOfTheHalfSizeImage) {
  const auto percentsFor = [](int height, int numBands, bool isTiled = false) {
    TempFolder folder;
    XRSFile file;
    for (int i = 0; i < numBands; ++i) {
      DirectMemoryBand& band = AddDirectBand(file, 32, height, RandomSamples<std::uint8_t>(32, height));
      if (isTiled) band.ClaimTiles();
    }
    PercentKeeper keeper;
    XThread thread(&keeper);
    XString err;
    XRSFile2XLD builder;
    builder.SetXRSFile(&file);
    EXPECT_EQ(1, builder.Save(folder.Path("a.xld"), err, 3, &thread));
    return keeper.percents;
  };
  EXPECT_THAT(percentsFor(401, 1), ElementsAre(0));
  EXPECT_THAT(percentsFor(402, 1), ElementsAre(0, 50));
  EXPECT_THAT(percentsFor(802, 2), ElementsAre(0, 16, 33, 50, 66, 83));
  EXPECT_THAT(percentsFor(802, 2, true), ElementsAre(0, 16, 33, 50, 66, 83));
}

TEST_F(XRSFile2XLDTest, ReportsThreeStepsForEachBandInTheShortForm) {
  Add(64, 64);
  Add(64, 64);
  PercentKeeper keeper;
  XThread thread(&keeper);
  ASSERT_EQ(1, Save(kLevelStatistics, &thread));
  EXPECT_THAT(keeper.percents, ElementsAre(0, 16, 33, 50, 66, 83));
}

TEST_F(XRSFile2XLDTest, WritesTheDataTypeOfTheLastBandForAll) {
  Add(64, 64);
  AddDirectBand(file_, 64, 64, RandomSamples<std::int16_t>(64, 64));
  ASSERT_EQ(1, Save(3));
  EXPECT_THAT(Text(), testing::Not(HasSubstr("DATATYPE>1<")));
  EXPECT_THAT(Text(), HasSubstr("DATATYPE>4<"));
  file_.SetFilePath(folder_.Path("a.raw"));
  EXPECT_EQ(1, XRSFileIO::LoadFileXLD(&file_, folder_.Path("a.raw"), err_, 0, nullptr)) << err_.GetText();
}

TEST_F(XRSFile2XLDTest, RecordsHowStoresAreKept) {
  Add(64, 64);
  ASSERT_EQ(1, Save(3));
  EXPECT_THAT(Text(), HasSubstr("COMPRESSION>100<"));
  ASSERT_EQ(1, Save(1));
  EXPECT_THAT(Text(), HasSubstr("COMPRESSION>0<"));
}

TEST_F(XRSFile2XLDTest, LeavesStatisticsUnsetWhereNoSampleCounts) {
  AddDirectBand(file_, 64, 64, std::vector<float>(64 * 64, std::nanf("")));
  ASSERT_EQ(1, Save(3));
  ASSERT_EQ(1, XRSFileIO::CheckFileXLD(&file_, folder_.Path("a.raw"), err_, nullptr));
  EXPECT_EQ(kNotSet, file_.GetBandAt(0)->GetBandMean());
}

TEST_F(XRSFile2XLDTest, FreesTheBuffersOfItsBands) {
  for (const int mode : {1, 3}) {
    XRSFile file;
    const auto& first = AddDirectBand(file, 64, 64, RandomSamples<std::uint8_t>(64, 64));
    const auto& second = AddDirectBand(file, 64, 64, RandomSamples<std::uint8_t>(64, 64));
    XRSFile2XLD builder;
    builder.SetXRSFile(&file);
    ASSERT_EQ(1, builder.Save(Path(), err_, mode, nullptr));
    EXPECT_EQ(1, first.GetNumFreed());
    EXPECT_EQ(1, second.GetNumFreed());
  }
}

/// Grants the library more workers at each message.
class GenerousTarget : public XMessageTarget {
 public:
  void PostMessage(unsigned, XThread*, long) override { XfnSetWorkerCount(++numWorkers_ % 16 + 1); }

 private:
  int numWorkers_ = 1;
};

TEST_F(XRSFile2XLDTest, TakesNoHarmFromThreadsThatAreGrantedMeanwhile) {
  AddDirectBand(file_, 64, 4000, RandomSamples<float>(64, 4000));
  ASSERT_EQ(1, Save(3));
  const auto expected = Bytes();
  GenerousTarget target;
  XThread thread(&target);
  XfnSetWorkerCount(2);
  EXPECT_EQ(1, Save(3, &thread));
  XfnSetWorkerCount(1);
  EXPECT_TRUE(expected == Bytes());
}

TEST_F(XRSFile2XLDTest, IsOneBuildAtATime) {
  Add(64, 64);
  XFile other;
  ASSERT_TRUE(other.Open(Path() + "_tmp", XFile::kReadWrite | XFile::kShareExclusive | XFile::kCreate));
  EXPECT_EQ(0, Save(3));
  EXPECT_EQ(XString("Cannot open file to write"), err_);
  EXPECT_TRUE(XFile::Exists(Path() + "_tmp"));
}

}  // namespace
