// Statistics of buffers of every data type. Small cases are worked out by hand, as the remarks beside them show. Random
// buffers are compared with what GDAL finds in the same samples.

#include "XStatistics.h"

#include "base/DataTypeVisit.h"

#include <gdal.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Outcome {
  int result = 0;
  double minValue = -1.0;
  double maxValue = -2.0;
  double mean = -3.0;
  double stdDev = -4.0;
  std::vector<std::int64_t> histogram = std::vector<std::int64_t>(256, -5);
};

template <class Sample>
tagXArr2 BufferOf(const std::vector<Sample>& samples, int width) {
  tagXArr2 buffer(width, static_cast<int>(samples.size()) / width, sizeof(Sample));
  std::memcpy(buffer.data, samples.data(), samples.size() * sizeof(Sample));
  return buffer;
}

Outcome Calc(const tagXArr2* buffer, int dataType, double nullValue = kNotSet) {
  Outcome o;
  o.result =
      XfnXARR2CalcStatistics(buffer, dataType, o.minValue, o.maxValue, o.mean, o.stdDev, o.histogram.data(), nullValue);
  return o;
}

template <class Sample>
Outcome Calc(const std::vector<Sample>& samples, double nullValue = kNotSet) {
  const tagXArr2 buffer = BufferOf(samples, 1);
  return Calc(&buffer, zrk::kDataTypeOf<Sample>, nullValue);
}

void ExpectUntouched(const Outcome& outcome) {
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.minValue, -1.0);
  EXPECT_EQ(outcome.maxValue, -2.0);
  EXPECT_EQ(outcome.mean, -3.0);
  EXPECT_EQ(outcome.stdDev, -4.0);
  EXPECT_THAT(outcome.histogram, testing::Each(-5));
}

template <class Sample>
class XStatisticsOf : public testing::Test {};
using AllTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(XStatisticsOf, AllTypes);

template <class Sample>
class XStatisticsOfIntegers : public testing::Test {};
using IntegerTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t>;
TYPED_TEST_SUITE(XStatisticsOfIntegers, IntegerTypes);

template <class Sample>
class XStatisticsOfReals : public testing::Test {};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(XStatisticsOfReals, RealTypes);

}  // namespace

TYPED_TEST(XStatisticsOf, FourSamplesByHand) {
  const Outcome outcome = Calc<TypeParam>({4, 7, 13, 16});
  EXPECT_EQ(outcome.result, 1);
  EXPECT_EQ(outcome.minValue, 4.0);
  EXPECT_EQ(outcome.maxValue, 16.0);
  EXPECT_EQ(outcome.mean, 10.0);
  EXPECT_DOUBLE_EQ(outcome.stdDev, std::sqrt(30.0));  // (36 + 9 + 9 + 36) / 3
}

TYPED_TEST(XStatisticsOf, BinsDivideTheRangeEvenly) {
  const Outcome outcome = Calc<TypeParam>({4, 7, 13, 16});  // 0, 3, 9 and 12 twelfths of the range
  std::vector<std::int64_t> expected(256, 0);
  expected[0] = expected[64] = expected[192] = expected[255] = 1;
  EXPECT_EQ(outcome.histogram, expected);
}

TYPED_TEST(XStatisticsOf, NullSamplesAreLeftOut) {
  const Outcome outcome = Calc<TypeParam>({4, 100, 7, 100, 13, 16}, 100.0);
  EXPECT_EQ(outcome.maxValue, 16.0);
  EXPECT_EQ(outcome.mean, 10.0);
  EXPECT_DOUBLE_EQ(outcome.stdDev, std::sqrt(30.0));
  EXPECT_EQ(std::accumulate(outcome.histogram.begin(), outcome.histogram.end(), std::int64_t{0}), 4);
}

TYPED_TEST(XStatisticsOf, OneSampleHasNoDeviation) {
  const Outcome outcome = Calc<TypeParam>({9});
  EXPECT_EQ(outcome.minValue, 9.0);
  EXPECT_EQ(outcome.maxValue, 9.0);
  EXPECT_EQ(outcome.mean, 9.0);
  EXPECT_EQ(outcome.stdDev, 0.0);
  EXPECT_EQ(outcome.histogram[255], 1);
}

