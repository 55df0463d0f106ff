#include "base/BlockCache.h"

#include "XBlockCache.h"

#include <gtest/gtest.h>
#include <atomic>
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

namespace {

constexpr std::int64_t kBlockBytes = 1000;

/// A cache with room for so many blocks of `kBlockBytes`.
struct SmallCache {
  explicit SmallCache(int numBlocks) { cache.Grant(numBlocks * zrk::BlockCache::Measure(kBlockBytes)); }
  zrk::BlockCache cache;
};

/// "Decodes" a block: all its bytes become `value`. The bytes that it has then, or nothing where it is not kept.
std::optional<int> ReadBlock(const zrk::BlockFile& file, std::int64_t block, int value,
                             std::int64_t numBytes = kBlockBytes) {
  zrk::BlockClaim claim(&file, block);
  if (!claim.IsDecoded()) {
    if (!claim.MakeRoom(numBytes)) return std::nullopt;
    std::memset(claim.GetRoom()->Get(), value, static_cast<std::size_t>(numBytes));
    claim.Keep();
  }
  return claim.GetRoom()->Get()[numBytes - 1];
}

bool Has(const zrk::BlockFile& file, std::int64_t block) {
  return zrk::BlockClaim(&file, block).IsDecoded();
}

}  // namespace

TEST(BlockCache, IsOffAtFirst) {
  EXPECT_EQ(0, XfnGetBlockCacheBytes());
  zrk::BlockCache cache;
  const zrk::BlockFile file(cache);
  EXPECT_EQ(std::nullopt, ReadBlock(file, 0, 7));
  EXPECT_EQ(0, cache.CountBytes());
}

TEST(BlockCache, IsGrantedBytesByThePublicFunction) {
  XfnSetBlockCacheBytes(12345);
  EXPECT_EQ(12345, XfnGetBlockCacheBytes());
  EXPECT_EQ(12345, zrk::BlockCache::OfProcess().GetGranted());
  XfnSetBlockCacheBytes(-1);
  EXPECT_EQ(0, XfnGetBlockCacheBytes());
}

TEST(BlockCache, GivesABlockAsItWasDecoded) {
  SmallCache small(2);
  const zrk::BlockFile file(small.cache);
  EXPECT_EQ(7, ReadBlock(file, 0, 7));
  EXPECT_EQ(7, ReadBlock(file, 0, 8));
  EXPECT_EQ(9, ReadBlock(file, 1, 9));
}

TEST(BlockCache, KeepsBlocksOfTwoFilesApart) {
  SmallCache small(2);
  const zrk::BlockFile one(small.cache), other(small.cache);
  EXPECT_EQ(1, ReadBlock(one, 0, 1));
  EXPECT_EQ(2, ReadBlock(other, 0, 2));
  EXPECT_EQ(1, ReadBlock(one, 0, 3));
}

TEST(BlockCache, NeverTakesMoreThanItsGrant) {
  SmallCache small(10);
  const zrk::BlockFile file(small.cache);
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(i % 256, ReadBlock(file, i, i % 256, 1 + i * 7 % 4000));
    ASSERT_LE(small.cache.CountBytes(), small.cache.GetGranted());
  }
  EXPECT_GT(small.cache.CountBytes(), 0);
}

TEST(BlockCache, CountsMoreThanTheBytesOfABlock) {
  for (const std::int64_t numBytes : {1, 1000, 70000, 200000, 10000000}) {
    EXPECT_GT(zrk::BlockCache::Measure(numBytes), numBytes);
    EXPECT_LT(zrk::BlockCache::Measure(numBytes), numBytes + 8192);
  }
}

TEST(BlockCache, RemovesABlockForAnother) {
  SmallCache small(1);
  const zrk::BlockFile file(small.cache);
  ReadBlock(file, 0, 1);
  ReadBlock(file, 1, 2);
  EXPECT_FALSE(Has(file, 0));
  EXPECT_TRUE(Has(file, 1));
}

TEST(BlockCache, KeepsABlockThatIsUsedAgainAndAgain) {
  SmallCache small(40);
  const zrk::BlockFile file(small.cache);
  ReadBlock(file, 0, 77);
  for (int i = 1; i < 400; ++i) {
    ReadBlock(file, i, 1);
    ASSERT_EQ(77, ReadBlock(file, 0, 78)) << "after block " << i;
  }
}

TEST(BlockCache, KeepsABlockThatFillsItAlone) {
  SmallCache small(100);
  const zrk::BlockFile file(small.cache);
  for (int i = 0; i < 100; ++i) ReadBlock(file, i, 1);
  std::int64_t most = small.cache.GetGranted();
  while (zrk::BlockCache::Measure(most) > small.cache.GetGranted()) --most;
  EXPECT_EQ(5, ReadBlock(file, 1000, 5, most));
  EXPECT_TRUE(Has(file, 1000));
  EXPECT_FALSE(Has(file, 0));
}

