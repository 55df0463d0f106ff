// Where pixels of a band come to lie in a picture: scales, levels, edges, turned images and threads.

#include "DrawnPicture.h"
#include "ThreadRuns.h"
#include "XReadPolicy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {

using Reds = std::vector<int>;
using Bytes = std::vector<std::uint8_t>;

Bytes RandomBytes(int count) {
  std::mt19937 random(7);
  Bytes bytes(static_cast<std::size_t>(count));
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// A band of some bytes in a composite of its own.
struct Grey {
  Grey(int width, int height, const Bytes& samples) {
    band.Set(width, height, samples);
    composite.SetBand(0, &band);
  }
  void Place(double ulx, double uly, double pixelSize) {
    band.Place(ulx, uly, pixelSize);
    composite.SetBand(0, &band);
  }
  PlacedBand band;
  ZRMComposite composite;
};

TEST(ZRMCompositeDraw, CopiesEveryPixelWherePictureAndBandAgree) {
  PlacedBand bands[3];
  ZRMComposite composite;
  const Bytes samples = RandomBytes(37 * 23 * 3);
  for (int i = 0; i < 3; ++i) {
    const auto first = samples.begin() + i * 37 * 23;
    bands[i].Set<std::uint8_t>(37, 23, {first, first + 37 * 23}).Place(500000.3, 4649776.7, 0.1);
    composite.SetBand(i, &bands[i]);
  }
  Picture picture(37, 23, 500000.3, 4649776.7, 0.1);
  ASSERT_EQ(kDrawDone, picture.Draw(composite));
  for (int y = 0; y < 23; ++y) {
    for (int x = 0; x < 37; ++x) {
      const auto at = [&](int band) { return XColour{samples[static_cast<std::size_t>(band * 37 * 23 + y * 37 + x)]}; };
      ASSERT_EQ(at(0) | at(1) << 8 | at(2) << 16, picture.At(x, y)) << x << " " << y;
    }
  }
}

TEST(ZRMCompositeDraw, RepeatsPixelsWhereThePictureIsFiner) {
  Grey grey(2, 1, {10, 20});
  Picture picture(6, 3, 0, 1, 1.0 / 3.0);
  picture.Draw(grey.composite);
  EXPECT_EQ((Reds{10, 10, 10, 20, 20, 20, 10, 10, 10, 20, 20, 20, 10, 10, 10, 20, 20, 20}), picture.Reds());
}

TEST(ZRMCompositeDraw, TakesTheNextPixelWhereACentreLiesOnAnEdge) {
  Grey grey(4, 1, {1, 2, 3, 4});
  Picture picture(2, 1, 0, 1, 2.0);
  picture.buffer.SetWorldPerPixel(2.0, 1.0);
  picture.buffer.SetWorldToCenter(2.0, 0.5);
  picture.Draw(grey.composite);
  EXPECT_EQ((Reds{2, 4}), picture.Reds());
}

TEST(ZRMCompositeDraw, LeavesWhatLiesBesideTheBandAsItIs) {
  Grey grey(2, 2, {1, 2, 3, 4});
  Picture picture(4, 3, -1, 3, 1, 99);
  EXPECT_EQ(kDrawDone, picture.Draw(grey.composite));
  EXPECT_EQ((Reds{99, 99, 99, 99, 99, 1, 2, 99, 99, 3, 4, 99}), picture.Reds());
}

TEST(ZRMCompositeDraw, SaysThatNothingOfItLiesThere) {
  Grey grey(2, 2, {1, 2, 3, 4});
  Picture picture(4, 3, 100, 3, 1, 99);
  EXPECT_EQ(kDrawNothing, picture.Draw(grey.composite));
}

TEST(ZRMCompositeDraw, DrawsOnlyPixelsWithTheirCentreBetweenTheEdges) {
  Grey grey(4, 1, {1, 2, 3, 4});
  Picture picture(4, 1, 0, 1, 1, 99);
  EXPECT_EQ(kDrawDone, grey.composite.Draw(&picture.buffer, 0.5, 0, 2.4, 1, kResampleNearest, nullptr, nullptr));
  EXPECT_EQ((Reds{1, 2, 99, 99}), picture.Reds());
  EXPECT_EQ(kDrawNothing, grey.composite.Draw(&picture.buffer, 3, 0, 2, 1, kResampleNearest, nullptr, nullptr));
  EXPECT_EQ(kDrawNothing, grey.composite.Draw(&picture.buffer, NAN, 0, 2, 1, kResampleNearest, nullptr, nullptr));
}

TEST(ZRMCompositeDraw, ReadsTheLevelThatStillHasAPixelForEach) {
  Bytes ramp;
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 16; ++x) ramp.push_back(static_cast<std::uint8_t>(x + 16 * y));
  }
  Grey grey(16, 16, ramp);
  grey.band.SetTileSize(2, 2);
  Picture picture(4, 4, 0, 16, 4.0);
  picture.Draw(grey.composite);
  // Level 2 has the first of each four columns and rows.
  EXPECT_EQ((Reds{0, 4, 8, 12, 64, 68, 72, 76, 128, 132, 136, 140, 192, 196, 200, 204}), picture.Reds());
}

