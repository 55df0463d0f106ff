#include "ZRMBandMosaic.h"
#include "ReadSamples.h"
#include "ThreadRuns.h"
#include "XThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <vector>

namespace {

/// A source whose upper left corner and pixel size are exact in binary.
struct Source : MemoryBand {
  template <class Sample>
  void Place(double ulx, double uly, double pixelSize, int width, int height, const std::vector<Sample>& samples) {
    SetSamples(width, height, samples);
    SetUpperLeft(ulx, uly);
    SetPixelSize(pixelSize, pixelSize);
  }
};

template <class Sample>
class ZRMBandMosaicOf : public testing::Test {};
using AllSamples =
    testing::Types<std::uint8_t, std::int8_t, std::uint16_t, std::int16_t, std::uint32_t, std::int32_t, float, double>;
TYPED_TEST_SUITE(ZRMBandMosaicOf, AllSamples);

TYPED_TEST(ZRMBandMosaicOf, LetsTheFirstSourceWin) {
  Source upper, lower;
  upper.Place<TypeParam>(1, 0, 1, 2, 1, {1, 2});
  lower.Place<TypeParam>(0, 0, 1, 4, 2, {10, 11, 12, 13, 14, 15, 16, 17});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&upper);
  mosaic.AddBand(&lower);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 4, 2, zrk::kDataTypeOf<TypeParam>));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<TypeParam>{10, 1, 2, 13, 14, 15, 16, 17}), ReadAll<TypeParam>(mosaic));
}

TYPED_TEST(ZRMBandMosaicOf, LooksThroughTheNullsOfEachSource) {
  Source upper, lower;
  upper.Place<TypeParam>(0, 0, 1, 3, 1, {1, 9, 9});
  upper.SetNullValue(9);
  lower.Place<TypeParam>(0, 0, 1, 3, 1, {9, 9, 4});
  lower.SetNullValue(4);
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&upper);
  mosaic.AddBand(&lower);
  mosaic.SetNullValue(77);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 4, 1, zrk::kDataTypeOf<TypeParam>));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<TypeParam>{1, 9, 77, 77}), ReadAll<TypeParam>(mosaic));
}

/// The sample that a place in the world has, by the extents of the sources.
int SampleAt(const std::vector<Source*>& sources, double x, double y) {
  for (Source* source : sources) {
    const double column = std::floor((x - source->GetULX()) / source->GetXPixelSize());
    const double row = std::floor((source->GetULY() - y) / source->GetYPixelSize());
    if (column < 0 || row < 0 || column >= source->GetXSize() || row >= source->GetYSize()) continue;
    const int sample = static_cast<int>(column + 100 * row);
    if (sample != static_cast<int>(source->GetNullValue())) return sample;
  }
  return -1;
}

class ZRMBandMosaicOfThree : public testing::Test {
 protected:
  void SetUp() override {
    fine_.SetRamp<std::int16_t>(9, 7);
    fine_.SetUpperLeft(100.25, 50.5);
    fine_.SetPixelSize(0.25, 0.5);
    fine_.SetNullValue(203);
    coarse_.SetRamp<std::int16_t>(3, 4);
    coarse_.SetUpperLeft(100.5, 51);
    coarse_.SetPixelSize(1.5, 1.25);
    coarse_.SetNullValue(-1);
    apart_.SetRamp<std::int16_t>(3, 4);
    apart_.SetUpperLeft(500, 51);
    for (Source* source : {&apart_, &fine_, &coarse_}) mosaic_.AddBand(source);
    mosaic_.SetNullValue(-1);
    ASSERT_EQ(1, mosaic_.SetBandInfo(99.5, 52, 0.75, 0.75, 9, 8, kSint32));
    ASSERT_EQ(1, mosaic_.CalcWarpCoeff());
  }

  std::vector<std::int32_t> ExpectedOf(int level, int x0, int x1, int y0, int y1) {
    std::vector<std::int32_t> expected;
    for (int j = 0; j < (y1 - y0 + 1) >> level; ++j) {
      for (int i = 0; i < (x1 - x0 + 1) >> level; ++i) {
        const double x = 99.5 + 0.75 * (x0 + (i << level) + 0.5);
        const double y = 52 - 0.75 * (y0 + (j << level) + 0.5);
        expected.push_back(SampleAt({&fine_, &coarse_}, x, y));
      }
    }
    return expected;
  }

  Source fine_, coarse_, apart_;
  ZRMBandMosaic mosaic_;
};

