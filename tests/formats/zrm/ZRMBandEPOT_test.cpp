#include "ZRMBandEPOT.h"

#include "MemoryBand.h"
#include "TempFolder.h"
#include "XFile.h"

#include <gmock/gmock.h>
#include <cmath>
#include <random>
#include <thread>

using testing::Each;

namespace {

/// A file open for writing, with a band over a store in it.
class ZRMBandEPOTTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(file_.Open(folder_.Path("store"), XFile::kReadWrite | XFile::kCreate)); }

  template <class Sample>
  void Bind(int width, int height, int tile, int levels) {
    ASSERT_TRUE(band_.SetImage(&file_, 12, width, height, zrk::kDataTypeOf<Sample>, tile, tile, levels, 100));
  }

  template <class Sample>
  void WriteRamp(int x0, int x1, int y0, int y1) {
    tagXArr2 rows(x1 - x0 + 1, y1 - y0 + 1, sizeof(Sample));
    for (int y = y0; y <= y1; ++y) {
      for (int x = x0; x <= x1; ++x) reinterpret_cast<Sample*>(rows.Row(y - y0))[x - x0] = Ramp<Sample>(x, y);
    }
    ASSERT_TRUE(band_.WriteSubset(&rows, x0, x1, y0, y1, false, kNotSet));
  }

  template <class Sample>
  static Sample Ramp(int x, int y) {
    return static_cast<Sample>(x + 7 * y);
  }

  template <class Sample>
  std::vector<Sample> Read(int level, int x0, int x1, int y0, int y1) {
    tagXArr2* out = nullptr;
    if (!band_.ReadSubset(out, level, x0, x1, y0, y1, nullptr)) return {};
    return SamplesOf<Sample>(*out);
  }

  TempFolder folder_;
  XFile file_;
  ZRMBandEPOT band_;
};

TEST(XEPOT2D, CountsWholeTilesOfEveryLevel) {
  // 5 x 3 in tiles of 2 x 2: 3 * 2 tiles; 2 x 1: one; 1 x 1: one.
  EXPECT_EQ((6 + 1 + 1) * 4 * 2, XEPOT2D::CalcSize(5, 3, kPint16, 2, 2, 2));
  EXPECT_EQ(0, XEPOT2D::CalcSize(0, 3, kPint16, 2, 2, 2));
  EXPECT_EQ(0, XEPOT2D::CalcSize(5, 3, 9, 2, 2, 2));
  EXPECT_EQ(0, XEPOT2D::CalcSize(5, 3, kPint16, 2, 2, 31));
  EXPECT_EQ(0, XEPOT2D::CalcSize(5, 3, kReal64, INT_MAX, INT_MAX, 0));
  EXPECT_EQ(0, XEPOT2D::CalcSize(INT_MAX, INT_MAX, kReal64, 1, 1, 0));
}

TEST_F(ZRMBandEPOTTest, KeepsTilesOneAfterTheOtherRowByRow) {
  Bind<std::uint8_t>(5, 3, 2, 0);
  WriteRamp<std::uint8_t>(0, 4, 0, 2);
  const std::vector<unsigned char> bytes = ReadBytes(folder_.Path("store"));
  const std::vector<unsigned char> tiles(bytes.begin() + 12, bytes.end());
  EXPECT_THAT(std::vector(tiles.begin(), tiles.begin() + 8), testing::ElementsAre(0, 1, 7, 8, 2, 3, 9, 10));
  EXPECT_EQ(14, tiles[12]);
}

TEST_F(ZRMBandEPOTTest, GivesEveryWindowBack) {
  Bind<std::int16_t>(11, 9, 4, 0);
  WriteRamp<std::int16_t>(0, 10, 0, 8);
  for (int x0 = 0; x0 < 11; ++x0) {
    for (int x1 = x0; x1 < 11; ++x1) {
      for (int y0 = 0; y0 < 9; y0 += 2) {
        std::vector<std::int16_t> expected;
        for (int y = y0; y < 9; ++y) {
          for (int x = x0; x <= x1; ++x) expected.push_back(Ramp<std::int16_t>(x, y));
        }
        ASSERT_EQ(expected, Read<std::int16_t>(0, x0, x1, y0, 8));
      }
    }
  }
}

TEST_F(ZRMBandEPOTTest, IsWrittenPieceByPiece) {
  Bind<double>(11, 9, 4, 0);
  for (int y = 0; y < 9; y += 3) {
    for (int x = 0; x < 11; x += 5) WriteRamp<double>(x, std::min(x + 4, 10), y, y + 2);
  }
  std::vector<double> expected;
  for (int i = 0; i < 99; ++i) expected.push_back(Ramp<double>(i % 11, i / 11));
  EXPECT_EQ(expected, Read<double>(0, 0, 10, 0, 8));
}

