#include "base/LargePages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(LargePages, LeaveTheContentsAsTheyAre) {
  std::vector<unsigned char> bytes(9 << 20, 0x5A);
  zrk::PreferLargePages(bytes.data() + 1, bytes.size() - 2);
  EXPECT_EQ(bytes.size(), static_cast<std::size_t>(std::ranges::count(bytes, 0x5A)));
}

TEST(LargePages, AreNotAskedForWhereNoneFits) {
  unsigned char few[100] = {1, 2, 3};
  zrk::PreferLargePages(few, sizeof few);
  zrk::PreferLargePages(nullptr, 0);
  EXPECT_EQ(3, few[2]);
}

}  // namespace
