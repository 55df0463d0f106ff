// Exported heights, read by a reader of the test's own. What a post should be follows from the place of the post and
// the function that the source was made by. Normals are worked out here from the posts of the source.

#include "GlobeSources.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>

namespace {

struct Extent {
  double west = -180.0, south = -90.0, east = 180.0, north = 90.0;
};

class ExportedHeights : public testing::Test {
 protected:
  ExportedStore Export(int minLevel, int maxLevel, const Extent& e, bool withNormals) {
    XString error;
    EXPECT_EQ(1, XfnExport2PBE(folder_.Path("a.pbe"), &sources_.manager, minLevel, maxLevel, e.west, e.south, e.east,
                               e.north, withNormals ? 1 : 0, error, nullptr))
        << error.GetText();
    return ExportedStore(folder_.Path("a.pbe"));
  }

  TempFolder folder_;
  GlobeSources sources_;
};

/// The sample of a column and a row of the whole earth in pixels of a degree; no two neighbours are alike.
double WaveAt(int x, int y) {
  return (x * 7 + y * 13) % 1000 + 0.25;
}

/// The pixel of an axis of `size` pixels of a degree in whose area a place lies. Places on edges are those of exact
/// numbers, and those of posts may be off by a rounding.
int PixelAt(double place, int size) {
  return static_cast<int>(std::floor(place + 1e-7)) % size;
}

/// The sample at a place, by WaveAt.
double WaveUnder(double lon, double lat) {
  return WaveAt(PixelAt(lon + 180.0, 360), std::min(static_cast<int>(std::floor(90.0 - lat + 1e-7)), 179));
}

/// Compares all posts of a level that covers the earth with the samples under them.
void ExpectWave(const ExportedStore& store, int level) {
  const double size = 18.0 / (1 << level);
  for (int row = 0; row < 10 << level; ++row) {
    for (int col = 0; col < 20 << level; ++col) {
      const std::vector<float> posts = store.Posts(level, row, col);
      for (int i = 0; i < 961; ++i) {
        const double lon = -180.0 + (col + (i % 31) / 30.0) * size, lat = -90.0 + (row + 1 - (i / 31) / 30.0) * size;
        ASSERT_EQ(static_cast<float>(WaveUnder(lon, lat)), posts[static_cast<std::size_t>(i)])
            << level << ": " << lon << " " << lat;
      }
    }
  }
}

using Vector = std::array<double, 3>;

Vector InSpace(double lon, double lat, double height) {
  const double a = 6378137.0, f = 1 / 298.257223563, e2 = f * (2 - f), degree = std::numbers::pi / 180;
  const double n = a / std::sqrt(1 - e2 * std::pow(std::sin(lat * degree), 2));
  return {(n + height) * std::cos(lat * degree) * std::cos(lon * degree),
          (n + height) * std::cos(lat * degree) * std::sin(lon * degree),
          (n * (1 - e2) + height) * std::sin(lat * degree)};
}

/// The unit vector across the ways from west to east and from south to north.
Vector NormalOf(const Vector& west, const Vector& east, const Vector& south, const Vector& north) {
  Vector across{}, along{};
  for (std::size_t k = 0; k < 3; ++k) {
    across[k] = east[k] - west[k];
    along[k] = north[k] - south[k];
  }
  Vector normal{across[1] * along[2] - across[2] * along[1], across[2] * along[0] - across[0] * along[2],
                across[0] * along[1] - across[1] * along[0]};
  const double length = std::hypot(normal[0], normal[1], normal[2]);
  for (double& each : normal) each /= length;
  return normal;
}

}  // namespace

TEST_F(ExportedHeights, HaveTheLayoutOfAnElevationStore) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  const ExportedStore store = Export(0, 1, {}, false);
  EXPECT_EQ("PBE", store.Mark());
  EXPECT_EQ(1.2, store.Version());
  EXPECT_EQ(18.0, store.TileSize());
  EXPECT_EQ(51200, store.HeaderSize());
  ASSERT_EQ(2, store.Count());
  EXPECT_EQ((StoreRecord{0, 0, 0, 9, 19, 18.0, 31, 31, 3844, 0, 51200}), store.Record(0));
  EXPECT_EQ((StoreRecord{1, 0, 0, 19, 39, 9.0, 31, 31, 3844, 0, 51200 + 200 * 3844}), store.Record(1));
  EXPECT_EQ(51200 + 1000 * 3844, store.FileSize());
  EXPECT_EQ(static_cast<std::size_t>(store.FileSize()), store.Size());
}

