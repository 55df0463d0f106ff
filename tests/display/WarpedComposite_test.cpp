// A composite in one system drawn into a picture of another.

#include "DrawnPicture.h"
#include "ThreadRuns.h"
#include "XCoordinateTransformation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

/// The sample of a column is its number, so that a picture tells which column it shows.
std::vector<std::uint8_t> Columns(int width, int height) {
  std::vector<std::uint8_t> samples;
  for (int i = 0; i < width * height; ++i) samples.push_back(static_cast<std::uint8_t>(i % width));
  return samples;
}

TEST(WarpedComposite, ShowsTheColumnThatLiesUnderEachPixel) {
  PlacedBand band;
  band.Set<std::uint8_t>(200, 200, Columns(200, 200)).Place(500000, 5320000, 100).In(32632);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  Picture picture(100, 100, 9.05, 47.95, 0.0009);
  ASSERT_EQ(kDrawDone, picture.In(4326).Draw(composite));
  const auto way = XfnCreateCoordTrans(picture.buffer.GetSR(), *band.GetSR());
  for (int y = 0; y < 100; y += 7) {
    for (int x = 0; x < 100; x += 7) {
      double east = 9.05 + (x + 0.5) * 0.0009, north = 47.95 - (y + 0.5) * 0.0009;
      ASSERT_EQ(1, way->TransformPt(east, north));
      const double column = (east - 500000) / 100;
      // A place is off by an eighth of a pixel at most.
      const int shown = static_cast<int>(picture.At(x, y) & 255);
      ASSERT_GE(shown, std::floor(column - 0.125)) << x << " " << y;
      ASSERT_LE(shown, std::floor(column + 0.125)) << x << " " << y;
    }
  }
}

TEST(WarpedComposite, LeavesPlacesBesideTheBandAsTheyAre) {
  PlacedBand band;
  band.Set<std::uint8_t>(10, 10, Columns(10, 10)).Place(500000, 5320000, 100).In(32632);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  Picture picture(64, 64, 8.9, 48.1, 0.004, 99);
  ASSERT_EQ(kDrawDone, picture.In(4326).Draw(composite));
  EXPECT_EQ(99u, picture.At(0, 0) & 255);
  EXPECT_EQ(99u, picture.At(63, 63) & 255);
  Picture elsewhere(64, 64, 80, 10, 0.004, 99);
  EXPECT_EQ(kDrawNothing, elsewhere.In(4326).Draw(composite));
}

TEST(WarpedComposite, DrawsByItsOwnCoordinatesInAPictureWithoutASystem) {
  PlacedBand band;
  band.Set<std::uint8_t>(3, 1, Columns(3, 1)).In(32632);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  EXPECT_EQ((std::vector<int>{0, 1, 2}), DrawnOver99(composite));
}

TEST(WarpedComposite, TakesTheSystemOfTheFirstCompositeThatWasDrawn) {
  PlacedBand base, band;
  base.Set<std::uint8_t>(1, 1, {0}).In(4326);
  band.Set<std::uint8_t>(200, 200, Columns(200, 200)).Place(500000, 5320000, 100).In(32632);
  ZRMComposite first, composite;
  first.SetBand(0, &base);
  composite.SetBand(0, &band);
  Picture own(50, 50, 9.05, 47.95, 0.001), given(50, 50, 9.05, 47.95, 0.001);
  EXPECT_EQ(kDrawDone, given.In(4326).Draw(composite));
  EXPECT_EQ(kDrawDone, composite.Draw(&own.buffer, 9, 47, 10, 48, kResampleNearest, &first, nullptr));
  EXPECT_EQ(given.Reds(), own.Reds());
}

TEST(WarpedComposite, DrawsASecondPictureOfAnotherSystemByThatOne) {
  PlacedBand band;
  band.Set<std::uint8_t>(200, 200, Columns(200, 200)).Place(500000, 5320000, 100).In(32632);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  Picture degrees(50, 50, 9.05, 47.95, 0.001), metres(20, 1, 500000, 5320000, 100);
  degrees.In(4326).Draw(composite);
  metres.In(32632).Draw(composite);
  EXPECT_EQ(19u, metres.At(19, 0) & 255);
}

TEST(WarpedComposite, IsTheSameFromManyThreads) {
  PlacedBand band;
  band.Set<std::uint8_t>(200, 200, Columns(200, 200)).Place(500000, 5320000, 100).In(32632);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  Picture expected(50, 50, 9.05, 47.95, 0.001);
  expected.In(4326).Draw(composite);
  composite.TouchTables();
  RunOnThreads(4, [&](int) {
    // Each has a buffer and a copy of the system of its own.
    Picture picture(50, 50, 9.05, 47.95, 0.001);
    EXPECT_EQ(kDrawDone, picture.In(4326).Draw(composite));
    EXPECT_EQ(expected.Reds(), picture.Reds());
  });
}

TEST(WarpedComposite, TakesMeansUnderThePixels) {
  PlacedBand band;
  band.Set<std::uint8_t>(200, 200, Columns(200, 200)).Place(500000, 5320000, 100).In(32632);
  ZRMComposite composite;
  composite.SetBand(0, &band);
  Picture nearest(40, 40, 9.05, 47.95, 0.003), mean(40, 40, 9.05, 47.95, 0.003);
  nearest.In(4326).Draw(composite);
  EXPECT_EQ(kDrawDone, mean.In(4326).Draw(composite, kResampleMean));
  // Columns rise evenly, so that a mean is near to the middle.
  for (int x = 0; x < 40; x += 3) {
    EXPECT_LE(std::abs(static_cast<int>(nearest.At(x, 20) & 255) - static_cast<int>(mean.At(x, 20) & 255)), 1);
  }
}

}  // namespace