TEST_F(ZRMBandMosaicOfThree, TakesTheSourcePixelUnderEachCentreInEveryWindow) {
  for (int level = 0; level <= 1; ++level) {
    for (int y0 = 0; y0 < 7; ++y0) {
      for (int y1 = y0 + 1; y1 < 8; ++y1) {
        for (int x0 = 0; x0 < 8; ++x0) {
          for (int x1 = x0 + 1; x1 < 9; ++x1) {
            ASSERT_EQ(ExpectedOf(level, x0, x1, y0, y1), Read<std::int32_t>(mosaic_, level, x0, x1, y0, y1));
          }
        }
      }
    }
  }
  EXPECT_EQ(0, apart_.GetNumReads());
}

TEST(ZRMBandMosaic, GivesACentreOnAnEdgeToTheNextPixel) {
  Source source;
  source.Place<std::uint8_t>(0.1, 0.3, 0.1, 4, 1, {1, 2, 3, 4});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&source);
  ASSERT_EQ(1, mosaic.SetBandInfo(0.1, 0.3, 0.2, 0.1, 2, 1, kPint08));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<std::uint8_t>{2, 4}), ReadAll<std::uint8_t>(mosaic));
}

TEST(ZRMBandMosaic, ReadsASourceWhoseRowsGoUpward) {
  Source source;
  source.Place<std::uint8_t>(0, -3, 1, 1, 3, {1, 2, 3});
  source.SetPixelSize(1, -1);
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&source);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 1, 1, 1, 1, 4, kPint08));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<std::uint8_t>{0, 3, 2, 1}), ReadAll<std::uint8_t>(mosaic));
}

TEST(ZRMBandMosaic, CutsAndRoundsSamplesOfOtherTypes) {
  Source real, wide;
  real.Place<double>(0, 0, 1, 5, 1, {2.5, -7.0, 300.0, std::nan(""), 0.4});
  wide.Place<std::uint32_t>(5, 0, 1, 1, 1, {4294967295u});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&real);
  mosaic.AddBand(&wide);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 7, 1, kPint08));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<std::uint8_t>{3, 0, 255, 0, 0, 255, 0}), ReadAll<std::uint8_t>(mosaic));
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 7, 1, kSint32));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<std::int32_t>{3, -7, 300, 0, 0, 2147483647, 0}), ReadAll<std::int32_t>(mosaic));
}

TEST(ZRMBandMosaic, HoldsItsNullValueWhereTheTypeCan) {
  Source source;
  source.Place<float>(100, 100, 1, 1, 1, {1});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&source);
  const auto nullOf = [&](int dataType) {
    EXPECT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 1, 1, dataType));
    EXPECT_EQ(1, mosaic.CalcWarpCoeff());
  };
  nullOf(kReal64);
  EXPECT_EQ(kNotSet, ReadAll<double>(mosaic)[0]);
  nullOf(kReal32);
  EXPECT_EQ(0.0F, ReadAll<float>(mosaic)[0]);
  mosaic.SetNullValue(-9999.1);
  nullOf(kReal32);
  EXPECT_EQ(-9999.1F, ReadAll<float>(mosaic)[0]);
  nullOf(kSint16);
  EXPECT_EQ(0, ReadAll<std::int16_t>(mosaic)[0]);
}

TEST(ZRMBandMosaic, RefusesWhatItCannotLayDown) {
  Source source, flat;
  source.Place<float>(0, 0, 1, 1, 1, {1});
  flat.Place<float>(0, 0, 0, 1, 1, {1});
  ZRMBandMosaic mosaic;
  EXPECT_EQ(0, mosaic.AddBand(nullptr));
  EXPECT_EQ(0, mosaic.AddBand(&mosaic));
  EXPECT_EQ(0, mosaic.SetBandInfo(0, 0, 0, 1, 1, 1, kPint08));
  EXPECT_EQ(0, mosaic.SetBandInfo(0, 0, 1, std::nan(""), 1, 1, kPint08));
  EXPECT_EQ(0, mosaic.SetBandInfo(0, 0, 1, 1, 0, 1, kPint08));
  EXPECT_EQ(0, mosaic.SetBandInfo(0, 0, 1, 1, 1, 1, 9));
  EXPECT_EQ(0, mosaic.SetBandInfo(std::nan(""), 0, 1, 1, 1, 1, kPint08));
  EXPECT_EQ(1, mosaic.AddBand(&source));
  EXPECT_EQ(0, mosaic.CalcWarpCoeff());
  EXPECT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 1, 1, kPint08));
  EXPECT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ(1, mosaic.AddBand(&flat));
  EXPECT_EQ(0, mosaic.CalcWarpCoeff());
  EXPECT_EQ(2, mosaic.GetNumOfBands());
  EXPECT_EQ(&flat, mosaic.GetBandAt(1));
  EXPECT_EQ(nullptr, mosaic.GetBandAt(2));
  EXPECT_TRUE(ReadAll<std::uint8_t>(mosaic).empty());
}

