#include "OpenRaster.h"
#include "PbiBuilder.h"
#include "PbiReference.h"
#include "XFormatId.h"
#include "ZRMBandPBI.h"

#include <gtest/gtest.h>

#include <filesystem>

// Exact reads of image stores: pixels by their places, whatever size tiles have.

namespace {

using OpenPbi = OpenRaster<ZRMBandPBI>;

OpenPbi OpenExact(const PbiBuilder& store) {
  return OpenPbi(store.Build(), "a.pbi", kFormatPBI, kReadExact);
}

PbiBuilder OddTiles(int width, int height) {
  return PbiBuilder().Level(
      {.level = 3, .llRow = 40, .llCol = 80, .urRow = 42, .urCol = 83, .width = width, .height = height});
}

TEST(PbiExact, HasEachPixelOfTilesOfAnySize) {
  for (const auto& [width, height] : {std::pair(256, 256), {20, 12}, {7, 9}, {1, 1}, {130, 3}}) {
    const PbiBuilder builder = OddTiles(width, height);
    OpenPbi store = OpenExact(builder);
    ASSERT_EQ(1, store.IsOpen()) << store.Error();
    const Window whole = store.Whole();
    ASSERT_EQ(4 * width, whole.Width());
    ASSERT_EQ(3 * height, whole.Height());
    for (int k = 0; k < 4; ++k) ASSERT_EQ(PickExactly(builder, 0, 0, whole, k), store.Read(0, whole, k)) << width;
  }
}

TEST(PbiExact, WindowsNeedNotBeginWithATile) {
  const PbiBuilder builder = OddTiles(64, 52);
  OpenPbi store = OpenExact(builder);
  const Window windows[] = {{64, 64, 52, 52}, {63, 64, 51, 52}, {1, 254, 3, 150}, {100, 163, 7, 7}, {40, 40, 0, 155}};
  for (const Window& window : windows) {
    for (const int level : {0, 1, 2, 5, 6}) {
      if (window.Width() >> level == 0 || window.Height() >> level == 0) continue;
      ASSERT_EQ(PickExactly(builder, 0, level, window, 2), store.Read(level, window, 2)) << window << " " << level;
    }
  }
}

TEST(PbiExact, TakesBlocksOfAllKindsAtAllLevels) {
  for (const int type : {1, 2, 4}) {
    const PbiBuilder builder = PbiBuilder().Level({.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 11, .type = type});
    OpenPbi store = OpenExact(builder);
    for (int level = 0; level < 9; ++level) {
      ASSERT_EQ(PickExactly(builder, 0, level, store.Whole(), level % 4), store.Read(level, store.Whole(), level % 4))
          << type << " at " << level;
    }
  }
}

TEST(PbiExact, LiesWhereTheHeadersTileSizePutsIt) {
  OpenPbi store = OpenExact(OddTiles(20, 12).TileSize(9.0));
  const double tile = 9.0 / 8;
  double transform[6];
  store.BandAt(3).GetGeoTransform(transform);
  EXPECT_EQ(80 * tile - 180.0, transform[0]);
  EXPECT_EQ(tile / 20, transform[1]);
  EXPECT_EQ(43 * tile - 90.0, transform[3]);
  EXPECT_EQ(-tile / 12, transform[5]);
}

TEST(PbiExact, LevelsComeFromThoseOfTheStore) {
  // The tiles of each level show the same area, with other pixels.
  const PbiBuilder builder = PbiBuilder()
                                 .Level({.level = 2, .llRow = 20, .llCol = 40, .urRow = 23, .urCol = 43})
                                 .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10});
  OpenPbi store = OpenExact(builder);
  const Window whole{0, 1023, 0, 1023};
  ASSERT_EQ(1023, store.Whole().x1);
  EXPECT_EQ(PickExactly(builder, 0, 0, whole, 0), store.Read(0, whole));
  EXPECT_EQ(PickExactly(builder, 0, 1, whole, 0), store.Read(1, whole)) << "there is none, so the finer one is thinned";
  EXPECT_EQ(PickExactly(builder, 1, 0, {0, 255, 0, 255}, 0), store.Read(2, whole));
  EXPECT_EQ(PickExactly(builder, 1, 1, {0, 255, 0, 255}, 0), store.Read(3, whole));
  EXPECT_EQ(PickExactly(builder, 1, 0, {50, 99, 25, 74}, 0), store.Read(2, {203, 402, 101, 300})) << "by their places";
}

TEST(PbiExact, ACoarserLevelMayHaveTilesOfAnotherSize) {
  const PbiBuilder builder =
      PbiBuilder()
          .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 11, .urCol = 21, .width = 60, .height = 60})
          .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10, .width = 40, .height = 40});
  OpenPbi store = OpenExact(builder);
  const Pixels half = store.Read(1, {0, 119, 0, 119});
  EXPECT_EQ(PickExactly(builder, 0, 1, {0, 119, 0, 119}, 0), half) << "40 pixels are too few for level 1";
  const Pixels quarter = store.Read(2, {0, 119, 0, 119});
  ASSERT_EQ(30, quarter.width);
  // Pixel 4 i of 120 has its middle at (4 i + 0.5) / 3 of 40.
  for (int i = 0; i < 30; ++i)
    EXPECT_EQ(builder.At(1, 5, 10, (8 * i + 1) / 6, 0)[0], quarter.bytes[static_cast<std::size_t>(i)]);
}

