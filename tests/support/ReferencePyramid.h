#pragma once

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

// Pyramids straight from their definition: slow, and without anything of the library.

template <class Sample>
struct ReferenceImage {
  int width = 0;
  int height = 0;
  std::vector<Sample> samples;
  Sample At(int x, int y) const { return samples[static_cast<std::size_t>(y * width + x)]; }
};

template <class Sample>
Sample RoundedRatio(long double sum, long double weight) {
  if constexpr (std::is_integral_v<Sample>) {
    return static_cast<Sample>(std::round(sum / weight));  // half away from zero
  } else {
    return static_cast<Sample>(sum / weight);
  }
}

/// The mean of the source pixels under each pixel of an image of another size, each with the area that is covered.
template <class Sample>
ReferenceImage<Sample> AreaMeans(const ReferenceImage<Sample>& source, int width, int height) {
  // One source pixel is `width` units wide, one pixel of the result `source.width` units.
  const auto overlap = [](std::int64_t from, std::int64_t fromSize, std::int64_t to, std::int64_t toSize) {
    return std::min((from + 1) * toSize, (to + 1) * fromSize) - std::max(from * toSize, to * fromSize);
  };
  ReferenceImage<Sample> image{width, height, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      long double sum = 0;
      for (int j = y * source.height / height; j < source.height && overlap(j, source.height, y, height) > 0; ++j) {
        for (int i = x * source.width / width; i < source.width && overlap(i, source.width, x, width) > 0; ++i) {
          sum += static_cast<long double>(overlap(i, source.width, x, width) * overlap(j, source.height, y, height)) *
                 static_cast<long double>(source.At(i, j));
        }
      }
      image.samples.push_back(
          RoundedRatio<Sample>(sum, static_cast<long double>(source.width) * static_cast<long double>(source.height)));
    }
  }
  return image;
}

/// The means of two by two pixels; what is over at the right and lower edge is dropped.
template <class Sample>
ReferenceImage<Sample> MeansOfFour(const ReferenceImage<Sample>& source) {
  ReferenceImage<Sample> image{std::max(source.width / 2, 1), std::max(source.height / 2, 1), {}};
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      long double sum = 0;
      for (const int j : {2 * y, std::min(2 * y + 1, source.height - 1)}) {
        for (const int i : {2 * x, std::min(2 * x + 1, source.width - 1)}) sum += source.At(i, j);
      }
      image.samples.push_back(RoundedRatio<Sample>(sum, 4));
    }
  }
  return image;
}

/// The images of a level file: the half-size one, and the means of four below it.
template <class Sample>
std::vector<ReferenceImage<Sample>> LevelImages(const ReferenceImage<Sample>& full, int levels) {
  std::vector<ReferenceImage<Sample>> images = {AreaMeans(full, full.width / 2, full.height / 2)};
  while (static_cast<int>(images.size()) < levels) images.push_back(MeansOfFour(images.back()));
  return images;
}

/// Integers equal, reals but for the last digits, which hang on the order of a sum.
template <class Sample>
void ExpectSameSamples(const std::vector<Sample>& expected, const std::vector<Sample>& given) {
  ASSERT_EQ(expected.size(), given.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if constexpr (std::is_integral_v<Sample>) {
      ASSERT_EQ(expected[i], given[i]) << i;
    } else {
      const double rounding = std::abs(static_cast<double>(expected[i])) * std::numeric_limits<Sample>::epsilon();
      ASSERT_NEAR(expected[i], given[i], 4 * rounding + 1e-9) << i;
    }
  }
}
