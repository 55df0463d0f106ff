// Bands of colour map frames: channels, windows, place, threads and failures. The frames come from a builder that also
// says which colour each pixel has, by its own codes and tables.

#include "ZRMBandCADRG.h"
#include "RpfFrameBuilder.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <numeric>
#include <thread>

namespace {

using Frame = RpfFrameBuilder;

class ZRMBandCADRGTest : public testing::Test {
 protected:
  int Load(const Frame& builder, int calcStatistics = 0) {
    folder_.Write("frame.on1", builder.Build());
    return XRSFileIO::LoadFileRaster(&file_, kFormatCADRG, Path(), err_, calcStatistics, kLevelNone, nullptr);
  }
  const tagXArr2* Read(int band, int x0, int x1, int y0, int y1, int level = 0) {
    tagXArr2* out = nullptr;
    return file_.GetBandAt(band)->ReadSubset(out, level, x0, x1, y0, y1, nullptr) ? out : nullptr;
  }
  XString Path() const { return folder_.Path("frame.on1").c_str(); }
  ZRMBandCADRG& Band(int index) { return static_cast<ZRMBandCADRG&>(*file_.GetBandAt(index)); }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

/// How many samples of a result are other than the colours of a window's pixels.
int CountWrong(const tagXArr2& result, const Frame& builder, int plane, int x0, int y0) {
  int numWrong = 0;
  for (int y = 0; y < result.ySize; ++y) {
    for (int x = 0; x < result.xSize; ++x) {
      numWrong += result.Row(y)[x] != Frame::Color(plane, builder.PixelAt(x0 + x, y0 + y));
    }
  }
  return numWrong;
}

struct Channels {
  int colorTable, entryBytes, numBands;
};

class ZRMBandCADRGChannels : public ZRMBandCADRGTest, public testing::WithParamInterface<Channels> {};

TEST_P(ZRMBandCADRGChannels, AreThoseOfTheColorTable) {
  const auto [colorTable, entryBytes, numBands] = GetParam();
  const Frame builder = Frame().ColorTable(colorTable, 217, entryBytes);
  ASSERT_EQ(Load(builder), 1);
  ASSERT_EQ(file_.GetNumOfBands(), numBands);
  EXPECT_EQ(Band(0).GetNumChannels(), numBands);
  for (int i = 0; i < numBands; ++i) {
    EXPECT_EQ(Band(i).GetBandName(), XString(("Channel " + std::to_string(i + 1)).c_str()));
    EXPECT_EQ(Band(i).GetChannel(), i);
    const tagXArr2* result = Read(i, 0, 1535, 0, 1535);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(CountWrong(*result, builder, i, 0, 0), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, ZRMBandCADRGChannels,
                         testing::Values(Channels{1, 3, 3}, Channels{2, 4, 3}, Channels{3, 1, 1}, Channels{4, 4, 4}),
                         [](const auto& channels) { return "Table" + std::to_string(channels.param.colorTable); });

TEST_F(ZRMBandCADRGTest, BandsLieWhereTheCoverageSays) {
  ASSERT_EQ(Load(Frame()), 1);
  for (int i = 0; i < 3; ++i) {
    const ZRMBand& band = *file_.GetBandAt(i);
    EXPECT_EQ(band.GetXSize(), 1536);
    EXPECT_EQ(band.GetYSize(), 1536);
    EXPECT_EQ(band.GetDataType(), kPint08);
    EXPECT_EQ(band.GetULX(), -99.5);
    EXPECT_EQ(band.GetULY(), 31.25);
    EXPECT_EQ(band.GetXPixelSize(), 0.0017);
    EXPECT_EQ(band.GetYPixelSize(), 0.0015);
    EXPECT_EQ(band.GetCoordinateKind(), kCoordinateWorld);
    EXPECT_TRUE(band.GetSR()->IsGeographic());
  }
  EXPECT_EQ(file_.GetFilePath(), Path());
}

TEST_F(ZRMBandCADRGTest, AllBandsBeginAsBytes) {
  ZRMBandCADRG owner(nullptr);
  const ZRMBandCADRG child(&owner);
  for (const ZRMBandCADRG* band : {&std::as_const(owner), &child}) {
    EXPECT_EQ(band->GetDataType(), kPint08);
    EXPECT_EQ(band->GetBandMin(), 0.0);
    EXPECT_EQ(band->GetBandMax(), 255.0);
    EXPECT_EQ(band->GetNumChannels(), 0);
  }
}

TEST_F(ZRMBandCADRGTest, AWindowIsItsPartOfTheFrame) {
  const Frame builder = Frame().Absent({8});
  ASSERT_EQ(Load(builder), 1);
  for (int i = 0; i < 3; ++i) {
    const tagXArr2* result = Read(i, 500, 789, 250, 300);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->xSize, 290);
    EXPECT_EQ(result->ySize, 51);
    EXPECT_EQ(result->elementSize, 1);
    EXPECT_EQ(CountWrong(*result, builder, i, 500, 250), 0);
  }
}

TEST_F(ZRMBandCADRGTest, AWindowOutsideIsRefused) {
  ASSERT_EQ(Load(Frame()), 1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Read(i, 0, 1536, 0, 0), nullptr);
    EXPECT_EQ(Read(i, 0, 0, 0, 1536), nullptr);
    EXPECT_EQ(Read(i, -1, 0, 0, 0), nullptr);
    EXPECT_EQ(Read(i, 5, 4, 0, 0), nullptr);
    EXPECT_NE(Read(i, 1535, 1535, 1535, 1535), nullptr);
  }
  file_.GetBandAt(0)->SetSize(2000, 2000);
  EXPECT_EQ(Read(0, 0, 1536, 0, 0), nullptr);
}

TEST_F(ZRMBandCADRGTest, TheLevelTakesNoPart) {
  ASSERT_EQ(Load(Frame()), 1);
  const tagXArr2* fine = Read(1, 3, 40, 5, 60, 0);
  const std::vector<unsigned char> pixels(fine->data, fine->data + 38 * 56);
  const tagXArr2* coarse = Read(1, 3, 40, 5, 60, 3);
  ASSERT_NE(coarse, nullptr);
  EXPECT_EQ(std::vector<unsigned char>(coarse->data, coarse->data + 38 * 56), pixels);
}

TEST_F(ZRMBandCADRGTest, TheSameWindowOfAnotherChannelIsThereAlready) {
  ASSERT_EQ(Load(Frame()), 1);
  Read(0, 10, 20, 30, 40);
  tagXArr2* const second = Band(0).GetResult(1);
  ASSERT_NE(second, nullptr);
  second->data[0] ^= 0xFF;  // a copy that is made again would not have it
  const unsigned char marked = second->data[0];
  EXPECT_EQ(Read(1, 10, 20, 30, 40), second);
  EXPECT_EQ(second->data[0], marked);
  Read(1, 10, 20, 30, 41);
  Read(1, 10, 20, 30, 40);
  EXPECT_NE(second->data[0], marked);
}

TEST_F(ZRMBandCADRGTest, TheOwnerKeepsTheLastRequestOfAnyChannel) {
  ASSERT_EQ(Load(Frame()), 1);
  int level = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  Band(0).GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ(std::vector({level, x0, x1, y0, y1}), std::vector(5, -1));
  Read(2, 1, 2, 3, 4, 7);
  Band(0).GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ(std::vector({level, x0, x1, y0, y1}), std::vector({7, 1, 2, 3, 4}));
}

TEST_F(ZRMBandCADRGTest, ThereIsNoResultBeforeAReadOutsideTheChannelsAndAfterACleanup) {
  ASSERT_EQ(Load(Frame()), 1);
  EXPECT_EQ(Band(0).GetResult(0), nullptr);
  Read(0, 0, 0, 0, 0);
  EXPECT_NE(Band(0).GetResult(2), nullptr);
  EXPECT_EQ(Band(0).GetResult(3), nullptr);
  EXPECT_EQ(Band(0).GetResult(-1), nullptr);
  std::thread([&] { EXPECT_EQ(Band(0).GetResult(0), nullptr); }).join();
  Band(0).CleanupMemory(0, 1);
  EXPECT_NE(Band(0).GetResult(0), nullptr);
  Band(0).CleanupMemory(1, 1);
  EXPECT_EQ(Band(0).GetResult(0), nullptr);
  EXPECT_NE(Read(1, 0, 0, 0, 0), nullptr);
}

TEST_F(ZRMBandCADRGTest, ThreadsThatReadDifferentWindowsGetTheirOwn) {
  const Frame builder;
  ASSERT_EQ(Load(builder), 1);
  std::atomic<int> numWrong = 0;
  const auto read = [&](int first) {
    for (int i = 0; i < 60; ++i) {
      const int channel = i % 3, x0 = first + 11 * i, y0 = 2 * first + 5 * (i / 3);
      const tagXArr2* result = Read(channel, x0, x0 + 40, y0, y0 + 30);
      numWrong += result ? CountWrong(*result, builder, channel, x0, y0) : 1;
    }
  };
  std::thread other(read, 300);
  read(7);
  other.join();
  EXPECT_EQ(numWrong, 0);
}

TEST_F(ZRMBandCADRGTest, AFrameThatCannotBeReadGivesNoSentence) {
  EXPECT_EQ(Load(Frame().Without(0x8C)), 0);
  EXPECT_EQ(file_.GetNumOfBands(), 0);
  EXPECT_TRUE(err_.IsEmpty());
}

TEST_F(ZRMBandCADRGTest, AFailedReadKeepsTheFrameBefore) {
  folder_.Write("frame.on1", Frame().Build());
  ZRMBandCADRG band(nullptr);
  ASSERT_EQ(band.ReadFile(Path(), err_, nullptr), 1);
  EXPECT_EQ(band.ReadFile("none", err_, nullptr), 0);
  tagXArr2* out = nullptr;
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 3, 0, 3, nullptr), 1);
  EXPECT_EQ(CountWrong(*out, Frame(), 0, 0, 0), 0);
}

