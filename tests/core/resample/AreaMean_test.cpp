// The means are held against sums over all pairs of source and output pixels, in wider arithmetic.

#include "core/resample/AreaMean.h"
#include "base/DataTypeVisit.h"
#include "XDataType.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

template <class Sample>
struct Image {
  int width;
  int height;
  std::vector<Sample> samples;

  const Sample& At(int x, int y) const { return samples[static_cast<std::size_t>(y * width + x)]; }
};

/// Samples over the whole range of an integer type, and of a moderate one of floating point.
template <class Sample>
Image<Sample> Noise(int width, int height, unsigned seed) {
  std::mt19937_64 random(seed);
  Image<Sample> image{width, height, {}};
  for (int i = 0; i < width * height; ++i) {
    if constexpr (std::is_integral_v<Sample>) {
      image.samples.push_back(static_cast<Sample>(random()));
    } else {
      image.samples.push_back(static_cast<Sample>(std::uniform_real_distribution<double>(-1e6, 1e6)(random)));
    }
  }
  return image;
}

template <class Sample>
Image<Sample> Resize(const Image<Sample>& source, int width, int height, double null = kNotSet) {
  const zrk::AreaMean mean(source.width, source.height, width, height, zrk::kDataTypeOf<Sample>, null);
  Image<Sample> out{width, height, std::vector<Sample>(static_cast<std::size_t>(width * height))};
  zrk::AreaMean::Scratch scratch;
  for (int y = 0; y < height; ++y) {
    std::vector<const void*> rows;
    for (int r = mean.FirstSourceRow(y); r <= mean.LastSourceRow(y); ++r) rows.push_back(&source.At(0, r));
    mean.Row(y, rows.data(), &out.samples[static_cast<std::size_t>(y * width)], scratch);
  }
  return out;
}

/// What a source pixel and an output pixel share in one direction, in parts of a source pixel of which there are
/// `outSize`.
long long Shared(int source, int out, int sourceSize, int outSize) {
  const long long begin = std::max<long long>(1LL * source * outSize, 1LL * out * sourceSize);
  const long long end = std::min<long long>((source + 1LL) * outSize, (out + 1LL) * sourceSize);
  return std::max(end - begin, 0LL);
}

/// The mean under one output pixel, exact for integers; nothing where all samples are null.
template <class Sample>
bool MeanAt(const Image<Sample>& source, int width, int height, int x, int y, double null, long double& mean) {
  __extension__ using Wide = __int128;
  using Sum = std::conditional_t<std::is_integral_v<Sample>, Wide, long double>;
  Sum sum = 0, weights = 0;
  for (int v = 0; v < source.height; ++v) {
    for (int u = 0; u < source.width; ++u) {
      const Sum weight = Shared(u, x, source.width, width) * Shared(v, y, source.height, height);
      if (weight == 0 || static_cast<double>(source.At(u, v)) == null) continue;
      sum += weight * static_cast<Sum>(source.At(u, v));
      weights += weight;
    }
  }
  if (weights == 0) return false;
  if constexpr (std::is_integral_v<Sample>) {
    const Wide twice = 2 * (sum < 0 ? -sum : sum) + weights;
    const Wide rounded = twice / (2 * weights);
    mean = static_cast<long double>(sum < 0 ? -rounded : rounded);
  } else {
    mean = sum / weights;
  }
  return true;
}

template <class Sample>
void ExpectMeans(const Image<Sample>& source, int width, int height, double null = kNotSet) {
  const Image<Sample> out = Resize(source, width, height, null);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      long double mean = 0;
      if (!MeanAt(source, width, height, x, y, null, mean)) mean = static_cast<long double>(null);
      const auto got = static_cast<long double>(out.At(x, y));
      // Sums of floating point may lose some last bits of the largest sample.
      const long double tolerance =
          std::is_integral_v<Sample> ? 0.0L : 1e6L * 8 * std::numeric_limits<Sample>::epsilon();
      ASSERT_NEAR(mean, got, tolerance) << source.width << "x" << source.height << " to " << width << "x" << height
                                        << " at " << x << ", " << y;
    }
  }
}

template <class Sample>
class AreaMeanOf : public testing::Test {};
using AllSamples =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(AreaMeanOf, AllSamples);

