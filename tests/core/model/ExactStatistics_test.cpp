// Statistics of all pixels. Expected values are worked out by hand, or by a plain loop in long doubles over the samples
// that the test made.

#include "XExactStatistics.h"

#include "base/ReadError.h"
#include "MemoryBand.h"
#include "XJointReader.h"
#include "XSystem.h"
#include "XThread.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

int Measure(ZRMBand& band, int withHistogram = 1, XThread* thread = nullptr) {
  ZRMBand* const bands[] = {&band};
  return XfnCalcExactStatistics(bands, withHistogram, thread);
}

std::int64_t CountAll(const ZRMBand& band) {
  return std::accumulate(band.GetHistogram(), band.GetHistogram() + 256, std::int64_t{0});
}

std::string LastReason() {
  XString reason;
  XfnGetLastReadError(reason);
  return reason.AsStdString();
}

/// Grants workers for the time of a test.
struct Workers {
  explicit Workers(int count) { XfnSetWorkerCount(count); }
  ~Workers() { XfnSetWorkerCount(1); }
};

/// A band of many strips, whose samples have no pattern.
template <class Sample>
void Fill(MemoryBand& band, int width, int height) {
  std::vector<Sample> samples;
  std::uint32_t state = 1;
  for (int i = 0; i < width * height; ++i) {
    state = state * 1664525U + 1013904223U;
    samples.push_back(static_cast<Sample>(static_cast<Sample>(state >> 8) / 3));
  }
  band.SetSamples(width, height, samples);
}

/// A band that answers other pixels than it was asked for.
class LazyBand : public MemoryBand {
 public:
  using MemoryBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int, int* cancel) override {
    return MemoryBand::ReadSubset(out, level, x0, x1, y0, y0, cancel);
  }
};

/// Bands with one source, which count the reads that serve all of them.
class JointBand : public MemoryBand, public XJointReader {
 public:
  explicit JointBand(int& jointReads) : jointReads_(jointReads) {}
  const void* GetJointSource() const override { return &jointReads_; }
  int ReadJointly(std::span<ZRMBand* const> bands, int x0, int x1, int y0, int y1, int* cancel,
                  std::span<tagXArr2*> out) override {
    ++jointReads_;
    for (std::size_t i = 0; i < bands.size(); ++i) {
      if (!bands[i]->ReadSubset(out[i], 0, x0, x1, y0, y1, cancel)) return 0;
    }
    return 1;
  }

 private:
  int& jointReads_;
};

/// A band of 8,192 columns whose reads fail from a row on, with the row in the sentence.
class CutBand : public MemoryBand {
 public:
  CutBand() { SetRamp<std::uint8_t>(8192, 2048); }
  using MemoryBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) override {
    return zrk::ReadPixels([&] {
      if (y1 < 500) return MemoryBand::ReadSubset(out, level, x0, x1, y0, y1, cancel);
      return zrk::FailRead(("no row " + std::to_string(std::max(y0, 500))).c_str());
    });
  }
};

}  // namespace

TEST(ExactStatistics, TakeAllPixelsWhereTheEstimateTakesEverySecond) {
  MemoryBand band;
  band.SetTileSize(2, 2);
  band.SetRamp<std::int32_t>(8, 8);  // x + 100 * y
  ASSERT_EQ(1, Measure(band));
  EXPECT_EQ(0.0, band.GetBandMin());
  EXPECT_EQ(707.0, band.GetBandMax());
  EXPECT_EQ(353.5, band.GetBandMean());
  // The variance of 0 to 7, once for columns and 10,000 times for rows, is 5.25 each; 64 samples over 63.
  EXPECT_DOUBLE_EQ(std::sqrt(10001 * 5.25 * 64 / 63), band.GetBandStdDev());
  EXPECT_EQ(64, CountAll(band));
}

TEST(ExactStatistics, AreWhatCalcStatisticsGivesInTheExactPolicy) {
  MemoryBand band;
  band.SetTileSize(2, 2);
  band.SetRamp<std::int32_t>(8, 8);
  band.SetReadPolicy(kReadExact);
  ASSERT_EQ(1, band.CalcStatistics(0));
  EXPECT_EQ(707.0, band.GetBandMax());
}

TEST(ExactStatistics, AreNotWhatCalcStatisticsGivesInTheCompatiblePolicy) {
  MemoryBand band;
  band.SetTileSize(2, 2);
  band.SetRamp<std::int32_t>(8, 8);
  ASSERT_EQ(1, band.CalcStatistics(0));
  EXPECT_EQ(606.0, band.GetBandMax());  // of every second pixel
}

