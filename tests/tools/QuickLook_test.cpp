// The picture that zrkio view makes of bands in memory: stretch, means, levels and strips. The bytes of the small
// pictures are worked out by hand.

#include "picture/QuickLook.h"
#include "MemoryBand.h"
#include "PngReader.h"
#include "TempFolder.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

class QuickLook : public testing::Test {
 protected:
  DecodedPng Show(const std::vector<ZRMBand*>& bands, int maxSize, const Look& look = {}) {
    const std::string path = folder_.Path("out.png");
    PngShape shape = FitPicture(bands[0]->GetXSize(), bands[0]->GetYSize(), maxSize);
    shape.channels = static_cast<int>(bands.size());
    OutputFile output;
    EXPECT_TRUE(output.Open(path, "", err_));
    PngWriter png(output);
    XThread thread;
    if (!WriteQuickLook({bands, WholeOf(*bands.front()), look}, shape, png, thread, err_) || !output.Commit(err_))
      return {};
    return DecodePng(path);
  }
  static void SetStatistics(ZRMBand& band, double min, double max, double mean, double deviation) {
    band.SetBandMin(min);
    band.SetBandMax(max);
    band.SetBandMean(mean);
    band.SetBandStdDev(deviation);
  }
  TempFolder folder_;
  std::string err_;
};

using Samples = std::vector<unsigned char>;

TEST_F(QuickLook, WideSamplesAreStretchedByTwoDeviations) {
  MemoryBand band;
  band.SetSamples<std::uint16_t>(6, 1, {0, 800, 900, 1000, 1200, 5000});
  SetStatistics(band, 0, 5000, 1000, 100);
  // 800 to 1200 become 0 to 255: 900 is 63.75 and 1000 is 127.5 of them.
  EXPECT_EQ((Samples{0, 0, 64, 128, 255, 255}), Show({&band}, 100).samples);
}

TEST_F(QuickLook, TheStretchEndsAtMinimumAndMaximum) {
  MemoryBand band;
  band.SetSamples<std::int16_t>(3, 1, {-10, 0, 10});
  SetStatistics(band, -10, 10, 0, 100);
  EXPECT_EQ((Samples{0, 128, 255}), Show({&band}, 100).samples);
}

TEST_F(QuickLook, StatisticsAreComputedWhereThereAreNone) {
  MemoryBand band;
  band.SetSamples<float>(4, 1, {1.0f, 2.0f, 2.0f, 3.0f});
  // Mean 2 and deviation 0.8165: the ends are minimum and maximum.
  EXPECT_EQ((Samples{0, 128, 128, 255}), Show({&band}, 100).samples);
}

TEST_F(QuickLook, NullSamplesAreBlackAndCountForNothing) {
  MemoryBand band;
  band.SetSamples<float>(4, 1, {-9999.0f, -9999.0f, -9999.0f, 30.0f});
  band.SetNullValue(-9999.0);
  SetStatistics(band, 10, 30, 20, 100);
  EXPECT_EQ((Samples{0, 255}), Show({&band}, 2).samples);
}

TEST_F(QuickLook, AnImageOfOneValueIsBlack) {
  MemoryBand band;
  band.SetSamples<std::uint16_t>(2, 1, {7, 7});
  EXPECT_EQ((Samples{0, 0}), Show({&band}, 100).samples);
}

TEST_F(QuickLook, ThreeBandsAreInterleaved) {
  MemoryBand red, green, blue;
  red.SetSamples<std::uint8_t>(2, 2, {1, 2, 3, 4});
  green.SetSamples<std::uint8_t>(2, 2, {11, 12, 13, 14});
  blue.SetSamples<std::uint8_t>(2, 2, {21, 22, 23, 24});
  EXPECT_EQ((Samples{1, 11, 21, 2, 12, 22, 3, 13, 23, 4, 14, 24}), Show({&red, &green, &blue}, 100).samples);
}

TEST_F(QuickLook, TheCoarsestLevelWithEnoughPixelsIsRead) {
  MemoryBand band;
  band.SetSize(1024, 1024);
  std::vector<std::uint8_t> samples(1024 * 1024, 0);
  // Level 2 takes every fourth sample each way, and so meets these only.
  for (std::size_t y = 0; y < 1024; y += 4) {
    for (std::size_t x = 0; x < 1024; x += 4) samples[y * 1024 + x] = 200;
  }
  band.SetSamples(1024, 1024, samples);
  EXPECT_EQ(Samples(256 * 256, 200), Show({&band}, 256).samples);
}

TEST_F(QuickLook, StripsMeetWithoutASeam) {
  MemoryBand band;
  std::vector<std::uint8_t> samples;
  for (int y = 0; y < 1500; ++y) samples.insert(samples.end(), 3, static_cast<std::uint8_t>(y / 10));
  band.SetSamples(3, 1500, samples);
  band.SetTileSize(2000, 2000);  // no level but 0
  const DecodedPng picture = Show({&band}, 150);
  ASSERT_EQ(150, picture.height);
  for (int y = 0; y < 150; ++y) ASSERT_EQ(y, picture.At(0, y, 0));
}

TEST_F(QuickLook, ABandThatCannotBeReadFails) {
  MemoryBand band;
  band.SetRamp<std::uint8_t>(4, 4);
  band.FailReads();
  EXPECT_EQ(0, Show({&band}, 100).width);
  EXPECT_EQ("the pixels can't be read", err_);
}

TEST(FitPicture, KeepsTheProportionsWithinTheLimit) {
  const PngShape shape = FitPicture(4000, 1000, 300);
  EXPECT_EQ(300, shape.width);
  EXPECT_EQ(75, shape.height);
}

TEST(FitPicture, NeverEnlarges) {
  const PngShape shape = FitPicture(40, 10, 300);
  EXPECT_EQ(40, shape.width);
  EXPECT_EQ(10, shape.height);
}

TEST(FitPicture, LeavesAtLeastOnePixel) {
  EXPECT_EQ(1, FitPicture(100000, 1, 10).height);
  EXPECT_EQ(1, FitPicture(1, 100000, 10).width);
}

}  // namespace
