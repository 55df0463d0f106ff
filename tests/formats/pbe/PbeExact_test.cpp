#include "OpenRaster.h"
#include "PbeBuilder.h"
#include "PbeReference.h"
#include "XFormatId.h"
#include "ZRMBandPBE.h"

#include <gtest/gtest.h>

#include <filesystem>

// Exact reads of elevation stores: posts by their places, whatever size tiles have.

namespace {

using OpenPbe = OpenRaster<ZRMBandPBE>;

OpenPbe OpenExact(const PbeBuilder& store) {
  return OpenPbe(store.Build(), "a.pbe", kFormatPBE, kReadExact);
}

/// Three by four tiles, whose posts rise by 3 to the east and by 5 to the south. Post (0, 0) is that of tile (42, 80).
PbeBuilder Slope(int width = 31, int height = 31, double version = 1.2) {
  return PbeBuilder().Version(version).Smooth().Level(
      {.level = 3, .llRow = 40, .llCol = 80, .urRow = 42, .urCol = 83, .width = width, .height = height});
}

/// The height of the slope at a post of the image.
float SlopeAt(const PbeBuilder& store, int x, int y) {
  return static_cast<float>(store.At(0, 42, 80, 0, 0) + 3 * x + 5 * y);
}

std::vector<float> SlopeIn(const PbeBuilder& store, int level, const Window& window) {
  std::vector<float> heights;
  for (int j = 0; j < window.Height() >> level; ++j) {
    for (int i = 0; i < window.Width() >> level; ++i) {
      heights.push_back(SlopeAt(store, window.x0 + (i << level), window.y0 + (j << level)));
    }
  }
  return heights;
}

TEST(PbeExact, HasEachPostOfTilesOfAnySizeWithTheRims) {
  for (const auto& [width, height] : {std::pair(31, 31), {2, 2}, {17, 9}, {64, 5}}) {
    const PbeBuilder builder = Slope(width, height);
    OpenPbe store = OpenExact(builder);
    ASSERT_EQ(1, store.IsOpen()) << store.Error();
    const Window whole = store.Whole();
    ASSERT_EQ(4 * (width - 1) + 1, whole.Width());
    ASSERT_EQ(3 * (height - 1) + 1, whole.Height());
    ASSERT_EQ(SlopeIn(builder, 0, whole), FloatsOf(store.Read(0, whole))) << width;
  }
}

TEST(PbeExact, WindowsAndLevelsHavePostsByTheirPlaces) {
  const PbeBuilder builder = Slope();
  OpenPbe store = OpenExact(builder);
  for (const Window& window :
       {Window{0, 120, 0, 90}, {30, 30, 30, 30}, {7, 99, 29, 61}, {120, 120, 0, 90}, {60, 91, 3, 34}}) {
    for (const int level : {0, 1, 3, 5}) {
      if (window.Width() >> level == 0 || window.Height() >> level == 0) continue;
      ASSERT_EQ(SlopeIn(builder, level, window), FloatsOf(store.Read(level, window))) << window << " at " << level;
    }
  }
}

TEST(PbeExact, LiesWhereTheHeadersTileSizePutsIt) {
  OpenPbe store = OpenExact(Slope(11, 21).TileSize(9.0));
  const double tile = 9.0 / 8;
  EXPECT_EQ(80 * tile - 180.0, store.BandAt().GetULX());
  EXPECT_EQ(43 * tile - 90.0, store.BandAt().GetULY());
  double transform[6];
  store.BandAt().GetGeoTransform(transform);
  EXPECT_DOUBLE_EQ(80 * tile - 180.0 - tile / 20, transform[0]);
  EXPECT_DOUBLE_EQ(tile / 10, transform[1]);
  EXPECT_DOUBLE_EQ(43 * tile - 90.0 + tile / 40, transform[3]);
  EXPECT_DOUBLE_EQ(-tile / 20, transform[5]);
}

TEST(PbeExact, KeepsPostsOf16BitsAsTheyAre) {
  const PbeBuilder builder = Slope(31, 31, 1.05);
  OpenPbe store = OpenExact(builder);
  EXPECT_EQ(kSint16, store.BandAt().GetDataType());
  const std::vector<short> posts = ShortsOf(store.Read(0, {28, 32, 29, 31}));
  ASSERT_EQ(15u, posts.size());
  EXPECT_EQ(SlopeAt(builder, 28, 29), posts[0]);
  EXPECT_EQ(SlopeAt(builder, 32, 31), posts[14]);
}

TEST(PbeExact, NormalsAreNoPosts) {
  const PbeBuilder builder = Slope(31, 31, 2.0);
  OpenPbe store = OpenExact(builder);
  EXPECT_EQ(SlopeIn(builder, 0, store.Whole()), FloatsOf(store.Read(0, store.Whole())));
}

TEST(PbeExact, LevelsComeFromThoseOfTheStore) {
  const PbeBuilder builder = PbeBuilder()
                                 .Level({.level = 2, .llRow = 20, .llCol = 40, .urRow = 23, .urCol = 43})
                                 .Level({.level = 0, .llRow = 5, .llCol = 10, .urRow = 5, .urCol = 10});
  OpenPbe store = OpenExact(builder);
  ASSERT_EQ(120, store.Whole().x1);
  const std::vector<float> coarse = FloatsOf(store.Read(2, {0, 120, 0, 120}));
  ASSERT_EQ(900u, coarse.size());
  EXPECT_EQ(builder.At(1, 5, 10, 7, 3), static_cast<int>(coarse[30 * 3 + 7]));
  const std::vector<float> between = FloatsOf(store.Read(1, {0, 120, 0, 120}));
  EXPECT_EQ(builder.At(0, 23, 40, 14, 6), static_cast<int>(between[60 * 3 + 7]))
      << "there is none, so the finer one is thinned";
  const std::vector<float> shifted = FloatsOf(store.Read(2, {3, 6, 5, 8}));
  EXPECT_EQ(builder.At(1, 5, 10, 1, 1), static_cast<int>(shifted[0]))
      << "post (3, 5) is nearest to post (1, 1) of level 2";
}

TEST(PbeExact, OfTwoTilesTheNorthernOrEasternOneHasThePostOfTheirEdge) {
  const PbeBuilder builder = PbeBuilder().Level({.llRow = 5, .llCol = 10, .urRow = 6, .urCol = 11});
  OpenPbe store = OpenExact(builder);
  for (const Window& window : {Window{30, 30, 30, 30}, {29, 33, 29, 33}, {0, 60, 0, 60}}) {
    const std::vector<float> heights = FloatsOf(store.Read(0, window));
    const int place = (30 - window.y0) * window.Width() + 30 - window.x0;
    EXPECT_EQ(builder.At(0, 6, 11, 0, 30), static_cast<int>(heights[static_cast<std::size_t>(place)])) << window;
  }
}

TEST(PbeExact, RangesOfOneLevelMakeOneImage) {
  const PbeBuilder builder =
      PbeBuilder()
          .Level({.level = 1, .llRow = 10, .llCol = 20, .urRow = 10, .urCol = 20, .width = 5, .height = 5})
          .Level({.level = 1, .llRow = 10, .llCol = 22, .urRow = 11, .urCol = 22, .width = 5, .height = 5});
  OpenPbe store = OpenExact(builder);
  ASSERT_EQ(12, store.Whole().x1);
  ASSERT_EQ(8, store.Whole().y1);
  const std::vector<float> row = FloatsOf(store.Read(0, {0, 12, 6, 6}));
  EXPECT_EQ(builder.At(0, 10, 20, 4, 2), static_cast<int>(row[4])) << "the rim of a range without a neighbour";
  EXPECT_EQ(0.0f, row[5]);
  EXPECT_EQ(0.0f, row[7]);
  EXPECT_EQ(builder.At(1, 10, 22, 0, 2), static_cast<int>(row[8]));
}

TEST(PbeExact, ATileThatCannotBeReadFailsWithItsPlace) {
  const PbeBuilder builder = Slope();
  PbeBuilder::Bytes bytes = builder.Build();
  bytes.resize(builder.OffsetOf(0, 42, 82) + 100);
  OpenPbe store(bytes, "a.pbe", kFormatPBE, kReadExact);
  EXPECT_EQ("The tile in row 42 and column 82 of level 3 does not lie in the file", store.Failure(0, {70, 71, 5, 6}));
  EXPECT_EQ("", store.Failure(0, {31, 59, 0, 90}));
}

TEST(PbeExact, TilesWithTooFewBytesFail) {
  PbeBuilder builder = Slope();
  builder.RecordAt(0).storage = 3843;
  OpenPbe store = OpenExact(builder);
  EXPECT_EQ("The tile in row 42 and column 80 of level 3 has fewer bytes than its posts need",
            store.Failure(0, {1, 5, 1, 5}));
}

TEST(PbeExact, MakesNoFileWhereThereIsNone) {
  TempFolder folder;
  ZRMBandPBE band;
  band.SetReadPolicy(kReadExact);
  XString err;
  EXPECT_EQ(0, band.ReadFile(folder.Path("a.pbe"), err, nullptr));
  EXPECT_EQ("Fail to open PBE file: " + folder.Path("a.pbe"), err.AsStdString());
  EXPECT_FALSE(std::filesystem::exists(folder.Path("a.pbe")));
}

TEST(PbeExact, SaysWhatIsWrongWithAStoreThatItRefuses) {
  PbeBuilder thin = Slope();
  thin.RecordAt(0).tileHeight = 1;
  const std::pair<PbeBuilder, const char*> refused[] = {
      {Slope().Mark("PBX"), "NULL"},
      {PbeBuilder(), "The store has no levels"},
      {Slope().Count(2000), "The header states more levels than it holds"},
      {Slope().TileSize(-18.0), "The tile size in the header can't be"},
      {thin, "Level 3 of the store has tiles of an impossible size"}};
  for (const auto& [builder, reason] : refused) {
    OpenPbe store = OpenExact(builder);
    EXPECT_EQ(0, store.IsOpen());
    EXPECT_EQ(std::string("Invalid PBE File Information : ") + reason, store.Error());
  }
}

}  // namespace
