#include "XDataType.h"

#include <gtest/gtest.h>
#include <bit>
#include <climits>
#include <cstdint>

TEST(XDataType, EachOfThirtyCodesHasItsSize) {
  const int sizes[] = {0, 1, 1, 2, 2, 4, 4, 4,  8,                                       // none, scalars
                       2, 2, 4, 4, 8, 8, 8, 16, 1, 3, 3, 4, 4, 4, 4, 2, 2, 2, 2, 2, 2};  // for sizing only
  static_assert(std::size(sizes) == kNumDataTypes);
  for (int code = 0; code < kNumDataTypes; ++code) EXPECT_EQ(XfnGetDataSize(code), sizes[code]) << code;
}

TEST(XDataType, CodesOutsideTheTableHaveNoSize) {
  for (const int code : {-1, 30, INT_MIN, INT_MAX}) EXPECT_EQ(XfnGetDataSize(code), 0) << code;
}

TEST(XDataType, ScalarCodesHaveNames) {
  const char* const names[] = {"PINT08", "SINT08", "PINT16", "SINT16", "PINT32", "SINT32", "REAL32", "REAL64"};
  for (int code = kPint08; code <= kReal64; ++code) EXPECT_STREQ(XfnGetDataTypeString(code), names[code - 1]);
}

TEST(XDataType, OtherCodesHaveTheEmptyName) {
  for (const int code : {0, 9, 29, -1, 30, INT_MIN, INT_MAX}) EXPECT_STREQ(XfnGetDataTypeString(code), "") << code;
}

TEST(XDataType, NotSetHasItsBitPattern) {
  EXPECT_EQ(std::bit_cast<std::uint64_t>(kNotSet), 0x7FEE42D130773B76u);
}
