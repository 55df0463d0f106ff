#include "OpenRaster.h"
#include "PbeBuilder.h"
#include "StoreThreadRuns.h"
#include "XFormatId.h"
#include "ZRMBandPBE.h"

#include <gtest/gtest.h>

// Many threads on one elevation store.

namespace {

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
  ExpectSameOnThreads(40, [&](int i) { return ReadAt(store, i); });
}

TEST_P(PbeThreads, HaveResultsOfTheirOwn) {
  OpenPbe store(SomeStore().Build(), "a.pbe", kFormatPBE, GetParam());
  ExpectResultsOfTheirOwn(store, 0);
}

INSTANTIATE_TEST_SUITE_P(Policies, PbeThreads, testing::Values(kReadCompatible, kReadExact),
                         [](const auto& one) { return one.param == kReadExact ? "Exact" : "Compatible"; });

}  // namespace
