#include "Oracle.h"

#include "Samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

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

int LargestDifference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

TEST_P(AgainstGdal, PixelsAreTheSame) {
  for (std::size_t c = 0; c < oracle_.channels.size(); ++c) {
    ZRMBand& band = image_.Band(static_cast<int>(c));
    const Pixels pixels = ReadPixels(band, 0, WholeOf(band));
    ASSERT_EQ(oracle_.width, pixels.width);
    ASSERT_EQ(oracle_.height, pixels.height);
    EXPECT_LE(LargestDifference(oracle_.channels[c], pixels.bytes), GetParam().oracleTolerance) << "channel " << c;
  }
}

TEST_P(AgainstGdal, StatisticsAreTheSame) {
  if (GetParam().levels == LevelRule::kDecimated) GTEST_SKIP() << "its statistics are those of its coarsest level";
  const double tolerance = GetParam().oracleTolerance;
  for (std::size_t c = 0; c < oracle_.channels.size(); ++c) {
    const ZRMBand& band = image_.Band(static_cast<int>(c));
    const OracleImage::Statistics& wanted = oracle_.statistics[c];
    EXPECT_NEAR(wanted.min, band.GetBandMin(), tolerance);
    EXPECT_NEAR(wanted.max, band.GetBandMax(), tolerance);
    EXPECT_NEAR(wanted.mean, band.GetBandMean(), tolerance + 1e-9 * wanted.mean);
    EXPECT_NEAR(wanted.stdDev, band.GetBandStdDev(), tolerance + 1e-9 * wanted.stdDev);
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, AgainstGdal, testing::ValuesIn(AllSamples()),
                         [](const auto& sample) { return std::string(sample.param.name); });

}  // namespace
