#include "ZRMBandXLD.h"

#include "LevelDataset.h"
#include "TempFolder.h"
#include "XFile.h"
#include "XRSFile2XLD.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

/// A source of any size and place, its level file, and a band over that.
class ZRMBandXLDTest : public testing::Test {
 protected:
  void Build(int width, int height) {
    source_ = &AddDirectBand(dataset_, width, height, RandomSamples<std::uint8_t>(width, height));
    XRSFile2XLD builder;
    builder.SetXRSFile(&dataset_);
    XString err;
    ASSERT_EQ(1, builder.Save(folder_.Path("a.xld"), err, 3, nullptr));
  }
  void Bind() {
    auto file = std::make_unique<XFile>();
    ASSERT_TRUE(file->Open(folder_.Path("a.xld"), XFile::kRead));
    band_.SetFile(file.release(), 1);
    band_.SetOffset(12);
    ASSERT_TRUE(band_.Init(source_, source_->GetXSize(), source_->GetYSize(), kPint08, 16, 16));
  }
  std::vector<std::uint8_t> Read(int level, int x0, int x1, int y0, int y1) {
    tagXArr2* out = nullptr;
    if (!band_.ReadSubset(out, level, x0, x1, y0, y1, nullptr)) return {};
    EXPECT_EQ((x1 - x0 + 1) >> level, out->xSize);
    EXPECT_EQ((y1 - y0 + 1) >> level, out->ySize);
    return SamplesOf<std::uint8_t>(*out);
  }

  TempFolder folder_;
  XRSFile dataset_;
  DirectMemoryBand* source_ = nullptr;
  ZRMBandXLD band_;
};

TEST_F(ZRMBandXLDTest, DeclinesLevel0AndServesThoseAbove) {
  Build(64, 64);
  Bind();
  EXPECT_TRUE(Read(0, 0, 63, 0, 63).empty());
  EXPECT_EQ(32u * 32, Read(1, 0, 63, 0, 63).size());
  EXPECT_EQ(16u * 16, Read(2, 0, 63, 0, 63).size());
  EXPECT_TRUE(Read(3, 0, 63, 0, 63).empty());
  EXPECT_TRUE(Read(-1, 0, 63, 0, 63).empty());
}

TEST_F(ZRMBandXLDTest, DeclinesAllWithoutAFile) {
  Build(64, 64);
  EXPECT_FALSE(band_.Init(source_, 64, 64, kPint08, 16, 16));
  EXPECT_TRUE(Read(1, 0, 63, 0, 63).empty());
  EXPECT_EQ(0, band_.CalcBandSize(1, 2, 3, 4, 5));
}

TEST_F(ZRMBandXLDTest, WantsASourceWithLevels) {
  Build(64, 64);
  XFile file;
  ASSERT_TRUE(file.Open(folder_.Path("a.xld"), XFile::kRead));
  band_.SetFile(&file, 0);
  EXPECT_FALSE(band_.Init(nullptr, 64, 64, kPint08, 16, 16));
  source_->SetTileSize(64, 64);
  EXPECT_FALSE(band_.Init(source_, 64, 64, kPint08, 64, 64));
}

TEST_F(ZRMBandXLDTest, LooksLikeItsSource) {
  Build(64, 64);
  source_->SetUpperLeft(1000.0, 2000.0);
  source_->SetPixelSize(0.5, 0.25);
  source_->SetCompressionInfo(3);
  Bind();
  EXPECT_EQ(64, band_.GetXSize());
  EXPECT_EQ(1000.0, band_.GetULX());
  EXPECT_EQ(0.25, band_.GetYPixelSize());
  EXPECT_EQ(16, band_.GetXTileSize());
  EXPECT_EQ(3, band_.GetCompressionInfo());
  EXPECT_EQ(5 * 256, band_.CalcBandSize(0, 0, 0, 0, 0));
}

