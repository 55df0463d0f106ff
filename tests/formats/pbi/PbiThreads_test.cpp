#include "OpenRaster.h"
#include "PbiBuilder.h"
#include "ThreadRuns.h"
#include "XFormatId.h"
#include "ZRMBandPBI.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

// Many threads on one image store.

namespace {

constexpr int kNumReads = 40;

using OpenPbi = OpenRaster<ZRMBandPBI>;

PbiBuilder SomeStore() {
  return PbiBuilder()
      .Level({.level = 3, .llRow = 40, .llCol = 80, .urRow = 43, .urCol = 83, .height = 64})
      .Level({.level = 2, .llRow = 20, .llCol = 40, .urRow = 21, .urCol = 41, .height = 64});
}

/// Read `i` of a series of windows that overlap, at three levels and of all channels.
Pixels ReadAt(OpenPbi& store, int i) {
  const int x = i * 37 % 500, y = i * 23 % 120;
  return store.Read(i % 3, {x, x + 299, y, y + 99}, i % 4);
}

class PbiThreads : public testing::TestWithParam<XReadPolicy> {};

TEST_P(PbiThreads, GetWhatOneThreadGets) {
  OpenPbi store(SomeStore().Build(), "a.pbi", kFormatPBI, GetParam());
  std::vector<Pixels> expected(kNumReads);
  for (int i = 0; i < kNumReads; ++i) expected[static_cast<std::size_t>(i)] = ReadAt(store, i);
  ASSERT_FALSE(expected.back().bytes.empty());
  std::atomic<int> numDifferent = 0;
  RunOnThreads(8, [&](int t) {
    for (int k = 0; k < kNumReads; ++k) {
      const int i = (k + 5 * t) % kNumReads;
      if (ReadAt(store, i) != expected[static_cast<std::size_t>(i)]) ++numDifferent;
    }
  });
  EXPECT_EQ(0, numDifferent);
}

TEST_P(PbiThreads, HaveResultsOfTheirOwn) {
  OpenPbi store(SomeStore().Build(), "a.pbi", kFormatPBI, GetParam());
  ASSERT_FALSE(store.Read(0, {1, 60, 1, 60}).bytes.empty());
  std::thread other([&] {
    EXPECT_EQ(nullptr, store.BandAt(2).GetResult(0));
    EXPECT_EQ(30, store.Read(1, {30, 89, 30, 89}, 2).width);
    EXPECT_EQ(30, store.BandAt(2).GetResult(0)->xSize);
  });
  other.join();
  EXPECT_EQ(60, store.BandAt(2).GetResult(0)->xSize);
}

INSTANTIATE_TEST_SUITE_P(Policies, PbiThreads, testing::Values(kReadCompatible, kReadExact),
                         [](const auto& one) { return one.param == kReadExact ? "Exact" : "Compatible"; });

}  // namespace