TEST(PbiExact, RangesOfOneLevelMakeOneImage) {
  const PbiBuilder builder =
      PbiBuilder()
          .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 10, .urCol = 20, .width = 16, .height = 16})
          .Level({.level = 1, .llRow = 10, .llCol = 22, .urRow = 11, .urCol = 22, .width = 16, .height = 16});
  OpenPbi store = OpenExact(builder);
  EXPECT_EQ(47, store.Whole().x1);
  EXPECT_EQ(31, store.Whole().y1);
  EXPECT_EQ(PickExactly(builder, 0, 0, {0, 15, 0, 15}, 1), store.Read(0, {0, 15, 16, 31}, 1));
  EXPECT_EQ(PickExactly(builder, 1, 0, {0, 15, 0, 31}, 1), store.Read(0, {32, 47, 0, 31}, 1));
  for (int k = 0; k < 4; ++k) EXPECT_EQ(std::vector<unsigned char>(512), store.Read(0, {16, 31, 0, 31}, k).bytes);
}

TEST(PbiExact, ATileThatCannotBeReadFailsWithItsPlace) {
  const PbiBuilder builder = OddTiles(16, 16);
  PbiBuilder::Bytes bytes = builder.Build();
  bytes.resize(builder.OffsetOf(0, 42, 82) + 100);
  OpenPbi store(bytes, "a.pbi", kFormatPBI, kReadExact);
  EXPECT_EQ("The tile in row 42 and column 82 of level 3 does not lie in the file", store.Failure(0, {40, 41, 5, 6}));
  EXPECT_EQ("", store.Failure(0, {16, 31, 0, 47}));
  EXPECT_NE("", store.Failure(0, store.Whole(), 3));
}

TEST(PbiExact, TilesWithTooFewBytesOrUnknownBlocksFail) {
  PbiBuilder tiny = OddTiles(16, 16), odd = OddTiles(16, 16);
  tiny.RecordAt(0).storage = 127;
  odd.RecordAt(0).type = 3;
  for (const PbiBuilder& builder : {tiny, odd}) {
    OpenPbi store = OpenExact(builder);
    EXPECT_EQ(
        "The tile in row 42 and column 80 of level 3 has no blocks of a kind that is known, or fewer than its pixels "
        "need",
        store.Failure(0, {0, 5, 0, 5}));
  }
}

TEST(PbiExact, BytesBehindTheBlocksAreLeftAlone) {
  const PbiBuilder builder =
      PbiBuilder().Level({.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 12, .width = 8, .height = 8, .spare = 5});
  OpenPbi store = OpenExact(builder);
  EXPECT_EQ(PickExactly(builder, 0, 0, store.Whole(), 0), store.Read(0, store.Whole()));
}

TEST(PbiExact, MakesNoFileWhereThereIsNone) {
  TempFolder folder;
  ZRMBandPBI band(nullptr);
  band.SetReadPolicy(kReadExact);
  XString err;
  EXPECT_EQ(0, band.ReadFile(folder.Path("a.pbi"), err, nullptr));
  EXPECT_EQ("Fail to read PBI file : There is no such file, or it is empty", err.AsStdString());
  EXPECT_FALSE(std::filesystem::exists(folder.Path("a.pbi")));
}

TEST(PbiExact, SaysWhatIsWrongWithAStoreThatItRefuses) {
  const auto changed = [](auto change) {
    PbiBuilder builder = OddTiles(16, 16);
    change(builder.RecordAt(0));
    return builder;
  };
  const std::pair<PbiBuilder, const char*> refused[] = {
      {OddTiles(16, 16).Mark("PBX"), "It is no image store"},
      {PbiBuilder(), "The store has no levels"},
      {OddTiles(16, 16).Count(1000), "The header states more levels than it holds"},
      {OddTiles(16, 16).TileSize(0.0), "The tile size in the header can't be"},
      {changed([](StoreRecord& r) { r.level = 31; }), "Level 31 of the store has a number that no level can have"},
      {changed([](StoreRecord& r) { r.urRow = 39; }), "Level 3 of the store has no tiles"},
      {changed([](StoreRecord& r) { r.tileWidth = 0; }), "Level 3 of the store has tiles of an impossible size"},
      {OddTiles(16, 16).Level({.level = 3, .width = 8}), "Level 3 of the store has tiles of several sizes"},
      {changed([](StoreRecord& r) { r.urCol = 0xFFFFFFF; }),
       "The image of the store has more than 2,147,483,647 pixels on a side"}};
  for (const auto& [builder, reason] : refused) {
    OpenPbi store = OpenExact(builder);
    EXPECT_EQ(0, store.IsOpen());
    EXPECT_EQ(std::string("Fail to read PBI file : ") + reason, store.Error());
  }
}

}  // namespace