TEST_F(ZRMBandCADRGTest, AnotherFrameGivesTheResultsBeforeUp) {
  folder_.Write("frame.on1", Frame().Build());
  ZRMBandCADRG band(nullptr);
  ASSERT_EQ(band.ReadFile(Path(), err_, nullptr), 1);
  tagXArr2* out = nullptr;
  ASSERT_EQ(band.ReadSubset(out, 0, 0, 3, 0, 3, nullptr), 1);
  folder_.Write("frame.on1", Frame().Grey().Build());
  ASSERT_EQ(band.ReadFile(Path(), err_, nullptr), 1);
  EXPECT_EQ(band.GetNumChannels(), 1);
  EXPECT_EQ(band.GetResult(0), nullptr);
}

TEST_F(ZRMBandCADRGTest, AnEmptyBandHasNothingToRead) {
  ZRMBandCADRG owner(nullptr);
  owner.SetSize(10, 10);
  ZRMBandCADRG child(&owner);
  tagXArr2* out = nullptr;
  EXPECT_EQ(owner.ReadSubset(out, 0, 0, 3, 0, 3, nullptr), 0);
  EXPECT_EQ(child.ReadSubset(out, 0, 0, 3, 0, 3, nullptr), 0);
}

TEST_F(ZRMBandCADRGTest, StatisticsAreThoseOfAllPixels) {
  const Frame builder = Frame().Plain().AllPixels(100);
  ASSERT_EQ(Load(builder, 1), 1);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Band(i).GetBandMin(), Frame::Color(i, 100));
    EXPECT_EQ(Band(i).GetBandMax(), Frame::Color(i, 100));
    EXPECT_EQ(Band(i).GetBandMean(), Frame::Color(i, 100));
    EXPECT_EQ(Band(i).GetBandStdDev(), 0.0);
    EXPECT_EQ(std::accumulate(Band(i).GetHistogram(), Band(i).GetHistogram() + 256, 0), 1536 * 1536);
  }
}

TEST_F(ZRMBandCADRGTest, ACheckNeedsCoverageAndNoImage) {
  folder_.Write("frame.on1", Frame().Without(0x8C).Build());
  EXPECT_EQ(ZRMBandCADRG::CheckToRead(Path()), 1);
  folder_.Write("frame.on1", Frame().Without(0x82).Build());
  EXPECT_EQ(ZRMBandCADRG::CheckToRead(Path()), 0);
}

TEST_F(ZRMBandCADRGTest, ANullDatasetIsRefused) {
  EXPECT_EQ(XRSFileIO::LoadFileCADRG(nullptr, Path(), err_, 0, nullptr), 0);
  EXPECT_EQ(err_, XString("Not Valid XRSFile"));
}

}  // namespace
