#include "picture/AreaMeans.h"
#include "XDataType.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

template <class Sample>
std::vector<std::vector<double>> Reduce(AreaMeans& means, const std::vector<Sample>& samples, int width) {
  std::vector<std::vector<double>> rows;
  for (std::size_t i = 0; i < samples.size(); i += static_cast<std::size_t>(width)) {
    const auto* row = means.Add(reinterpret_cast<const unsigned char*>(&samples[i]));
    if (row) rows.push_back(*row);
  }
  return rows;
}

TEST(AreaMeans, AnEqualSizeKeepsTheSamples) {
  AreaMeans means(3, 2, 3, 2, kPint16, kNotSet);
  const std::vector<std::uint16_t> samples = {1, 2, 65535, 4, 5, 6};
  EXPECT_EQ((std::vector<std::vector<double>>{{1, 2, 65535}, {4, 5, 6}}), Reduce(means, samples, 3));
}

TEST(AreaMeans, ASharedSampleIsSplitBetweenItsAreas) {
  AreaMeans means(3, 1, 2, 1, kSint16, kNotSet);
  const auto rows = Reduce(means, std::vector<std::int16_t>{10, -20, 40}, 3);
  ASSERT_EQ(1u, rows.size());
  EXPECT_DOUBLE_EQ((10 - 20 / 2.0) / 1.5, rows[0][0]);
  EXPECT_DOUBLE_EQ((-20 / 2.0 + 40) / 1.5, rows[0][1]);
}

TEST(AreaMeans, ASharedRowIsSplitBetweenItsAreas) {
  AreaMeans means(1, 5, 1, 2, kPint08, kNotSet);
  const auto rows = Reduce(means, std::vector<std::uint8_t>{1, 2, 10, 3, 4}, 1);
  ASSERT_EQ(2u, rows.size());
  EXPECT_DOUBLE_EQ((1 + 2 + 5) / 2.5, rows[0][0]);
  EXPECT_DOUBLE_EQ((5 + 3 + 4) / 2.5, rows[1][0]);
}

TEST(AreaMeans, NullSamplesAndThoseThatAreNotFiniteCountForNothing) {
  const double kNan = std::numeric_limits<double>::quiet_NaN(), kInfinity = std::numeric_limits<double>::infinity();
  AreaMeans means(6, 1, 3, 1, kReal64, -99.0);
  const auto rows = Reduce(means, std::vector<double>{1.5, -99.0, kNan, 4.0, -99.0, kInfinity}, 6);
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(1.5, rows[0][0]);
  EXPECT_EQ(4.0, rows[0][1]);
  EXPECT_TRUE(std::isnan(rows[0][2]));
}

TEST(AreaMeans, LargeSumsAreExact) {
  AreaMeans means(100000, 1, 1, 1, kPint32, kNotSet);
  const std::vector<std::uint32_t> samples(100000, 4294967295u);
  EXPECT_EQ(4294967295.0, Reduce(means, samples, 100000)[0][0]);
}

TEST(AreaMeans, EveryScalarTypeIsSupported) {
  for (int dataType = kPint08; dataType <= kReal64; ++dataType) EXPECT_TRUE(AreaMeans::IsSupported(dataType));
  EXPECT_FALSE(AreaMeans::IsSupported(0));
  EXPECT_FALSE(AreaMeans::IsSupported(9));
}

/// The mean over an area by cutting each sample into as many parts as the result has pixels, so that no part is shared.
double MeanOfParts(const std::vector<std::uint8_t>& samples, int size, int width, int height, int column, int row) {
  double sum = 0.0;
  for (int v = row * size; v < (row + 1) * size; ++v) {
    for (int u = column * size; u < (column + 1) * size; ++u)
      sum += samples[static_cast<std::size_t>(v / height * size + u / width)];
  }
  return sum / (size * size);
}

TEST(AreaMeans, EverySizeAgreesWithCuttingSamplesIntoParts) {
  const int size = 11;
  std::vector<std::uint8_t> samples;
  for (int i = 0; i < size * size; ++i) samples.push_back(static_cast<std::uint8_t>(i * i * 7 + 3 * i));
  for (int width = 1; width <= size; ++width) {
    const int height = size + 1 - width;
    for (const double nullValue : {kNotSet, -1.0}) {
      AreaMeans means(size, size, width, height, kPint08, nullValue);
      const auto rows = Reduce(means, samples, size);
      ASSERT_EQ(static_cast<std::size_t>(height), rows.size());
      for (int i = 0; i < width * height; ++i) {
        const int x = i % width, y = i / width;
        ASSERT_NEAR(MeanOfParts(samples, size, width, height, x, y),
                    rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)], 1e-9);
      }
    }
  }
}

}  // namespace
