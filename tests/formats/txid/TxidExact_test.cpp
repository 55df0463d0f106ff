#include "OpenStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

// Stores under the exact policy.

namespace {

TxidBuilder SparseStore(int tileSize) {
  return TxidBuilder().Grid(4, 3, tileSize).Tile(0).Tile(2).Tile(5).Tile(6).Tile(7).Tile(8).Tile(11);
}

TEST(TxidExact, EveryLevelHasThePixelsOfItsPlaces) {
  std::mt19937 random(9);
  const auto below = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
  for (const int size : {1, 2, 5, 8, 31, 64, 101}) {
    OpenStore store(SparseStore(size), kReadExact);
    for (int i = 0; i < 25; ++i) {
      const Window whole = store.Whole();
      const int x0 = below(whole.x1 + 1), y0 = below(whole.y1 + 1);
      const Window window{x0, x0 + below(whole.x1 + 1 - x0), y0, y0 + below(whole.y1 + 1 - y0)};
      const int level = below(7);
      if (window.Width() >> level == 0 || window.Height() >> level == 0) continue;
      for (int channel = 0; channel < 4; ++channel) {
        ASSERT_EQ(store.Expected(level, window, channel), store.Read(level, window, channel))
            << "tile size " << size << ", level " << level << ", " << window;
      }
    }
  }
}

TEST(TxidExact, SeamsOfTilesShowTheirOwnPixels) {
  OpenStore store(SparseStore(8), kReadExact);
  for (int x = 0; x < 31; ++x) {
    EXPECT_EQ(store.Expected(1, {x, 31, 1, 23}, 0), store.Read(1, {x, 31, 1, 23})) << x;
  }
}

TEST(TxidExact, ASinglePixelIsReadWithoutAWindowBefore) {
  OpenStore store(SparseStore(8), kReadExact);
  for (int y = 0; y < 24; y += 5) {
    for (int x = 0; x < 32; x += 3) {
      for (int channel = 0; channel < 4; ++channel) {
        ASSERT_EQ(store.Expected(0, {x, x, y, y}, channel), store.Read(0, {x, x, y, y}, channel)) << x << ", " << y;
      }
    }
  }
}

TEST(TxidExact, ASinglePixelIsThatOfFullResolutionBehindACoarseWindow) {
  OpenStore store(SparseStore(8), kReadExact);
  ASSERT_FALSE(store.Read(2, {0, 15, 0, 15}).bytes.empty());
  const Pixels coarse = store.Result(0);
  for (int x = 0; x < 8; ++x) EXPECT_EQ(store.Expected(0, {x, x, 3, 3}, 0), store.Read(0, {x, x, 3, 3}));
  EXPECT_EQ(coarse, store.Result(0)) << "the window stays";
}

TEST(TxidExact, ASinglePixelOfTheLastWindowTakesNoRead) {
  OpenStore store(SparseStore(8), kReadExact);
  ASSERT_FALSE(store.Read(0, {2, 9, 2, 9}).bytes.empty());
  ASSERT_TRUE(store.Folder().Path().size() > 1);
  store.Folder().Write("a.txd", TxidBuilder::Bytes());
  for (int x = 2; x < 8; ++x) EXPECT_EQ(store.Expected(0, {x, x, 9, 9}, 2), store.Read(0, {x, x, 9, 9}, 2));
  EXPECT_NE("", store.Failure(0, {1, 1, 3, 3}));
}

TEST(TxidExact, ChannelThreeIsRead) {
  OpenStore store(SparseStore(8), kReadExact);
  const Window window{0, 31, 0, 23};
  EXPECT_EQ(store.Expected(0, window, 3), store.Read(0, window, 3));
  tagXArr2* out = nullptr;
  EXPECT_EQ(1, store.Band().ReadSubset(out, 3, 0, 0, 31, 0, 23, nullptr));
  EXPECT_EQ(store.Expected(0, window, 3), OpenStore::PixelsOf(out));
  EXPECT_EQ(0, store.Band().ReadSubset(out, 4, 0, 0, 31, 0, 23, nullptr));
}

TEST(TxidExact, LevelsThatCannotBeFailWithASentence) {
  OpenStore store(SparseStore(8), kReadExact);
  for (const int level : {-1, 31, 64, 6})
    EXPECT_EQ("The level leaves no pixel of the window", store.Failure(level, store.Whole()));
  EXPECT_EQ("The window is not inside the band", store.Failure(0, {0, 32, 0, 0}));
}

TEST(TxidExact, StatisticsAreThoseOfAllPixels) {
  const TxidBuilder builder = SparseStore(8);
  OpenStore store(builder, kReadExact);
  for (int channel = 0; channel < 4; ++channel) {
    ASSERT_EQ(1, store.Band(channel).CalcStatistics(1));
    const std::vector<unsigned char> bytes = store.Expected(0, store.Whole(), channel).bytes;
    double sum = 0.0;
    for (const unsigned char byte : bytes) sum += byte;
    EXPECT_EQ(*std::ranges::min_element(bytes), store.Band(channel).GetBandMin());
    EXPECT_EQ(*std::ranges::max_element(bytes), store.Band(channel).GetBandMax());
    EXPECT_DOUBLE_EQ(sum / static_cast<double>(bytes.size()), store.Band(channel).GetBandMean());
  }
}

TEST(TxidExact, BlankIsWhatTheThreadReadLast) {
  OpenStore store(SparseStore(8), kReadExact);
  const Window absent{8, 15, 0, 7}, present{0, 15, 0, 7};
  ASSERT_FALSE(store.Read(0, absent).bytes.empty());
  EXPECT_EQ(1, store.Band(1).IsBlankSubset());
  ASSERT_FALSE(store.Read(0, present).bytes.empty());
  EXPECT_EQ(0, store.Band().IsBlankSubset());
  ASSERT_FALSE(store.Read(0, present).bytes.empty());
  EXPECT_EQ(0, store.Band().IsBlankSubset()) << "a repeat tells the same";
}

TEST(TxidExact, AFailedReadLeavesNoResultToBeRepeated) {
  OpenStore store(SparseStore(8), kReadExact);
  const Window window{0, 9, 0, 9};
  const TxidBuilder::Bytes data = ReadBytes(store.Folder().Path("a.txd"));
  store.Folder().Write("a.txd", TxidBuilder::Bytes());
  EXPECT_NE("", store.Failure(0, window));
  EXPECT_EQ(nullptr, store.Band().GetResult(0));
  store.Folder().Write("a.txd", data);
  EXPECT_EQ(store.Expected(0, window, 0), store.Read(0, window));
}

TEST(TxidExact, WhatAThreadIsToldToRememberChangesNoPixels) {
  OpenStore store(SparseStore(8), kReadExact);
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  store.Band().SetPrevReadSubsetParam(0, 1, 8, 17, 8, 17);
  EXPECT_EQ(store.Expected(0, {8, 17, 8, 17}, 1), store.Read(0, {8, 17, 8, 17}, 1));
  EXPECT_EQ(store.Expected(1, store.Whole(), 1), store.Read(1, store.Whole(), 1));
}

TEST(TxidExact, TheTransformIsThatOfTheOuterCorner) {
  OpenStore store(TxidBuilder().Grid(2, 2, 8).PixelSize(25000000, 12500000).Corner(-180.0, 90.0).Tile(0), kReadExact);
  double transform[6] = {};
  store.Band(3).GetGeoTransform(transform);
  const double expected[6] = {-180.0, 0.25, 0.0, 90.0, 0.0, -0.125};
  for (int i = 0; i < 6; ++i) EXPECT_DOUBLE_EQ(expected[i], transform[i]) << i;
}

}  // namespace
