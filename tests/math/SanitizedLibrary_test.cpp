#include "math/Interleave.h"
#include "Sanitizers.h"

#include <gtest/gtest.h>

#include <vector>

// Tests are compiled without the address sanitizer and linked with a library that has it.

TEST(SanitizedLibrary, IsStoppedAtAnAccessBeyondMemoryOfATest) {
  if (!IsSanitized()) GTEST_SKIP() << "there is no sanitizer in this program";
  constexpr std::size_t kNumPixels = 100;
  const std::vector<unsigned char> pixels(3 * kNumPixels - 1);
  std::vector<unsigned char> planes(3 * kNumPixels);
  unsigned char* const first = planes.data();
  EXPECT_DEATH(zrk::SplitPixels3(pixels.data(), kNumPixels, first, first + kNumPixels, first + 2 * kNumPixels),
               "heap-buffer-overflow");
}
