// Bands that show another band at another size. Small results are worked out by hand. Larger ones are compared with
// plain formulas that the tests hold for themselves, such as Keys' kernel summed over the whole neighbourhood.

#include "ZRMBandResize.h"
#include "ReadSamples.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <thread>

namespace {

template <class Sample>
std::vector<Sample> NoiseOf(int width, int height, unsigned seed) {
  std::mt19937_64 random(seed);
  std::vector<Sample> samples;
  for (int i = 0; i < width * height; ++i) {
    if constexpr (std::is_integral_v<Sample>) {
      samples.push_back(static_cast<Sample>(random()));
    } else {
      samples.push_back(static_cast<Sample>(std::uniform_real_distribution<double>(-1e6, 1e6)(random)));
    }
  }
  return samples;
}

/// The part of a whole image that a window at a level shows.
template <class Sample>
std::vector<Sample> Cut(const std::vector<Sample>& whole, int width, int level, int x0, int x1, int y0, int y1) {
  std::vector<Sample> part;
  for (int j = 0; j < (y1 - y0 + 1) >> level; ++j) {
    for (int i = 0; i < (x1 - x0 + 1) >> level; ++i) {
      part.push_back(whole[static_cast<std::size_t>((y0 + (j << level)) * width + x0 + (i << level))]);
    }
  }
  return part;
}

/// Keys' kernel with a = -0.5, by distance.
long double Kernel(long double d) {
  d = std::abs(d);
  if (d <= 1) return 1.5L * d * d * d - 2.5L * d * d + 1;
  if (d < 2) return -0.5L * d * d * d + 2.5L * d * d - 4 * d + 2;
  return 0;
}

/// The sum of kernel times sample over the whole neighbourhood of a place, with the image continued by its edge.
template <class Sample>
long double Convolve(const std::vector<Sample>& samples, int width, int height, long double x, long double y) {
  long double sum = 0;
  for (int v = static_cast<int>(std::floor(y)) - 3; v <= std::floor(y) + 3; ++v) {
    for (int u = static_cast<int>(std::floor(x)) - 3; u <= std::floor(x) + 3; ++u) {
      const int place = std::clamp(v, 0, height - 1) * width + std::clamp(u, 0, width - 1);
      sum += Kernel(x - u) * Kernel(y - v) * static_cast<long double>(samples[static_cast<std::size_t>(place)]);
    }
  }
  return sum;
}

template <class Sample>
class ZRMBandResizeOf : public testing::Test {
 protected:
  void Show(int width, int height, int method, int outWidth, int outHeight) {
    samples_ = NoiseOf<Sample>(width, height, 17);
    source_.SetSamples(width, height, samples_);
    band_.SetSourceBand(&source_);
    band_.SetResampleMethod(method);
    ASSERT_EQ(1, band_.SetResizeInfo(0, width - 1, 0, height - 1, outWidth, outHeight));
  }
  std::vector<Sample> samples_;
  MemoryBand source_;
  ZRMBandResize band_;
};
using AllSamples =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(ZRMBandResizeOf, AllSamples);

TYPED_TEST(ZRMBandResizeOf, TakesThePixelThatHoldsTheCentre) {
  for (const int outWidth : {1, 3, 4, 8, 9, 20}) {
    this->Show(8, 5, kResampleNearest, outWidth, 7);
    const auto out = ReadAll<TypeParam>(this->band_);
    for (int y = 0; y < 7; ++y) {
      for (int x = 0; x < outWidth; ++x) {
        const int u = (2 * x + 1) * 8 / (2 * outWidth), v = (2 * y + 1) * 5 / 14;
        ASSERT_EQ(this->samples_[static_cast<std::size_t>(v * 8 + u)], out[static_cast<std::size_t>(y * outWidth + x)]);
      }
    }
  }
}

TYPED_TEST(ZRMBandResizeOf, ConvolvesWithTheCubicKernel) {
  for (const int outWidth : {1, 2, 5, 7, 9, 10, 23}) {
    this->Show(9, 6, kResampleCubic, outWidth, 13);
    const auto out = ReadAll<TypeParam>(this->band_);
    for (int y = 0; y < 13; ++y) {
      for (int x = 0; x < outWidth; ++x) {
        long double expected =
            Convolve(this->samples_, 9, 6, (x + 0.5L) * 9 / outWidth - 0.5L, (y + 0.5L) * 6 / 13 - 0.5L);
        long double tolerance = 1e6L * 8 * std::numeric_limits<TypeParam>::epsilon();
        if constexpr (std::is_integral_v<TypeParam>) {
          expected = std::clamp<long double>(expected, std::numeric_limits<TypeParam>::lowest(),
                                             std::numeric_limits<TypeParam>::max());
          tolerance = 0.500001L;
        }
        ASSERT_NEAR(expected, static_cast<long double>(out[static_cast<std::size_t>(y * outWidth + x)]), tolerance);
      }
    }
  }
}

TYPED_TEST(ZRMBandResizeOf, ShowsTheSourceItselfAtItsOwnSize) {
  for (const int method : {kResampleNearest, kResampleMean, kResampleCubic}) {
    this->Show(13, 9, method, 13, 9);
    EXPECT_EQ(this->samples_, ReadAll<TypeParam>(this->band_)) << method;
  }
}

/// Every window at every level is the part of the whole that it names.
template <class Sample>
void ExpectWindowsOfTheWhole(ZRMBandResize& band) {
  const int width = band.GetXSize(), height = band.GetYSize();
  const auto whole = ReadAll<Sample>(band);
  for (int level = 0; level <= 2; ++level) {
    const int least = (1 << level) - 1;
    for (int y0 = 0; y0 < height; ++y0) {
      for (int y1 = y0 + least; y1 < height; ++y1) {
        for (int x0 = 0; x0 < width; ++x0) {
          for (int x1 = x0 + least; x1 < width; ++x1) {
            ASSERT_EQ(Cut(whole, width, level, x0, x1, y0, y1), Read<Sample>(band, level, x0, x1, y0, y1));
          }
        }
      }
    }
  }
}

TYPED_TEST(ZRMBandResizeOf, ReadsEveryWindowAsThePartOfTheWhole) {
  for (const int method : {kResampleNearest, kResampleMean, kResampleCubic}) {
    for (const double null : {kNotSet, 7.0}) {
      this->band_.SetNullValue(null);
      this->Show(13, 9, method, 6, 4);
      for (std::size_t i = 0; i < this->samples_.size(); i += 3) this->samples_[i] = 7;
      this->source_.SetSamples(13, 9, this->samples_);
      ExpectWindowsOfTheWhole<TypeParam>(this->band_);
      ASSERT_EQ(1, this->band_.SetResizeInfo(1, 12, 1, 8, 6, 4));
      ExpectWindowsOfTheWhole<TypeParam>(this->band_);
      ASSERT_EQ(1, this->band_.SetResizeInfo(1, 4, 2, 5, 8, 4));
      ExpectWindowsOfTheWhole<TypeParam>(this->band_);
    }
  }
}

TEST(ZRMBandResize, MeansTheWindowAlone) {
  MemoryBand source;
  source.SetSamples<std::uint8_t>(4, 3,
                                  {90, 90, 90, 90,  //
                                   90, 1, 2, 4,     //
                                   90, 5, 6, 9});
  ZRMBandResize band;
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(1, 2, 1, 2, 1, 1));
  EXPECT_EQ((std::vector<std::uint8_t>{4}), ReadAll<std::uint8_t>(band));  // 14 / 4
  ASSERT_EQ(1, band.SetResizeInfo(1, 3, 1, 2, 2, 1));
  // (1 + 5 + (2 + 6) / 2) / 3 and (4 + 9 + (2 + 6) / 2) / 3
  EXPECT_EQ((std::vector<std::uint8_t>{3, 6}), ReadAll<std::uint8_t>(band));
}

