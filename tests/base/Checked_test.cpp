#include "base/Checked.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <limits>

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

}  // namespace

TEST(Checked, SumsThatFitAreExact) {
  EXPECT_EQ(zrk::CheckedAdd(40, 2), 42);
  EXPECT_EQ(zrk::CheckedAdd(-40, -2), -42);
  EXPECT_EQ(zrk::CheckedAdd(kLargest - 1, 1), kLargest);
  EXPECT_EQ(zrk::CheckedAdd(kLargest, kSmallest), -1);
}

TEST(Checked, SumsThatOverflowAreEmpty) {
  EXPECT_FALSE(zrk::CheckedAdd(kLargest, 1));
  EXPECT_FALSE(zrk::CheckedAdd(kSmallest, -1));
}

TEST(Checked, ProductsThatFitAreExact) {
  EXPECT_EQ(zrk::CheckedMultiply(6, -7), -42);
  EXPECT_EQ(zrk::CheckedMultiply(0, kLargest), 0);
  EXPECT_EQ(zrk::CheckedMultiply(std::int64_t{1} << 31, std::int64_t{1} << 31), std::int64_t{1} << 62);
}

TEST(Checked, ProductsThatOverflowAreEmpty) {
  EXPECT_FALSE(zrk::CheckedMultiply(std::int64_t{1} << 32, std::int64_t{1} << 31));
  EXPECT_FALSE(zrk::CheckedMultiply(kSmallest, -1));
  EXPECT_FALSE(zrk::CheckedMultiply(kLargest, 2));
}

TEST(Checked, ARangeFitsUpToTheLastByte) {
  EXPECT_TRUE(zrk::FitsWithin(0, 10, 10));
  EXPECT_TRUE(zrk::FitsWithin(9, 1, 10));
  EXPECT_TRUE(zrk::FitsWithin(10, 0, 10));
  EXPECT_FALSE(zrk::FitsWithin(9, 2, 10));
  EXPECT_FALSE(zrk::FitsWithin(11, 0, 10));
}

TEST(Checked, NoRangeFitsThatIsNegativeOrOverflows) {
  EXPECT_FALSE(zrk::FitsWithin(-1, 1, 10));
  EXPECT_FALSE(zrk::FitsWithin(1, -1, 10));
  EXPECT_FALSE(zrk::FitsWithin(0, 0, -1));
  EXPECT_FALSE(zrk::FitsWithin(kLargest, kLargest, 10));
  EXPECT_FALSE(zrk::FitsWithin(1, kLargest, kLargest));
}