TEST_F(ExportedHeights, AreTheSamplesAtThePostsOfEveryLevelAndHaveNoRimOfZeros) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  const ExportedStore store = Export(0, 1, {}, false);
  ExpectWave(store, 0);
  ExpectWave(store, 1);
}

TEST_F(ExportedHeights, AreTheSameAtBothEndsOfTheGlobe) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  const ExportedStore store = Export(0, 0, {}, true);
  EXPECT_EQ(2.0, store.Version());
  for (int row = 0; row < 10; ++row) {
    const std::vector<float> east = store.Posts(0, row, 19), west = store.Posts(0, row, 0);
    const std::vector<float> eastNormals = store.Normals(0, row, 19), westNormals = store.Normals(0, row, 0);
    for (std::size_t j = 0; j < 31; ++j) {
      ASSERT_EQ(west[31 * j], east[31 * j + 30]) << row;
      for (std::size_t k = 0; k < 3; ++k) ASSERT_EQ(westNormals[93 * j + k], eastNormals[93 * j + 90 + k]) << row;
    }
  }
}

TEST_F(ExportedHeights, HaveNormalsAcrossTheNeighboursInSpace) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  const ExportedStore store = Export(0, 0, {}, true);
  for (const auto& [row, col] : {std::pair{5, 10}, {0, 0}, {9, 19}, {4, 19}, {9, 0}}) {
    const std::vector<float> normals = store.Normals(0, row, col);
    for (int i = 0; i < 961; ++i) {
      const double lon = -180.0 + (col + (i % 31) / 30.0) * 18.0, lat = -90.0 + (row + 1 - (i / 31) / 30.0) * 18.0;
      if (std::abs(lat) > 89.9) continue;
      const auto at = [](double x, double y) { return InSpace(x, y, WaveUnder(x < -180.0 ? x + 360.0 : x, y)); };
      const Vector expected = NormalOf(at(lon - 0.6, lat), at(lon + 0.6, lat), at(lon, lat - 0.6), at(lon, lat + 0.6));
      for (std::size_t k = 0; k < 3; ++k) {
        ASSERT_NEAR(expected[k], normals[static_cast<std::size_t>(3 * i) + k], 1e-6) << lon << " " << lat;
      }
    }
  }
}

TEST_F(ExportedHeights, HaveNormalsOfUnitLengthThatPointOutward) {
  sources_.Add<float>(kWholeEarth, [](int x, int y) { return (x * 31 + y * 17) % 5 * 2e5; });
  const ExportedStore store = Export(0, 0, {}, true);
  for (int tile = 0; tile < 200; ++tile) {
    const std::vector<float> normals = store.Normals(0, tile / 20, tile % 20);
    for (std::size_t i = 0; i < 961; ++i) {
      const double x = normals[3 * i], y = normals[3 * i + 1], z = normals[3 * i + 2];
      ASSERT_NEAR(1.0, std::hypot(x, y, z), 1e-6);
      const double lon = -180.0 + (tile % 20 + (static_cast<double>(i % 31)) / 30.0) * 18.0;
      const double lat = -90.0 + (tile / 20 + 1 - (static_cast<double>(i / 31)) / 30.0) * 18.0;
      const Vector up = InSpace(lon, lat, 0.0);
      ASSERT_GT(x * up[0] + y * up[1] + z * up[2], 0.0) << lon << " " << lat;
    }
  }
}

TEST_F(ExportedHeights, HaveTheAxisAsNormalAtThePoles) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  const ExportedStore store = Export(0, 0, {}, true);
  for (int col = 0; col < 20; ++col) {
    const std::vector<float> north = store.Normals(0, 9, col), south = store.Normals(0, 0, col);
    for (std::size_t i = 0; i < 31; ++i) {
      EXPECT_EQ((std::vector<float>{0, 0, 1}), std::vector<float>(&north[3 * i], &north[3 * i] + 3));
      EXPECT_EQ((std::vector<float>{0, 0, -1}), std::vector<float>(&south[2790 + 3 * i], &south[2790 + 3 * i] + 3));
    }
  }
}

