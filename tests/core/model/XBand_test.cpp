#include "MemoryBand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <climits>

using testing::ElementsAre;

namespace {

constexpr int kWidth = 20;
constexpr int kHeight = 12;

MemoryBand& Ramp(MemoryBand& band) {
  band.SetRamp<std::uint16_t>(kWidth, kHeight);
  return band;
}

/// Keeps what the write operations pass on.
class WritableBand : public ZRMBand {
 public:
  WritableBand() { SetSize(4, 3); }

  using ZRMBand::WriteSubset;
  int WriteSubset(tagXArr2* data, int x0, int x1, int y0, int y1, bool keepNull, double nullValue) override {
    window = {x0, x1, y0, y1};
    samples = SamplesOf<unsigned char>(*data);
    lastByOffsets = data->data[data->rowOffsets[data->ySize - 1] + data->colOffsets[data->xSize - 1]];
    keptNull = keepNull;
    null = nullValue;
    return 1;
  }

  std::vector<int> window;
  std::vector<unsigned char> samples;
  unsigned char lastByOffsets = 0;
  bool keptNull = false;
  double null = 0.0;
};

}  // namespace

TEST(XBand, ANewBandHasTheDocumentedDefaults) {
  ZRMBand band;
  EXPECT_EQ(band.GetDataType(), kPint08);
  EXPECT_EQ(band.GetXTileSize(), 256);
  EXPECT_EQ(band.GetYTileSize(), 256);
  EXPECT_EQ(band.GetNullValue(), 1.7e+308);
  EXPECT_EQ(band.GetBandMean(), 1.7e+308);
  EXPECT_EQ(band.GetBandStdDev(), 1.7e+308);
  EXPECT_EQ(band.GetXSize(), 0);
}

TEST(XBand, AWindowIsReadWithBothItsEnds) {
  MemoryBand band;
  tagXArr2* out = nullptr;
  ASSERT_EQ(Ramp(band).ReadSubset(out, 0, 2, 4, 1, 2, nullptr), 1);
  EXPECT_THAT(SamplesOf<std::uint16_t>(*out), ElementsAre(102, 103, 104, 202, 203, 204));
}

TEST(XBand, AWindowOutsideTheBandFailsAndLeavesTheOutput) {
  MemoryBand band;
  Ramp(band);
  tagXArr2 before;
  tagXArr2* out = &before;
  EXPECT_EQ(band.ReadSubset(out, 0, 0, kWidth, 0, 0, nullptr), 0);
  EXPECT_EQ(band.ReadSubset(out, 0, 5, 4, 0, 0, nullptr), 0);
  EXPECT_EQ(band.ReadSubset(out, 0, -1, 4, 0, 0, nullptr), 0);
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 4, 0, kHeight, nullptr), 0);
  EXPECT_EQ(out, &before);
}

TEST(XBand, ALevelThatLeavesNoPixelFails) {
  MemoryBand band;
  Ramp(band);
  tagXArr2* out = nullptr;
  EXPECT_EQ(band.ReadSubset(out, 3, 0, 6, 0, 6, nullptr), 0);
  ASSERT_EQ(band.ReadSubset(out, 3, 1, 8, 2, 10, nullptr), 1);
  EXPECT_THAT(SamplesOf<std::uint16_t>(*out), ElementsAre(201));
}

TEST(XBand, ALineAtALevelStandsForSeveralRows) {
  MemoryBand band;
  tagXArr2* out = nullptr;
  ASSERT_EQ(Ramp(band).ReadLineH(out, 2, 3, 14, 5), 1);
  EXPECT_THAT(SamplesOf<std::uint16_t>(*out), ElementsAre(503, 507, 511));
  ASSERT_EQ(band.ReadLineV(out, 1, 7, 2, 7), 1);
  EXPECT_THAT(SamplesOf<std::uint16_t>(*out), ElementsAre(207, 407, 607));
}

