#include "OpenStore.h"
#include "ThreadRuns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

// Many threads on one band.

namespace {

constexpr int kNumReaders = 8;
constexpr int kReadsOfAThread = 40;

TxidBuilder SomeStore() {
  TxidBuilder builder = TxidBuilder().Grid(5, 4, 24);
  for (int key = 0; key < 20; ++key) {
    if (key % 7 != 3) builder.Tile(key);
  }
  return builder;
}

struct Request {
  int channel;
  int level;
  Window window;
};

/// Request `i` of a series of windows, overviews and single pixels.
Request RequestAt(int i) {
  if (i % 8 == 7) return {i % 3, 1 + i % 3, {0, 119, 0, 95}};
  const int x = i * 17 % 70, y = i * 11 % 50;
  if (i % 8 == 6) return {i % 3, 0, {x, x, y, y}};
  return {i % 3, i % 3, {x, x + 49, y, y + 45}};
}

Pixels ReadAt(OpenStore& store, int i) {
  const Request request = RequestAt(i);
  return store.Read(request.level, request.window, request.channel);
}

class TxidThreads : public testing::TestWithParam<XReadPolicy> {};

TEST_P(TxidThreads, GetWhatOneThreadGets) {
  OpenStore store(SomeStore(), GetParam());
  std::vector<Pixels> expected;
  std::thread alone([&] {
    for (int i = 0; i < kReadsOfAThread; ++i) expected.push_back(ReadAt(store, i));
  });
  alone.join();
  std::atomic<int> numDifferent = 0;
  RunOnThreads(kNumReaders, [&](int) {
    for (int i = 0; i < kReadsOfAThread; ++i) {
      if (ReadAt(store, i) != expected[static_cast<std::size_t>(i)]) ++numDifferent;
    }
  });
  EXPECT_EQ(0, numDifferent);
  EXPECT_GT(std::ranges::count_if(expected, [](const Pixels& pixels) { return !pixels.bytes.empty(); }),
            kReadsOfAThread / 2);
}

TEST_P(TxidThreads, HaveMemoriesOfTheirOwn) {
  OpenStore store(SomeStore(), GetParam());
  ASSERT_FALSE(store.Read(0, {1, 60, 1, 60}).bytes.empty());
  std::thread other([&] {
    EXPECT_EQ(nullptr, store.Band().GetResult(0));
    int level = 0, overview = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    store.Band().GetPrevReadSubsetParam(level, overview, x0, x1, y0, y1);
    EXPECT_EQ(std::vector<int>(6, -1), (std::vector<int>{level, overview, x0, x1, y0, y1}));
    ASSERT_FALSE(store.Read(1, {30, 90, 30, 90}).bytes.empty());
  });
  other.join();
  EXPECT_EQ(60, store.Result(0).width);
}

INSTANTIATE_TEST_SUITE_P(Policies, TxidThreads, testing::Values(kReadCompatible, kReadExact),
                         [](const auto& one) { return one.param == kReadExact ? "Exact" : "Compatible"; });

}  // namespace