TEST_F(ExportedHeights, AgreeOnEverySeam) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  const ExportedStore store = Export(0, 0, {}, true);
  for (int row = 0; row < 10; ++row) {
    for (int col = 0; col < 20; ++col) {
      const std::vector<float> here = store.Normals(0, row, col), east = store.Normals(0, row, (col + 1) % 20);
      for (std::size_t j = 0; j < 31; ++j) {
        for (std::size_t k = 0; k < 3; ++k) ASSERT_EQ(here[93 * j + 90 + k], east[93 * j + k]) << row << " " << col;
      }
      if (row == 9) continue;
      const std::vector<float> above = store.Normals(0, row + 1, col);
      ASSERT_EQ(std::vector<float>(here.begin(), here.begin() + 93), std::vector<float>(above.end() - 93, above.end()));
      const std::vector<float> posts = store.Posts(0, row, col), postsAbove = store.Posts(0, row + 1, col);
      ASSERT_EQ(std::vector<float>(posts.begin(), posts.begin() + 31),
                std::vector<float>(postsAbove.end() - 31, postsAbove.end()));
    }
  }
}

// Pixels from 0 to 36 degrees east; the tile in column 12 begins where they end.
TEST_F(ExportedHeights, AreZeroWhereNoSourceReaches) {
  sources_.Add<std::int16_t>({0.0, 36.0, 1.0, 1.0, 36, 36}, [](int, int) { return -7.0; });
  const ExportedStore store = Export(0, 0, {0.0, 0.0, 72.0, 36.0}, false);
  EXPECT_EQ(std::vector<float>(961, -7.0f), store.Posts(0, 5, 11));
  const std::vector<float> beside = store.Posts(0, 5, 12);
  for (std::size_t i = 1; i < 31; ++i) EXPECT_EQ(0.0f, beside[i]);
}

// 10 to 20 degrees touch two tiles of 18 degrees, neither of which they cover.
TEST_F(ExportedHeights, AreZeroInTilesThatTheExtentDoesNotCover) {
  sources_.Add<float>(kWholeEarth, [](int, int) { return 5.0; });
  const ExportedStore coarse = Export(0, 1, {9.0, 0.0, 27.0, 18.0}, true);
  EXPECT_EQ(std::vector<float>(961), coarse.Posts(0, 5, 10));
  EXPECT_EQ(std::vector<float>(2883), coarse.Normals(0, 5, 10));
  EXPECT_EQ(std::vector<float>(961), coarse.Posts(0, 5, 11));
  EXPECT_EQ(std::vector<float>(961, 5.0f), coarse.Posts(1, 10, 21));
  EXPECT_EQ(std::vector<float>(961, 5.0f), coarse.Posts(1, 11, 22));
}

TEST_F(ExportedHeights, ComeFromTheFirstCompositeThatHasThem) {
  MemoryBand& upper =
      sources_.Add<std::int16_t>({0.0, 18.0, 9.0, 18.0, 2, 1}, [](int x, int) { return x ? 3.0 : -1.0; });
  upper.SetNullValue(-1.0);
  sources_.Add<std::int16_t>(kWholeEarth, [](int, int) { return 8.0; });
  const std::vector<float> posts = Export(0, 0, {0.0, 0.0, 18.0, 18.0}, false).Posts(0, 5, 10);
  EXPECT_EQ(8.0f, posts[31 * 15 + 3]);
  EXPECT_EQ(3.0f, posts[31 * 15 + 20]);
}

template <class Sample>
class ExportedHeightsOf : public testing::Test {};
using HeightSamples =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(ExportedHeightsOf, HeightSamples);

TYPED_TEST(ExportedHeightsOf, AreFloatsOfSamplesOfAnyType) {
  const TempFolder folder;
  GlobeSources sources;
  const auto low = std::numeric_limits<TypeParam>::lowest() / 2;
  sources.Add<TypeParam>({0.0, 18.0, 9.0, 18.0, 2, 1},
                         [&](int x, int) { return x ? 100.0 : static_cast<double>(low); });
  XString error;
  ASSERT_EQ(1, XfnExport2PBE(folder.Path("a.pbe"), &sources.manager, 0, 0, 0.0, 0.0, 18.0, 18.0, 0, error, nullptr));
  const std::vector<float> posts = ExportedStore(folder.Path("a.pbe")).Posts(0, 5, 10);
  const double largest = std::numeric_limits<float>::max();
  EXPECT_EQ(static_cast<float>(std::max(static_cast<double>(low), -largest)), posts[3]);
  EXPECT_EQ(100.0f, posts[20]);
}

