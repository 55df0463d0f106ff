#include "XStatistics.h"

#include "XDataType.h"

#include <gtest/gtest.h>
#include <climits>
#include <cmath>
#include <vector>

namespace {

/// The accumulators of a band that comes block by block.
struct Elements {
  double sum = 0.0, squares = 0.0, least = kNotSet, most = -kNotSet;
  std::int64_t count = 0;
  std::vector<std::int64_t> histogram = std::vector<std::int64_t>(256, 0);

  int Add(const std::vector<std::int16_t>& block, int width, double nullValue = kNotSet, int x0 = INT_MIN,
          int x1 = INT_MAX, int y0 = INT_MIN, int y1 = INT_MAX) {
    const int height = static_cast<int>(block.size()) / width;
    const double before = least, after = most;
    return XfnGetSubsetStatElem1(block.data(), width, height, kSint16, sum, squares, least, most, count, x0, x1, y0, y1,
                                 nullValue) &&
           XfnGetSubsetStatElem3(block.data(), width, height, kSint16, before, after, least, most, histogram.data(), x0,
                                 x1, y0, y1, nullValue);
  }
};

TEST(StatElements, AccumulateBlockByBlock) {
  Elements elements;
  ASSERT_TRUE(elements.Add({1, 2, 3, 4}, 2));
  ASSERT_TRUE(elements.Add({-5, 6}, 2));
  EXPECT_EQ(11.0, elements.sum);
  EXPECT_EQ(91.0, elements.squares);
  EXPECT_EQ(-5.0, elements.least);
  EXPECT_EQ(6.0, elements.most);
  EXPECT_EQ(6, elements.count);
}

TEST(StatElements, CountOnlyTheWindow) {
  Elements elements;
  ASSERT_TRUE(elements.Add({1, 2, 3, 4, 5, 6, 7, 8, 9}, 3, kNotSet, 1, 7, -2, 1));
  EXPECT_EQ(2.0 + 3.0 + 5.0 + 6.0, elements.sum);
}

TEST(StatElements, LeaveNullSamplesOut) {
  Elements elements;
  ASSERT_TRUE(elements.Add({1, -99, 3, -99}, 2, -99.0));
  EXPECT_EQ(2, elements.count);
  EXPECT_EQ(1.0, elements.least);
}

TEST(StatElements, AddNothingWhereNothingCounts) {
  Elements elements;
  ASSERT_TRUE(elements.Add({-99, -99}, 2, -99.0));
  EXPECT_EQ(0, elements.count);
  EXPECT_EQ(kNotSet, elements.least);
  EXPECT_EQ(std::vector<std::int64_t>(256, 0), elements.histogram);
}

TEST(StatElements, PutTheEndsOfTheRangeIntoTheFirstAndTheLastBin) {
  Elements elements;
  ASSERT_TRUE(elements.Add({0, 0, 256, 1}, 4));
  EXPECT_EQ(2, elements.histogram[0]);
  EXPECT_EQ(1, elements.histogram[1]);
  EXPECT_EQ(1, elements.histogram[255]);
}

TEST(StatElements, MoveCountsToTheRangeThatHasGrown) {
  Elements elements;
  ASSERT_TRUE(elements.Add({0, 128, 256}, 3));
  ASSERT_TRUE(elements.Add({512}, 1));
  // The bins are twice as wide: the middles of bins 0, 128 and 255 lie in bins 0, 64 and 127.
  EXPECT_EQ(1, elements.histogram[0]);
  EXPECT_EQ(1, elements.histogram[64]);
  EXPECT_EQ(1, elements.histogram[127]);
  EXPECT_EQ(1, elements.histogram[255]);
}

TEST(StatElements, KeepEveryCountWhileTheRangeGrows) {
  Elements elements;
  for (std::int16_t i = 1; i < 100; ++i) {
    ASSERT_TRUE(elements.Add({i, static_cast<std::int16_t>(-i * i)}, 1));
  }
  std::int64_t total = 0;
  for (const std::int64_t count : elements.histogram) total += count;
  EXPECT_EQ(198, total);
}

TEST(StatElements, RefuseWhatIsNoBlock) {
  double sum = 1, squares = 2, least = 3, most = 4;
  std::int64_t count = 5, histogram[256] = {6};
  const std::int16_t sample = 9;
  const auto refused = [&](const void* data, int width, int height, int type) {
    return !XfnGetSubsetStatElem1(data, width, height, type, sum, squares, least, most, count, INT_MIN, INT_MAX,
                                  INT_MIN, INT_MAX, kNotSet) &&
           !XfnGetSubsetStatElem3(data, width, height, type, 0, 1, 0, 1, histogram, INT_MIN, INT_MAX, INT_MIN, INT_MAX,
                                  kNotSet);
  };
  EXPECT_TRUE(refused(nullptr, 1, 1, kSint16));
  EXPECT_TRUE(refused(&sample, 0, 1, kSint16));
  EXPECT_TRUE(refused(&sample, 1, 1, 0));
  EXPECT_TRUE(refused(&sample, 1, 1, 9));
  EXPECT_EQ(1, sum);
  EXPECT_EQ(5, count);
  EXPECT_EQ(6, histogram[0]);
}

TEST(StatElements, StayInTheBinsWhateverRangeIsTold) {
  const std::int16_t samples[] = {-1000, 1000};
  std::int64_t histogram[256] = {};
  ASSERT_TRUE(XfnGetSubsetStatElem3(samples, 2, 1, kSint16, 0, 1, 0, 1, histogram, INT_MIN, INT_MAX, INT_MIN, INT_MAX,
                                    kNotSet));
  EXPECT_EQ(1, histogram[0]);
  EXPECT_EQ(1, histogram[255]);
}

}  // namespace