TEST(ExactStatistics, LeaveOutNullSamplesAndWhatIsNotFinite) {
  MemoryBand band;
  const double huge = std::numeric_limits<double>::infinity();
  band.SetSamples<double>(3, 2, {1.0, -9999.0, kNaN, huge, -huge, 4.0});
  band.SetNullValue(-9999.0);
  ASSERT_EQ(1, Measure(band));
  EXPECT_EQ(1.0, band.GetBandMin());
  EXPECT_EQ(4.0, band.GetBandMax());
  EXPECT_EQ(2.5, band.GetBandMean());
  EXPECT_EQ(1, band.GetHistogram()[0]);
  EXPECT_EQ(1, band.GetHistogram()[255]);
  EXPECT_EQ(2, CountAll(band));
}

TEST(ExactStatistics, AreThoseOfAPlainLoopForEachType) {
  const auto check = [](auto zero) {
    using Sample = decltype(zero);
    MemoryBand band;
    Fill<Sample>(band, 1237, 400);
    ASSERT_EQ(1, Measure(band));
    tagXArr2* pixels = nullptr;
    ASSERT_EQ(1, band.ReadSubset(pixels, 0, 0, 1236, 0, 399, nullptr));
    const std::vector<Sample> all = SamplesOf<Sample>(*pixels);
    long double sum = 0, squares = 0;
    for (const Sample sample : all) sum += sample;
    const long double mean = sum / static_cast<long double>(all.size());
    for (const Sample sample : all) squares += (sample - mean) * (sample - mean);
    EXPECT_EQ(static_cast<double>(*std::ranges::min_element(all)), band.GetBandMin());
    EXPECT_EQ(static_cast<double>(*std::ranges::max_element(all)), band.GetBandMax());
    EXPECT_NEAR(static_cast<double>(mean), band.GetBandMean(), std::abs(static_cast<double>(mean)) * 1e-14);
    const auto deviation = static_cast<double>(std::sqrt(squares / static_cast<long double>(all.size() - 1)));
    EXPECT_NEAR(deviation, band.GetBandStdDev(), deviation * 1e-13);
    EXPECT_EQ(static_cast<std::int64_t>(all.size()), CountAll(band));
  };
  for (int dataType = kPint08; dataType <= kReal64; ++dataType) {
    SCOPED_TRACE(dataType);
    zrk::VisitDataType(dataType, check);
  }
}

TEST(ExactStatistics, OnThreadsAreThoseOfOneToTheLastBit) {
  MemoryBand band;
  Fill<float>(band, 3001, 700);  // eight strips
  ASSERT_EQ(1, Measure(band));
  const double mean = band.GetBandMean(), deviation = band.GetBandStdDev();
  const std::vector<std::int64_t> histogram(band.GetHistogram(), band.GetHistogram() + 256);
  for (const int count : {2, 3, 7}) {
    const Workers workers(count);
    ASSERT_EQ(1, Measure(band));
    EXPECT_EQ(mean, band.GetBandMean()) << count;
    EXPECT_EQ(deviation, band.GetBandStdDev()) << count;
    EXPECT_TRUE(std::ranges::equal(histogram, std::span(band.GetHistogram(), 256))) << count;
  }
}

TEST(ExactStatistics, ReadWideSamplesTwiceForTheHistogramOnly) {
  MemoryBand wide, narrow;
  wide.SetRamp<float>(8, 8);
  narrow.SetRamp<std::uint16_t>(8, 8);
  ASSERT_EQ(1, Measure(wide, 0));
  EXPECT_EQ(1, wide.GetNumReads());
  ASSERT_EQ(1, Measure(wide, 1));
  EXPECT_EQ(3, wide.GetNumReads());
  ASSERT_EQ(1, Measure(narrow, 1));
  EXPECT_EQ(1, narrow.GetNumReads());
}

TEST(ExactStatistics, LeaveTheHistogramWhereItIsNotAskedFor) {
  MemoryBand band;
  band.SetSamples<std::uint8_t>(2, 1, {3, 9});
  ASSERT_EQ(1, Measure(band, 0));
  EXPECT_EQ(9.0, band.GetBandMax());
  EXPECT_EQ(0, CountAll(band));
}

TEST(ExactStatistics, ReadBandsOfOneFileTogether) {
  int jointReads = 0;
  JointBand bands[3] = {JointBand(jointReads), JointBand(jointReads), JointBand(jointReads)};
  for (int i = 0; i < 3; ++i) bands[i].SetSamples<std::uint8_t>(2, 1, {static_cast<std::uint8_t>(i), 9});
  ZRMBand* const all[] = {&bands[0], &bands[1], &bands[2]};
  ASSERT_EQ(1, XfnCalcExactStatistics(all, 1));
  EXPECT_EQ(1, jointReads);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(i, bands[i].GetBandMin());
}

