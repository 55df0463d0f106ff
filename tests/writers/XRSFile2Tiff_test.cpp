// What the TIFF writer wants before it writes, in which order it reads, and what it says where it fails or is stopped.

#include "FaultyDisk.h"
#include "TiffWriting.h"
#include "XFile.h"

#include <unistd.h>
#include <climits>
#include <cmath>
#include <fstream>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class XRSFile2TiffTest : public TiffWriting {
 protected:
  /// Writes the bands to `Path()` and makes that the file of the dataset.
  std::vector<unsigned char> MakeOwnFile() {
    EXPECT_EQ(1, SaveAll()) << Error();
    file_->SetFilePath(Path());
    return ReadBytes(Path());
  }
};

TEST_F(XRSFile2TiffTest, SaysNothingOfAnEmptyPathOrNoDataset) {
  XRSFile2Tiff writer;
  err_ = kUntouched;
  EXPECT_EQ(0, writer.Save(Path(), 0, 1, 0, 1, err_, nullptr));
  Add<std::uint8_t>(20, 20);
  writer.SetXRSFile(file_.get());
  EXPECT_EQ(0, writer.Save("", 0, 1, 0, 1, err_, nullptr));
  EXPECT_EQ(kUntouched, Error());
}

TEST_F(XRSFile2TiffTest, WantsABand) {
  EXPECT_EQ(0, Save(0, 1, 0, 1));
  EXPECT_EQ("No Band found", Error());
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(XRSFile2TiffTest, KeepsItsDatasetWhereItIsGivenNone) {
  Add<std::uint8_t>(20, 20);
  XRSFile2Tiff writer;
  writer.SetXRSFile(file_.get());
  writer.SetXRSFile(nullptr);
  EXPECT_EQ(1, writer.Save(Path(), 0, 19, 0, 19, err_, nullptr)) << err_;
}

TEST_F(XRSFile2TiffTest, SaysNothingOnItsOtherWaysWithoutADatasetOrABand) {
  SteppedWriter writer;
  err_ = kUntouched;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(0, writer.SaveZRMBandGeneral(Path(), 0, 1, 0, 1, err_, nullptr));
    EXPECT_EQ(0, writer.SaveZRMBandImageSharpen(Path(), 0, 1, 0, 1, err_, nullptr));
    EXPECT_EQ(0, writer.IsDiskSpaceEnough2(err_));
    EXPECT_EQ(0, writer.CheckBandInfo(err_));
    writer.SetXRSFile(file_.get());
  }
  EXPECT_EQ(kUntouched, Error());
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(XRSFile2TiffTest, SaysNothingWhereAStepHasNoOpenFile) {
  Add<std::uint8_t>(20, 20);
  SteppedWriter writer;
  writer.SetXRSFile(file_.get());
  err_ = kUntouched;
  EXPECT_EQ(0, writer.SaveTIFFTag(err_));
  EXPECT_EQ(0, writer.DoExportToBIP(nullptr, err_));
  EXPECT_EQ(0, writer.DoExportToBSQ(nullptr, err_));
  EXPECT_EQ(0, writer.DoExportToBSQ_ImageSharpen(nullptr, err_));
  EXPECT_EQ(0, writer.DoExportToPalette(nullptr, err_));
  writer.DeleteFileOutput();
  EXPECT_EQ(kUntouched, Error());
}

TEST_F(XRSFile2TiffTest, MakesAPaletteOfOneThematicBandOnly) {
  Add<std::uint8_t>(20, 20);
  SteppedWriter writer;
  err_ = kUntouched;
  writer.SetXRSFile(file_.get());
  ASSERT_EQ(1, writer.OpenOutputFile(Path(), err_));
  EXPECT_EQ(0, writer.DoExportToPalette(nullptr, err_));
  writer.DeleteFileOutput();
  file_->GetBandAt(0)->SetBandType(kBandTypeThematic);
  Add<std::uint8_t>(20, 20).SetBandType(kBandTypeThematic);
  writer.SetXRSFile(file_.get());
  ASSERT_EQ(1, writer.OpenOutputFile(Path(), err_));
  EXPECT_EQ(0, writer.DoExportToPalette(nullptr, err_));
  EXPECT_EQ(kUntouched, Error());
}

TEST_F(XRSFile2TiffTest, ReadsBlocksOf200RowsBandByBand) {
  LoggedBand::Log log;
  LoggedBand &one = Add<float>(30, 460), &two = Add<float>(30, 460);
  one.SetLog(&log);
  two.SetLog(&log);
  ASSERT_EQ(1, Save(2, 20, 7, 456)) << Error();
  EXPECT_THAT(log, ElementsAre(Pair(&one, 7), Pair(&one, 207), Pair(&one, 407), Pair(&two, 7), Pair(&two, 207),
                               Pair(&two, 407)));
}

TEST_F(XRSFile2TiffTest, ReadsABlockOfAllBandsWherePixelsLieTogether) {
  LoggedBand::Log log;
  LoggedBand &red = Add<std::uint8_t>(30, 250), &green = Add<std::uint8_t>(30, 250), &blue = Add<std::uint8_t>(30, 250);
  for (LoggedBand* band : {&red, &green, &blue}) band->SetLog(&log);
  ASSERT_EQ(1, SaveAll()) << Error();
  EXPECT_THAT(log, ElementsAre(Pair(&red, 0), Pair(&green, 0), Pair(&blue, 0), Pair(&red, 200), Pair(&green, 200),
                               Pair(&blue, 200)));
}

TEST_F(XRSFile2TiffTest, ReadsTheFirstBandOfASharpeningBeforeEveryBlockOfTheOthers) {
  LoggedBand::Log log;
  auto& one = Add<std::uint16_t, ZRMBandImageSharpen>(30, 250);
  auto& two = Add<std::uint16_t, ZRMBandImageSharpen>(30, 250);
  auto& three = Add<std::uint16_t, ZRMBandImageSharpen>(30, 250);
  for (LoggedBand* band : {&one, &two, &three}) band->SetLog(&log);
  ASSERT_EQ(1, Save(0, 29, 10, 249)) << Error();
  EXPECT_THAT(log, ElementsAre(Pair(&one, 10), Pair(&one, 210), Pair(&one, 10), Pair(&two, 10), Pair(&one, 210),
                               Pair(&two, 210), Pair(&one, 10), Pair(&three, 10), Pair(&one, 210), Pair(&three, 210)));
}

TEST_F(XRSFile2TiffTest, KnowsASharpeningByTheClassOfItsFirstBand) {
  Add<std::uint16_t, ZRMBandImageSharpen>(30, 100);
  Add<std::uint16_t>(30, 100);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(32, TiffTags(Path()).rowsPerStrip);
  NewDataset();
  Add<std::uint16_t>(30, 100);
  Add<std::uint16_t, ZRMBandImageSharpen>(30, 100);
  ASSERT_EQ(1, SaveAll());
  EXPECT_EQ(100, TiffTags(Path()).rowsPerStrip);
}

TEST_F(XRSFile2TiffTest, GoesTheWayThatIsCalledWhateverTheClass) {
  Add<std::uint16_t, ZRMBandImageSharpen>(30, 100);
  XRSFile2Tiff general;
  general.SetXRSFile(file_.get());
  ASSERT_EQ(1, general.SaveZRMBandGeneral(Path(), 0, 29, 0, 99, err_, nullptr)) << err_;
  EXPECT_EQ(100, TiffTags(Path()).rowsPerStrip);
  NewDataset();
  Add<std::uint16_t>(30, 100);
  XRSFile2Tiff sharpen;
  sharpen.SetXRSFile(file_.get());
  ASSERT_EQ(1, sharpen.SaveZRMBandImageSharpen(Path(), 0, 29, 0, 99, err_, nullptr)) << err_;
  EXPECT_EQ(32, TiffTags(Path()).rowsPerStrip);
}

TEST_F(XRSFile2TiffTest, EndsItsBlocksWhereTheBandEndsThoseThatItDecodes) {
  LoggedBand::Log log;
  LoggedBand& band = Add<std::uint16_t>(30, 500);
  band.SetDecodeRows(48);
  band.SetLog(&log);
  ASSERT_EQ(1, Save(0, 29, 10, 499));
  ASSERT_GT(log.size(), 1u);
  for (std::size_t i = 1; i < log.size(); ++i) EXPECT_EQ(0, log[i].second % 48) << i;
  EXPECT_EQ(200, TiffTags(Path()).rowsPerStrip);
  const auto decoded = ReadBytes(Path());
  band.SetDecodeRows(1);
  ASSERT_EQ(1, Save(0, 29, 10, 499));
  EXPECT_EQ(decoded, ReadBytes(Path()));
}

TEST_F(XRSFile2TiffTest, SaysWhereAReadFailsAndLeavesNothing) {
  for (const int numBands : {1, 2, 3}) {
    SCOPED_TRACE(numBands);
    NewDataset();
    for (int i = 0; i < numBands; ++i) Add<std::uint8_t>(20, 20);
    static_cast<LoggedBand*>(file_->GetBandAt(numBands - 1))->FailReads();
    ExpectFailure("Fail to read subset");
  }
  NewDataset();
  for (int i = 0; i < 2; ++i) Add<std::uint8_t, ZRMBandImageSharpen>(20, 20).FailReads();
  ExpectFailure("Fail to read subset");
}

/// A band that can be read some times only.
class TiringBand : public MemoryBand {
 public:
  void TireAfter(int numReads) { numReads_ = GetNumReads() + numReads; }
  using MemoryBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    if (GetNumReads() >= numReads_) FailReads();
    return MemoryBand::ReadSubset(out, level, x0, x1, y0, y1, cancel);
  }

 private:
  int numReads_ = 0;
};