TYPED_TEST(AreaMeanOf, IsTheWeightedMeanAtAnyPairOfSizes) {
  for (int width = 1; width <= 9; ++width) {
    const auto source = Noise<TypeParam>(width, 10 - width, 5u + static_cast<unsigned>(width));
    for (int outWidth = 1; outWidth <= 12; ++outWidth) {
      for (int outHeight : {1, 2, 3, 4, 7, 11}) ExpectMeans(source, outWidth, outHeight);
    }
  }
}

TYPED_TEST(AreaMeanOf, HalvesOddSizesWithThreeSourceColumnsEach) {
  ExpectMeans(Noise<TypeParam>(61, 33, 1), 30, 16);
  ExpectMeans(Noise<TypeParam>(61, 32, 2), 30, 16);
  ExpectMeans(Noise<TypeParam>(60, 33, 3), 30, 16);
}

TYPED_TEST(AreaMeanOf, GoesThroughWideRowsInStretches) {
  ExpectMeans(Noise<TypeParam>(4097, 3, 4), 2048, 1);
  ExpectMeans(Noise<TypeParam>(5000, 2, 4), 13, 1);
  ExpectMeans(Noise<TypeParam>(40, 2, 4), 3001, 3);
}

TYPED_TEST(AreaMeanOf, LeavesNullsOut) {
  for (const int width : {20, 21}) {
    auto source = Noise<TypeParam>(width, 14, 9);
    std::mt19937 random(3);
    for (TypeParam& sample : source.samples) {
      if (random() % 2) sample = 7;
    }
    ExpectMeans(source, 10, 7, 7.0);
    ExpectMeans(source, 6, 5, 7.0);
    ExpectMeans(source, 33, 20, 7.0);
  }
}

TYPED_TEST(AreaMeanOf, AddsRowsOneByOneToTheSameMeans) {
  const auto source = Noise<TypeParam>(23, 40, 6);
  const auto whole = Resize(source, 7, 3);
  const zrk::AreaMean mean(23, 40, 7, 3, zrk::kDataTypeOf<TypeParam>, kNotSet);
  zrk::AreaMean::Scratch scratch;
  for (int y = 0; y < 3; ++y) {
    for (int r = mean.FirstSourceRow(y); r <= mean.LastSourceRow(y); ++r) {
      mean.AddRow(y, r, 2, 5, &source.At(mean.FirstSourceColumn(2), r), scratch);
    }
    TypeParam out[4];
    mean.FinishRow(2, 5, out, scratch);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(whole.At(2 + i, y), out[i]);
  }
}

TYPED_TEST(AreaMeanOf, KeepsTheLargestAndTheSmallestSample) {
  for (const TypeParam extreme : {std::numeric_limits<TypeParam>::max(), std::numeric_limits<TypeParam>::lowest()}) {
    const Image<TypeParam> source{7, 5, std::vector<TypeParam>(35, extreme)};
    for (const TypeParam sample : Resize(source, 3, 2).samples) {
      EXPECT_NEAR(1.0, static_cast<double>(sample / static_cast<long double>(extreme == 0 ? 1 : extreme)),
                  extreme == 0 ? 1.0 : 1e-15);
    }
  }
}

template <class Sample>
std::vector<Sample> Half(std::vector<Sample> upper, std::vector<Sample> lower, double null = kNotSet) {
  const int width = static_cast<int>(upper.size());
  upper.insert(upper.end(), lower.begin(), lower.end());
  return Resize(Image<Sample>{width, 2, std::move(upper)}, width / 2, 1, null).samples;
}

