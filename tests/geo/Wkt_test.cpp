#include "geo/Wkt.h"
#include "Repeat.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Wkt, IsBoundedInLength) {
  EXPECT_TRUE(zrk::IsPlausibleWkt(std::string(1 << 20, 'x')));
  EXPECT_FALSE(zrk::IsPlausibleWkt(std::string((1 << 20) + 1, 'x')));
  EXPECT_FALSE(zrk::IsPlausibleWkt(""));
}

TEST(Wkt, IsBoundedInDepth) {
  EXPECT_TRUE(zrk::IsPlausibleWkt(Repeat("A[", 64)));
  EXPECT_FALSE(zrk::IsPlausibleWkt(Repeat("A[", 65)));
  EXPECT_FALSE(zrk::IsPlausibleWkt(Repeat("A(", 65)));
  EXPECT_TRUE(zrk::IsPlausibleWkt(Repeat("A[],", 1000)));
}

TEST(Wkt, CannotHideDepthBehindClosingBrackets) {
  EXPECT_FALSE(zrk::IsPlausibleWkt("A[\"" + Repeat("]", 100) + "\"," + Repeat("A[", 64)));
  EXPECT_FALSE(zrk::IsPlausibleWkt(Repeat("]", 100) + Repeat("A[", 65)));
}

TEST(Wkt, MayHaveBracketsInNames) {
  EXPECT_TRUE(zrk::IsPlausibleWkt("A[\"" + Repeat("(", 100) + "\"]"));
}

}  // namespace
