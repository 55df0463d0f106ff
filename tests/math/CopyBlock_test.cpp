#include "math/CopyBlock.h"

#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace {

TEST(CopyBlock, CopiesRowsOfEveryLengthAndNothingBeside) {
  for (const int rowBytes : {1, 2, 15, 16, 31, 32, 33, 63, 64, 65, 100, 255, 256, 4095, 4096, 5000}) {
    const int fromStride = rowBytes + 7, toStride = rowBytes + 3, rows = 3;
    std::vector<unsigned char> from(static_cast<std::size_t>(fromStride * rows));
    std::iota(from.begin(), from.end(), static_cast<unsigned char>(1));
    std::vector<unsigned char> to(static_cast<std::size_t>(toStride * rows), 0), expected = to;
    for (int y = 0; y < rows; ++y)
      std::copy_n(&from[static_cast<std::size_t>(y * fromStride)], rowBytes,
                  &expected[static_cast<std::size_t>(y * toStride)]);
    zrk::CopyBlock(from.data(), fromStride, to.data(), toStride, rowBytes, rows);
    EXPECT_EQ(expected, to) << rowBytes;
  }
}

TEST(CopyBlock, CopiesNoRows) {
  unsigned char to = 7;
  zrk::CopyBlock(nullptr, 0, &to, 0, 100, 0);
  EXPECT_EQ(7, to);
}

}  // namespace