TEST(ZRMCompositeDraw, StaysAtFullResolutionWhereTheBandHasNoLevels) {
  Bytes ramp;
  for (int x = 0; x < 16; ++x) ramp.push_back(static_cast<std::uint8_t>(x));
  Grey grey(16, 1, ramp);
  Picture picture(4, 1, 0, 1, 4.0);
  picture.buffer.SetWorldPerPixel(4.0, 1.0);
  picture.buffer.SetWorldToCenter(8.0, 0.5);
  picture.Draw(grey.composite);
  EXPECT_EQ((Reds{2, 6, 10, 14}), picture.Reds());
}

TEST(ZRMCompositeDraw, TakesTheMeanOfTwoByTwo) {
  Grey grey(4, 2, {10, 20, 0, 0, 30, 40, 0, 7});
  grey.band.SetNullValue(0);
  Picture picture(2, 1, 0, 2, 2.0);
  picture.Draw(grey.composite, kResampleMean);
  EXPECT_EQ((Reds{25, 7}), picture.Reds());
}

/// The mean of the samples under the centres of a pixel's quarters, halves rounded up.
int MeanUnder(const Bytes& samples, int width, int x, int y, double step) {
  int sum = 0;
  for (const double down : {0.25, 0.75}) {
    for (const double across : {0.25, 0.75}) {
      const int column = static_cast<int>((x + across) * step), row = static_cast<int>((y + down) * step);
      sum += samples[static_cast<std::size_t>(row * width + column)];
    }
  }
  return (sum + 2) / 4;
}

TEST(ZRMCompositeDraw, TakesTheMeanOfTheFourQuartersOfEachPixel) {
  constexpr int kSize = 64;
  const Bytes samples = RandomBytes(kSize * kSize);
  Grey grey(kSize, kSize, samples);
  // The second picture reaches beyond the band, the third is of bytes that were replaced.
  Picture whole(39, 39, 0, kSize, 1.6), wider(50, 50, 0, kSize, 1.6), inverse(39, 39, 0, kSize, 1.6);
  whole.Draw(grey.composite, kResampleMean);
  wider.Draw(grey.composite, kResampleMean);
  for (int i = 0; i < 256; ++i) grey.composite.GetLUT(0)[i] = static_cast<unsigned char>(255 - i);
  grey.composite.TouchTables();
  inverse.Draw(grey.composite, kResampleMean);
  Bytes inverted;
  for (const std::uint8_t sample : samples) inverted.push_back(static_cast<std::uint8_t>(255 - sample));
  for (int y = 0; y < 39; ++y) {
    for (int x = 0; x < 39; ++x) {
      const auto expected = static_cast<XColour>(MeanUnder(samples, kSize, x, y, 1.6));
      ASSERT_EQ(expected, whole.At(x, y) & 255) << x << " " << y;
      ASSERT_EQ(expected, wider.At(x, y) & 255);
      ASSERT_EQ(static_cast<XColour>(MeanUnder(inverted, kSize, x, y, 1.6)), inverse.At(x, y) & 255);
    }
  }
}

