#include "math/SampleStatistics.h"

#include "base/DataTypeVisit.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

constexpr double kNone = 1.7e+308;

template <class Sample>
std::vector<Sample> Draw(std::size_t count) {
  std::mt19937 random(5);
  std::normal_distribution<double> normal(40.0, 20.0);
  std::vector<Sample> samples(count);
  for (Sample& sample : samples) sample = static_cast<Sample>(std::clamp(normal(random), 0.0, 127.0));
  return samples;
}

/// Straight from the definitions, in long double.
struct Expected {
  long double mean = 0, stdDev = 0;
  double least = kNone, most = -kNone;
  zrk::Histogram histogram{};
};

template <class Sample>
Expected Compute(const std::vector<Sample>& samples, double nullValue) {
  Expected expected;
  long double count = 0, sum = 0, squares = 0;
  for (const Sample sample : samples) {
    const auto value = static_cast<double>(sample);
    if (value == nullValue || !std::isfinite(value)) continue;
    ++count;
    sum += value;
    expected.least = std::min(expected.least, value);
    expected.most = std::max(expected.most, value);
  }
  expected.mean = sum / count;
  for (const Sample sample : samples) {
    const auto value = static_cast<double>(sample);
    if (value == nullValue || !std::isfinite(value)) continue;
    squares += (value - expected.mean) * (value - expected.mean);
    const double place = (value - expected.least) / (expected.most - expected.least) * 256;
    ++expected.histogram[static_cast<std::size_t>(std::min(place, 255.0))];
  }
  expected.stdDev = std::sqrt(squares / (count - 1));
  return expected;
}

template <class Sample>
class SampleStatisticsOf : public testing::Test {
 protected:
  using Statistics = zrk::SampleStatistics;
  static constexpr int kType = zrk::kDataTypeOf<Sample>;

  static void Expect(const Expected& expected, const Statistics& statistics, const std::vector<Sample>& samples,
                     double nullValue) {
    const zrk::Summary summary = statistics.Summarize();
    EXPECT_EQ(expected.least, summary.minValue);
    EXPECT_EQ(expected.most, summary.maxValue);
    EXPECT_NEAR(static_cast<double>(expected.mean), summary.mean, 1e-12 * summary.mean);
    EXPECT_NEAR(static_cast<double>(expected.stdDev), summary.stdDev, 1e-12 * summary.stdDev);
    if (statistics.HasHistogram()) {
      EXPECT_EQ(expected.histogram, statistics.GetHistogram());
    } else {
      zrk::HistogramCounter counter(kType, nullValue, summary);
      counter.Add(samples.data(), samples.size());
      EXPECT_EQ(expected.histogram, counter.Get());
    }
  }
};
using SampleTypes =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(SampleStatisticsOf, SampleTypes);

TYPED_TEST(SampleStatisticsOf, EqualsTheDefinitionsHoweverThePartsCome) {
  const auto samples = Draw<TypeParam>(5000);
  for (const double nullValue : {kNone, 40.0}) {
    zrk::SampleStatistics one(this->kType, nullValue), other(this->kType, nullValue);
    one.Add(2, samples.data() + 2000, 1500);
    other.Add(3, samples.data() + 3500, 1500);
    other.Add(0, samples.data(), 1999);
    one.Add(1, samples.data() + 1999, 1);
    one.Merge(other);
    this->Expect(Compute(samples, nullValue), one, samples, nullValue);
  }
}

/// More bytes than are counted one by one, and then few again behind them.
TYPED_TEST(SampleStatisticsOf, EqualsTheDefinitionsOfFewSamplesAndMany) {
  for (const std::size_t count : {std::size_t{3}, std::size_t{65535}, std::size_t{65536}, std::size_t{200003}}) {
    const auto samples = Draw<TypeParam>(count);
    zrk::SampleStatistics one(this->kType, kNone), other(this->kType, kNone);
    const std::size_t begin = count / 3, end = count - count / 100;
    one.Add(0, samples.data(), begin);
    one.Add(1, samples.data() + begin, end - begin);
    other.Add(2, samples.data() + end, count - end);
    one.Merge(other);
    this->Expect(Compute(samples, kNone), one, samples, kNone);
  }
}

TYPED_TEST(SampleStatisticsOf, IsBitForBitTheSameForEveryShareOfTheParts) {
  const auto samples = Draw<TypeParam>(9000);
  const auto measure = [&](int numWorkers) {
    std::vector<zrk::SampleStatistics> workers(static_cast<std::size_t>(numWorkers), {this->kType, kNone});
    for (int part = 8; part >= 0; --part) {
      workers[static_cast<std::size_t>(part % numWorkers)].Add(part, samples.data() + 1000 * part, 1000);
    }
    for (int i = 1; i < numWorkers; ++i) workers[0].Merge(workers[static_cast<std::size_t>(i)]);
    return workers[0].Summarize();
  };
  const zrk::Summary alone = measure(1), together = measure(4);
  EXPECT_EQ(alone.mean, together.mean);
  EXPECT_EQ(alone.stdDev, together.stdDev);
}

TYPED_TEST(SampleStatisticsOf, CountsNothingWhereAllAreNull) {
  const std::vector<TypeParam> samples(10, 7);
  zrk::SampleStatistics statistics(this->kType, 7.0);
  statistics.Add(0, samples.data(), samples.size());
  EXPECT_EQ(0, statistics.Summarize().count);
}

TEST(SampleStatistics, KeepsTheDigitsOfASmallDeviation) {
  std::vector<double> samples;
  for (int i = 0; i < 1000; ++i) samples.push_back(1e9 + i % 2);
  zrk::SampleStatistics statistics(kReal64, kNone);
  for (int part = 0; part < 10; ++part) statistics.Add(part, samples.data() + 100 * part, 100);
  EXPECT_NEAR(std::sqrt(250.0 / 999.0), statistics.Summarize().stdDev, 1e-9);
}

TEST(SampleStatistics, TakesInNumbersAsLargeAsThereAre) {
  const double largest = std::numeric_limits<double>::max() / 2;
  const std::vector<double> samples = {largest, -largest};
  zrk::SampleStatistics statistics(kReal64, kNone);
  statistics.Add(0, samples.data(), 1);
  statistics.Add(1, samples.data() + 1, 1);
  EXPECT_EQ(0.0, statistics.Summarize().mean);
  EXPECT_NEAR(std::sqrt(2.0), statistics.Summarize().stdDev / largest, 1e-12);
}

}  // namespace
