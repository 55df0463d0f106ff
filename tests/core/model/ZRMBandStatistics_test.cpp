#include "MemoryBand.h"

#include <gtest/gtest.h>
#include <numeric>

namespace {

/// Opens the step that bands of files call with a level of their own.
class LeveledBand : public MemoryBand {
 public:
  using ZRMBand::CalcStatisticsAtLevel;
};

}  // namespace

TEST(ZRMBandStatistics, ASmallBandIsTakenWhole) {
  MemoryBand band;
  band.SetSamples<std::int16_t>(2, 2, {-4, 10, 2, 4});
  ASSERT_EQ(band.CalcStatistics(0), 1);
  EXPECT_EQ(band.GetBandMin(), -4.0);
  EXPECT_EQ(band.GetBandMax(), 10.0);
  EXPECT_EQ(band.GetBandMean(), 3.0);
  EXPECT_DOUBLE_EQ(band.GetBandStdDev(), 5.773502691896258);  // root of (49 + 49 + 1 + 1) / 3
  EXPECT_EQ(band.GetHistogram()[255], 0);
}

TEST(ZRMBandStatistics, TheHistogramComesOnlyWhenAskedFor) {
  MemoryBand band;
  band.SetSamples<std::uint8_t>(2, 2, {0, 0, 255, 128});
  ASSERT_EQ(band.CalcStatistics(1), 1);
  EXPECT_EQ(band.GetHistogram()[0], 2);
  EXPECT_EQ(band.GetHistogram()[128], 1);
  EXPECT_EQ(band.GetHistogram()[255], 1);
  EXPECT_EQ(std::accumulate(band.GetHistogram(), band.GetHistogram() + 256, std::int64_t{0}), 4);
}

TEST(ZRMBandStatistics, ALargeBandIsTakenAtTheLevelBelowItsLevelCount) {
  MemoryBand band;
  band.SetTileSize(2, 2);
  band.SetRamp<std::int32_t>(8, 8);  // levels 0 to 2, so level 1 is read: every second pixel
  ASSERT_EQ(band.GetLevel(), 2);
  ASSERT_EQ(band.CalcStatistics(0), 1);
  EXPECT_EQ(band.GetBandMin(), 0.0);
  EXPECT_EQ(band.GetBandMax(), 606.0);
  EXPECT_EQ(band.GetBandMean(), 303.0);
}

TEST(ZRMBandStatistics, NullSamplesAreLeftOut) {
  MemoryBand band;
  band.SetSamples<float>(3, 1, {-9999.0F, 1.0F, 2.0F});
  band.SetNullValue(-9999.0);
  ASSERT_EQ(band.CalcStatistics(0), 1);
  EXPECT_EQ(band.GetBandMin(), 1.0);
  EXPECT_EQ(band.GetBandMean(), 1.5);
}

TEST(ZRMBandStatistics, AOnePixelWideBandHasNoneAtAReducedLevel) {
  LeveledBand band;
  band.SetRamp<std::uint8_t>(1, 64);
  band.SetTileSize(8, 8);  // three levels
  EXPECT_EQ(band.CalcStatistics(1), 0);
  EXPECT_EQ(band.GetNumReads(), 0);
  EXPECT_EQ(band.GetBandMin(), 1.7e+308);
  EXPECT_EQ(band.CalcStatisticsAtLevel(0, 1), 1);
}

TEST(ZRMBandStatistics, OnePixelAtALevelIsEnoughWhateverThePixelSize) {
  LeveledBand band;
  band.SetRamp<std::uint8_t>(8, 8);
  band.SetUpperLeft(127.3, 36.7);
  band.SetPixelSize(0.1, 0.3);
  EXPECT_EQ(band.CalcStatisticsAtLevel(3, 0), 1);
  EXPECT_EQ(band.GetBandMax(), 0.0);
}

TEST(ZRMBandStatistics, AnImpossibleLevelFails) {
  LeveledBand band;
  band.SetRamp<std::uint8_t>(8, 8);
  for (const int level : {-1, 4, 30, 31, 1000}) EXPECT_EQ(band.CalcStatisticsAtLevel(level, 0), 0) << level;
}

TEST(ZRMBandStatistics, AFailedReadLeavesTheFields) {
  MemoryBand band;
  band.SetRamp<std::uint8_t>(4, 4);
  band.SetBandMin(5.0);
  band.FailReads();
  EXPECT_EQ(band.CalcStatistics(1), 0);
  EXPECT_EQ(band.GetBandMin(), 5.0);
  EXPECT_EQ(band.GetHistogram()[0], 0);
}

TEST(ZRMBandStatistics, NothingButNullSamplesLeavesTheFields) {
  MemoryBand band;
  band.SetSamples<std::uint8_t>(2, 1, {7, 7});
  band.SetNullValue(7.0);
  band.SetBandMean(5.0);
  EXPECT_EQ(band.CalcStatistics(1), 0);
  EXPECT_EQ(band.GetBandMean(), 5.0);
}

TEST(ZRMBandStatistics, APixelSizeOfZeroMattersAtReducedLevelsOnly) {
  LeveledBand band;
  band.SetRamp<std::uint8_t>(8, 8);
  band.SetPixelSize(0.0, 0.0);
  EXPECT_EQ(band.CalcStatisticsAtLevel(0, 0), 1);
  EXPECT_EQ(band.CalcStatisticsAtLevel(1, 0), 0);
}

TEST(ZRMBandStatistics, AnEmptyBandHasNone) {
  MemoryBand band;
  EXPECT_EQ(band.CalcStatistics(1), 0);
  XBand plain;
  EXPECT_EQ(plain.CalcStatistics(1), 0);
}
