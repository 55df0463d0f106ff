#include "OpenRaster.h"
#include "PbiBuilder.h"
#include "StoreThreadRuns.h"
#include "XFormatId.h"
#include "ZRMBandPBI.h"

#include <gtest/gtest.h>

// Many threads on one image store.

namespace {

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
  ExpectSameOnThreads(40, [&](int i) { return ReadAt(store, i); });
}

TEST_P(PbiThreads, HaveResultsOfTheirOwn) {
  OpenPbi store(SomeStore().Build(), "a.pbi", kFormatPBI, GetParam());
  ExpectResultsOfTheirOwn(store, 2);
}

INSTANTIATE_TEST_SUITE_P(Policies, PbiThreads, testing::Values(kReadCompatible, kReadExact),
                         [](const auto& one) { return one.param == kReadExact ? "Exact" : "Compatible"; });

}  // namespace
