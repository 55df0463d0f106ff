#include "base/AlignLike.h"

#include <gtest/gtest.h>

namespace {

TEST(AlignLike, FindsTheFirstAddressThatLiesAsThePlaceDoes) {
  unsigned char room[512];
  for (int i = 0; i < 70; ++i) {
    for (const std::int64_t place : {0, 1, 8, 63, 64, 4105}) {
      unsigned char* const found = zrk::AlignLike(room + i, place);
      EXPECT_EQ(static_cast<std::uint64_t>(place) % 64, reinterpret_cast<std::uintptr_t>(found) % 64);
      EXPECT_GE(found, room + i);
      EXPECT_LT(found, room + i + zrk::kAlignRoom);
    }
  }
}

}  // namespace
