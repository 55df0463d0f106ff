#include "base/DataTypeVisit.h"

#include <gtest/gtest.h>
#include <type_traits>

TEST(DataTypeVisit, TheTypeOfACodeHasThatCodeAndSize) {
  const int sizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
  for (int code = kPint08; code <= kReal64; ++code) {
    int visited = 0;
    int size = 0;
    EXPECT_TRUE(zrk::VisitDataType(code, [&](auto zero) {
      visited = zrk::kDataTypeOf<decltype(zero)>;
      size = static_cast<int>(sizeof(zero));
      EXPECT_EQ(zero, 0);
    }));
    EXPECT_EQ(visited, code);
    EXPECT_EQ(size, sizes[code - 1]);
  }
}

TEST(DataTypeVisit, EvenCodesOfIntegersAreSigned) {
  for (int code = kPint08; code <= kSint32; ++code) {
    zrk::VisitDataType(code, [&](auto zero) { EXPECT_EQ(std::is_signed_v<decltype(zero)>, code % 2 == 0) << code; });
  }
}

TEST(DataTypeVisit, OtherCodesAreNotVisited) {
  for (const int code : {-1, 0, 9, 29, 30, 1000}) {
    EXPECT_FALSE(zrk::VisitDataType(code, [](auto) { FAIL(); })) << code;
  }
}
