#include "base/Truncate.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>

using zrk::TruncateToInt;

TEST(Truncate, GoesTowardZero) {
  EXPECT_EQ(2, TruncateToInt(2.999));
  EXPECT_EQ(-2, TruncateToInt(-2.999));
  EXPECT_EQ(0, TruncateToInt(-0.5));
}

TEST(Truncate, CutsToTheRangeOfAnInt) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(INT_MAX, TruncateToInt(2147483648.0));
  EXPECT_EQ(INT_MIN, TruncateToInt(-2147483649.5));
  EXPECT_EQ(INT_MAX, TruncateToInt(infinity));
  EXPECT_EQ(INT_MIN, TruncateToInt(-infinity));
}

TEST(Truncate, MakesZeroOfWhatIsNotANumber) {
  EXPECT_EQ(0, TruncateToInt(std::numeric_limits<double>::quiet_NaN()));
}