TEST_F(XRSFile2TiffTest, SaysWhereAReadOfAnyBlockFails) {
  for (const bool isSharpened : {false, true}) {
    for (int numReads = 0; numReads < (isSharpened ? 6 : 3); ++numReads) {  // of the first band: 3 blocks, and again
      NewDataset();
      Add<float, TiringBand>(20, 450).TireAfter(numReads);
      Add<float>(20, 450);
      XRSFile2Tiff writer;
      writer.SetXRSFile(file_.get());
      err_ = kUntouched;
      EXPECT_EQ(0, isSharpened ? writer.SaveZRMBandImageSharpen(Path(), 0, 19, 0, 449, err_, nullptr)
                               : writer.SaveZRMBandGeneral(Path(), 0, 19, 0, 449, err_, nullptr));
      EXPECT_EQ("Fail to read subset", Error());
      EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
    }
  }
}

/// A band that reads as told up to some row, and from there on gives another shape than it was asked for.
class MisshapenBand : public MemoryBand {
 public:
  void Give(int fromRow, int width, int height, int sampleBytes, bool hasBuffer = true) {
    fromRow_ = fromRow;
    hasBuffer_ = hasBuffer;
    given_ = tagXArr2(width, height, sampleBytes);
    if (given_.data) std::memset(given_.data, 7, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  }
  using MemoryBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    if (y0 < fromRow_) return MemoryBand::ReadSubset(out, level, x0, x1, y0, y1, cancel);
    out = hasBuffer_ ? &given_ : nullptr;
    return 1;
  }