TEST(BlockCache, LeavesItsBlocksWhereOneIsLargerThanItIs) {
  SmallCache small(3);
  const zrk::BlockFile file(small.cache);
  ReadBlock(file, 0, 1);
  EXPECT_EQ(std::nullopt, ReadBlock(file, 1, 2, small.cache.GetGranted()));
  EXPECT_TRUE(Has(file, 0));
}

TEST(BlockCache, CountsABlockThatAReaderHolds) {
  SmallCache small(1);
  const zrk::BlockFile file(small.cache);
  ReadBlock(file, 0, 1);
  const std::shared_ptr<zrk::BlockRoom> held = zrk::BlockClaim(&file, 0).GetRoom();
  EXPECT_EQ(std::nullopt, ReadBlock(file, 1, 2)) << "the only room is being read";
  EXPECT_EQ(1, held->Get()[0]);
  EXPECT_TRUE(Has(file, 0));
}

TEST(BlockCache, ForgetsAFileThatCloses) {
  SmallCache small(10);
  const zrk::BlockFile stays(small.cache);
  ReadBlock(stays, 0, 1);
  const std::int64_t before = small.cache.CountBytes();
  {
    const zrk::BlockFile closes(small.cache);
    for (int i = 0; i < 5; ++i) ReadBlock(closes, i, 2);
    EXPECT_EQ(6 * before, small.cache.CountBytes());
  }
  EXPECT_EQ(before, small.cache.CountBytes());
  EXPECT_TRUE(Has(stays, 0));
}

TEST(BlockCache, IsEmptiedWhenItsGrantFalls) {
  SmallCache small(10);
  const zrk::BlockFile file(small.cache);
  for (int i = 0; i < 5; ++i) ReadBlock(file, i, 2);
  small.cache.Grant(small.cache.GetGranted() + 1);
  EXPECT_TRUE(Has(file, 0)) << "more than before empties nothing";
  small.cache.Grant(small.cache.GetGranted() - 1);
  EXPECT_EQ(0, small.cache.CountBytes());
}

TEST(BlockCache, DoesNotKeepABlockThatNoLongerFits) {
  SmallCache small(2);
  const zrk::BlockFile file(small.cache);
  {
    zrk::BlockClaim claim(&file, 0);
    ASSERT_TRUE(claim.MakeRoom(kBlockBytes));
    small.cache.Grant(10);
    claim.Keep();
    EXPECT_FALSE(claim.IsDecoded());
  }
  EXPECT_EQ(0, small.cache.CountBytes());
}

TEST(BlockCache, LeavesABlockThatWasNotKeptToTheNextReader) {
  SmallCache small(2);
  const zrk::BlockFile file(small.cache);
  zrk::BlockClaim(&file, 0).MakeRoom(kBlockBytes);
  EXPECT_EQ(0, small.cache.CountBytes());
  EXPECT_EQ(4, ReadBlock(file, 0, 4));
}

TEST(BlockCacheThreads, DecodeABlockOnceThatAllWant) {
  SmallCache small(4);
  const zrk::BlockFile file(small.cache);
  std::atomic<int> numDecodes = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      zrk::BlockClaim claim(&file, 0);
      if (!claim.IsDecoded()) {
        ++numDecodes;
        std::memset(claim.MakeRoom(kBlockBytes)->Get(), 3, kBlockBytes);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        claim.Keep();
      }
      EXPECT_EQ(3, claim.GetRoom()->Get()[0]);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(1, numDecodes);
}

TEST(BlockCacheThreads, WhoWaitsForABlockThatFailsDecodesItHimself) {
  SmallCache small(4);
  const zrk::BlockFile file(small.cache);
  auto failing = std::make_unique<zrk::BlockClaim>(&file, 0);
  ASSERT_FALSE(failing->IsDecoded());
  std::thread other([&] { EXPECT_EQ(6, ReadBlock(file, 0, 6)); });
  failing.reset();
  other.join();
}

TEST(BlockCacheThreads, StayWithinTheGrantAndGetTheirOwnBytes) {
  SmallCache small(20);
  const zrk::BlockFile file(small.cache);
  std::atomic<bool> isWrong = false;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      const zrk::BlockFile own(small.cache);
      for (int i = 0; i < 500; ++i) {
        const int block = (i * 13 + t * 7) % 50;
        if (ReadBlock(file, block, block).value_or(block) != block) isWrong = true;
        if (ReadBlock(own, i % 5, 100 + t).value_or(100 + t) != 100 + t) isWrong = true;
        if (small.cache.CountBytes() > small.cache.GetGranted()) isWrong = true;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(isWrong);
}

TEST(BlockCacheThreads, MayReadWhileTheGrantChanges) {
  SmallCache small(20);
  const zrk::BlockFile file(small.cache);
  std::atomic<bool> isDone = false;
  std::thread changing([&] {
    for (int i = 0; !isDone; ++i) small.cache.Grant(i % 20 * zrk::BlockCache::Measure(kBlockBytes));
  });
  for (int i = 0; i < 3000; ++i) EXPECT_EQ(i % 30, ReadBlock(file, i % 30, i % 30).value_or(i % 30));
  isDone = true;
  changing.join();
  small.cache.Grant(0);
  EXPECT_EQ(0, small.cache.CountBytes());
}
