// Bands of grey imagery frames: windows, place, threads and failures. The frames come from a builder that also says
// which value each pixel has, by its own codes and tables.

#include "ZRMBandCIB.h"
#include "RpfFrameBuilder.h"
#include "TempFolder.h"
#include "XRSFile.h"
#include "XRSFileIO.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <thread>

namespace {

using Frame = RpfFrameBuilder;

class ZRMBandCIBTest : public testing::Test {
 protected:
  int Load(const Frame& builder, int calcStatistics = 0) {
    folder_.Write("frame.i21", builder.Build());
    return XRSFileIO::LoadFileRaster(&file_, kFormatCIB, Path(), err_, calcStatistics, kLevelNone, nullptr);
  }
  const tagXArr2* Read(int x0, int x1, int y0, int y1, int level = 0) {
    tagXArr2* out = nullptr;
    return file_.GetBandAt(0)->ReadSubset(out, level, x0, x1, y0, y1, nullptr) ? out : nullptr;
  }
  XString Path() const { return folder_.Path("frame.i21").c_str(); }

  TempFolder folder_;
  XRSFile file_;
  XString err_;
};

int CountWrong(const tagXArr2& result, const Frame& builder, int x0, int y0) {
  int numWrong = 0;
  for (int y = 0; y < result.ySize; ++y) {
    for (int x = 0; x < result.xSize; ++x) {
      numWrong += result.Row(y)[x] != Frame::Color(0, builder.PixelAt(x0 + x, y0 + y));
    }
  }
  return numWrong;
}

TEST_F(ZRMBandCIBTest, AFrameIsOneGreyBand) {
  for (const Frame& builder : {Frame().Grey(), Frame().Grey().Plain(), Frame().Grey().LittleEndian()}) {
    XRSFile file;
    folder_.Write("frame.i21", builder.Build());
    ASSERT_EQ(XRSFileIO::LoadFileCIB(&file, Path(), err_, 0, nullptr), 1);
    ASSERT_EQ(file.GetNumOfBands(), 1);
    EXPECT_EQ(file.GetBandAt(0)->GetBandName(), XString("frame.i21 : Channel 1"));
    EXPECT_EQ(file.GetFilePath(), Path());
    tagXArr2* out = nullptr;
    ASSERT_EQ(file.GetBandAt(0)->ReadSubset(out, 0, 0, 1535, 0, 1535, nullptr), 1);
    EXPECT_EQ(CountWrong(*out, builder, 0, 0), 0);
  }
}

TEST_F(ZRMBandCIBTest, ItsPlaceHasGoneThroughSinglePrecision) {
  ASSERT_EQ(Load(Frame().Grey().Coverage({0.1, -0.3, 0, 0, 0, 0, 0, 0, 0, 0, 0.0015, 0.0017})), 1);
  const ZRMBand& band = *file_.GetBandAt(0);
  EXPECT_EQ(band.GetULX(), static_cast<double>(-0.3f));
  EXPECT_EQ(band.GetULY(), static_cast<double>(0.1f));
  EXPECT_EQ(band.GetXPixelSize(), static_cast<double>(0.0017f));
  EXPECT_EQ(band.GetYPixelSize(), static_cast<double>(0.0015f));
  EXPECT_NE(band.GetULY(), 0.1);
  EXPECT_EQ(band.GetXSize(), 1536);
  EXPECT_EQ(band.GetYSize(), 1536);
  EXPECT_EQ(band.GetDataType(), kPint08);
  EXPECT_EQ(band.GetCoordinateKind(), kCoordinateWorld);
  EXPECT_TRUE(band.GetSR()->IsGeographic());
}

TEST_F(ZRMBandCIBTest, AFrameInColorIsRefused) {
  for (const int table : {1, 2, 4}) {
    err_.Empty();
    EXPECT_EQ(Load(Frame().ColorTable(table, 217, table == 1 ? 3 : 4)), 0);
    EXPECT_EQ(err_, "Can't open file : " + Path());
    EXPECT_EQ(file_.GetNumOfBands(), 0);
  }
}

TEST_F(ZRMBandCIBTest, AFileThatIsNoFrameIsRefused) {
  folder_.Write("frame.i21", "no frame");
  EXPECT_EQ(XRSFileIO::LoadFileCIB(&file_, Path(), err_, 0, nullptr), 0);
  EXPECT_EQ(err_, "Can't open file : " + Path());
}

TEST_F(ZRMBandCIBTest, ARefusedColorLeavesNoPixelsAndAnotherFrameCanFollow) {
  ZRMBandCIB band;
  folder_.Write("frame.i21", Frame().Grey().Build());
  ASSERT_EQ(band.Open(Path()), 1);
  folder_.Write("frame.i21", Frame().Build());
  ASSERT_EQ(band.Open(Path()), 0);
  tagXArr2* out = nullptr;
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr), 0);
  folder_.Write("frame.i21", Frame().Grey().Build());
  EXPECT_EQ(band.Open(Path()), 1);
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr), 1);
}

