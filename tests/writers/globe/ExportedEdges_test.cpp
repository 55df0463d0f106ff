// Exports of inputs in other systems that lie across longitude 180 or over a pole, without an extent being given, and
// of pictures with opacity in layers. The extent is that of the manager, as the program takes it.

#include "GlobeSources.h"

#include <gtest/gtest.h>

#include <array>

namespace {

/// 200 by 200 pixels of 1 km from 800 to 1,000 km east in zone 60, from the equator up: from 179.7 to 181.5 degrees.
constexpr BandPlace kAcrossDateLine{800000.0, 200000.0, 1000.0, 1000.0, 200, 200};
/// 200 by 200 pixels of 20 km around the north pole.
constexpr BandPlace kOverPole{-2000000.0, 2000000.0, 20000.0, 20000.0, 200, 200};

class ExportedEdges : public testing::Test {
 protected:
  /// All longitudes where the sources reach over 180 degrees.
  std::array<double, 4> Box() const {
    double west = 0, east = 0, south = 0, north = 0;
    EXPECT_EQ(1, sources_.manager.CalcTotalRange(west, east, south, north));
    EXPECT_TRUE(west < -180.0 || east > 180.0 || (west == -180.0 && east == 180.0));
    return {-180.0, south, 180.0, north};
  }
  ExportedStore ExportPictures() {
    const std::array<double, 4> box = Box();
    XString error;
    EXPECT_EQ(1, XfnExport2PBI(folder_.Path("a"), &sources_.manager, 0, 0, box[0], box[1], box[2] - 0.01, box[3] - 0.01,
                               0, error, nullptr))
        << error.GetText();
    return ExportedStore(folder_.Path("a"));
  }
  /// The red of a grey tile of blocks of one colour, at a place counted from its south-western corner.
  static int RedOf(const ExportedStore& store, int row, int col, int x, int y) {
    const std::vector<unsigned char> blocks = store.Blocks(0, row, col);
    const unsigned char* const block = &blocks[static_cast<std::size_t>(8 * ((255 - y) / 4 * 64 + x / 4))];
    return block[1] & 0xF8;
  }

  TempFolder folder_;
  GlobeSources sources_;
};

}  // namespace

// A pixel of level 0 is some 8 km wide. Blocks of four are looked at that lie within the source.
TEST_F(ExportedEdges, OfPicturesLieOnBothSidesOfLongitude180) {
  sources_.Add<std::uint8_t>(
      kAcrossDateLine, [](int, int) { return 200.0; }, 32660);
  const ExportedStore store = ExportPictures();
  EXPECT_EQ(200, RedOf(store, 5, 19, 253, 9));
  EXPECT_EQ(200, RedOf(store, 5, 0, 5, 9));
  EXPECT_EQ(0, RedOf(store, 5, 19, 240, 9));
  EXPECT_EQ(0, RedOf(store, 5, 0, 40, 9));
}

TEST_F(ExportedEdges, OfPicturesReachThePoleAtAllLongitudes) {
  sources_.Add<std::uint8_t>(
      kOverPole, [](int, int) { return 200.0; }, 3413);
  const ExportedStore store = ExportPictures();
  for (int col = 0; col < 20; ++col) {
    for (const int y : {254, 240, 60}) EXPECT_EQ(200, RedOf(store, 9, col, 100, y)) << col << " " << y;
  }
}

TEST_F(ExportedEdges, OfHeightsReachThePoleAtAllLongitudes) {
  sources_.Add<float>(
      kOverPole, [](int, int) { return 7.0; }, 3413);
  XString error;
  ASSERT_EQ(
      1, XfnExport2PBE(folder_.Path("a"), &sources_.manager, 0, 0, -180.0, 72.0, 180.0, Box()[3], 1, error, nullptr));
  const ExportedStore store(folder_.Path("a"));
  for (int col = 0; col < 20; ++col) {
    const std::vector<float> posts = store.Posts(0, 9, col), normals = store.Normals(0, 9, col);
    for (std::size_t i = 0; i < 31; ++i) {
      EXPECT_EQ(7.0f, posts[i]) << col;
      EXPECT_EQ(1.0f, normals[3 * i + 2]) << col;
    }
  }
}

TEST_F(ExportedEdges, OfHeightsAreTheSameOnBothSidesOfLongitude180) {
  sources_.Add<float>(
      kAcrossDateLine, [](int x, int y) { return 10.0 + x + y; }, 32660);
  XString error;
  ASSERT_EQ(1, XfnExport2PBE(folder_.Path("a"), &sources_.manager, 4, 4, -180.0, 0.0, 180.0, 1.125, 0, error, nullptr));
  const ExportedStore store(folder_.Path("a"));
  const std::vector<float> east = store.Posts(4, 80, 319), west = store.Posts(4, 80, 0);
  for (std::size_t j = 0; j < 31; ++j) {
    EXPECT_GT(east[31 * j + 30], 0.0f);
    EXPECT_EQ(east[31 * j + 30], west[31 * j]);
  }
}

// The picture in front is opaque in the west, half so in the middle, and clear in the east.
TEST_F(ExportedEdges, OfOpacityLetTheLayerBehindShowThrough) {
  constexpr BandPlace kPlace{0.0, 18.0, 1.0, 1.0, 18, 18};
  MemoryBand opacity;
  std::vector<std::uint8_t> opacities;
  for (int i = 0; i < 18 * 18; ++i) opacities.push_back(i % 18 < 6 ? 255 : i % 18 < 12 ? 128 : 0);
  opacity.SetSamples(18, 18, opacities);
  opacity.SetUpperLeft(0.0, 18.0);
  opacity.SetPixelSize(1.0, 1.0);
  sources_.Add<std::uint8_t>(kPlace, [](int, int) { return 200.0; });
  sources_.Add<std::uint8_t>(kPlace, [](int, int) { return 40.0; });
  sources_.manager.GetZRMCompositeAt(0)->SetOpacityBand(&opacity);
  XString error;
  ASSERT_EQ(1, XfnExport2PBI(folder_.Path("a"), &sources_.manager, 0, 1, 0.0, 0.0, 17.0, 17.0, 0, error, nullptr));
  const ExportedStore store(folder_.Path("a"));
  EXPECT_NEAR(200, RedOf(store, 5, 10, 20, 100), 8);
  EXPECT_NEAR(120, RedOf(store, 5, 10, 128, 100), 8);
  EXPECT_NEAR(40, RedOf(store, 5, 10, 230, 100), 8);
}