TEST(ZRMBandMosaic, FailsReadsThatItsSourcesFail) {
  Source source;
  source.Place<float>(0, 0, 1, 2, 2, {1, 2, 3, 4});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&source);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 3, 3, kReal32));
  tagXArr2 untouched;
  tagXArr2* out = &untouched;
  EXPECT_EQ(0, mosaic.ReadSubset(out, 0, 0, 2, 0, 2, nullptr));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ(0, mosaic.ReadSubset(out, 0, 0, 3, 0, 2, nullptr));
  EXPECT_EQ(0, mosaic.ReadSubset(out, 2, 0, 2, 0, 2, nullptr));
  int stop = XThread::kStateStop;
  EXPECT_EQ(0, mosaic.ReadSubset(out, 0, 0, 2, 0, 2, &stop));
  source.FailReads();
  EXPECT_EQ(0, mosaic.ReadSubset(out, 0, 0, 2, 0, 2, nullptr));
  EXPECT_EQ(&untouched, out);
  EXPECT_EQ(1, mosaic.ReadSubset(out, 0, 2, 2, 0, 2, nullptr)) << "beside the source";
}

TEST(ZRMBandMosaic, FailsReadsAfterATypeWasMadeOneThatIsNotScalar) {
  Source source;
  source.Place<float>(0, 0, 1, 1, 1, {1});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&source);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 1, 1, kReal32));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  source.SetDataType(kDataTypeNone);
  EXPECT_TRUE(ReadAll<float>(mosaic).empty());
  source.SetDataType(kReal32);
  mosaic.SetDataType(9);
  EXPECT_TRUE(ReadAll<float>(mosaic).empty());
}

TEST(ZRMBandMosaic, LeavesSourcesUnreadUnderFullOnes) {
  Source upper, lower;
  upper.Place<std::uint8_t>(0, 0, 1, 2, 1, {1, 2});
  lower.Place<std::uint8_t>(0, 0, 1, 2, 1, {3, 4});
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&upper);
  mosaic.AddBand(&lower);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 2, 1, kPint08));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ((std::vector<std::uint8_t>{1, 2}), ReadAll<std::uint8_t>(mosaic));
  EXPECT_EQ(0, lower.GetNumReads());
  EXPECT_EQ(1, mosaic.CleanupMemory(1, 1));
  EXPECT_EQ((std::vector<std::uint8_t>{1, 2}), ReadAll<std::uint8_t>(mosaic));
}

TEST(ZRMBandMosaic, ReadsALargeSourceInStrips) {
  Source source;
  source.SetRamp<double>(2000, 600);
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&source);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 2000, 600, kReal64));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  EXPECT_EQ(1999.0 + 59900.0, ReadAll<double>(mosaic).back());
  EXPECT_EQ(3, source.GetNumReads());  // 262 rows of 16,000 bytes are below 4 MiB
}

/// Ten rows of the mosaic, from row `y` on.
std::vector<std::int16_t> ReadTenRows(ZRMBandMosaic& mosaic, int y) {
  return Read<std::int16_t>(mosaic, 0, 3, 55, y, y + 9);
}

TEST(ZRMBandMosaicThreads, ReadAlike) {
  Source upper, lower;
  upper.SetRamp<std::int16_t>(40, 30);
  upper.SetUpperLeft(10, -10);
  lower.SetRamp<std::int16_t>(30, 30);
  lower.SetPixelSize(2, 2);
  ZRMBandMosaic mosaic;
  mosaic.AddBand(&upper);
  mosaic.AddBand(&lower);
  ASSERT_EQ(1, mosaic.SetBandInfo(0, 0, 1, 1, 60, 60, kSint16));
  ASSERT_EQ(1, mosaic.CalcWarpCoeff());
  std::vector<std::vector<std::int16_t>> expected;
  for (int y = 0; y < 50; ++y) expected.push_back(ReadTenRows(mosaic, y));
  std::atomic<int> numDifferent = 0;
  RunOnThreads(4, [&](int t) {
    for (int k = 0; k < 50; ++k) {
      const int y = (k + 11 * t) % 50;
      numDifferent += ReadTenRows(mosaic, y) != expected[static_cast<std::size_t>(y)];
    }
  });
  EXPECT_EQ(0, numDifferent);
}

}  // namespace