TEST(AreaMeanOfFour, RoundsHalfAwayFromZero) {
  EXPECT_EQ((std::vector<std::uint8_t>{1, 0, 255}), Half<std::uint8_t>({0, 1, 0, 1, 255, 255}, {0, 1, 0, 0, 255, 254}));
  EXPECT_EQ((std::vector<std::int16_t>{-1, 0, -2, 2}),
            Half<std::int16_t>({-1, -1, -1, 0, -3, -3, 3, 3}, {0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ((std::vector<std::uint32_t>{4294967295u}),
            Half<std::uint32_t>({4294967295u, 4294967295u}, {4294967295u, 4294967294u}));
}

TEST(AreaMeanOfFour, AddsSinglesAsDoublesByRows) {
  const float a = 3e8f, b = 0.3f, c = -3e8f, d = 0.7f;
  const double sum = (double{a} + double{b}) + (double{c} + double{d});
  EXPECT_EQ((std::vector<float>{static_cast<float>(sum / 4)}), Half<float>({a, b}, {c, d}));
}

TEST(AreaMeanOfFour, QuartersDoublesBeforeTheyAreAdded) {
  constexpr double kHuge = 1.6e308;
  EXPECT_EQ((std::vector<double>{kHuge}), Half<double>({kHuge, kHuge}, {kHuge, kHuge}));
  const double a = 0.1, b = 1e10 / 3, c = -1e-7, d = 7e9 / 9;
  EXPECT_EQ((std::vector<double>{(a / 4 + b / 4) + (c / 4 + d / 4)}), Half<double>({a, b}, {c, d}));
  EXPECT_EQ((std::vector<double>{(a / 4 + b / 4) + (c / 4 + d / 4), 5}),
            Half<double>({a, b, kNotSet, 5}, {c, d, 5, kNotSet}));
}

TEST(AreaMean, MakesNotANumberOfWhatIsUnderOne) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto out = Resize(Image<double>{5, 1, {1, 2, nan, 4, 5}}, 5, 2).samples;
  EXPECT_EQ(1.0, out[0]);
  EXPECT_TRUE(std::isnan(out[2]));
  EXPECT_EQ(4.0, out[3]);
  const auto half = Resize(Image<double>{4, 2, {1, nan, 2, 2, kNotSet, 1, 2, 2}}, 2, 1).samples;
  EXPECT_TRUE(std::isnan(half[0]));
  EXPECT_EQ(2.0, half[1]);
}

TEST(AreaMean, RoundsTheExactMeanOfLargeIntegersOfThirtyTwoBits) {
  // No common divisor, so that an output pixel has some 2^26 units, each of up to 2^32.
  const int width = 8191, height = 3;
  auto source = Noise<std::uint32_t>(width, height, 12);
  const auto out = Resize(source, 4096, 2);
  for (const int x : {0, 1, 2048, 4095}) {
    long double mean = 0;
    ASSERT_TRUE(MeanAt(source, 4096, 2, x, 1, kNotSet, mean));
    EXPECT_EQ(mean, static_cast<long double>(out.At(x, 1)));
  }
}

TEST(AreaMean, SumsIntegersWhereADoubleIsTooNarrow) {
  // Without a common divisor an output pixel has 20003 by 20003 units, and no double adds so many samples of 32 bits up
  // exactly. Of the units in one direction 10001 lie in each of the first two pixels and one lies in the third.
  const zrk::AreaMean mean(20003, 20003, 10001, 10001, kSint32, kNotSet);
  const std::int32_t values[3][3] = {{-2147483647, 5, 2147483646}, {17, -2147483648, 3}, {2147483647, 2147483647, -9}};
  const void* const rows[3] = {values[0], values[1], values[2]};
  std::int32_t out = 0;
  zrk::AreaMean::Scratch scratch;
  ASSERT_EQ(2, mean.LastSourceRow(0));
  mean.Row(0, 0, 0, rows, &out, scratch);
  // (10001^2 * (-2147483647 + 5 + 17 - 2147483648) + 10001 * (2147483646 + 3 + 2 * 2147483647) - 9) / 20003^2
  EXPECT_EQ(-1073473434, out);
}

TEST(AreaMeanThreads, ShareOneObject) {
  const auto source = Noise<std::uint16_t>(301, 101, 8);
  const auto expected = Resize(source, 150, 50).samples;
  const zrk::AreaMean mean(301, 101, 150, 50, kPint16, kNotSet);
  std::vector<std::uint16_t> got(expected.size());
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      zrk::AreaMean::Scratch scratch;
      for (int y = t; y < 50; y += 4) {
        std::vector<const void*> rows;
        for (int r = mean.FirstSourceRow(y); r <= mean.LastSourceRow(y); ++r) rows.push_back(&source.At(0, r));
        mean.Row(y, rows.data(), &got[static_cast<std::size_t>(y * 150)], scratch);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(expected, got);
}

}  // namespace