TEST(ZRMBandResize, MendsCubicPixelsNearNulls) {
  MemoryBand source;
  source.SetSamples<double>(5, 1, {10, 20, 30, kNotSet, 50});
  ZRMBandResize band;
  band.SetSourceBand(&source);
  band.SetResampleMethod(kResampleCubic);
  ASSERT_EQ(1, band.SetResizeInfo(0, 4, 0, 0, 10, 1));
  // Centres at -0.25, 0.25, 0.75 and so on. That at 1.25 has the null among its four, and the middle two are 20 and 30.
  const auto out = ReadAll<double>(band);
  EXPECT_DOUBLE_EQ(22.5, out[3]);
  EXPECT_DOUBLE_EQ(27.5, out[4]);
  EXPECT_DOUBLE_EQ(30, out[5]);  // between 30 and the null
  EXPECT_DOUBLE_EQ(30, out[6]);
  EXPECT_DOUBLE_EQ(50, out[7]);
  ASSERT_EQ(1, band.SetResizeInfo(0, 4, 0, 0, 5, 1));
  EXPECT_EQ((std::vector<double>{10, 20, 30, kNotSet, 50}), ReadAll<double>(band));
}

TEST(ZRMBandResize, LetsTheNullsOfTheSourceTakePartUnlessTheyAreItsOwn) {
  MemoryBand source;
  source.SetSamples<std::int16_t>(2, 2, {0, 10, 20, 0});
  source.SetNullValue(0.0);
  ZRMBandResize band;
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(0, 1, 0, 1, 1, 1));
  EXPECT_EQ((std::vector<std::int16_t>{8}), ReadAll<std::int16_t>(band));
  band.SetNullValue(0.0);
  ASSERT_EQ(1, band.SetResizeInfo(0, 1, 0, 1, 1, 1));
  EXPECT_EQ((std::vector<std::int16_t>{15}), ReadAll<std::int16_t>(band));
}