 private:
  tagXArr2 given_;
  int fromRow_ = 0;
  bool hasBuffer_ = true;
};

TEST_F(XRSFile2TiffTest, TakesABufferOfAnotherShapeForAFailedRead) {
  for (const int numBands : {1, 3}) {
    for (const int bandType : {0, kBandTypeThematic}) {
      NewDataset();
      for (int i = 1; i < numBands; ++i) Add<std::uint8_t>(20, 210).SetBandType(bandType);
      auto& band = Add<std::uint8_t, MisshapenBand>(20, 210);
      band.SetBandType(bandType);
      for (const int fromRow : {0, 200}) {
        const int rows = fromRow == 0 ? 200 : 10;
        SCOPED_TRACE(testing::Message() << numBands << " of type " << bandType << " from " << fromRow);
        band.Give(fromRow, 20, rows - 1, 1);
        ExpectFailure("Fail to read subset");
        band.Give(fromRow, 19, rows, 1);
        ExpectFailure("Fail to read subset");
        band.Give(fromRow, 20, rows, 2);
        ExpectFailure("Fail to read subset");
        band.Give(fromRow, 20, rows, 1, false);
        ExpectFailure("Fail to read subset");
        band.Give(fromRow, 0, 0, 0);
        ExpectFailure("Fail to read subset");
      }
    }
  }
}

TEST_F(XRSFile2TiffTest, RefusesAWindowBeyondTheBands) {
  for (const int numBands : {1, 3}) {
    Add<std::uint8_t>(20, 20);
    if (numBands == 3) Add<std::uint8_t>(20, 20);
    for (const auto& [x0, x1, y0, y1] : {std::array{0, 20, 0, 19}, {0, 19, 0, 20}, {-1, 5, 0, 5}, {0, 5, -1, 5}}) {
      EXPECT_EQ(0, Save(x0, x1, y0, y1));
      EXPECT_EQ("Fail to read subset", Error());
      EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
    }
  }
}

