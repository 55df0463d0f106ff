#include "base/PixelStorage.h"
#include "Sanitizers.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t kMoreThanThereIs = std::size_t{1} << 62;

}  // namespace

TEST(PixelStorage, StartsWithNothing) {
  EXPECT_EQ(zrk::PixelStorage().Get(), nullptr);
}

TEST(PixelStorage, IsAlignedToACacheLine) {
  for (const std::size_t bytes : {1, 63, 65, 4097, 1000000}) {
    zrk::PixelStorage storage;
    ASSERT_TRUE(storage.Reserve(bytes));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(storage.Get()) % 64, 0u) << bytes;
    std::memset(storage.Get(), 0xAB, bytes);
  }
}

TEST(PixelStorage, KeepsWhatIsEnough) {
  zrk::PixelStorage storage;
  ASSERT_TRUE(storage.Reserve(1000));
  const unsigned char* const first = storage.Get();
  EXPECT_TRUE(storage.Reserve(1));
  EXPECT_TRUE(storage.Reserve(1000));
  EXPECT_EQ(storage.Get(), first);
}

TEST(PixelStorage, IsAsItWasWhereMemoryRanOut) {
  if (IsSanitized()) GTEST_SKIP() << "a sanitizer ends the program where memory runs out";
  zrk::PixelStorage storage;
  ASSERT_TRUE(storage.Reserve(10));
  unsigned char* const first = storage.Get();
  first[9] = 42;
  EXPECT_FALSE(storage.Reserve(kMoreThanThereIs));
  EXPECT_EQ(storage.Get(), first);
  EXPECT_EQ(first[9], 42);
}

TEST(PixelStorage, CanBeFreedAndUsedAgain) {
  zrk::PixelStorage storage;
  ASSERT_TRUE(storage.Reserve(100));
  storage.Free();
  EXPECT_EQ(storage.Get(), nullptr);
  ASSERT_TRUE(storage.Reserve(10));
  EXPECT_NE(storage.Get(), nullptr);
}

TEST(PixelStorage, CanBeUsedAgainAfterItsBytesWereMovedAway) {
  zrk::PixelStorage from;
  ASSERT_TRUE(from.Reserve(100));
  const unsigned char* const bytes = from.Get();
  const zrk::PixelStorage to = std::move(from);
  EXPECT_EQ(to.Get(), bytes);
  ASSERT_TRUE(from.Reserve(10));  // NOLINT(bugprone-use-after-move): what is left must work
  EXPECT_NE(from.Get(), nullptr);
}