TEST(ZRMCompositeDraw, TakesColourTablesByTheNearest) {
  Grey grey(2, 2, {10, 20, 30, 40});
  grey.composite.SetMode(kModeTable);
  Picture picture(1, 1, 0, 2, 2.0);
  picture.Draw(grey.composite, kResampleMean);
  EXPECT_EQ((Reds{40}), picture.Reds());
}

TEST(ZRMCompositeDraw, PlacesABandByItsCentreWhereThatIsItsCorner) {
  Grey grey(2, 1, {1, 2});
  grey.band.SetPixelAnchor(kPixelCentre);
  grey.Place(0.5, 0.5, 1.0);
  Picture picture(2, 1, 0, 1, 1, 99);
  picture.Draw(grey.composite);
  EXPECT_EQ((Reds{1, 2}), picture.Reds());
}

TEST(ZRMCompositeDraw, DrawsTurnedImagesWhereTheyBelong) {
  Grey grey(2, 3, {1, 2, 3, 4, 5, 6});
  // A quarter turn: columns go south and rows go west.
  const double transform[6] = {3.0, 0.0, -1.0, 2.0, -1.0, 0.0};
  grey.band.SetGeoTransform(transform);
  grey.composite.SetBand(0, &grey.band);
  Picture picture(3, 2, 0, 2, 1, 99);
  EXPECT_EQ(kDrawDone, picture.Draw(grey.composite));
  EXPECT_EQ((Reds{5, 3, 1, 6, 4, 2}), picture.Reds());
}

TEST(ZRMCompositeDraw, DrawsBandsOfDifferingPixelSizes) {
  PlacedBand fine, coarse;
  ZRMComposite composite;
  composite.SetBand(0, &fine.Set<std::uint8_t>(2, 2, {1, 2, 3, 4}));
  composite.SetBand(1, &coarse.Set<std::uint8_t>(1, 1, {9}).Place(0, 2, 2));
  Picture picture(2, 2, 0, 2, 1);
  picture.Draw(composite);
  EXPECT_EQ(0x00000902u, picture.At(1, 0));
  EXPECT_EQ(0x00000903u, picture.At(0, 1));
}

TEST(ZRMCompositeDraw, KeepsToTheDrawRange) {
  Grey grey(3, 1, {1, 2, 3});
  EXPECT_EQ(0, grey.composite.SetDrawRange(2, 1, 0, 1));
  ASSERT_EQ(1, grey.composite.SetDrawRange(1, 2, 0, 1));
  EXPECT_EQ((Reds{99, 2, 99}), DrawnOver99(grey.composite));
  grey.composite.ClearDrawRange();
  double west = 0, east = 0, south = 0, north = 0;
  ASSERT_EQ(1, grey.composite.GetDrawRange(west, east, south, north));
  EXPECT_EQ(3.0, east);
  EXPECT_EQ((Reds{1, 2, 3}), DrawnOver99(grey.composite));
}

TEST(ZRMCompositeDraw, DrawsLongitudesThatGoAroundTheEarth) {
  Grey grey(4, 1, {1, 2, 3, 4});
  grey.Place(0, 45, 90);  // from 0 to 360 degrees
  grey.band.In(4326);
  grey.composite.TouchTables();
  Picture picture(4, 1, -180, 45, 90, 99);
  picture.In(4326).Draw(grey.composite);
  EXPECT_EQ((Reds{3, 4, 1, 2}), picture.Reds());
}

TEST(ZRMCompositeDraw, ReadsLargeBlocksInParts) {
  // Without levels the picture's pixels lie over more samples than are read at once.
  constexpr int kSize = 65, kStep = 64;
  Bytes samples(kSize * kStep * kSize * kStep);
  const auto place = [](int x) { return x * kStep + kStep / 2; };
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      samples[static_cast<std::size_t>(place(y) * kSize * kStep + place(x))] = static_cast<std::uint8_t>(x + y);
    }
  }
  Grey grey(kSize * kStep, kSize * kStep, samples);
  grey.band.SetTileSize(kSize * kStep, kSize * kStep);
  Picture picture(kSize, kSize, 0, kSize * kStep, kStep);
  ASSERT_EQ(kDrawDone, picture.Draw(grey.composite));
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) ASSERT_EQ(static_cast<XColour>(x + y), picture.At(x, y) & 255);
  }
  EXPECT_EQ(4, grey.band.GetNumReads());
}

