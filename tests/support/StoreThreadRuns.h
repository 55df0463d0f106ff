#pragma once

#include "Samples.h"
#include "ThreadRuns.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

/// Makes `numReads` reads on this thread, and then on eight threads at once, each in an order of its own. All must give
/// what they gave here. `readAt(i)` is read number i.
template <class ReadAt>
void ExpectSameOnThreads(int numReads, const ReadAt& readAt) {
  std::vector<Pixels> expected(static_cast<std::size_t>(numReads));
  for (int i = 0; i < numReads; ++i) expected[static_cast<std::size_t>(i)] = readAt(i);
  ASSERT_FALSE(expected.back().bytes.empty());
  std::atomic<int> numDifferent = 0;
  RunOnThreads(8, [&](int t) {
    for (int k = 0; k < numReads; ++k) {
      const int i = (k + 5 * t) % numReads;
      if (readAt(i) != expected[static_cast<std::size_t>(i)]) ++numDifferent;
    }
  });
  EXPECT_EQ(0, numDifferent);
}

/// A thread has no result of a store before it has read, and leaves that of another thread alone.
template <class Store>
void ExpectResultsOfTheirOwn(Store& store, int channel) {
  ASSERT_FALSE(store.Read(0, {1, 60, 1, 60}).bytes.empty());
  std::thread other([&] {
    EXPECT_EQ(nullptr, store.BandAt(channel).GetResult(0));
    EXPECT_EQ(30, store.Read(1, {30, 89, 30, 89}, channel).width);
    EXPECT_EQ(30, store.BandAt(channel).GetResult(0)->xSize);
  });
  other.join();
  EXPECT_EQ(60, store.BandAt(channel).GetResult(0)->xSize);
}