TEST(XBand, AShortLineReadsTheWholeWidthOrHeight) {
  MemoryBand band;
  tagXArr2* out = nullptr;
  ASSERT_EQ(Ramp(band).ReadLineH(out, 0, 11), 1);
  EXPECT_EQ(out->xSize, kWidth);
  EXPECT_EQ(out->ySize, 1);
  EXPECT_EQ(SamplesOf<std::uint16_t>(*out).back(), 1119);
  ASSERT_EQ(band.ReadLineV(out, 0, 19), 1);
  EXPECT_EQ(out->xSize, 1);
  EXPECT_EQ(out->ySize, kHeight);
  EXPECT_EQ(SamplesOf<std::uint16_t>(*out).front(), 19);
}

TEST(XBand, ALineThatLeavesTheBandFailsBeforeTheRead) {
  MemoryBand band;
  Ramp(band);
  tagXArr2* out = nullptr;
  EXPECT_EQ(band.ReadLineH(out, 0, kHeight), 0);
  EXPECT_EQ(band.ReadLineH(out, 2, 0, 7, kHeight - 3), 0);
  EXPECT_EQ(band.ReadLineV(out, 0, -1), 0);
  EXPECT_EQ(band.ReadLineV(out, 3, kWidth - 7, 0, 8), 0);
  EXPECT_EQ(band.ReadPixel(out, kWidth, 0), 0);
  EXPECT_EQ(band.GetNumReads(), 0);
  EXPECT_EQ(out, nullptr);
}

TEST(XBand, AnImpossibleLevelFails) {
  MemoryBand band;
  Ramp(band);
  tagXArr2* out = nullptr;
  int a = -1, b = -1, c = -1, d = -1;
  for (const int level : {-1, INT_MIN, 31, 32, 64, INT_MAX}) {
    EXPECT_EQ(band.ReadLineH(out, level, 0), 0) << level;
    EXPECT_EQ(band.ReadLineV(out, level, 0), 0) << level;
    EXPECT_EQ(band.GetSubsetInfo(level, 0, 7, 0, 7, a, b, c, d), 0) << level;
    EXPECT_EQ(band.GetSubsetPos(level, 0, 7, 0, 7, a, b, c, d), 0) << level;
  }
  EXPECT_THAT((std::vector{a, b, c, d}), ElementsAre(-1, -1, -1, -1));
}

TEST(XBand, ALineFarOutsideTheBandDoesNotOverflow) {
  MemoryBand band;
  tagXArr2* out = nullptr;
  EXPECT_EQ(Ramp(band).ReadLineH(out, 30, INT_MAX), 0);
  EXPECT_EQ(band.ReadLineV(out, 30, INT_MAX - 1), 0);
  EXPECT_EQ(band.ReadLineH(out, 30, INT_MIN), 0);
}

TEST(XBand, APixelIsReadAtFullResolution) {
  MemoryBand band;
  tagXArr2* out = nullptr;
  ASSERT_EQ(Ramp(band).ReadPixel(out, 17, 9), 1);
  EXPECT_THAT(SamplesOf<std::uint16_t>(*out), ElementsAre(917));
}

TEST(XBand, TheRawFormOfAReadAnswersSamplesAndShape) {
  MemoryBand band;
  Ramp(band);
  void* data = nullptr;
  int width = 0, height = 0;
  ASSERT_EQ(band.ReadSubset(data, width, height, 1, 4, 9, 2, 5, nullptr), 1);
  EXPECT_EQ(width, 3);
  EXPECT_EQ(height, 2);
  EXPECT_EQ(static_cast<const std::uint16_t*>(data)[5], 408);
  EXPECT_EQ(band.ReadSubset(data, width, height, 0, 0, kWidth, 0, 0, nullptr), 0);
  EXPECT_EQ(width, 3);
}

TEST(XBand, ABandWithoutAReaderServesNothing) {
  ZRMBand band;
  band.SetSize(8, 8);
  tagXArr2* out = nullptr;
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 7, 0, 7, nullptr), 0);
  EXPECT_EQ(band.BuildLowerLevelsForTIP(0.0, 0, 1, 0, 1, false), 0);
  EXPECT_EQ(band.CleanupMemory(1, 1), 1);
}