TEST_F(ZRMBandXLDTest, ServesEveryWindowFromTheLevelImage) {
  Build(64, 48);
  Bind();
  const auto whole = Read(1, 0, 63, 0, 47);
  for (int x0 = 0; x0 < 64; x0 += 2) {
    for (int y0 = 0; y0 < 48; y0 += 2) {
      const auto one = Read(1, x0, x0 + 1, y0, y0 + 1);
      ASSERT_EQ(std::vector{whole[static_cast<std::size_t>(y0 / 2 * 32 + x0 / 2)]}, one) << x0 << ", " << y0;
    }
  }
}

TEST_F(ZRMBandXLDTest, FindsTheSamePixelsWhereverTheBandLies) {
  Build(130, 94);
  Bind();
  std::vector<std::vector<std::uint8_t>> expected;
  for (int x0 = 0; x0 < 130; x0 += 3) expected.push_back(Read(1, x0, std::min(x0 + 9, 129), 20, 41));
  source_->SetUpperLeft(500000.3, 4649776.7);
  source_->SetPixelSize(0.1, 0.1);
  Bind();
  for (int x0 = 0, i = 0; x0 < 130; x0 += 3, ++i) {
    ASSERT_EQ(expected[static_cast<std::size_t>(i)], Read(1, x0, std::min(x0 + 9, 129), 20, 41)) << x0;
  }
}

TEST_F(ZRMBandXLDTest, ServesAllWindowsOfAnOddImageWithinItsStore) {
  Build(67, 35);
  Bind();
  for (int level = 1; level <= 2; ++level) {
    for (int x0 = 0; x0 < 67; ++x0) {
      for (int x1 = x0; x1 < 67; ++x1) {
        const bool isThere = (x1 - x0 + 1) >> level > 0;
        ASSERT_EQ(isThere, !Read(level, x0, x1, 0, 34).empty()) << level << ": " << x0 << ".." << x1;
      }
    }
  }
}

TEST_F(ZRMBandXLDTest, RefusesWindowsBeyondTheBand) {
  Build(64, 64);
  Bind();
  EXPECT_TRUE(Read(1, 0, 64, 0, 63).empty());
  EXPECT_TRUE(Read(1, -2, 3, 0, 63).empty());
  EXPECT_TRUE(Read(1, 5, 4, 0, 63).empty());
}

TEST_F(ZRMBandXLDTest, ClosesAFileOfItsOwnOnly) {
  Build(64, 64);
  XFile file;
  ASSERT_TRUE(file.Open(folder_.Path("a.xld"), XFile::kRead));
  {
    ZRMBandXLD other;
    other.SetFile(&file, 0);
  }
  EXPECT_TRUE(file.IsOpen());
  auto own = std::make_unique<XFile>();
  XFile* const kept = own.get();
  band_.SetFile(own.release(), 1);
  band_.SetFile(kept, 1);  // the same one stays
  EXPECT_FALSE(kept->IsOpen());
  band_.SetFile(nullptr, 0);
  EXPECT_EQ(nullptr, band_.GetFile());
}

TEST_F(ZRMBandXLDTest, ServesFurtherWhenTheOwnerOfTheFileIsGone) {
  Build(64, 64);
  Bind();
  ZRMBandXLD second;
  second.SetFile(band_.GetFile(), 0);
  second.SetOffset(12);
  ASSERT_TRUE(second.Init(source_, 64, 64, kPint08, 16, 16));
  band_.SetFile(nullptr, 0);
  tagXArr2* out = nullptr;
  EXPECT_TRUE(second.ReadSubset(out, 1, 0, 63, 0, 63, nullptr));
}

TEST_F(ZRMBandXLDTest, TakesStatisticsOfTheLevelAboveTheCoarsest) {
  Build(64, 64);
  Bind();
  ASSERT_EQ(1, band_.CalcStatistics(1));
  const auto image = Read(1, 0, 63, 0, 63);
  double sum = 0;
  for (const std::uint8_t sample : image) sum += sample;
  EXPECT_NEAR(sum / 1024, band_.GetBandMean(), 1e-9);
}

}  // namespace