TEST_F(ZRMBandEPOTTest, LeavesSamplesWhereTheNewOnesAreNull) {
  Bind<std::uint8_t>(4, 1, 4, 0);
  WriteRamp<std::uint8_t>(0, 3, 0, 0);
  std::vector<std::uint8_t> samples = {9, 255, 255, 8};
  ASSERT_TRUE(band_.WriteSubset(samples.data(), 0, 3, 0, 0, true, 255.0));
  EXPECT_EQ((std::vector<std::uint8_t>{9, 1, 2, 8}), Read<std::uint8_t>(0, 0, 3, 0, 0));
}

TEST_F(ZRMBandEPOTTest, MakesLowerLevelsFromMeansOfFour) {
  Bind<std::uint8_t>(5, 4, 2, 2);
  std::vector<std::uint8_t> top = {1, 2, 10, 10, 99, 2, 2, 10, 11, 99, 0, 0, 5, 5, 99, 0, 1, 5, 6, 99};
  ASSERT_TRUE(band_.WriteSubset(top.data(), 0, 4, 0, 3, false, kNotSet));
  ASSERT_TRUE(band_.BuildLowerLevelsForTIP(kNotSet, -1, INT_MAX, -1, INT_MAX, false));
  EXPECT_EQ((std::vector<std::uint8_t>{2, 10, 0, 5}), Read<std::uint8_t>(1, 0, 3, 0, 3));
  EXPECT_EQ((std::vector<std::uint8_t>{4}), Read<std::uint8_t>(2, 0, 3, 0, 3));
}

TEST_F(ZRMBandEPOTTest, TakesTheMostFrequentOfFourClasses) {
  Bind<std::uint8_t>(8, 2, 8, 1);
  std::vector<std::uint8_t> top = {1, 2, 3, 4, 5, 6, 7, 8, 2, 1, 4, 4, 6, 6, 9, 7};
  ASSERT_TRUE(band_.WriteSubset(top.data(), 0, 7, 0, 1, false, kNotSet));
  ASSERT_TRUE(band_.BuildLowerLevelsForTIP(kNotSet, -1, INT_MAX, -1, INT_MAX, true));
  EXPECT_EQ((std::vector<std::uint8_t>{1, 4, 6, 7}), Read<std::uint8_t>(1, 0, 7, 0, 1));
}

TEST_F(ZRMBandEPOTTest, LeavesNullSamplesOutOfMeans) {
  Bind<std::int16_t>(4, 2, 4, 1);
  std::vector<std::int16_t> top = {-5, -6, -99, -99, -99, -99, -99, -99};
  ASSERT_TRUE(band_.WriteSubset(top.data(), 0, 3, 0, 1, false, kNotSet));
  ASSERT_TRUE(band_.BuildLowerLevelsForTIP(-99.0, -1, INT_MAX, -1, INT_MAX, false));
  EXPECT_EQ((std::vector<std::int16_t>{-6, -99}), Read<std::int16_t>(1, 0, 3, 0, 1));  // -5.5 goes away from zero
}

TEST_F(ZRMBandEPOTTest, RemakesOnlyWhatDependsOnAWindow) {
  Bind<std::uint8_t>(4, 8, 2, 1);
  ASSERT_TRUE(file_.SetLength(12 + band_.GetEPOT()->GetSize()));
  std::vector<std::uint8_t> top(32, 7);
  ASSERT_TRUE(band_.WriteSubset(top.data(), 0, 3, 0, 7, false, kNotSet));
  ASSERT_TRUE(band_.BuildLowerLevelsForTIP(kNotSet, 0, 3, 5, 5, false));
  EXPECT_EQ((std::vector<std::uint8_t>{0, 0, 0, 0, 7, 7, 0, 0}), Read<std::uint8_t>(1, 0, 3, 0, 7));
}

TEST_F(ZRMBandEPOTTest, KeepsALevelOfOneRowWhereItIsOnlyWide) {
  Bind<float>(8, 1, 2, 2);
  std::vector<float> top = {1, 3, 5, 7, 1, 1, 2, 2};
  ASSERT_TRUE(band_.WriteSubset(top.data(), 0, 7, 0, 0, false, kNotSet));
  ASSERT_TRUE(band_.BuildLowerLevelsForTIP(kNotSet, -1, INT_MAX, -1, INT_MAX, false));
  tagXArr2 level(2, 1, 4);
  ASSERT_TRUE(band_.GetEPOT()->Read(level, 2, 0, 0, nullptr));
  EXPECT_EQ((std::vector<float>{4, 1.5F}), SamplesOf<float>(level));
}

TEST_F(ZRMBandEPOTTest, FillsABufferOfTheCaller) {
  Bind<std::uint8_t>(6, 2, 4, 0);
  WriteRamp<std::uint8_t>(0, 5, 0, 1);
  tagXArr2 own(2, 1, 1);
  tagXArr2* out = &own;
  ASSERT_TRUE(band_.ReadSubset(out, 0, 3, 5, 1, 1, nullptr));
  EXPECT_EQ(&own, out);
  EXPECT_EQ((std::vector<std::uint8_t>{10, 11}), SamplesOf<std::uint8_t>(own));
}

