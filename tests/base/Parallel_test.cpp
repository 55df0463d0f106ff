#include "base/Parallel.h"

#include "XSystem.h"

#include <gtest/gtest.h>
#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

/// Puts the number of workers back.
class ParallelThreads : public testing::Test {
 protected:
  void TearDown() override { XfnSetWorkerCount(1); }
};

TEST_F(ParallelThreads, DoEveryIndexOnce) {
  for (const int workers : {1, 2, 8}) {
    std::vector<int> done(1000, 0);
    EXPECT_TRUE(zrk::ForEachInParallel(workers, 1000, [&](int index, int) {
      ++done[static_cast<std::size_t>(index)];
      return true;
    }));
    EXPECT_EQ(std::vector<int>(1000, 1), done);
  }
}

TEST_F(ParallelThreads, AreNotStartedForOneWorker) {
  const std::thread::id caller = std::this_thread::get_id();
  EXPECT_TRUE(zrk::ForEachInParallel(
      1, 10, [&](int, int worker) { return worker == 0 && std::this_thread::get_id() == caller; }));
}

TEST_F(ParallelThreads, AreNoMoreThanThereIsWork) {
  XfnSetWorkerCount(8);
  EXPECT_EQ(3, zrk::CountWorkers(3));
  std::mutex mutex;
  std::set<std::thread::id> threads;
  EXPECT_TRUE(zrk::ForEachInParallel(8, 3, [&](int, int worker) {
    const std::lock_guard lock(mutex);
    threads.insert(std::this_thread::get_id());
    return worker < 3;
  }));
  EXPECT_LE(threads.size(), 3u);
}

TEST_F(ParallelThreads, TakeNothingMoreAfterAFailure) {
  std::atomic<int> numDone = 0;
  EXPECT_FALSE(zrk::ForEachInParallel(2, 100000, [&](int index, int) {
    ++numDone;
    return index != 5;
  }));
  EXPECT_LT(numDone, 100000);
}

TEST_F(ParallelThreads, HandTheCallerWhatOneThrows) {
  EXPECT_THROW(zrk::ForEachInParallel(2, 100,
                                      [](int index, int) -> bool {
                                        if (index == 50) throw std::runtime_error("fifty");
                                        return true;
                                      }),
               std::runtime_error);
}

TEST_F(ParallelThreads, HaveNothingToDoForNoWork) {
  EXPECT_TRUE(zrk::ForEachInParallel(2, 0, [](int, int) { return false; }));
}

TEST(ForEachInParallelThreads, KnowThatTheyShareWork) {
  EXPECT_FALSE(zrk::IsSharingWork());
  std::atomic<int> numSharing = 0;
  zrk::ForEachInParallel(3, 6, [&](int, int) { return (numSharing += zrk::IsSharingWork()) >= 0; });
  EXPECT_EQ(6, numSharing);
  zrk::ForEachInParallel(1, 6, [&](int, int) { return (numSharing += zrk::IsSharingWork()) >= 0; });
  EXPECT_EQ(6, numSharing);
  EXPECT_FALSE(zrk::IsSharingWork());
}

}  // namespace
