#include "math/SampleCast.h"

#include <gtest/gtest.h>

namespace {

using zrk::ToSample;

TEST(SampleCast, RoundsHalfAwayFromZero) {
  EXPECT_EQ(3, ToSample<std::int16_t>(2.5));
  EXPECT_EQ(-3, ToSample<std::int16_t>(-2.5));
  EXPECT_EQ(0, ToSample<std::uint8_t>(0.49999999999999994));
  EXPECT_EQ(4294967295u, ToSample<std::uint32_t>(4294967294.5));
}

TEST(SampleCast, CutsToTheRange) {
  EXPECT_EQ(255, ToSample<std::uint8_t>(1e300));
  EXPECT_EQ(0, ToSample<std::uint8_t>(-0.6));
  EXPECT_EQ(-2147483647 - 1, ToSample<std::int32_t>(-std::numeric_limits<double>::infinity()));
  EXPECT_EQ(std::numeric_limits<float>::max(), ToSample<float>(1e300));
  EXPECT_EQ(std::numeric_limits<float>::lowest(), ToSample<float>(-1e300));
}

TEST(SampleCast, KeepsWhatIsNoNumberInFloatingPointAlone) {
  EXPECT_EQ(0, ToSample<std::int8_t>(std::nan("")));
  EXPECT_TRUE(std::isnan(ToSample<float>(std::nan(""))));
  EXPECT_TRUE(std::isinf(ToSample<float>(std::numeric_limits<double>::infinity())));
}

}  // namespace