TEST(ZRMBandResize, LiesWhereItsWindowLies) {
  MemoryBand source;
  source.SetRamp<float>(100, 60);
  source.SetUpperLeft(1000.0, 500.0);
  source.SetPixelSize(2.0, 3.0);
  source.SetTileSize(64, 32);
  source.SetCoordinateKind(kCoordinateWorld);
  source.SetBandType(kBandTypeThematic);
  ZRMBandResize band;
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(10, 29, 5, 34, 5, 60));
  EXPECT_EQ(5, band.GetXSize());
  EXPECT_EQ(60, band.GetYSize());
  EXPECT_EQ(kReal32, band.GetDataType());
  EXPECT_EQ(1020.0, band.GetULX());
  EXPECT_EQ(485.0, band.GetULY());
  EXPECT_EQ(8.0, band.GetXPixelSize());
  EXPECT_EQ(1.5, band.GetYPixelSize());
  EXPECT_EQ(64, band.GetXTileSize());
  EXPECT_EQ(32, band.GetYTileSize());
  EXPECT_EQ(kCoordinateWorld, band.GetCoordinateKind());
  EXPECT_EQ(kBandTypeThematic, band.GetBandType());
}

TEST(ZRMBandResize, TakesItsSizeFromPixelSizes) {
  MemoryBand source;
  source.SetRamp<float>(100, 60);
  source.SetPixelSize(2.0, 3.0);
  ZRMBandResize band;
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(0, 99, 0, 59, 8.0, 7.0));
  EXPECT_EQ(25, band.GetXSize());
  EXPECT_EQ(26, band.GetYSize());  // 180 / 7 = 25.7
  EXPECT_EQ(8.0, band.GetXPixelSize());
  EXPECT_EQ(180.0 / 26, band.GetYPixelSize());
  ASSERT_EQ(1, band.SetResizeInfo(0, 0, 0, 0, 1000.0, -1000.0));
  EXPECT_EQ(1, band.GetXSize());
  EXPECT_EQ(0, band.SetResizeInfo(0, 99, 0, 59, 0.0, 1.0));
  EXPECT_EQ(0, band.SetResizeInfo(0, 99, 0, 59, 1.0, std::nan("")));
  EXPECT_EQ(0, band.SetResizeInfo(0, 99, 0, 59, 1e-12, 1.0));
}