TYPED_TEST(XStatisticsOf, EqualSamplesFallIntoTheLastBin) {
  const Outcome outcome = Calc(std::vector<TypeParam>(21, 3));
  EXPECT_EQ(outcome.mean, 3.0);
  EXPECT_EQ(outcome.stdDev, 0.0);
  EXPECT_EQ(outcome.histogram[255], 21);
  EXPECT_EQ(outcome.histogram[0], 0);
}

TYPED_TEST(XStatisticsOf, NothingButNullLeavesAllOutputs) {
  ExpectUntouched(Calc(std::vector<TypeParam>(20, 5), 5.0));
}

TYPED_TEST(XStatisticsOf, EveryPlaceOfABufferCounts) {
  for (std::size_t place = 0; place < 37; ++place) {
    std::vector<TypeParam> samples(37, 1);
    samples[place] = 75;
    const Outcome outcome = Calc(samples);
    EXPECT_EQ(outcome.maxValue, 75.0) << place;
    EXPECT_EQ(outcome.mean, 3.0) << place;  // (36 + 75) / 37
    EXPECT_DOUBLE_EQ(outcome.stdDev, std::sqrt((36 * 4 + 72 * 72) / 36.0)) << place;
  }
}

TYPED_TEST(XStatisticsOf, TheHistogramMayBeNull) {
  const tagXArr2 buffer = BufferOf<TypeParam>({1, 3}, 2);
  Outcome o;
  EXPECT_EQ(XfnXARR2CalcStatistics(&buffer, zrk::kDataTypeOf<TypeParam>, o.minValue, o.maxValue, o.mean, o.stdDev,
                                   nullptr, kNotSet),
            1);
  EXPECT_EQ(o.mean, 2.0);
}

TYPED_TEST(XStatisticsOf, ASampleSizeThatDoesNotFitIsRefused) {
  const tagXArr2 buffer(2, 2, sizeof(TypeParam) == 1 ? 2 : 1);
  ExpectUntouched(Calc(&buffer, zrk::kDataTypeOf<TypeParam>));
}

TYPED_TEST(XStatisticsOfIntegers, TheEndsOfTheTypeAreCounted) {
  using Limits = std::numeric_limits<TypeParam>;
  const auto low = static_cast<double>(Limits::min());
  const auto high = static_cast<double>(Limits::max());
  const Outcome outcome = Calc<TypeParam>({Limits::min(), Limits::max(), Limits::min(), Limits::max()});
  EXPECT_EQ(outcome.minValue, low);
  EXPECT_EQ(outcome.maxValue, high);
  EXPECT_EQ(outcome.mean, (low + high) / 2);
  EXPECT_DOUBLE_EQ(outcome.stdDev, (high - low) / 2 * std::sqrt(4.0 / 3.0));
  EXPECT_EQ(outcome.histogram[0], 2);
  EXPECT_EQ(outcome.histogram[255], 2);
}

TYPED_TEST(XStatisticsOfIntegers, ANullValueBetweenOrBeyondIntegersMatchesNone) {
  for (const double nullValue : {4.5, 1e10, -1e10, kNaN, kInfinity}) {
    EXPECT_EQ(Calc<TypeParam>({4, 6}, nullValue).mean, 5.0) << nullValue;
  }
}

TYPED_TEST(XStatisticsOfReals, SamplesThatAreNotFiniteAreLeftOut) {
  const auto nan = static_cast<TypeParam>(kNaN);
  const auto infinity = static_cast<TypeParam>(kInfinity);
  const Outcome outcome = Calc<TypeParam>({nan, 4, infinity, 7, 13, -infinity, 16, nan, nan, infinity});
  EXPECT_EQ(outcome.minValue, 4.0);
  EXPECT_EQ(outcome.maxValue, 16.0);
  EXPECT_EQ(outcome.mean, 10.0);
  EXPECT_DOUBLE_EQ(outcome.stdDev, std::sqrt(30.0));
  ExpectUntouched(Calc<TypeParam>({nan, infinity, nan}));
}

TYPED_TEST(XStatisticsOfReals, BinsOfFractionsByHand) {
  const Outcome outcome = Calc<TypeParam>({-1.5, -0.5, 0.25, 2.5});  // 0, 1/4, 7/16 and 1 of the range
  EXPECT_EQ(outcome.histogram[0], 1);
  EXPECT_EQ(outcome.histogram[64], 1);
  EXPECT_EQ(outcome.histogram[112], 1);
  EXPECT_EQ(outcome.histogram[255], 1);
}

