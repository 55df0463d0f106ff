#include "ZRMBandPBE.h"
#include "OpenRaster.h"
#include "PbeBuilder.h"
#include "PbeReference.h"
#include "XFormatId.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>

// Compatible reads of elevation stores: each oddity that callers rely on.

namespace {

using OpenPbe = OpenRaster<ZRMBandPBE>;

OpenPbe Open(const PbeBuilder& store) {
  return OpenPbe(store.Build(), "a.pbe", kFormatPBE);
}

/// Two by three tiles above the equator.
PbeBuilder OneLevel(int level = 0, double version = 1.2) {
  return PbeBuilder().Version(version).Level({.level = level, .llRow = 5, .llCol = 10, .urRow = 6, .urCol = 12});
}

PbeBuilder ThreeLevels() {
  return PbeBuilder()
      .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10})
      .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 11, .urCol = 21})
      .Level({.level = 2, .llRow = 20, .llCol = 40, .urRow = 23, .urCol = 43});
}

TEST(ZRMBandPBE, HasOneChannelOfFloats) {
  OpenPbe store = Open(OneLevel());
  ASSERT_EQ(1, store.IsOpen());
  ASSERT_EQ(1, store.File().GetNumOfBands());
  EXPECT_EQ(1, store.BandAt().GetNumChannels());
  EXPECT_EQ(kReal32, store.BandAt().GetDataType());
  EXPECT_EQ("a.pbe : Channel 1", store.BandAt().GetBandName().AsStdString());
  EXPECT_EQ(0.0, store.BandAt().GetBandMin());
  EXPECT_EQ(255.0, store.BandAt().GetBandMax());
}

TEST(ZRMBandPBE, LeavesOutItsEasternAndSouthernRims) {
  OpenPbe store = Open(OneLevel());
  EXPECT_EQ(90, store.BandAt().GetXSize());
  EXPECT_EQ(60, store.BandAt().GetYSize());
  EXPECT_EQ(0.6, store.BandAt().GetXPixelSize());
}

TEST(ZRMBandPBE, HasThePlaceOfTheFirstPostAsItsCorner) {
  OpenPbe store = Open(OneLevel());
  EXPECT_EQ(0.0, store.BandAt().GetULX());
  EXPECT_EQ(36.0, store.BandAt().GetULY());
  double transform[6];
  store.BandAt().GetGeoTransform(transform);
  EXPECT_DOUBLE_EQ(-0.3, transform[0]);
  EXPECT_DOUBLE_EQ(36.3, transform[3]);
  EXPECT_DOUBLE_EQ(-0.6, transform[5]);
}

TEST(ZRMBandPBE, IsPlacedBy18DegreesWhateverTheHeaderSays) {
  OpenPbe store = Open(OneLevel().TileSize(9.0));
  EXPECT_EQ(36.0, store.BandAt().GetULY());
  EXPECT_EQ(0.6, store.BandAt().GetXPixelSize());
  EXPECT_EQ(Open(OneLevel()).Read(0, {3, 80, 2, 55}), store.Read(0, {3, 80, 2, 55}));
}

TEST(ZRMBandPBE, HasTheSpacingOf30StepsATile) {
  EXPECT_EQ(0.6, ZRMBandPBE::CalcResolution(0));
  EXPECT_EQ(0.3, ZRMBandPBE::CalcResolution(1));
  EXPECT_EQ(0.6, ZRMBandPBE::CalcResolution(-1));
}

TEST(ZRMBandPBE, TellsTheRangeOfItsLevels) {
  OpenPbe store = Open(ThreeLevels());
  int lowest = 5, highest = 5;
  store.BandAt().GetLevelRange(lowest, highest);
  EXPECT_EQ(0, lowest);
  EXPECT_EQ(2, highest);
  ZRMBandPBE().GetLevelRange(lowest, highest);
  EXPECT_EQ(INT_MAX, lowest);
  EXPECT_EQ(INT_MIN, highest);
}

