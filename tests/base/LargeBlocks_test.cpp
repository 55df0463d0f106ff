#include "base/LargeBlocks.h"
#include "Sanitizers.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kMegabyte = std::size_t{1} << 20;

bool IsMapped(const zrk::LargeBlock& block) {
  unsigned char* const page = block.bytes - reinterpret_cast<std::uintptr_t>(block.bytes) % 4096;
  return msync(page, 4096, MS_ASYNC) == 0 || errno != ENOMEM;
}

/// Has nothing kept but one block that none of the tests asks for. It leaves room for no other.
void DriveKeptBlocksOut() {
  zrk::GiveLargeBlockBack(zrk::TakeLargeBlock(63 * kMegabyte));
}

class LargeBlocks : public testing::Test {
 protected:
  void SetUp() override { DriveKeptBlocksOut(); }
};

}  // namespace

TEST_F(LargeBlocks, BeginAtAMegabyte) {
  if (IsSanitized()) GTEST_SKIP() << "nothing is large under the address sanitizer";
  EXPECT_FALSE(zrk::IsLargeBlock(kMegabyte - 1));
  EXPECT_TRUE(zrk::IsLargeBlock(kMegabyte));
}

TEST_F(LargeBlocks, HaveAllThatWasAskedFor) {
  for (const std::size_t bytes : {kMegabyte, kMegabyte + 1, 2 * kMegabyte, 26 * kMegabyte - 1, 100 * kMegabyte}) {
    const zrk::LargeBlock block = zrk::TakeLargeBlock(bytes);
    ASSERT_NE(block.bytes, nullptr) << bytes;
    EXPECT_GE(block.count, bytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.bytes) % 64, 0u) << bytes;
    std::memset(block.bytes, 0xAB, block.count);
    zrk::GiveLargeBlockBack(block);
  }
}

/// A copy between a file and memory is slow where the one lies a few bytes behind the other within their pages, and
/// samples begin close to the start of most files.
TEST_F(LargeBlocks, BeginFarFromTheEdgeOfAPage) {
  for (const std::size_t bytes : {kMegabyte, 5 * kMegabyte}) {
    const zrk::LargeBlock block = zrk::TakeLargeBlock(bytes);
    ASSERT_NE(block.bytes, nullptr);
    const std::size_t place = reinterpret_cast<std::uintptr_t>(block.bytes) % 4096;
    EXPECT_GT(place, 1500u);
    EXPECT_LT(place, 4000u);
    zrk::GiveLargeBlockBack(block);
  }
}

TEST_F(LargeBlocks, ServeTheNextRequestOfTheirSize) {
  const zrk::LargeBlock first = zrk::TakeLargeBlock(5 * kMegabyte);
  zrk::GiveLargeBlockBack(first);
  const zrk::LargeBlock next = zrk::TakeLargeBlock(5 * kMegabyte - 10000);
  EXPECT_EQ(next.bytes, first.bytes);
  EXPECT_EQ(next.count, first.count);
  zrk::GiveLargeBlockBack(next);
}

TEST_F(LargeBlocks, AreLeftWhereAnEighthWouldLieIdle) {
  const zrk::LargeBlock large = zrk::TakeLargeBlock(32 * kMegabyte);
  zrk::GiveLargeBlockBack(large);
  const zrk::LargeBlock less = zrk::TakeLargeBlock(27 * kMegabyte);
  EXPECT_NE(less.bytes, large.bytes);
  const zrk::LargeBlock close = zrk::TakeLargeBlock(29 * kMegabyte);
  EXPECT_EQ(close.bytes, large.bytes);
  zrk::GiveLargeBlockBack(less);
  zrk::GiveLargeBlockBack(close);
}

TEST_F(LargeBlocks, GoBackToTheSystemAbove64Megabytes) {
  const zrk::LargeBlock block = zrk::TakeLargeBlock(65 * kMegabyte);
  ASSERT_TRUE(IsMapped(block));
  zrk::GiveLargeBlockBack(block);
  EXPECT_FALSE(IsMapped(block));
}

TEST_F(LargeBlocks, AreDrivenOutByALargerOne) {
  const zrk::LargeBlock block = zrk::TakeLargeBlock(5 * kMegabyte);
  zrk::GiveLargeBlockBack(block);
  ASSERT_TRUE(IsMapped(block));
  DriveKeptBlocksOut();
  EXPECT_FALSE(IsMapped(block));
}

TEST_F(LargeBlocks, GoTheOldestFirst) {
  std::vector<zrk::LargeBlock> blocks;
  for (int i = 0; i < 4; ++i) blocks.push_back(zrk::TakeLargeBlock(20 * kMegabyte));
  for (const zrk::LargeBlock& block : blocks) zrk::GiveLargeBlockBack(block);
  EXPECT_FALSE(IsMapped(blocks[0]));
  for (int i = 1; i < 4; ++i) EXPECT_TRUE(IsMapped(blocks[static_cast<std::size_t>(i)])) << i;
}

TEST_F(LargeBlocks, AreSixteenAtMost) {
  std::vector<zrk::LargeBlock> blocks;
  for (int i = 0; i < 17; ++i) blocks.push_back(zrk::TakeLargeBlock(kMegabyte));
  for (const zrk::LargeBlock& block : blocks) zrk::GiveLargeBlockBack(block);
  EXPECT_EQ(16, std::ranges::count_if(blocks, IsMapped));
}

TEST_F(LargeBlocks, AreRefusedBeyondAllMemory) {
  EXPECT_EQ(zrk::TakeLargeBlock(std::size_t{1} << 62).bytes, nullptr);
  EXPECT_EQ(zrk::TakeLargeBlock(std::numeric_limits<std::size_t>::max()).bytes, nullptr);
}

namespace {

/// Lets the process have so many bytes of addresses more than it has.
void LimitFurtherAddresses(std::size_t bytes) {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t most = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + bytes;
  const rlimit limit = {most, most};
  setrlimit(RLIMIT_AS, &limit);
}

/// 0 where a block of another size is to be had only in the place of one that is kept, and is.
int TakeInPlaceOfKept() {
  zrk::TakeLargeBlock(63 * kMegabyte);  // what may be kept
  LimitFurtherAddresses(50 * kMegabyte);
  const zrk::LargeBlock kept = zrk::TakeLargeBlock(40 * kMegabyte);
  if (!kept.bytes || zrk::TakeLargeBlock(20 * kMegabyte).bytes) return 1;
  zrk::GiveLargeBlockBack(kept);
  return zrk::TakeLargeBlock(20 * kMegabyte).bytes ? 0 : 2;
}

}  // namespace

TEST_F(LargeBlocks, MakeRoomForOthersWhereAddressesRunOut) {
  if (IsSanitized()) GTEST_SKIP() << "a sanitizer needs more addresses than that";
  EXPECT_EXIT(_exit(TakeInPlaceOfKept()), testing::ExitedWithCode(0), "");
}

TEST_F(LargeBlocks, BelongToOneThreadAtATime) {
  const auto work = [](unsigned char mark) {
    for (std::size_t i = 0; i < 15; ++i) {
      const zrk::LargeBlock block = zrk::TakeLargeBlock((1 + i % 3) * kMegabyte);
      ASSERT_NE(block.bytes, nullptr);
      std::memset(block.bytes, mark, block.count);
      EXPECT_EQ(block.count, static_cast<std::size_t>(std::count(block.bytes, block.bytes + block.count, mark)));
      zrk::GiveLargeBlockBack(block);
    }
  };
  std::vector<std::jthread> threads;
  for (unsigned char mark = 1; mark <= 4; ++mark) threads.emplace_back(work, mark);
}
