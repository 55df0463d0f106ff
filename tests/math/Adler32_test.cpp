#include "math/Adler32.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

namespace {

std::uint32_t Sum(std::string_view text) {
  return zrk::Adler32({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

TEST(Adler32, IsOneOfNothing) {
  EXPECT_EQ(1u, Sum(""));
}

TEST(Adler32, IsTheSumOfBytesAndTheSumOfSums) {
  // The sums are 1 + 97 = 98 and 98; then 98 + 98 = 196 and 98 + 196 = 294; then 196 + 99 = 295 and 294 + 295 = 589.
  EXPECT_EQ(0x00620062u, Sum("a"));
  EXPECT_EQ(589u << 16 | 295u, Sum("abc"));
}

TEST(Adler32, IsTheSameWithVectorsAndWithout) {
  std::mt19937 random(7);
  std::vector<unsigned char> bytes(200000);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  for (const std::size_t size : {15u, 16u, 17u, 63u, 64u, 65u, 4111u, 4112u, 4113u, 16447u, 16448u, 16449u, 199999u}) {
    const std::span<const unsigned char> part(bytes.data() + 1, size);
    EXPECT_EQ(zrk::Adler32ByBytes(part), zrk::Adler32(part)) << size;
  }
}

TEST(Adler32, HasRoomForTheLargestBytes) {
  const std::vector<unsigned char> bytes(100000, 255);
  EXPECT_EQ(zrk::Adler32ByBytes(bytes), zrk::Adler32(bytes));
}

}  // namespace