TEST(ZRMBandPBE, SaysThatAFileIsNoStore) {
  OpenPbe store = Open(OneLevel().Mark("PBX"));
  EXPECT_EQ(0, store.IsOpen());
  EXPECT_EQ("Invalid PBE File Information : NULL", store.Error());
  EXPECT_EQ(1, Open(OneLevel().Mark("PEE")).IsOpen());
}

TEST(ZRMBandPBE, TellsNothingOfAStoreWithoutLevels) {
  OpenPbe store = Open(PbeBuilder());
  EXPECT_EQ(0, store.IsOpen());
  EXPECT_EQ("", store.Error());
}

TEST(ZRMBandPBE, MakesAnEmptyFileWhereThereIsNone) {
  TempFolder folder;
  ZRMBandPBE band;
  XString err;
  EXPECT_EQ(0, band.ReadFile(folder.Path("a.pbe"), err, nullptr));
  EXPECT_EQ("Invalid PBE File Information : NULL", err.AsStdString());
  EXPECT_EQ(0u, std::filesystem::file_size(folder.Path("a.pbe")));
}

const Window kWindows[] = {{0, 89, 0, 59},   {0, 29, 0, 29},  {30, 59, 30, 59}, {20, 71, 10, 50},
                           {29, 30, 29, 30}, {45, 45, 0, 59}, {30, 30, 30, 30}, {0, 89, 30, 30},
                           {1, 88, 1, 58},   {60, 89, 0, 29}, {17, 18, 44, 45}, {59, 60, 0, 0}};

TEST(ZRMBandPBE, ReadsWhatPlainLoopsOverTheTilesGive) {
  for (const double version : {1.0, 1.2, 2.0}) {
    const PbeBuilder builder = OneLevel(0, version);
    OpenPbe store = Open(builder);
    for (const Window& window : kWindows) {
      ASSERT_EQ(ReadPlainly(builder, store.BandAt(), 0, window), store.Read(0, window)) << window << " " << version;
    }
  }
}

TEST(ZRMBandPBE, ReadsLevelsAsPlainLoopsDo) {
  const PbeBuilder builder = ThreeLevels();
  OpenPbe store = Open(builder);
  for (int level = 0; level < 7; ++level) {
    for (const Window& window : {Window{0, 119, 0, 119}, {5, 100, 9, 118}, {30, 93, 20, 83}, {1, 64, 64, 119}}) {
      const Pixels expected = ReadPlainly(builder, store.BandAt(), level, window);
      ASSERT_EQ(expected, store.Read(level, window)) << window << " at " << level;
    }
  }
}

TEST(ZRMBandPBE, ReadsAFineLevelAtACoarseOneAsPlainLoopsDo) {
  const PbeBuilder builder = PbeBuilder().Level({.level = 4, .llRow = 80, .llCol = 160, .urRow = 99, .urCol = 189});
  OpenPbe store = Open(builder);
  for (const int level : {3, 5, 6, 7}) {
    for (const Window& window : {store.Whole(), Window{13, 800, 7, 555}}) {
      ASSERT_EQ(ReadPlainly(builder, store.BandAt(), level, window), store.Read(level, window)) << level;
    }
  }
}

TEST(ZRMBandPBE, TakesThePostToTheNorthWest) {
  // A step of 59/60 of a post: the second sample lies before the second post.
  const PbeBuilder builder = OneLevel();
  OpenPbe store = Open(builder);
  const std::vector<float> row = FloatsOf(store.Read(0, {0, 59, 0, 0}));
  EXPECT_EQ(static_cast<float>(builder.At(0, 6, 10, 0, 0)), row[0]);
  EXPECT_EQ(static_cast<float>(builder.At(0, 6, 10, 0, 0)), row[1]);
  EXPECT_EQ(static_cast<float>(builder.At(0, 6, 10, 1, 0)), row[2]);
}

