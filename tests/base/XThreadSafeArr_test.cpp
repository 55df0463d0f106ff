// Buffers and records that each thread has for itself, and the orders in which threads, pools and the program can end.
// The suites with `Threads` in their names run under the thread sanitizer too.

#include "XThreadSafeArr.h"

#include "base/PerThread.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <memory>
#include <set>
#include <stdexcept>
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
  threads.reserve(kNumThreads);
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
    threads.reserve(4);
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

/// Asks a pool at the very end of its thread: made before the thread first asks a pool, it goes last.
struct AsksAtTheEnd {
  ~AsksAtTheEnd() {
    if (!pool) return;
    pool->Get();
    answer = pool->Find();
  }
  zrk::PerThread<Counted>* pool = nullptr;
  std::atomic<Counted*>& answer;
};

TEST(PerThreadThreads, AThreadThatEndsGetsARecordOfItsOwn) {
  zrk::PerThread<Counted> pool;
  std::atomic<Counted*> answers[2] = {nullptr, nullptr};
  for (std::atomic<Counted*>& answer : answers) {
    std::thread([&] {
      thread_local AsksAtTheEnd last{nullptr, answer};
      last.pool = &pool;
      pool.Get();
    }).join();
  }
  EXPECT_NE(nullptr, answers[0]);
  EXPECT_NE(nullptr, answers[1]);
  EXPECT_NE(answers[0], answers[1]);
  EXPECT_EQ(2, Counted::numAlive);  // both live as long as the pool
}

struct ReleasesAtTheEnd {
  ~ReleasesAtTheEnd() {
    if (!pool) return;
    pool->Get();
    pool->Release();
  }
  zrk::PerThread<Counted>* pool = nullptr;
};

TEST(PerThreadThreads, AThreadThatEndsCanReleaseItsRecord) {
  zrk::PerThread<Counted> pool;
  std::thread([&] {
    thread_local ReleasesAtTheEnd last;
    last.pool = &pool;
    pool.Get();
  }).join();
  EXPECT_EQ(0, Counted::numAlive);
}

/// A record that asks another pool as it goes.
struct AsksAsItGoes {
  ~AsksAsItGoes() {
    if (other) other->Get();
  }
  zrk::PerThread<Counted>* other = nullptr;
};

TEST(PerThreadThreads, ARecordMayAskAnotherPoolAsItGoes) {
  zrk::PerThread<Counted> other;
  {
    zrk::PerThread<AsksAsItGoes> pool;
    std::thread([&] { pool.Get().other = &other; }).join();
    EXPECT_EQ(1, Counted::numAlive);
    pool.Get().other = &other;
    pool.Release();
  }
  EXPECT_EQ(2, Counted::numAlive);
}

TEST(PerThreadThreads, ManyThreadsComeAndGoOnOnePool) {
  zrk::PerThread<Counted> pool;
  for (int round = 0; round < 20; ++round) {
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < 50; ++i) {
          Counted* record = &pool.Get();
          if (pool.Find() != record) ADD_FAILURE();
          if (i % 10 == 9) pool.Release();
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(0, Counted::numAlive);
}

/// Throws when made for the first time.
struct ThrowsOnce {
  ThrowsOnce() {
    if (numMade++ == 0) throw std::runtime_error("not yet");
  }
  static inline int numMade = 0;
};

TEST(PerThread, ARecordThatCouldNotBeMadeIsMadeTheNextTime) {
  zrk::PerThread<ThrowsOnce> pool;
  EXPECT_THROW(pool.Get(), std::runtime_error);
  EXPECT_EQ(nullptr, pool.Find());
  const ThrowsOnce* record = &pool.Get();
  EXPECT_EQ(record, pool.Find());
  EXPECT_EQ(2, ThrowsOnce::numMade);
}

TEST(PerThread, AThreadThatOutlivesManyPoolsForgetsThem) {
  const auto usePools = [](int count) {
    for (int i = 0; i < count; ++i) zrk::PerThread<int>().Get() = i;
  };
  usePools(1000);
  const std::size_t before = mallinfo2().uordblks;
  usePools(20000);
  EXPECT_LT(mallinfo2().uordblks, before + 200000);
}

zrk::PerThread<int>& PoolOfTheProgram() {
  static zrk::PerThread<int> pool;
  return pool;
}

TEST(PerThreadDeathTest, APoolServesUntilTheProgramHasEnded) {
  const auto end = [] {
    PoolOfTheProgram().Get() = 1;
    std::atexit([] { _exit(PoolOfTheProgram().Get() == 0 ? 5 : 6); });  // the first record went with the table
    std::exit(1);
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(5), "");
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