TEST(XStatistics, AFloatIsComparedWithTheNullValueAsADouble) {
  EXPECT_NEAR(Calc<float>({0.1F, 0.3F}, 0.1).mean, 0.2, 1e-7);  // 0.1F is not 0.1
  EXPECT_EQ(Calc<float>({0.1F, 0.5F}, static_cast<double>(0.1F)).mean, 0.5);
  EXPECT_EQ(Calc<float>({-FLT_MAX, 0.5F}, -FLT_MAX).mean, 0.5);
}

TEST(XStatistics, TheNotSetValueIsANullValueOfDoubles) {
  EXPECT_EQ(Calc<double>({kNotSet, 2.0, 4.0}).maxValue, 4.0);
}

TEST(XStatistics, ASmallDeviationSurvivesALargeMean) {
  const double far = 1e15;
  const Outcome outcome = Calc<double>({far + 4, far + 7, far + 13, far + 16});
  EXPECT_EQ(outcome.mean, far + 10);
  EXPECT_DOUBLE_EQ(outcome.stdDev, std::sqrt(30.0));
  const Outcome ofFloats = Calc<float>({16777212.0F, 16777214.0F, 16777216.0F});
  EXPECT_EQ(ofFloats.mean, 16777214.0);
  EXPECT_EQ(ofFloats.stdDev, 2.0);
}

TEST(XStatistics, TheMeanDoesNotDriftOverManySamples) {
  const Outcome outcome = Calc(std::vector<double>(800000, 0.1));
  EXPECT_EQ(outcome.mean, 0.1);
  EXPECT_LT(outcome.stdDev, 1e-18);
}

TEST(XStatistics, DoublesNearTheEndsOfTheirRangeStayFinite) {
  const Outcome large = Calc<double>({1e308, 1.6e308, 1.6e308, 1e308});
  EXPECT_DOUBLE_EQ(large.mean, 1.3e308);
  EXPECT_DOUBLE_EQ(large.stdDev / 1e308, 0.3 * std::sqrt(4.0 / 3.0));
  const Outcome wide = Calc<double>({-1.6e308, 0.0, 1.6e308});
  EXPECT_EQ(wide.mean, 0.0);
  EXPECT_DOUBLE_EQ(wide.stdDev, 1.6e308);
  EXPECT_EQ(wide.histogram[128], 1);
  const Outcome small = Calc<double>({1e-300, 3e-300});
  EXPECT_DOUBLE_EQ(small.stdDev, std::sqrt(2.0) * 1e-300);
}

TEST(XStatistics, LargeBuffersOfIntegersAreSummedExactly) {
  std::vector<std::uint32_t> samples(1000001, UINT_MAX);
  samples[500000] = UINT_MAX - 1000001;
  EXPECT_EQ(Calc(samples).mean, static_cast<double>(UINT_MAX) - 1.0);
  std::vector<std::int16_t> alternating(2000000, -32768);
  for (std::size_t i = 0; i < alternating.size(); i += 2) alternating[i] = 32767;
  EXPECT_EQ(Calc(alternating).mean, -0.5);
  EXPECT_DOUBLE_EQ(Calc(alternating).stdDev, 32767.5 * std::sqrt(2000000.0 / 1999999.0));
}

TEST(XStatistics, AByteRangeOfAllValuesHasOneInEachBin) {
  std::vector<std::uint8_t> samples(256);
  std::iota(samples.begin(), samples.end(), std::uint8_t{0});
  EXPECT_THAT(Calc(samples).histogram, testing::Each(1));
}

TEST(XStatistics, WithoutSamplesOrTypeThereIsNoResult) {
  const tagXArr2 empty;
  const tagXArr2 buffer(1, 1, 4);
  ExpectUntouched(Calc(nullptr, kPint08));
  ExpectUntouched(Calc(&empty, kPint08));
  for (const int dataType : {-1, 0, 9, 11, 29, 30}) ExpectUntouched(Calc(&buffer, dataType));
}