TEST_F(XRSFile2TiffTest, LeavesNothingOfAWindowThatIsNone) {
  Add<std::uint8_t>(20, 20);
  for (const auto& [x0, x1, y0, y1] : {std::array{5, 4, 0, 19},
                                       {0, 19, 5, 4},
                                       {9, 0, 9, 0},
                                       {0, INT_MAX, 0, 0},
                                       {INT_MIN, INT_MAX, INT_MIN, INT_MAX},
                                       {INT_MAX, INT_MIN, INT_MAX, INT_MIN}}) {
    EXPECT_EQ(0, Save(x0, x1, y0, y1)) << x0 << ' ' << x1;
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
  }
}

TEST_F(XRSFile2TiffTest, WritesNoSamplesWithoutASize) {
  Add<std::uint8_t>(20, 20).SetDataType(kDataTypeNone);
  EXPECT_EQ(0, SaveAll());
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(XRSFile2TiffTest, SaysNothingOfAFileThatCannotBeOpened) {
  Add<std::uint8_t>(20, 20);
  EXPECT_EQ(0, SaveTo(Path("missing/a.tif"), 0, 19, 0, 19));
  EXPECT_EQ(kUntouched, Error());
  EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
  std::filesystem::create_directory(Path());
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ(kUntouched, Error());
  EXPECT_TRUE(std::filesystem::is_directory(Path()));
}

TEST_F(XRSFile2TiffTest, SaysNothingWhereTheDiskDoesNotOpenTheFile) {
  Add<std::uint8_t>(20, 20);
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  int numFailed = 0;
  for (int nth = 1; nth < 5; ++nth) {
    XFile::Remove(Path());
    disk.FailOpen(disk.GetOpenCount() + nth);
    if (SaveAll()) continue;
    ++numFailed;
    EXPECT_EQ(kUntouched, Error());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
  }
  EXPECT_GT(numFailed, 0);
}

TEST_F(XRSFile2TiffTest, LeavesAProtectedFileAlone) {
  if (::geteuid() == 0) GTEST_SKIP() << "nothing is protected from this user";
  Add<std::uint8_t>(20, 20);
  folder_.Write("a.tif", "protected");
  std::filesystem::permissions(Path(), std::filesystem::perms::owner_read);
  EXPECT_EQ(0, SaveAll());
  EXPECT_EQ(kUntouched, Error());
  EXPECT_EQ(9u, ReadBytes(Path()).size());
}

TEST_F(XRSFile2TiffTest, DoesNotWriteOverTheFileOfItsDataset) {
  Add<std::uint8_t>(20, 20);
  const auto before = MakeOwnFile();
  std::filesystem::create_symlink(Path(), Path("soft.tif"));
  std::filesystem::create_hard_link(Path(), Path("hard.tif"));
  for (const char* name : {"a.tif", "./a.tif", "soft.tif", "hard.tif"}) {
    EXPECT_EQ(0, SaveTo(Path(name), 0, 19, 0, 19)) << name;
    EXPECT_EQ(kUntouched, Error());
    EXPECT_EQ(before, ReadBytes(Path())) << name;
  }
}

TEST_F(XRSFile2TiffTest, LeavesAFileToWhoHasItOpen) {
  Add<std::uint8_t>(20, 20, 1);
  ASSERT_EQ(1, SaveAll());
  const auto before = ReadBytes(Path());
  std::ifstream reader(Path(), std::ios::binary);
  NewDataset();
  Add<std::uint8_t>(25, 20, 2);
  ASSERT_EQ(1, SaveAll()) << Error();
  EXPECT_EQ(before, std::vector<unsigned char>(std::istreambuf_iterator<char>(reader), {}));
  EXPECT_EQ(25, TiffTags(Path()).width);
}

TEST_F(XRSFile2TiffTest, TakesTheNameOfAnEmptyFileAndOfALongerOne) {
  Add<std::uint8_t>(20, 20);
  ASSERT_EQ(1, SaveAll());
  const auto expected = ReadBytes(Path());
  for (const std::size_t length : {std::size_t{0}, 4 * expected.size()}) {
    folder_.Write("a.tif", std::string(length, 'x'));
    ASSERT_EQ(1, SaveAll()) << Error();
    EXPECT_EQ(expected, ReadBytes(Path())) << length;
  }
}

TEST_F(XRSFile2TiffTest, SaysWhichWriteFailsAndLeavesNothing) {
  for (const int numBands : {1, 2, 3}) {
    NewDataset();
    for (int i = 0; i < numBands; ++i) Add<std::uint8_t>(60, 450);
    int nth = 1;
    for (; nth < 1000; ++nth) {
      FaultyDisk disk;
      disk.FailWrite(nth, nth % 2 ? ENOSPC : EIO);
      const zrk::ScopedDisk scoped(disk);
      if (SaveAll()) break;
      ASSERT_EQ("Fail to write data!!!", Error()) << nth;
      ASSERT_TRUE(std::filesystem::is_empty(folder_.Path())) << nth;
    }
    EXPECT_GT(nth, 3) << "head, pixels, directory";
    EXPECT_LT(nth, 1000);
    XFile::Remove(Path());
  }
}

TEST_F(XRSFile2TiffTest, SaysThatTheDiskIsFullWhereItsRoomCannotBeTaken) {
  Add<std::uint8_t>(60, 60);
  FaultyDisk disk;
  disk.FailSetSize(1);
  const zrk::ScopedDisk scoped(disk);
  ExpectFailure("Disk Space is Full");
}

TEST_F(XRSFile2TiffTest, ReportsTheRowsOfEachBlockOfTheBandsInTurn) {
  PercentKeeper keeper;
  XThread thread(&keeper);
  for (int i = 0; i < 3; ++i) Add<float>(20, 450);
  ASSERT_EQ(1, SaveAll(&thread));
  // 0, 200 and 400 of 450 rows of the first, then of the second and the third; of 1350 in all
  EXPECT_THAT(keeper.percents, ElementsAre(0, 14, 29, 33, 48, 62, 66, 81, 96));
}

TEST_F(XRSFile2TiffTest, ReportsTheRowsOfAllBandsOfEachBlock) {
  PercentKeeper keeper;
  XThread thread(&keeper);
  for (int i = 0; i < 3; ++i) Add<std::uint8_t>(20, 450);
  ASSERT_EQ(1, SaveAll(&thread));
  // 0, 200, 400, 600, 800, 1000, 1200, 1250 and 1300 of 1350 rows
  EXPECT_THAT(keeper.percents, ElementsAre(0, 14, 29, 44, 59, 74, 88, 92, 96));
}

TEST_F(XRSFile2TiffTest, ReportsASharpeningLikeOtherBands) {
  PercentKeeper keeper;
  XThread thread(&keeper);
  for (int i = 0; i < 2; ++i) Add<std::uint8_t, ZRMBandImageSharpen>(20, 450);
  ASSERT_EQ(1, SaveAll(&thread));
  EXPECT_THAT(keeper.percents, ElementsAre(0, 22, 44, 50, 72, 94));
}

TEST_F(XRSFile2TiffTest, IsStoppedAtAnyOfItsReportsAndLeavesNothing) {
  for (const int numBands : {1, 2, 3}) {
    NewDataset();
    for (int i = 0; i < numBands; ++i) Add<std::uint8_t>(20, 450);
    for (int report = 1; report <= 3 * numBands; ++report) {
      PercentKeeper keeper(report);
      XThread thread(&keeper);
      ExpectFailure(kUntouched, &thread);
      EXPECT_EQ(static_cast<std::size_t>(report), keeper.percents.size());
    }
  }
}

TEST_F(XRSFile2TiffTest, ReadsNothingMoreOnceItIsStopped) {
  LoggedBand::Log log;
  Add<std::uint16_t, ZRMBandImageSharpen>(20, 450).SetLog(&log);
  Add<std::uint16_t, ZRMBandImageSharpen>(20, 450).SetLog(&log);
  PercentKeeper keeper(5);  // before the second block of the second band
  XThread thread(&keeper);
  ExpectFailure(kUntouched, &thread);
  EXPECT_EQ(5u, log.size());
}

TEST_F(XRSFile2TiffTest, IsStoppedByNoOtherStateThanStop) {
  Add<std::uint8_t>(20, 450);
  XThread thread;
  thread.SetState(2);
  EXPECT_EQ(1, SaveAll(&thread)) << Error();
}

}  // namespace
