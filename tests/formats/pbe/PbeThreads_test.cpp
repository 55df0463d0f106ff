#include "OpenRaster.h"
#include "PbeBuilder.h"
#include "ThreadRuns.h"
#include "XFormatId.h"
#include "ZRMBandPBE.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

// Many threads on one elevation store.

namespace {

constexpr int kNumReads = 40;

using OpenPbe = OpenRaster<ZRMBandPBE>;

PbeBuilder SomeStore() {
  return PbeBuilder()
      .Version(1.0)
      .Level({.level = 3, .llRow = 40, .llCol = 80, .urRow = 43, .urCol = 83})
      .Level({.level = 2, .llRow = 20, .llCol = 40, .urRow = 21, .urCol = 41});
}

/// Read `i` of a series of windows that overlap, at three levels.
Pixels ReadAt(OpenPbe& store, int i) {
  const int x = i * 7 % 50, y = i * 11 % 60;
  return store.Read(i % 3, {x, x + 64, y, y + 49});
}

class PbeThreads : public testing::TestWithParam<XReadPolicy> {};

TEST_P(PbeThreads, GetWhatOneThreadGets) {
  OpenPbe store(SomeStore().Build(), "a.pbe", kFormatPBE, GetParam());
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

TEST_P(PbeThreads, HaveResultsOfTheirOwn) {
  OpenPbe store(SomeStore().Build(), "a.pbe", kFormatPBE, GetParam());
  ASSERT_FALSE(store.Read(0, {1, 60, 1, 60}).bytes.empty());
  std::thread other([&] {
    EXPECT_EQ(nullptr, store.BandAt().GetResult(0));
    EXPECT_EQ(30, store.Read(1, {30, 89, 30, 89}).width);
    EXPECT_EQ(30, store.BandAt().GetResult(0)->xSize);
  });
  other.join();
  EXPECT_EQ(60, store.BandAt().GetResult(0)->xSize);
}

INSTANTIATE_TEST_SUITE_P(Policies, PbeThreads, testing::Values(kReadCompatible, kReadExact),
                         [](const auto& one) { return one.param == kReadExact ? "Exact" : "Compatible"; });

}  // namespace