namespace {

/// What GDAL works out from a dataset in memory.
Outcome AskGdal(const tagXArr2& buffer, GDALDataType type, double nullValue, int numKept) {
  GDALAllRegister();
  const std::unique_ptr<void, void (*)(GDALDatasetH)> dataset(
      GDALCreate(GDALGetDriverByName("MEM"), "", buffer.xSize, buffer.ySize, 1, type, nullptr),
      [](GDALDatasetH handle) { GDALClose(handle); });
  GDALRasterBandH band = GDALGetRasterBand(dataset.get(), 1);
  EXPECT_EQ(GDALRasterIO(band, GF_Write, 0, 0, buffer.xSize, buffer.ySize, buffer.data, buffer.xSize, buffer.ySize,
                         type, 0, 0),
            CE_None);
  GDALSetRasterNoDataValue(band, nullValue);
  Outcome o;
  EXPECT_EQ(GDALComputeRasterStatistics(band, FALSE, &o.minValue, &o.maxValue, &o.mean, &o.stdDev, nullptr, nullptr),
            CE_None);
  o.stdDev *= std::sqrt(static_cast<double>(numKept) / (numKept - 1));  // it divides by n
  std::vector<GUIntBig> counts(256);
  EXPECT_EQ(GDALGetRasterHistogramEx(band, o.minValue, o.maxValue, 256, counts.data(), TRUE, FALSE, nullptr, nullptr),
            CE_None);
  o.histogram.assign(counts.begin(), counts.end());
  return o;
}

template <class Sample>
std::vector<Sample> RandomSamples(std::size_t count, double low, double high, Sample nullSample) {
  std::mt19937 random(20240131);
  std::vector<Sample> samples(count);
  for (Sample& sample : samples) {
    const double share = random() / 4294967296.0;
    sample = random() % 10 == 0 ? nullSample : static_cast<Sample>(low + (high - low) * share);
  }
  return samples;
}

template <class Sample, class OracleSample = Sample>
void ExpectWhatGdalFinds(GDALDataType type, double low, double high, Sample nullSample) {
  const std::vector<Sample> samples = RandomSamples(37 * 211, low, high, nullSample);
  const auto numNull = std::count(samples.begin(), samples.end(), nullSample);
  ASSERT_GT(numNull, 0);
  const auto nullValue = static_cast<double>(nullSample);
  const tagXArr2 oracleBuffer = BufferOf(std::vector<OracleSample>(samples.begin(), samples.end()), 211);
  const Outcome expected =
      AskGdal(oracleBuffer, type, nullValue, static_cast<int>(samples.size()) - static_cast<int>(numNull));
  const Outcome actual = Calc(samples, nullValue);
  EXPECT_EQ(actual.minValue, expected.minValue);
  EXPECT_EQ(actual.maxValue, expected.maxValue);
  EXPECT_NEAR(actual.mean, expected.mean, 1e-12 * (high - low));
  EXPECT_NEAR(actual.stdDev, expected.stdDev, 1e-12 * (high - low));
  // GDAL multiplies where we divide, which an integer on the edge of two bins can show.
  if (std::is_floating_point_v<Sample>) {
    EXPECT_EQ(actual.histogram, expected.histogram);
  }
}

}  // namespace

TEST(XStatisticsOracle, FindsWhatGdalFindsInIntegers) {
  ExpectWhatGdalFinds<std::uint8_t>(GDT_Byte, 3, 251, 0);
  ExpectWhatGdalFinds<std::int8_t, std::int16_t>(GDT_Int16, -127, 120, -128);
  ExpectWhatGdalFinds<std::uint16_t>(GDT_UInt16, 100, 60000, 65535);
  ExpectWhatGdalFinds<std::int16_t>(GDT_Int16, -30000, 20000, -32768);
  ExpectWhatGdalFinds<std::uint32_t>(GDT_UInt32, 0, 4e9, 4294967295U);
  ExpectWhatGdalFinds<std::int32_t>(GDT_Int32, -2e9, 1e9, INT_MIN);
}

TEST(XStatisticsOracle, FindsWhatGdalFindsInReals) {
  ExpectWhatGdalFinds<float>(GDT_Float32, -17.5, 2000.25, -9999.0F);
  ExpectWhatGdalFinds<double>(GDT_Float64, -1e6, 1e9, -9999.0);
}
