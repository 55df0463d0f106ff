#include "base/LeadingNumber.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

namespace {

using zrk::TakeFrontNumber;

TEST(LeadingNumber, IsWhatATextBeginsWith) {
  EXPECT_EQ(12, TakeFrontNumber<int>(" \n12 apples").value);
  EXPECT_EQ(4U, TakeFrontNumber<int>(" \n12 apples").length);
  EXPECT_EQ(-7, TakeFrontNumber<int>("-7.9").value);
  EXPECT_EQ(7, TakeFrontNumber<int>("+7").value);
  EXPECT_DOUBLE_EQ(-1.5e3, TakeFrontNumber<double>("-1.5e3m").value);
  EXPECT_EQ(6U, TakeFrontNumber<double>("-1.5e3m").length);
}

TEST(LeadingNumber, OfOtherTextsIsZeroAndTakesNothing) {
  for (const char* const text : {"", " ", "apples", "+", "+-3", "-", ",5"}) {
    EXPECT_EQ(0.0, TakeFrontNumber<double>(text).value) << text;
    EXPECT_EQ(0U, TakeFrontNumber<double>(text).length) << text;
  }
}

TEST(LeadingNumber, BeyondTheRangeIsItsEnd) {
  EXPECT_EQ(INT_MAX, TakeFrontNumber<int>("2147483648").value);
  EXPECT_EQ(INT_MIN, TakeFrontNumber<int>("-99999999999999999999").value);
  EXPECT_EQ(INFINITY, TakeFrontNumber<double>("1e999").value);
  EXPECT_EQ(-INFINITY, TakeFrontNumber<double>("-1e999").value);
  EXPECT_EQ(INFINITY, TakeFrontNumber<double>("1" + std::string(400, '0')).value);
  EXPECT_EQ(0.0, TakeFrontNumber<double>("1e-999").value);
  EXPECT_EQ(0.0, TakeFrontNumber<double>("0." + std::string(400, '0') + "1").value);
}

TEST(LeadingNumber, TakesWordsForNumbersThatAreNotFinite) {
  EXPECT_TRUE(std::isnan(TakeFrontNumber<double>("nan").value));
  EXPECT_TRUE(std::isinf(TakeFrontNumber<double>("-inf").value));
}

}  // namespace
