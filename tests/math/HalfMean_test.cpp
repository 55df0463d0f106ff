#include "math/HalfMean.h"

#include "base/DataTypeVisit.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

template <class Sample>
std::vector<Sample> Row(std::size_t count, unsigned seed) {
  std::mt19937_64 random(seed);
  std::vector<Sample> row(count);
  for (Sample& sample : row) {
    if constexpr (std::is_integral_v<Sample>) {
      sample = static_cast<Sample>(random());
    } else {
      sample = static_cast<Sample>(std::uniform_real_distribution<double>(-1e6, 1e6)(random));
    }
  }
  return row;
}

/// Rounded half away from zero, by the long way.
template <class Sample>
Sample ExpectedMean(Sample a, Sample b, Sample c, Sample d) {
  if constexpr (std::is_integral_v<Sample>) {
    const std::int64_t sum = std::int64_t{a} + b + c + d, size = std::abs(sum), mean = (2 * size + 4) / 8;
    return static_cast<Sample>(sum < 0 ? -mean : mean);
  } else {
    const double upper = static_cast<double>(a) + static_cast<double>(b);
    return static_cast<Sample>((upper + (static_cast<double>(c) + static_cast<double>(d))) / 4.0);
  }
}

template <class Sample>
std::vector<Sample> MeansOf(const std::vector<Sample>& upper, const std::vector<Sample>& lower) {
  std::vector<Sample> out(upper.size() / 2);
  zrk::MeanOfFour(zrk::kDataTypeOf<Sample>, upper.data(), lower.data(), static_cast<int>(out.size()), out.data());
  return out;
}

template <class Sample>
class HalfMean : public testing::Test {};
using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(HalfMean, SampleTypes);

TYPED_TEST(HalfMean, IsTheMeanOfFourForEveryLength) {
  for (std::size_t count = 0; count < 140; ++count) {
    const auto upper = Row<TypeParam>(2 * count, 1), lower = Row<TypeParam>(2 * count, 2);
    const auto means = MeansOf(upper, lower);
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_EQ(ExpectedMean(upper[2 * i], upper[2 * i + 1], lower[2 * i], lower[2 * i + 1]), means[i]) << i;
    }
  }
}

TYPED_TEST(HalfMean, OfABlockIsThatOfEachPairOfItsRows) {
  constexpr std::size_t kWidth = 37, kRows = 11, kFromStride = 81, kToStride = 45;
  const auto from = Row<TypeParam>(2 * kRows * kFromStride, 3);
  std::vector<TypeParam> expected(kRows * kToStride, TypeParam{7}), to = expected;
  for (std::size_t row = 0; row < kRows; ++row) {
    const TypeParam* const upper = &from[2 * row * kFromStride];
    zrk::MeanOfFour(zrk::kDataTypeOf<TypeParam>, upper, upper + kFromStride, kWidth, &expected[row * kToStride]);
  }
  zrk::MeanOfFourRows(zrk::kDataTypeOf<TypeParam>,
                      {reinterpret_cast<const unsigned char*>(from.data()), kFromStride * sizeof(TypeParam),
                       reinterpret_cast<unsigned char*>(to.data()), kToStride * sizeof(TypeParam), kWidth, kRows});
  EXPECT_EQ(expected, to);
}

TYPED_TEST(HalfMean, ReachesTheEndsOfTheRange) {
  using Limits = std::numeric_limits<TypeParam>;
  const std::vector<TypeParam> most(70, Limits::max()), least(70, Limits::lowest());
  EXPECT_EQ(std::vector<TypeParam>(35, Limits::max()), MeansOf(most, most));
  EXPECT_EQ(std::vector<TypeParam>(35, Limits::lowest()), MeansOf(least, least));
}

TYPED_TEST(HalfMean, IsTheSameOnEveryMachine) {
  const auto upper = Row<TypeParam>(500, 3), lower = Row<TypeParam>(500, 4);
  const auto expected = MeansOf(upper, lower);
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    EXPECT_EQ(expected, MeansOf(upper, lower)) << hwy::TargetName(target);
  }
  hwy::SetSupportedTargetsForTest(0);
}

TYPED_TEST(HalfMean, LeavesNullSamplesOut) {
  const std::vector<TypeParam> upper = {7, 10, 7, 7, 1, 2}, lower = {7, 20, 7, 7, 3, 6};
  std::vector<TypeParam> out(3);
  zrk::MeanOfFourKept(zrk::kDataTypeOf<TypeParam>, upper.data(), lower.data(), 3, out.data(), 7.0);
  EXPECT_EQ((std::vector<TypeParam>{15, 7, 3}), out);
}

TYPED_TEST(HalfMean, TakesTheMostFrequentAndOfThoseTheFirst) {
  const std::vector<TypeParam> upper = {1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 1, 4, 3};
  const std::vector<TypeParam> lower = {3, 4, 3, 3, 2, 3, 2, 1, 2, 2, 2, 2, 3, 4};
  std::vector<TypeParam> out(7);
  zrk::MostFrequentOfFour(zrk::kDataTypeOf<TypeParam>, upper.data(), lower.data(), 7, out.data());
  EXPECT_EQ((std::vector<TypeParam>{1, 3, 2, 1, 2, 1, 4}), out);
}

TEST(HalfMeanRounding, GoesAwayFromZero) {
  const std::vector<std::int16_t> upper = {0, 1, 0, -1, -3, -3, 3, 3}, lower = {0, 1, 0, -1, -2, -2, 2, 2};
  EXPECT_EQ((std::vector<std::int16_t>{1, -1, -3, 3}), MeansOf(upper, lower));
}

TEST(HalfMeanReals, AreRoundedOnce) {
  // In floats the first sum would lose the 1.
  const float large = 16777216.0F;
  EXPECT_EQ((std::vector<float>{large / 2 + 0.5F}), MeansOf<float>({large, 1.0F}, {large, 1.0F}));
}

TEST(HalfMeanReals, CarryInfinitiesAndNaN) {
  const double infinity = std::numeric_limits<double>::infinity();
  const auto means = MeansOf<double>({infinity, 1, NAN, 1, infinity, -infinity}, {1, 1, 1, 1, 1, 1});
  EXPECT_EQ(infinity, means[0]);
  EXPECT_TRUE(std::isnan(means[1]));
  EXPECT_TRUE(std::isnan(means[2]));
}

}  // namespace
