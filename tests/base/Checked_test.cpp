#include "base/Checked.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

TEST(Checked, SumsAndProductsBeyond63BitsAreEmpty) {
  EXPECT_EQ(kMost, zrk::CheckedAdd(kMost - 1, 1));
  EXPECT_FALSE(zrk::CheckedAdd(kMost, 1));
  EXPECT_EQ(6, zrk::CheckedMultiply(2, 3));
  EXPECT_FALSE(zrk::CheckedMultiply(kMost / 2, 3));
}

TEST(Checked, ARangeFitsOnlyWhollyWithinTheFile) {
  EXPECT_TRUE(zrk::FitsWithin(0, 10, 10));
  EXPECT_TRUE(zrk::FitsWithin(10, 0, 10));
  EXPECT_FALSE(zrk::FitsWithin(1, 10, 10));
  EXPECT_FALSE(zrk::FitsWithin(-1, 2, 10));
  EXPECT_FALSE(zrk::FitsWithin(0, -1, 10));
  EXPECT_FALSE(zrk::FitsWithin(kMost, kMost, 10));
}

}  // namespace
