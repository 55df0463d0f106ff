#include "ZRMBandDRIO.h"

#include "MemoryBand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

using DirectBand = MemoryBandOf<ZRMBandDRIO>;
using LevelBand = MemoryBandOf<ZRMBandXLD>;

/// Sets a flag when it goes.
class MortalLevels : public ZRMBandXLD {
 public:
  explicit MortalLevels(bool& isGone) : isGone_(isGone) {}
  ~MortalLevels() override { isGone_ = true; }

 private:
  bool& isGone_;
};

}  // namespace

TEST(ZRMBandDRIO, HasNoLevelDataAtFirst) {
  DirectBand band;
  EXPECT_EQ(band.GetBandXLD(), nullptr);
}

TEST(ZRMBandDRIO, OwnsItsLevelData) {
  bool isGone = false;
  {
    DirectBand band;
    band.SetBandXLD(std::make_unique<MortalLevels>(isGone).release());
    EXPECT_NE(band.GetBandXLD(), nullptr);
    EXPECT_FALSE(isGone);
  }
  EXPECT_TRUE(isGone);
}

TEST(ZRMBandDRIO, NewLevelDataReplacesTheOneBefore) {
  bool isFirstGone = false, isSecondGone = false;
  DirectBand band;
  band.SetBandXLD(std::make_unique<MortalLevels>(isFirstGone).release());
  band.SetBandXLD(std::make_unique<MortalLevels>(isSecondGone).release());
  EXPECT_TRUE(isFirstGone);
  EXPECT_FALSE(isSecondGone);
  band.SetBandXLD(nullptr);
  EXPECT_TRUE(isSecondGone);
  EXPECT_EQ(band.GetBandXLD(), nullptr);
}

TEST(ZRMBandDRIO, LevelDataSetAgainStays) {
  bool isGone = false;
  DirectBand band;
  band.SetBandXLD(std::make_unique<MortalLevels>(isGone).release());
  band.SetBandXLD(band.GetBandXLD());
  EXPECT_FALSE(isGone);
}

TEST(ZRMBandDRIO, AsksTheLevelDataFirst) {
  DirectBand band;
  band.SetSamples<std::uint8_t>(2, 1, {1, 2});
  auto level = std::make_unique<LevelBand>();
  level->SetSamples<std::uint8_t>(2, 1, {11, 12});
  band.SetBandXLD(level.release());
  tagXArr2* out = nullptr;
  ASSERT_EQ(band.ReadSubset(out, 0, 0, 1, 0, 0, nullptr), 1);
  EXPECT_THAT(SamplesOf<std::uint8_t>(*out), ElementsAre(11, 12));
}

TEST(ZRMBandDRIO, ReadsTheSourceWhereTheLevelDataDeclines) {
  DirectBand band;
  band.SetSamples<std::uint8_t>(2, 1, {1, 2});
  band.SetBandXLD(std::make_unique<ZRMBandXLD>().release());
  tagXArr2* out = nullptr;
  ASSERT_EQ(band.ReadSubset(out, 0, 0, 1, 0, 0, nullptr), 1);
  EXPECT_THAT(SamplesOf<std::uint8_t>(*out), ElementsAre(1, 2));
}

TEST(ZRMBandXLD, DeclinesEveryReadWithoutAStore) {
  ZRMBandXLD band;
  band.SetSize(64, 64);
  tagXArr2 before;
  tagXArr2* out = &before;
  EXPECT_EQ(band.ReadSubset(out, 0, 0, 63, 0, 63, nullptr), 0);
  EXPECT_EQ(band.ReadSubset(out, 2, 0, 63, 0, 63, nullptr), 0);
  EXPECT_EQ(out, &before);
}
