#include "XDataType.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

namespace {

TEST(XDataType, HasTheSizesOfAllThirtyCodes) {
  const int sizes[] = {0, 1, 1, 2, 2, 4, 4, 4, 8, 2, 2, 4, 4, 8, 8, 8, 16, 1, 3, 3, 4, 4, 4, 4, 2, 2, 2, 2, 2, 2};
  ASSERT_EQ(30, kNumDataTypes);
  for (int code = 0; code < kNumDataTypes; ++code) EXPECT_EQ(sizes[code], XfnGetDataSize(code)) << code;
}

TEST(XDataType, CodesOutsideTheTableHaveNoSize) {
  EXPECT_EQ(0, XfnGetDataSize(-1));
  EXPECT_EQ(0, XfnGetDataSize(30));
}

TEST(XDataType, NamesTheEightScalars) {
  const char* names[] = {"", "PINT08", "SINT08", "PINT16", "SINT16", "PINT32", "SINT32", "REAL32", "REAL64", ""};
  for (int code = 0; code < 10; ++code) EXPECT_STREQ(names[code], XfnGetDataTypeString(code));
  EXPECT_STREQ("", XfnGetDataTypeString(-1));
}

TEST(XDataType, TheSentinelHasItsBitPattern) {
  EXPECT_EQ(0x7FEE42D130773B76u, std::bit_cast<std::uint64_t>(kNotSet));
}

}  // namespace