TEST(XBand, WritesFailWhereTheClassDoesNotWrite) {
  ZRMBand band;
  band.SetSize(4, 3);
  std::vector<unsigned char> line(4, 7);
  tagXArr2 buffer(4, 1, 1);
  void* data = line.data();
  EXPECT_EQ(band.WriteLineH(data, 0, 3, 0, false, 0.0), 0);
  EXPECT_EQ(band.WriteLineV(&buffer, 0, false, 0.0), 0);
  EXPECT_EQ(band.WritePixel(data, 0, 0, false, 0.0), 0);
  EXPECT_EQ(band.WriteSubset(0, 3, 0, 2, false, 0.0), 0);
}

TEST(XBand, EveryWriteOfRawSamplesEndsInTheLastForm) {
  WritableBand band;
  const auto expect = [&](int result, const std::vector<int>& window, const std::vector<unsigned char>& samples) {
    EXPECT_EQ(result, 1);
    EXPECT_EQ(band.window, window);
    EXPECT_EQ(band.samples, samples);
    EXPECT_EQ(band.lastByOffsets, samples.back());
  };
  std::vector<unsigned char> pixels = {1, 2, 3, 4, 5, 6};
  void* data = pixels.data();
  expect(band.WriteLineH(data, 1, 2, 2, true, 9.0), {1, 2, 2, 2}, {1, 2});
  expect(band.WriteLineH(data, 1, true, 9.0), {0, 3, 1, 1}, {1, 2, 3, 4});
  expect(band.WriteLineV(data, 3, 1, 2, true, 9.0), {3, 3, 1, 2}, {1, 2});
  expect(band.WriteLineV(data, 0, true, 9.0), {0, 0, 0, 2}, {1, 2, 3});
  expect(band.WritePixel(data, 2, 1, true, 9.0), {2, 2, 1, 1}, {1});
  expect(band.WriteSubset(data, 1, 2, 0, 2, true, 9.0), {1, 2, 0, 2}, pixels);
  EXPECT_TRUE(band.keptNull);
  EXPECT_EQ(band.null, 9.0);
}

TEST(XBand, EveryWriteOfABufferEndsInTheLastForm) {
  WritableBand band;
  tagXArr2 buffer(1, 1, 1);
  *buffer.data = 42;
  const auto expect = [&](int result, const std::vector<int>& window) {
    EXPECT_EQ(result, 1);
    EXPECT_EQ(band.window, window);
    EXPECT_THAT(band.samples, ElementsAre(42));
  };
  expect(band.WriteLineH(&buffer, 1, 2, 2, false, 0.0), {1, 2, 2, 2});
  expect(band.WriteLineH(&buffer, 1, false, 0.0), {0, 3, 1, 1});
  expect(band.WriteLineV(&buffer, 3, 1, 2, false, 0.0), {3, 3, 1, 2});
  expect(band.WriteLineV(&buffer, 0, false, 0.0), {0, 0, 0, 2});
  expect(band.WritePixel(&buffer, 2, 1, false, 0.0), {2, 2, 1, 1});
}

TEST(XBand, RawWritesOutsideTheBandDoNotTouchTheSamples) {
  WritableBand band;
  unsigned char sample = 0;
  void* data = &sample;
  EXPECT_EQ(band.WritePixel(data, 4, 0, false, 0.0), 0);
  EXPECT_EQ(band.WriteLineH(data, 3, false, 0.0), 0);
  EXPECT_EQ(band.WriteLineV(data, 0, 2, 1, false, 0.0), 0);
  EXPECT_EQ(band.WritePixel(static_cast<void*>(nullptr), 0, 0, false, 0.0), 0);
  band.SetSize(INT_MAX, INT_MAX);
  EXPECT_EQ(band.WriteSubset(data, 0, INT_MAX - 1, 0, INT_MAX - 1, false, 0.0), 0);
  EXPECT_TRUE(band.window.empty());
}