// A hundred metres of UTM around 9 degrees east: rows of the band run along the grid of its own system.
TEST_F(ExportedHeights, AreWarpedFromProjectedSystems) {
  sources_.Add<float>(
      {300000.0, 5700000.0, 1000.0, 1000.0, 400, 400}, [](int x, int y) { return x + 1000.0 * y; }, 32632);
  const ExportedStore store = Export(6, 6, {9.0, 49.5, 9.28125, 49.78125}, false);
  XSpatialReference lonLat, utm;
  lonLat.importFromEPSG(4326);
  utm.importFromEPSG(32632);
  const auto way = XfnCreateCoordTrans(lonLat, utm);
  const std::vector<float> posts = store.Posts(6, 496, 672);
  for (int i = 0; i < 961; ++i) {
    double x = 9.0 + (i % 31) / 30.0 * 0.28125, y = 49.5 + (1.0 - (i / 31) / 30.0) * 0.28125;
    ASSERT_EQ(1, way->TransformPt(x, y));
    const double expected = std::floor((x - 300000.0) / 1000.0) + 1000.0 * std::floor((5700000.0 - y) / 1000.0);
    ASSERT_EQ(static_cast<float>(expected), posts[static_cast<std::size_t>(i)]) << i;
  }
}

TEST_F(ExportedHeights, NeedACompositeWithHeights) {
  XString error;
  EXPECT_EQ(0, XfnExport2PBE(folder_.Path("a.pbe"), &sources_.manager, 0, 0, 0.0, 0.0, 18.0, 18.0, 0, error, nullptr));
  EXPECT_EQ("Fail to create mosaic DEM data band", error);
}

TEST_F(ExportedHeights, NeedAnExtentThatHasPostsAndNotTooMany) {
  sources_.Add<float>(kWholeEarth, WaveAt);
  XString error;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Extent& e : {Extent{5.0, 0.0, 4.0, 18.0}, Extent{nan, 0.0, 4.0, 18.0}, Extent{0.0, 0.0, 1e300, 1.0}}) {
    EXPECT_EQ(0, XfnExport2PBE(folder_.Path("a.pbe"), &sources_.manager, 0, 0, e.west, e.south, e.east, e.north, 0,
                               error, nullptr));
    EXPECT_EQ("Fail to create mosaic DEM data band", error);
  }
  EXPECT_EQ(0, XfnExport2PBE(folder_.Path("a.pbe"), &sources_.manager, 22, 22, -180.0, -90.0, 180.0, 90.0, 0, error,
                             nullptr));
  EXPECT_EQ("Fail to create mosaic DEM data band", error);
  EXPECT_EQ(0, XfnExport2PBE(folder_.Path("a.pbe"), &sources_.manager, 0, 0, 18.0, 0.0, 18.0, 9.0, 0, error, nullptr));
  EXPECT_EQ("Invalid PBE File : NULL", error);
}

TEST_F(ExportedHeights, AreZeroWhereASourceCannotBeReadInTheCompatiblePolicy) {
  MemoryBand& band = sources_.Add<float>(kWholeEarth, WaveAt);
  band.SetReadPolicy(kReadCompatible);
  band.FailReads();
  const ExportedStore store = Export(0, 0, {0.0, 0.0, 18.0, 18.0}, true);
  EXPECT_EQ(std::vector<float>(961), store.Posts(0, 5, 10));
  EXPECT_EQ(std::vector<float>(2883), store.Normals(0, 5, 10));
}

TEST_F(ExportedHeights, FailWhereASourceCannotBeReadInTheExactPolicy) {
  MemoryBand& band = sources_.Add<float>(kWholeEarth, WaveAt);
  band.SetReadPolicy(kReadExact);
  band.FailReads();
  XString error;
  EXPECT_EQ(0, XfnExport2PBE(folder_.Path("a.pbe"), &sources_.manager, 0, 0, 0.0, 0.0, 18.0, 18.0, 0, error, nullptr));
  EXPECT_FALSE(error.IsEmpty());
}