TEST(ZRMBandPBE, OfTwoLevelsThatAreEquallyCloseTheEarlierWins) {
  const PbeBuilder::Range same = {.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10};
  const PbeBuilder builder = PbeBuilder().Level(same).Level(same);
  OpenPbe store = Open(builder);
  ASSERT_NE(builder.At(0, 5, 10, 0, 0), builder.At(1, 5, 10, 0, 0));
  EXPECT_EQ(static_cast<float>(builder.At(0, 5, 10, 0, 0)), FloatsOf(store.Read(0, {0, 29, 0, 29}))[0]);
}

TEST(ZRMBandPBE, TakesRowsOf31PostsWhateverTheHeaderSays) {
  for (const int width : {20, 40}) {
    const PbeBuilder builder =
        PbeBuilder().Level({.llRow = 5, .llCol = 10, .urRow = 6, .urCol = 11, .width = width, .height = 31});
    OpenPbe store = Open(builder);
    ASSERT_EQ(ReadPlainly(builder, store.BandAt(), 0, {0, 59, 0, 59}), store.Read(0, {0, 59, 0, 59})) << width;
  }
}

TEST(ZRMBandPBE, IsZeroWhereNoTileIs) {
  const PbeBuilder builder = PbeBuilder()
                                 .Level({.llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10})
                                 .Level({.llRow = 5, .llCol = 14, .urRow = 5, .urCol = 14});
  OpenPbe store = Open(builder);
  EXPECT_EQ(std::vector<float>(400, 0.0f), FloatsOf(store.Read(0, {60, 79, 5, 24})));
}

TEST(ZRMBandPBE, ATileThatCannotBeReadIsZeroInCompatibleReads) {
  const PbeBuilder builder = OneLevel();
  PbeBuilder::Bytes bytes = builder.Build();
  bytes.resize(builder.OffsetOf(0, 6, 12) + 3843);
  OpenPbe cut(bytes, "a.pbe", kFormatPBE);
  EXPECT_EQ(std::vector<float>(400, 0.0f), FloatsOf(cut.Read(0, {65, 84, 5, 24})));
  EXPECT_NE(std::vector<float>(400, 0.0f), FloatsOf(cut.Read(0, {35, 54, 5, 24})));
  PbeBuilder far = OneLevel();
  far.RecordAt(0).offset = ~0ULL - 100;
  EXPECT_EQ(std::vector<float>(400, 0.0f), FloatsOf(Open(far).Read(0, {65, 84, 5, 24})));
}

TEST(ZRMBandPBE, AWindowThatLeavesNoPostFails) {
  OpenPbe store = Open(OneLevel());
  EXPECT_NE("", store.Failure(3, {0, 6, 0, 50}));
  EXPECT_NE("", store.Failure(3, {0, 50, 0, 6}));
  EXPECT_NE("", store.Failure(-1, {0, 50, 0, 50}));
  EXPECT_NE("", store.Failure(31, {0, 50, 0, 50}));
}

TEST(ZRMBandPBE, KeepsTheResultOfChannelZeroAlone) {
  OpenPbe store = Open(OneLevel());
  EXPECT_EQ(nullptr, store.BandAt().GetResult(0));
  tagXArr2* out = nullptr;
  ASSERT_EQ(1, store.BandAt().ReadSubset(out, 0, 3, 50, 4, 40, nullptr));
  EXPECT_EQ(out, store.BandAt().GetResult(0));
  EXPECT_EQ(nullptr, store.BandAt().GetResult(1));
  int level = 5, x0 = 5, x1 = 5, y0 = 5, y1 = 5;
  store.BandAt().GetPrevReadSubsetParam(level, x0, x1, y0, y1);
  EXPECT_EQ((std::vector<int>{0, 3, 50, 4, 40}), (std::vector<int>{level, x0, x1, y0, y1}));
}

}  // namespace
