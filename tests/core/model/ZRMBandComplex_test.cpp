#include "ZRMBandComplex.h"

#include "MemoryBand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

/// An inner band of float samples 0, 1, 100, 101, still seen by the test that gave it away.
MemoryBand* MakeInner() {
  auto inner = std::make_unique<MemoryBand>();
  inner->SetRamp<float>(2, 2);
  inner->SetBandName("amplitude");
  return inner.release();
}

}  // namespace

TEST(ZRMBandComplex, TakesOverTheInnerBandsFields) {
  MemoryBand* inner = MakeInner();
  const ZRMBandComplex band(inner);
  EXPECT_EQ(band.GetInnerBand(), inner);
  EXPECT_EQ(band.GetXSize(), 2);
  EXPECT_EQ(band.GetDataType(), kReal32);
  EXPECT_EQ(band.GetBandName(), "amplitude");
}

TEST(ZRMBandComplex, ReadsItsInnerBand) {
  ZRMBandComplex band(MakeInner());
  tagXArr2* out = nullptr;
  ASSERT_EQ(band.ReadSubset(out, 0, 0, 1, 1, 1, nullptr), 1);
  EXPECT_THAT(SamplesOf<float>(*out), ElementsAre(100.0F, 101.0F));
}

TEST(ZRMBandComplex, HasTheStatisticsOfItsInnerBand) {
  ZRMBandComplex band(MakeInner());
  ASSERT_EQ(band.CalcStatistics(0), 1);
  EXPECT_EQ(band.GetBandMin(), 0.0);
  EXPECT_EQ(band.GetBandMax(), 101.0);
  EXPECT_EQ(band.GetBandMean(), 50.5);
}

TEST(ZRMBandComplex, CleansUpItsInnerBand) {
  MemoryBand* inner = MakeInner();
  ZRMBandComplex band(inner);
  EXPECT_EQ(band.CleanupMemory(1, 1), 1);
  EXPECT_EQ(inner->GetNumCleanups(), 1);
}

TEST(ZRMBandComplex, ServesNothingWithoutAnInnerBand) {
  ZRMBandComplex band(nullptr);
  tagXArr2* out = nullptr;
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 0, 0, 0, nullptr), 0);
  EXPECT_EQ(band.CalcStatistics(1), 0);
  EXPECT_EQ(band.CleanupMemory(1, 1), 1);
}