TEST_F(ZRMBandCIBTest, AWindowIsItsPartOfTheFrameAtEveryLevel) {
  const Frame builder = Frame().Grey().Absent({0});
  ASSERT_EQ(Load(builder), 1);
  for (const int level : {0, 3}) {
    const tagXArr2* result = Read(250, 300, 200, 259, level);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->xSize, 51);
    EXPECT_EQ(result->ySize, 60);
    EXPECT_EQ(CountWrong(*result, builder, 250, 200), 0);
  }
  EXPECT_EQ(CountWrong(*Read(0, 1535, 700, 712), builder, 0, 700), 0);
}

TEST_F(ZRMBandCIBTest, AWindowOutsideThePixelsIsRefused) {
  ASSERT_EQ(Load(Frame().Grey()), 1);
  EXPECT_EQ(Read(0, 1536, 0, 0), nullptr);
  EXPECT_EQ(Read(0, 0, 0, 1536), nullptr);
  EXPECT_EQ(Read(-1, 0, 0, 0), nullptr);
  EXPECT_EQ(Read(0, 0, 3, 2), nullptr);
}

TEST_F(ZRMBandCIBTest, TheSizeOfTheBandDoesNotBoundAWindow) {
  ASSERT_EQ(Load(Frame().Grey()), 1);
  file_.GetBandAt(0)->SetSize(10, 10);
  EXPECT_NE(Read(0, 20, 0, 20), nullptr);
}

TEST_F(ZRMBandCIBTest, ThreadsThatReadDifferentWindowsGetTheirOwn) {
  const Frame builder = Frame().Grey();
  ASSERT_EQ(Load(builder), 1);
  std::atomic<int> numWrong = 0;
  const auto read = [&](int first) {
    for (int i = 0; i < 60; ++i) {
      const tagXArr2* result = Read(first + i, first + i + 40, 3 * i, 3 * i + 30);
      numWrong += result ? CountWrong(*result, builder, first + i, 3 * i) : 1;
    }
  };
  std::thread other(read, 300);
  read(7);
  other.join();
  EXPECT_EQ(numWrong, 0);
}

TEST_F(ZRMBandCIBTest, BuffersGoOnlyWhereThatIsForced) {
  ASSERT_EQ(Load(Frame().Grey()), 1);
  const tagXArr2* result = Read(0, 9, 0, 9);
  file_.GetBandAt(0)->CleanupMemory(0, 1);
  EXPECT_NE(result->data, nullptr);
  file_.GetBandAt(0)->CleanupMemory(1, 1);
  EXPECT_NE(Read(0, 9, 0, 9), nullptr);
}

TEST_F(ZRMBandCIBTest, StatisticsAreThoseOfAllPixels) {
  ASSERT_EQ(Load(Frame().Grey().Plain().AllPixels(3), 1), 1);
  const ZRMBand& band = *file_.GetBandAt(0);
  EXPECT_EQ(band.GetBandMin(), Frame::Color(0, 3));
  EXPECT_EQ(band.GetBandMean(), Frame::Color(0, 3));
  const auto* histogram = file_.GetBandAt(0)->GetHistogram();
  EXPECT_EQ(std::accumulate(histogram, histogram + 256, 0), 1536 * 1536);
}

TEST_F(ZRMBandCIBTest, ANullDatasetIsRefused) {
  EXPECT_EQ(XRSFileIO::LoadFileCIB(nullptr, Path(), err_, 0, nullptr), 0);
  EXPECT_EQ(err_, XString("Not Valid XRSFile"));
}

}  // namespace
