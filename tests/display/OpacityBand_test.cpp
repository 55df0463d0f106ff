// Composites with a band that tells opacity, drawn over what a picture shows.

#include "DrawnPicture.h"

#include <gtest/gtest.h>

namespace {

/// A band of three pixels of 200, over a band of opacity in the same place.
template <class Sample>
std::vector<int> DrawnOver99By(const std::vector<Sample>& opacities, double opaque = 0.0) {
  PlacedBand band, opacity;
  band.Set<std::uint8_t>(3, 1, {200, 200, 200});
  opacity.Set<Sample>(3, 1, opacities);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  composite.SetOpacityBand(&opacity, opaque);
  return DrawnOver99(composite);
}

}  // namespace

// 128 of 255 parts of 200 and the rest of 99 are 150.2.
TEST(OpacityBand, LetsWhatIsBehindShowThrough) {
  EXPECT_EQ((std::vector<int>{99, 150, 200}), DrawnOver99By<std::uint8_t>({0, 128, 255}));
}

TEST(OpacityBand, IsWholeAtTheLargestValueOfItsType) {
  EXPECT_EQ((std::vector<int>{99, 150, 200}), DrawnOver99By<std::uint16_t>({0, 32896, 65535}));
  EXPECT_EQ((std::vector<int>{99, 99, 200}), DrawnOver99By<std::int16_t>({0, -5, 32767}));
  EXPECT_EQ((std::vector<int>{99, 150, 200}), DrawnOver99By<float>({0.0f, 0.5f, 1.0f}));
}

TEST(OpacityBand, IsWholeFromTheValueOnThatIsGiven) {
  EXPECT_EQ((std::vector<int>{99, 200, 200}), DrawnOver99By<std::uint8_t>({0, 1, 2}, 1.0));
  EXPECT_EQ((std::vector<int>{99, 150, 200}), DrawnOver99By<std::uint16_t>({0, 2056, 4095}, 4095.0));
}

TEST(OpacityBand, IsNoneAtFirstAndCanBeTakenAway) {
  PlacedBand band, opacity;
  band.Set<std::uint8_t>(1, 1, {200});
  opacity.Set<std::uint8_t>(1, 1, {0});
  ZRMComposite composite;
  composite.SetBand(0, &band);
  EXPECT_EQ(nullptr, composite.GetOpacityBand());
  composite.SetOpacityBand(&opacity);
  EXPECT_EQ(&opacity, composite.GetOpacityBand());
  EXPECT_EQ(std::vector<int>{99}, DrawnOver99(composite));
  composite.SetOpacityBand(nullptr);
  EXPECT_EQ(std::vector<int>{200}, DrawnOver99(composite));
}

TEST(OpacityBand, DrawsNothingWhereAllIsClear) {
  PlacedBand band, opacity;
  band.Set<std::uint8_t>(2, 1, {200, 200});
  opacity.Set<std::uint8_t>(2, 1, {0, 0});
  ZRMComposite composite;
  composite.SetBand(0, &band);
  composite.SetOpacityBand(&opacity);
  Picture picture(2, 1, 0, 1, 1, 99);
  EXPECT_EQ(kDrawNothing, picture.Draw(composite));
}

TEST(OpacityBand, DrawsNothingBesideIt) {
  PlacedBand band, opacity;
  band.Set<std::uint8_t>(3, 1, {200, 200, 200});
  opacity.Set<std::uint8_t>(1, 1, {255}).Place(1.0, 1.0, 1.0);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  composite.SetOpacityBand(&opacity);
  EXPECT_EQ((std::vector<int>{99, 200, 99}), DrawnOver99(composite));
}

TEST(OpacityBand, MixesAllThreeColoursAndThoseOfATable) {
  PlacedBand bands[3], opacity;
  for (int i = 0; i < 3; ++i) bands[i].Set<std::uint8_t>(1, 1, {static_cast<std::uint8_t>(100 * i)});
  opacity.Set<std::uint8_t>(1, 1, {51});
  ZRMComposite composite;
  for (int i = 0; i < 3; ++i) composite.SetBand(i, &bands[i]);
  composite.SetOpacityBand(&opacity);
  Picture colours(1, 1, 0, 1, 1, 0x00646464), table(1, 1, 0, 1, 1, 0x00646464);
  EXPECT_EQ(kDrawDone, colours.Draw(composite));
  // A fifth of 0, 100 and 200, and four fifths of 100.
  EXPECT_EQ(0x00786450u, colours.At(0, 0));
  composite.GetCLT(0)[0] = 0x00C86400;
  composite.TouchTables();
  composite.SetMode(kModeTable);
  EXPECT_EQ(kDrawDone, table.Draw(composite));
  EXPECT_EQ(0x00786450u, table.At(0, 0));
}

namespace {

/// Pixels whose columns are 100 and opaque, or 0 and clear, in turn, so that each two by two are half
/// opaque.
struct Halves {
  Halves(int epsg, double left, double top, double pixel) {
    std::vector<std::uint8_t> colours, opacities;
    for (int i = 0; i < 16 * 16; ++i) {
      colours.push_back(i % 2 ? 0 : 100);
      opacities.push_back(i % 2 ? 0 : 255);
    }
    band.Set<std::uint8_t>(16, 16, colours).Place(left, top, pixel).In(epsg);
    opacity.Set<std::uint8_t>(16, 16, opacities).Place(left, top, pixel).In(epsg);
    composite.SetBand(0, &band);
    composite.SetOpacityBand(&opacity);
  }
  PlacedBand band, opacity;
  ZRMComposite composite;
};

}  // namespace

// 128 of 255 parts of 100 are 50. The colour 0 of what is clear would make it 25.
TEST(OpacityBand, LeavesWhatIsClearOutOfMeans) {
  Halves halves(32632, 500000, 5300000, 10);
  Picture picture(8, 8, 500000, 5300000, 20);
  ASSERT_EQ(kDrawDone, picture.In(32632).Draw(halves.composite, kResampleMean));
  EXPECT_EQ(std::vector<int>(64, 50), picture.Reds());
}

// The same on a way that is worked out by patches, because the systems differ.
TEST(OpacityBand, LeavesWhatIsClearOutOfWarpedMeans) {
  Halves halves(32632, 500000, 5300000, 10);
  Picture picture(4, 4, 500000 + 40, 5300000 - 40, 20), warped(4, 4, 500000 + 40, 5300000 - 40, 20);
  ASSERT_EQ(kDrawDone, picture.In(32632).Draw(halves.composite, kResampleMean));
  // ETRS89 and WGS 84 have the same coordinates, and are two systems.
  ASSERT_EQ(kDrawDone, warped.In(25832).Draw(halves.composite, kResampleMean));
  EXPECT_EQ(picture.Reds(), warped.Reds());
}

TEST(OpacityBand, FailsTheDrawWhereItCannotBeRead) {
  PlacedBand band, opacity;
  band.Set<std::uint8_t>(1, 1, {200});
  opacity.Set<std::uint8_t>(1, 1, {255});
  opacity.FailReads();
  ZRMComposite composite;
  composite.SetBand(0, &band);
  composite.SetOpacityBand(&opacity);
  Picture picture(1, 1, 0, 1, 1, 99);
  EXPECT_EQ(kDrawFailed, picture.Draw(composite));
  EXPECT_EQ(99u, picture.At(0, 0) & 255);
}