TEST(ZRMBandResize, RefusesWhatCannotBeShown) {
  MemoryBand source;
  source.SetRamp<float>(10, 6);
  ZRMBandResize band;
  EXPECT_EQ(0, band.SetResizeInfo(0, 9, 0, 5, 5, 3));
  band.SetSourceBand(&band);
  EXPECT_EQ(0, band.SetResizeInfo(0, 0, 0, 0, 1, 1));
  band.SetSourceBand(&source);
  EXPECT_EQ(0, band.SetResizeInfo(0, 10, 0, 5, 5, 3));
  EXPECT_EQ(0, band.SetResizeInfo(-1, 9, 0, 5, 5, 3));
  EXPECT_EQ(0, band.SetResizeInfo(5, 4, 0, 5, 5, 3));
  EXPECT_EQ(0, band.SetResizeInfo(0, 9, 0, 6, 5, 3));
  EXPECT_EQ(0, band.SetResizeInfo(0, 9, 0, 5, 0, 3));
  EXPECT_EQ(0, band.SetResizeInfo(0, 9, 0, 5, 5, -3));
  EXPECT_EQ(0, band.SetResampleMethod(3));
  EXPECT_EQ(0, band.SetResampleMethod(-1));
  EXPECT_EQ(kResampleMean, band.GetResampleMethod());
  source.SetDataType(9);
  EXPECT_EQ(0, band.SetResizeInfo(0, 9, 0, 5, 5, 3));
  EXPECT_EQ(0, band.GetXSize());
}

TEST(ZRMBandResize, FailsReadsOfWindowsThatAreNotInside) {
  MemoryBand source;
  source.SetRamp<float>(10, 6);
  ZRMBandResize band;
  tagXArr2 untouched;
  tagXArr2* out = &untouched;
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr));
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(0, 9, 0, 5, 20, 12));
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 20, 0, 0, nullptr));
  EXPECT_EQ(0, band.ReadSubset(out, 0, 3, 2, 0, 0, nullptr));
  EXPECT_EQ(0, band.ReadSubset(out, 3, 0, 6, 0, 11, nullptr));
  EXPECT_EQ(0, band.ReadSubset(out, -1, 0, 19, 0, 11, nullptr));
  EXPECT_EQ(0, band.ReadSubset(out, 31, 0, 19, 0, 11, nullptr));
  band.SetSize(30, 30);
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 29, 0, 11, nullptr));
  source.FailReads();
  EXPECT_EQ(0, band.ReadSubset(out, 0, 0, 19, 0, 11, nullptr));
  EXPECT_EQ(&untouched, out);
}

/// A large source that is not in memory: sample x + y everywhere. It notes what is asked of it.
class PlaneBand : public ZRMBand {
 public:
  using ZRMBand::ReadSubset;
  int ReadSubset(tagXArr2*& out, int, int x0, int x1, int y0, int y1, int* cancel) override {
    tagXArr2* result = results_.GetBuffer(x1 - x0 + 1, y1 - y0 + 1, 8);
    for (int y = y0; y <= y1; ++y) {
      auto* row = reinterpret_cast<double*>(result->Row(y - y0));
      for (int x = x0; x <= x1; ++x) row[x - x0] = x + y;
    }
    mostBytes = std::max(mostBytes, std::int64_t{8} * result->xSize * result->ySize);
    rowsRead += result->ySize;
    seenCancel = cancel;
    ++numReads;
    if (onRead) onRead();
    out = result;
    return 1;
  }
  std::int64_t mostBytes = 0;
  int rowsRead = 0;
  int numReads = 0;
  int* seenCancel = nullptr;
  std::function<void()> onRead;

 private:
  XThreadSafeArr2 results_;
};

class ZRMBandResizeOfALargeSource : public testing::Test {
 protected:
  void Show(int width, int height, int outWidth, int outHeight) {
    source_.SetSize(width, height);
    source_.SetDataType(kReal64);
    band_.SetSourceBand(&source_);
    ASSERT_EQ(1, band_.SetResizeInfo(0, width - 1, 0, height - 1, outWidth, outHeight));
  }
  PlaneBand source_;
  ZRMBandResize band_;
};