TEST_F(ZRMBandEPOTTest, LeavesTheBufferOfAnotherBandAlone) {
  Bind<std::uint8_t>(6, 2, 4, 0);
  WriteRamp<std::uint8_t>(0, 5, 0, 1);
  MemoryBand other;
  other.SetRamp<std::uint8_t>(6, 2);
  tagXArr2* out = nullptr;
  ASSERT_TRUE(other.ReadSubset(out, 0, 0, 5, 0, 0, nullptr));
  tagXArr2* const others = out;
  ASSERT_TRUE(band_.ReadSubset(out, 0, 0, 5, 1, 1, nullptr));
  EXPECT_NE(others, out);
  EXPECT_EQ((std::vector<std::uint8_t>{0, 1, 2, 3, 4, 5}), SamplesOf<std::uint8_t>(*others));
}

TEST_F(ZRMBandEPOTTest, RefusesWindowsAndLevelsThatItHasNot) {
  Bind<std::uint8_t>(8, 8, 4, 1);
  WriteRamp<std::uint8_t>(0, 7, 0, 7);
  EXPECT_TRUE(Read<std::uint8_t>(0, 0, 8, 0, 7).empty());
  EXPECT_TRUE(Read<std::uint8_t>(2, 0, 7, 0, 7).empty());
  EXPECT_TRUE(Read<std::uint8_t>(0, -1, 7, 0, 7).empty());
  EXPECT_TRUE(Read<std::uint8_t>(1, 0, 0, 0, 7).empty());
  EXPECT_EQ(1, band_.GetLevel());
}

TEST_F(ZRMBandEPOTTest, FailsWhereTheFileEndsBeforeTheStore) {
  Bind<std::uint8_t>(8, 8, 4, 0);
  WriteRamp<std::uint8_t>(0, 7, 0, 7);
  ASSERT_TRUE(file_.SetLength(file_.GetLength() - 1));
  EXPECT_TRUE(Read<std::uint8_t>(0, 7, 7, 7, 7).empty());
  EXPECT_EQ(1u, Read<std::uint8_t>(0, 0, 0, 0, 0).size());
}

TEST_F(ZRMBandEPOTTest, StopsBetweenTiles) {
  Bind<std::uint8_t>(8, 8, 4, 0);
  WriteRamp<std::uint8_t>(0, 7, 0, 7);
  int cancel = 1;
  tagXArr2* out = nullptr;
  EXPECT_FALSE(band_.ReadSubset(out, 0, 0, 7, 0, 7, &cancel));
  EXPECT_EQ(nullptr, out);
}

TEST_F(ZRMBandEPOTTest, ReadsAfterItsFileWasClosed) {
  Bind<std::uint8_t>(4, 4, 4, 0);
  WriteRamp<std::uint8_t>(0, 3, 0, 3);
  file_.Close();
  EXPECT_EQ(16u, Read<std::uint8_t>(0, 0, 3, 0, 3).size());
}

TEST_F(ZRMBandEPOTTest, ServesNothingWithoutAFile) {
  EXPECT_FALSE(band_.SetImage(nullptr, 12, 4, 4, kPint08, 2, 2, 1, 0));
  EXPECT_EQ(4, band_.GetXSize());
  EXPECT_TRUE(Read<std::uint8_t>(0, 0, 3, 0, 3).empty());
  EXPECT_FALSE(band_.BuildLowerLevelsForTIP(kNotSet, -1, INT_MAX, -1, INT_MAX, false));
}

TEST_F(ZRMBandEPOTTest, HandlesTilesLargerThanItsRoom) {
  ASSERT_TRUE(band_.SetImage(&file_, 12, 20000, 3, kReal64, 20000, 4, 0, 0));
  WriteRamp<double>(0, 19999, 0, 2);
  WriteRamp<double>(1, 19998, 0, 2);
  std::vector<double> expected;
  for (int i = 0; i < 3 * 20000; ++i) expected.push_back(Ramp<double>(i % 20000, i / 20000));
  EXPECT_EQ(expected, Read<double>(0, 0, 19999, 0, 2));
  EXPECT_EQ(19998u * 3, Read<double>(0, 1, 19998, 0, 2).size());
}

TEST_F(ZRMBandEPOTTest, ThreadsReadTheirOwnWindows) {
  Bind<std::uint16_t>(64, 64, 16, 0);
  WriteRamp<std::uint16_t>(0, 63, 0, 63);
  std::vector<std::thread> threads;
  std::atomic<int> numWrong = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        const int x = (7 * i + t) % 64, y = (11 * i + 3 * t) % 64;
        if (Read<std::uint16_t>(0, x, x, y, y) != std::vector{Ramp<std::uint16_t>(x, y)}) ++numWrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, numWrong);
}

}  // namespace