TEST(ZRMCompositeDraw, StopsWhereItIsAskedTo) {
  Grey grey(2, 1, {1, 2});
  Picture picture(2, 1, 0, 1, 1, 99);
  int cancel = 1;
  EXPECT_EQ(kDrawNothing, picture.Draw(grey.composite, kResampleNearest, &cancel));
  EXPECT_EQ((Reds{99, 99}), picture.Reds());
}

TEST(ZRMCompositeDraw, FailsWhereABandCannotBeRead) {
  Grey grey(2, 1, {1, 2});
  grey.band.FailReads();
  Picture picture(2, 1, 0, 1, 1, 99);
  XfnForgetLastReadError();
  EXPECT_EQ(kDrawFailed, picture.Draw(grey.composite));
  XString reason;
  EXPECT_EQ(1, XfnGetLastReadError(reason));
}

TEST(ZRMCompositeDraw, FailsInAPictureWithoutAPlace) {
  Grey grey(2, 1, {1, 2});
  Picture picture(2, 1, 0, 1, 1);
  for (const double step : {0.0, -1.0, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    picture.buffer.SetWorldPerPixel(step, 1.0);
    EXPECT_EQ(kDrawFailed, grey.composite.Draw(&picture.buffer, 0, 0, 2, 1, kResampleNearest, nullptr, nullptr));
  }
}

TEST(ZRMCompositeDraw, DrawsIntoItsOwnBufferWithoutAnother) {
  Grey grey(1, 1, {5});
  EXPECT_EQ(kDrawNothing, grey.composite.Draw(nullptr, 0, 0, 1, 1, kResampleNearest, nullptr, nullptr));
  EXPECT_EQ(nullptr, grey.composite.GetDIBits());
  grey.composite.GetBackBuffer()->Create(nullptr, kBackBufferInMemory);
  grey.composite.GetBackBuffer()->Resize(nullptr, 1, 1);
  grey.composite.GetBackBuffer()->SetWorldToCenter(0.5, 0.5);
  EXPECT_EQ(kDrawDone, grey.composite.Draw(nullptr, 0, 0, 1, 1, kResampleNearest, nullptr, nullptr));
  EXPECT_EQ(5, grey.composite.GetDIBits()[1]);
}

TEST(ZRMCompositeDraw, GivesTheSameFromManyThreads) {
  Grey grey(300, 300, RandomBytes(300 * 300));
  Picture expected(256, 256, 10, 290, 1);
  expected.Draw(grey.composite);
  grey.composite.TouchTables();
  RunOnThreads(4, [&](int) {
    Picture picture(256, 256, 10, 290, 1);
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(kDrawDone, picture.Draw(grey.composite));
      EXPECT_EQ(0, std::memcmp(expected.buffer.GetPixels(), picture.buffer.GetPixels(), 256 * 256 * 3));
    }
  });
}

TEST(ZRMComposite, TellsHowPixelsLieInTheWorld) {
  Grey grey(4, 2, Bytes(8, 1));
  grey.Place(10, 20, 0.5);
  const double* const there = grey.composite.GetWarpCoeff(0);
  const double* const back = grey.composite.GetWarpCoeffInv(0);
  ASSERT_TRUE(there && back);
  const double x = there[0] + 3 * there[1] + 1 * there[2], y = there[3] + 3 * there[4] + 1 * there[5];
  EXPECT_EQ(11.5, x);
  EXPECT_EQ(19.5, y);
  EXPECT_EQ(3.0, back[0] + x * back[1] + y * back[2]);
  EXPECT_EQ(1.0, back[3] + x * back[4] + y * back[5]);
}

TEST(ZRMComposite, FailsForABandWithoutAnArea) {
  Grey grey(1, 1, {1});
  grey.Place(0, 0, 0);
  EXPECT_EQ(nullptr, grey.composite.GetWarpCoeffInv(0));
  Picture picture(1, 1, 0, 1, 1);
  EXPECT_EQ(kDrawFailed, picture.Draw(grey.composite));
}

}  // namespace