TEST_F(ZRMBandResizeOfALargeSource, ReadsStripsOfSomeMegabytes) {
  Show(2000, 3000, 1000, 1500);
  const auto out = ReadAll<double>(band_);
  EXPECT_EQ(2.0 * 999 + 2.0 * 1499 + 1, out.back());
  EXPECT_LE(source_.mostBytes, 4 << 20);
  EXPECT_EQ(3000, source_.rowsRead);
}

TEST_F(ZRMBandResizeOfALargeSource, AddsRowsUpWhereOneOutputRowIsOverTooMany) {
  Show(1000, 2002, 4, 2);
  const auto out = ReadAll<double>(band_);
  EXPECT_LE(source_.mostBytes, 4 << 20);
  EXPECT_EQ(2002, source_.rowsRead);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 4; ++x) {
      EXPECT_DOUBLE_EQ(124.5 + 250 * x + 500 + 1001 * y, out[static_cast<std::size_t>(4 * y + x)]);
    }
  }
  EXPECT_EQ((std::vector<double>{out[5]}), Read<double>(band_, 0, 1, 1, 1, 1));
}

TEST_F(ZRMBandResizeOfALargeSource, ReadsNoRowsBetweenThoseThatAreTaken) {
  band_.SetResampleMethod(kResampleNearest);
  Show(100, 10000, 100, 100);
  const auto out = ReadAll<double>(band_);
  EXPECT_EQ(50.0, out[0]);
  EXPECT_EQ(100, source_.rowsRead);
}

TEST_F(ZRMBandResizeOfALargeSource, StopsBetweenStrips) {
  Show(2000, 3000, 1000, 1500);
  int cancel = 0;
  tagXArr2* out = nullptr;
  source_.onRead = [&] {
    if (source_.numReads == 3) cancel = XThread::kStateStop;
  };
  EXPECT_EQ(0, band_.ReadSubset(out, 0, 0, 999, 0, 1499, &cancel));
  EXPECT_EQ(nullptr, out);
  EXPECT_EQ(3, source_.numReads);
  EXPECT_EQ(&cancel, source_.seenCancel);
}

TEST(ZRMBandResize, FailsWhereTheSourceAnswersAnotherShape) {
  PlaneBand source;
  source.SetSize(10, 10);
  source.SetDataType(kPint16);
  ZRMBandResize band;
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(0, 9, 0, 9, 5, 5));
  EXPECT_EQ((std::vector<std::uint16_t>{}), ReadAll<std::uint16_t>(band));
}

TEST(ZRMBandResize, ReadsAgainAfterItsBuffersWereFreed) {
  MemoryBand source;
  source.SetRamp<float>(10, 6);
  ZRMBandResize band;
  band.SetSourceBand(&source);
  ASSERT_EQ(1, band.SetResizeInfo(0, 9, 0, 5, 5, 3));
  const auto before = ReadAll<float>(band);
  EXPECT_EQ(1, band.CleanupMemory(1, 1));
  EXPECT_EQ(before, ReadAll<float>(band));
  EXPECT_EQ(1, band.CalcStatistics(0));
  EXPECT_FLOAT_EQ(50.5F, static_cast<float>(band.GetBandMin()));
}

TEST(ZRMBandResizeThreads, ReadAlike) {
  MemoryBand source;
  source.SetSamples(120, 90, NoiseOf<std::uint16_t>(120, 90, 4));
  for (const int method : {kResampleNearest, kResampleMean, kResampleCubic}) {
    ZRMBandResize band;
    band.SetSourceBand(&source);
    band.SetResampleMethod(method);
    ASSERT_EQ(1, band.SetResizeInfo(3, 118, 2, 88, 50, 40));
    const auto whole = ReadAll<std::uint16_t>(band);
    std::atomic<int> numDifferent = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&, t] {
        for (int k = 0; k < 20; ++k) {
          const int x0 = (7 * k + t) % 25, y0 = (5 * k + 3 * t) % 20;
          const auto part = Read<std::uint16_t>(band, k % 2, x0, x0 + 24, y0, y0 + 19);
          if (part != Cut(whole, 50, k % 2, x0, x0 + 24, y0, y0 + 19)) ++numDifferent;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, numDifferent);
  }
}

}  // namespace