TEST(XBand, SubsetInfoTellsPlaceAndSizeOfARead) {
  MemoryBand band;
  Ramp(band);
  int left = -1, top = -1, width = -1, height = -1;
  ASSERT_EQ(band.GetSubsetInfo(2, 5, 18, 3, 10, left, top, width, height), 1);
  EXPECT_THAT((std::vector{left, top, width, height}), ElementsAre(1, 0, 3, 2));
  tagXArr2* out = nullptr;
  ASSERT_EQ(band.ReadSubset(out, 2, 5, 18, 3, 10, nullptr), 1);
  EXPECT_EQ(out->xSize, width);
  EXPECT_EQ(out->ySize, height);
}

TEST(XBand, SubsetInfoFailsWhereAReadDoes) {
  MemoryBand band;
  Ramp(band);
  int left = -1, top = -1, width = -1, height = -1;
  EXPECT_EQ(band.GetSubsetInfo(3, 0, 6, 0, 6, left, top, width, height), 0);
  EXPECT_EQ(band.GetSubsetInfo(0, 0, kWidth, 0, 6, left, top, width, height), 0);
  EXPECT_THAT((std::vector{left, top, width, height}), ElementsAre(-1, -1, -1, -1));
}

TEST(XBand, SubsetPosTellsTheEdgesOnTheLevel) {
  MemoryBand band;
  int left = -1, right = -1, top = -1, bottom = -1;
  ASSERT_EQ(Ramp(band).GetSubsetPos(1, 5, 18, 3, 10, left, right, top, bottom), 1);
  EXPECT_THAT((std::vector{left, right, top, bottom}), ElementsAre(2, 9, 1, 5));
  EXPECT_EQ(band.GetSubsetPos(1, 6, 5, 3, 10, left, right, top, bottom), 0);
  EXPECT_EQ(left, 2);
}

TEST(XBand, TheLevelCountFollowsFromSizeAndTileSize) {
  ZRMBand band;
  band.SetSize(1000, 600);
  EXPECT_EQ(band.GetLevel(), 2);  // 1000 >> 2 is 250
  band.SetTileSize(64, 1000);
  EXPECT_EQ(band.GetLevel(), 4);  // 1000 >> 4 is 62
}

TEST(XBand, TheLevelForATargetIsNeverAboveTheLevelCount) {
  ZRMBand band;
  band.SetSize(1000, 600);
  EXPECT_EQ(band.GetHighestLevelForTarget(0, 999, 0, 599, 500, 300), 1);
  EXPECT_EQ(band.GetHighestLevelForTarget(0, 999, 0, 599, 10, 10), 2);
}

TEST(XBand, ARowMayTakeTenTimesItsBytes) {
  ZRMBand band;
  band.SetSize(1000, 10);
  band.SetDataType(kReal64);
  EXPECT_EQ(band.CalcProcessWidthBytes(), 80000);
  band.SetXSize(INT_MAX);
  EXPECT_EQ(band.CalcProcessWidthBytes(), INT_MAX);
}

TEST(XBand, TheHistogramIsCopied) {
  ZRMBand band;
  std::vector<std::int64_t> counts(256);
  for (std::size_t i = 0; i < counts.size(); ++i) counts[i] = static_cast<std::int64_t>(i) << 33;
  band.SetHistogram(counts.data());
  counts[255] = 0;
  EXPECT_EQ(band.GetHistogram()[1], std::int64_t{1} << 33);
  EXPECT_EQ(band.GetHistogram()[255], std::int64_t{255} << 33);
}

TEST(XBand, ANullHistogramLeavesTheOneBefore) {
  ZRMBand band;
  const std::vector<std::int64_t> counts(256, 5);
  band.SetHistogram(counts.data());
  band.SetHistogram(nullptr);
  EXPECT_EQ(band.GetHistogram()[0], 5);
  EXPECT_EQ(band.GetHistogram()[255], 5);
}