TEST(ExactStatistics, TakeBandsOfManyShapesAndTypes) {
  MemoryBand small, large, real;
  small.SetSamples<std::uint8_t>(1, 1, {7});
  large.SetRamp<std::uint8_t>(3, 2);
  real.SetSamples<float>(1, 1, {0.5F});
  ZRMBand* const all[] = {&small, &large, &real};
  ASSERT_EQ(1, XfnCalcExactStatistics(all, 1));
  EXPECT_EQ(7.0, small.GetBandMean());
  EXPECT_EQ(0.0, small.GetBandStdDev());
  EXPECT_EQ(102.0, large.GetBandMax());
  EXPECT_EQ(0.5, real.GetBandMean());
  EXPECT_EQ(1, real.GetHistogram()[255]);
}

TEST(ExactStatistics, OfStripsOfTilesAreThoseOfTheWhole) {
  MemoryBand band;
  Fill<float>(band, 3001, 700);
  ASSERT_EQ(1, Measure(band));
  const double maximum = band.GetBandMax(), mean = band.GetBandMean();
  const int reads = band.GetNumReads();
  band.ClaimTiles();
  ASSERT_EQ(1, Measure(band));
  // Twice three rows of tiles, each in more than one read: a row of them has three megabytes.
  EXPECT_GT(band.GetNumReads() - reads, 2 * 3);
  EXPECT_EQ(maximum, band.GetBandMax());
  EXPECT_NEAR(mean, band.GetBandMean(), mean * 1e-14);
}

TEST(ExactStatistics, OfNullSamplesAloneAreNotKnown) {
  MemoryBand band;
  band.SetSamples<std::uint8_t>(2, 1, {7, 7});
  ASSERT_EQ(1, Measure(band));
  band.SetNullValue(7.0);
  ASSERT_EQ(1, Measure(band));
  for (const double value : {band.GetBandMin(), band.GetBandMax(), band.GetBandMean(), band.GetBandStdDev()}) {
    EXPECT_EQ(kNotSet, value);
  }
  EXPECT_EQ(0, CountAll(band));
}

TEST(ExactStatistics, FailAsAWholeWithAReadAndLeaveAllFields) {
  MemoryBand good;
  good.SetSamples<std::uint8_t>(1, 1, {7});
  good.SetBandMean(5.0);
  CutBand bad;
  ZRMBand* const all[] = {&good, &bad};
  EXPECT_EQ(0, XfnCalcExactStatistics(all, 1));
  EXPECT_EQ("no row 500", LastReason());
  EXPECT_EQ(5.0, good.GetBandMean());
}

TEST(ExactStatistics, OnThreadsTellTheFirstStripThatFails) {
  CutBand band;
  for (int i = 0; i < 20; ++i) {
    const Workers workers(4);
    EXPECT_EQ(0, Measure(band));
    EXPECT_EQ("no row 500", LastReason());
  }
}

TEST(ExactStatistics, FailWhereABandAnswersWithOtherPixels) {
  LazyBand band;
  band.SetRamp<std::uint8_t>(4, 4);
  EXPECT_EQ(0, Measure(band));
  EXPECT_EQ("A band has answered with other pixels than those asked for", LastReason());
}

TEST(ExactStatistics, FailWithoutABandPixelsOrScalars) {
  ZRMBand* const none[] = {nullptr};
  EXPECT_EQ(0, XfnCalcExactStatistics(none, 1));
  EXPECT_EQ("There is no band", LastReason());
  MemoryBand band;
  EXPECT_EQ(0, Measure(band));
  EXPECT_EQ("The band has no pixels", LastReason());
  band.SetRamp<std::uint8_t>(4, 4);
  band.SetDataType(kCreal32);
  EXPECT_EQ(0, Measure(band));
  EXPECT_EQ("The samples of the band are no scalars", LastReason());
}

TEST(ExactStatistics, StopWhereTheThreadIsAskedTo) {
  MemoryBand band;
  band.SetRamp<std::uint8_t>(4, 4);
  XThread thread;
  thread.SetState(XThread::kStateStop);
  EXPECT_EQ(0, Measure(band, 1, &thread));
  EXPECT_EQ("The read was stopped", LastReason());
  EXPECT_EQ(kNotSet, band.GetBandMean());
}

TEST(ExactStatistics, PostThePercentageUpToTheEnd) {
  struct Posts : XMessageTarget {
    void PostMessage(unsigned, XThread*, long value) override { values.push_back(value); }
    std::vector<long> values;
  } posts;
  XThread thread(&posts);
  MemoryBand band;
  Fill<float>(band, 3001, 700);
  ASSERT_EQ(1, Measure(band, 1, &thread));
  EXPECT_TRUE(std::ranges::is_sorted(posts.values));
  EXPECT_GT(posts.values.size(), 10U);
  EXPECT_EQ(100, posts.values.back());
  EXPECT_EQ(XThread::kResultNone, thread.GetResultCode());
}
