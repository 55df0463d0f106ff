#include "Oracle.h"

#include "SampleName.h"
#include "Samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

class AgainstGdal : public testing::TestWithParam<Sample> {
 protected:
  AgainstGdal() : image_(GetParam(), 1), oracle_(ReadWithGdal(PathOf(GetParam()))) {}
  void SetUp() override {
    ASSERT_TRUE(image_.IsOpen());
    ASSERT_TRUE(oracle_.isOpen);
    ASSERT_GE(image_.GetNumBands(), static_cast<int>(oracle_.channels.size()));
  }
  OpenSample image_;
  OracleImage oracle_;
};

TEST_P(AgainstGdal, PixelsAreTheSame) {
  for (std::size_t c = 0; c < oracle_.channels.size(); ++c) {
    ZRMBand& band = image_.Band(static_cast<int>(c));
    const Pixels pixels = ReadPixels(band, 0, WholeWindowOf(band));
    ASSERT_EQ(oracle_.width, pixels.width);
    ASSERT_EQ(oracle_.height, pixels.height);
    EXPECT_LE(LargestDifference(oracle_.channels[c], pixels.bytes), GetParam().oracleTolerance) << "channel " << c;
  }
}

class StatisticsAgainstGdal : public AgainstGdal {};

TEST_P(StatisticsAgainstGdal, AreTheSame) {
  const double tolerance = GetParam().oracleTolerance;
  for (std::size_t c = 0; c < oracle_.channels.size(); ++c) {
    const ZRMBand& band = image_.Band(static_cast<int>(c));
    const OracleImage::Statistics& wanted = oracle_.statistics[c];
    EXPECT_NEAR(wanted.min, band.GetBandMin(), tolerance);
    EXPECT_NEAR(wanted.max, band.GetBandMax(), tolerance);
    EXPECT_NEAR(wanted.mean, band.GetBandMean(), tolerance + 1e-9 * std::abs(wanted.mean));
    EXPECT_NEAR(wanted.stdDev, band.GetBandStdDev(), tolerance + 1e-9 * wanted.stdDev);
  }
}

std::vector<Sample> SamplesThatGdalReads() {
  std::vector<Sample> samples;
  std::ranges::copy_if(AllSamples(), std::back_inserter(samples),
                       [](const Sample& sample) { return sample.oracleTolerance != kNoOracle; });
  return samples;
}

/// Where levels are decimated, statistics of an image of many tiles are those of the coarsest level.
std::vector<Sample> SamplesOfFullResolution() {
  std::vector<Sample> samples;
  for (const Sample& sample : SamplesThatGdalReads()) {
    if (sample.levels == LevelRule::kFullResolution || sample.isSmall) samples.push_back(sample);
  }
  return samples;
}

INSTANTIATE_TEST_SUITE_P(Samples, AgainstGdal, testing::ValuesIn(SamplesThatGdalReads()), NameOf);
INSTANTIATE_TEST_SUITE_P(Samples, StatisticsAgainstGdal, testing::ValuesIn(SamplesOfFullResolution()), NameOf);

}  // namespace
