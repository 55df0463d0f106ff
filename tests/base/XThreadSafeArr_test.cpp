#include "XThreadSafeArr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace {

TEST(XThreadSafeArr, GivesTheCallingThreadTheSameBufferAgain) {
  XThreadSafeArr2 pool;
  EXPECT_EQ(nullptr, pool.GetBuffer()->data);
  tagXArr2* buffer = pool.GetBuffer(8, 4, 2);
  ASSERT_NE(nullptr, buffer);
  EXPECT_EQ(8, buffer->xSize);
  EXPECT_EQ(buffer, pool.GetBuffer());
  EXPECT_EQ(buffer, pool.GetBuffer(4, 4, 2));
}

TEST(XThreadSafeArr, AnswersNullForWhatCannotBe) {
  XThreadSafeArr1 lines;
  XThreadSafeArr2 buffers;
  XThreadSafeArr3 planes;
  EXPECT_EQ(nullptr, lines.GetBuffer(INT_MAX, 8));
  EXPECT_EQ(nullptr, buffers.GetBuffer(INT_MAX, INT_MAX, 1));
  EXPECT_EQ(nullptr, planes.GetBuffer(0, 1, 1));
}

TEST(XThreadSafeArr, FreesTheCallingThreadsStorageOnly) {
  XThreadSafeArr2 pool;
  pool.GetBuffer(8, 4, 2);
  std::thread([&] {
    pool.GetBuffer(3, 3, 1);
    pool.FreeCurrentThreadsBuffer();
    EXPECT_EQ(nullptr, pool.GetBuffer()->data);
  }).join();
  EXPECT_EQ(8, pool.GetBuffer()->xSize);
}

TEST(XThreadSafeArrThreads, EveryThreadHasABufferOfItsOwn) {
  constexpr int kNumThreads = 8;
  XThreadSafeArr2 pool;
  std::atomic<int> numReady = 0;
  std::vector<tagXArr2*> buffers(kNumThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kNumThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 1; i < 200; ++i) {
        tagXArr2* buffer = pool.GetBuffer(t + 1, i % 7 + 1, 1);
        buffer->Row(0)[t] = static_cast<unsigned char>(t);
        if (buffer != pool.GetBuffer() || buffer->Row(0)[t] != t) ADD_FAILURE();
      }
      buffers[static_cast<std::size_t>(t)] = pool.GetBuffer();
      ++numReady;
      while (numReady < kNumThreads) std::this_thread::yield();  // all records are alive at once here
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(8u, std::set<tagXArr2*>(buffers.begin(), buffers.end()).size());
}

/// Counts how many of it are alive.
struct Counted {
  Counted() { ++numAlive; }
  ~Counted() { --numAlive; }
  static inline std::atomic<int> numAlive = 0;
};

TEST(PerThreadThreads, RecordsGoWithTheirThread) {
  zrk::PerThread<Counted> pool;
  std::thread([&] {
    pool.Get();
    EXPECT_EQ(1, Counted::numAlive);
  }).join();
  EXPECT_EQ(0, Counted::numAlive);
}

TEST(PerThreadThreads, RecordsGoWithTheirPool) {
  auto pool = std::make_unique<zrk::PerThread<Counted>>();
  pool->Get();
  std::atomic<int> step = 0;
  std::thread other([&] {
    pool->Get();
    step = 1;
    while (step != 2) std::this_thread::yield();
  });
  while (step != 1) std::this_thread::yield();
  EXPECT_EQ(2, Counted::numAlive);
  pool.reset();
  EXPECT_EQ(0, Counted::numAlive);
  step = 2;
  other.join();
}

TEST(PerThreadThreads, ThreadsEndWhilePoolsDie) {
  for (int round = 0; round < 50; ++round) {
    auto pool = std::make_unique<zrk::PerThread<Counted>>();
    std::vector<std::thread> threads;
    std::atomic<int> numHave = 0;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
        pool->Get();
        ++numHave;
      });
    }
    while (numHave < 4) std::this_thread::yield();
    pool.reset();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, Counted::numAlive);
  }
}

TEST(PerThread, FindsNothingBeforeTheFirstRequestAndAfterRelease) {
  zrk::PerThread<Counted> pool;
  EXPECT_EQ(nullptr, pool.Find());
  Counted& record = pool.Get();
  EXPECT_EQ(&record, pool.Find());
  pool.Release();
  EXPECT_EQ(nullptr, pool.Find());
  EXPECT_EQ(0, Counted::numAlive);
}

TEST(PerThread, NoPoolAnswersWithARecordOfAnother) {
  std::vector<std::unique_ptr<zrk::PerThread<int>>> pools;
  for (int i = 0; i < 1000; ++i) {
    pools.push_back(std::make_unique<zrk::PerThread<int>>());
    pools.back()->Get() = i;
  }
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(i, pools[static_cast<std::size_t>(i)]->Get());
  for (int i = 0; i < 1000; ++i) {
    pools[static_cast<std::size_t>(i)] = std::make_unique<zrk::PerThread<int>>();
    EXPECT_EQ(nullptr, pools[static_cast<std::size_t>(i)]->Find());
  }
}

}  // namespace
