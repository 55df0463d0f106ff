#include "OpenStore.h"
#include "TxidReference.h"

#include <gtest/gtest.h>

#include <algorithm>

// Overviews, which are the whole image at a level above 0: made of what is at hand in compatible reads, and read in
// exact ones.

namespace {

TxidBuilder FullStore() {
  TxidBuilder builder = TxidBuilder().Grid(2, 2, 32);
  for (int key = 0; key < 4; ++key) builder.Tile(key);
  return builder;
}

std::vector<unsigned char> ModelOf(const TxidBuilder& builder, int level) {
  return ModelCompatibleRead(builder, level, 0, builder.Width() - 1, 0, builder.Height() - 1).planes[0];
}

/// The nearest pixels at whole steps.
std::vector<unsigned char> Thin(const std::vector<unsigned char>& image, int width, int newWidth) {
  const int step = width / newWidth;
  std::vector<unsigned char> thin;
  for (int y = 0; y < newWidth; ++y) {
    for (int x = 0; x < newWidth; ++x) thin.push_back(image[static_cast<std::size_t>(y * step * width + x * step)]);
  }
  return thin;
}

TEST(TxidOverviews, TheFirstOneIsReadAndIsTheLastWindowToo) {
  const TxidBuilder builder = FullStore();
  OpenStore store(builder);
  EXPECT_EQ(ModelOf(builder, 1), store.Read(1, store.Whole()).bytes);
  for (int channel = 0; channel < 4; ++channel) EXPECT_EQ(store.Minimap(channel), store.Result(channel));
  EXPECT_NE(store.Band().GetResult(0), store.Band().GetResultMinimap(0));
  int level = 0, overview = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  store.Band().GetPrevReadSubsetParam(level, overview, x0, x1, y0, y1);
  EXPECT_EQ((std::vector<int>{1, 1, 0, 63, 0, 63}), (std::vector<int>{level, overview, x0, x1, y0, y1}));
}

TEST(TxidOverviews, AreKeptBesideWindows) {
  OpenStore store(FullStore());
  const Pixels overview = store.Read(2, store.Whole());
  const Pixels window = store.Read(0, {3, 20, 5, 40});
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  EXPECT_EQ(overview, store.Read(2, store.Whole()));
  EXPECT_EQ(window, store.Read(0, {3, 20, 5, 40}));
  EXPECT_EQ(overview, store.Minimap(0));
  EXPECT_EQ(nullptr, store.Band().GetResultMinimap(4));
}

TEST(TxidOverviews, AreThinnedFromTheWholeImageThatWasReadLast) {
  const TxidBuilder builder = FullStore();
  OpenStore store(builder);
  const std::vector<unsigned char> whole = store.Read(0, store.Whole()).bytes;
  EXPECT_EQ(Thin(whole, 64, 8), store.Read(3, store.Whole()).bytes);
  EXPECT_EQ(Thin(whole, 64, 2), store.Read(5, store.Whole()).bytes) << "and is then not flat";
}

TEST(TxidOverviews, AreThinnedFromAnEarlierOverviewBehindAWindow) {
  const TxidBuilder builder = FullStore();
  OpenStore store(builder);
  const std::vector<unsigned char> first = store.Read(1, store.Whole()).bytes;
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  EXPECT_EQ(Thin(first, 32, 8), store.Read(3, store.Whole()).bytes);
}

TEST(TxidOverviews, LargerThanTheirSourceShowOnePixelOfIt) {
  OpenStore store(FullStore());
  const Pixels coarse = store.Read(3, store.Whole());
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  const Pixels fine = store.Read(1, store.Whole());
  ASSERT_EQ(32, fine.width);
  EXPECT_EQ(std::vector<unsigned char>(fine.bytes.size(), coarse.bytes[0]), fine.bytes);
}

TEST(TxidOverviews, MadeOfAnotherHaveTheSizeOfTheLevelThatIsAskedAgain) {
  OpenStore store(FullStore());
  ASSERT_EQ(16, store.Read(2, store.Whole()).width);
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  ASSERT_EQ(8, store.Read(3, store.Whole()).width);
  EXPECT_EQ(8, store.Read(3, store.Whole()).width);
  EXPECT_EQ(16, store.Read(2, store.Whole()).width);
  EXPECT_EQ(8, store.Read(3, store.Whole()).width);
}

TEST(TxidOverviews, AboveLevelThreeAreNoSourceOfFinerOnes) {
  const TxidBuilder builder = FullStore();
  OpenStore store(builder);
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  EXPECT_EQ(0xA0, store.Read(4, store.Whole()).bytes.at(0));
  ASSERT_FALSE(store.Read(0, {0, 9, 0, 9}).bytes.empty());
  EXPECT_EQ(ModelOf(builder, 2), store.Read(2, store.Whole()).bytes);
}

TEST(TxidOverviews, BehindAWindowDoNotReplaceItsSamples) {
  OpenStore store(FullStore());
  const Pixels window = store.Read(0, {0, 19, 0, 9});
  ASSERT_FALSE(store.Read(1, store.Whole()).bytes.empty());
  EXPECT_EQ(window, store.Result(0)) << "although the last request is that of the overview";
  EXPECT_EQ(window.bytes[20 * 3 + 4], store.Read(0, {8, 8, 6, 6}).bytes.at(0));
  EXPECT_EQ(Pixels(), store.Read(0, {50, 50, 6, 6})) << "the samples have no such column";
}

TEST(TxidOverviews, ParametersThatAreSetAnswerForTheThread) {
  OpenStore store(FullStore());
  const Pixels window = store.Read(1, {0, 19, 0, 9});
  store.Band(2).SetPrevReadSubsetParam(1, -1, 20, 39, 10, 19);
  EXPECT_EQ(window, store.Read(1, {20, 39, 10, 19}));
  store.Band().SetPrevReadSubsetParam(-1, 3, 1, 2, 3, 4);
  int level = 0, overview = 0, x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  store.Band(1).GetPrevReadSubsetParam(level, overview, x0, x1, y0, y1);
  EXPECT_EQ((std::vector<int>{1, 3, 20, 39, 10, 19}), (std::vector<int>{level, overview, x0, x1, y0, y1}));
  store.Band().SetPrevReadSubsetParam(0, -1, 0, 1 << 30, 0, 1 << 30);
  EXPECT_EQ(Pixels(), store.Read(0, {60, 60, 60, 60})) << "there are no such samples";
}

TEST(TxidOverviews, AreReadWhateverWasReadBeforeInExactReads) {
  const TxidBuilder builder = FullStore();
  OpenStore store(builder, kReadExact);
  for (const int level : {3, 1, 5, 0, 2, 4, 1, 3}) {
    for (int channel = 0; channel < 4; ++channel) {
      EXPECT_EQ(store.Expected(level, store.Whole(), channel), store.Read(level, store.Whole(), channel)) << level;
    }
    ASSERT_EQ(store.Expected(0, {7, 40, 5, 33}, 0), store.Read(0, {7, 40, 5, 33}));
  }
}

TEST(TxidOverviews, AreKeptBesideWindowsInExactReadsToo) {
  OpenStore store(FullStore(), kReadExact);
  ASSERT_FALSE(store.Read(2, store.Whole()).bytes.empty());
  ASSERT_FALSE(store.Read(0, {3, 20, 5, 40}).bytes.empty());
  FaultyDisk disk;
  const zrk::ScopedDisk scoped(disk);
  disk.FailRead(1);
  EXPECT_EQ(store.Expected(2, store.Whole(), 3), store.Read(2, store.Whole(), 3));
  EXPECT_EQ(store.Expected(0, {3, 20, 5, 40}, 1), store.Read(0, {3, 20, 5, 40}, 1));
  EXPECT_EQ(store.Expected(2, store.Whole(), 1), store.Minimap(1));
  EXPECT_EQ(store.Expected(0, {3, 20, 5, 40}, 2), store.Result(2));
}

}  // namespace
